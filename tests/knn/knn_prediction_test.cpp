// Predictions of single cases: against the defining loops bit for bit, and by hand where a rule
// decides.
#include <limits>

#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

TEST(KnnPrediction, EqualsTheDefiningLoopsInEveryBit) {
  for (const Shape& shape : kShapes) {
    const PlainTable table = RandomTable(shape, 37, 12, 20240229);
    for (int metric = 0; metric < 4; ++metric) {
      for (const bool weighted : {false, true}) {
        for (const bool standardized : {false, true}) {
          for (const int k : {1, 4, 37}) {
            SCOPED_TRACE(std::string(shape.name) + ", " + std::string(kMetricNames[metric]) +
                         (weighted ? ", weighted" : "") + (standardized ? ", standardised" : "") +
                         ", K " + std::to_string(k));
            const PlainSettings settings{metric, weighted, standardized, k};
            PlainKnn plain(table, settings);
            KnnAnalysis knn(table, settings);
            knn.Train();
            const auto expected = plain.PredictTests();
            int visited = 0;
            knn.engine().PredictSample(Sample::test, [&](std::int32_t row) {
              ASSERT_EQ(row, visited++);
              ASSERT_TRUE(knn.Predicted(expected[row])) << "case " << row << " of the sample";
            });
            EXPECT_EQ(visited, table.Tests());
            for (int row = 0; row < table.Tests(); ++row) {
              knn.PredictTest(row);
              ASSERT_TRUE(knn.Predicted(expected[row])) << "case " << row << " alone";
            }
            const Row inputs(table.rows[3].begin(), table.rows[3].begin() + table.Inputs());
            knn.engine().PredictCase(inputs, {}, true);
            EXPECT_TRUE(knn.Predicted(plain.PredictWithoutObserved(inputs)));
            EXPECT_TRUE(knn.HasStatistics(plain.Statistics()));
          }
        }
      }
    }
  }
}

/// The last row of the table is the test case.
struct HandMade {
  const char* name;
  TableFile file;
  const char* variables;
  PlainSettings settings;
  PlainPrediction expected;
};

TEST(KnnPrediction, RulesDecideAsComputedByHand) {
  const std::string tiny = "0.000000014901161193847656";  // 2^-26, whose square is 2^-52
  const std::vector<std::string> rooted = {"1 " + tiny + " 10", "1 0 20", "0 0 10"};
  const TableFile sexes("x sex=Homme,Femme", {"0 Homme", "2 Femme", "1 Homme"});
  const TableFile far("x y sex=Homme,Femme", {"1000 7 Homme", "2000 9 Femme", "0 5 Homme"});
  const TableFile middle("x y", {"0 10", "2 20", "9 90", "1 12"});
  const TableFile mixed("x u y", {"0 1 10", "0.75 2 20", "0 2 25"});
  const HandMade cases[] = {
      {"a tie of votes takes the first class by text",
       sexes,
       "| sex | x |",
       {.k = 2},
       {{2}, {1}, {}, {{0.5, 0.5}}}},
      {"so does a tie of weights",
       sexes,
       "| sex | x |",
       {.weighted = true, .k = 2},
       {{2}, {1}, {}, {{0.5, 0.5}}}},
      {"a tie of distance takes the earlier prototype",
       middle,
       "y | | x |",
       {.k = 1},
       {{10}, {2}, {0}, {}}},
      {"the spread divides by K less one",
       middle,
       "y | | x |",
       {.k = 2},
       {{15}, {-3}, {std::sqrt(50)}, {}}},
      {"equal roots of different squares are a tie",
       TableFile("x1 x2 y", rooted),
       "y | | x1 x2 |",
       {.metric = 0, .k = 1},
       {{10}, {0}, {0}, {}}},
      {"the squares themselves are none",
       TableFile("x1 x2 y", rooted),
       "y | | x1 x2 |",
       {.metric = 1, .k = 1},
       {{20}, {-10}, {0}, {}}},
      {"a single weight becomes one",
       TableFile("x y", {"3 7", "9 8", "0 5"}),
       "y | | x |",
       {.weighted = true, .k = 1},
       {{7}, {-2}, {0}, {}}},
      {"weights that all vanish predict zero",
       far,
       "y | | x |",
       {.weighted = true, .k = 2},
       {{0}, {5}, {std::sqrt(49.0 + 81.0)}, {}}},
      {"and the first class without confidence",
       far,
       "| sex | x |",
       {.weighted = true, .k = 2},
       {{2}, {1}, {}, {{0, 0}}}},
      {"codes with one text are one class, named by the smallest",
       TableFile("x c=A,B,A", {"0.1 2", "0.2 3", "0.3 1", "0 3"}),
       "| c | x |",
       {.k = 3},
       {{1}, {0}, {}, {{2 / 3.0, 1 / 3.0}}}},
      {"a class that no prototype has is never right",
       TableFile("x c", {"0 1", "1 2", "0 3"}),
       "| c | x |",
       {.k = 1},
       {{1}, {1}, {}, {{1, 0}}}},
      {"a differing code is a distance of one to squares",
       mixed,
       "y | | x | u",
       {.metric = 1, .k = 1},
       {{20}, {5}, {0}, {}}},
      {"and to the maximum", mixed, "y | | x | u", {.metric = 3, .k = 1}, {{20}, {5}, {0}, {}}},
      {"standardised, a shorter way in a narrow input is long",
       TableFile("x1 x2 y", {"0 100 10", "1 0 20", "0 0 30"}),
       "y | | x1 x2 |",
       {.standardized = true, .k = 1},
       {{10}, {20}, {0}, {}}},
      {"raw, the wide input decides",
       TableFile("x1 x2 y", {"0 100 10", "1 0 20", "0 0 30"}),
       "y | | x1 x2 |",
       {.k = 1},
       {{20}, {10}, {0}, {}}},
  };
  for (const HandMade& c : cases) {
    SCOPED_TRACE(c.name);
    KnnAnalysis knn(c.file, c.variables, c.file.NumberOfCases() - 1,
                    {{kMetricNames[c.settings.metric], 1},
                     {"UseWeightedAverage", c.settings.weighted},
                     {"StandardizeDistances", c.settings.standardized},
                     {"KNearestNeighbors", c.settings.k}});
    knn.Train();
    knn.PredictTest(0);
    EXPECT_TRUE(knn.Predicted(c.expected));
  }
}

TEST(KnnPrediction, AStandardisedInputWithoutARangeContributesNothing) {
  KnnAnalysis knn(TableFile("x1 x2 y", {"0 5 10", "4 5 20", "1 5 0"}), "y | | x1 x2 |", 2,
                  {{"StandardizeDistances", 1}});
  knn.Train();
  const Row elsewhere = {3, 1e12};  // would drown the other input
  knn.engine().PredictCase(elsewhere, {}, true);
  EXPECT_TRUE(knn.Predicted({{20}, {-9999}, {0}, {}}));
}

TEST(KnnPrediction, OnlyFilledSlotsVoteWhenFewerPrototypesAreEligibleThanAskedFor) {
  KnnAnalysis knn(TableFile("x y1 y2", {"1 10 1", "2 20 2", "3 60 3", "0 0 0"}), "y1 y2 | | x |", 3,
                  {{"KNearestNeighbors", 3}});
  knn.Train();
  KNNEngine& engine = knn.engine();
  const Row query = {0};
  const std::int32_t group[] = {0, 1, 0}, all[] = {1, 1, 1};
  engine.FindNearestPrototypes(query, {group, 1});
  engine.PredictCase(query, {}, false);
  EXPECT_TRUE(Same(Row{0, 2, -1}, engine.neighbourIndex));
  EXPECT_TRUE(knn.Predicted({{35, 2}, {-9999, -9999}, {std::sqrt(1250), std::sqrt(2)}, {}}));
  engine.FindNearestPrototypes(query, {all, 1});
  engine.PredictCase(query, {}, false);
  EXPECT_TRUE(knn.Predicted({{0, 0}, {-9999, -9999}, {0, 0}, {}}));
}

TEST(KnnPrediction, ALoadedCaseBringsItsNameOrItsNumber) {
  KnnAnalysis knn(TableFile("*name x y", {"one 1 10", ". 2 20", "three 3 60", ". 4 0"}),
                  "y | | x |", 2);
  knn.Train();
  KNNEngine& engine = knn.engine();
  ASSERT_TRUE(engine.LoadCase(Sample::training, 0, KNNEngine::Load::both, true));
  EXPECT_EQ(engine.caseLabel, "one");
  ASSERT_TRUE(engine.LoadCase(Sample::test, 1, KNNEngine::Load::inputs, true));
  EXPECT_EQ(engine.caseLabel, "4");
  EXPECT_EQ(engine.currentInputs[0], 4);
  EXPECT_EQ(engine.currentDependents[0], 10) << "only the inputs were asked for";
}

}  // namespace
}  // namespace qrvml::test
