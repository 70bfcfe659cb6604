#include "cli/dialog_calls.h"

#include <algorithm>

#include "cli/suggestion.h"
#include "documents/display_width.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

std::string ValueText(const std::variant<double, std::string>& value) {
  const double* number = std::get_if<double>(&value);
  return number == nullptr ? std::get<std::string>(value) : ShortestText(*number);
}

/// What answers a service that the specification dialog asked for.
std::string_view OptionThatAnswers(AnswerMember member) {
  switch (member) {
    case AnswerMember::variables:
      return "no dependent variable is chosen: give --variables";
    case AnswerMember::codes:
      return "codes are missing: give --response-codes or --predictor-codes";
    default:
      return {};
  }
}

}  // namespace

bool IsAnswerName(std::string_view name) {
  return std::ranges::find(kAnswerNames, name) != std::end(kAnswerNames);
}

bool DialogCalls::Explain(const std::string& what, const AutomationResult& result,
                          std::size_t messagesBefore) {
  const std::vector<AnswerNote> notes = host_.answers.TakeNotes();
  bool told = host_.messages.messages().size() > messagesBefore;
  for (const AnswerNote& note : notes) {
    // What was asked without an answer matters only where the call failed for it.
    if (result.Succeeded() && note.missing) continue;
    complain_(what + ": " + note.text);
    told = true;
  }
  if (result.Succeeded()) return true;
  if (!result.text.empty()) {
    complain_(what + ": " + result.text);
  } else if (!told && !host_.progress.IsExternallyCancelled()) {
    complain_(what + " failed");
  }
  return false;
}

bool DialogCalls::Put(const std::string& name, const std::string& value) {
  const std::size_t messages = host_.messages.messages().size();
  host_.messages.step = name;
  return Explain(name, session_.Put(name, AutomationValue::Text(value)), messages);
}

bool DialogCalls::OK(int step) {
  const std::size_t messages = host_.messages.messages().size();
  host_.messages.step = "OK";
  const AutomationResult result = session_.OK();
  if (result.Succeeded() && session_.step() == step) {
    host_.answers.TakeNotes();
    return true;
  }
  // The dialog asked for what is missing; the shell's option for it is more use than the question.
  bool told = false;
  for (const AnswerNote& note : host_.answers.TakeNotes()) {
    const std::string_view option = OptionThatAnswers(note.member);
    complain_(note.missing && !option.empty() ? std::string(option) : note.text);
    told = true;
  }
  if (!told)
    Explain("OK", result.Succeeded() ? AutomationResult{kAutomationFailure, {}} : result, messages);
  return false;
}

const Control* DialogCalls::Usable(const Step& step) {
  const auto dialog = session_.dialog();
  if (dialog == nullptr) {
    complain_('"' + step.text + "\": the analysis has ended");
    return nullptr;
  }
  const auto controls = dialog->Controls();
  const auto control = std::ranges::find(controls, step.name, &Control::name);
  if (control == controls.end()) {
    std::vector<std::string> names(std::begin(kAnswerNames), std::end(kAnswerNames));
    for (const Control& known : controls) names.emplace_back(known.name);
    complain_('"' + step.text + "\": there is no " + step.name + DidYouMean(step.name, names));
    return nullptr;
  }
  if (!control->refusal.empty()) {
    complain_('"' + step.text + "\": " + std::string(control->refusal));
    return nullptr;
  }
  if (step.kind == Step::Kind::act && control->kind != ControlKind::action) {
    const bool button = control->kind == ControlKind::button || control->kind == ControlKind::pick;
    complain_('"' + step.text + "\": " + step.name + " is no action; " +
              (button ? "press:" + step.name : step.name + "=value") + " is meant perhaps");
    return nullptr;
  }
  if (step.kind != Step::Kind::print && !dialog->IsEnabled(step.name)) {
    complain_('"' + step.text + "\": " + step.name + " is disabled");
    return nullptr;
  }
  return &*control;
}

bool DialogCalls::Print(const Step& step) {
  AutomationValue value;
  const auto controls = session_.dialog()->Controls();
  const auto control = std::ranges::find(controls, step.name, &Control::name);
  if (control != controls.end() && control->kind == ControlKind::action) {
    complain_('"' + step.text + "\": " + step.name + " is an action and has no value");
    return false;
  }
  const std::size_t messages = host_.messages.messages().size();
  if (!Explain('"' + step.text + '"', session_.Get(step.name, value), messages)) return false;
  print_(value.isNumber ? ShortestText(value.number) : PrintableText(value.text));
  return true;
}

bool DialogCalls::Run(const Step& step) {
  const std::size_t messages = host_.messages.messages().size();
  host_.messages.step = (step.kind == Step::Kind::press ? "press:" : "") + step.name;
  const bool isAnswer =
      IsAnswerName(step.name) && (step.kind == Step::Kind::put || step.kind == Step::Kind::print);
  if (!isAnswer && Usable(step) == nullptr) return false;
  AutomationResult result;
  switch (step.kind) {
    case Step::Kind::print:
      return Print(step);
    case Step::Kind::put:
      result = session_.Put(step.name, AutomationValue::Text(step.value));
      break;
    case Step::Kind::act:
    case Step::Kind::press:
      result = session_.Press(step.name);
      break;
  }
  return Explain('"' + step.text + '"', result, messages);
}

std::vector<NamedValue> ReadProperties(QrvAnalysisDialog& dialog) {
  std::vector<NamedValue> properties;
  for (const Control& control : dialog.Controls()) {
    if (!HoldsValue(control.kind)) continue;
    AutomationValue value;
    if (!dialog.Get(control.name, value).Succeeded()) continue;
    if (value.isNumber) {
      properties.emplace_back(control.name, value.number);
    } else {
      properties.emplace_back(control.name, value.text);
    }
  }
  return properties;
}

std::string PropertiesText(QrvAnalysisDialog& dialog) {
  const std::vector<NamedValue> properties = ReadProperties(dialog);
  std::size_t nameWidth = 0, valueWidth = 0;
  for (const auto& [name, value] : properties) {
    nameWidth = std::max(nameWidth, DisplayWidth(name));
    valueWidth = std::max(valueWidth, DisplayWidth(ValueText(value)));
  }
  std::string text;
  for (const auto& [name, value] : properties) {
    const std::string shown = PrintableText(ValueText(value));
    text += name + std::string(nameWidth - DisplayWidth(name) + 2, ' ') + shown +
            std::string(valueWidth - std::min(valueWidth, DisplayWidth(shown)) + 2, ' ') +
            (dialog.IsEnabled(name) ? "enabled" : "disabled") + '\n';
  }
  return text;
}

}  // namespace qrvml
