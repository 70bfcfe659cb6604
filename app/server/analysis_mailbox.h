// How the threads of the web server hand things to the thread of an analysis: one at a time, and
// only what that thread waits for.
#pragma once

#include <condition_variable>
#include <future>
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
};

class AnalysisMailbox {
 public:
  /// The reply; nothing: the letter is still worked on, and an event will tell what became of it.
  using Waiting = std::future<std::optional<LetterReply>>;

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
  /// For the analysis: replies to the letter that it took last, unless it has done so.
  void Reply(std::optional<LetterReply> reply);

 private:
  using Promise = std::promise<std::optional<LetterReply>>;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Letter> letter_;  // that was not taken yet
  Promise letterReply_;           // its reply
  std::optional<Promise> reply_;  // of the letter that was taken last
  int dialog_ = 0, request_ = 0;  // what is waited for
  int calls_ = 0;
  bool closed_ = false;
};

}  // namespace qrvml
