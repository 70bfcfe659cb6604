// Data larger than memory: five gigabytes of rows from a host that delivers them case by case.
#include <sys/resource.h>

#include "bayes/naive_bayes_analysis.h"

namespace qrvml::test {
namespace {

// Under a sanitizer, whose own memory hides the program's, a little is enough.
#ifdef __SANITIZE_ADDRESS__
constexpr bool kIsMeasured = false;
#else
constexpr bool kIsMeasured = true;
#endif

/// The largest the process has been, in bytes.
double PeakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

TEST(NaiveBayesStreaming, LearnsFromFiveGigabytesInBoundedMemory) {
  constexpr int kInputs = 320, kRows = 1024, kCopies = kIsMeasured ? 2000 : 10;
  static_assert(!kIsMeasured || double(kInputs) * kRows * kCopies * sizeof(double) > 5e9);
  PlainCases cases{kInputs, 0, 1, {}, {}, 0, {}};
  for (int i = 0; i < kRows; ++i) {
    auto& row = cases.rows.emplace_back();
    for (int k = 0; k < kInputs; ++k) row.push_back((i * 31 + k * 17) % 101 + 2.0 * (i % 3));
    row.push_back(1 + i % 3);
  }
  const PlainBayes once(cases, {});
  NaiveBayesAnalysis bayes(cases, {}, false);
  bayes.file.copies = kCopies;
  bayes.data().CheckDataFile();
  bayes.host.workerThreads = 2;
  bayes.Train();
  EXPECT_LT(PeakMemory(), kIsMeasured ? 512e6 : 1e18);
  EXPECT_FALSE(bayes.data().storeValues);
  EXPECT_EQ(bayes.file.reads, 3 * kRows * kCopies) << "two passes and the classification";
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(bayes.learned().classCount(0, c), once.classCount[0][c] * kCopies);
    for (const int k : {0, 1, kInputs - 1}) {
      const double cases1 = once.classCount[0][c];
      // The squares are those of one copy, as often as there are copies.
      const double variance =
          once.variance[0][c][k] * (cases1 - 1) * kCopies / (cases1 * kCopies - 1);
      EXPECT_NEAR(bayes.learned().condMean(0, c, k), once.mean[0][c][k], 1e-9);
      EXPECT_NEAR(bayes.learned().condStd(0, c, k), variance, 1e-9 * variance);
    }
  }
  // Variances have hardly changed, so that classes are those of one copy but for close ones.
  const auto expected = once.Confusion(0, 0);
  for (int p = 0; p < 3; ++p)
    for (int o = 0; o < 3; ++o)
      EXPECT_NEAR(bayes.engine().trainingConfusion[0].At(p, o), expected[p][o] * kCopies,
                  kRows * kCopies * 0.01);
}

}  // namespace
}  // namespace qrvml::test
