#include "host/axis_scaling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qrvml::test {
namespace {

struct Scaled {
  double minimum, maximum, lower, upper, step;
};

TEST(AxisScaling, ChoosesTheRoundStepNearestToTheWantedIntervals) {
  // With 20 intervals wanted: the step is the round number nearest to a twentieth of the range.
  const Scaled rows[] = {
      {0, 20, 0, 20, 1},       {0, 100, 0, 100, 5}, {-1, 1, -1, 1, 0.1},
      {4.3, 7.9, 4.2, 8, 0.2}, {0, 1, 0, 1, 0.05},  {1000003, 1000003.2, 1000003, 1000003.2, 0.01},
  };
  for (const Scaled& row : rows) {
    const AxisScale scale = scling_double_QUA(row.minimum, row.maximum, 50, 20);
    EXPECT_DOUBLE_EQ(scale.lower, row.lower) << row.minimum << " to " << row.maximum;
    EXPECT_DOUBLE_EQ(scale.upper, row.upper) << row.minimum << " to " << row.maximum;
    EXPECT_DOUBLE_EQ(scale.step, row.step) << row.minimum << " to " << row.maximum;
  }
}

TEST(AxisScaling, EnclosesEveryRangeInAtMostTheGivenIntervals) {
  const double magnitudes[] = {1e-300, 3.7e-12, 0.1, 0.3, 7, 123456.789, 1e15, 8e307};
  for (const double magnitude : magnitudes) {
    for (const double from : {-1.0, -0.37, 0.0, 0.25}) {
      const double minimum = from * magnitude, maximum = magnitude;
      const AxisScale scale = scling_double_QUA(minimum, maximum, 50, 20);
      EXPECT_LE(scale.lower, minimum) << magnitude;
      EXPECT_GE(scale.upper, maximum) << magnitude;
      const double intervals = (scale.upper - scale.lower) / scale.step;
      EXPECT_GE(std::trunc(intervals), 10) << magnitude;
      EXPECT_LE(std::trunc(intervals), 50) << magnitude;
      EXPECT_LT(intervals - std::trunc(intervals), 1e-6) << magnitude;
    }
  }
}

TEST(AxisScaling, KeepsAPoint) {
  const AxisScale scale = scling_double_QUA(3.25, 3.25, 50, 20);
  EXPECT_EQ(scale.lower, 3.25);
  EXPECT_EQ(scale.upper, 3.25);
  EXPECT_EQ(scale.step, 1);
}

}  // namespace
}  // namespace qrvml::test
