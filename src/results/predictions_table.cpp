// The predictions table of the results dialog, and saving the same values as new variables.

#include <algorithm>
#include <cmath>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/string_table.h"
#include "results/results_dialog.h"

namespace qrvml {
namespace {

bool NeedPrediction(std::span<const ResultItem> items) {
  return std::ranges::any_of(items, &ResultItem::NeedsPrediction);
}

/// Texts of codes that occur in the cases but not among the categories of the training sample.
void AddUnseenLabels(const DataFile& file, int variable, SpreadsheetColumn& column) {
  std::vector<double> unseen;
  for (const double value : column.values) {
    const auto isValue = [value](const CellLabel& label) { return label.value == value; };
    if (value == kMissingOutput || std::isnan(value) ||
        std::ranges::any_of(column.labels, isValue) ||
        std::ranges::find(unseen, value) != unseen.end())
      continue;
    unseen.push_back(value);
  }
  for (const double value : unseen)
    column.labels.push_back({value, ValueText(file, variable, value).text, false});
  std::ranges::sort(column.labels, {}, &CellLabel::value);
}

}  // namespace

bool ResultsDialog::ShowPredictions() {
  if (!IsReady()) return false;
  const std::vector<ResultItem> columns = TableColumns();
  Spreadsheet table;
  table.title = GetResourceString(131);
  if (const auto subsetText = profile_.tableSubsets[static_cast<int>(subset)]; !subsetText.empty())
    table.title += ", " + items_.DependentName(0) + " (" + std::string(subsetText) + ')';
  table.header = PredictionsHeader();
  table.rowTitle = GetResourceString(253);
  table.rowTitleSecond = GetResourceString(226);
  for (const ResultItem& item : columns) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = items_.ColumnName(item);
    column.second = items_.ColumnHeading(item);
    column.labels = items_.Labels(item);
  }
  const std::size_t continuous = items_.continuousDependents();
  VisitRows(profile_.tableRows, NeedPrediction(columns), [&](const CaseResult& result) {
    table.rowCases.push_back(result.caseNumber);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const double value = ValueOf(columns[i], result, continuous);
      const bool isHidden = profile_.hidesMissingAccuracy && value == kMissingOutput &&
                            columns[i].kind == ItemKind::accuracy;
      const bool isEmpty = isHidden || items_.IsMissing(columns[i], value);
      table.columns[i].values.push_back(isEmpty ? kEmptyCell : value);
    }
  });
  if (cases_->HasNumericFault() && NeedPrediction(columns)) return Refuse(155);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const ResultItem& item = columns[i];
    if (!items_.IsCategorical(item) || item.kind == ItemKind::accuracy) continue;
    const auto& roles = data_.roles();
    const int variable =
        item.kind == ItemKind::input ? roles.predictors[item.index] : roles.dependents[item.index];
    AddUnseenLabels(*analysis().services().file, variable, table.columns[i]);
  }
  return Show(std::move(table));
}

bool ResultsDialog::ChooseSaved(std::vector<int>& kept, std::vector<ResultItem>& added) const {
  const auto all = static_cast<std::size_t>(data_.numberOfVariables());
  const std::vector<ResultItem> outputs = items_.Savable(includes);
  std::vector<std::string> names;
  if (profile_.picksKept) {
    for (std::size_t v = 1; v <= all; ++v)
      names.push_back(VariableName(*analysis().services().file, static_cast<int>(v)));
  } else {
    for (const ResultItem& item : outputs) names.push_back(items_.SavedName(item));
  }
  std::vector<int> picked;
  if (!analysis().services().saving->PickOutputs("Select variables to save",
                                                 "Select variables:", names, picked))
    return false;
  if (profile_.picksKept) {
    added = outputs;
    for (const int position : picked) kept.push_back(position + 1);
    for (const int input : data_.roles().predictors) {
      if (includes.inputs && std::ranges::find(kept, input) == kept.end()) kept.push_back(input);
    }
  } else {
    for (const int position : picked) added.push_back(outputs[static_cast<std::size_t>(position)]);
    for (std::size_t v = 1; v <= all; ++v) kept.push_back(static_cast<int>(v));
  }
  return true;
}

bool ResultsDialog::SavePredictions() {
  SavingServices& saving = *analysis().services().saving;
  std::vector<int> kept;
  std::vector<ResultItem> chosen;
  if (!ChooseSaved(kept, chosen)) return false;
  std::vector<NewVariable> added;
  added.reserve(chosen.size());
  for (const ResultItem& item : chosen)
    added.push_back(
        {items_.SavedName(item), items_.SavedLongName(item), items_.Labels(item), kMissingOutput});
  std::string path = "NEW.QRV";
  if (!saving.DoSaveFileNameDlg(path)) return false;
  if (!saving.SubsetAndAddEx(path, kept, added)) return false;

  // A save that does not end well, by a message or by an exception, leaves nothing behind.
  struct Abandon {
    SavingServices* saving;
    ~Abandon() {
      if (saving != nullptr) saving->AbandonSave();
    }
  } guard{&saving};
  const std::size_t continuous = items_.continuousDependents();
  std::vector<double> values(chosen.size());
  cases_->Visit(Subset::both, NeedPrediction(chosen), [&](const CaseResult& result) {
    for (std::size_t i = 0; i < chosen.size(); ++i)
      values[i] = ValueOf(chosen[i], result, continuous);
    // The host has told why; the remaining cases need not be predicted.
    if (!saving.PutDataF(result.caseNumber, values)) throw Cancelled();
  });
  guard.saving = nullptr;
  return saving.FinishSave();
}

}  // namespace qrvml
