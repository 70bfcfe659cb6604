#include "server/analysis_mailbox.h"

#include <utility>

namespace qrvml {

std::optional<AnalysisMailbox::Waiting> AnalysisMailbox::Post(bool isAnswer, int target,
                                                              Json content, int& call) {
  const std::lock_guard lock(mutex_);
  if (closed_ || target <= 0 || target != (isAnswer ? request_ : dialog_)) return std::nullopt;
  dialog_ = request_ = 0;
  call = isAnswer ? 0 : ++calls_;
  letter_ = {isAnswer, call, std::move(content)};
  letterReply_ = Promise();
  changed_.notify_all();
  return letterReply_.get_future();
}

void AnalysisMailbox::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_all();
}

bool AnalysisMailbox::IsClosed() const {
  const std::lock_guard lock(mutex_);
  return closed_;
}

void AnalysisMailbox::Expect(int dialog, int request) {
  const std::lock_guard lock(mutex_);
  dialog_ = dialog;
  request_ = request;
}

std::optional<Letter> AnalysisMailbox::Wait(int dialog, int request) {
  std::unique_lock lock(mutex_);
  if (!letter_) {
    dialog_ = dialog;
    request_ = request;
  }
  changed_.wait(lock, [this] { return closed_ || letter_; });
  dialog_ = request_ = 0;
  // What came in time is still answered.
  if (letter_) reply_ = std::move(letterReply_);
  return std::exchange(letter_, std::nullopt);
}

void AnalysisMailbox::Reply(std::optional<LetterReply> reply) {
  const std::lock_guard lock(mutex_);
  if (!reply_) return;
  reply_->set_value(std::move(reply));
  reply_.reset();
}

}  // namespace qrvml
