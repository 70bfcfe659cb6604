#include "svm/solver_team.h"

#include <algorithm>
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

SolverTeam::SolverTeam(int threads) : shares_(std::size_t(std::max(threads, 1))) {
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
  const auto count = std::uint64_t(threads());
  for (std::uint64_t t = count; t-- > 0;) {
    const std::uint64_t begin = std::uint64_t(pieces) * t / count;
    const std::uint64_t end = std::uint64_t(pieces) * (t + 1) / count;
    shares_[t].ticket.store(end << 32 | begin, std::memory_order_release);
  }
  done_.fetch_add(RunPieces(0), std::memory_order_release);
  SpinUntil([&] { return done_.load(std::memory_order_acquire) == pieces; });
}

// Whoever gets a piece that exists may use work_: the pass does not end before that piece. A late
// thread may claim from the next pass, whose tickets tell their own ends.
bool SolverTeam::Claim(Share& share, std::int32_t* piece) {
  const std::uint64_t seen = share.ticket.load(std::memory_order_relaxed);
  if ((seen & 0xFFFFFFFF) >= seen >> 32) return false;
  const std::uint64_t ticket = share.ticket.fetch_add(1, std::memory_order_acq_rel);
  *piece = std::int32_t(ticket & 0xFFFFFFFF);
  return std::uint64_t(*piece) < ticket >> 32;
}

// All are of one pass: it does not end before they are counted.
std::int32_t SolverTeam::RunPieces(int thread) {
  std::int32_t count = 0;
  for (std::size_t t = 0; t < shares_.size(); ++t) {
    Share& share = shares_[(std::size_t(thread) + t) % shares_.size()];
    for (std::int32_t piece = 0; Claim(share, &piece); ++count) (*work_)(piece, thread);
  }
  return count;
}

void SolverTeam::Work(int thread) {
  for (;;) {
    std::int32_t count = 0;
    SpinUntil([&] {
      count = RunPieces(thread);
      return count > 0 || end_.load(std::memory_order_relaxed);
    });
    if (count == 0) return;
    done_.fetch_add(count, std::memory_order_release);
  }
}

}  // namespace qrvml
