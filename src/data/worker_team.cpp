#include "data/worker_team.h"

#include <system_error>
#include <utility>

namespace qrvml {

WorkerTeam::WorkerTeam(int threads) {
  if (threads < 2) return;
  threads_.reserve(static_cast<std::size_t>(threads) - 1);
  try {
    for (std::size_t part = 1; part < static_cast<std::size_t>(threads); ++part)
      threads_.emplace_back([this, part] { Serve(part); });
  } catch (const std::system_error&) {
    // The threads that there are share the work.
  }
}

WorkerTeam::~WorkerTeam() {
  {
    const std::lock_guard lock(mutex_);
    leave_ = true;
  }
  begin_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void WorkerTeam::Run(const std::function<void(std::size_t)>& work) {
  Begin(std::cref(work));
  work(0);
  End();
}

void WorkerTeam::Begin(std::function<void(std::size_t)> work) {
  if (threads_.empty()) return;
  End();
  {
    const std::lock_guard lock(mutex_);
    work_ = std::move(work);
    running_ = threads_.size();
    ++job_;
  }
  begin_.notify_all();
}

void WorkerTeam::End() {
  if (threads_.empty()) return;
  std::unique_lock lock(mutex_);
  end_.wait(lock, [this] { return running_ == 0; });
}

void WorkerTeam::Serve(std::size_t part) {
  std::size_t done = 0;
  std::unique_lock lock(mutex_);
  while (true) {
    begin_.wait(lock, [&] { return leave_ || job_ != done; });
    if (leave_) return;
    done = job_;
    lock.unlock();
    work_(part);  // stays as it is until all have returned
    lock.lock();
    if (--running_ == 0) end_.notify_one();
  }
}

}  // namespace qrvml
