// The choice of K: the grid, the folds and the errors against the defining loops, and by hand where
// a rule decides.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

struct SearchOutcome {
  int k = 0, gridPoints = 0;
  double best = 0;
  Row errors;
};

SearchOutcome OutcomeOf(KNNEngine& engine) {
  return {engine.k, engine.gridPoints,
          engine.IsClassification() ? engine.bestAccuracy : engine.bestError,
          Row(engine.crossValidationErrors.begin(), engine.crossValidationErrors.end())};
}

::testing::AssertionResult Equal(const SearchOutcome& expected, const SearchOutcome& actual) {
  if (expected.k != actual.k || expected.gridPoints != actual.gridPoints)
    return ::testing::AssertionFailure() << "K " << actual.k << " of " << actual.gridPoints
                                         << ", not " << expected.k << " of " << expected.gridPoints;
  if (!SameBits(expected.best, actual.best)) return ::testing::AssertionFailure() << "best";
  return Same(expected.errors, actual.errors);
}

/// What the defining loops find, on the stream that a fresh host serves; `draws`: how many.
SearchOutcome PlainOutcome(PlainKnn& plain, int* draws = nullptr) {
  ScriptedHost random;
  const PlainSearch search = plain.SelectK([&] { return random.rnd_(kSearchSeed); });
  if (draws != nullptr) *draws = int(random.seeds.size());
  return {search.k, int(search.errors.size()), search.best, search.errors};
}

struct Grid {
  const char* name;
  int folds;
  double minimum, maximum, delta;
  int points;
};
constexpr Grid kGrids[] = {
    {"the default grid", 10, 1, 5, 1, 5},
    {"a grid that reaches its maximum in steps", 4, 2, 8, 3, 3},
    {"a grid that does not reach it", 5, 1, 8, 3, 3},
    {"folds of different sizes", 7, 1, 4, 1, 4},
    {"two folds, more neighbours than the other fold has", 2, 1, 22, 1, 22},
    {"one fold leaves nobody to vote", 1, 1, 3, 1, 3},
    {"as many folds as can be", 22, 3, 5, 1, 3},
    {"an increment beyond the span is one point", 5, 2, 6, 5, 1},
    {"an increment of minimum plus maximum too", 5, 2, 6, 8, 1},
};

TEST(KnnSearchOfK, EqualsTheDefiningLoopsInEveryBit) {
  for (const Shape& shape : kShapes) {
    const PlainTable table = RandomTable(shape, 23, 6, 7);
    for (const Grid& grid : kGrids) {
      for (const bool weighted : {false, true}) {
        SCOPED_TRACE(std::string(shape.name) + ", " + grid.name + (weighted ? ", weighted" : ""));
        const PlainSettings settings{.metric = 2,
                                     .weighted = weighted,
                                     .standardized = true,
                                     .folds = grid.folds,
                                     .minimumK = grid.minimum,
                                     .maximumK = grid.maximum,
                                     .deltaK = grid.delta};
        PlainKnn plain(table, settings);
        int draws = 0;
        const SearchOutcome expected = PlainOutcome(plain, &draws);
        EXPECT_EQ(expected.gridPoints, grid.points);
        KnnAnalysis knn(table, settings);
        knn.Put("ApplyCrossV", 1);
        knn.Train();
        EXPECT_TRUE(Equal(expected, OutcomeOf(knn.engine())));
        EXPECT_EQ(knn.host.seeds, std::vector<std::int32_t>(draws, kSearchSeed));
        EXPECT_TRUE(knn.HasStatistics(plain.Statistics())) << "with the chosen K";
      }
    }
  }
}

TEST(KnnSearchOfK, IsTheSameWithWorkerThreadsAndWhenItIsRepeated) {
  const PlainTable table = RandomTable(kShapes[1], 150, 40, 3);
  const PlainSettings settings{.weighted = true, .folds = 6, .maximumK = 9};
  PlainKnn plain(table, settings);
  const SearchOutcome expected = PlainOutcome(plain);
  for (const int threads : {1, 2}) {
    KnnAnalysis knn(table, settings);
    knn.host.workerThreads = threads;
    knn.Put("ApplyCrossV", 1);
    for (int run = 0; run < 2; ++run) {
      SCOPED_TRACE("run " + std::to_string(run) + ", threads " + std::to_string(threads));
      knn.Train();
      EXPECT_TRUE(Equal(expected, OutcomeOf(knn.engine())));
      EXPECT_TRUE(knn.HasStatistics(plain.Statistics()));
      knn.Cancel();
    }
  }
}

TEST(KnnSearchOfK, AStreamThatTheSplitHasBegunGoesOn) {
  const PlainTable table = RandomTable(kShapes[2], 30, 10, 5);
  KnnAnalysis knn(table, {.folds = 5});
  for (const auto& [name, value] : Properties{{"UseRandomSampling", 1},
                                              {"SizeOfPrototypeSample", 75},
                                              {"SeedForRandomSampling", kSearchSeed},
                                              {"ApplyCrossV", 1}})
    knn.Put(name, value);
  knn.Train();
  PlainTable split = table;
  std::stable_sort(split.rows.begin(), split.rows.end(), [&](const Row& a, const Row& b) {
    const auto flag = [&](const Row& row) {
      return knn.data().Flag(
          int(std::find(table.rows.begin(), table.rows.end(), row) - table.rows.begin()) + 1);
    };
    return flag(a) < flag(b);
  });
  PlainKnn plain(split, {.folds = 5});
  // Ten test cases were drawn first; a draw that hits one walks on, so none is repeated unless it
  // finds nothing up to the end.
  ScriptedHost random;
  int marked = 0;
  std::vector<bool> test(40);
  while (marked < 10) {
    std::size_t i = std::size_t(random.rnd_(kSearchSeed) * 40);
    while (i < 40 && test[i]) ++i;
    if (i == 40) continue;
    test[i] = true;
    ++marked;
  }
  const PlainSearch search = plain.SelectK([&] { return random.rnd_(kSearchSeed); });
  EXPECT_TRUE(Same(search.errors, knn.engine().crossValidationErrors));
  EXPECT_EQ(knn.host.seeds, random.seeds);
}

TEST(KnnSearchOfK, TheShufflePairsPositionsAndDrawsOncePerPosition) {
  // Six prototypes; draws give positions: 0 with 3; 1: 0 and 3 are taken, then itself; 2 with 5;
  // 3 and 5 consume a draw each; 4: itself.
  KnnAnalysis knn(TableFile("x y", {"0 1", "1 1", "2 1", "30 5", "31 5", "32 5", "9 9"}),
                  "y | | x |", 6,
                  {{"ApplyCrossV", 1}, {"VValue", 2}, {"MaximumK", 2}, {"CrossVSeed", 5}});
  for (const double position : {3, 0, 3, 1, 5, 2, 4, 0})
    knn.host.scriptedDraws.push_back((position + 0.5) / 6);
  knn.Train();
  EXPECT_EQ(knn.host.seeds.size(), 8u);
  EXPECT_TRUE(knn.host.scriptedDraws.empty());
  // Shuffled order 3 1 5 | 0 4 2. Prototype 3 (x 30) finds 31 and 2: 5, then 3; 1 finds 0 and 2
  // (the earlier first): 1, 1; 5 (x 32) finds 31, then 2: 5, 3; 0 finds 1, then 30: 1, 3;
  // 4 (x 31) finds 30 and 32: 5, 5; 2 finds 1, then 30: 1, 3.
  EXPECT_TRUE(Same(Row{0, (4 + 0 + 4 + 4 + 0 + 4) / 6.0}, knn.engine().crossValidationErrors));
  EXPECT_EQ(knn.engine().k, 1);
}

TEST(KnnSearchOfK, AWeightedPrefixKeepsTheWeightsOfAllFilledSlots) {
  // All prototypes in one place: the weights of s filled slots are 1/s each. The grid is 1 and 3.
  // The case searched first fills 4 slots, every later one 3, so the first predicts 12 * K / 4 and
  // the other five 12 * K / 3.
  KnnAnalysis knn(TableFile("x y", {"5 12", "5 12", "5 12", "5 12", "5 12", "5 12", "5 12"}),
                  "y | | x |", 6,
                  {{"UseWeightedAverage", 1},
                   {"ApplyCrossV", 1},
                   {"VValue", 5},
                   {"MaximumK", 4},
                   {"DeltaK", 2}});
  knn.Train();
  const auto& errors = knn.engine().crossValidationErrors;
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NEAR(errors[0], (9.0 * 9 + 5 * 8 * 8) / 6, 1e-12);
  EXPECT_NEAR(errors[1], (3.0 * 3 + 5 * 0) / 6, 1e-12);
  EXPECT_EQ(knn.engine().k, 3);
}

TEST(KnnSearchOfK, ATieKeepsTheSmallerK) {
  // Two groups of four; the last fold takes two cases of the second, so K 1 and 2 always stay
  // inside the group and K 3 does not.
  for (const char* variables : {"y | | x |", "| c | x |"}) {
    KnnAnalysis knn(TableFile("x y c", {"0 7 1", "1 7 1", "2 7 1", "3 7 1", "90 9 2", "91 9 2",
                                        "92 9 2", "93 9 2", "1 7 1"}),
                    variables, 8, {{"ApplyCrossV", 1}, {"VValue", 7}, {"MaximumK", 3}});
    for (const double position : {0, 1, 2, 3, 4, 5, 6, 7})
      knn.host.scriptedDraws.push_back((position + 0.5) / 8);
    knn.Train();
    const double best = knn.engine().IsClassification() ? 100 : 0;
    EXPECT_EQ(knn.engine().k, 1) << variables;
    EXPECT_EQ(knn.engine().crossValidationErrors[0], best);
    EXPECT_EQ(knn.engine().crossValidationErrors[1], best);
  }
}

TEST(KnnSearchOfK, AccuracyIsAPercentageOfAllPredictedClasses) {
  // c1 is right for every case; c2 alternates along x, so the nearest is always of the other class.
  KnnAnalysis knn(
      TableFile("x c1 c2", {"0 1 1", "1 1 2", "2 1 1", "50 2 1", "51 2 2", "52 2 1", "1 1 1"}),
      "| c1 c2 | x |", 6, {{"ApplyCrossV", 1}, {"VValue", 5}, {"MaximumK", 2}});
  for (const double position : {0, 1, 2, 3, 4, 5})
    knn.host.scriptedDraws.push_back((position + 0.5) / 6);
  knn.Train();
  // The last fold holds two cases, 51 and 52: both then find 50. c2 is right for 52 only.
  EXPECT_EQ(knn.engine().crossValidationErrors[0], 7 * 100 / 12.0);
  EXPECT_EQ(knn.engine().bestAccuracy, knn.engine().crossValidationErrors[knn.engine().k - 1]);
}

}  // namespace
}  // namespace qrvml::test
