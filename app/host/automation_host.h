// The automation side of a host without a person: whether OK runs silently, the answers, and the
// log of what was set and done.
#pragma once

#include <string>
#include <vector>

#include "host/analysis_dialog.h"
#include "host/answer_book.h"
#include "host/services.h"

namespace qrvml {

/// One control that was set or action that was taken.
struct RecordedChange {
  std::string dialog;  // the interface's name
  std::string control;
  ControlKind kind = ControlKind::check;
  std::string value;  // empty for an action
  int constant = 0;   // the host constant that stands for the value; 0: none
};

class AutomationHost : public AutomationServices {
 public:
  AutomationHost(AnswerBook& answers, bool interactive)
      : answers_(answers), interactive_(interactive) {}

  bool IsOleAutomation() override { return !interactive_; }
  void RecordControlValue(const CAnalysisDialog& dialog, const Control& control,
                          std::string_view value, int constant) override {
    changes_.push_back({std::string(dialog.InterfaceName()), std::string(control.name),
                        control.kind, std::string(value), constant});
  }
  void SetAnswer(AnswerMember member, std::string_view text) override;
  std::string Answer(AnswerMember member) const override { return answers_.Peek(member); }

  /// In the order in which they happened.
  const std::vector<RecordedChange>& changes() const { return changes_; }

 private:
  AnswerBook& answers_;
  bool interactive_;
  std::vector<RecordedChange> changes_;
};

}  // namespace qrvml
