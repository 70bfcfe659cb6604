// Threads that share the passes of one training run.
//
// A pass takes microseconds. It is cut into pieces that threads claim one by one, so nobody waits
// for a thread that the system has put aside, unless it is in the middle of a piece. Threads wait
// for the next pass by spinning a little before they give way. Where the system gives fewer
// threads, fewer share.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace qrvml {

class SolverTeam {
 public:
  explicit SolverTeam(int threads);
  ~SolverTeam();
  SolverTeam(const SolverTeam&) = delete;
  SolverTeam& operator=(const SolverTeam&) = delete;

  int threads() const { return int(workers_.size()) + 1; }
  /// Calls work(piece, thread) once for each piece from 0 to pieces - 1 and returns when all have
  /// ended; thread 0 is the calling one. Each thread takes its pieces in ascending order. Pieces do
  /// not throw and do not call the host, except on thread 0. pieces < 2^24; without `shared` all
  /// run on thread 0.
  void Run(std::int32_t pieces, bool shared, const std::function<void(std::int32_t, int)>& work);

 private:
  void Work(int thread);
  bool Claim(std::int32_t* piece);

  std::vector<std::thread> workers_;
  const std::function<void(std::int32_t, int)>* work_ =
      nullptr;                            // of the pass that has a claim open
  std::atomic<std::uint64_t> ticket_{0};  // pieces of the pass << 32, and the next to be claimed
  std::atomic<std::int32_t> done_{0};     // pieces that have ended
  std::atomic<bool> end_{false};
};

}  // namespace qrvml
