// Work on several threads at a time.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

namespace qrvml {

/// How many threads `wanted` means; 0: as many as the machine runs at a time.
int NumberOfThreads(int wanted);

/// Calls work() on that many threads, at least one, and passes on the first exception.
void OnThreads(int threads, const std::function<void()>& work);

/// Calls work(i) for every i below `count`, in no order, on at most that many threads.
template <class Function>
void ForEachOnThreads(int threads, std::size_t count, const Function& work) {
  std::atomic<std::size_t> next = 0;
  const int useful = count < static_cast<std::size_t>(threads) ? static_cast<int>(count) : threads;
  OnThreads(useful, [&] {
    for (std::size_t i; (i = next++) < count;) work(i);
  });
}

}  // namespace qrvml
