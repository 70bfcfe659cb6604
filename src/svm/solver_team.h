// Threads that share the passes of one training run.
//
// A pass takes microseconds, so threads wait for the next one by spinning a little before they give
// way. Where the system gives fewer threads, fewer share.
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
  /// Calls part(p) for p = 0 … parts - 1 <= threads() - 1, part 0 on the calling thread, and
  /// returns when all have ended. Parts do not throw and do not call the host.
  void Run(int parts, const std::function<void(int)>& part);

 private:
  void Work(int number);

  std::vector<std::thread> workers_;
  const std::function<void(int)>* part_ = nullptr;
  int parts_ = 0;
  std::atomic<std::uint32_t> round_{0};
  std::atomic<int> open_{0};  // workers that have not ended the round
  std::atomic<bool> end_{false};
};

}  // namespace qrvml
