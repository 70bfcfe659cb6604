// The engine of naive Bayes as its tables show it: frequencies and normal moments from the model's
// tables, the moments that those do not show from the training cases.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "cli/engine_tables.h"
#include "data/value_text.h"
#include "host/list_text.h"
#include "host/numerics.h"
#include "score/bayes_verification.h"

namespace qrvml {
namespace {

/// The training cases, row after row; inputs that are missing are not-a-number.
struct TrainingRows {
  std::size_t inputs = 0;
  std::vector<double> weights, values;
  std::vector<std::vector<std::size_t>> classes;  // per dependent and row: position of the class

  double At(std::size_t row, std::size_t k) const { return values[row * inputs + k]; }
};

/// What the first distribution list is for, and so on; an input in none is normal.
std::vector<int> ReadDistributions(EngineTables& tables, const std::vector<EngineField>& inputs) {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  if (!ParseListText(tables.Specified("InputDistributions"), lists, error))
    tables.Refuse("the distributions cannot be read: " + error);
  std::vector<int> distributions;
  distributions.reserve(inputs.size());
  for (const EngineField& input : inputs)
    distributions.push_back(input.IsCategorical() ? kDiscrete : kNormal);
  const HostDataFile& file = tables.file();
  for (std::size_t list = 0; list < lists.size(); ++list) {
    for (const ListMember& member : lists[list]) {
      // The property has the names as the file has them, the tables as texts write them.
      for (int variable = 1; variable <= file.NumberOfVariables(); ++variable) {
        if (member.kind != ListMember::Kind::name || file.getvn5(variable) != member.name) continue;
        const auto found =
            std::ranges::find(inputs, VariableName(file, variable), &EngineField::name);
        if (found != inputs.end())
          distributions[static_cast<std::size_t>(found - inputs.begin())] = static_cast<int>(list);
      }
    }
  }
  return distributions;
}

/// Case weights of the file as numbers of cases.
std::vector<double> ReadWeights(EngineTables& tables, const std::vector<std::int32_t>& cases) {
  const HostDataFile& file = tables.file();
  if (!file.IsWeightInForce()) return std::vector<double>(cases.size(), 1.0);
  std::vector<double> weights;
  weights.reserve(cases.size());
  for (const std::int32_t number : cases)
    weights.push_back(std::round(file.Table().Value(number, file.WeightVariable())));
  return weights;
}

/// "Classe\tValeur a priori\tEffectifs", a line per class.
void ReadPriors(EngineTables& tables, EngineBayes& engine) {
  for (std::size_t d = 0; d < engine.dependents.size(); ++d) {
    if (engine.dependents.size() > 1)
      tables.Do("SelectedOutputForPriorAssignment", std::to_string(d + 1));
    std::string list = tables.Get("Priors.List").text;
    auto& priors = engine.priors.emplace_back();
    auto& counts = engine.classCounts.emplace_back();
    for (std::size_t end = list.find('\n'); end != list.npos;) {
      const std::size_t begin = end + 1;
      end = list.find('\n', begin);
      const std::string line = list.substr(begin, end == list.npos ? end : end - begin);
      const std::size_t last = line.rfind('\t'), first = line.rfind('\t', last - 1);
      if (last == line.npos || first == line.npos ||
          !TextToDouble(line.substr(first + 1, last - first - 1), priors.emplace_back()) ||
          !TextToDouble(line.substr(last + 1), counts.emplace_back()))
        tables.Refuse("the list of priors cannot be read");
    }
  }
}

void TakeTraining(const Spreadsheet& table, const TrainingRows& rows, EngineBayes& engine) {
  const std::size_t inputs = rows.inputs, dependents = rows.classes.size();
  engine.inputCount.assign(inputs, 0.0);
  engine.least.assign(inputs, std::numeric_limits<double>::infinity());
  engine.most.assign(inputs, -std::numeric_limits<double>::infinity());
  for (std::size_t d = 0; d < dependents; ++d) {
    const std::vector<std::vector<double>> zeros(engine.priors[d].size(),
                                                 std::vector<double>(inputs, 0.0));
    engine.valid.push_back(zeros);
    engine.tables.push_back({zeros, zeros, {}});
  }
  const auto forEachValue = [&](auto take) {
    for (std::size_t row = 0; row < table.Rows(); ++row)
      for (std::size_t k = 0; k < inputs; ++k)
        if (!std::isnan(rows.At(row, k))) take(row, k, rows.At(row, k), rows.weights[row]);
  };
  forEachValue([&](std::size_t row, std::size_t k, double x, double weight) {
    engine.inputCount[k] += weight;
    engine.least[k] = std::min(engine.least[k], x);
    engine.most[k] = std::max(engine.most[k], x);
    for (std::size_t d = 0; d < dependents; ++d) {
      const std::size_t c = rows.classes[d][row];
      engine.valid[d][c][k] += weight;
      // The mean is close to the first value: sums of large numbers would lose digits.
      double& mean = engine.tables[d].mean[c][k];
      mean += (x - mean) * (weight / engine.valid[d][c][k]);
    }
  });
  forEachValue([&](std::size_t row, std::size_t k, double x, double weight) {
    for (std::size_t d = 0; d < dependents; ++d) {
      const std::size_t c = rows.classes[d][row];
      const double difference = x - engine.tables[d].mean[c][k];
      engine.tables[d].variance[c][k] += weight * difference * difference;
    }
  });
  for (std::size_t d = 0; d < dependents; ++d)
    for (std::size_t c = 0; c < engine.classCounts[d].size(); ++c)
      for (double& variance : engine.tables[d].variance[c])
        if (engine.classCounts[d][c] > 1) variance /= engine.classCounts[d][c] - 1;
}

/// The columns of a model's table: parameters of the continuous inputs, counts of the categories.
void TakeModel(const Spreadsheet& model, std::size_t d, EngineTables& tables, EngineBayes& engine) {
  BayesTables& own = engine.tables[d];
  own.pairs.resize(model.Rows());
  std::size_t next = 0;
  const auto column = [&]() -> const std::vector<double>& {
    if (next == model.columns.size() || model.columns[next].values.size() != own.mean.size())
      tables.Refuse("the model's table does not fit its inputs");
    return model.columns[next++].values;
  };
  for (std::size_t k = 0; k < engine.inputs.size(); ++k) {
    const int distribution = engine.distributions[k];
    if (distribution == kDiscrete) {
      for (auto& pairs : own.pairs) pairs.emplace_back();
      for (std::size_t v = 0; v < engine.inputs[k].ClassesByText().size(); ++v) {
        const auto& counts = column();
        for (std::size_t c = 0; c < own.pairs.size(); ++c) own.pairs[c].back().push_back(counts[c]);
      }
      continue;
    }
    const auto& first = column();
    if (distribution == kNormal || distribution == kPoisson)
      for (std::size_t c = 0; c < first.size(); ++c) own.mean[c][k] = first[c];
    if (distribution == kPoisson) continue;
    const auto& second = column();
    if (distribution == kNormal)
      for (std::size_t c = 0; c < second.size(); ++c) own.variance[c][k] = second[c];
  }
}

/// Leaves out what the engine does not predict, and gives categories the codes that texts have.
void TakePredictedCases(EngineBayes& engine) {
  const std::size_t inputs = engine.inputs.size(), dependents = engine.dependents.size();
  std::size_t kept = 0;
  for (std::size_t row = 0; row < engine.cases.size(); ++row) {
    double* const values = engine.caseInputs.data() + row * inputs;
    if (engine.predictions[row * dependents] == kMissingOutput) {
      ++(std::any_of(values, values + inputs, [](double x) { return std::isnan(x); })
             ? engine.missing
             : engine.unknown);
      continue;
    }
    for (std::size_t k = 0; k < inputs; ++k)
      engine.caseInputs[kept * inputs + k] =
          engine.inputs[k].IsCategorical() ? engine.inputs[k].ClassCode(values[k]) : values[k];
    std::copy_n(engine.predictions.begin() + static_cast<std::ptrdiff_t>(row * dependents),
                dependents,
                engine.predictions.begin() + static_cast<std::ptrdiff_t>(kept * dependents));
    engine.cases[kept++] = engine.cases[row];
  }
  engine.cases.resize(kept);
  engine.caseInputs.resize(kept * inputs);
  engine.predictions.resize(kept * dependents);
}

}  // namespace

std::unique_ptr<EngineModel> ReadBayesEngine(EngineTables& tables) {
  auto engine = std::make_unique<EngineBayes>();
  engine->threshold = tables.Get("Threshold").number;
  engine->weighted = tables.file().IsWeightInForce();

  const std::vector<Spreadsheet> models = tables.Made<Spreadsheet>("Model");
  const bool isSampled = tables.IsEnabled("TestSubset");
  const Spreadsheet training = tables.Predictions("TrainSubset", true, false);
  const std::size_t dependents = models.size();
  if (training.columns.size() <= dependents || training.Rows() == 0)
    tables.Refuse("there is no table of training cases");
  TrainingRows rows{.inputs = training.columns.size() - dependents,
                    .weights = ReadWeights(tables, training.rowCases),
                    .values = {},
                    .classes = {}};
  const auto columns = std::span(training.columns);
  rows.values = RowsOf(columns.first(rows.inputs), training.Rows());
  for (const SpreadsheetColumn& column : columns.first(rows.inputs))
    engine->inputs.push_back({column.first, column.labels});
  for (const SpreadsheetColumn& column : columns.subspan(rows.inputs)) {
    const EngineField& field = engine->dependents.emplace_back(column.first, column.labels);
    const std::vector<double> classes = field.ClassesByText();
    auto& own = rows.classes.emplace_back();
    for (const double code : column.values) {
      const auto found = std::ranges::find(classes, field.ClassCode(code));
      if (found == classes.end()) tables.Refuse("a training case has no class of its dependent");
      own.push_back(static_cast<std::size_t>(found - classes.begin()));
    }
  }
  engine->distributions = ReadDistributions(tables, engine->inputs);
  ReadPriors(tables, *engine);
  for (std::size_t d = 0; d < dependents; ++d)
    if (engine->priors[d].size() != engine->dependents[d].ClassesByText().size())
      tables.Refuse("the list of priors does not fit the classes");
  TakeTraining(training, rows, *engine);
  for (std::size_t d = 0; d < dependents; ++d) TakeModel(models[d], d, tables, *engine);

  tables.TakeCases(tables.Predictions(isSampled ? "TestSubset" : "TrainSubset", false, true),
                   rows.inputs, *engine);
  TakePredictedCases(*engine);
  if (engine->cases.empty()) tables.Refuse("the engine predicts no case that could be compared");
  return engine;
}

}  // namespace qrvml
