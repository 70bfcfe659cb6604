// Threads that share the passes of one training run.
//
// A pass takes microseconds. It is cut into pieces. Each thread has a share of neighbouring pieces,
// the same in every pass, so that what it works on stays in its own cache; it claims them one by
// one and then helps the others with theirs, so nobody waits for a thread that the system has put
// aside, unless it is in the middle of a piece. Threads wait for the next pass by spinning a little
// before they give way. Where the system gives fewer threads, fewer share.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "svm/solver_pace.h"

namespace qrvml {

class SolverTeam {
 public:
  explicit SolverTeam(int threads);
  ~SolverTeam();
  SolverTeam(const SolverTeam&) = delete;
  SolverTeam& operator=(const SolverTeam&) = delete;

  int threads() const { return int(workers_.size()) + 1; }
  /// Calls work(piece, thread) once for each piece from 0 to pieces - 1 and returns when all have
  /// ended; thread 0 is the calling one. Pieces do not throw and do not call the host, except on
  /// thread 0. pieces < 2^24; without `shared` all run on thread 0, in ascending order.
  void Run(std::int32_t pieces, bool shared, const std::function<void(std::int32_t, int)>& work);

 private:
  /// The pieces of a thread that nobody has claimed yet, on a cache line of its own.
  struct alignas(64) Share {
    std::atomic<std::uint64_t> ticket{0};  // end of the share << 32, and the next to be claimed
  };

  void Work(int thread);
  bool Claim(Share& share, std::int32_t* piece);
  /// Runs what is left to claim, the thread's own share first; returns how many pieces.
  std::int32_t RunPieces(int thread);

  std::vector<Share> shares_;  // per thread
  std::vector<std::thread> workers_;
  const std::function<void(std::int32_t, int)>* work_ =
      nullptr;                                     // of the pass that has pieces to claim
  alignas(64) std::atomic<std::int32_t> done_{0};  // pieces that have ended
  std::atomic<bool> end_{false};
};

/// team.Run for pieces that return about the multiplications they did. The pace hears of those of
/// the calling thread; what has not begun when it says so does not begin. Throws Cancelled.
template <class Work>
void RunPaced(SolverTeam& team, std::int32_t pieces, bool shared, SolverPace& pace,
              const Work& work) {
  std::atomic<bool> stop{false};
  team.Run(pieces, shared, [&](std::int32_t piece, int thread) {
    if (stop.load(std::memory_order_relaxed)) return;
    const std::int64_t done = work(piece, thread);
    if (thread == 0 && pace.Spend(done)) stop = true;
  });
  if (stop) throw Cancelled();
}

}  // namespace qrvml
