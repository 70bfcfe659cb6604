#include "datafile/on_threads.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace qrvml {

int NumberOfThreads(int wanted) {
  return wanted > 0 ? wanted : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

void OnThreads(int threads, const std::function<void()>& work) {
  std::exception_ptr failure;
  std::mutex mutex;
  const auto guarded = [&] {
    try {
      work();
    } catch (...) {
      const std::lock_guard lock(mutex);
      if (!failure) failure = std::current_exception();
    }
  };
  std::vector<std::thread> others;
  for (int i = 1; i < threads; ++i) others.emplace_back(guarded);
  guarded();
  for (std::thread& other : others) other.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace qrvml
