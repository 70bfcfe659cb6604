// What an analysis asks the person in front of the page beside the module's dialogs: a message box,
// the outputs to save, the file to save to.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/answer_book.h"
#include "host/message_log.h"
#include "server/asker.h"
#include "server/named_folders.h"

namespace qrvml {

/// Used by the analysis's thread alone.
class PageQuestions {
 public:
  PageQuestions(Asker& asker, const NamedFolders& folders) : asker_(asker), folders_(folders) {}

  /// An answer of a person, as the text that answers the same in a script.
  std::function<void(AnswerMember member, const std::string& text)> onAnswer;

  BoxButton AskMessage(BoxType type, const LoggedMessage& message);
  /// Positions in `offered`, from 0. False: cancelled.
  bool AskForOutputs(std::string_view title, std::string_view prompt,
                     std::span<const std::string> offered, std::vector<int>& picked);
  /// A path in a named folder; one that exists needs the person's word that it is replaced. False:
  /// cancelled.
  bool AskForFileName(std::string& path, bool& overwrite);

 private:
  Asker& asker_;
  const NamedFolders& folders_;
};

}  // namespace qrvml
