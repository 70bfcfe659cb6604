// Statistics of the test sample: by hand, with case weights, and where a value does not exist.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

TEST(KnnStatistics, CountsStandByPredictedThenObservedClassInTextOrder) {
  // Classes by text: Femme (2), Homme (1). Predicted by the side of x.
  KnnAnalysis knn(TableFile("x sex=Homme,Femme", {"0 Homme", "10 Femme",  // prototypes
                                                  "1 Homme", "2 Homme", "3 Femme", "8 Homme",
                                                  "9 Femme", "9 Femme", "9 Femme"}),
                  "| sex | x |", 2);
  knn.Train();
  const ConfusionCounts& counts = knn.engine().confusion(0);
  EXPECT_EQ(counts.classes(), 2u);
  EXPECT_EQ(counts.At(0, 0), 3) << "Femme, predicted Femme";
  EXPECT_EQ(counts.At(0, 1), 1) << "Homme, predicted Femme";
  EXPECT_EQ(counts.At(1, 0), 1) << "Femme, predicted Homme";
  EXPECT_EQ(counts.At(1, 1), 2) << "Homme, predicted Homme";
}

struct Regression {
  const char* name;
  std::vector<std::string> tests;  // x and y; the prototypes predict 10 below 5, else 20
  Row ten;
};

TEST(KnnStatistics, TenValuesAreThoseComputedByHand) {
  const Regression cases[] = {
      // Observed 8 13 20 23; predicted 10 10 20 20; residuals -2 3 0 3.
      {"four cases",
       {"0 8", "1 13", "9 20", "10 23"},
       {16, 15, std::sqrt(138 / 3.0), std::sqrt(100 / 3.0), 22 / 4.0, 1, 8 / 4.0,
        std::sqrt(18 / 3.0), std::sqrt(18 / 3.0) / std::sqrt(138 / 3.0), 110 / std::sqrt(13800)}},
      {"one case", {"0 8"}, {8, 10, kNone, kNone, 4, -2, 2, kNone, kNone, kNone}},
      // Residuals 5 and -5.
      {"observed values all equal",
       {"0 15", "10 15"},
       {15, 15, 0, std::sqrt(50), 25, 0, 5, std::sqrt(50), kNone, kNone}},
      {"predictions all equal",
       {"0 8", "0 14"},
       {11, 10, std::sqrt(18), 0, 10, 1, 3, std::sqrt(18), 1, kNone}},
  };
  for (const Regression& c : cases) {
    SCOPED_TRACE(c.name);
    TableFile file("x y", {"0 10", "10 20"});
    const TableFile tests("x y", c.tests);
    file.cases.insert(file.cases.end(), tests.cases.begin(), tests.cases.end());
    KnnAnalysis knn(file, "y | | x |", 2);
    knn.Train();
    const Row actual = Values(knn.engine().regressionStatistics(0));
    for (std::size_t i = 0; i < c.ten.size(); ++i) {
      if (std::isnan(c.ten[i])) {
        EXPECT_TRUE(std::isnan(actual[i])) << "value " << i << ": " << actual[i];
      } else {
        EXPECT_NEAR(actual[i], c.ten[i], 1e-14 * std::fabs(c.ten[i])) << "value " << i;
      }
    }
  }
}

TEST(KnnStatistics, RangesOfResidualsThatAreAllNegativeStayNegative) {
  KnnAnalysis knn(TableFile("x y", {"0 10", "10 20", "0 7", "9 18"}), "y | | x |", 2);
  knn.Train();
  const PredictionRanges& r = knn.engine().ranges(0);
  EXPECT_EQ(r.predicted.minimum, 10);
  EXPECT_EQ(r.predicted.maximum, 20);
  EXPECT_EQ(r.residual.minimum, -3);
  EXPECT_EQ(r.residual.maximum, -2);
  EXPECT_EQ(r.absoluteResidual.minimum, 2);
  EXPECT_EQ(r.absoluteResidual.maximum, 3);
  EXPECT_EQ(r.squaredResidual.minimum, 4);
  EXPECT_EQ(r.squaredResidual.maximum, 9);
}

TEST(KnnStatistics, ACaseWeightRepeatsTheCaseAmongPrototypesAndTests) {
  for (const Shape& shape : {kShapes[1], kShapes[3]}) {
    SCOPED_TRACE(shape.name);
    const PlainTable table = RandomTable(shape, 20, 10, 11);
    const PlainSettings settings{.weighted = true, .standardized = true, .k = 5};
    TableFile file = FileOf(table);
    file.weighted = true;
    PlainTable repeated = table;
    repeated.rows.clear();
    repeated.prototypes = 0;
    for (std::size_t i = 0; i < file.cases.size(); ++i) {
      const double weights[] = {1, 2.4, 0, 2.5, 1};  // 1, 2, no, 3 times
      const int times[] = {1, 2, 0, 3, 1};
      file.cases[i].weight = weights[i % 5];
      for (int copy = 0; copy < times[i % 5]; ++copy) {
        repeated.rows.push_back(table.rows[i]);
        repeated.prototypes += int(i) < table.prototypes;
      }
    }
    PlainKnn plain(repeated, settings);
    KnnAnalysis knn(
        file, VariablesOf(table), table.prototypes,
        {{"UseWeightedAverage", 1}, {"StandardizeDistances", 1}, {"KNearestNeighbors", 5}});
    knn.Train();
    EXPECT_EQ(knn.data().StoredRows(Sample::training), repeated.prototypes);
    EXPECT_TRUE(knn.HasStatistics(plain.Statistics()));
  }
}

TEST(KnnStatistics, ValuesThatOverflowAreRefusedAndTheDialogStaysOpen) {
  const std::vector<std::string> tables[] = {
      {"0 10", "10 20", "0 1e200", "10 5"},  // a square
      {"0 10", "10 20", "0 -1e200", "10 5"},
      {"0 10", "10 20", "0 1.7e308", "1 1.7e308"},  // a sum
      {"0 0", "10 1e100", "0 1e100", "10 5"},       // the product of two sums of squares
  };
  for (const auto& table : tables) {
    KnnAnalysis knn(TableFile("x y", table), "y | | x |", 2);
    EXPECT_FALSE(knn.OK().Succeeded());
    EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(155)}) << table[2];
    EXPECT_TRUE(knn.IsOpen());
    EXPECT_TRUE(knn.engine().predictions.empty()) << "the arrays of the run are let go";
  }
}

}  // namespace
}  // namespace qrvml::test
