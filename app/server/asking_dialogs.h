// The host's modal dialogs with a person in front: what no answer stands ready for is asked of the
// page.
#pragma once

#include <functional>
#include <vector>

#include "host/answering_dialogs.h"
#include "server/asker.h"

namespace qrvml {

class AskingDialogs final : public AnsweringDialogs {
 public:
  AskingDialogs(DialogSequence& sequence, AnswerBook& answers, Asker& asker)
      : AnsweringDialogs(sequence, answers), asker_(asker) {}

  bool RunModalDialog(int templateId, CAnalysisDialog& dialog) override;
  bool FourVarListsDialog(VariableListsRequest& request) override;
  bool ThreeVarListsDialog(VariableListsRequest& request) override;
  bool VariableListDialog(std::string_view caption, std::string_view prompt,
                          int& variable) override;
  bool LongCodesListDialog(CodesRequest& request) override;
  bool GetStartValues(std::string_view title, std::span<const std::string> rows,
                      std::span<double> values) override;
  bool looka4dlg(InputTable& table) override;
  bool OpenTvxFile() override { return openFile && openFile(); }
  bool DefineSelCond() override { return defineSelection && defineSelection(); }
  bool DefineWeight() override { return defineWeight && defineWeight(); }

  /// The host's own dialogs about the data file; true: it is another one now.
  std::function<bool()> openFile, defineSelection, defineWeight;
  /// The labels of a variable's codes, as pairs.
  std::function<Json(int variable)> labelsOf;
  /// An answer of a person, as the text that answers the same in a script.
  std::function<void(AnswerMember member, const std::string& text)> onAnswer;

 private:
  bool AskVariables(VariableListsRequest& request);
  void Answered(AnswerMember member, const std::string& text) {
    if (onAnswer) onAnswer(member, text);
  }
  std::string NamesText(const std::vector<std::vector<int>>& lists) const;

  Asker& asker_;
};

}  // namespace qrvml
