// Modal requests: the analysis asks and waits until a page has answered.
#pragma once

#include <functional>
#include <string>

#include "host/analysis_dialog.h"
#include "server/analysis_mailbox.h"
#include "server/analysis_publisher.h"

namespace qrvml {

/// Used by the analysis's thread alone. Requests nest; the last one is to be answered.
class Asker {
 public:
  Asker(AnalysisPublisher& publisher, AnalysisMailbox& mailbox)
      : publisher_(publisher), mailbox_(mailbox) {}

  /// Reads an answer; an error text leaves the request open.
  using Take = std::function<std::string(const Json& answer)>;
  /// False: the person cancelled, or the analysis shall end.
  bool Ask(const std::string& kind, const Json& request, const Take& take);

  /// Runs a modal dialog of the module by calls of the page. False: it ended with Cancel.
  bool RunDialog(int templateId, CAnalysisDialog& dialog);
  /// Makes the calls that a letter asks for and gives what became of them, which pages are told
  /// then; set by who runs calls.
  std::function<LetterReply(const Letter& letter, QrvAnalysisDialog& dialog, int number,
                            Json& states, bool& ended, bool& accepted)>
      runModalCalls;
  /// Whether anything was asked since the last call of TakeAsked.
  bool TakeAsked() { return std::exchange(asked_, false); }

 private:
  void Push(Json request);
  void Pop();

  AnalysisPublisher& publisher_;
  AnalysisMailbox& mailbox_;
  Json open_ = Json::array();
  bool asked_ = false;
};

}  // namespace qrvml
