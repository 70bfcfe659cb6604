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
  for (std::thread& worker : workers_) worker.join();
}

void SolverTeam::Run(std::int32_t pieces, bool shared,
                     const std::function<void(std::int32_t, int)>& work) {
  if (!shared || pieces <= 1 || workers_.empty()) {
    for (std::int32_t piece = 0; piece < pieces; ++piece) work(piece, 0);
    return;
  }
  work_ = &work;
  done_.store(0, std::memory_order_relaxed);
  ticket_.store(std::uint64_t(pieces) << 32, std::memory_order_release);
  std::int32_t piece = 0;
  while (Claim(&piece)) {
    work(piece, 0);
    done_.fetch_add(1, std::memory_order_release);
  }
  SpinUntil([&] { return done_.load(std::memory_order_acquire) == pieces; });
}

// Whoever gets a piece that exists may use work_: the pass does not end before that piece. A late
// thread may claim from the next pass, whose ticket tells its own number of pieces.
bool SolverTeam::Claim(std::int32_t* piece) {
  const std::uint64_t ticket = ticket_.fetch_add(1, std::memory_order_acq_rel);
  *piece = std::int32_t(ticket & 0xFFFFFFFF);
  return std::uint64_t(*piece) < ticket >> 32;
}

void SolverTeam::Work(int thread) {
  const auto isOpen = [this] {
    const std::uint64_t ticket = ticket_.load(std::memory_order_relaxed);
    return (ticket & 0xFFFFFFFF) < ticket >> 32;
  };
  for (;;) {
    SpinUntil([&] { return isOpen() || end_.load(std::memory_order_relaxed); });
    if (end_) return;
    std::int32_t piece = 0;
    while (isOpen() && Claim(&piece)) {
      (*work_)(piece, thread);
      done_.fetch_add(1, std::memory_order_release);
    }
  }
}

}  // namespace qrvml
