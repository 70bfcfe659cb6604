#include "knn/knn_results_dialog.h"

#include "data/value_text.h"
#include "dialogs/specification_dialog.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "knn/knn_dialog.h"
#include "knn/knn_options_rows.h"
#include "stats/summary_tables.h"

namespace qrvml {
namespace {

using Dialog = KNNResultsDialog;
using Of = On<Dialog>;

constexpr std::string_view kBaseTab = "Base";

constexpr knn::OptionsNames kOptions = {
    .neighbours = "Options.KNearestNeighbors",
    .metrics = {"Options.Euclidean", "Options.SquaredEuclidean", "Options.CityBlock",
                "Options.Chebychev"},
    .standardize = "Options.StandardizeDistances",
    .weighted = "Options.UseWeightedAverage",
    .automated = false,
};

double Prototypes(const CAnalysisDialog& dialog) {
  return static_cast<const Dialog&>(dialog).data().StoredRows(Sample::training);
}

template <Subset choice>
Control SubsetRow(std::string_view name, std::string_view label, int identifier) {
  return {.name = name,
          .kind = ControlKind::radio,
          .label = label,
          .row = {.identifier = identifier, .kind = 2, .type = 1},
          .bind = {.number = Of::Number([](const Dialog& d) { return d.subset == choice; }),
                   .assign = Of::Assign([](Dialog& d, double) {
                     d.subset = choice;
                     return true;
                   })}};
}

template <class Act>
Control TableButton(std::string_view name, std::string_view label, std::string_view tab,
                    int identifier, Act act) {
  return {.name = name,
          .kind = ControlKind::action,
          .label = label,
          .tab = tab,
          .row = {.identifier = identifier, .role = 4, .kind = 1, .type = 1},
          .bind = {.press = Of::Press(act)}};
}

std::vector<Control> MakeTable() {
  std::vector<Control> table = {
      SubsetRow<Subset::training>("TrainSubset", "Prototypes", 50456),
      SubsetRow<Subset::test>("TestSubset", "Test", 50457),
      SubsetRow<Subset::both>("Overall", "Les 2 sous-ens.", 50458),
      TableButton("Summary", "&Synthèse", {}, 50429,
                  [](Dialog& d) { return d.ShowModelSummary(); }),
      TableButton("DescriptiveStat", "Statistiques &descriptives", kBaseTab, 50431,
                  [](Dialog& d) { return d.ShowStatistics(); }),
  };
  const auto options = knn::OptionsRows<Dialog>(kOptions, nullptr, Prototypes);
  table.insert(table.end(), options.begin(), options.end());
  return table;
}

std::string NamesOf(const std::vector<int>& variables, const DataFile& file) {
  std::string names;
  for (const int variable : variables) {
    if (!names.empty()) names += GetResourceString(178);
    names += VariableName(file, variable);
  }
  return names;
}

}  // namespace

KNNResultsDialog::KNNResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                   KNNEngine& engine)
    : CAnalysisDialog(analysis), data_(data), engine_(engine) {
  analysis.services().output->cupst(ResultsText());
}

std::span<const Control> KNNResultsDialog::Controls() const {
  static const std::vector<Control> table = MakeTable();
  return table;
}

bool KNNResultsDialog::OnCancel() {
  analysis().services().dialogs->ExitDialog(KNNDialog::kStep, kGoBack);
  return true;
}

void KNNResultsDialog::SetStandardized(bool on) {
  data_.scaleInputs = on;
  data_.scaleOutputs = false;
  data_.ComputeScaling();
}

std::vector<std::string> KNNResultsDialog::ResultsText() const {
  const DataFile& file = *analysis().services().file;
  const VariableRoles& roles = data_.roles();
  const auto line = [](std::string_view label, std::string_view value) {
    return std::string(label) + std::string(value);
  };
  std::vector<std::string> lines = {
      "Variables:",
      line(GetResourceString(162), NamesOf(roles.dependents, file)),
      line(GetResourceString(roles.predictors.size() > 1 ? 165 : 164),
           NamesOf(roles.predictors, file)),
      "",
      "KNN results:",
      line("No. of nearest neighbors = ", std::to_string(engine_.k)),
      line("Distance measure: ", knn::NameOf(engine_.metric)),
      line("Distance (input) standardization: ", knn::YesNo(data_.scaleInputs)),
      line("Weighted average: ", knn::YesNo(engine_.weighted)),
  };
  if (engine_.applyCrossValidation) {
    const bool classification = engine_.IsClassification();
    const double best = classification ? engine_.bestAccuracy : engine_.bestError;
    lines.push_back(
        line(GetResourceString(classification ? 357 : 358), " = " + FixedText(best, 5)));
  }
  return lines;
}

std::string KNNResultsDialog::DependentName(std::size_t i) const {
  return VariableName(*analysis().services().file, data_.roles().dependents[i]);
}

bool KNNResultsDialog::Show(Spreadsheet&& spreadsheet) {
  return analysis().services().output->looka4(std::move(spreadsheet)) || Refuse(130);
}

bool KNNResultsDialog::ShowModelSummary() {
  struct Row {
    std::string_view name;
    std::size_t value;
    std::string_view text;
  };
  const Row summary[] = {
      {GetResourceString(235), data_.roles().predictors.size(), {}},
      {"Nbre de variables dépendantes", data_.roles().dependents.size(), {}},
      {"Nbre des K plus proches voisins", static_cast<std::size_t>(engine_.k), {}},
      {"Normé", data_.scaleInputs ? 1u : 0u, knn::YesNo(data_.scaleInputs)},
  };
  Spreadsheet table;
  table.title = std::string(GetResourceString(325)) + ", " + DependentName(0);
  table.rowTitle = GetResourceString(234);
  SpreadsheetColumn& column = table.columns.emplace_back();
  column.first = GetResourceString(141);
  column.format = NumberFormat::count;
  for (const Row& row : summary) {
    table.rowNames.emplace_back(row.name);
    column.values.push_back(static_cast<double>(row.value));
    column.texts.emplace_back(row.text);
  }
  return Show(std::move(table));
}

bool KNNResultsDialog::ValidateK() {
  const std::int32_t prototypes = data_.StoredRows(Sample::training);
  std::int32_t value = 0;
  if (!ReadField("Options.KNearestNeighbors", value)) return Refuse(125);
  if (value < 1 || value > prototypes)
    return RefuseText(std::string(knn::kNeighboursRange) + std::to_string(prototypes) + '.');
  return engine_.SetNeighbours(value);
}

bool KNNResultsDialog::ShowStatistics() {
  return ValidateK() && engine_.ComputeKnnStatistics(false) &&
         (engine_.IsClassification() ? ShowClassification() : ShowRegression());
}

bool KNNResultsDialog::ShowClassification() {
  const std::size_t count = data_.roles().categoricalDependents.size();
  std::vector<ClassifiedDependent> dependents;
  for (std::size_t c = 0; c < count; ++c)
    dependents.push_back({.name = DependentName(c),
                          .classes = data_.dependentCategories(c).classes(),
                          .counts = &engine_.confusion(c),
                          .order = CountsAre::predictedObserved,
                          .suffix = {}});
  for (const auto& dependent : dependents) {
    if (!Show(ClassificationSummaryTable(knn::kSummaryTexts, dependent))) return false;
  }
  for (const auto& dependent : dependents) {
    if (!Show(ConfusionMatrixTable(knn::kSummaryTexts, dependent))) return false;
  }
  return true;
}

bool KNNResultsDialog::ShowRegression() {
  std::vector<RegressedDependent> dependents;
  for (std::size_t j = 0; j < data_.roles().continuousDependents.size(); ++j)
    dependents.push_back({DependentName(j), &engine_.regressionStatistics(j)});
  return Show(RegressionSummaryTable(knn::kSummaryTexts, "Test cases", dependents, {}));
}

}  // namespace qrvml
