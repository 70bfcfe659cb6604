#include "host/answer_book.h"

namespace qrvml {

void AnswerBook::Set(AnswerMember member, std::string_view text) {
  if (member == AnswerMember::none) return;
  Slot(member) = {std::string(text), 0};
}

bool AnswerBook::Take(AnswerMember member, std::string_view what, std::string& text) {
  if (!Has(member)) {
    Note(member, true,
         std::string(what) + " was asked and cancelled: set " +
             std::string(kAnswerNames[static_cast<std::size_t>(member)]) + " before");
    return false;
  }
  text = std::exchange(Slot(member), {}).text;
  return true;
}

void AnswerBook::UseLists(AnswerMember member, std::size_t lists, std::size_t total) {
  Answer& answer = Slot(member);
  answer.usedLists += lists;
  if (answer.usedLists >= total) answer = {};
}

}  // namespace qrvml
