// What choices of variables have changed in a dialog, so that the last one can be taken back with
// all that it reset.
#pragma once

#include <string>
#include <vector>

#include "host/analysis_session.h"
#include "server/published_state.h"

namespace qrvml {

/// Of the dialog that stands; empty again when another one does.
class VariableChoices {
 public:
  /// Before and after a call that may choose variables; the states are those of the dialog's
  /// controls. A call that chose none is not kept.
  void Keep(const Json& before, const Json& after);
  void Clear() { kept_.clear(); }
  bool CanUndo() const { return !kept_.empty(); }

  /// Gives every control that the last choice changed its value of before; what was set elsewhere
  /// since then stays.
  AutomationResult Undo(AnalysisSession& session);

 private:
  std::vector<Json> kept_;  // per choice: the states of before of what it changed
};

}  // namespace qrvml
