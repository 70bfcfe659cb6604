#include "bayes/naive_bayes_results_dialog.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "bayes/naive_bayes_case_source.h"
#include "bayes/naive_bayes_deployment.h"
#include "bayes/naive_bayes_texts.h"
#include "data/shared_input.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "stats/summary_tables.h"

namespace qrvml {

NaiveBayesResultsDialog::NaiveBayesResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                                 NaiveBayesEngine& engine)
    : ResultsDialog(analysis, data, std::make_unique<NaiveBayesCaseSource>(data, engine),
                    bayes::kResultsProfile),
      engine_(engine) {
  subset = data.sampling.apply ? Subset::test : Subset::training;
  const std::size_t continuous = data.roles().continuousPredictors.size();
  for (std::size_t k = 0; k < items().inputs(); ++k) {
    const double start =
        k < continuous
            ? data.statistics(Subset::training).Mean(k)
            : static_cast<double>(data.predictorCategories(k - continuous).classes()[0].code);
    posterior.fixed.push_back(start);
  }
}

bool NaiveBayesResultsDialog::ReadThreshold() {
  double threshold = 0;
  if (!ReadField("Threshold", threshold) || IsLess(threshold, 0.0) || IsGreater(threshold, 1.0))
    return RefuseText(bayes::kThresholdRange);
  engine_.SetThreshold(threshold);
  return true;
}

bool NaiveBayesResultsDialog::ShowModelSummary() {
  if (!ReadThreshold()) return false;
  Spreadsheet table;
  table.title = std::string(GetResourceString(325)) + ",  ";
  table.rowTitle = GetResourceString(234);
  table.rowNames = {std::string(GetResourceString(235)), "Number of dependents", "Seuil a priori"};
  SpreadsheetColumn& column = table.columns.emplace_back();
  column.first = GetResourceString(141);
  column.values = {static_cast<double>(items().inputs()), static_cast<double>(items().dependents()),
                   engine_.threshold};
  column.texts = {std::to_string(items().inputs()), std::to_string(items().dependents()),
                  FixedText(engine_.threshold, 6)};
  return Show(std::move(table));
}

Spreadsheet NaiveBayesResultsDialog::SpecificationOf(std::size_t d) const {
  const ClassStatistics& statistics = data().classStatistics();
  Spreadsheet table;
  table.title = std::string(GetResourceString(234)) + ",  " + items().DependentName(d);
  table.rowTitle = GetResourceString(225);
  table.rowTitleSecond = GetResourceString(226);
  const auto& classes = data().dependentCategories(d).classes();
  for (const auto& entry : classes) table.rowNames.push_back(entry.text);
  const auto addColumn = [&](std::string first, std::string_view second, auto value) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = std::move(first);
    column.second = second;
    for (std::size_t c = 0; c < classes.size(); ++c) {
      const double cell = value(c);
      column.values.push_back(std::isfinite(cell) ? cell : kEmptyCell);
    }
    return &column;
  };
  using Member = double DistributionParameters::*;
  struct Parameter {
    std::string_view name;
    Member member;
  };
  // The parameters that a distribution's columns show.
  static const std::vector<Parameter> kParameters[kContinuousDistributions] = {
      {{"Moyenne", &DistributionParameters::mean}, {"Ecart-type", &DistributionParameters::std}},
      {{"Echelle", &DistributionParameters::scale}, {"Forme", &DistributionParameters::shape}},
      {{"Echelle", &DistributionParameters::scale}, {"Forme", &DistributionParameters::shape}},
      {{"Lambda", &DistributionParameters::lambda}},
  };
  const std::size_t continuous = data().roles().continuousPredictors.size();
  for (std::size_t k = 0; k < continuous; ++k) {
    const Distribution distribution = engine_.DistributionOf(k);
    for (const Parameter& parameter : kParameters[static_cast<std::size_t>(distribution)])
      addColumn(items().InputName(k), parameter.name, [&](std::size_t c) {
        return ParametersOf(statistics.condMean(d, c, k), statistics.condStd(d, c, k),
                            distribution).*
               parameter.member;
      });
  }
  for (std::size_t m = 0; continuous + m < items().inputs(); ++m) {
    const auto& categories = data().predictorCategories(m).classes();
    for (std::size_t v = 0; v < categories.size(); ++v)
      addColumn(items().InputName(continuous + m) + '.' + categories[v].text,
                "Effectif conditionnel",
                [&](std::size_t c) { return statistics.pairCount(d, c, m, v); })
          ->format = NumberFormat::count;
  }
  return table;
}

bool NaiveBayesResultsDialog::ShowModelSpecification() {
  for (std::size_t d = 0; d < items().dependents(); ++d) {
    if (!Show(SpecificationOf(d))) return false;
  }
  return true;
}

bool NaiveBayesResultsDialog::ShowStatistics() {
  if (!ReadThreshold() || !engine_.ComputeNaiveBayesStatistics()) return false;
  const std::vector<ConfusionCounts>* const tables[kSubsets] = {
      &engine_.trainingConfusion, &engine_.testConfusion, &engine_.overallConfusion};
  const auto shown = static_cast<std::size_t>(subset);
  for (std::size_t d = 0; d < tables[shown]->size(); ++d) {
    ClassifiedDependent dependent{.name = items().DependentName(d),
                                  .classes = data().dependentCategories(d).classes(),
                                  .counts = &(*tables[shown])[d],
                                  .order = CountsAre::predictedObserved,
                                  .suffix = {}};
    if (!Show(ClassificationSummaryTable(bayes::kSummaryTexts, dependent))) return false;
    dependent.suffix = ' ' + std::string(GetResourceString(289 + static_cast<int>(subset)));
    if (!Show(ConfusionMatrixTable(bayes::kSummaryTexts, dependent))) return false;
  }
  return true;
}

// --- Priors --------------------------------------------------------------------------------------

bool NaiveBayesResultsDialog::SetPriorKind(PriorKind kind) {
  return engine_.SetPriorKind(priorDependent, kind);
}

bool NaiveBayesResultsDialog::EnterCustomPriors() {
  const auto& classes = data().dependentCategories(priorDependent).classes();
  const auto lengthOf = [](std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
  };
  std::size_t longest = 0;
  for (const auto& entry : classes) longest = std::max(longest, lengthOf(entry.text));
  std::vector<std::string> names;
  for (const auto& entry : classes)
    names.push_back(entry.text + std::string(longest - lengthOf(entry.text), ' '));
  const auto& priors = engine_.priors[priorDependent];
  std::vector<double> values(priors.begin(), priors.end());
  return analysis().services().dialogs->GetStartValues("Valeurs a priori", names, values) &&
         engine_.SetCustomPriors(priorDependent, values);
}

std::string NaiveBayesResultsDialog::PriorList() const {
  std::string text = "Classe\tValeur a priori\tEffectifs";
  const auto& classes = data().dependentCategories(priorDependent).classes();
  for (std::size_t c = 0; c < classes.size(); ++c)
    text += '\n' + classes[c].text + '\t' + ShortestText(engine_.priors[priorDependent][c]) + '\t' +
            std::to_string(data().classStatistics().classCount(priorDependent, c));
  return text;
}

// --- Choices -------------------------------------------------------------------------------------

bool NaiveBayesResultsDialog::SelectPriorDependent(std::string_view text) {
  return SelectOneDependent("SelectedOutputForPriorAssignment", text, priorDependent);
}

bool NaiveBayesResultsDialog::SelectPosteriorDependent(std::string_view text) {
  return SelectOneDependent("OutputForPosteriorPlot", text, posterior.dependent);
}

bool NaiveBayesResultsDialog::SelectPosteriorInput(std::string_view text) {
  if (!SelectOne(
          "InputForPosteriorPlot", text, items().inputs(),
          [this](std::size_t k) { return items().InputName(k); }, posterior.input))
    return false;
  RefreshField("MinimumRange");
  RefreshField("MaximumRange");
  return true;
}

OfferedItems NaiveBayesResultsDialog::OfferedInputs() const {
  OfferedItems offered{.names = {}, .chosen = {static_cast<int>(posterior.input)}};
  for (std::size_t k = 0; k < items().inputs(); ++k) offered.names.push_back(items().InputName(k));
  return offered;
}

bool NaiveBayesResultsDialog::SetFixedInputs(std::string_view text) {
  return ReadInputs("FixedIndependents", text, posterior.fixed);
}

bool NaiveBayesResultsDialog::EnterFixedInputs() {
  CustomInputs inputs;
  if (!AskCustomInputs(data(), inputs) || inputs.isInvalid) return false;
  posterior.fixed = std::move(inputs.values);
  return true;
}

std::string NaiveBayesResultsDialog::FixedInputList() const {
  std::string names, values;
  for (std::size_t k = 0; k < items().inputs(); ++k) {
    const double value = posterior.fixed[k];
    const bool isContinuous = k < data().roles().continuousPredictors.size();
    names += (k == 0 ? "" : "\t") + items().InputName(k);
    values +=
        (k == 0 ? "" : "\t") +
        (isContinuous
             ? FixedText(value, 6)
             : ValueText(*analysis().services().file, data().roles().predictors[k], value).text);
  }
  return names + '\n' + values;
}

bool NaiveBayesResultsDialog::MakeCode(CodeKind kind, std::size_t dependent,
                                       std::string_view charset, std::string& text) {
  const DeployedVariables variables = DescribeVariables(*analysis().services().file, data());
  NaiveBayesCode code(variables, data(), engine_);
  if (kind == CodeKind::pmml) {
    text = MakePmmlDocument(variables, code, dependent, charset);
    return !text.empty();
  }
  return MakeProgram(kind == CodeKind::c ? Dialect::c : Dialect::qvb, variables, code, text);
}

}  // namespace qrvml
