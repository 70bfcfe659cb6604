// Training solves a convex problem: its optimality conditions are checked from the model alone, its
// objective against a slow solver, its answers on tiny problems against a hand's calculation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "svm/plain_svm.h"

namespace qrvml::test {
namespace {

constexpr double kAccuracy = 1e-6;

struct Kernel {
  const char* name;
  SVMKernelType type;
  double gamma, coef0, degree;
  bool convex;
};
constexpr Kernel kKernels[] = {
    {"linear", kLinearKernel, 0, 0, 0, true},
    {"square polynomial", kPolynomialKernel, 0.5, 1, 2, true},
    {"radial", kRadialKernel, 0.4, 0, 0, true},
    {"sigmoid", kSigmoidKernel, 0.4, -0.2, 0, false},
};
constexpr const char* kTypeNames[] = {"C classification", "nu classification", "one-class",
                                      "epsilon regression", "nu regression"};

SVMParameters Settings(SVMType type, const Kernel& kernel) {
  SVMParameters p;
  p.svmType = type;
  p.kernelType = kernel.type;
  p.gamma = kernel.gamma;
  p.coef0 = kernel.coef0;
  p.degree = kernel.degree;
  p.C = 1.5;
  p.nu = 0.4;
  p.epsilon = 0.15;
  p.stoppingAccuracy = kAccuracy;
  return p;
}

PlainProblem ProblemFor(SVMType type, std::uint64_t seed) {
  return RandomProblem(seed, 30, 3, type <= kNuClassification ? 2 : 0);
}

/// How far a model is from the conditions of Karush, Kuhn and Tucker. Of nu classification, whose
/// solution is divided by r, slackness is multiplied by r.
struct Residuals {
  double bounds = 0;     // beyond 0 or the bound, or of the wrong sign, relative to the bound
  double sums = 0;       // of the equality constraints, relative to the sum of all sizes
  double slackness = 0;  // of any case's own condition
};

/// A condition of a case: at a coefficient of 0 `slack` >= 0, at the bound <= 0, between 0.
double SlacknessOf(double coefficient, double bound, double slack) {
  if (coefficient == 0) return std::max(0.0, -slack);
  return std::fabs(coefficient) < bound * (1 - 1e-12) ? std::fabs(slack) : std::max(0.0, slack);
}

Residuals ResidualsOf(const SVMModel& model, const PlainProblem& problem,
                      const std::string& printed) {
  const SVMParameters& p = model.parameters;
  const PlainDecision decision = DecisionOf(model, problem);
  const double l = problem.size();
  double sum = 0;
  double sizes = 0;
  for (const double coefficient : decision.coefficients) {
    sum += coefficient;
    sizes += std::fabs(coefficient);
  }
  const bool scaled = p.svmType == kNuClassification;
  const double r = scaled ? p.nu * l / sizes : 1;
  const double bound = scaled ? 1 / r : p.svmType == kOneClass ? 1 : p.C;
  double width = p.epsilon;
  if (p.svmType == kNuRegression)
    width = std::stod(printed.substr(printed.find("epsilon = ") + 10));
  Residuals most;
  most.sums = std::fabs(sum - (p.svmType == kOneClass ? p.nu * l : 0)) / sizes;
  if (p.svmType == kNuRegression) {
    most.sums = std::max(most.sums, std::fabs(sizes / (p.C * p.nu * l) - 1));
  }
  for (std::int32_t t = 0; t < problem.size(); ++t) {
    const double coefficient = decision.coefficients[std::size_t(t)];
    const double value = decision.values[std::size_t(t)];
    const bool regression = p.svmType >= kEpsilonRegression;
    const bool isFirst = p.svmType == kOneClass || problem.target(t) == problem.target(0);
    const double y = regression ? 0 : isFirst ? 1 : -1;
    most.bounds =
        std::max({most.bounds, std::fabs(coefficient) / bound - 1, -y * coefficient / bound});
    double slackness = 0;
    if (regression) {
      const double residual = problem.target(t) - value;
      if (coefficient >= 0) slackness = SlacknessOf(coefficient, bound, width - residual);
      if (coefficient <= 0) {
        slackness = std::max(slackness, SlacknessOf(coefficient, bound, width + residual));
      }
    } else {
      slackness = SlacknessOf(coefficient, bound, y * value - (p.svmType == kOneClass ? 0 : 1));
    }
    most.slackness = std::max(most.slackness, slackness * r);
  }
  return most;
}

// It prints what it finds, as a table of Markdown.
TEST(SvmTraining, EveryTypeAndKernelMeetsTheOptimalityConditionsAndTheObjectiveOfTheSlowSolver) {
  std::printf("| type, kernel, shrinking | slackness | sums | bounds | objective |\n");
  for (int type = 0; type <= 4; ++type) {
    for (const Kernel& kernel : kKernels) {
      const PlainProblem problem = ProblemFor(SVMType(type), 11 + type);
      SVMParameters p = Settings(SVMType(type), kernel);
      ASSERT_EQ(SvmCheckParameters(problem.problem(), p), nullptr);
      const double expected = kernel.convex ? double(PlainOptimum(problem, p).Solve()) : 0;
      for (p.shrinking = 0; p.shrinking <= 1; ++p.shrinking) {
        const std::string name =
            std::string(kTypeNames[type]) + ", " + kernel.name + ", " + std::to_string(p.shrinking);
        SCOPED_TRACE(name);
        QuietState state;
        const auto model = SvmTrain(problem.problem(), p, state);
        const Residuals residuals = ResidualsOf(*model, problem, state.printed);
        // The pair of greatest violation is less than the accuracy apart; the width of the zone of
        // nu regression is printed with six decimals.
        EXPECT_LE(residuals.slackness, kAccuracy + (type == kNuRegression ? 1e-6 : 1e-9));
        EXPECT_LE(residuals.sums, 1e-12);
        EXPECT_LE(residuals.bounds, 1e-12);
        EXPECT_LT(state.iterationCount, state.maxIterations);
        std::printf("| %s | %.1e | %.1e | %.1e | ", name.c_str(), residuals.slackness,
                    residuals.sums, residuals.bounds);
        if (!kernel.convex) {
          std::printf("|\n");
          continue;
        }
        double objective = state.objective;
        if (type == kNuClassification) {
          double sizes = 0;
          for (const double coefficient : model->coefficients) sizes += std::fabs(coefficient);
          const double r = p.nu * problem.size() / sizes;
          objective *= r * r;
        }
        EXPECT_NEAR(objective, expected, 1e-6 * std::fabs(expected) + 1e-12);
        std::printf("%.1e |\n",
                    std::fabs(objective - expected) / std::max(1.0, std::fabs(expected)));
      }
    }
  }
}

TEST(SvmTraining, TheDualityGapIsWithinTheAccuracy) {
  const PlainProblem problem = RandomProblem(31, 60, 4, 2);
  SVMParameters p = Settings(kCClassification, kKernels[2]);
  QuietState state;
  const auto model = SvmTrain(problem.problem(), p, state);
  const PlainDecision decision = DecisionOf(*model, problem);
  // Primal: |w|^2 / 2 + C * sum of the losses, with |w|^2 = sum of coefficient * (value + rho).
  double primal = 0;
  for (std::int32_t t = 0; t < problem.size(); ++t) {
    const double y = problem.target(t) == problem.target(0) ? 1 : -1;
    const double value = decision.values[std::size_t(t)];
    primal += decision.coefficients[std::size_t(t)] * (value + model->constants[0]) / 2 +
              p.C * std::max(0.0, 1 - y * value);
  }
  const double dual = -state.objective;
  EXPECT_GE(primal, dual - 1e-9);
  EXPECT_LE(primal - dual, problem.size() * p.C * kAccuracy);
}

TEST(SvmTraining, NuBoundsTheSharesOfSupportVectorsAndErrors) {
  const PlainProblem problem = RandomProblem(32, 80, 3, 2);
  for (const SVMType type : {kNuClassification, kOneClass, kNuRegression}) {
    for (const double nu : {0.2, 0.5, 0.8}) {
      SVMParameters p = Settings(type, kKernels[2]);
      p.nu = nu;
      QuietState state;
      const auto model = SvmTrain(problem.problem(), p, state);
      EXPECT_GE(model->supportVectorCount, nu * problem.size() - 1e-9);
      EXPECT_LE(state.boundedSupportVectorCount, nu * problem.size() + 1e-9);
    }
  }
}

// --- Problems a hand can solve ------------------------------------------------------------------

struct Trained {
  QuietState state;
  std::unique_ptr<SVMModel> model;
  Trained(const PlainProblem& problem, const SVMParameters& p)
      : model(SvmTrain(problem.problem(), p, state)) {}
  double At(std::vector<double> x) const {
    PlainProblem one;
    one.Add(std::move(x), 0);
    double shares[8];
    return SvmPredict(*model, one.list(0), shares);
  }
};

SVMParameters Linear(SVMType type, double C) {
  SVMParameters p;
  p.svmType = type;
  p.kernelType = kLinearKernel;
  p.C = C;
  p.stoppingAccuracy = 1e-9;
  return p;
}

TEST(SvmTraining, TwoPointsAreSeparatedHalfway) {
  PlainProblem problem;
  problem.Add({1}, 7);
  problem.Add({-1}, 4);
  // Margins of 1 need the slope 1: both alphas 1/2, objective 1/2 - 1.
  const Trained free(problem, Linear(kCClassification, 10));
  EXPECT_DOUBLE_EQ(free.state.objective, -0.5);
  EXPECT_DOUBLE_EQ(free.model->coefficients[0], 0.5);
  EXPECT_DOUBLE_EQ(free.model->coefficients[1], -0.5);
  EXPECT_DOUBLE_EQ(free.model->constants[0], 0);
  EXPECT_EQ(free.state.boundedSupportVectorCount, 0);
  EXPECT_EQ(free.At({0.1}), 7);
  EXPECT_EQ(free.At({-0.1}), 4);
  EXPECT_EQ(free.At({0}), 4) << "a sum of exactly 0 is the second class's";
  // A penalty of 0.1 bounds both: slope 0.2, objective 0.2^2 / 2 - 0.2.
  const Trained bounded(problem, Linear(kCClassification, 0.1));
  EXPECT_DOUBLE_EQ(bounded.state.objective, -0.18);
  EXPECT_EQ(bounded.state.boundedSupportVectorCount, 2);
}

TEST(SvmTraining, OfCollinearPointsTheInnerOnesSupport) {
  PlainProblem problem;
  for (const double x : {-5.0, -3.0, -1.0, 2.0, 4.0, 9.0}) problem.Add({x}, x < 0 ? 1 : 2);
  // Between -1 and 2: slope 2/3 away from 1/2, alphas slope^2 / 2.
  const Trained trained(problem, Linear(kCClassification, 10));
  ASSERT_EQ(trained.model->supportVectorCount, 2);
  EXPECT_EQ(trained.model->supportVectors[0], problem.list(2));
  EXPECT_EQ(trained.model->supportVectors[1], problem.list(3));
  EXPECT_NEAR(trained.model->coefficients[0], 2.0 / 9, 1e-9);
  EXPECT_NEAR(trained.model->constants[0], -1.0 / 3, 1e-9);
  EXPECT_NEAR(trained.state.objective, -2.0 / 9, 1e-9);
}

TEST(SvmTraining, ALineThroughTwoPointsIsAsFlatAsTheZoneAllows) {
  PlainProblem problem;
  problem.Add({0}, 0);
  problem.Add({1}, 1);
  SVMParameters p = Linear(kEpsilonRegression, 10);
  p.epsilon = 0.1;
  const Trained trained(problem, p);
  EXPECT_NEAR(trained.At({0}), 0.1, 1e-9);
  EXPECT_NEAR(trained.At({1}), 0.9, 1e-9);
  EXPECT_NEAR(trained.state.objective, -0.32, 1e-9) << "0.8^2 / 2 - 0.8 * 0.8";
  p.epsilon = 0.5;
  const Trained flat(problem, p);
  EXPECT_EQ(flat.model->supportVectorCount, 0);
  EXPECT_DOUBLE_EQ(flat.At({3}), 0.5);
}

TEST(SvmTraining, OneClassEnclosesTheMiddleOfThreePoints) {
  // On the line with a linear kernel, cases 1, 2, 4 and nu = 1/2: alphas sum to 1.5, at most 1
  // each. The least |w| puts 1 on the first case and 1/2 on the second: w = 2, and the free second
  // case lies on the border: rho = 4.
  PlainProblem problem;
  for (const double x : {1.0, 2.0, 4.0}) problem.Add({x}, 0);
  SVMParameters p = Linear(kOneClass, 1);
  p.nu = 0.5;
  const Trained trained(problem, p);
  EXPECT_NEAR(trained.state.objective, 2, 1e-9);
  EXPECT_NEAR(trained.model->constants[0], 4, 1e-9);
  EXPECT_EQ(trained.model->supportVectorCount, 2);
  EXPECT_EQ(trained.state.boundedSupportVectorCount, 1);
  EXPECT_EQ(trained.At({1.9}), -1);
  EXPECT_EQ(trained.At({2.1}), 1);
}

TEST(SvmTraining, DuplicateCasesWeighLikeAPenalty) {
  const PlainProblem once = RandomProblem(33, 30, 2, 2);
  PlainProblem thrice;
  for (std::int32_t t = 0; t < once.size(); ++t) {
    for (int copy = once.target(t) == 2 ? 0 : 2; copy < 3; ++copy) {
      thrice.Add(once.inputs(t), once.target(t));
    }
  }
  SVMParameters p = Settings(kCClassification, kKernels[2]);
  const Trained copied(thrice, p);
  p.classWeightLabels = {2, 9};
  p.classWeights = {3, 5};
  const Trained weighted(once, p);
  EXPECT_NEAR(weighted.state.objective, copied.state.objective,
              1e-6 * std::fabs(copied.state.objective));
  EXPECT_NEAR(weighted.model->constants[0], copied.model->constants[0], 1e-4);
  EXPECT_EQ(weighted.state.warned, "warning: class label 9 specified in weight is not found\n");
}

TEST(SvmTraining, ConstantInputsGiveTheBestConstant) {
  PlainProblem problem;
  for (const double y : {1.0, 2.0, 7.0}) problem.Add({3, 3}, y);
  SVMParameters p;
  p.svmType = kEpsilonRegression;
  p.gamma = 1;
  const Trained trained(problem, p);
  EXPECT_NEAR(trained.At({3, 3}), 2, 0.1 + 1e-9) << "the median, within the zone";

  PlainProblem classes;
  for (const double y : {1.0, 2.0, 2.0}) classes.Add({3, 3}, y);
  p.svmType = kCClassification;
  EXPECT_EQ(Trained(classes, p).At({3, 3}), 2);
}

}  // namespace
}  // namespace qrvml::test
