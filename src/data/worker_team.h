// Threads that do the parts of one job after another, the calling thread among them.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qrvml {

class WorkerTeam {
 public:
  /// `threads`: the calling one included; fewer where the system gives no more. The threads wait
  /// between jobs.
  explicit WorkerTeam(int threads);
  ~WorkerTeam();
  WorkerTeam(const WorkerTeam&) = delete;
  WorkerTeam& operator=(const WorkerTeam&) = delete;

  std::size_t size() const { return threads_.size() + 1; }
  /// Calls work(part) for every part from 0 to size() - 1, each on a thread of its own, and returns
  /// when all have returned. `work` throws nothing.
  void Run(const std::function<void(std::size_t)>& work);
  /// Calls work(part) for every part from 1 to size() - 1 on the other threads and does not wait
  /// for them. Ends the job before.
  void Begin(std::function<void(std::size_t)> work);
  /// Waits until the job that was begun last has ended, if there is one.
  void End();

 private:
  void Serve(std::size_t part);

  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable begin_, end_;
  std::function<void(std::size_t)> work_;
  std::size_t job_ = 0;      // counts up with every job
  std::size_t running_ = 0;  // threads still at it
  bool leave_ = false;
};

}  // namespace qrvml
