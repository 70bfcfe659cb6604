// The calls of a page on a dialog, and what becomes of them.
#pragma once

#include <functional>
#include <string>

#include "host/analysis_dialog.h"
#include "server/analysis_mailbox.h"

namespace qrvml {

/// One call as docs/workbench-protocol.md has it.
struct PageCall {
  std::string kind;       // ok | cancel | press | tab | type | set | undo
  std::string name;       // of the control or the tab
  std::string text;       // what is typed
  AutomationValue value;  // what is set
};

/// False: it is not a call.
bool ReadPageCall(const Json& json, PageCall& call);

/// What OK and Cancel do, which differs between the session's dialog and a modal one.
struct DialogEnds {
  std::function<AutomationResult()> ok, cancel;
};

/// Makes a call on a dialog: a QrvAnalysisDialog, or an AnalysisSession for the one that stands.
template <class Target>
AutomationResult MakePageCall(Target& target, const PageCall& call, const DialogEnds& ends) {
  if (call.kind == "ok") return ends.ok();
  if (call.kind == "cancel") return ends.cancel();
  if (call.kind == "press") return target.Press(call.name);
  if (call.kind == "tab") return target.ShowTab(call.name);
  if (call.kind == "type") return target.Type(call.name, call.text);
  if (call.kind == "set") return target.Put(call.name, call.value);
  return {kAutomationFailure, "there is no call \"" + call.kind + '"'};
}

/// The CallResult of docs/workbench-protocol.md: calls are made until one fails.
class CallOutcome {
 public:
  CallOutcome(int analysis, int call);

  /// A call that was made; `reason` may also be a remark on one that succeeded.
  void Add(const AutomationResult& result, std::string reason, std::string_view control);
  bool HasFailed() const { return failed_; }
  /// Complete with the controls whose state has changed.
  LetterReply Reply(Json&& changedControls);

 private:
  Json json_;
  int made_ = 0;
  bool failed_ = false;
};

}  // namespace qrvml
