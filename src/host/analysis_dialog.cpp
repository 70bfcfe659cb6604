#include "host/analysis_dialog.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

std::atomic<int> lockCount{0};

const AutomationResult kDone{};

AutomationResult Failure(std::string text = {}) { return {kAutomationFailure, std::move(text)}; }

AutomationResult Unknown(std::string_view name) {
  return Failure("Unknown property or action: " + std::string(name));
}

AnswerMember FindAnswerMember(std::string_view name) {
  const auto found = std::ranges::find(kAnswerNames, name);
  return static_cast<AnswerMember>(found - std::begin(kAnswerNames));
}

/// A choice arrives as its text or as a number; the text of an item stands for its position.
bool ChoicePosition(const Control& control, const AutomationValue& value, double& position) {
  if (value.isNumber) {
    position = value.number;
    return true;
  }
  if (control.bind.items != nullptr) {
    const auto items = control.bind.items();
    const auto found = std::ranges::find(items, std::string_view(value.text));
    if (found != items.end()) {
      position = static_cast<double>(found - items.begin());
      return true;
    }
  }
  return TextToDouble(value.text, position);
}

}  // namespace

int ModuleLockCount() { return lockCount.load(); }

/// The automation object of one dialog.
class DialogAutomation final : public QrvAnalysisDialog {
 public:
  explicit DialogAutomation(CAnalysisDialog& dialog) : dialog_(&dialog) { ++lockCount; }
  ~DialogAutomation() override { --lockCount; }

  void Close() { dialog_ = nullptr; }

  bool IsOpen() const override { return dialog_ != nullptr; }
  std::string Name() const override {
    return dialog_ == nullptr ? std::string() : std::string(dialog_->InterfaceName());
  }
  std::string Title() const override {
    return dialog_ == nullptr ? std::string() : std::string(dialog_->Title());
  }
  CAnalysisSupport* Parent() const override {
    return dialog_ == nullptr ? nullptr : &dialog_->analysis();
  }
  std::span<const Control> Controls() const override {
    return dialog_ == nullptr ? std::span<const Control>() : dialog_->Controls();
  }

  std::vector<ControlDescription> DialogControlDescr() const override {
    std::vector<ControlDescription> rows;
    std::vector<const Control*> displaced;
    for (const Control& control : Controls()) {
      if (control.row.identifier == 0) continue;
      if (control.row.after != 0) {
        displaced.push_back(&control);
        continue;
      }
      rows.push_back(Describe(control));
    }
    for (const Control* control : displaced) {
      const auto before =
          std::ranges::find(rows, control->row.after, &ControlDescription::identifier);
      rows.insert(before == rows.end() ? before : before + 1, Describe(*control));
    }
    return rows;
  }

  bool IsEnabled(std::string_view name) const override {
    if (dialog_ == nullptr) return false;
    CAnalysisContext::Scope scope(&dialog_->analysis());
    const Control* control = dialog_->FindControl(name);
    return control != nullptr && control->refusal.empty() && dialog_->IsEnabled(*control);
  }

  bool HasTab(std::string_view tab) const override {
    if (dialog_ == nullptr || tab.empty()) return false;
    CAnalysisContext::Scope scope(&dialog_->analysis());
    return std::ranges::find(Controls(), tab, &Control::tab) != Controls().end() &&
           !dialog_->IsTabHidden(tab);
  }

  AutomationResult ShowTab(std::string_view tab) override {
    return Call([&] {
      if (!HasTab(tab)) return Failure("There is no tab " + std::string(tab) + " now");
      dialog_->TabShown(tab);
      return kDone;
    });
  }

  std::string ShownText(std::string_view name) const override {
    const Control* control = Find(name);
    if (control == nullptr) return {};
    switch (control->kind) {
      case ControlKind::integer:
      case ControlKind::real:
      case ControlKind::text:
      case ControlKind::pick:
        return dialog_->FieldText(*control);
      case ControlKind::choice:
      case ControlKind::note: {
        CAnalysisContext::Scope scope(&dialog_->analysis());
        if (control->bind.text != nullptr) return control->bind.text(*dialog_);
        return std::string(control->kind == ControlKind::note ? control->label : "");
      }
      default:
        return {};
    }
  }
  OfferedItems Offered(std::string_view name) const override {
    const Control* control = Find(name);
    if (control == nullptr || control->bind.offered == nullptr) return {};
    CAnalysisContext::Scope scope(&dialog_->analysis());
    return control->bind.offered(*dialog_);
  }
  double Lowest(std::string_view name) const override {
    const Control* control = Find(name);
    if (control == nullptr) return 0;
    CAnalysisContext::Scope scope(&dialog_->analysis());
    return dialog_->LowestOf(*control);
  }
  std::string LastFieldRead() const override {
    return dialog_ == nullptr ? std::string() : dialog_->lastRead_;
  }

  AutomationResult Get(std::string_view name, AutomationValue& value) override {
    return Call([&] {
      if (const AnswerMember member = FindAnswerMember(name); member != AnswerMember::none) {
        value = AutomationValue::Text(Automation().Answer(member));
        return kDone;
      }
      return OnControl(name, [&](const Control& control) { return Read(control, value); });
    });
  }

  AutomationResult Put(std::string_view name, const AutomationValue& value) override {
    return Call([&] {
      if (const AnswerMember member = FindAnswerMember(name); member != AnswerMember::none) {
        Automation().SetAnswer(member, value.isNumber ? ShortestText(value.number) : value.text);
        return kDone;
      }
      return OnControl(name, [&](const Control& control) { return Write(control, value); });
    });
  }

  AutomationResult Type(std::string_view name, std::string_view text) override {
    return Call([&] {
      return OnControl(name, [&](const Control& control) {
        if (!control.IsField()) return Failure(std::string(name) + " is no edit field");
        KeepTyped(control, text);
        Record(control, text);
        return kDone;
      });
    });
  }

  AutomationResult Press(std::string_view name) override {
    return Call([&] {
      return OnControl(name, [&](const Control& control) { return PressControl(control); });
    });
  }

  AutomationResult OAOK() override {
    return Call([&] {
      dialog_->lastRead_.clear();
      return dialog_->OnOK() ? kDone : Failure(dialog_->TakeExplanation());
    });
  }
  AutomationResult OACancel() override {
    return Call([&] { return dialog_->OnCancel() ? kDone : Failure(); });
  }

 private:
  /// The pattern of every call: an open dialog, its analysis entered, no exception let out.
  template <class Operation>
  AutomationResult Call(Operation operation) {
    if (dialog_ == nullptr) return Failure("The dialog is closed");
    CAnalysisContext::Scope scope(&dialog_->analysis());
    try {
      return operation();
    } catch (const Cancelled&) {
      return Failure();
    } catch (const std::bad_alloc&) {
      Refuse(104);
      return Failure();
    }
  }

  template <class Operation>
  AutomationResult OnControl(std::string_view name, Operation operation) {
    const Control* control = dialog_->FindControl(name);
    if (control == nullptr) return Unknown(name);
    if (!control->refusal.empty())
      return Failure(std::string(name) + ": " + std::string(control->refusal));
    return operation(*control);
  }

  const Control* Find(std::string_view name) const {
    return dialog_ == nullptr ? nullptr : dialog_->FindControl(name);
  }
  AutomationServices& Automation() const { return *dialog_->analysis().services().automation; }

  static ControlDescription Describe(const Control& control) {
    const DescriptionRow& row = control.row;
    return {&control, row.role, row.kind, row.type, row.identifier};
  }

  AutomationResult Read(const Control& control, AutomationValue& value) {
    switch (control.kind) {
      case ControlKind::check:
      case ControlKind::radio:
      case ControlKind::choice:
        value = AutomationValue::Number(control.bind.number(*dialog_));
        return kDone;
      case ControlKind::integer:
      case ControlKind::real:
      case ControlKind::text:
      case ControlKind::pick: {
        const std::string text = dialog_->FieldText(control);
        double number = 0;
        const bool numeric =
            control.kind == ControlKind::integer || control.kind == ControlKind::real;
        value = numeric && TextToDouble(text, number) ? AutomationValue::Number(number)
                                                      : AutomationValue::Text(text);
        return kDone;
      }
      case ControlKind::note:
        value = AutomationValue::Text(control.bind.text == nullptr ? std::string(control.label)
                                                                   : control.bind.text(*dialog_));
        return kDone;
      case ControlKind::button:
        return Failure(std::string(control.name) + " has no value");
      case ControlKind::action:
        return PressControl(control);
    }
    return Unknown(control.name);
  }

  AutomationResult Write(const Control& control, const AutomationValue& value) {
    if (dialog_->TakesOnlyEnabled() && !dialog_->IsEnabled(control))
      return Failure(std::string(control.name) + " is disabled");
    double number = value.number;
    switch (control.kind) {
      case ControlKind::check:
      case ControlKind::radio:
        if (!value.isNumber && !TextToDouble(value.text, number))
          return Failure(std::string(control.name) + " takes 0 or 1, not \"" + value.text + '"');
        if (control.kind == ControlKind::radio && number == 0) return kDone;
        if (!control.bind.assign(*dialog_, number != 0 ? 1 : 0)) return Failure();
        Record(control, number != 0 ? "1" : "0");
        return kDone;
      case ControlKind::choice:
        if (!ChoicePosition(control, value, number) || !control.bind.assign(*dialog_, number))
          return Failure(std::string(control.name) + " has no choice \"" +
                         (value.isNumber ? ShortestText(number) : value.text) + '"');
        Record(control, ShortestText(number));
        return kDone;
      case ControlKind::integer:
      case ControlKind::real: {
        if (!value.isNumber && !TextToDouble(value.text, number))
          return Failure(std::string(control.name) + " takes a number, not \"" + value.text + '"');
        KeepTyped(control, ShortestText(number));
        Record(control, ShortestText(number));
        return kDone;
      }
      case ControlKind::text: {
        const std::string text = value.isNumber ? ShortestText(number) : value.text;
        if (control.bind.enter == nullptr) {
          KeepTyped(control, text);
        } else if (!control.bind.enter(*dialog_, text)) {
          return Failure(dialog_->TakeExplanation());
        }
        Record(control, text);
        return kDone;
      }
      case ControlKind::pick: {
        const std::string text = value.isNumber ? ShortestText(number) : value.text;
        if (!(control.bind.enter != nullptr ? control.bind.enter(*dialog_, text)
                                            : PressWithAnswer(control, text)))
          return Failure();
        Record(control, control.bind.text(*dialog_));
        return kDone;
      }
      case ControlKind::button:
      case ControlKind::action:
      case ControlKind::note:
        return Failure(std::string(control.name) + " takes no value");
    }
    return Unknown(control.name);
  }

  bool PressWithAnswer(const Control& control, const std::string& text) {
    Automation().SetAnswer(control.bind.answer, text);
    const bool taken = control.bind.press(*dialog_);
    Automation().SetAnswer(control.bind.answer, {});
    return taken;
  }

  AutomationResult PressControl(const Control& control) {
    if (control.bind.press == nullptr) return Failure(std::string(control.name) + " is no button");
    if (!dialog_->IsEnabled(control)) return Failure(std::string(control.name) + " is disabled");
    if (!control.bind.press(*dialog_)) return Failure();
    if (control.isRecordedByHost) return kDone;
    if (control.recordedAs.empty())
      Record(control,
             control.kind == ControlKind::pick ? control.bind.text(*dialog_) : std::string());
    for (const std::string_view name : control.recordedAs) RecordHeld(*dialog_->FindControl(name));
    return kDone;
  }

  void KeepTyped(const Control& control, std::string_view text) {
    auto& typed = dialog_->typed_;
    const auto found = std::ranges::find(typed, &control, &CAnalysisDialog::Typed::control);
    if (found != typed.end()) {
      found->text = text;
    } else {
      typed.push_back({&control, std::string(text)});
    }
  }

  /// What a control holds, unless that is nothing.
  void RecordHeld(const Control& control) {
    const std::string held = dialog_->FieldText(control);
    if (!held.empty()) Record(control, held);
  }

  void Record(const Control& control, std::string_view value) {
    const int constant = control.bind.constant == nullptr ? 0 : control.bind.constant(*dialog_);
    Automation().RecordControlValue(*dialog_, control, value, constant);
  }

  CAnalysisDialog* dialog_;  // null once the dialog has closed
};

CAnalysisDialog::CAnalysisDialog(CAnalysisSupport& analysis)
    : analysis_(analysis), automation_(std::make_shared<DialogAutomation>(*this)) {}

CAnalysisDialog::~CAnalysisDialog() { static_cast<DialogAutomation&>(*automation_).Close(); }

const Control* CAnalysisDialog::FindControl(std::string_view name) const {
  for (const Control& control : Controls()) {
    if (control.name == name) return &control;
  }
  return nullptr;
}

std::string CAnalysisDialog::FieldText(const Control& control) const {
  const auto typed = std::ranges::find(typed_, &control, &Typed::control);
  if (typed != typed_.end()) return typed->text;
  if (control.bind.text != nullptr) return control.bind.text(*this);
  return control.bind.number == nullptr ? std::string() : ShortestText(control.bind.number(*this));
}

bool CAnalysisDialog::ReadField(std::string_view name, double& value) const {
  lastRead_ = name;
  return TextToDouble(FieldText(*FindControl(name)), value);
}

bool CAnalysisDialog::ReadField(std::string_view name, std::int32_t& value) const {
  lastRead_ = name;
  return TextToInt(FieldText(*FindControl(name)), value);
}

bool CAnalysisDialog::ReadFieldInRange(std::string_view name, double& value) const {
  const Control& control = *FindControl(name);
  std::int32_t whole = 0;
  double read = 0;
  if (control.kind == ControlKind::integer) {
    if (!ReadField(name, whole)) return false;
    read = whole;
  } else if (!ReadField(name, read)) {
    return false;
  }
  if (!(read >= LowestOf(control) && read <= HighestOf(control))) return false;
  value = read;
  return true;
}

void CAnalysisDialog::RefreshField(std::string_view name) {
  const Control* control = FindControl(name);
  std::erase_if(typed_, [control](const Typed& typed) { return typed.control == control; });
}

}  // namespace qrvml
