#include "svm/solver_team.h"

#include <chrono>
#include <system_error>

namespace qrvml {
namespace {

constexpr int kSpins = 4000;   // tens of microseconds
constexpr int kYields = 2000;  // then sleep: the work has become too small to share

template <class Done>
void SpinUntil(Done done) {
  for (int spin = 0; !done(); ++spin) {
    if (spin < kSpins) {
      __builtin_ia32_pause();
    } else if (spin < kSpins + kYields) {
      std::this_thread::yield();
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  }
}

}  // namespace

SolverTeam::SolverTeam(int threads) {
  if (threads <= 1) return;
  workers_.reserve(std::size_t(threads) - 1);
  for (int number = 1; number < threads; ++number) {
    try {
      workers_.emplace_back([this, number] { Work(number); });
    } catch (const std::system_error&) {
      return;
    }
  }
}

SolverTeam::~SolverTeam() {
  end_ = true;
  round_.fetch_add(1, std::memory_order_release);
  for (std::thread& worker : workers_) worker.join();
}

void SolverTeam::Run(int parts, const std::function<void(int)>& part) {
  if (parts > 1) {
    part_ = &part;
    parts_ = parts;
    open_.store(int(workers_.size()), std::memory_order_relaxed);
    round_.fetch_add(1, std::memory_order_release);
  }
  part(0);
  if (parts > 1) SpinUntil([this] { return open_.load(std::memory_order_acquire) == 0; });
}

void SolverTeam::Work(int number) {
  std::uint32_t seen = 0;
  for (;;) {
    SpinUntil([&] { return round_.load(std::memory_order_acquire) != seen; });
    ++seen;
    if (end_) return;
    if (number < parts_) (*part_)(number);
    open_.fetch_sub(1, std::memory_order_release);
  }
}

}  // namespace qrvml
