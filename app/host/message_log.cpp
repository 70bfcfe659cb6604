#include "host/message_log.h"

namespace qrvml {

BoxButton MessageLog::DspMessageBox(BoxType type, int number, std::string_view text) {
  messages_.push_back({number, std::string(text), step});
  if (show) show(messages_.back());
  const bool notes = type == BoxType::information && number == 0 && text.starts_with("note: ");
  const bool asks = ask && !notes && !answers_.Has(AnswerMember::option);
  if (asks) {
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
