// Regression summary, confusion counts and the three tables against calculations by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "stats/regression_summary.h"
#include "stats/summary_tables.h"

namespace qrvml {
namespace {

struct Prediction {
  double observed, predicted, weight = 1;
};

bool Summarise(RegressionSummary& summary, const std::vector<Prediction>& cases) {
  for (const auto& [observed, predicted, weight] : cases) summary.Add(observed, predicted, weight);
  summary.EndMeans();
  for (const auto& [observed, predicted, weight] : cases)
    summary.AddDeviations(observed, predicted, weight);
  return summary.Finish(0.25);
}

TEST(RegressionSummary, HasTheTenStatisticsOfAHandCalculation) {
  // Observed 1 2 2 5 (the second counts twice), predicted 2 2 2 6: errors -1 0 0 -1.
  RegressionSummary summary;
  ASSERT_TRUE(Summarise(summary, {{1, 2}, {2, 2, 2}, {5, 6}}));
  const RegressionStatistics& s = summary.statistics();
  EXPECT_DOUBLE_EQ(s.observedMean, 2.5);
  EXPECT_DOUBLE_EQ(s.predictedMean, 3);
  EXPECT_DOUBLE_EQ(s.errorMean, -0.5);
  EXPECT_DOUBLE_EQ(s.meanAbsoluteError, 0.5);
  EXPECT_DOUBLE_EQ(s.meanSquaredError, 0.5);
  // Squares: observed 2.25 + 2 * 0.25 + 6.25 = 9, predicted 1 + 2 + 9 = 12, errors 4 * 0.25 = 1,
  // products 1.5 + 2 * 0.5 + 7.5 = 10.
  EXPECT_DOUBLE_EQ(s.observedDeviation, std::sqrt(9.0 / 3));
  EXPECT_DOUBLE_EQ(s.predictedDeviation, 2);
  EXPECT_DOUBLE_EQ(s.errorDeviation, std::sqrt(1.0 / 3));
  EXPECT_DOUBLE_EQ(s.deviationRatio, 1.0 / 3);
  EXPECT_DOUBLE_EQ(s.correlation, 10 / std::sqrt(108.0));

  const PredictionRanges& ranges = summary.ranges();
  EXPECT_EQ(ranges.predicted.minimum, 2);
  EXPECT_EQ(ranges.predicted.maximum, 6);
  EXPECT_EQ(ranges.residual.minimum, -1);
  EXPECT_EQ(ranges.residual.maximum, 0);
  EXPECT_EQ(ranges.absoluteResidual.maximum, 1);
  EXPECT_EQ(ranges.squaredResidual.minimum, 0);
}

TEST(RegressionSummary, LeavesOutWhatHasNoValue) {
  RegressionSummary one;
  ASSERT_TRUE(Summarise(one, {{3, 5}}));
  EXPECT_EQ(one.statistics().meanSquaredError, 4);
  for (const double none : {one.statistics().observedDeviation, one.statistics().errorDeviation,
                            one.statistics().predictedDeviation, one.statistics().deviationRatio})
    EXPECT_TRUE(std::isnan(none));
  EXPECT_EQ(one.statistics().correlation, 0.25);  // what the method says

  RegressionSummary flat;  // observed values all equal
  ASSERT_TRUE(Summarise(flat, {{3, 1}, {3, 5}}));
  EXPECT_EQ(flat.statistics().observedDeviation, 0);
  EXPECT_DOUBLE_EQ(flat.statistics().errorDeviation, std::sqrt(8.0));
  EXPECT_TRUE(std::isnan(flat.statistics().deviationRatio));
  EXPECT_EQ(flat.statistics().correlation, 0.25);

  RegressionSummary constant;  // predictions all equal: only the correlation is without variance
  ASSERT_TRUE(Summarise(constant, {{1, 3}, {5, 3}}));
  EXPECT_EQ(constant.statistics().correlation, 0.25);
  EXPECT_EQ(constant.statistics().deviationRatio, 1);
}

TEST(RegressionSummary, FailsWhereASumIsNoNumber) {
  const std::vector<Prediction> rows[] = {{{1e200, 0}, {-1e200, 0}},  // squares overflow
                                          {{1e308, 1}, {1e308, 2}},   // the sum does
                                          {{1, std::nan("")}, {2, 2}},
                                          {{1e100, -1e100}, {-1e100, 1e100}}};  // their product
  for (const auto& cases : rows) {
    RegressionSummary summary;
    EXPECT_FALSE(Summarise(summary, cases));
  }
}

constexpr SummaryTexts kTexts = {
    .classificationTitle = "Classes",
    .confusionHeader = "header",
    .regressionTitle = "Regression",
    .regressionSecond = "second",
    .regressionRows = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}};

TEST(ClassificationTables, ShowCountsAndPercentagesPerObservedClass) {
  const CategoryTable::Class classes[] = {{"a", 1}, {"b", 2}, {"none", 3}};
  for (const CountsAre order : {CountsAre::predictedObserved, CountsAre::observedPredicted}) {
    ConfusionCounts counts;
    counts.Start(3);
    const auto add = [&](int predicted, int observed, int weight) {
      order == CountsAre::predictedObserved ? counts.Add(predicted, observed, weight)
                                            : counts.Add(observed, predicted, weight);
    };
    add(0, 0, 3);
    add(1, 0, 1);
    add(2, 1, 2);
    add(0, 0, 2);
    add(-1, 1, 9);  // codes that are no class count nowhere
    add(1, -1, 9);
    const ClassifiedDependent dependent = {"y", classes, &counts, order, " (Test)"};

    const Spreadsheet summary = ClassificationSummaryTable(kTexts, dependent);
    EXPECT_EQ(summary.title, "Classes, y (Test)");
    EXPECT_EQ(summary.rowNames, (std::vector<std::string>{"a", "b", "none"}));
    const double expected[5][3] = {
        {6, 2, 0}, {5, 0, 0}, {1, 2, 0}, {500.0 / 6, 0, kEmptyCell}, {100.0 / 6, 100, kEmptyCell}};
    ASSERT_EQ(summary.columns.size(), 5u);
    for (std::size_t column = 0; column < 5; ++column) {
      for (std::size_t row = 0; row < 3; ++row) {
        const double value = summary.columns[column].values[row];
        if (std::isnan(expected[column][row])) {
          EXPECT_TRUE(std::isnan(value)) << column;  // no case: no percentage
        } else {
          EXPECT_DOUBLE_EQ(value, expected[column][row]) << column << ' ' << row;
        }
      }
    }

    const Spreadsheet matrix = ConfusionMatrixTable(kTexts, dependent);
    EXPECT_EQ(matrix.title, "Matrice de confusion y (Test)");
    ASSERT_EQ(matrix.columns.size(), 3u);  // observed classes
    EXPECT_EQ(matrix.columns[0].first, "a");
    EXPECT_EQ(matrix.columns[0].values, (std::vector<double>{5, 1, 0}));
    EXPECT_EQ(matrix.columns[1].values, (std::vector<double>{0, 0, 2}));
    EXPECT_EQ(matrix.columns[2].values, (std::vector<double>{0, 0, 0}));
  }
}

TEST(RegressionTable, HasAColumnPerDependentAndItsRowsInOrder) {
  const RegressionStatistics first = {.observedMean = 1,
                                      .predictedMean = 2,
                                      .observedDeviation = 3,
                                      .predictedDeviation = 4,
                                      .meanSquaredError = 5,
                                      .errorMean = 6,
                                      .errorDeviation = 7,
                                      .meanAbsoluteError = 8,
                                      .deviationRatio = 9,
                                      .correlation = 10};
  const RegressionStatistics second;
  const RegressedDependent dependents[] = {{"y", &first}, {"z", &second}};
  const Spreadsheet table = RegressionSummaryTable(kTexts, "cases", dependents, "");
  EXPECT_EQ(table.title, "Regression, y");
  ASSERT_EQ(table.columns.size(), 2u);
  EXPECT_EQ(table.columns[1].first, "z");
  EXPECT_EQ(table.columns[0].values, (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

}  // namespace
}  // namespace qrvml
