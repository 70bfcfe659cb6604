#include "host/automation_host.h"

#include <algorithm>
#include <ranges>

#include "host/numerics.h"

namespace qrvml {

void AutomationHost::RecordControlValue(const CAnalysisDialog& dialog, const Control& control,
                                        std::string_view value, int constant) {
  using What = RecordedChange::What;
  double number = 0;
  const bool isNumeric = control.kind == ControlKind::integer || control.kind == ControlKind::real;
  if (&dialog != sequence_.current() || (isNumeric && !TextToDouble(value, number))) return;
  RecordedChange change{.what = HoldsValue(control.kind) ? What::set : What::act,
                        .control = std::string(control.name),
                        .kind = control.kind,
                        .isMember = control.IsAutomated(),
                        .value = std::string(value),
                        .constant = constant};
  double position = 0;
  if (constant != 0 && control.bind.items != nullptr && TextToDouble(value, position))
    change.constantName = control.bind.items()[static_cast<std::size_t>(position)];
  changes_.push_back(std::move(change));
}

void AutomationHost::SetAnswer(AnswerMember member, std::string_view text) {
  // Taking back an answer that was used in part: the caller gave more lists than were asked for.
  if (text.empty() && answers_.Has(member) && answers_.UsedLists(member) > 0)
    answers_.Note(member, false,
                  '"' + answers_.Peek(member) + "\": only the first " +
                      std::to_string(answers_.UsedLists(member)) + " lists were asked for");
  answers_.Set(member, text);
}

void AutomationHost::RecordAnswer(std::string_view member, std::string_view text) {
  changes_.push_back({.what = RecordedChange::What::answer,
                      .control = std::string(member),
                      .value = std::string(text)});
}

void AutomationHost::RecordData(const OpenOptions& before, const OpenOptions& now) {
  using What = RecordedChange::What;
  if (before.weight != now.weight)
    changes_.push_back({.what = What::data, .control = "Weight", .value = now.weight});
  if (before.select != now.select)
    changes_.push_back({.what = What::data, .control = "Selection", .value = now.select});
}

void AutomationHost::InsertAnswer(std::size_t position, std::string_view member,
                                  std::string_view text) {
  changes_.insert(changes_.begin() + static_cast<std::ptrdiff_t>(position),
                  {.what = RecordedChange::What::answer,
                   .control = std::string(member),
                   .value = std::string(text)});
}

bool AutomationHost::IsSetSinceRun(std::string_view control) const {
  for (const RecordedChange& change : changes_ | std::views::reverse) {
    if (change.what == RecordedChange::What::run || change.what == RecordedChange::What::back)
      return false;
    if (change.what == RecordedChange::What::set && change.control == control) return true;
  }
  return false;
}

void AutomationHost::RecordSeeds(QrvAnalysisDialog& dialog) {
  for (const Control& control : dialog.Controls()) {
    const bool isSeed = control.IsField() && control.name.find("Seed") != std::string_view::npos;
    AutomationValue value;
    if (!isSeed || IsSetSinceRun(control.name) || !dialog.Get(control.name, value).Succeeded())
      continue;
    changes_.push_back({.control = std::string(control.name),
                        .kind = control.kind,
                        .isMember = control.IsAutomated(),
                        .value = value.isNumber ? ShortestText(value.number) : value.text});
  }
}

}  // namespace qrvml
