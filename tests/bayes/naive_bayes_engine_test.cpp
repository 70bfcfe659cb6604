// Estimation and classification against the plain formulas: every missing-data rule, weights,
// distributions, stored and streamed cases, any number of threads.
#include "bayes/naive_bayes_analysis.h"
#include "bayes/random_cases.h"

namespace qrvml::test {
namespace {

TEST(NaiveBayes, LearnsAndClassifiesAsTheFormulasSayHoweverTheCasesAreReached) {
  int seed = 0;
  for (const BayesShape& shape : BayesShapes()) {
    for (const int rule : {0, 1, 2}) {
      for (const bool weighted : {false, true}) {
        for (const int training : {0, 70}) {
          const PlainCases cases = RandomCases(shape, 100, training, weighted, true, ++seed);
          PlainBayesSettings settings{rule, shape.distributions};
          // A substituted mean is no count, but the distribution stays.
          const PlainBayes plain(cases, settings);
          for (const bool stored : {true, false}) {
            SCOPED_TRACE(std::string(shape.name) + ", rule " + std::to_string(rule) +
                         (weighted ? ", weighted" : "") + (stored ? ", stored" : ", streamed") +
                         ", training " + std::to_string(training));
            NaiveBayesAnalysis bayes(cases, settings, stored);
            bayes.host.workerThreads = 1 + seed % 3;
            bayes.Train();
            EXPECT_EQ(bayes.data().storeValues, stored);
            bayes.ExpectLearned(plain, cases);
            std::size_t next = 0;
            bayes.engine().PredictCases(
                training > 0 ? Subset::both : Subset::training, [&](const LoadedCase& loaded) {
                  ASSERT_LT(next, plain.sample.size());
                  const PlainBayes::Used& expected = plain.sample[next++];
                  EXPECT_EQ(loaded.caseNumber, expected.row + 1);
                  EXPECT_TRUE(std::ranges::equal(loaded.inputs,
                                                 std::span(expected.values).first(cases.Inputs())));
                  bayes.ExpectFound(plain.Classify(
                      expected.values,
                      {expected.values.begin() + cases.Inputs(), expected.values.end()}));
                });
            EXPECT_EQ(next, plain.sample.size());
            for (int d = 0; d < cases.dependents; ++d) {
              bayes.ExpectCounted(plain.Confusion(d, 0), bayes.engine().trainingConfusion[d]);
              if (training == 0) continue;
              bayes.ExpectCounted(plain.Confusion(d, 1), bayes.engine().testConfusion[d]);
              bayes.ExpectCounted(plain.Confusion(d, 2), bayes.engine().overallConfusion[d]);
            }
            EXPECT_EQ(bayes.engine().testConfusion.empty(), training == 0);
            if (HasFailure()) return;
          }
        }
      }
    }
  }
}

TEST(NaiveBayes, GivesTheSameBitsForAnyNumberOfThreadsStoredOrStreamed) {
  const PlainCases cases = RandomCases(BayesShapes()[3], 300, 200, true, true, 99);
  std::vector<double> first;
  for (const int threads : {1, 2, 5}) {
    for (const bool stored : {true, false}) {
      NaiveBayesAnalysis bayes(cases, {2, BayesShapes()[3].distributions}, stored);
      bayes.host.workerThreads = threads;
      bayes.Train();
      std::vector<double> all, alone;
      std::vector<std::vector<double>> inputs;
      const auto keep = [&](std::vector<double>& kept) {
        for (const auto& own : bayes.engine().posterior)
          kept.insert(kept.end(), own.begin(), own.end());
      };
      bayes.engine().PredictCases(Subset::both, [&](const LoadedCase& loaded) {
        inputs.emplace_back(loaded.inputs.begin(), loaded.inputs.end());
        keep(all);
      });
      for (const auto& own : inputs) {
        bayes.engine().ComputePosterior(own);
        keep(alone);
      }
      EXPECT_EQ(alone, all) << "a case alone is classified as among others";
      if (first.empty()) first = all;
      EXPECT_EQ(all, first) << threads << (stored ? " stored" : " streamed");
    }
  }
  EXPECT_GT(first.size(), 300u);
}

TEST(NaiveBayesCase, IsLoadedWithItsSamplesMeanAndItsLabelStoredOrRead) {
  for (const bool stored : {true, false}) {
    NaiveBayesAnalysis bayes(TableFile("x u=p,q c=A,B *name", {"1 p A Ann", "2 q B .", ". p A Bob",
                                                               "6 q B Cy", ". p A Dee", "8 q B ."}),
                             "c | x | u", 4, stored);
    bayes.Put("MeanSubstitutionOfMD", 1);
    bayes.Train();
    const struct {
      Sample sample;
      int index;
      std::vector<double> inputs;
      double observed;
      const char* label;
    } rows[] = {{Sample::training, 1, {2, 2}, 2, "2"},
                {Sample::training, 2, {9.0 / 4, 1}, 1, "Bob"},
                {Sample::test, 0, {8.0 / 2, 1}, 1, "Dee"},
                {Sample::test, 1, {8, 2}, 2, "6"}};
    for (const auto& row : rows) {
      ASSERT_TRUE(bayes.engine().LoadNaiveBayesCase(row.sample, row.index, true));
      EXPECT_TRUE(std::ranges::equal(bayes.engine().caseInputs, row.inputs)) << row.label;
      EXPECT_EQ(bayes.engine().caseDependents[0], row.observed);
      EXPECT_EQ(bayes.engine().caseLabel, row.label);
    }
  }
}

/// Published: NIST, Statistical Reference Datasets, NumAcc4: 1001 values around 10000000.2 have
/// mean 10000000.2 and standard deviation 0.1 exactly.
TEST(ClassMoments, KeepTheirDigitsWhereTheSpreadIsSmallBesideTheValues) {
  TableFile file("x c=A,B");
  const auto add = [&](double x, double code) { file.cases.emplace_back().values = {x, code}; };
  add(10000000.2, 1);
  for (int i = 0; i < 1000; ++i) add(i % 2 == 0 ? 10000000.1 : 10000000.3, 1);
  add(1, 2);
  add(2, 2);
  NaiveBayesAnalysis bayes(std::move(file), "c | x |", 0);
  bayes.Train();
  EXPECT_NEAR(bayes.learned().condMean(0, 0, 0), 10000000.2, 1e-8);
  EXPECT_NEAR(std::sqrt(bayes.learned().condStd(0, 0, 0)), 0.1, 1e-9);
}

/// All values are multiples of 2^-29, so that sums of their differences are sums of integers.
TEST(ClassMoments, OfWeightedValuesAroundTenMillionsAreThoseOfExactArithmetic) {
  constexpr double kCentre = 10000000.2;
  const double differences[] = {-0.1, 0, 0.1, 0.05, -0.075, 0.0625, 0.1, -0.1, 0.025};
  const double weights[] = {3, 1, 2.5, 4, 1, 0.4, 2, 5, 3};  // rounded: 2.5 to 3, 0.4 to none
  TableFile file("x c=A,B");
  std::int64_t cases = 0, sum = 0, squares = 0;
  for (std::size_t i = 0; i < std::size(weights); ++i) {
    const double x = kCentre + differences[i];
    auto& added = file.cases.emplace_back();
    added.values = {x, 1};
    added.weight = weights[i];
    const std::int64_t weight = std::lround(weights[i]);
    const auto unit = static_cast<std::int64_t>((x - kCentre) * 0x1p29);
    cases += weight;
    sum += weight * unit;
    squares += weight * unit * unit;
  }
  for (const double x : {1.0, 2.0}) file.cases.emplace_back().values = {x, 2};
  file.weighted = true;
  NaiveBayesAnalysis bayes(std::move(file), "c | x |", 0);
  bayes.Train();
  const auto variance = static_cast<double>(cases * squares - sum * sum) /
                        static_cast<double>(cases * (cases - 1)) * 0x1p-58;
  EXPECT_EQ(bayes.learned().classCount(0, 0), cases);
  EXPECT_NEAR(bayes.learned().condMean(0, 0, 0),
              kCentre + static_cast<double>(sum) / static_cast<double>(cases) * 0x1p-29, 4e-9);
  EXPECT_NEAR(bayes.learned().condStd(0, 0, 0), variance, 1e-7 * variance);
}

TEST(ClassMoments, CountAWeightAsThatManyCases) {
  NaiveBayesAnalysis bayes(TableFile("x c=A,B *weight", {"2 A 1", "5 B 1.4", "4 A 2.5", "9 A 1.5",
                                                         "7 B 0.6", "100 A 0.4"}),
                           "c | x |", 0);
  bayes.Train();
  // 2, 4 three times, 9 twice: mean 32/6, squares 2^2 + 3 4^2 + 2 9^2 - 32^2/6 = 130/3 over 5.
  EXPECT_DOUBLE_EQ(bayes.learned().condMean(0, 0, 0), 32.0 / 6);
  EXPECT_DOUBLE_EQ(bayes.learned().condStd(0, 0, 0), 130.0 / 3 / 5);
  EXPECT_EQ(bayes.learned().classCount(0, 0), 6);
  EXPECT_DOUBLE_EQ(bayes.learned().condStd(0, 1, 0), 2);
  EXPECT_EQ(
      bayes.engine().trainingConfusion[0].At(0, 0) + bayes.engine().trainingConfusion[0].At(1, 0),
      6);
}

/// 3 x / 3 is not x for these: a mean that is off by that makes variances of +0.04 and -0.04.
TEST(ClassMoments, OfEqualValuesAreTheValueAndNoVarianceWhateverTheWeights) {
  for (const char* besideTheFirst : {"1", "."}) {  // whole rows and rows with gaps
    const std::string first = std::string(" ") + besideTheFirst + " A 3";
    NaiveBayesAnalysis bayes(
        TableFile("x y z c=A,B *weight", {"15000000.2 15000000.3" + first, "1 2 3 B 1",
                                          "15000000.2 15000000.3 1 A 2", "3 4 5 B 1"}),
        "c | x y z |", 0);
    bayes.Put("UseMissingCasesIfPossible", 1);
    bayes.Train();
    for (const auto& [k, value] : {std::pair(0, 15000000.2), {1, 15000000.3}, {2, 1.0}}) {
      EXPECT_EQ(bayes.learned().condMean(0, 0, k), value) << besideTheFirst;
      EXPECT_EQ(bayes.learned().condStd(0, 0, k), 0) << besideTheFirst;
    }
  }
}

TEST(Terms, AreThoseOfTheWorkedExample) {
  EXPECT_NEAR(NaiveBayesEngine::LogDensity(0, 4, 2, Distribution::normal), -1.6526, 5e-5);
  NaiveBayesAnalysis bayes(TableFile("u c=A,B", {"1 A", "1 A", "2 B", "1 B", "2 B", "3 B"}),
                           "c | | u", 0);
  bayes.Train();
  double term = 0;
  EXPECT_TRUE(bayes.engine().LogDiscreteFrequency(0, 0, 0, 1, term));
  EXPECT_DOUBLE_EQ(term, std::log(2.0 / 6)) << "over the cases of all classes";
  EXPECT_TRUE(bayes.engine().LogDiscreteFrequency(0, 0, 0, 2.9, term));
  EXPECT_NEAR(term, -9.2103, 5e-5);
  EXPECT_FALSE(bayes.engine().LogDiscreteFrequency(0, 0, 0, 4, term));
  // Of u = 2, A: threshold 2/6, B: 2/6 4/6.
  const double inputs[] = {2};
  bayes.engine().ComputePosterior(inputs);
  EXPECT_NEAR(bayes.engine().posterior[0][0], 0.0002 / (0.0002 + 8.0 / 6), 1e-17);
  EXPECT_EQ(bayes.engine().misclassified[0], kGap) << "nothing observed";
}

TEST(EqualPosteriors, PredictTheFirstClassByText) {
  NaiveBayesAnalysis bayes(TableFile("u c=B,A", {"1 A", "2 A", "2 B", "1 B"}), "c | | u", 0);
  bayes.Train();
  const double u = 1;
  bayes.engine().ComputePosterior(std::span(&u, 1));
  EXPECT_EQ(bayes.engine().posterior[0][0], 0.5);
  EXPECT_EQ(bayes.engine().predictedCode[0], 2) << "A";
}

TEST(Threshold, OfOneOverwritesZeroCountsUntilTheDataAreReadAgain) {
  NaiveBayesAnalysis bayes(TableFile("u c=A,B", {"1 A", "1 A", "2 B", "1 B", "2 B", "3 B"}),
                           "c | | u", 0);
  const auto countOf = [&](double threshold) {
    bayes.Put("Threshold", threshold);
    bayes.Train();
    return bayes.learned().pairCount(0, 0, 0, 1);
  };
  EXPECT_EQ(countOf(0.9999), 0);
  EXPECT_EQ(countOf(1), 1);
  EXPECT_EQ(countOf(0), 1);
  bayes.Put("CasewiseDeletionOfMD", 1);
  EXPECT_EQ(countOf(0), 0);
}

TEST(AClassWithoutVariance, WinsWhereTheValueFitsAndLosesElsewhere) {
  for (const int distribution : {0, 1, 2, 3}) {
    SCOPED_TRACE(distribution);
    const PlainCases cases{1, 0, 1, {{3, 1}, {3, 1}, {1, 2}, {5, 2}, {4, 2}, {3, 1}}, {}, 0, {}};
    const PlainBayesSettings settings{0, {distribution}};
    const PlainBayes plain(cases, settings);
    NaiveBayesAnalysis bayes(cases, settings);
    bayes.Train();
    for (const double x : {3.0, 1.0, 3.9}) {
      bayes.engine().ComputePosterior(std::span(&x, 1));
      // A lognormal shape near 0 has few digits in a double.
      bayes.ExpectFound(plain.Classify({x}, {}), distribution == 1 ? 1e-6 : 1e-11);
      if (distribution != 3) {
        EXPECT_EQ(bayes.engine().predictedCode[0], x == 3 ? 1 : 2);
      }
    }
  }
}

TEST(ConfusionCounts, AreThoseOfThePosteriorsHoweverCloseTheClassesAre) {
  // Two classes like mirror images: rounding decides for the cases in the middle.
  for (const double scale : {1.0, 1e3, 1e-9}) {
    constexpr int kInputs = 12;
    PlainCases cases{kInputs, 1, 1, {}, {}, 0, {}};
    ScriptedHost random;
    for (int pair = 0; pair < 200; ++pair) {
      std::vector<double> one, other;
      const double drawn = scale * random.rnd_(3);
      for (int k = 0; k < kInputs; ++k) {
        const double middle = scale * (k + 0.1);
        const bool isBetween = pair % 4 != 0;  // as far from the one mean as from the other
        one.push_back(middle + (isBetween && k % 2 == 0 ? -drawn : drawn));
        other.push_back(isBetween ? one.back() : middle - drawn);
      }
      for (const double c : {1.0, 2.0}) {
        cases.rows.push_back(c == 1 ? one : other);
        cases.rows.back().insert(cases.rows.back().end(), {1.0 + pair % 2, c});
      }
    }
    NaiveBayesAnalysis bayes(cases, {});
    bayes.Train();
    int counts[2][2] = {};
    bayes.engine().PredictCases(Subset::training, [&](const LoadedCase& loaded) {
      ++counts[int(bayes.engine().predictedCode[0]) - 1][int(loaded.observed[0]) - 1];
    });
    for (std::size_t p : {0, 1}) {
      for (std::size_t o : {0, 1})
        EXPECT_EQ(bayes.engine().trainingConfusion[0].At(p, o), counts[p][o]) << scale;
    }
  }
}

TEST(AConstantInput, DecidesNothing) {
  const PlainCases cases{2,  0, 1, {{7, 1, 1}, {7, 2, 1}, {7, 4, 2}, {7, 6, 2}, {7, 1.5, 1}},
                         {}, 0, {}};
  NaiveBayesAnalysis bayes(cases, {});
  bayes.Train();
  const double both[] = {7, 3};
  bayes.engine().ComputePosterior(both);
  const double with = bayes.engine().posterior[0][0];
  NaiveBayesAnalysis alone(FileOf(cases), "c1 | x2 |", 0);
  alone.Train();
  alone.engine().ComputePosterior(std::span(both).last(1));
  EXPECT_NEAR(with, alone.engine().posterior[0][0], 1e-14);
}

TEST(AClassWithoutTrainingCases, IsNeverPredicted) {
  NaiveBayesAnalysis bayes(
      TableFile("x c=A,B,C", {"1 A", "2 A", "0.1 B", "0 B", "0.2 A", "0 C", "0.1 C"}), "c | x |",
      5);
  bayes.Put("ResponseCodes", "1 2 3");
  bayes.Train();
  ASSERT_EQ(bayes.learned().classes(0), 3u);
  EXPECT_EQ(bayes.learned().classCount(0, 2), 0);
  EXPECT_EQ(bayes.engine().priors[0][2], 0);
  const std::size_t all[] = {0};
  EXPECT_TRUE(bayes.engine().ComputeEqualPriors(all));
  const double x = 0;
  bayes.engine().ComputePosterior(std::span(&x, 1));
  EXPECT_EQ(bayes.engine().posterior[0][2], 0);
  EXPECT_TRUE(bayes.engine().ComputeNaiveBayesStatistics());
  EXPECT_EQ(bayes.engine().testConfusion[0].At(1, 2) + bayes.engine().testConfusion[0].At(0, 2), 2);
}

TEST(TwoThousandInputs, StillClassifyACase) {
  constexpr int kInputs = 2000;
  PlainCases cases{kInputs, 0, 1, {}, {}, 0, {}};
  ScriptedHost random;
  for (int i = 0; i < 40; ++i) {
    auto& row = cases.rows.emplace_back();
    for (int k = 0; k < kInputs; ++k)
      row.push_back((i % 2) * 0.02 + 100 * random.rnd_(5) * (k % 2 == 0 ? 1 : 0.001));
    row.push_back(1 + i % 2);
  }
  const PlainBayes plain(cases, {});
  NaiveBayesAnalysis bayes(cases, {});
  bayes.Train();
  bayes.ExpectCounted(plain.Confusion(0, 0), bayes.engine().trainingConfusion[0]);
  for (const double spread : {1.0, 1e-3, 300.0}) {  // products that vanish and that overflow
    std::vector<double> inputs(cases.rows[0].begin(), cases.rows[0].end() - 1);
    for (int k = 0; k < kInputs; ++k) inputs[k] = 50 + (inputs[k] - 50) * spread;
    bayes.engine().ComputePosterior(inputs);
    bayes.ExpectFound(plain.Classify(inputs, {}), 1e-8);
    EXPECT_FALSE(bayes.engine().numericFault());
  }
}

TEST(APriorOfZero, LeavesNothingOfALikelihoodBeyondEveryNumber) {
  constexpr int kInputs = 400;
  PlainCases cases{kInputs, 0, 1, {}, {}, 0, {}};
  for (int i = 0; i < 4; ++i) {
    cases.rows.emplace_back(kInputs, 1e-4 * i);
    cases.rows.back().push_back(1 + i / 2);
  }
  NaiveBayesAnalysis bayes(cases, {});
  bayes.Train();
  EXPECT_TRUE(bayes.engine().SetCustomPriors(0, std::vector{0.0, 1.0}));
  bayes.engine().ComputePosterior(std::vector(kInputs, 1e-4));
  EXPECT_EQ(bayes.engine().posterior[0][0], 0);
  EXPECT_EQ(bayes.engine().posterior[0][1], 1);
  EXPECT_FALSE(bayes.engine().numericFault()) << "the posteriors are numbers";
}

TEST(ACaseThatNoClassCanHave, TakesThePriors) {
  NaiveBayesAnalysis bayes(TableFile("n c=A,B", {"0 A", "0 A", "0 A", "0 B"}), "c | n |", 0);
  bayes.Put("InputDistributions", " | | | n");
  bayes.Train();
  const double x = 2;
  bayes.engine().ComputePosterior(std::span(&x, 1));
  EXPECT_EQ(bayes.engine().posterior[0][0], 0.75);
  EXPECT_EQ(bayes.engine().posterior[0][1], 0.25);
  EXPECT_EQ(bayes.engine().predictedCode[0], 1);
}

TEST(CustomPriors, AreTakenRescaledOrRefused) {
  NaiveBayesAnalysis bayes(TableFile("x c=A,B d=A,B,C", {"1 A A", "2 A B", "4 B C", "3 B A"}),
                           "c d | x |", 0);
  bayes.Train();
  const struct {
    std::vector<double> entered, taken;
  } rows[] = {{{0.25, 0.75}, {0.25, 0.75}}, {{0.2, 0.3}, {0.4, 0.6}}, {{0, 0}, {0.5, 0.5}}};
  for (const auto& row : rows) {
    EXPECT_TRUE(bayes.engine().SetCustomPriors(0, row.entered));
    for (int c : {0, 1}) EXPECT_DOUBLE_EQ(bayes.engine().priors[0][c], row.taken[c]);
  }
  for (const auto& bad : {std::vector{1.5, 0.0}, std::vector{0.1, -0.001}}) {
    EXPECT_FALSE(bayes.engine().SetCustomPriors(0, bad));
    EXPECT_EQ(
        bayes.host.messages,
        (std::vector<Message>{{0, "Les probas a priori doivent être comprises entre 0 et 1,0"}}));
    bayes.host.messages.clear();
  }
  EXPECT_EQ(bayes.engine().priors[0][0], 0.5);
  EXPECT_TRUE(bayes.engine().SetPriorKind(1, PriorKind::equal));
  EXPECT_DOUBLE_EQ(bayes.engine().priors[1][0], 1.0 / 3);
  EXPECT_EQ(bayes.engine().priors[0][0], 0.5) << "of the other dependent";
  EXPECT_TRUE(bayes.engine().SetPriorKind(1, PriorKind::fromData));
  EXPECT_EQ(bayes.engine().priors[1][0], 0.5);
  const double x = 1.5;
  EXPECT_TRUE(bayes.engine().SetCustomPriors(0, std::vector{0.0, 1.0}));
  bayes.engine().ComputePosterior(std::span(&x, 1));
  EXPECT_EQ(bayes.engine().posterior[0][0], 0) << "a prior of 0 leaves none";
}

}  // namespace
}  // namespace qrvml::test
