// The host's modal dialogs where nobody can be asked: each takes its answer from the member that
// was set beforehand, or is cancelled and leaves a note. A host with a person in front derives from
// it and asks where no answer stands ready.
#pragma once

#include <functional>
#include <string>

#include "host/answer_book.h"
#include "host/answer_reading.h"
#include "host/dialog_sequence.h"
#include "host/services.h"

namespace qrvml {

/// The template of the dialog that runs a training by itself as soon as it opens.
inline constexpr int kTrainingTemplate = 3751;
/// The template of the dialog that asks for the penalties of classes.
inline constexpr int kPenaltyTemplate = 3765;

class AnsweringDialogs : public DialogServices {
 public:
  AnsweringDialogs(DialogSequence& sequence, AnswerBook& answers)
      : sequence_(sequence), answers_(answers) {}

  /// The names of the open data file; again whenever it is replaced.
  void SetNames(AnswerNames names) { names_ = std::move(names); }

  int CreateModelessDialog(int templateId, std::unique_ptr<CAnalysisDialog> dialog) override {
    return sequence_.Create(templateId, std::move(dialog));
  }
  void ExitDialog(int step, int mode) override { sequence_.Exit(step, mode); }
  bool RunModalDialog(int templateId, CAnalysisDialog& dialog) override;

  bool FourVarListsDialog(VariableListsRequest& request) override;
  bool ThreeVarListsDialog(VariableListsRequest& request) override;
  bool VariableListDialog(std::string_view caption, std::string_view prompt,
                          int& variable) override;
  /// One answer covers consecutive requests: each takes the next lists of it.
  bool LongCodesListDialog(CodesRequest& request) override;
  bool GetStartValues(std::string_view title, std::span<const std::string> rows,
                      std::span<double> values) override;

  /// One text for each row: a number, name or label.
  bool looka4dlg(InputTable& table) override;

  bool OpenTvxFile() override { return NotHere("opening a data file"); }
  bool DefineSelCond() override { return NotHere("defining a selection condition"); }
  bool DefineWeight() override { return NotHere("defining a case weight"); }

  bool GetValueFromValEdit(std::string_view text, int variable, double lowest, double highest,
                           double& value) override;

 protected:
  AnswerBook& answers() { return answers_; }
  const AnswerNames& names() const { return names_; }

 private:
  /// By the penalty list of the dialog that stands.
  bool AnswerPenalties(CAnalysisDialog& dialog);
  bool AnswerVariableLists(VariableListsRequest& request, bool leadingEmpty);
  /// Notes an answer that cannot be used; false.
  bool Refuse(AnswerMember member, const std::string& answer, const std::string& error);
  bool NotHere(std::string_view what);

  DialogSequence& sequence_;
  AnswerBook& answers_;
  AnswerNames names_;
};

}  // namespace qrvml
