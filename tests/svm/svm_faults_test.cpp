// Memory that is refused and a cancel at every place where they can happen, and numbers that are
// none: the right exception, nothing lost, and the next training as if nothing had happened.
#include <gtest/gtest.h>

#include "host/string_table.h"
#include "support/scripted_host.h"
#include "svm/plain_svm.h"

namespace qrvml::test {
namespace {

struct Training {
  const char* name;
  SVMType type;
  int classes;
  int cases;
};
constexpr Training kTrainings[] = {
    {"three classes", kCClassification, 3, 45},
    {"nu classification", kNuClassification, 2, 40},
    {"regression", kEpsilonRegression, 0, 40},
    {"nu regression", kNuRegression, 0, 40},
    {"one-class", kOneClass, 0, 40},
};

SVMParameters SettingsOf(const Training& training) {
  SVMParameters p;
  p.svmType = training.type;
  p.gamma = 0.5;
  p.C = 2;
  p.cacheSize = 0.02;
  return p;
}

TEST(SvmFaults, MemoryRefusedAnywhereThrowsAndTheNextTrainingIsWhole) {
  for (const Training& training : kTrainings) {
    SCOPED_TRACE(training.name);
    const PlainProblem problem = RandomProblem(51, training.cases, 3, training.classes);
    const SVMParameters p = SettingsOf(training);
    QuietState whole;
    const auto expected = SvmTrain(problem.problem(), p, whole);

    AnalysisSession session(TableFile("x", {"1"}));
    int refusals = 0;
    for (bool done = false; !done;) {
      QuietState state;
      session.host.refuseAllocation = session.host.allocations + refusals + 1;
      try {
        const auto model = SvmTrain(problem.problem(), p, state);
        double shares[3];
        SvmPredict(*model, problem.list(0), shares);
        EXPECT_TRUE(std::equal(model->coefficients.begin(), model->coefficients.end(),
                               expected->coefficients.begin(), expected->coefficients.end()));
        EXPECT_EQ(state.printed, whole.printed);
        done = true;
      } catch (const MemoryRefused&) {
        ++refusals;
      }
    }
    EXPECT_GT(refusals, 20);
    session.host.refuseAllocation = 0;
  }
}

TEST(SvmFaults, ACancelAnywhereThrowsAndTheNextTrainingIsWhole) {
  for (const Training& training : kTrainings) {
    SCOPED_TRACE(training.name);
    const PlainProblem problem = RandomProblem(52, training.cases, 3, training.classes);
    const SVMParameters p = SettingsOf(training);
    QuietState whole;
    SvmTrain(problem.problem(), p, whole);
    int cancels = 0;
    for (bool done = false; !done;) {
      QuietState state;
      state.threads = 1 + cancels % 2;
      state.workBetweenPolls = 200;
      int polls = 0;
      state.poll = [&] { return ++polls > cancels; };
      try {
        SvmTrain(problem.problem(), p, state);
        EXPECT_EQ(state.printed, whole.printed);
        done = true;
      } catch (const Cancelled&) {
        EXPECT_EQ(polls, cancels + 1) << "nobody is asked again after a cancel";
        ++cancels;
      }
    }
    EXPECT_GT(cancels, 20);
  }
}

TEST(SvmFaults, LongPassesAndRebuildsHearACancelWithinTheirWork) {
  const PlainProblem problem = RandomProblem(53, 3000, 8, 2);
  SVMParameters p;
  p.gamma = 0.2;
  for (const int threads : {1, 2}) {
    p.cacheSize = threads == 1 ? 1 : 100;  // hardly a column; all that are computed
    std::int64_t longest = 0;
    std::int64_t before = 0;
    QuietState state;
    state.maxIterations = 3000;
    state.threads = threads;
    state.workBetweenPolls = 1 << 16;
    state.poll = [&] {
      longest = std::max(longest, state.counts.elementsComputed - before);
      before = state.counts.elementsComputed;
      return false;
    };
    SvmTrain(problem.problem(), p, state);
    EXPECT_GT(before, 0);
    // A kernel value is worth 8 + 16 multiplications here; a request is counted as a whole.
    EXPECT_LT(longest * 24, 2 * (1 << 16) * threads + 4 * 3000 * 24);
  }
}

TEST(SvmFaults, ValuesThatAreNotFiniteEndTraining) {
  struct Row {
    const char* name;
    SVMType type;
    SVMKernelType kernel;
    double gamma, coef0, degree, size;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Row rows[] = {
      {"high degree", kCClassification, kPolynomialKernel, 1e10, 1, 40, 1},
      {"real power of negative numbers", kEpsilonRegression, kPolynomialKernel, 1, 0, 1.5, 1},
      {"huge inputs", kCClassification, kRadialKernel, 1, 0, 0, 1e200},
      {"huge inputs, linear", kEpsilonRegression, kLinearKernel, 1, 0, 0, 1e200},
      {"huge gamma", kCClassification, kRadialKernel, infinity, 0, 0, 1},
      {"no number", kNuRegression, kRadialKernel, nan, 0, 0, 1},
      {"negative gamma", kOneClass, kRadialKernel, -1e6, 0, 0, 1},
  };
  for (const Row& row : rows) {
    for (const int shrinking : {0, 1}) {
      SCOPED_TRACE(row.name);
      const PlainProblem small = RandomProblem(54, 30, 2, row.type == kCClassification ? 2 : 0);
      PlainProblem problem;
      for (std::int32_t t = 0; t < small.size(); ++t) {
        problem.Add({small.inputs(t)[0] * row.size, small.inputs(t)[1] * row.size},
                    small.target(t));
      }
      SVMParameters p;
      p.svmType = row.type;
      p.kernelType = row.kernel;
      p.gamma = row.gamma;
      p.coef0 = row.coef0;
      p.degree = row.degree;
      p.shrinking = shrinking;
      QuietState state;
      EXPECT_THROW(SvmTrain(problem.problem(), p, state), NumericFault);
    }
  }
}

TEST(SvmFaults, ASolutionWithoutAConstantIsAFault) {
  // With nu = 1 every case is at its bound, and nothing says how far out the border may lie.
  for (const SVMType type : {kOneClass, kNuClassification}) {
    const PlainProblem problem = RandomProblem(55, 10, 2, type == kOneClass ? 0 : 2);
    SVMParameters p;
    p.svmType = type;
    p.gamma = 1;
    p.nu = 1;
    ASSERT_EQ(SvmCheckParameters(problem.problem(), p), nullptr);
    QuietState state;
    EXPECT_THROW(SvmTrain(problem.problem(), p, state), NumericFault);
  }
}

}  // namespace
}  // namespace qrvml::test
