// The automation side of a host without a person: whether OK runs silently, the answers, and the
// log of what was set and done.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "datafile/open_options.h"
#include "host/analysis_dialog.h"
#include "host/answer_book.h"
#include "host/dialog_sequence.h"
#include "host/services.h"

namespace qrvml {

/// One thing that was done to a dialog.
struct RecordedChange {
  enum class What {
    set,     // a control got a value
    act,     // a button was pressed or an action taken
    answer,  // the answer to the next modal service was set
    run,     // OK led on
    back,    // Cancel led back
    data,    // the data file got another setting
  } what = What::set;
  std::string control = {};               // or the member of the answers or of the data file
  ControlKind kind = ControlKind::check;  // set, act
  bool isMember = true;                   // of the automation interface
  std::string value = {};                 // set, answer, data
  int constant = 0;                       // the host constant that stands for the value; 0: none
  std::string constantName = {};          // its name in scripts
};

class AutomationHost : public AutomationServices {
 public:
  AutomationHost(DialogSequence& sequence, AnswerBook& answers, bool interactive)
      : sequence_(sequence), answers_(answers), interactive_(interactive) {}

  /// From now on OK runs as a person presses it, or silently.
  void SetInteractive(bool interactive) { interactive_ = interactive; }
  bool IsOleAutomation() override { return !interactive_; }
  /// Only of the dialog that stands: what a modal dialog does is recorded by whoever opened it. A
  /// field's text that is no number is left out, since no OK can have used it.
  void RecordControlValue(const CAnalysisDialog& dialog, const Control& control,
                          std::string_view value, int constant) override;
  void SetAnswer(AnswerMember member, std::string_view text) override;
  std::string Answer(AnswerMember member) const override { return answers_.Peek(member); }

  /// Records what the module does not tell: answers, and OK with the seeds that it read.
  void RecordAnswer(std::string_view member, std::string_view text);
  /// The same before what stands at `position` of the changes, which the answer belongs to.
  void InsertAnswer(std::size_t position, std::string_view member, std::string_view text);
  void RecordSeeds(QrvAnalysisDialog& dialog);
  void RecordRun() { changes_.push_back({.what = RecordedChange::What::run}); }
  void RecordBack() { changes_.push_back({.what = RecordedChange::What::back}); }
  /// The analysis starts over: what was done before does not lead to where it stands.
  void ForgetChanges() { changes_.clear(); }
  /// The weight and the condition, where they are others than before.
  void RecordData(const OpenOptions& before, const OpenOptions& now);

  /// In the order in which they happened.
  const std::vector<RecordedChange>& changes() const { return changes_; }

 private:
  bool IsSetSinceRun(std::string_view control) const;

  DialogSequence& sequence_;
  AnswerBook& answers_;
  bool interactive_;
  std::vector<RecordedChange> changes_;
};

}  // namespace qrvml
