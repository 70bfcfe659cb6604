// How the threads of the web server hand things to the thread of an analysis: one at a time, and
// only what that thread waits for.
#pragma once

#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

#include "server/published_state.h"

namespace qrvml {

/// What became of a letter: a status of the web and its JSON.
struct LetterReply {
  int status = 200;
  Json body = Json::object();
};

struct Letter {
  bool isAnswer = false;  // to a request; else calls on a dialog
  int call = 0;           // number of the calls
  Json content;
  std::shared_ptr<std::promise<LetterReply>> reply;

  void Reply(LetterReply&& outcome) const { reply->set_value(std::move(outcome)); }
};

class AnalysisMailbox {
 public:
  using Waiting = std::future<LetterReply>;

  /// Hands over calls on the dialog (or the answer to the request) of number `target`, if that is
  /// what the analysis waits for; nothing otherwise. `call` becomes the number of the calls.
  std::optional<Waiting> Post(bool isAnswer, int target, Json content, int& call);
  /// The analysis shall end: from now on nothing is waited for.
  void Close();
  bool IsClosed() const;

  /// For the analysis: from now on it takes calls on a dialog or an answer to a request (0: none),
  /// though it may not wait for them yet. To be said before a page can know of them.
  void Expect(int dialog, int request);
  /// For the analysis: waits for calls on a dialog or an answer to a request (0: for none).
  /// Nothing: it shall end.
  std::optional<Letter> Wait(int dialog, int request);

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Letter> letter_;
  int dialog_ = 0, request_ = 0;  // what is waited for
  int calls_ = 0;
  bool closed_ = false;
};

}  // namespace qrvml
