// The reading of a data file as other threads see it: how far it has come, and that it shall end.
#pragma once

#include <atomic>
#include <cstdint>

#include "datafile/read_failure.h"

namespace qrvml {

class ReadWatch {
 public:
  virtual ~ReadWatch() = default;

  std::atomic<bool> cancelled = false;
  std::atomic<int> percent = -1;  // -1: not known

  void Show(std::int64_t done, std::int64_t of) {
    if (of > 0) percent.store(static_cast<int>(done * 100 / of), std::memory_order_relaxed);
  }
  /// Asked by the threads that read.
  virtual bool ShallEnd() { return cancelled.load(std::memory_order_relaxed); }
};

/// Throws ReadFailure once the reading shall end; `watch` may be null.
inline void CheckCancelled(ReadWatch* watch) {
  if (watch != nullptr && watch->ShallEnd()) FailToRead("the reading was cancelled");
}

/// For loops over texts, of which a file may have millions: asks at the first and then at every
/// kTexts-th.
class CancelPace {
 public:
  static constexpr int kTexts = 1024;

  explicit CancelPace(ReadWatch* watch) : watch_(watch) {}
  void Check() {
    if (count_++ % kTexts == 0) CheckCancelled(watch_);
  }

 private:
  ReadWatch* watch_;
  unsigned count_ = 0;
};

}  // namespace qrvml
