// A dialog as the page sees it: its table of controls and their states.
#pragma once

#include "host/analysis_dialog.h"
#include "server/published_state.h"

namespace qrvml {

/// What the page calls a dialog by where it stands.
enum class DialogLevel { startup, specification, results, modal };

/// The whole dialog; see docs/workbench-protocol.md.
Json DialogJson(QrvAnalysisDialog& dialog, int number, int templateId, int step, DialogLevel level);

/// The states of all controls, in table order.
Json ControlStates(QrvAnalysisDialog& dialog);

/// Those of `states` that differ from `before`, which has the same controls and becomes `states`.
Json ChangedStates(Json& before, Json&& states);

}  // namespace qrvml
