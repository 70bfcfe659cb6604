#include "host/analysis_session.h"

#include <algorithm>

#include "host/control.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr int kFirstStep = 100;
constexpr int kFirstDialogStep = 101;

AutomationResult Failure(std::string text) { return {kAutomationFailure, std::move(text)}; }

}  // namespace

AnalysisSession::AnalysisSession(const HostServices& services, DialogSequence& sequence,
                                 RandomStreams& random)
    : services_(services), sequence_(sequence), random_(random) {}

AnalysisSession::~AnalysisSession() { sequence_.Close(); }

bool AnalysisSession::Open(AnalysisFactory factory, std::string& error) {
  analysis_.reset(factory());
  if (analysis_ == nullptr) {
    error = "the analysis cannot be created: not enough memory";
    return false;
  }
  analysis_->Attach(services_);
  if (RunFrom(kFirstStep, error)) return true;
  analysis_.reset();
  return false;
}

bool AnalysisSession::RunFrom(int step, std::string& error) {
  step_ = 0;
  while (step != 0) {
    if (analysis_->RunStep(step) < 0) {
      error = "the analysis cannot go on: its step " + std::to_string(step) + " failed";
      return false;
    }
    step_ = step;
    const SequenceEntry* entry = analysis_->sequence().Find(step);
    step = entry == nullptr ? 0 : entry->following;
  }
  return true;
}

std::shared_ptr<QrvAnalysisDialog> AnalysisSession::dialog() const {
  return IsOpen() ? sequence_.current()->Automation() : nullptr;
}

const Control* AnalysisSession::Find(std::string_view name) const {
  const std::shared_ptr<QrvAnalysisDialog> open = dialog();
  if (open == nullptr) return nullptr;
  const auto controls = open->Controls();
  const auto found = std::ranges::find(controls, name, &Control::name);
  return found == controls.end() ? nullptr : &*found;
}

AutomationResult AnalysisSession::GoOn(AutomationResult result) {
  const std::optional<NextStep> next = sequence_.TakeNext();
  if (!next) return result;
  if (next->direction == Direction::forward && !analysis_->ForwardSequence(next->step, 0))
    return Failure("The analysis does not go on to step " + std::to_string(next->step));
  if (beforeLeaving) beforeLeaving(*sequence_.current()->Automation());
  sequence_.Close();
  std::string error;
  if (!RunFrom(next->step, error)) return Failure(error);
  return result;
}

template <class Operation>
AutomationResult AnalysisSession::Call(Operation operation) {
  const std::shared_ptr<QrvAnalysisDialog> open = dialog();
  if (open == nullptr) return Failure("The analysis has ended");
  return GoOn(operation(*open));
}

template <class Operation>
AutomationResult AnalysisSession::Act(Operation operation) {
  random_.Forget();
  if (IsOpen() && beforeActing) {
    if (AutomationResult result = beforeActing(); !result.Succeeded()) return result;
  }
  return Call(operation);
}

AutomationResult AnalysisSession::Get(std::string_view name, AutomationValue& value) {
  const auto get = [&](QrvAnalysisDialog& open) { return open.Get(name, value); };
  const Control* control = Find(name);
  return control != nullptr && control->kind == ControlKind::action ? Act(get) : Call(get);
}

AutomationResult AnalysisSession::Put(std::string_view name, const AutomationValue& value) {
  AutomationResult result = Call([&](QrvAnalysisDialog& open) { return open.Put(name, value); });
  if (onAnswer && result.Succeeded() && std::ranges::count(kAnswerNames, name) > 0)
    onAnswer(name, value.isNumber ? ShortestText(value.number) : value.text);
  return result;
}

AutomationResult AnalysisSession::Type(std::string_view name, std::string_view text) {
  return Call([&](QrvAnalysisDialog& open) { return open.Type(name, text); });
}

AutomationResult AnalysisSession::ShowTab(std::string_view tab) {
  return Call([&](QrvAnalysisDialog& open) { return open.ShowTab(tab); });
}

AutomationResult AnalysisSession::Press(std::string_view name) {
  return Act([&](QrvAnalysisDialog& open) { return open.Press(name); });
}

AutomationResult AnalysisSession::OK() {
  const std::shared_ptr<QrvAnalysisDialog> before = dialog();
  AutomationResult result = Act([this](QrvAnalysisDialog& open) {
    if (beforeOK) beforeOK(open);
    return open.OAOK();
  });
  if (afterOK && result.Succeeded() && dialog() != before) afterOK();
  return result;
}

AutomationResult AnalysisSession::Cancel() {
  const std::shared_ptr<QrvAnalysisDialog> before = dialog();
  AutomationResult result = Call([](QrvAnalysisDialog& open) { return open.OACancel(); });
  if (afterCancel && result.Succeeded() && dialog() != before) afterCancel();
  return result;
}

bool AnalysisSession::ReplaceFile(const HostServices& services, std::string& error) {
  sequence_.Close();
  sequence_.TakeNext();
  services_ = services;
  analysis_->Attach(services_);
  analysis_->InitializeAfterFileChanged();
  return RunFrom(kFirstDialogStep, error);
}

}  // namespace qrvml
