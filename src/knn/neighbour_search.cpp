#include "knn/neighbour_search.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "data/processor_level.h"
#include "knn/neighbour_search_group.h"
#include "knn/neighbour_search_packed.h"

namespace qrvml {
namespace {

constexpr std::size_t kGroupsInBatch = 8;      // groups that share a chunk while it is in cache
constexpr std::int64_t kPackingWork = 16;      // cost of packing an input, in inputs of the filter
constexpr std::size_t kBatchBytes = 16 << 20;  // memory of a batch, unless one query needs more

const NeighbourKernel& KernelFor(int level) {
  if (level >= 4) return kNeighbourKernelV4;
  return level == 3 ? kNeighbourKernelV3 : kNeighbourKernelV2;
}

/// How queries are cut into groups and batches.
struct BatchPlan {
  std::int32_t width;   // queries of a group
  std::int32_t groups;  // groups of a batch
  std::int32_t size() const { return width * groups; }
};

BatchPlan Plan(const PackedPrototypes& packed, std::int32_t count, std::int32_t slots,
               int threads) {
  const std::size_t queries =
      std::max<std::size_t>(1, kBatchBytes / QueryGroup::BytesPerQuery(packed, slots));
  const std::size_t width =
      std::min<std::size_t>({std::size_t(kTile), queries, std::size_t(count)});
  // Several batches a thread, so that all threads end at about the same time.
  const std::size_t share = (std::size_t(count) / (std::size_t(threads) * 4) + width) / width;
  const std::size_t groups = std::min({kGroupsInBatch, queries / width, share});
  return {std::int32_t(width), std::int32_t(std::max<std::size_t>(1, groups))};
}

/// One call of Find: what its threads share.
class SearchRun {
 public:
  SearchRun(const PackedPrototypes& packed, const double* queries, std::int32_t count,
            BatchPlan plan, std::span<Neighbour> neighbours, std::span<std::int32_t> found)
      : packed_(packed),
        queries_(queries),
        plan_(plan),
        neighbours_(neighbours),
        found_(found),
        order_(count) {}

  std::atomic<bool>& stop() { return stop_; }

  /// Puts near queries into one group, so that they want the same chunks. False: stopped.
  bool ArrangeQueries(SearchPace pace) {
    const std::int32_t count = std::int32_t(order_.size());
    HostArray<std::uint64_t> keys(count);
    HostArray<double> scaled(packed_.inputs());
    HostArray<float> centred(packed_.inputs());
    for (std::int32_t q = 0; q < count; ++q) {
      const double* row = queries_ + std::size_t(q) * packed_.inputs();
      packed_.PackQuery(row, scaled.data(), centred.data());
      std::int32_t leaf = 0;
      packed_.tree().Leaves(centred.data(), packed_.inputs(), 1, &leaf);
      keys[q] = std::uint64_t(leaf) << 32 | std::uint32_t(q);
      if (pace.Spend(packed_.inputs() * kPackingWork)) return false;
    }
    std::sort(keys.begin(), keys.end());
    for (std::int32_t q = 0; q < count; ++q) order_[q] = std::int32_t(keys[q] & 0xFFFFFFFFU);
    return true;
  }

  /// Searches batches until none is left or the search is stopped.
  void Work(std::span<QueryGroup> groups, SearchPace pace) {
    const std::int32_t count = std::int32_t(order_.size());
    while (true) {
      const std::int64_t first = next_.fetch_add(1) * std::int64_t(plan_.size());
      if (first >= count || stop_) return;
      const auto batch = std::span<const std::int32_t>(order_).subspan(
          first, std::min<std::int64_t>(plan_.size(), count - first));
      if (!SearchBatch(batch, groups, pace)) return;
    }
  }

 private:
  bool SearchBatch(std::span<const std::int32_t> batch, std::span<QueryGroup> groups,
                   SearchPace& pace) {
    std::size_t used = 0;
    bool unfinished = false;
    for (std::size_t first = 0; first < batch.size(); first += std::size_t(plan_.width)) {
      const std::size_t size = std::min(std::size_t(plan_.width), batch.size() - first);
      if (!groups[used].Start(queries_, batch.subspan(first, size), pace)) return false;
      unfinished |= groups[used++].unfinished();
    }
    for (std::int32_t c = 0; unfinished && c < packed_.chunks(); ++c) {
      for (std::size_t g = 0; g < used; ++g) {
        if (groups[g].unfinished() && !groups[g].Visit(c, pace)) return false;
      }
    }
    for (std::size_t g = 0; g < used; ++g) {
      if (!groups[g].Finish(neighbours_, found_, pace)) return false;
    }
    return true;
  }

  const PackedPrototypes& packed_;
  const double* queries_;
  BatchPlan plan_;
  std::span<Neighbour> neighbours_;
  std::span<std::int32_t> found_;
  HostArray<std::int32_t> order_;  // the queries, near ones together
  std::atomic<std::int64_t> next_{0};
  std::atomic<bool> stop_{false};
};

/// Worker threads that are joined however the calling thread's work ends.
class Workers {
 public:
  explicit Workers(std::atomic<bool>& stop) : stop_(stop) {}
  ~Workers() {
    stop_ = true;
    for (std::thread& thread : threads_) thread.join();
  }
  /// Does nothing where the system gives no more threads: the others do the work.
  template <class Task>
  void Start(Task task) {
    threads_.reserve(threads_.size() + 1);
    try {
      threads_.emplace_back([this, task] {
        task();
        const std::lock_guard lock(mutex_);
        ++ended_;
        end_.notify_one();
      });
    } catch (const std::system_error&) {
    }
  }
  /// Waits for all, polling meanwhile.
  void Wait(SearchPace pace) {
    std::unique_lock lock(mutex_);
    while (!end_.wait_for(lock, std::chrono::milliseconds(20),
                          [this] { return ended_ == threads_.size(); })) {
      lock.unlock();
      pace.Spend(INT64_C(1) << 40);
      lock.lock();
    }
  }

 private:
  std::atomic<bool>& stop_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable end_;
  std::size_t ended_ = 0;
};

}  // namespace

NeighbourSearch::NeighbourSearch() : level_(ProcessorLevel()) {}
NeighbourSearch::~NeighbourSearch() = default;
NeighbourSearch::NeighbourSearch(NeighbourSearch&&) noexcept = default;
NeighbourSearch& NeighbourSearch::operator=(NeighbourSearch&&) noexcept = default;

void NeighbourSearch::LimitLevel(int level) { level_ = std::min(level, ProcessorLevel()); }

bool NeighbourSearch::Build(const PrototypeRows& prototypes, Metric metric,
                            const std::function<bool()>& poll) {
  packed_.reset();
  auto packed = std::make_unique<PackedPrototypes>();
  if (!packed->Build(prototypes, metric, KernelFor(level_), poll)) return false;
  packed_ = std::move(packed);
  return true;
}

void NeighbourSearch::Release() { packed_.reset(); }

bool NeighbourSearch::Find(const double* queries, std::int32_t count, std::int32_t slots,
                           Exclusion exclusion, int threads, std::span<Neighbour> neighbours,
                           std::span<std::int32_t> found, const std::function<bool()>& poll) const {
  std::fill(found.begin(), found.end(), 0);
  if (count == 0 || packed_->source().count == 0) return true;
  const BatchPlan plan = Plan(*packed_, count, slots, std::max(1, threads));
  const std::int32_t batches = (count + plan.size() - 1) / plan.size();
  const int used = std::clamp(threads, 1, batches);

  SearchRun run(*packed_, queries, count, plan, neighbours, found);
  std::vector<QueryGroup> groups;
  groups.reserve(std::size_t(used) * plan.groups);
  for (std::int32_t g = 0; g < used * plan.groups; ++g) {
    groups.emplace_back(*packed_, slots, exclusion, plan.width);
  }
  const auto groupsOf = [&groups, &plan](int thread) {
    return std::span(groups).subspan(std::size_t(thread) * plan.groups, plan.groups);
  };
  const SearchPace pace(run.stop(), poll ? &poll : nullptr);
  if (!run.ArrangeQueries(pace)) return false;
  Workers workers(run.stop());
  for (int thread = 1; thread < used; ++thread) {
    workers.Start(
        [&run, mine = groupsOf(thread)] { run.Work(mine, SearchPace(run.stop(), nullptr)); });
  }
  run.Work(groupsOf(0), pace);
  workers.Wait(pace);
  return !run.stop();
}

}  // namespace qrvml
