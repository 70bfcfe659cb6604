#include "host/answering_dialogs.h"

#include <algorithm>

namespace qrvml {
namespace {

std::string Asked(std::string_view kind, std::string_view title) {
  return std::string(kind) + " (\"" + std::string(title) + "\")";
}

}  // namespace

bool AnsweringDialogs::Refuse(AnswerMember member, const std::string& answer,
                              const std::string& error) {
  answers_.Note(member, false, '"' + answer + "\": " + error);
  return false;
}

bool AnsweringDialogs::NotHere(std::string_view what) {
  answers_.Note(AnswerMember::none, true,
                std::string(what) + " is not possible while an analysis runs here");
  return false;
}

bool AnsweringDialogs::RunModalDialog(int templateId, CAnalysisDialog& dialog) {
  if (templateId == kTrainingTemplate) return dialog.OnOK();
  if (templateId == kPenaltyTemplate) return AnswerPenalties(dialog);
  std::string answer;
  if (answers_.Take(AnswerMember::option, Asked("a dialog", dialog.Title()), answer)) {
    if (answer == "OK") return dialog.OnOK();
    if (answer != "Cancel") Refuse(AnswerMember::option, answer, "OK or Cancel is needed");
  }
  dialog.OnCancel();
  return false;
}

bool AnsweringDialogs::AnswerPenalties(CAnalysisDialog& dialog) {
  const CAnalysisDialog& standing = *sequence_.current();
  const Control& list = *std::ranges::find(standing.Controls(), "PenaltyList", &Control::name);
  const Control& penalties = *std::ranges::find(dialog.Controls(), "Penalties", &Control::name);
  if (penalties.bind.enter(dialog, list.bind.text(standing))) return dialog.OnOK();
  answers_.Note(AnswerMember::none, false, "PenaltyList: " + dialog.TakeExplanation());
  dialog.OnCancel();
  return false;
}

bool AnsweringDialogs::AnswerVariableLists(VariableListsRequest& request, bool leadingEmpty) {
  std::string answer, error;
  if (!answers_.Take(AnswerMember::variables, Asked("a choice of variables", request.title),
                     answer))
    return false;
  if (!ReadVariableLists(answer, request.captions, leadingEmpty, names_, request.lists, error))
    return Refuse(AnswerMember::variables, answer, error);
  return true;
}

bool AnsweringDialogs::FourVarListsDialog(VariableListsRequest& request) {
  return AnswerVariableLists(request, false);
}

bool AnsweringDialogs::ThreeVarListsDialog(VariableListsRequest& request) {
  return AnswerVariableLists(request, true);
}

bool AnsweringDialogs::VariableListDialog(std::string_view caption, std::string_view prompt,
                                          int& variable) {
  std::string answer, error;
  if (!answers_.Take(AnswerMember::variables,
                     Asked("a variable", std::string(caption) + ": " + std::string(prompt)),
                     answer))
    return false;
  if (!ReadVariable(answer, names_, variable, error))
    return Refuse(AnswerMember::variables, answer, error);
  return true;
}

bool AnsweringDialogs::LongCodesListDialog(CodesRequest& request) {
  constexpr AnswerMember kMember = AnswerMember::codes;
  const std::string answer = answers_.Peek(kMember);
  std::string error;
  if (answer.empty()) return answers_.Take(kMember, Asked("codes", request.title), error);

  std::vector<std::vector<ListMember>> lists;
  const std::size_t used = answers_.UsedLists(kMember), asked = request.variables.size();
  if (!ParseListText(answer, lists, error) || lists.size() < used + asked) {
    if (error.empty())
      error = "has " + std::to_string(lists.size()) + " lists where at least " +
              std::to_string(used + asked) + " are needed, one for each categorical variable";
    answers_.Set(kMember, {});
    return Refuse(kMember, answer, error);
  }
  std::vector<std::vector<double>> codes = request.codes;
  codes.resize(asked);
  for (std::size_t i = 0; i < asked; ++i) {
    const CodeBounds bounds{request.minimum.at(i), request.maximum.at(i), request.lowest,
                            request.highest};
    if (!ReadCodes(lists[used + i], request.variables[i], bounds, names_, codes[i], error)) {
      answers_.Set(kMember, {});
      return Refuse(kMember, answer, error);
    }
  }
  request.codes = std::move(codes);
  answers_.UseLists(kMember, asked, lists.size());
  return true;
}

bool AnsweringDialogs::GetStartValues(std::string_view title, std::span<const std::string> rows,
                                      std::span<double> values) {
  std::string answer, error;
  if (!answers_.Take(AnswerMember::values, Asked("values", title), answer)) return false;
  if (!ReadValues(answer, rows, values, error)) return Refuse(AnswerMember::values, answer, error);
  return true;
}

bool AnsweringDialogs::looka4dlg(InputTable& table) {
  std::string answer, error;
  if (!answers_.Take(AnswerMember::values, Asked("an input form", table.title), answer))
    return false;
  if (!ReadTexts(answer, table.rowNames, table.cells, error))
    return Refuse(AnswerMember::values, answer, error);
  return true;
}

bool AnsweringDialogs::GetValueFromValEdit(std::string_view text, int variable, double lowest,
                                           double highest, double& value) {
  std::string error;
  if (ReadValue(text, variable, lowest, highest, names_, value, error)) return true;
  answers_.Note(AnswerMember::none, false, error);
  return false;
}

}  // namespace qrvml
