// Predictions of a case that the user typed in.

#include <algorithm>
#include <charconv>

#include "data/shared_input.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "results/results_dialog.h"

namespace qrvml {
namespace {

/// printf's "%.14e" without a locale.
std::string ScientificText(double value) {
  char buffer[40];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific, 14).ptr;
  return {buffer, end};
}

}  // namespace

bool ResultsDialog::AskCustomCase() {
  CustomInputs inputs;
  if (!AskCustomInputs(data_, inputs)) return false;
  custom = {.isEntered = true, .isValid = !inputs.isInvalid, .inputs = std::move(inputs.values)};
  return true;
}

std::string ResultsDialog::InputsText(std::span<const double> values) const {
  std::string text;
  const std::size_t continuous = data_.roles().continuousPredictors.size();
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i < continuous) {
      text += ScientificText(values[i]) + ' ';
      continue;
    }
    const int variable = data_.roles().predictors[i];
    text += MemberText(ValueText(*analysis().services().file, variable, values[i]).text);
    if (i + 1 < values.size()) text += ' ';
  }
  return text;
}

bool ResultsDialog::ReadInputs(std::string_view property, std::string_view text,
                               std::vector<double>& inputs) const {
  const std::size_t continuous = data_.roles().continuousPredictors.size();
  CLittleParser parser(text);
  std::vector<double> values(items_.inputs());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto refuse = [&](std::string_view what) {
      return RefuseText(std::string(property) + " \"" + std::string(text) + "\": value " +
                        std::to_string(i + 1) + " of " + std::to_string(values.size()) + ", " +
                        items_.InputName(i) + ", " + std::string(what));
    };
    std::string word;
    double number = 0;
    const Parsed parsed = ParseValueText(parser, word, number);
    if (parsed == Parsed::invalid) return refuse("is missing");
    if (i < continuous && parsed != Parsed::number) return refuse("is no number");
    if (i < continuous) {
      values[i] = number;
    } else if (!CategoryOfEntry(data_, i - continuous,
                                parsed == Parsed::number ? parser.text() : word, false,
                                values[i])) {
      return refuse("is none of its categories");
    }
  }
  inputs = std::move(values);
  return true;
}

std::string ResultsDialog::CustomCaseText() const { return InputsText(custom.inputs); }

bool ResultsDialog::SetCustomCase(std::string_view text) {
  std::vector<double> values;
  if (!ReadInputs("CustomPredictions", text, values)) return false;
  custom = {.isEntered = true, .isValid = true, .inputs = std::move(values)};
  return true;
}

bool ResultsDialog::ShowCustomPredictions() {
  Spreadsheet table;
  table.title = GetResourceString(144);
  if (!profile_.methodName.empty()) table.title += ' ' + std::string(profile_.methodName);
  table.rowTitle = "Independent and";
  table.rowTitleSecond = "dependent variables";
  SpreadsheetColumn& column = table.columns.emplace_back();
  column.first = GetResourceString(141);
  column.format = NumberFormat::fixed6;
  const auto addRow = [&](const ResultItem& item, double value) {
    table.rowNames.push_back(items_.ColumnName(item));
    column.values.push_back(value);
    const auto labels = items_.Labels(item);
    const auto label = std::ranges::find(labels, value, &CellLabel::value);
    column.texts.push_back(label == labels.end() ? std::string() : label->text);
  };
  for (std::size_t i = 0; i < items_.inputs(); ++i) addRow({ItemKind::input, i}, custom.inputs[i]);
  CaseResult result;
  if (custom.isValid) result = cases_->Predict(custom.inputs);
  if (custom.isValid && cases_->HasNumericFault()) return Refuse(155);
  if (profile_.customBlankRow) {
    table.rowNames.emplace_back();
    column.values.push_back(kEmptyCell);
    column.texts.emplace_back();
  }
  for (std::size_t d = 0; d < items_.dependents(); ++d)
    addRow({ItemKind::predicted, d}, custom.isValid ? result.predictions[d] : kMissingOutput);
  if (!Show(std::move(table))) return false;
  custom.isEntered = false;
  return true;
}

}  // namespace qrvml
