#include "svm/ordered_tasks.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/string_table.h"

namespace qrvml {

void OrderedTasks::Start(int threads, Work work) {
  work_ = std::move(work);
  if (threads < 2) return;
  isParallel_ = true;
  threads_.reserve(std::size_t(threads));
  for (int number = 0; number < threads; ++number) {
    try {
      threads_.emplace_back([this, number] { Serve(number); });
    } catch (const std::system_error&) {
      isParallel_ = number > 0;
      return;
    }
  }
}

OrderedTasks::~OrderedTasks() {
  {
    const std::lock_guard lock(mutex_);
    end_ = true;
  }
  forTasks_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void OrderedTasks::Await() {
  if (!isParallel_) {
    work_(++awaited_, 0);
    return;
  }
  std::unique_lock lock(mutex_);
  if (awaited_ >= 0) PlaceOf(awaited_) = {};
  ++awaited_;
  forTasks_.notify_all();
  Place& place = PlaceOf(awaited_);
  for (;;) {
    forAwaiting_.wait(lock, [&] { return !requests_.empty() || place.isDone; });
    if (place.isDone) break;
    Request& request = *requests_.front();
    requests_.pop_front();
    lock.unlock();
    (*request.run)();
    lock.lock();
    request.isDone = true;
    forTasks_.notify_all();
  }
  if (place.fault) std::rethrow_exception(place.fault);
}

void OrderedTasks::Ask(const std::function<void()>& request) {
  if (!isParallel_) return request();
  std::unique_lock lock(mutex_);
  Request asked{&request, false};
  requests_.push_back(&asked);
  forAwaiting_.notify_one();
  forTasks_.wait(lock, [&] { return asked.isDone || end_; });
  if (!asked.isDone) throw Cancelled();
}

void OrderedTasks::Serve(int thread) {
  std::unique_lock lock(mutex_);
  for (;;) {
    forTasks_.wait(lock, [&] {
      return end_ || begun_ == tasks_ || begun_ < std::max<std::int64_t>(awaited_, 0) + window_;
    });
    if (end_ || begun_ == tasks_) return;
    const std::int64_t task = begun_++;
    lock.unlock();
    std::exception_ptr fault;
    try {
      work_(task, thread);
    } catch (...) {
      fault = std::current_exception();
    }
    lock.lock();
    PlaceOf(task) = {true, fault};
    forAwaiting_.notify_one();
  }
}

}  // namespace qrvml
