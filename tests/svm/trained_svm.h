// Trained support vector analyses of every type, kernel and shape of data, their generated texts,
// and what a text predicts by the defining sums on the digits that it prints.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "deploy/deployed_variables.h"
#include "svm/plain_svm.h"
#include "svm/svm_analysis.h"
#include "svm/svm_deployment.h"

namespace qrvml::test {

struct SvmShape {
  const char* name;
  int classes;  // 0: a regression
  int continuous, categorical;
  bool scaled;  // inputs, and the output of a regression
};
inline constexpr SvmShape kSvmShapes[] = {
    {"two classes, continuous inputs", 2, 3, 0, false},
    {"three classes, mixed inputs, scaled", 3, 1, 2, true},
    {"five classes, categorical inputs", 5, 0, 3, false},
    {"regression, continuous inputs, scaled", 0, 2, 0, true},
    {"regression, mixed inputs", 0, 2, 1, false},
    {"regression, categorical inputs, scaled", 0, 0, 2, true},
};

struct SvmKind {
  SvmShape shape;
  std::int32_t type, kernel;
  std::string Name() const {
    return std::string(shape.name) + ", type " + std::to_string(type) + ", kernel " +
           std::to_string(kernel);
  }
};
/// Both types of each shape with every kernel.
inline std::vector<SvmKind> AllSvmKinds() {
  std::vector<SvmKind> kinds;
  for (const SvmShape& shape : kSvmShapes)
    for (const std::int32_t type : shape.classes > 0 ? std::vector{0, 1} : std::vector{3, 4})
      for (std::int32_t kernel = 0; kernel < 4; ++kernel) kinds.push_back({shape, type, kernel});
  return kinds;
}

inline constexpr int kSvmTraining = 60, kSvmTests = 40;

/// Overlapping classes or a noisy value. Codes ascend against the texts of classes, and the first
/// class that appears is neither the first code nor the first text.
inline TableFile SvmTable(const SvmShape& shape, std::uint64_t seed) {
  Draws draws(seed);
  std::string header = shape.classes > 0 ? "y=7:c,2:e,5:d,9:a,4:b" : "y";
  for (int i = 0; i < shape.continuous; ++i) header += " x" + std::to_string(i);
  for (int i = 0; i < shape.categorical; ++i) header += " g" + std::to_string(i) + "=6:p,3:q,8:r";
  std::vector<std::string> rows;
  const char* const classes[] = {"c", "e", "d", "a", "b"};
  for (int t = 0; t < kSvmTraining + kSvmTests; ++t) {
    std::ostringstream inputs;
    inputs.precision(17);
    double sum = 0;
    for (int i = 0; i < shape.continuous; ++i) {
      const double x = draws.Bell();
      inputs << ' ' << (shape.scaled ? 50 + 10 * x : x);
      sum += i % 2 == 0 ? x : -x * x;
    }
    for (int i = 0; i < shape.categorical; ++i) {
      const int g = int(3 * draws.Unit());
      inputs << ' ' << "pqr"[g];
      sum += 0.5 * (g == i ? 1.5 : -1.0 * g);
    }
    std::ostringstream row;
    row.precision(17);
    const double noisy = sum + 0.6 * draws.Bell();
    if (shape.classes == 0) {
      row << (shape.scaled ? 1000 + 100 * noisy : noisy);
    } else {
      // Training takes the classes in turn, so that nu is feasible.
      const int k = t < 2 * shape.classes
                        ? t % shape.classes
                        : ((int(std::floor(2 * noisy)) + t / 3) % shape.classes + shape.classes) %
                              shape.classes;
      row << classes[k];
    }
    rows.push_back(row.str() + inputs.str());
  }
  return TableFile(header, rows);
}

struct TrainedSvm : SvmAnalysis {
  using Settings = std::function<void(SVMEngine& engine, AnalysisDataSet& data)>;

  TrainedSvm(TableFile table, std::string_view lists, int trainingCases, const Settings& set)
      : SvmAnalysis(std::move(table), lists, trainingCases) {
    set(engine, data());
    EXPECT_TRUE(Train());
    variables = DescribeVariables(file(), data());
  }
  /// One of AllSvmKinds.
  static std::unique_ptr<TrainedSvm> Of(const SvmKind& kind, std::uint64_t seed) {
    const SvmShape& shape = kind.shape;
    std::string lists = shape.classes > 0 ? "| y |" : "y | |";
    for (int i = 0; i < shape.continuous; ++i) lists += " x" + std::to_string(i);
    lists += " |";
    for (int i = 0; i < shape.categorical; ++i) lists += " g" + std::to_string(i);
    return std::make_unique<TrainedSvm>(SvmTable(shape, seed), lists, kSvmTraining,
                                        [&](SVMEngine& engine, AnalysisDataSet& data) {
                                          SVMParameters& p = engine.parameters;
                                          p.svmType = kind.type;
                                          p.kernelType = kind.kernel;
                                          p.gamma = 0.7;
                                          p.coef0 = 0.25;
                                          p.degree = 3;
                                          p.C = 1.5;
                                          p.nu = 0.3;
                                          data.scaleInputs = data.scaleOutputs = shape.scaled;
                                        });
  }

  TableFile& file() { return session().file; }
  const SVMModel& model() const { return *engine.model; }

  std::string C() { return Program(Dialect::c); }
  std::string Qvb() { return Program(Dialect::qvb); }
  std::string Pmml() {
    SvmCode code(variables, data(), engine);
    return MakePmmlDocument(variables, code, 0, "UTF-8");
  }
  std::string Program(Dialect dialect) {
    SvmCode code(variables, data(), engine);
    std::string text;
    EXPECT_TRUE(MakeProgram(dialect, variables, code, text));
    return text;
  }

  /// Values and codes of a case's predictors, in their order.
  std::vector<double> InputsOf(int caseNumber) {
    std::vector<double> inputs;
    for (const DeployedVariable& input : variables.inputs)
      inputs.push_back(
          file().cases[std::size_t(caseNumber - 1)].values[std::size_t(input.number - 1)]);
    return inputs;
  }

  DeployedVariables variables;
};

struct PrintedSvmPrediction {
  double value = 0;
  bool tied = false;
};

/// The prediction of the model whose numbers were printed with `printed`, from the engine's arrays
/// by the defining sums.
inline PrintedSvmPrediction PredictPrinted(TrainedSvm& trained,
                                           const std::function<double(double)>& printed,
                                           const std::vector<double>& inputs) {
  const SVMModel& model = trained.model();
  const std::size_t continuous = trained.variables.ContinuousInputs();
  std::vector<double> x;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (i < continuous) {
      x.push_back(printed(trained.data().offsets()[i]) +
                  printed(trained.data().slopes()[i]) * inputs[i]);
      continue;
    }
    for (const auto& category : trained.data().predictorCategories(i - continuous).codes())
      x.push_back(inputs[i] == double(category.code) ? 1 : 0);
  }
  SVMParameters p = model.parameters;
  for (double* value : {&p.gamma, &p.coef0, &p.degree}) *value = printed(*value);
  const auto vectors = std::size_t(model.supportVectorCount);
  std::vector<double> kernel;
  for (std::size_t s = 0; s < vectors; ++s) {
    std::vector<double> vector;
    for (std::size_t d = 0; d < x.size(); ++d)
      vector.push_back(printed(model.supportVectors[s].nodes[d].value));
    kernel.push_back(PlainKernel(p, x, vector));
  }
  const std::vector<double> sums = PlainSums(model, kernel, printed);
  if (!model.IsClassification()) {
    const std::size_t slot = inputs.size();
    return {(sums[0] - printed(trained.data().offsets()[slot])) /
            printed(trained.data().slopes()[slot])};
  }
  const std::vector<int> votes = PlainVotes(model, sums);
  const auto top = std::ranges::max_element(votes);
  return {double(model.labels[std::size_t(top - votes.begin())]),
          std::ranges::count(votes, *top) > 1};
}

}  // namespace qrvml::test
