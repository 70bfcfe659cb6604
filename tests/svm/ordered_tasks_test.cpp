// Tasks whose ends are awaited in order, and the memory that their threads keep.
#include "svm/ordered_tasks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "host/pooled_memory.h"
#include "host/string_table.h"
#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TEST(OrderedTasks, EndInOrderAndAskOnTheAwaitingThread) {
  for (const int threads : {1, 2, 5}) {
    constexpr int kTasks = 200, kWindow = 7;
    int results[kWindow] = {};
    int asked = 0;  // by the awaiting thread alone
    std::atomic<int> begun{0};
    const std::thread::id here = std::this_thread::get_id();
    OrderedTasks tasks(kTasks, kWindow);
    tasks.Start(threads, [&](std::int64_t task, int) {
      ++begun;
      if (task == 150) throw std::runtime_error("150");
      tasks.Ask([&] {
        EXPECT_EQ(std::this_thread::get_id(), here);
        ++asked;
      });
      results[task % kWindow] = int(task) + 1;
    });
    for (int task = 0; task < 150; ++task) {
      tasks.Await();
      EXPECT_EQ(tasks.awaited(), task);
      EXPECT_EQ(results[task % kWindow], task + 1);
      EXPECT_LE(begun, task + kWindow);
    }
    EXPECT_THROW(tasks.Await(), std::runtime_error);
    EXPECT_GE(asked, 150);
  }
}

TEST(OrderedTasks, ARequestThatThrowsEndsAllThatRun) {
  std::atomic<int> refused{0};
  {
    OrderedTasks tasks(100, 4);
    tasks.Start(3, [&](std::int64_t, int) {
      try {
        tasks.Ask([] { throw Cancelled(); });
      } catch (const Cancelled&) {
        ++refused;
        throw;
      }
    });
    EXPECT_THROW(tasks.Await(), Cancelled);
  }
  EXPECT_GE(refused, 1);
  EXPECT_LE(refused, 3);
}

TEST(PooledMemory, KeepsBlocksForTheNextRequestOfTheirSizeAndGivesAllBack) {
  AnalysisSession session(TableFile("x", {"1"}));  // fails the test if a block is not given back
  ScriptedHost& source = session.host;
  source.allocations = 0;
  PooledMemory pool(source);
  const MemoryScope scope(&pool);
  const std::size_t sizes[] = {1, 256, 257, 320, 321, 1000, 4096, 4097, 1000000};
  for (int round = 0; round < 3; ++round) {
    std::vector<HostArray<char>> arrays;
    for (const std::size_t size : sizes) {
      arrays.emplace_back(size);
      std::memset(arrays.back().data(), round, size);
    }
    EXPECT_EQ(source.allocations, int(std::size(sizes))) << "the first round's blocks serve all";
  }
  source.refuseAllocation = source.allocations + 1;
  EXPECT_THROW(HostArray<char>(70000), MemoryRefused);
  EXPECT_EQ(HostArray<char>(70000).size(), 70000u);
}

}  // namespace
}  // namespace qrvml::test
