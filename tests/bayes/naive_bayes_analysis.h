// A naive Bayes analysis under test: the dialog filled in through automation, as every client does
// it, and comparisons with the plain formulas.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bayes/naive_bayes_engine.h"
#include "bayes/plain_bayes.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "support/scripted_host.h"

namespace qrvml::test {

/// Variables x1.. (continuous inputs), u1.. (categorical inputs), c1.. (dependents).
inline TableFile FileOf(const PlainCases& cases) {
  TableFile file;
  const auto add = [&](const char* prefix, int count) {
    for (int i = 1; i <= count; ++i)
      file.variables.emplace_back().name = prefix + std::to_string(i);
  };
  add("x", cases.continuous);
  add("u", cases.categorical);
  add("c", cases.dependents);
  for (std::size_t v = 0; v < cases.labels.size(); ++v)
    for (const auto& [code, text] : cases.labels[v])
      file.variables[cases.continuous + v].labels[code] = text;
  for (const auto& row : cases.rows) file.cases.emplace_back().values = row;
  file.weighted = !cases.weights.empty();
  for (std::size_t i = 0; i < cases.weights.size(); ++i) file.cases[i].weight = cases.weights[i];
  return file;
}

inline std::string VariablesOf(const PlainCases& cases) {
  std::string text;
  const auto add = [&](const char* prefix, int count, const char* end) {
    for (int i = 1; i <= count; ++i) text += prefix + std::to_string(i) + ' ';
    text += end;
  };
  add("c", cases.dependents, "| ");
  add("x", cases.continuous, "| ");
  add("u", cases.categorical, "");
  return text;
}

class NaiveBayesAnalysis : public AnalysisSession {
 public:
  /// The specification dialog with its variables; the first `training` cases are the training
  /// sample, 0: without sampling. `stored`: values are kept, else read again.
  NaiveBayesAnalysis(TableFile table, std::string_view variables, int training, bool stored = true)
      : AnalysisSession(std::move(table)) {
    analysis.dataMatrixLimit = stored ? 30000000 : 0;
    OpenStartup();
    Put("TypeOfAnalysis", "scMLNB");
    EXPECT_TRUE(OK().Succeeded());
    EXPECT_EQ(dialog().Name(), "MachineLearningNB");
    Put("Variables", variables);
    if (training > 0) {
      Put("UseFirstNCases", 1);
      Put("NValue", training);
    } else {
      Put("ApplySampling", 0);
    }
  }
  NaiveBayesAnalysis(const PlainCases& cases, const PlainBayesSettings& settings,
                     bool stored = true)
      : NaiveBayesAnalysis(FileOf(cases), VariablesOf(cases), cases.training, stored) {
    constexpr std::string_view kRules[] = {"CasewiseDeletionOfMD", "MeanSubstitutionOfMD",
                                           "UseMissingCasesIfPossible"};
    Put(kRules[settings.rule], 1);
    Put("Threshold", settings.threshold);
    std::string lists[4];
    for (std::size_t k = 0; k < settings.distributions.size(); ++k)
      lists[settings.distributions[k]] += "x" + std::to_string(k + 1) + ' ';
    Put("InputDistributions", lists[0] + '|' + lists[1] + '|' + lists[2] + '|' + lists[3]);
  }

  NaiveBayesEngine& engine() { return *analysis.naiveBayesEngine(); }
  const ClassStatistics& learned() { return data().classStatistics(); }

  /// OK without going on to the results.
  bool Accept() {
    host.ForgetStreams();
    host.exitStep = -1;
    return dialog().OAOK().Succeeded();
  }
  void Train() {
    EXPECT_TRUE(Accept());
    EXPECT_EQ(host.messages, std::vector<Message>{});
    ASSERT_EQ(host.exitStep, 106);
  }

  /// What was learned, bit for bit.
  void ExpectLearned(const PlainBayes& plain, const PlainCases& cases) {
    for (int k = 0; k < cases.Inputs(); ++k) EXPECT_EQ(data().InputCount(k), plain.inputCount[k]);
    for (int d = 0; d < cases.dependents; ++d) {
      ASSERT_EQ(int(learned().classes(d)), plain.Classes(d));
      for (int c = 0; c < plain.Classes(d); ++c) {
        SCOPED_TRACE("dependent " + std::to_string(d) + ", class " + std::to_string(c));
        EXPECT_EQ(double(learned().classCount(d, c)), plain.classCount[d][c]);
        EXPECT_EQ(engine().priors[d][c], plain.priors[d][c]);
        for (int k = 0; k < cases.Inputs(); ++k) {
          EXPECT_EQ(learned().condMean(d, c, k), plain.mean[d][c][k]) << "input " << k;
          EXPECT_EQ(learned().condStd(d, c, k), plain.variance[d][c][k]) << "input " << k;
          EXPECT_EQ(learned().condWeight(d, c, k), plain.validWeight[d][c][k]) << "input " << k;
        }
        for (int m = 0; m < cases.categorical; ++m)
          for (std::size_t v = 0; v < plain.pairs[d][c][m].size(); ++v)
            EXPECT_EQ(learned().pairCount(d, c, m, v), plain.pairs[d][c][m][v]);
      }
    }
  }
  /// The engine's outputs for a case; posteriors as closely as logarithms of likelihoods of that
  /// size allow.
  void ExpectFound(const PlainBayes::Found& found, double tolerance = 1e-11) {
    for (std::size_t d = 0; d < found.posterior.size(); ++d) {
      ASSERT_EQ(engine().posterior[d].size(), found.posterior[d].size());
      for (std::size_t c = 0; c < found.posterior[d].size(); ++c)
        EXPECT_NEAR(engine().posterior[d][c], found.posterior[d][c],
                    tolerance * std::fabs(found.posterior[d][c]) + 1e-300);
      EXPECT_EQ(engine().predictedCode[d], found.predicted[d]);
      EXPECT_EQ(engine().misclassified[d], found.wrong[d]);
    }
  }
  void ExpectCounted(const std::vector<std::vector<int>>& expected, const ConfusionCounts& counts) {
    for (std::size_t p = 0; p < expected.size(); ++p)
      for (std::size_t o = 0; o < expected.size(); ++o)
        EXPECT_EQ(counts.At(p, o), expected[p][o]) << "predicted " << p << ", observed " << o;
  }
};

}  // namespace qrvml::test
