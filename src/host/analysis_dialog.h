// The base of every dialog: a headless model with one table of controls, and the automation object
// through which every client (page, shell, macro, program) drives it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/control.h"

namespace qrvml {

class CAnalysisSupport;

/// A property's value as it crosses the automation interface.
struct AutomationValue {
  bool isNumber = false;
  double number = 0;
  std::string text;

  static AutomationValue Number(double number) { return {true, number, {}}; }
  static AutomationValue Text(std::string text) { return {false, 0, std::move(text)}; }
};

/// How an automation call ended. A failed call changed nothing unless it ran an action.
struct AutomationResult {
  std::uint32_t code = 0;  // 0, or kAutomationFailure
  std::string text;        // what was wrong; empty when a message box has already said it

  bool Succeeded() const { return code == 0; }
};
inline constexpr std::uint32_t kAutomationFailure = 0x80004005;

/// One row of the control-description table.
struct ControlDescription {
  const Control* control = nullptr;
  int role = 0, kind = 0, type = 0, identifier = 0;
  int flag = 1, zero1 = 0, zero2 = 0;
};

/// The automation object of one dialog. It outlives the dialog: a call after the dialog has closed
/// fails and changes nothing. Every call enters the dialog's analysis for its duration, and no
/// exception leaves it.
class QrvAnalysisDialog {
 public:
  virtual ~QrvAnalysisDialog() = default;

  virtual bool IsOpen() const = 0;
  /// The interface's name, e.g. "MachineLearningKNN"; empty for a dialog without an interface.
  virtual std::string Name() const = 0;
  virtual std::string Title() const = 0;
  /// The analysis that the dialog belongs to.
  virtual CAnalysisSupport* Parent() const = 0;
  /// The rows of the table, automated and not, in interface order; valid while the dialog is open.
  virtual std::span<const Control> Controls() const = 0;
  /// The control-description table: the automated rows in its own order.
  virtual std::vector<ControlDescription> DialogControlDescr() const = 0;
  virtual bool IsEnabled(std::string_view name) const = 0;
  /// Whether a tab can be shown now; false for a tab that does not exist.
  virtual bool HasTab(std::string_view tab) const = 0;
  /// The client shows a tab to a person. Fails for a tab that is hidden or does not exist.
  virtual AutomationResult ShowTab(std::string_view tab) = 0;
  /// What a person sees: the text of a field as it was typed, the members of a pick, the words of a
  /// choice, the text of a note. Empty for other controls.
  virtual std::string ShownText(std::string_view name) const = 0;
  /// What a list-valued text offers; nothing for other controls.
  virtual OfferedItems Offered(std::string_view name) const = 0;
  /// The lower bound of a field's range as it is now.
  virtual double Lowest(std::string_view name) const = 0;
  /// The edit field that the current or the last OK has read last; empty for none.
  virtual std::string LastFieldRead() const = 0;

  /// Reads a property; of an action: performs it. Answer members can be read and put, too.
  virtual AutomationResult Get(std::string_view name, AutomationValue& value) = 0;
  virtual AutomationResult Put(std::string_view name, const AutomationValue& value) = 0;
  /// Types a text into an edit field, as a person does: readable or not.
  virtual AutomationResult Type(std::string_view name, std::string_view text) = 0;
  /// Presses a button, a pick or an action; fails when it is disabled.
  virtual AutomationResult Press(std::string_view name) = 0;
  virtual AutomationResult OAOK() = 0;
  virtual AutomationResult OACancel() = 0;
};

class CAnalysisDialog {
 public:
  explicit CAnalysisDialog(CAnalysisSupport& analysis);
  CAnalysisDialog(const CAnalysisDialog&) = delete;
  CAnalysisDialog& operator=(const CAnalysisDialog&) = delete;
  virtual ~CAnalysisDialog();

  virtual std::string_view InterfaceName() const = 0;
  virtual std::string_view Title() const = 0;
  /// The table; the same rows for every dialog of a class.
  virtual std::span<const Control> Controls() const = 0;
  /// The buttons. True: the dialog has ended (or, for a modal dialog, may end).
  virtual bool OnOK() = 0;
  virtual bool OnCancel() = 0;
  /// Whether a put on a disabled control fails. Otherwise the control keeps what it is given, and
  /// what it keeps counts once it is enabled.
  virtual bool TakesOnlyEnabled() const { return false; }

  /// The automation object; one per dialog, made with it.
  virtual const std::shared_ptr<QrvAnalysisDialog>& Automation() const { return automation_; }

  CAnalysisSupport& analysis() const { return analysis_; }
  /// Whether a tab is hidden now; its controls are then disabled.
  virtual bool IsTabHidden(std::string_view) const { return false; }

  const Control* FindControl(std::string_view name) const;
  bool IsEnabled(const Control& control) const {
    return !IsTabHidden(control.tab) && (control.enabled == nullptr || control.enabled(*this));
  }

  /// What an edit field shows: what was typed, else what its setting holds.
  std::string FieldText(const Control& control) const;
  /// Reads an edit field; false when its text is no number (integer: no 32-bit integer).
  bool ReadField(std::string_view name, double& value) const;
  bool ReadField(std::string_view name, std::int32_t& value) const;
  /// Why the last call failed where no message box said it; empty otherwise.
  std::string TakeExplanation() { return std::exchange(explanation_, {}); }

  /// The bounds of a field's range as they are now.
  double LowestOf(const Control& control) const {
    return control.range.from == nullptr ? control.range.lowest : control.range.from(*this);
  }
  double HighestOf(const Control& control) const {
    return control.range.upTo == nullptr ? control.range.highest : control.range.upTo(*this);
  }
  /// Reads an edit field by its kind; false also when the number is outside the field's range.
  bool ReadFieldInRange(std::string_view name, double& value) const;

 protected:
  /// Makes a field show its setting again.
  void RefreshField(std::string_view name);
  /// A tab is shown to a person.
  virtual void TabShown(std::string_view) {}
  /// Why the call in progress fails, where no message box says it: the automation result's text.
  void Explain(std::string text) { explanation_ = std::move(text); }

 private:
  friend class DialogAutomation;
  struct Typed {
    const Control* control;
    std::string text;
  };

  CAnalysisSupport& analysis_;
  std::shared_ptr<QrvAnalysisDialog> automation_;
  std::vector<Typed> typed_;  // fields that hold more than their setting
  std::string explanation_;
  mutable std::string lastRead_;  // field of the running OK
};

/// Automation objects alive in this process; the library may be unloaded at 0.
int ModuleLockCount();

}  // namespace qrvml
