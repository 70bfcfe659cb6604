#include "svm/svm_results_dialog.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "stats/summary_tables.h"
#include "svm/model_classes.h"
#include "svm/svm_case_source.h"
#include "svm/svm_deployment.h"
#include "svm/svm_model_texts.h"
#include "svm/svm_results_texts.h"

namespace qrvml {
namespace {

constexpr std::string_view kIndent = "  ";  // labels of the results text begin in column 3
constexpr std::string_view kBlankLine = " ";

std::string Text(int number) { return std::string(GetResourceString(number)); }

std::string ThreeDecimals(double value) { return std::isfinite(value) ? FixedText(value, 3) : "-"; }

/// Percentage of the counted cases that stand in the diagonal; not-a-number without cases.
double CorrectShare(const ConfusionCounts& counts) {
  double correct = 0, all = 0;
  for (std::size_t a = 0; a < counts.classes(); ++a) {
    correct += counts.At(a, a);
    for (std::size_t b = 0; b < counts.classes(); ++b) all += counts.At(a, b);
  }
  return all == 0 ? kEmptyCell : 100.0 * correct / all;
}

}  // namespace

SVMResultsDialog::SVMResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                   SVMEngine& engine)
    : ResultsDialog(analysis, data, std::make_unique<SvmCaseSource>(data, engine),
                    svm::kResultsProfile),
      engine_(engine) {
  subset = data.sampling.apply ? Subset::test : Subset::training;
  analysis.services().output->cupst(ResultsText());
}

std::int32_t SVMResultsDialog::VectorsOfClass(std::size_t c) const {
  const int position = LabelPositions(*engine_.model, data().dependentCategories(0))[c];
  return position < 0 ? 0
                      : engine_.model->supportVectorsPerClass[static_cast<std::size_t>(position)];
}

double SVMResultsDialog::PenaltyOf(std::size_t c) const {
  const auto& labels = engine_.parameters.classWeightLabels;
  const auto found = std::ranges::find(labels, static_cast<std::int32_t>(Classes()[c].code));
  if (found == labels.end()) return 1.0;
  return engine_.parameters.classWeights[static_cast<std::size_t>(found - labels.begin())];
}

// --- Results text --------------------------------------------------------------------------------

template <class Value>
std::string SVMResultsDialog::OfAllSamples(Value value) const {
  std::string text;
  for (int s = 0; s < (data().sampling.apply ? kSubsets : 1); ++s) {
    if (s > 0) text += ", ";
    text += ThreeDecimals(value(static_cast<Subset>(s))) + ' ' + Text(289 + s);
  }
  return text;
}

void SVMResultsDialog::AddClassificationText(std::vector<std::string>& lines) const {
  std::string counts = "No. of SVs/class : ";
  for (std::size_t c = 0; c < Classes().size(); ++c) {
    if (c > 0) counts += ", ";
    counts += std::to_string(VectorsOfClass(c)) + ' ' + Text(323) + Classes()[c].text + Text(324);
  }
  lines.push_back(std::string(kIndent) + counts);
  lines.emplace_back(kBlankLine);
  lines.push_back(std::string(kIndent) + "Class. accuracy (%) = " + OfAllSamples([this](Subset s) {
                    return CorrectShare(engine_.confusion(s));
                  }));
}

void SVMResultsDialog::AddRegressionText(std::vector<std::string>& lines) const {
  lines.emplace_back(kBlankLine);
  const auto add = [&](std::string_view label, double RegressionStatistics::*statistic) {
    lines.push_back(std::string(kIndent) + std::string(label) + " = " +
                    OfAllSamples([this, statistic](Subset s) {
                      return engine_.regressionStatistics(s).*statistic;
                    }));
  };
  add("Mean error squard", &RegressionStatistics::meanSquaredError);
  add("S.D. ratio", &RegressionStatistics::deviationRatio);
  add(GetResourceString(359), &RegressionStatistics::correlation);
}

std::vector<std::string> SVMResultsDialog::ResultsText() const {
  const auto line = [](std::string_view label, const std::string& value) {
    return std::string(kIndent) + std::string(label) + value;
  };
  std::string inputs;
  for (std::size_t i = 0; i < items().inputs(); ++i)
    inputs += (i == 0 ? "" : Text(178)) + items().InputName(i);
  const SVMParameters& parameters = engine_.parameters;
  std::vector<std::string> lines = {
      "Variables:",
      line(GetResourceString(162), items().DependentName(0)),
      line(GetResourceString(items().inputs() > 1 ? 165 : 164), inputs),
      std::string(kBlankLine),
      "Support Vector machine results:",
      line(Text(236) + ": ", svm::TypeLine(parameters)),
      line(Text(238) + ": ", svm::KernelLine(parameters)),
      line("No. of SVs = ", std::to_string(engine_.model->supportVectorCount) + ' ' + Text(323) +
                                std::to_string(engine_.solver.boundedSupportVectorCount) + ' ' +
                                Text(356) + Text(324)),
  };
  if (engine_.applyCrossValidation) {
    const bool classifies = IsClassification();
    const bool found = classifies ? engine_.bestAccuracy > 0
                                  : engine_.bestError < std::numeric_limits<double>::max();
    const std::string label = classifies ? Text(357) + " (%) = " : Text(358) + " = ";
    lines.push_back(
        line(label, !found ? std::string(svm::kNothingFound)
                           : ThreeDecimals(classifies ? engine_.bestAccuracy : engine_.bestError)));
  }
  IsClassification() ? AddClassificationText(lines) : AddRegressionText(lines);
  return lines;
}

// --- Model ---------------------------------------------------------------------------------------

bool SVMResultsDialog::ShowModelSummary() {
  const SVMParameters& parameters = engine_.parameters;
  const double vectors = engine_.model->supportVectorCount;
  Spreadsheet table;
  table.title = (IsClassification() ? std::string() : Text(325) + ", ") + items().DependentName(0);
  table.rowTitle = Text(234);
  SpreadsheetColumn& column = table.columns.emplace_back();
  column.first = Text(141);
  column.format = NumberFormat::count;
  const auto add = [&](std::string name, double value, std::string text) {
    table.rowNames.push_back(std::move(name));
    column.values.push_back(value);
    column.texts.push_back(std::move(text));
  };
  add(Text(235), static_cast<double>(items().inputs()), {});
  add(Text(236), parameters.svmType, std::string(svm::TypeName(parameters)));
  add(Text(238), parameters.kernelType, std::string(svm::KernelName(parameters)));
  add(Text(240), vectors,
      FixedText(vectors, 0) + "  ( " + std::to_string(engine_.solver.boundedSupportVectorCount) +
          "  bounded)");
  for (std::size_t c = 0; IsClassification() && c < Classes().size(); ++c)
    add(Text(240) + " ( " + Classes()[c].text + " )", VectorsOfClass(c), {});
  return Show(std::move(table));
}

void SVMResultsDialog::AddVectorColumns(Spreadsheet& table) const {
  const std::string heading = Text(249) + ' ' + Text(250);
  std::size_t node = 0;  // the lists hold every input column in order
  const auto add = [&](std::string second) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = heading;
    column.second = std::move(second);
    column.values.reserve(table.rowNames.size());
    for (const SVMNodeList& vector : engine_.model->supportVectors)
      column.values.push_back(vector.nodes[node].value);
    ++node;
  };
  const std::size_t continuous = data().roles().continuousPredictors.size();
  for (std::size_t i = 0; i < continuous; ++i) add(items().InputName(i));
  for (std::size_t m = 0; continuous + m < items().inputs(); ++m) {
    for (const auto& category : data().predictorCategories(m).codes())
      add(items().InputName(continuous + m) + Text(252) + category.text);
  }
}

Spreadsheet SVMResultsDialog::VectorTable() const {
  const SVMModel& model = *engine_.model;
  Spreadsheet table;
  table.title = "SVM model specifications (coefficients and support vectors), ";
  table.header = svm::ModelHeader(engine_.parameters);
  table.rowTitle = Text(249);
  table.rowTitleSecond = Text(250);
  table.rowNames.reserve(static_cast<std::size_t>(model.supportVectorCount));
  for (std::int32_t s = 0; s < model.supportVectorCount; ++s)
    table.rowNames.push_back(std::to_string(s + 1));
  for (std::int32_t row = 0; row + 1 < std::max(model.classCount, 1); ++row) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = Text(251);
    column.second = std::to_string(row + 1);
    column.values.reserve(table.rowNames.size());
    for (std::int32_t s = 0; s < model.supportVectorCount; ++s)
      column.values.push_back(model.Coefficient(row, s) + 0.0);  // no minus before a zero
  }
  AddVectorColumns(table);
  return table;
}

Spreadsheet SVMResultsDialog::ConstantTable() const {
  Spreadsheet table;
  table.title = "SVM model specifications (decision constannts), ";
  table.header = svm::ModelHeader(engine_.parameters);
  table.rowTitle = "Constants in decision";
  table.rowTitleSecond = "functions";
  SpreadsheetColumn& column = table.columns.emplace_back();
  column.first = Text(141);
  for (const double constant : engine_.model->constants) {
    column.values.push_back(constant);
    table.rowNames.push_back(std::to_string(table.rowNames.size() + 1));
  }
  return table;
}

bool SVMResultsDialog::ShowModelSpecification() {
  return Show(VectorTable()) && Show(ConstantTable());
}

// --- Statistics and penalties --------------------------------------------------------------------

bool SVMResultsDialog::ShowStatistics() {
  const std::string suffix = ' ' + Text(289 + static_cast<int>(subset));
  if (!IsClassification()) {
    const RegressedDependent dependent{items().DependentName(0),
                                       &engine_.regressionStatistics(subset)};
    return Show(RegressionSummaryTable(
        svm::kSummaryTexts, svm::kSubsetCases[static_cast<int>(subset)], {&dependent, 1}, suffix));
  }
  const ClassifiedDependent dependent{.name = items().DependentName(0),
                                      .classes = Classes(),
                                      .counts = &engine_.confusion(subset),
                                      .order = CountsAre::observedPredicted,
                                      .suffix = suffix};
  return Show(ClassificationSummaryTable(svm::kSummaryTexts, dependent)) &&
         Show(ConfusionMatrixTable(svm::kSummaryTexts, dependent));
}

bool SVMResultsDialog::ShowPenalties() {
  Spreadsheet table;
  table.title = "Penalty for imbalanced data, " + items().DependentName(0);
  table.rowTitle = Text(216);
  table.columns.resize(2);
  table.columns[0].first = Text(215);
  table.columns[0].format = NumberFormat::count;
  table.columns[1].first = Text(216);
  for (std::size_t c = 0; c < Classes().size(); ++c) {
    table.rowNames.push_back(Classes()[c].text);
    table.columns[0].values.push_back(static_cast<double>(Classes()[c].trainingWeight));
    table.columns[1].values.push_back(PenaltyOf(c));
  }
  return Show(std::move(table));
}

std::string SVMResultsDialog::PenaltyLines() const {
  std::string text = Text(217) + '\t' + Text(215) + '\t' + Text(216);
  for (std::size_t c = 0; c < Classes().size(); ++c)
    text += '\n' + Classes()[c].text + '\t' + std::to_string(Classes()[c].trainingWeight) + '\t' +
            FixedText(PenaltyOf(c), 6);
  return text;
}

bool SVMResultsDialog::MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                                std::string& text) {
  DeployedVariables variables = DescribeVariables(*analysis().services().file, data());
  variables.dependents.resize(1);  // the model's
  SvmCode code(variables, data(), engine_);
  if (kind == CodeKind::pmml) {
    text = MakePmmlDocument(variables, code, dependent, charset);
    return !text.empty();
  }
  return MakeProgram(kind == CodeKind::c ? Dialect::c : Dialect::qvb, variables, code, text);
}

}  // namespace qrvml
