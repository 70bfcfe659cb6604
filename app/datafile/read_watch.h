// The reading of a data file as other threads see it: how far it has come, and that it shall end.
#pragma once

#include <atomic>
#include <cstdint>

#include "datafile/read_failure.h"

namespace qrvml {

struct ReadWatch {
  std::atomic<bool> cancelled = false;
  std::atomic<int> percent = -1;  // -1: not known

  void Show(std::int64_t done, std::int64_t of) {
    if (of > 0) percent.store(static_cast<int>(done * 100 / of), std::memory_order_relaxed);
  }
};

/// Throws ReadFailure once the reading shall end; `watch` may be null.
inline void CheckCancelled(const ReadWatch* watch) {
  if (watch != nullptr && watch->cancelled.load(std::memory_order_relaxed))
    FailToRead("the reading was cancelled");
}

}  // namespace qrvml
