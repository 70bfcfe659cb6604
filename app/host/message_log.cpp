#include "host/message_log.h"

namespace qrvml {

BoxButton MessageLog::DspMessageBox(BoxType type, int number, std::string_view text) {
  const bool isNote = type == BoxType::note;
  messages_.push_back({number, (isNote ? "note: " : "") + std::string(text), step, isNote});
  if (show) show(messages_.back());
  if (isNote) return BoxButton::ok;
  if (ask && !answers_.Has(AnswerMember::option)) {
    const LoggedMessage asked = messages_.back();
    return ask(type, asked);
  }
  if (type == BoxType::information) return BoxButton::ok;
  std::string answer;
  if (!answers_.Take(AnswerMember::option, "the question above", answer)) return BoxButton::cancel;
  if (answer == "OK") return BoxButton::ok;
  if (answer != "Cancel")
    answers_.Note(AnswerMember::option, false, '"' + answer + "\": OK or Cancel is needed");
  return BoxButton::cancel;
}

}  // namespace qrvml
