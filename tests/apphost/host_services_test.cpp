// Memory and progress of the host.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "host/host_memory.h"
#include "host/terminal_progress.h"

namespace qrvml {
namespace {

TEST(HostMemory, CountsWhatIsInUseAndThePeak) {
  HostMemory memory;
  void *a = nullptr, *b = nullptr;
  ASSERT_EQ(memory.AllocMem(&a, 100), 0);
  ASSERT_EQ(memory.AllocMem(&b, 1000), 0);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % 64, 0u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b) % 64, 0u);
  std::memset(a, 1, 100);
  std::memset(b, 2, 1000);
  EXPECT_EQ(memory.used(), 1100u);
  memory.FreeMem(a);
  memory.FreeMem(nullptr);
  EXPECT_EQ(memory.used(), 1000u);
  EXPECT_EQ(memory.peak(), 1100u);
  memory.FreeMem(b);
  EXPECT_EQ(memory.used(), 0u);
}

TEST(HostMemory, RefusesWhatExceedsItsLimitAndLeavesTheAddressAlone) {
  HostMemory memory(1000);
  void *a = nullptr, *b = &memory;
  ASSERT_EQ(memory.AllocMem(&a, 600), 0);
  EXPECT_NE(memory.AllocMem(&b, 401), 0);
  EXPECT_EQ(b, static_cast<void*>(&memory));
  EXPECT_EQ(memory.used(), 600u);
  EXPECT_EQ(memory.AllocMem(&b, 400), 0);
  memory.FreeMem(a);
  memory.FreeMem(b);
}

TEST(HostMemory, RefusesASizeThatNoMachineHas) {
  HostMemory memory;
  void* address = nullptr;
  EXPECT_NE(memory.AllocMem(&address, std::numeric_limits<std::size_t>::max()), 0);
  EXPECT_EQ(address, nullptr);
}

struct Terminal {
  std::atomic<bool> cancel{false};
  std::string written;
  TerminalProgress progress{cancel, [this](std::string_view text) { written += text; }, 40};
};

TEST(Progress, APassShowsItsTextAndHowFarItIs) {
  Terminal terminal;
  int read = 120;  // of an earlier pass
  terminal.progress.casesRead = [&read] { return read; };
  terminal.progress.dstart(120);
  terminal.progress.d_pbar("Lecture");
  EXPECT_EQ(terminal.written.find('%'), std::string::npos) << terminal.written;
  read = 30;
  terminal.progress.d_pbar("Lecture");
  EXPECT_NE(terminal.written.find("Lecture  25 %"), std::string::npos) << terminal.written;
  terminal.progress.dstop();
  EXPECT_TRUE(terminal.written.ends_with("\r\x1b[K")) << terminal.written;
}

TEST(Progress, ATrainingShowsBothTextsOnOneLineCutToTheTerminal) {
  Terminal terminal;
  terminal.progress.ShowIterText(0, std::string(30, 'x'));
  terminal.progress.ShowIterText(1, std::string(30, 'y'));
  terminal.written.clear();
  terminal.progress.CreateIterDisplay(1, 15);
  EXPECT_EQ(terminal.written, "\r" + std::string(30, 'x') + "  yyyyyyy\x1b[K");
  terminal.written.clear();
  terminal.progress.DestroyIterDisplay(false);
  EXPECT_EQ(terminal.written, "\r\x1b[K");
}

TEST(Progress, TheLineMakesRoomForOtherOutput) {
  Terminal terminal;
  terminal.progress.dstart(10);
  terminal.progress.d_pbar("Lecture");
  terminal.written.clear();
  terminal.progress.ClearLine();
  terminal.progress.ClearLine();
  EXPECT_EQ(terminal.written, "\r\x1b[K");
}

TEST(Progress, NothingIsWrittenWhereThereIsNoTerminal) {
  std::atomic<bool> cancel{false};
  TerminalProgress progress(cancel);
  progress.dstart(10);
  progress.d_pbar("Lecture");
  progress.CreateIterDisplay(1, 15);
  progress.ShowIterText(0, "x");
  progress.DestroyIterDisplay(true);
  progress.ClearLine();
  EXPECT_EQ(progress.pcancel(), 0);
}

TEST(Progress, CancelIsTheFlagThatSomeoneElseSets) {
  Terminal terminal;
  EXPECT_EQ(terminal.progress.pcancel(), 0);
  EXPECT_FALSE(terminal.progress.IsExternallyCancelled());
  terminal.cancel = true;
  EXPECT_NE(terminal.progress.pcancel(), 0);
  EXPECT_TRUE(terminal.progress.IsExternallyCancelled());
}

}  // namespace
}  // namespace qrvml
