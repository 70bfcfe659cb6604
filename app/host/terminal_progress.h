// Progress on one line of a terminal, and cancel by a flag that a signal or another thread sets.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "host/services.h"

namespace qrvml {

class TerminalProgress final : public ProgressServices {
 public:
  using Clock = std::chrono::steady_clock;

  /// `cancel` is only read. `write` puts bytes to the terminal; absent: nothing is shown.
  explicit TerminalProgress(const std::atomic<bool>& cancel,
                            std::function<void(std::string_view)> write = {}, int width = 80)
      : cancel_(cancel), write_(std::move(write)), width_(width) {}

  void dstart(int count) override;
  void d_pbar(std::string_view text) override;
  void dstop() override;
  int pcancel() override;
  bool IsExternallyCancelled() override { return cancel_.load(std::memory_order_relaxed); }
  void CreateIterDisplay(int firstValue, int lines) override;
  void ShowIterText(int line, std::string_view text) override;
  void DestroyIterDisplay(bool cancelled) override;

  /// How many cases of the pass have been read; absent: the line shows no percentage.
  std::function<int()> casesRead;
  /// Takes the line off the terminal, so that something else can be written.
  void ClearLine();

 private:
  void Show(bool now);
  std::string Line() const;

  const std::atomic<bool>& cancel_;
  std::function<void(std::string_view)> write_;
  int width_;

  int readBefore_ = 0;  // what casesRead said of the pass before
  int count_ = 0;       // cases of the pass; 0: no pass runs
  std::string passText_;
  std::string iterText_[2];  // status, detail
  bool iterating_ = false;
  std::string shown_;  // what stands on the terminal
  Clock::time_point lastShown_{};
  std::uint32_t polls_ = 0;
};

/// Writes to standard error when it is a terminal; absent otherwise.
std::function<void(std::string_view)> TerminalWriter();
/// Columns of the terminal on standard error; 80 when unknown.
int TerminalWidth();

}  // namespace qrvml
