// Tasks that run on threads of their own and whose ends are awaited in order.
//
// The threads may not call the host. What they need of it they ask for, and it is done on the
// thread that awaits.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qrvml {

class OrderedTasks {
 public:
  using Work = std::function<void(std::int64_t task, int thread)>;

  /// Task n does not begin before task n - window was awaited and left: `window` places hold all
  /// results.
  OrderedTasks(std::int64_t tasks, std::int64_t window) : tasks_(tasks), window_(window) {}
  /// Ends tasks that run: whatever they ask for is refused.
  ~OrderedTasks();
  OrderedTasks(const OrderedTasks&) = delete;
  OrderedTasks& operator=(const OrderedTasks&) = delete;

  /// Once, before the first task is awaited. With fewer than two threads, or where the system gives
  /// none, a task runs when it is awaited, as thread 0.
  void Start(int threads, Work work);
  bool IsParallel() const { return isParallel_; }

  /// Returns at the end of the next task, counted from 0, or throws what it threw or what a request
  /// threw meanwhile; then only the destructor may follow. Leaves the task before.
  void Await();
  /// The task awaited now or last.
  std::int64_t awaited() const { return awaited_; }

  /// For `work`: runs the request on the awaiting thread and waits for it. Throws Cancelled when
  /// the tasks are ended instead.
  void Ask(const std::function<void()>& request);

 private:
  struct Request {
    const std::function<void()>* run = nullptr;
    bool isDone = false;
  };
  struct Place {
    bool isDone = false;
    std::exception_ptr fault;
  };

  void Serve(int thread);
  Place& PlaceOf(std::int64_t task) { return places_[std::size_t(task % window_)]; }

  const std::int64_t tasks_;
  const std::int64_t window_;
  Work work_;
  std::int64_t awaited_ = -1;
  std::vector<std::thread> threads_;
  bool isParallel_ = false;  // does not change while there are threads

  std::mutex mutex_;  // guards all below, and awaited_ where it changes
  std::condition_variable forAwaiting_, forTasks_;
  std::int64_t begun_ = 0;  // tasks
  std::vector<Place> places_{std::size_t(window_)};
  std::deque<Request*> requests_;
  bool end_ = false;
};

}  // namespace qrvml
