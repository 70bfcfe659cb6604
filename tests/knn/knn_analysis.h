// A nearest-neighbour analysis under test: random tables, their data file, and the dialog filled in
// through automation, as every client does it.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "host/string_table.h"
#include "knn/knn_engine.h"
#include "knn/plain_knn.h"
#include "support/scripted_host.h"

namespace qrvml::test {

inline Message Of(int number) { return {number, std::string(GetResourceString(number))}; }

/// Equal in every bit; all not-a-numbers are one.
inline bool SameBits(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
template <class A, class B>
::testing::AssertionResult Same(const A& expected, const B& actual) {
  if (std::size(expected) != std::size(actual))
    return ::testing::AssertionFailure()
           << std::size(actual) << " values, not " << std::size(expected);
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    if (!SameBits(expected[i], actual[i]))
      return ::testing::AssertionFailure() << "value " << i << ": " << ShortestText(actual[i])
                                           << ", not " << ShortestText(expected[i]);
  }
  return ::testing::AssertionSuccess();
}
inline Row Values(const RegressionStatistics& s) {
  return {s.observedMean,     s.predictedMean, s.observedDeviation, s.predictedDeviation,
          s.meanSquaredError, s.errorMean,     s.meanAbsoluteError, s.errorDeviation,
          s.deviationRatio,   s.correlation};
}

/// Numbers of variables by role and how many different values a continuous one takes: few values
/// make many ties of distance.
struct Shape {
  const char* name;
  int continuousInputs, categoricalInputs, continuousDependents, categoricalDependents;
  int levels;
};
inline constexpr Shape kShapes[] = {
    {"one input, one value", 1, 0, 1, 0, 1000000},
    {"many ties, two values", 2, 1, 2, 0, 4},
    {"one class", 3, 0, 0, 1, 1000000},
    {"mixed inputs, two classes", 2, 2, 0, 2, 5},
    {"only categorical inputs", 0, 3, 0, 1, 1},
    {"only categorical inputs, values", 0, 2, 1, 0, 1000000},
};

inline PlainTable RandomTable(const Shape& shape, int prototypes, int tests, std::int32_t seed) {
  ScriptedHost random;
  const auto below = [&](int n) { return int(random.rnd_(seed) * n); };
  PlainTable table{shape.continuousInputs,
                   shape.categoricalInputs,
                   shape.continuousDependents,
                   shape.categoricalDependents,
                   {},
                   prototypes,
                   {}};
  for (int r = 0; r < prototypes + tests; ++r) {
    Row& row = table.rows.emplace_back();
    const auto value = [&] { return (below(shape.levels) - shape.levels / 3) * 0.37 + 1; };
    const auto code = [&](int codes) { return r < codes ? r + 1.0 : below(codes) + 1.0; };
    for (int i = 0; i < shape.continuousInputs; ++i) row.push_back(value());
    for (int i = 0; i < shape.categoricalInputs; ++i) row.push_back(code(3));
    for (int i = 0; i < shape.continuousDependents; ++i) row.push_back(below(1000000) * 0.001);
    for (int i = 0; i < shape.categoricalDependents; ++i) row.push_back(code(4));
  }
  // Text order is another than the order of the codes, and two codes share a text.
  table.labels.assign(shape.categoricalDependents, {{1, "Homme"}, {2, "Femme"}, {4, "Homme"}});
  return table;
}

/// Variables x1.., u1.. (categorical inputs), y1.., c1.. (categorical dependents).
inline TableFile FileOf(const PlainTable& table) {
  TableFile file;
  const auto add = [&](const char* prefix, int count) {
    for (int i = 1; i <= count; ++i)
      file.variables.emplace_back().name = prefix + std::to_string(i);
  };
  add("x", table.continuousInputs);
  add("u", table.categoricalInputs);
  add("y", table.continuousDependents);
  add("c", table.categoricalDependents);
  for (int c = 0; c < int(table.labels.size()); ++c) {
    auto& labels = file.variables[file.variables.size() - table.labels.size() + c].labels;
    for (const auto& [code, text] : table.labels[c]) labels[code] = text;
  }
  for (const Row& row : table.rows) file.cases.emplace_back().values = row;
  return file;
}

/// The four lists in the order in which the variables property takes them.
inline std::string VariablesOf(const PlainTable& table) {
  std::string text;
  const auto add = [&](const char* prefix, int count, const char* end) {
    for (int i = 1; i <= count; ++i) text += prefix + std::to_string(i) + ' ';
    text += end;
  };
  add("y", table.continuousDependents, "| ");
  add("c", table.categoricalDependents, "| ");
  add("x", table.continuousInputs, "| ");
  add("u", table.categoricalInputs, "");
  return text;
}

using Properties = std::initializer_list<std::pair<std::string_view, double>>;

inline constexpr std::string_view kMetricNames[] = {"Euclidean", "SquaredEuclidean", "CityBlock",
                                                    "Chebychev"};
inline constexpr std::int32_t kSearchSeed = 4711;

class KnnAnalysis : public AnalysisSession {
 public:
  /// The specification dialog with its variables; the first `prototypes` cases are the prototypes.
  KnnAnalysis(TableFile table, std::string_view variables, int prototypes,
              Properties properties = {})
      : AnalysisSession(std::move(table)) {
    ChooseKnn();
    AnalysisSession::Put("Variables", variables);
    AnalysisSession::Put("UseFirstNCases", 1);
    AnalysisSession::Put("NValue", prototypes);
    for (const auto& [name, value] : properties) AnalysisSession::Put(name, value);
  }
  KnnAnalysis(const PlainTable& table, const PlainSettings& settings)
      : KnnAnalysis(FileOf(table), VariablesOf(table), table.prototypes,
                    {{kMetricNames[settings.metric], 1},
                     {"UseWeightedAverage", settings.weighted},
                     {"StandardizeDistances", settings.standardized},
                     {"KNearestNeighbors", settings.k},
                     {"VValue", settings.folds},
                     {"CrossVSeed", kSearchSeed},
                     {"MinimumK", settings.minimumK},
                     {"MaximumK", settings.maximumK},
                     {"DeltaK", settings.deltaK}}) {}

  KNNEngine& engine() { return *analysis.knnEngine(); }
  /// OK, which must reach the results dialog.
  void Train() {
    OK();
    EXPECT_EQ(host.messages, std::vector<Message>{});
    ASSERT_EQ(host.exitStep, 107);
  }
  bool IsOpen() { return dialog().Name() == "MachineLearningKNN" && host.exitStep == -1; }

  /// Predicts test case `row` with its observed values.
  void PredictTest(int row) {
    ASSERT_TRUE(engine().LoadCase(Sample::test, row, KNNEngine::Load::both, false));
    const HostArray<double> inputs = Copy(engine().currentInputs);
    const HostArray<double> observed = Copy(engine().currentDependents);
    engine().PredictCase(inputs, observed, true);
  }
  ::testing::AssertionResult Predicted(const PlainPrediction& expected) {
    KNNEngine& e = engine();
    if (auto same = Same(expected.predictions, e.predictions); !same) return same << ", prediction";
    if (auto same = Same(expected.residuals, e.residuals); !same) return same << ", residual";
    if (auto same = Same(expected.spreads, e.spreads); !same) return same << ", spread";
    for (std::size_t c = 0; c < expected.scores.size(); ++c) {
      if (auto same = Same(expected.scores[c], e.classScores[c]); !same)
        return same << ", score of dependent " << c;
    }
    return ::testing::AssertionSuccess();
  }
  ::testing::AssertionResult HasStatistics(const PlainStatistics& expected) {
    for (std::size_t c = 0; c < expected.confusion.size(); ++c) {
      const auto& counts = expected.confusion[c];
      for (std::size_t p = 0; p < counts.size(); ++p)
        for (std::size_t o = 0; o < counts.size(); ++o)
          if (counts[p][o] != engine().confusion(c).At(p, o))
            return ::testing::AssertionFailure()
                   << "dependent " << c << ", predicted " << p << ", observed " << o << ": "
                   << engine().confusion(c).At(p, o) << ", not " << counts[p][o];
    }
    for (std::size_t j = 0; j < expected.ten.size(); ++j) {
      if (auto same = Same(expected.ten[j], Values(engine().regressionStatistics(j))); !same)
        return same << " of the ten of dependent " << j;
      const PredictionRanges& r = engine().ranges(j);
      const Row ranges = {r.predicted.minimum,        r.predicted.maximum,
                          r.residual.minimum,         r.residual.maximum,
                          r.absoluteResidual.minimum, r.absoluteResidual.maximum,
                          r.squaredResidual.minimum,  r.squaredResidual.maximum};
      if (auto same = Same(expected.ranges[j], ranges); !same)
        return same << " of the ranges of dependent " << j;
    }
    return ::testing::AssertionSuccess();
  }

 private:
  static HostArray<double> Copy(const HostArray<double>& values) {
    HostArray<double> copy(values.size());
    std::copy(values.begin(), values.end(), copy.begin());
    return copy;
  }
};

}  // namespace qrvml::test
