#include "dialogs/sample_identifier_dialog.h"

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

constexpr double kLowestCode = -32000, kHighestCode = 32000;

using Dialog = SampleIdentifierDialog;

const Control kControls[] = {
    {.name = "Variable",
     .kind = ControlKind::pick,
     .label = "Variable avec Identifiants d'&Echantillons",
     .bind = {.text = On<Dialog>::Text([](const Dialog& d) {
                const int variable = d.choice().variable;
                return variable == 0 ? std::string()
                                     : VariableName(*d.analysis().services().file, variable);
              }),
              .press = On<Dialog>::Press([](Dialog& d) { return d.PickVariable(); }),
              .answer = AnswerMember::variables}},
    {.name = "Code",
     .kind = ControlKind::text,
     .label = "&Code de l'échantillon d'analyse :",
     .range = {kLowestCode, kHighestCode},
     .decimals = 3,
     .bind = {.text = On<Dialog>::Text([](const Dialog& d) { return d.choice().codeText; }),
              .enter = On<Dialog>::Enter([](Dialog& d, std::string_view text) {
                d.TypeCode(text);
                return true;
              })}},
    {.name = "Active",
     .kind = ControlKind::radio,
     .label = "&Actif",
     .bind = {.number = On<Dialog>::Number([](const Dialog& d) { return d.choice().state == 1; }),
              .assign = On<Dialog>::Assign([](Dialog& d, double) {
                d.SetActive(true);
                return true;
              })}},
    {.name = "Inactive",
     .kind = ControlKind::radio,
     .label = "&Inactif",
     .bind = {.number = On<Dialog>::Number([](const Dialog& d) { return d.choice().state == 0; }),
              .assign = On<Dialog>::Assign([](Dialog& d, double) {
                d.SetActive(false);
                return true;
              })}},
    {.name = "Help",
     .kind = ControlKind::note,
     .label = {},
     .bind = {.text = On<Dialog>::Text([](const Dialog&) { return Dialog::HelpText(); })}},
};

}  // namespace

SampleIdentifierDialog::SampleIdentifierDialog(CAnalysisSupport& analysis, AnalysisDataSet& data)
    : CAnalysisDialog(analysis), data_(data), before_(data.sampleChoice) {
  data_.sampleChoice.cancelled = 0;
}

std::span<const Control> SampleIdentifierDialog::Controls() const { return kControls; }

std::string SampleIdentifierDialog::HelpText() {
  return std::string(GetResourceString(187)) + '\n' + std::string(GetResourceString(188)) +
         std::string(GetResourceString(189));
}

bool SampleIdentifierDialog::PickVariable() {
  SampleChoice& choice = data_.sampleChoice;
  int variable = choice.variable;
  if (!analysis().services().dialogs->VariableListDialog(GetResourceString(190),
                                                         GetResourceString(191), variable))
    return false;
  if (variable < 1) return false;  // a list that names no variable
  if (variable == choice.variable) return true;
  // Before anything changes: the host may refuse the memory that the search needs.
  const double code = FindFirstCode(variable, true);
  choice.variable = static_cast<std::int16_t>(variable);
  choice.variableCount = 1;
  choice.code = static_cast<float>(code);
  choice.codeChosen = 1;
  if (analysis().services().file->vvlcod(variable, choice.code, choice.codeText) != 0)
    choice.codeText = ShortestText(code);
  return true;
}

void SampleIdentifierDialog::SetActive(bool active) {
  data_.sampleChoice.state = active ? 1 : 0;
  if (!active) data_.sampling.defined = false;
}

void SampleIdentifierDialog::TypeCode(std::string_view text) {
  data_.sampleChoice.codeText = text.substr(0, kLongestCodeText);
  data_.sampleChoice.codeChosen = Trim(text).empty() ? 0 : 1;
}

bool SampleIdentifierDialog::OnOK() {
  SampleChoice& choice = data_.sampleChoice;
  if (choice.state == 1) {
    if (choice.variable == 0) return Refuse(192);
    if (choice.codeChosen == 0) return Refuse(193);
    double code = 0;
    if (!analysis().services().dialogs->GetValueFromValEdit(choice.codeText, choice.variable,
                                                            kLowestCode, kHighestCode, code))
      return Refuse(194);
    choice.code = static_cast<float>(code);
  }
  choice.activeAtLastOK = choice.state;
  return true;
}

bool SampleIdentifierDialog::OnCancel() {
  data_.sampleChoice.cancelled = 1;
  return true;
}

void SampleIdentifierDialog::ApplyChoice() {
  SampleChoice& choice = data_.sampleChoice;
  if (choice.cancelled != 0) {
    choice = before_;
    choice.cancelled = 1;
  }
  if (choice.state != 1) {
    choice.variable = choice.variableCount = 0;
    choice.code = 0;
    choice.codeChosen = 0;
    choice.codeText.clear();
  }
  data_.sampling.defined = choice.state == 1 && choice.variable != 0;
  data_.sampling.identifierVariable = choice.variable;
  data_.sampling.learningCode = static_cast<double>(choice.code);
  data_.sampling.learningCodeText = choice.codeText;
}

}  // namespace qrvml
