#include "host/automation_host.h"

namespace qrvml {

void AutomationHost::SetAnswer(AnswerMember member, std::string_view text) {
  // Taking back an answer that was used in part: the caller gave more lists than were asked for.
  if (text.empty() && answers_.Has(member) && answers_.UsedLists(member) > 0)
    answers_.Note(member, false,
                  '"' + answers_.Peek(member) + "\": only the first " +
                      std::to_string(answers_.UsedLists(member)) + " lists were asked for");
  answers_.Set(member, text);
}

}  // namespace qrvml
