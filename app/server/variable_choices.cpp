#include "server/variable_choices.h"

#include <algorithm>
#include <utility>

#include "host/control.h"

namespace qrvml {
namespace {

constexpr std::string_view kVariables = "Variables";

}  // namespace

void VariableChoices::Keep(const Json& before, const Json& after) {
  Json changed = Json::array();
  bool chosen = false;
  for (std::size_t i = 0; i < before.size() && i < after.size(); ++i) {
    if (before[i].value("value", Json()) == after[i].value("value", Json())) continue;
    changed.push_back(before[i]);
    chosen = chosen || before[i]["name"] == kVariables;
  }
  if (chosen) kept_.push_back(std::move(changed));
}

AutomationResult VariableChoices::Undo(AnalysisSession& session) {
  if (kept_.empty()) return {kAutomationFailure, "no choice of variables can be taken back"};
  const Json states = std::exchange(kept_.back(), {});
  kept_.pop_back();
  // The variables first, as they reset the others.
  std::vector<const Json*> order;
  for (const Json& state : states) order.push_back(&state);
  std::ranges::stable_partition(order,
                                [](const Json* state) { return (*state)["name"] == kVariables; });
  for (const Json* state : order) {
    const std::string name = (*state)["name"];
    const Json& value = (*state)["value"];
    const auto dialog = session.dialog();
    const auto controls = dialog->Controls();
    const auto control = std::ranges::find(controls, name, &Control::name);
    if (control == controls.end() || !HoldsValue(control->kind)) continue;
    AutomationValue now;
    AutomationResult result;
    if (value.is_number()) {
      if (session.Get(name, now).Succeeded() && now.number == value.get<double>()) continue;
      result = session.Put(name, AutomationValue::Number(value.get<double>()));
    } else if (dialog->ShownText(name) == value.get<std::string>()) {
      continue;
    } else if (control->IsField()) {
      result = session.Type(name, value.get<std::string>());
    } else {
      result = session.Put(name, AutomationValue::Text(value.get<std::string>()));
    }
    if (!result.Succeeded()) return result;
  }
  return {};
}

}  // namespace qrvml
