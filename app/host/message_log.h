// Every message of an analysis, in order, and the answers to its questions.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/answer_book.h"
#include "host/services.h"

namespace qrvml {

struct LoggedMessage {
  int number = 0;  // in the string table; 0: a fixed text
  std::string text;
  std::string step;  // what was running: "OK" or a step of the results dialog
  bool isNote = false;
};

/// Information is logged and shown, a note as "note: …" without waiting. A question takes the
/// answer that was set beforehand (OK or Cancel); without one it is cancelled, which a note tells.
class MessageLog : public MessageServices {
 public:
  explicit MessageLog(AnswerBook& answers) : answers_(answers) {}

  BoxButton DspMessageBox(BoxType type, int number, std::string_view text) override;

  /// Shows a message when it comes; absent: it is only logged.
  std::function<void(const LoggedMessage&)> show;
  /// Asks a person: a message that was not answered beforehand waits for its button. Absent: nobody
  /// is there.
  std::function<BoxButton(BoxType, const LoggedMessage&)> ask;
  /// What runs now; its messages carry the name.
  std::string step;

  const std::vector<LoggedMessage>& messages() const { return messages_; }

 private:
  AnswerBook& answers_;
  std::vector<LoggedMessage> messages_;
};

}  // namespace qrvml
