// What the solver promises besides the optimum: classes and votes, limits, texts, and the same bits
// with any cache, processor and number of threads.
#include "svm/svm_solver.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <thread>

#include "host/string_table.h"
#include "svm/case_predictor.h"
#include "svm/plain_svm.h"

namespace qrvml::test {
namespace {

SVMParameters Radial(SVMType type, double gamma = 0.3) {
  SVMParameters p;
  p.svmType = type;
  p.gamma = gamma;
  return p;
}

/// Everything of a model that a user can see, and how it came about.
struct Outcome {
  std::vector<std::uint64_t> bits;
  std::string printed;
  std::int64_t iterations;
  double objective;

  bool operator==(const Outcome&) const = default;
};

Outcome OutcomeOf(const PlainProblem& problem, const SVMParameters& p, int threads = 1,
                  int level = 4, SVMCounts* counts = nullptr) {
  QuietState state;
  state.threads = threads;
  state.level = level;
  const auto model = SvmTrain(problem.problem(), p, state);
  if (counts != nullptr) *counts = state.counts;
  Outcome outcome{{}, state.printed, state.counts.iterations, state.objective};
  for (const double value : model->coefficients) {
    outcome.bits.push_back(std::bit_cast<std::uint64_t>(value));
  }
  for (const double value : model->constants) {
    outcome.bits.push_back(std::bit_cast<std::uint64_t>(value));
  }
  return outcome;
}

TEST(SvmSolver, CacheProcessorAndThreadsChangeNoBit) {
  struct Row {
    SVMType type;
    SVMKernelType kernel;
    int cases;
    double cache;  // megabytes that hold a part of the columns
  };
  // Enough cases for several passes and for shrinking to set in.
  const Row rows[] = {
      {kCClassification, kRadialKernel, 1300, 1},    {kCClassification, kSigmoidKernel, 300, 0.1},
      {kNuClassification, kRadialKernel, 700, 0.1},  {kEpsilonRegression, kRadialKernel, 600, 0.3},
      {kNuRegression, kPolynomialKernel, 200, 0.02}, {kOneClass, kRadialKernel, 600, 0.1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("type " + std::to_string(row.type) + ", kernel " + std::to_string(row.kernel));
    const PlainProblem problem =
        RandomProblem(41, row.cases, 5, row.type <= kNuClassification ? 2 : 0);
    SVMParameters p = Radial(row.type, row.type == kCClassification ? 0.1 : 0.5);
    p.nu = 0.1;
    p.kernelType = row.kernel;
    p.coef0 = 0.5;
    p.degree = 2;
    p.C = 1;
    p.stoppingAccuracy = 1e-5;
    p.cacheSize = 100;
    SVMCounts roomy;
    SVMCounts tight;
    const Outcome expected = OutcomeOf(problem, p, 1, 2, &roomy);
    for (int level = 3; level <= 4; ++level) {
      EXPECT_EQ(OutcomeOf(problem, p, 1, level), expected) << "level " << level;
    }
    for (int threads = 2; threads <= 3; ++threads) {
      EXPECT_EQ(OutcomeOf(problem, p, threads), expected) << threads << " threads";
    }
    p.cacheSize = row.cache;
    EXPECT_EQ(OutcomeOf(problem, p, 1, 4, &tight), expected) << "small cache";
    EXPECT_GT(tight.columnsComputed, roomy.columnsComputed);
    p.cacheSize = 1e-9;
    EXPECT_EQ(OutcomeOf(problem, p, 2, 4, &tight), expected) << "no cache";
    EXPECT_EQ(tight.columnsHit, 0);
  }
}

TEST(SvmSolver, ShrinkingReachesTheSameOptimum) {
  for (const SVMType type :
       {kCClassification, kNuClassification, kOneClass, kEpsilonRegression, kNuRegression}) {
    SCOPED_TRACE(type);
    const PlainProblem problem = RandomProblem(42, 150, 4, type <= kNuClassification ? 2 : 0);
    SVMParameters p = Radial(type, 0.5);
    p.nu = 0.1;
    p.stoppingAccuracy = 1e-7;
    const Outcome with = OutcomeOf(problem, p);
    p.shrinking = 0;
    const Outcome without = OutcomeOf(problem, p);
    // Of nu classification the objective is divided by r^2, which is small here.
    const double relative = type == kNuClassification ? 1e-5 : 1e-7;
    EXPECT_NEAR(with.objective, without.objective, relative * std::fabs(without.objective));
    EXPECT_NE(with.printed.find(".."), std::string::npos) << "it was shrunk more than once";
  }
}

TEST(SvmSolver, TheIterationLimitEndsEveryDecisionFunctionWithAModel) {
  const PlainProblem problem = RandomProblem(43, 90, 3, 3);
  SVMParameters p = Radial(kCClassification);
  p.C = 1e4;
  p.stoppingAccuracy = 1e-12;
  for (const int limit : {1, 1000}) {
    QuietState state;
    state.maxIterations = limit;
    const auto model = SvmTrain(problem.problem(), p, state);
    EXPECT_EQ(state.iterationCount, limit);
    EXPECT_EQ(state.counts.iterations, 3 * limit);
    EXPECT_EQ(model->constants.size(), 3u);
    EXPECT_GE(model->supportVectorCount, 2);
    EXPECT_LE(model->supportVectorCount, 3 * 2 * limit);
  }
  // A pair's first step: both alphas rise from 0 by (1 + 1) / (2 - 2 K).
  PlainProblem two;
  two.Add({0}, 1);
  two.Add({1}, 2);
  QuietState state;
  state.maxIterations = 1;
  const auto model = SvmTrain(two.problem(), Radial(kCClassification, 1), state);
  EXPECT_NEAR(model->coefficients[0], 1 / (1 - std::exp(-1.0)), 1e-14);
}

TEST(SvmSolver, DiagnosticsArePrintedAsTheyHappen) {
  PlainProblem problem;
  problem.Add({1}, 1);
  problem.Add({-1}, 2);
  SVMParameters p;
  p.kernelType = kLinearKernel;
  p.C = 0.1;
  QuietState state;
  SvmTrain(problem.problem(), p, state);
  EXPECT_EQ(state.printed,
            "*\noptimization finished, #iter = 1\nnu = 1.000000\n"
            "obj = -0.180000, rho = 0.000000\nnSV = 2, nBSV = 2\nTotal nSV = 2\n");
  p.svmType = kNuRegression;
  p.C = 1;
  state.printed.clear();
  SvmTrain(problem.problem(), p, state);
  EXPECT_NE(state.printed.find("\nepsilon = "), std::string::npos);
}

TEST(SvmSolver, ParametersAreCheckedInOrder) {
  PlainProblem unequal;  // 2 and 8 cases: nu of two classes is at most 0.4
  for (int t = 0; t < 10; ++t) unequal.Add({double(t)}, t < 2 ? 5 : 6);
  const char* const kCache = "Cache size must be larger than zero.";
  const char* const kNu = "Nu parameter must lie in the range (0, 1)";
  const char* const kShrinking = "shrinking != 0 and shrinking != 1";
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    SVMParameters parameters;
    const char* message;
  };
  const Row rows[] = {
      {{}, nullptr},
      {{.svmType = 5, .kernelType = 9}, "Unknown SVM type"},
      {{.svmType = -1}, "Unknown SVM type"},
      {{.kernelType = 4, .cacheSize = 0}, "Unknown kernel type"},
      {{.cacheSize = 0, .stoppingAccuracy = 0}, kCache},
      {{.stoppingAccuracy = 0, .C = 0},
       "Accuracy parameter for stopping criteria must be larger than zero."},
      {{.C = 0}, "C <= 0"},
      {{.C = nan}, "C <= 0"},
      {{.svmType = kEpsilonRegression, .C = -1, .epsilon = -1}, "C <= 0"},
      {{.svmType = kNuRegression, .C = 0, .nu = 2}, "C <= 0"},
      {{.svmType = kOneClass, .C = 0, .nu = 1}, nullptr},
      {{.svmType = kOneClass, .nu = 1.000001}, kNu},
      {{.svmType = kNuClassification, .nu = -0.1, .shrinking = 2}, kNu},
      {{.svmType = kNuRegression, .nu = 1.5}, kNu},
      {{.nu = 7, .epsilon = -1}, nullptr},
      {{.svmType = kEpsilonRegression, .epsilon = -1, .shrinking = 2},
       "Epsilon parameter must be positive."},
      {{.svmType = kNuClassification, .nu = 0.5, .shrinking = 2}, kShrinking},
      {{.shrinking = -1}, kShrinking},
      {{.svmType = kNuClassification, .nu = 0.4}, nullptr},
      {{.svmType = kNuClassification, .nu = 0.41},
       "You have specified a value for the Nu parameter which is infeasible. Please carefully "
       "check your settings and try again."},
  };
  for (const Row& row : rows) {
    EXPECT_STREQ(SvmCheckParameters(unequal.problem(), row.parameters), row.message)
        << "row " << &row - rows;
  }
}

// --- Classes and prediction ---------------------------------------------------------------------

TEST(SvmPrediction, AThreeWayTieGoesToTheFirstLabelSeen) {
  // Around a circle each class is beaten by the next: pairs of two points that face each other.
  PlainProblem problem;
  problem.Add({1, 0}, 3);
  problem.Add({0, 1}, 1);
  problem.Add({0, 0}, 2);
  SVMParameters p;
  p.kernelType = kLinearKernel;
  QuietState state;
  const auto model = SvmTrain(problem.problem(), p, state);
  ASSERT_EQ(std::vector<int>(model->labels.begin(), model->labels.end()),
            (std::vector<int>{3, 1, 2}));
  // Constants that make a vote circle at the origin: 3 beats 1, 2 beats 3, 1 beats 2.
  model->coefficients.Fill(0);
  model->constants[0] = -1;
  model->constants[1] = 1;
  model->constants[2] = -1;
  double shares[3];
  EXPECT_EQ(SvmPredict(*model, problem.list(2), shares), 3);
  for (const double share : shares) EXPECT_EQ(share, 1.0 / 3);
}

TEST(SvmPrediction, EqualsTheDefiningSumsForEveryKernelAndSparseInputs) {
  Draws draws(44);
  PlainProblem problem(true);
  for (int t = 0; t < 45; ++t) {
    std::vector<double> x(7, 0.0);
    for (double& value : x) value = draws.Unit() < 0.4 ? draws.Bell() : 0;
    x[std::size_t(t % 3)] += 1;
    problem.Add(x, 10 + t % 3);
  }
  PlainProblem queries(true);
  for (int t = 0; t < 20; ++t) {
    std::vector<double> x(9, 0.0);  // two inputs that no training case has
    for (double& value : x) value = draws.Unit() < 0.5 ? draws.Bell() : 0;
    queries.Add(x, 0);
  }
  for (int kernel = 0; kernel <= 3; ++kernel) {
    for (const SVMType type :
         {kCClassification, kNuClassification, kEpsilonRegression, kOneClass}) {
      SCOPED_TRACE("kernel " + std::to_string(kernel) + ", type " + std::to_string(type));
      SVMParameters p = Radial(type, 0.2);
      p.kernelType = kernel;
      p.coef0 = 3;
      p.degree = 2.5;
      p.nu = 0.3;
      if (kernel == kSigmoidKernel) p.coef0 = -0.1;
      QuietState state;
      state.maxIterations = 2000;
      const auto model = SvmTrain(problem.problem(), p, state);
      for (std::int32_t q = 0; q < queries.size(); ++q) {
        std::vector<double> values;
        for (std::int32_t s = 0; s < model->supportVectorCount; ++s) {
          std::int32_t at = 0;
          while (problem.list(at) != model->supportVectors[std::size_t(s)]) ++at;
          values.push_back(PlainKernel(p, queries.inputs(q), problem.inputs(at)));
        }
        double shares[3] = {-1, -1, -1};
        const double predicted = SvmPredict(*model, queries.list(q), shares);
        if (type == kEpsilonRegression || type == kOneClass) {
          double sum = -model->constants[0];
          for (std::size_t s = 0; s < values.size(); ++s) {
            sum += model->coefficients[s] * values[s];
          }
          if (type == kEpsilonRegression) {
            EXPECT_NEAR(predicted, sum, 1e-9 * (1 + std::fabs(sum)));
          } else if (std::fabs(sum) > 1e-9) {
            EXPECT_EQ(predicted, sum > 0 ? 1 : -1);
          }
          continue;
        }
        int votes[3] = {};
        double closest = 1;
        const int begins[] = {0, model->supportVectorsPerClass[0],
                              model->supportVectorsPerClass[0] + model->supportVectorsPerClass[1],
                              model->supportVectorCount};
        for (int i = 0, pair = 0; i < 3; ++i) {
          for (int j = i + 1; j < 3; ++j, ++pair) {
            double sum = -model->constants[std::size_t(pair)];
            for (int s = begins[i]; s < begins[i + 1]; ++s) {
              sum += model->Coefficient(j - 1, s) * values[std::size_t(s)];
            }
            for (int s = begins[j]; s < begins[j + 1]; ++s) {
              sum += model->Coefficient(i, s) * values[std::size_t(s)];
            }
            closest = std::min(closest, std::fabs(sum));
            ++votes[sum > 0 ? i : j];
          }
        }
        if (closest < 1e-9) continue;
        const auto winner = std::max_element(votes, votes + 3) - votes;
        EXPECT_EQ(predicted, model->labels[std::size_t(winner)]);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(shares[k], votes[k] / 3.0);
      }
    }
  }
}

TEST(SvmPrediction, ManyCasesAtOnceGetTheBitsOfEachAlone) {
  Draws draws(46);
  const auto draw = [&](int cases, int inputs, double density) {
    PlainProblem problem(true);
    for (int t = 0; t < cases; ++t) {
      std::vector<double> x(std::size_t(inputs), 0.0);
      for (double& value : x) value = draws.Unit() < density ? draws.Bell() + t % 4 : 0;
      problem.Add(x, t % 4);
    }
    return problem;
  };
  const PlainProblem problem = draw(250, 5, 0.7);
  // More than two threads take at once; some have inputs that no support vector has.
  const PlainProblem queries = draw(2100, 6, 0.5);
  std::vector<SVMNodeList> lists;
  for (std::int32_t q = 0; q < queries.size(); ++q) lists.push_back({queries.list(q)});
  for (const SVMType type : {kCClassification, kEpsilonRegression}) {
    for (const SVMKernelType kernel : {kRadialKernel, kPolynomialKernel}) {
      SCOPED_TRACE("kernel " + std::to_string(kernel) + ", type " + std::to_string(type));
      SVMParameters p = Radial(type, 0.1);
      p.kernelType = kernel;
      p.C = 0.1;
      QuietState state;
      state.maxIterations = 500;
      const auto model = SvmTrain(problem.problem(), p, state);
      ASSERT_GT(model->supportVectorCount, 64);
      const std::size_t classes = type == kCClassification ? 4 : 0;
      std::vector<double> expected, expectedShares;
      for (const SVMNodeList list : lists) {
        double shares[4];
        expected.push_back(SvmPredict(*model, list, shares));
        expectedShares.insert(expectedShares.end(), shares, shares + classes);
      }
      for (int threads = 1; threads <= 2; ++threads) {
        for (int level = 2; level <= 4; ++level) {
          CasePredictor predictor(*model, threads, level);
          std::vector<double> predicted(lists.size()), shares(expectedShares.size());
          SolverPace pace(state);
          predictor.Predict(lists, predicted, shares, pace);
          EXPECT_EQ(predicted == expected, true) << threads << " threads, level " << level;
          EXPECT_EQ(shares == expectedShares, true) << threads << " threads, level " << level;
        }
      }
      // The work between two polls counts, and a cancel is heard in the midst of the cases.
      constexpr int kBetween = 1 << 20;
      int polls = 0;
      int last = 1 << 30;
      state.workBetweenPolls = kBetween;
      state.poll = [&] { return ++polls == last; };
      SolverPace pace(state);
      std::vector<double> predicted(lists.size());
      CasePredictor(*model, 1).Predict(lists, predicted, {}, pace);
      EXPECT_GE(polls, double(lists.size()) * model->supportVectorCount * 10 / kBetween);
      last = polls + 1;
      EXPECT_THROW(CasePredictor(*model, 2).Predict(lists, predicted, {}, pace), Cancelled);
    }
  }
}

TEST(SvmPrediction, ThirtyClassesAreToldApartAndOneClassNeedsNoTraining) {
  PlainProblem problem;
  for (int t = 0; t < 120; ++t) {
    const int k = t * 7 % 30;
    problem.Add({k % 6 + 0.01 * (t % 4), k / 6 - 0.01 * (t % 4)}, 100 - k);
  }
  QuietState state;
  const auto model = SvmTrain(problem.problem(), Radial(kCClassification, 2), state);
  EXPECT_EQ(model->classCount, 30);
  EXPECT_EQ(model->constants.size(), 435u);
  std::vector<double> shares(30);
  for (std::int32_t t = 0; t < problem.size(); ++t) {
    EXPECT_EQ(SvmPredict(*model, problem.list(t), shares), problem.target(t));
    double sum = 0;
    for (const double share : shares) sum += share;
    EXPECT_NEAR(sum, 1, 1e-12);
  }

  PlainProblem one;
  one.Add({1}, 4.9);
  one.Add({2}, 4);
  const auto single = SvmTrain(one.problem(), Radial(kCClassification), state);
  EXPECT_EQ(single->classCount, 1);
  EXPECT_EQ(single->supportVectorCount, 0);
  EXPECT_EQ(SvmPredict(*single, one.list(0), shares), 4) << "labels are truncated targets";
}

TEST(SvmPrediction, InputVectorsWithoutNodesAreOrigins) {
  PlainProblem problem(true);
  problem.Add({0}, 1);
  problem.Add({0}, 3);
  SVMParameters p = Radial(kEpsilonRegression);
  QuietState state;
  auto model = SvmTrain(problem.problem(), p, state);
  double none[1];
  EXPECT_NEAR(SvmPredict(*model, problem.list(0), none), 2, 1);
  SvmFreeModel(model);
  EXPECT_EQ(model, nullptr);
}

}  // namespace
}  // namespace qrvml::test
