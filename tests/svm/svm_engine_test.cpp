// The engine on data files: what the problem holds, the training run, predictions and statistics in
// unscaled units, the parameter search, and everything that can go wrong on the way.
#include "svm/svm_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "host/string_table.h"
#include "svm/plain_svm.h"
#include "svm/svm_analysis.h"

namespace qrvml::test {
namespace {

using Numbers = std::vector<double>;

Numbers EntryOf(const SVMProblem& problem, std::int32_t entry) {
  Numbers values;
  std::int32_t index = 0;
  for (const SVMNode* node = problem.x[entry]; node->index != -1; ++node) {
    EXPECT_EQ(node->index, ++index);
    values.push_back(node->value);
  }
  return values;
}

/// Cases of a smooth function and of overlapping classes, some weighted, some with values missing.
TableFile RandomTable(std::uint64_t seed, int cases, bool missing = false) {
  Draws draws(seed);
  std::vector<std::string> rows;
  for (int t = 0; t < cases; ++t) {
    const double x = 10 * draws.Unit();
    const double z = draws.Bell();
    const int g = int(3 * draws.Unit());
    const char* const groups[] = {"a", "b", "c"};
    const char* const classes[] = {"rot", "blau"};
    std::ostringstream row;
    row.precision(17);
    row << 100 + 5 * x - 3 * z + 4 * g + draws.Bell() << ' ';
    row << classes[x + 2 * z + draws.Bell() > 5 ? 1 : 0] << ' ';
    if (missing && t % 5 == 2) {
      row << ". ";
    } else {
      row << x << ' ';
    }
    row << z << ' ' << groups[g] << ' ' << t % 3;
    rows.push_back(row.str());
  }
  return TableFile("y  k=rot,blau  x  z  g=a,b,c  *weight", rows);
}

TEST(SvmProblem, HoldsScaledInputsAndIndicatorsOncePerUnitOfWeight) {
  SvmAnalysis analysis(TableFile("y  x  g=u,v,w  *weight",
                                 {"10 2 v 2", "20 4 u 1", "40 8 w 0", "30 6 w 1", "50 10 u 1"}),
                       "y | | x | g", 4);
  analysis.data().scaleInputs = analysis.data().scaleOutputs = true;
  ASSERT_TRUE(analysis.Load());
  const SVMProblem& problem = analysis.engine.problem;
  ASSERT_EQ(problem.l, 4);
  // x from 2 to 10 becomes 0 to 1, y from 10 to 50 becomes -1 to 1; both samples count.
  EXPECT_EQ(EntryOf(problem, 0), (Numbers{0, 0, 1, 0}));
  EXPECT_EQ(EntryOf(problem, 1), (Numbers{0, 0, 1, 0}));
  EXPECT_EQ(EntryOf(problem, 2), (Numbers{0.25, 1, 0, 0}));
  EXPECT_EQ(EntryOf(problem, 3), (Numbers{0.5, 0, 0, 1}));
  EXPECT_EQ(Numbers(problem.y, problem.y + 4), (Numbers{-1, -1, -0.5, 0}));
}

/// The ten statistics by their formulas.
Numbers PlainStatistics(const Numbers& o, const Numbers& p, const Numbers& w) {
  double n = 0, so = 0, sp = 0, se = 0, sa = 0, s2 = 0;
  for (std::size_t t = 0; t < o.size(); ++t) {
    const double e = o[t] - p[t];
    n += w[t], so += w[t] * o[t], sp += w[t] * p[t], se += w[t] * e;
    sa += w[t] * std::fabs(e), s2 += w[t] * e * e;
  }
  double oo = 0, pp = 0, ee = 0, po = 0;
  for (std::size_t t = 0; t < o.size(); ++t) {
    const double a = o[t] - so / n, b = p[t] - sp / n, e = o[t] - p[t] - se / n;
    oo += w[t] * a * a, pp += w[t] * b * b, ee += w[t] * e * e, po += w[t] * a * b;
  }
  return {so / n,
          sp / n,
          std::sqrt(oo / (n - 1)),
          std::sqrt(pp / (n - 1)),
          s2 / n,
          se / n,
          std::sqrt(ee / (n - 1)),
          sa / n,
          std::sqrt(ee / oo),
          po / std::sqrt(oo * pp)};
}

TEST(SvmStatistics, RegressionIsReportedInUnscaledUnitsForAllSamples) {
  SvmAnalysis analysis(RandomTable(71, 60), "y | | x z | g", 40);
  analysis.data().scaleInputs = analysis.data().scaleOutputs = true;
  ASSERT_TRUE(analysis.Train());
  const SVMProblem& problem = analysis.engine.problem;
  Numbers observed[3], predicted[3], weights[3];
  std::int32_t slot = 0;
  for (int c = 1; c <= 60; ++c) {
    const auto& row = analysis.reading.session.file.cases[std::size_t(c - 1)];
    if (row.weight == 0) continue;
    const int flag = c <= 40 ? 0 : 1;
    // Scaling, the decision sum and its unscaling by hand.
    const auto scaled = [&](VariableKind kind, std::size_t i, double v) {
      return analysis.data().slopes()[kind == VariableKind::predictor ? i : 3 + i] * v +
             analysis.data().offsets()[kind == VariableKind::predictor ? i : 3 + i];
    };
    Numbers inputs = {scaled(VariableKind::predictor, 0, row.values[2]),
                      scaled(VariableKind::predictor, 1, row.values[3]), 0, 0, 0};
    inputs[std::size_t(1 + row.values[4])] = 1;
    const SVMModel& model = *analysis.engine.model;
    double sum = -model.constants[0];
    for (std::int32_t s = 0; s < model.supportVectorCount; ++s) {
      std::int32_t entry = 0;
      while (problem.x[entry] != model.supportVectors[std::size_t(s)]) ++entry;
      sum += model.coefficients[std::size_t(s)] *
             PlainKernel(model.parameters, inputs, EntryOf(problem, entry));
    }
    const double expected = (sum - analysis.data().offsets()[3]) / analysis.data().slopes()[3];
    ASSERT_TRUE(analysis.engine.PredictSvmCase(c, slot));
    EXPECT_NEAR(analysis.engine.predicted, expected, 1e-9);
    EXPECT_NEAR(analysis.engine.observed, row.values[0], 1e-9);
    EXPECT_EQ(analysis.engine.residual, analysis.engine.observed - analysis.engine.predicted);
    EXPECT_NEAR(analysis.engine.currentInputs[0], row.values[2], 1e-12);
    EXPECT_EQ(analysis.engine.currentInputs[2], row.values[4]);
    EXPECT_EQ(analysis.engine.caseLabel, std::to_string(c));
    if (flag == 0) slot += std::int32_t(row.weight);
    for (const int s : {flag, 2}) {
      observed[s].push_back(row.values[0]);
      predicted[s].push_back(expected);
      weights[s].push_back(row.weight);
    }
  }
  for (int s = 0; s < 3; ++s) {
    const RegressionStatistics& got = analysis.engine.regressionStatistics(Subset(s));
    const Numbers expected = PlainStatistics(observed[s], predicted[s], weights[s]);
    const double values[] = {got.observedMean,       got.predictedMean,     got.observedDeviation,
                             got.predictedDeviation, got.meanSquaredError,  got.errorMean,
                             got.errorDeviation,     got.meanAbsoluteError, got.deviationRatio,
                             got.correlation};
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_NEAR(values[i], expected[i], 1e-8) << "statistic " << i << " of subset " << s;
    }
    EXPECT_NEAR(analysis.engine.ranges(Subset(s)).predicted.maximum,
                *std::max_element(predicted[s].begin(), predicted[s].end()), 1e-9);
  }
}

TEST(SvmStatistics, ClassesAreCountedObservedByPredictedWithTheirWeights) {
  for (const int trainingCases : {45, 0}) {
    SvmAnalysis analysis(RandomTable(72, 70), "| k | x z | g", trainingCases);
    ASSERT_TRUE(analysis.Train());
    std::int32_t counts[3][2][2] = {};
    std::int32_t slot = 0;
    for (int c = 1; c <= 70; ++c) {
      const auto& row = analysis.reading.session.file.cases[std::size_t(c - 1)];
      if (row.weight == 0) continue;
      ASSERT_TRUE(analysis.engine.PredictSvmCase(c, slot));
      const bool isTraining = trainingCases == 0 || c <= trainingCases;
      if (isTraining) slot += std::int32_t(row.weight);
      EXPECT_EQ(analysis.engine.observed, row.values[1]);
      EXPECT_EQ(analysis.engine.residual, analysis.engine.observed != analysis.engine.predicted);
      EXPECT_EQ(analysis.engine.classVoteShares[0] + analysis.engine.classVoteShares[1], 1);
      // "blau" comes before "rot", whose code is 1.
      const int o = row.values[1] == 1 ? 1 : 0;
      const int p = analysis.engine.predicted == 1 ? 1 : 0;
      counts[isTraining ? 0 : 1][o][p] += std::int32_t(row.weight);
      if (trainingCases > 0) counts[2][o][p] += std::int32_t(row.weight);
    }
    EXPECT_EQ(slot, analysis.engine.problem.l);
    EXPECT_GT(counts[0][0][0] + counts[0][1][1], counts[0][0][1] + counts[0][1][0]);
    for (int s = 0; s < 3; ++s) {
      for (int o = 0; o < 2; ++o) {
        for (int p = 0; p < 2; ++p) {
          EXPECT_EQ(analysis.engine.confusion(Subset(s)).At(std::size_t(o), std::size_t(p)),
                    counts[s][o][p])
              << s << o << p;
        }
      }
    }
  }
}

TEST(SvmPredictCase, AMissingValueOfATestCaseIsTheMeanOfBothSamples) {
  const TableFile table = RandomTable(73, 50, true);
  SvmAnalysis analysis(table, "y | | x z | g", 30);
  analysis.data().missingDataRule = MissingDataRule::meanSubstitution;
  analysis.data().scaleInputs = true;
  ASSERT_TRUE(analysis.Train());
  // The mean as the first pass makes it: valid values by the weight of all cases.
  double sum = 0;
  double weight = 0;
  for (const auto& row : table.cases) {
    weight += row.weight;
    if (row.values[2] != -9999) sum += row.weight * row.values[2];
  }
  ASSERT_EQ(table.cases[37].values[2], -9999);
  ASSERT_TRUE(analysis.engine.PredictSvmCase(38, 0));
  EXPECT_EQ(analysis.engine.currentInputs[0], sum / weight);
  // The reading knew that mean: the statistics read each test case once.
  int tested = 0;
  for (int c = 31; c <= 50; ++c) tested += analysis.data().Flag(c) == kTest ? 1 : 0;
  const int before = analysis.session().file.reads;
  ASSERT_TRUE(analysis.engine.ComputeSvmStatistics());
  EXPECT_EQ(analysis.session().file.reads - before, tested);
}

TEST(SvmPredictCase, CodesThatShareATextAreOneClass) {
  SvmAnalysis analysis(TableFile("k=3:rot,1:blau,7:rot  x",
                                 {"rot 1", "blau 5", "7 1.5", "7 2", "blau 6", "rot 0", "7 1"}),
                       "| k | x |", 5);
  ASSERT_TRUE(analysis.Train());
  EXPECT_EQ(analysis.engine.model->classCount, 2);
  EXPECT_EQ(analysis.engine.confusion(Subset::both).At(1, 1), 5) << "red of either code";
  EXPECT_EQ(analysis.engine.confusion(Subset::both).At(0, 0), 2);
  ASSERT_TRUE(analysis.engine.PredictSvmCase(7, 0));
  EXPECT_EQ(analysis.engine.residual, 0);
}

TEST(SvmPenalties, AreListedInTextOrderAndChangeTheModel) {
  SvmAnalysis analysis(RandomTable(74, 60), "| k | x z |", 0);
  ASSERT_TRUE(analysis.Train());
  const double plain = analysis.engine.solver.objective;
  analysis.engine.SetUsePenalty(true);
  std::string error;
  for (const char* text : {"", "2", "2 x", "2 ,", "nothing"}) {
    analysis.engine.penaltyList = text;
    EXPECT_FALSE(analysis.engine.TakePenaltyList(error)) << text;
  }
  EXPECT_EQ(analysis.engine.parameters.classWeightCount(), 0);
  analysis.engine.penaltyList = " 0.01 3 ";
  ASSERT_TRUE(analysis.engine.TakePenaltyList(error));
  EXPECT_EQ(analysis.engine.parameters.classWeightLabels, (std::vector<std::int32_t>{2, 1}));
  EXPECT_EQ(analysis.engine.parameters.classWeights, (Numbers{0.01, 3}));
  ASSERT_TRUE(analysis.engine.TrainSvm(true));
  EXPECT_NE(analysis.engine.solver.objective, plain);
  const auto& counts = analysis.engine.confusion(Subset::training);
  EXPECT_EQ(counts.At(1, 0), 0) << "errors on the dear class are avoided";
  EXPECT_GT(counts.At(0, 1), 0);
  analysis.engine.SetUsePenalty(true);
  EXPECT_EQ(analysis.engine.parameters.classWeightCount(), 2);
  analysis.engine.SetUsePenalty(false);
  analysis.engine.SetUsePenalty(true);
  EXPECT_EQ(analysis.engine.parameters.classWeightCount(), 0);
}

// --- The parameter search -----------------------------------------------------------------------

/// The search by its definition, with separate trainings.
struct PlainSearch {
  double C, epsilon;
  double best;
};
PlainSearch SearchPlainly(SvmAnalysis& analysis, std::function<double()> draw) {
  const SVMEngine& engine = analysis.engine;
  const std::int32_t l = engine.problem.l;
  std::vector<std::int32_t> order, partner(std::size_t(l), -1);
  for (std::int32_t t = 0; t < l; ++t) order.push_back(t);
  for (std::int32_t i = 0; i < l; ++i) {
    for (;;) {
      const auto r = std::int32_t(draw() * l);
      if (partner[std::size_t(i)] != -1) break;
      if (std::find(partner.begin(), partner.end(), r) != partner.end()) continue;
      std::swap(order[std::size_t(i)], order[std::size_t(r)]);
      partner[std::size_t(i)] = r;
      partner[std::size_t(r)] = i;
      break;
    }
  }
  const bool classes = engine.IsClassification();
  PlainSearch search{engine.parameters.C, engine.parameters.epsilon, classes ? 0 : 1e300};
  const int nC = int((engine.maximumC - engine.minimumC) / engine.deltaC);
  const int nE = int((engine.maximumEpsilon - engine.minimumEpsilon) / engine.deltaEpsilon);
  for (int a = 0; a < nC; ++a) {
    for (int b = 0; b < nE; ++b) {
      SVMParameters p = engine.parameters;
      p.C = a * engine.deltaC + engine.minimumC;
      p.epsilon = b * engine.deltaEpsilon + engine.minimumEpsilon;
      double total = 0;
      for (int f = 0; f < engine.folds; ++f) {
        const int begin = f * l / engine.folds, end = (f + 1) * l / engine.folds;
        std::vector<SVMNodeList> lists;
        Numbers targets;
        for (int t = 0; t < l; ++t) {
          if (t >= begin && t < end) continue;
          lists.push_back(engine.problem.x[order[std::size_t(t)]]);
          targets.push_back(engine.problem.y[order[std::size_t(t)]]);
        }
        QuietState state;
        state.maxIterations = engine.solver.maxIterations;
        const auto model = SvmTrain({int(lists.size()), targets.data(), lists.data()}, p, state);
        double shares[4];
        for (int t = begin; t < end; ++t) {
          const std::int32_t entry = order[std::size_t(t)];
          const double error =
              SvmPredict(*model, engine.problem.x[entry], shares) - engine.problem.y[entry];
          total += classes ? (error == 0 ? 1 : 0) : error * error;
        }
      }
      const double result = classes ? 100 * total / l : total / l;
      if (classes ? result > search.best : result < search.best) search = {p.C, p.epsilon, result};
    }
  }
  return search;
}

std::vector<const SVMNode*> OrderOf(const SVMEngine& engine) {
  return {engine.problem.x, engine.problem.x + engine.problem.l};
}

TEST(SvmSearch, ChoosesTheBestPointOfTheGridAndRestoresTheProblem) {
  struct Case {
    const char* lists;
    std::int32_t type;
    int trained;  // of the three by four points: those that differ in a value that the type reads
  };
  constexpr Case kCases[] = {{"| k | x z | g", kCClassification, 3},
                             {"| k | x z | g", kNuClassification, 1},
                             {"y | | x z | g", kEpsilonRegression, 12},
                             {"y | | x z | g", kNuRegression, 3}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.type);
    SvmAnalysis analysis(RandomTable(79, 40), c.lists, 0);
    analysis.data().scaleOutputs = true;
    ASSERT_TRUE(analysis.Load());
    SVMEngine& engine = analysis.engine;
    engine.parameters.svmType = c.type;
    engine.parameters.nu = 0.3;
    engine.applyCrossValidation = true;
    engine.crossValidationSeed = 5;
    engine.folds = 4;
    engine.maximumC = 4;
    ScriptedHost random;
    const PlainSearch expected = SearchPlainly(analysis, [&] { return random.rnd_(5); });
    const auto order = OrderOf(engine);
    const Numbers targets(engine.problem.y, engine.problem.y + engine.problem.l);
    int trainings = 0;
    engine.solver.print = [&](std::string_view text) {
      trainings += text.starts_with("obj = ") ? 1 : 0;
    };
    ASSERT_TRUE(engine.TrainSvm(false));
    EXPECT_EQ(trainings, c.trained * 4 + 1);
    EXPECT_EQ(engine.parameters.C, expected.C);
    EXPECT_EQ(engine.parameters.epsilon, expected.epsilon);
    EXPECT_EQ(engine.IsClassification() ? engine.bestAccuracy : engine.bestError, expected.best);
    EXPECT_EQ(OrderOf(engine), order);
    EXPECT_EQ(Numbers(engine.problem.y, engine.problem.y + engine.problem.l), targets);
    const std::vector<std::string>& texts = analysis.display.texts;
    EXPECT_EQ(texts[0], GetResourceString(309));
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string("Ensemble validation croisée 4")),
              12);
    EXPECT_EQ(texts.back(), GetResourceString(engine.IsClassification() ? 311 : 312));
  }
}

TEST(SvmSearch, SharedValuesThreadsAndProcessorsChangeNoBit) {
  for (const std::int32_t type :
       {kCClassification, kNuClassification, kEpsilonRegression, kNuRegression}) {
    for (const std::int32_t kernel : {kPolynomialKernel, kRadialKernel}) {
      struct Result {
        double C, epsilon, best;
        std::string texts;
        Numbers model;
        std::int64_t computed;  // kernel values in the final training alone
        bool operator==(const Result&) const = default;
      };
      const auto search = [&](double cache, int threads, int level) {
        SvmAnalysis analysis(RandomTable(80, 70),
                             type <= kNuClassification ? "| k | x z | g" : "y | | x z | g", 0);
        analysis.data().scaleInputs = analysis.data().scaleOutputs = true;
        SVMEngine& engine = analysis.engine;
        engine.parameters.svmType = type;
        engine.parameters.kernelType = kernel;
        engine.parameters.coef0 = 1;
        engine.parameters.degree = 2.5;
        engine.parameters.nu = 0.3;
        engine.parameters.cacheSize = cache;
        engine.parameters.classWeightLabels = {9};
        engine.parameters.classWeights = {2};
        engine.applyCrossValidation = true;
        engine.folds = 7;
        engine.maximumC = 4;
        engine.crossValidationSeed = 3;
        engine.solver.level = level;
        std::string texts;
        engine.solver.print = engine.solver.warn = [&](std::string_view text) { texts += text; };
        analysis.host().workerThreads = threads;
        EXPECT_TRUE(analysis.Train(false));
        for (const std::string& text : analysis.display.texts) texts += text;
        return Result{engine.parameters.C,
                      engine.parameters.epsilon,
                      engine.IsClassification() ? engine.bestAccuracy : engine.bestError,
                      texts,
                      {engine.model->coefficients.begin(), engine.model->coefficients.end()},
                      cache < 1 ? 0 : engine.solver.counts.elementsComputed};
      };
      SCOPED_TRACE("type " + std::to_string(type) + ", kernel " + std::to_string(kernel));
      Result alone = search(0.01, 1, 4);  // the values do not fit: each training computes its own
      const Result shared = search(40, 1, 4);
      alone.computed = shared.computed;
      EXPECT_EQ(shared == alone, true);
      EXPECT_EQ(search(40, 2, 3) == shared, true) << "two threads";
      EXPECT_EQ(search(40, 5, 2) == shared, true) << "five threads";
    }
  }
}

TEST(SvmSearch, WithoutAGridPointTheSettingsStay) {
  SvmAnalysis analysis(RandomTable(76, 30), "y | | x z |", 0);
  ASSERT_TRUE(analysis.Load());
  analysis.engine.applyCrossValidation = true;
  analysis.engine.maximumC = analysis.engine.minimumC;
  ASSERT_TRUE(analysis.engine.TrainSvm(true));
  EXPECT_EQ(analysis.engine.parameters.C, 10);
  EXPECT_EQ(analysis.engine.parameters.epsilon, 0.1);
  EXPECT_TRUE(analysis.display.texts.empty()) << "a silent run shows nothing";
}

// --- Faults -------------------------------------------------------------------------------------

TEST(SvmEngineFaults, EachHasItsMessageAndLeavesNoModel) {
  SvmAnalysis analysis(RandomTable(77, 30), "y | | x z |", 20);
  SVMEngine& engine = analysis.engine;
  ASSERT_TRUE(analysis.Load());
  engine.parameters.C = 0;
  EXPECT_FALSE(engine.TrainSvm(true));
  ASSERT_EQ(analysis.host().messages.size(), 1u);
  EXPECT_EQ(analysis.host().messages[0].text, "C <= 0");
  engine.parameters.C = 1;
  engine.parameters.kernelType = kPolynomialKernel;
  engine.parameters.gamma = 1e200;
  EXPECT_FALSE(engine.TrainSvm(true));
  engine.parameters.gamma = 0.5;
  engine.parameters.degree = 1;
  engine.applyCrossValidation = true;
  engine.folds = 1;
  EXPECT_FALSE(engine.TrainSvm(true)) << "one fold holds everything out";
  EXPECT_EQ(analysis.host().messages.size(), 3u);
  for (std::size_t m = 1; m < analysis.host().messages.size(); ++m) {
    EXPECT_EQ(analysis.host().messages[m].number, 155);
  }
  EXPECT_EQ(engine.model, nullptr);
  engine.folds = 2;
  engine.parameters.gamma = 1e200;
  engine.parameters.degree = 3;
  const auto order = OrderOf(engine);
  for (const int threads : {1, 3}) {
    analysis.host().messages.clear();
    analysis.host().workerThreads = threads;
    EXPECT_FALSE(engine.TrainSvm(true)) << "a fold fails";
    ASSERT_EQ(analysis.host().messages.size(), 1u);
    EXPECT_EQ(analysis.host().messages[0].number, 155);
    EXPECT_EQ(OrderOf(engine), order);
  }
  engine.parameters.gamma = 0.5;
  engine.parameters.degree = 1;
  EXPECT_TRUE(engine.TrainSvm(true));
  engine.ResetSvmEngine();
  EXPECT_EQ(engine.model, nullptr);
  EXPECT_EQ(engine.problem.l, 0);
  EXPECT_EQ(engine.parameters.kernelType, kRadialKernel);
}

/// Runs with the fault at place 1, 2, … until none is met; the next run is as if there was none.
int FailEverywhere(const char* lists, bool search, bool refuse, int threads = 1) {
  SvmAnalysis whole(RandomTable(78, 24, true), lists, 16);
  const auto set = [search](SvmAnalysis& analysis) {
    analysis.data().missingDataRule = MissingDataRule::meanSubstitution;
    analysis.engine.applyCrossValidation = search;
    analysis.engine.folds = 2;
    analysis.engine.maximumC = 2;
    analysis.engine.maximumEpsilon = 0.21;
    analysis.engine.solver.workBetweenPolls = 300;
  };
  set(whole);
  EXPECT_TRUE(whole.Train());
  const Numbers expected(whole.engine.model->coefficients.begin(),
                         whole.engine.model->coefficients.end());
  for (int n = 1;; ++n) {
    SCOPED_TRACE(n);
    SvmAnalysis analysis(RandomTable(78, 24, true), lists, 16);
    set(analysis);
    analysis.host().workerThreads = threads;
    EXPECT_TRUE(analysis.Load());
    const auto order = OrderOf(analysis.engine);
    ScriptedHost& host = analysis.host();
    (refuse ? host.refuseAllocation : host.cancelAtPoll) =
        (refuse ? host.allocations : host.polls) + n;
    const bool done = analysis.engine.TrainSvm(false);
    host.refuseAllocation = host.cancelAtPoll = 0;
    if (!done) {
      EXPECT_EQ(analysis.engine.model, nullptr);
      EXPECT_EQ(OrderOf(analysis.engine), order);
      EXPECT_EQ(host.messages.size(), refuse ? 1u : 0u);
      if (refuse && !host.messages.empty()) {
        EXPECT_EQ(host.messages[0].number, 104);
      }
      EXPECT_EQ(analysis.engine.parameters.C, 10);
      analysis.reading.session.host.messages.clear();
      EXPECT_TRUE(analysis.engine.TrainSvm(true));
    }
    EXPECT_EQ(Numbers(analysis.engine.model->coefficients.begin(),
                      analysis.engine.model->coefficients.end()),
              expected);
    if (done || ::testing::Test::HasFailure()) return n - 1;
  }
}

TEST(SvmEngineFaults, MemoryRefusedAnywhereGivesTheMessageAndTheNextRunSucceeds) {
  EXPECT_GT(FailEverywhere("y | | x z | g", false, true), 40);
  EXPECT_GT(FailEverywhere("| k | x z | g", true, true), 60);
  EXPECT_GT(FailEverywhere("| k | x z | g", true, true, 3), 60);
}

TEST(SvmEngineFaults, ACancelAnywhereIsSilentAndTheNextRunSucceeds) {
  EXPECT_GT(FailEverywhere("y | | x z | g", true, false), 5);
  EXPECT_GT(FailEverywhere("y | | x z | g", true, false, 3), 5);
  EXPECT_GT(FailEverywhere("| k | x z | g", false, false), 2);
}

}  // namespace
}  // namespace qrvml::test
