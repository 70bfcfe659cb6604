#include "knn/knn_results_dialog.h"

#include <memory>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/axis_scaling.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "knn/knn_case_source.h"
#include "knn/knn_deployment.h"
#include "knn/knn_texts.h"
#include "stats/summary_tables.h"

namespace qrvml {

KNNResultsDialog::KNNResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                   KNNEngine& engine)
    : ResultsDialog(analysis, data, std::make_unique<KnnCaseSource>(data, engine),
                    knn::kResultsProfile),
      engine_(engine) {
  analysis.services().output->cupst(ResultsText());
}

void KNNResultsDialog::SetStandardized(bool on) {
  data().scaleInputs = on;
  data().scaleOutputs = false;
  data().ComputeScaling();
}

std::string KNNResultsDialog::NamesOf(const std::vector<int>& variables) const {
  std::string names;
  for (const int variable : variables) {
    if (!names.empty()) names += GetResourceString(178);
    names += VariableName(*analysis().services().file, variable);
  }
  return names;
}

std::vector<std::string> KNNResultsDialog::ResultsText() const {
  const VariableRoles& roles = data().roles();
  const auto line = [](std::string_view label, std::string_view value) {
    return std::string(label) + std::string(value);
  };
  std::vector<std::string> lines = {
      "Variables:",
      line(GetResourceString(162), NamesOf(roles.dependents)),
      line(GetResourceString(roles.predictors.size() > 1 ? 165 : 164), NamesOf(roles.predictors)),
      "",
      "KNN results:",
      line("No. of nearest neighbors = ", std::to_string(engine_.k)),
      line("Distance measure: ", knn::NameOf(engine_.metric)),
      line("Distance (input) standardization: ", knn::YesNo(data().scaleInputs)),
      line("Weighted average: ", knn::YesNo(engine_.weighted)),
  };
  if (HasCrossValidation()) {
    const double best = IsClassification() ? engine_.bestAccuracy : engine_.bestError;
    lines.push_back(
        line(GetResourceString(IsClassification() ? 357 : 358), " = " + FixedText(best, 5)));
  }
  return lines;
}

bool KNNResultsDialog::ShowModelSummary() {
  struct Row {
    std::string_view name;
    std::size_t value;
    std::string_view text;
  };
  const Row summary[] = {
      {GetResourceString(235), items().inputs(), {}},
      {"Nbre de variables dépendantes", items().dependents(), {}},
      {"Nbre des K plus proches voisins", static_cast<std::size_t>(engine_.k), {}},
      {"Normé", data().scaleInputs ? 1u : 0u, knn::YesNo(data().scaleInputs)},
  };
  Spreadsheet table;
  table.title = std::string(GetResourceString(325)) + ", " + items().DependentName(0);
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
  const std::int32_t prototypes = data().StoredRows(Sample::training);
  std::int32_t value = 0;
  if (!ReadField("Options.KNearestNeighbors", value)) return Refuse(125);
  if (value < 1 || value > prototypes)
    return RefuseText(std::string(knn::kNeighboursRange) + std::to_string(prototypes) + '.');
  return engine_.SetNeighbours(value);
}

bool KNNResultsDialog::ShowPrototypes() {
  if (!ValidateK()) return false;
  Spreadsheet table;
  table.title = "KNN";
  table.header = {
      "Nearest neighbors = " + std::to_string(engine_.k) +
          ", Distance type: " + std::string(knn::NameOf(engine_.metric)),
      engine_.weighted ? "Voting procedure: based on distance" : "Voting procedure: uniform"};
  table.rowTitle = "Prototypes";
  for (std::size_t i = 0; i < items().inputs(); ++i) {
    const ResultItem item{ItemKind::input, i};
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = items().ColumnName(item);
    column.labels = items().Labels(item);
  }
  cases().Visit(Subset::training, false, [&](const CaseResult& prototype) {
    table.rowNames.push_back(std::to_string(prototype.caseNumber));
    for (std::size_t i = 0; i < table.columns.size(); ++i)
      table.columns[i].values.push_back(prototype.inputs[i]);
  });
  return Show(std::move(table));
}

bool KNNResultsDialog::ShowStatistics() {
  return ValidateK() && engine_.ComputeKnnStatistics(false) &&
         (IsClassification() ? ShowClassification() : ShowRegression());
}

bool KNNResultsDialog::ShowClassification() {
  std::vector<ClassifiedDependent> dependents;
  dependents.reserve(data().roles().categoricalDependents.size());
  for (std::size_t c = 0; c < data().roles().categoricalDependents.size(); ++c)
    dependents.push_back({.name = items().DependentName(c),
                          .classes = data().dependentCategories(c).classes(),
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
  dependents.reserve(items().continuousDependents());
  for (std::size_t j = 0; j < items().continuousDependents(); ++j)
    dependents.push_back({items().DependentName(j), &engine_.regressionStatistics(j)});
  return Show(RegressionSummaryTable(knn::kSummaryTexts, "Test cases", dependents, {}));
}

bool KNNResultsDialog::ShowCrossValidation() {
  constexpr std::string_view kNeighbours = "Nombre de + proches voisins";
  const std::string_view quality = GetResourceString(IsClassification() ? 357 : 358);
  Graph graph;
  graph.type = GraphType::line;
  graph.title = std::string(kNeighbours) + std::string(GetResourceString(322)) +
                std::string(quality) + '\n' + std::string(GetResourceString(269)) + " = " +
                std::to_string(engine_.k);
  GraphSeries& series = graph.series.emplace_back();
  ValueRange range;
  for (std::int32_t g = 0; g < engine_.gridPoints; ++g) {
    const double value = engine_.crossValidationErrors[static_cast<std::size_t>(g)];
    series.x.push_back(engine_.GridK(g));
    series.y.push_back(value);
    range.Include(value);
  }
  const AxisScale x = scling_double_QUA(series.x.front(), series.x.back(), 50, 20);
  const AxisScale y = scling_double_QUA(range.minimum, range.maximum, 50, 20);
  graph.axes = {{std::string(kNeighbours), x.lower, x.upper, x.step},
                {std::string(quality), y.lower, y.upper, y.step}};
  return Show(std::move(graph));
}

std::vector<std::string> KNNResultsDialog::PredictionsHeader() const {
  return {"Plus proches voisins = " + std::to_string(engine_.k)};
}

bool KNNResultsDialog::MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                                std::string& text) {
  const DeployedVariables variables = DescribeVariables(*analysis().services().file, data());
  KnnCode code(variables, data(), engine_);
  if (kind == CodeKind::pmml) {
    text = MakePmmlDocument(variables, code, dependent, charset);
    return !text.empty();
  }
  return MakeProgram(kind == CodeKind::c ? Dialect::c : Dialect::qvb, variables, code, text);
}

}  // namespace qrvml
