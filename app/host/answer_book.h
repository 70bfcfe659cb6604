// Answers to modal services: set beforehand, used once. Whoever runs unattended looks here instead
// of asking a person.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/control.h"

namespace qrvml {

/// Why a modal service was cancelled.
struct AnswerNote {
  AnswerMember member = AnswerMember::none;  // the member that answers, or would have
  bool missing = false;                      // no answer stood ready; else it could not be used
  std::string text;                          // what was asked and what was wrong
};

class AnswerBook {
 public:
  /// The next answer of a member; an empty text takes it back.
  void Set(AnswerMember member, std::string_view text);
  const std::string& Peek(AnswerMember member) const { return Slot(member).text; }
  bool Has(AnswerMember member) const { return !Peek(member).empty(); }
  /// Uses an answer; false, with a note that `what` was asked, when none stands ready.
  bool Take(AnswerMember member, std::string_view what, std::string& text);

  /// An answer that covers several services in a row: how many of its lists are used up.
  std::size_t UsedLists(AnswerMember member) const { return Slot(member).usedLists; }
  /// Counts `lists` more as used; the answer is gone when all of `total` are.
  void UseLists(AnswerMember member, std::size_t lists, std::size_t total);

  void Note(AnswerMember member, bool missing, std::string text) {
    notes_.push_back({member, missing, std::move(text)});
  }
  /// The notes since the last call.
  std::vector<AnswerNote> TakeNotes() { return std::exchange(notes_, {}); }

 private:
  struct Answer {
    std::string text;
    std::size_t usedLists = 0;
  };
  Answer& Slot(AnswerMember member) { return answers_[static_cast<std::size_t>(member)]; }
  const Answer& Slot(AnswerMember member) const {
    return answers_[static_cast<std::size_t>(member)];
  }

  std::array<Answer, kAnswerMembers> answers_;
  std::vector<AnswerNote> notes_;
};

}  // namespace qrvml
