#include "server/dialog_json.h"

#include <algorithm>
#include <vector>

namespace qrvml {
namespace {

constexpr std::string_view kKindNames[] = {"check",  "radio", "integer", "real",   "text",
                                           "choice", "pick",  "button",  "action", "note"};
constexpr std::string_view kLevelNames[] = {"startup", "specification", "results", "modal"};

Json StateOf(QrvAnalysisDialog& dialog, const Control& control) {
  Json state = {{"name", control.name}};
  switch (control.kind) {
    case ControlKind::check:
    case ControlKind::radio:
    case ControlKind::choice: {
      AutomationValue value;
      dialog.Get(control.name, value);
      state["value"] = value.number;
      if (control.kind == ControlKind::choice) state["text"] = dialog.ShownText(control.name);
      break;
    }
    case ControlKind::button:
    case ControlKind::action:
      state["value"] = nullptr;
      break;
    default:
      state["value"] = dialog.ShownText(control.name);
  }
  state["enabled"] = dialog.IsEnabled(control.name);
  state["visible"] = control.tab.empty() || dialog.HasTab(control.tab);
  if (control.bind.offered != nullptr) {
    const OfferedItems items = dialog.Offered(control.name);
    state["offered"] = items.names;
    state["chosen"] = items.chosen;
  }
  if (control.range.from != nullptr) state["lowest"] = dialog.Lowest(control.name);
  return state;
}

/// A bound as far as the table fixes it.
Json BoundJson(const Control& control, double bound) {
  const Range& range = control.range;
  if (range.lowest == 0 && range.highest == 0 && range.upToText.empty()) return nullptr;
  return bound;
}

Json ControlJson(QrvAnalysisDialog& dialog, const Control& control, int group) {
  const Range& range = control.range;
  Json json = {{"name", control.name},
               {"kind", kKindNames[static_cast<std::size_t>(control.kind)]},
               {"label", control.label},
               {"tab", control.tab},
               {"group", group},
               {"lowest", BoundJson(control, range.lowest)},
               {"highest", range.upTo != nullptr ? Json() : BoundJson(control, range.highest)},
               {"decimals", control.decimals},
               {"automated", control.IsAutomated()},
               {"identifier", control.row.identifier},
               {"role", control.row.role}};
  if (control.bind.items != nullptr) {
    for (const std::string_view item : control.bind.items()) json["choices"].push_back(item);
  }
  json.update(StateOf(dialog, control));
  return json;
}

}  // namespace

Json DialogJson(QrvAnalysisDialog& dialog, int number, int templateId, int step,
                DialogLevel level) {
  Json controls = Json::array();
  std::vector<std::string_view> tabs;
  // Radio buttons that follow each other on one tab exclude each other.
  int group = 0;
  const Control* before = nullptr;
  for (const Control& control : dialog.Controls()) {
    if (!control.tab.empty() && std::ranges::find(tabs, control.tab) == tabs.end())
      tabs.push_back(control.tab);
    const bool isRadio = control.kind == ControlKind::radio;
    const bool goesOn =
        before != nullptr && before->kind == ControlKind::radio && before->tab == control.tab;
    if (isRadio && !goesOn) ++group;
    controls.push_back(ControlJson(dialog, control, isRadio ? group : 0));
    before = &control;
  }
  return {{"dialog", number},
          {"name", dialog.Name()},
          {"title", dialog.Title()},
          {"template", templateId},
          {"step", step},
          {"level", kLevelNames[static_cast<std::size_t>(level)]},
          {"tabs", tabs},
          {"controls", std::move(controls)}};
}

Json ControlStates(QrvAnalysisDialog& dialog) {
  Json states = Json::array();
  for (const Control& control : dialog.Controls()) states.push_back(StateOf(dialog, control));
  return states;
}

Json ChangedStates(Json& before, Json&& states) {
  Json changed = Json::array();
  for (std::size_t i = 0; i < states.size(); ++i) {
    if (i >= before.size() || before[i] != states[i]) changed.push_back(states[i]);
  }
  before = std::move(states);
  return changed;
}

}  // namespace qrvml
