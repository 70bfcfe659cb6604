// Ranges, marks and labels of drawn axes, against values worked out by hand.
#include "documents/display_axis.h"

#include <gtest/gtest.h>

namespace qrvml {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

FiniteRange Range(double minimum, double maximum) { return {minimum, maximum}; }

std::string Labels(const DisplayAxis& axis) {
  std::string all;
  for (const AxisMark& mark : axis.marks) all += (all.empty() ? "" : " ") + mark.label;
  return all;
}

TEST(RoundSteps, AreOneTwoOrFiveTimesAPowerOfTen) {
  const struct {
    double step, round;
  } kCases[] = {{1, 1},       {1.01, 2},    {2.5, 5},  {5.1, 10},       {0.03, 0.05},
                {1e-7, 1e-7}, {3e99, 5e99}, {99, 100}, {0.0011, 0.002}, {6e-310, 1e-309}};
  for (const auto& [step, round] : kCases) EXPECT_DOUBLE_EQ(RoundStep(step), round) << step;
}

TEST(DisplayAxes, WithoutAStepReachToTheNextRoundValues) {
  const DisplayAxis axis = MakeDisplayAxis({"", 0.13, 7.9, 0}, {});
  EXPECT_EQ(axis.minimum, 0);
  EXPECT_EQ(axis.maximum, 8);
  EXPECT_EQ(Labels(axis), "0 1 2 3 4 5 6 7 8");
  EXPECT_DOUBLE_EQ(axis.marks[2].position, 0.25);
  EXPECT_DOUBLE_EQ(axis.Position(6), 0.75);
}

TEST(DisplayAxes, KeepAGivenRangeAndMarkItsStepsOrEachNth) {
  const DisplayAxis few = MakeDisplayAxis({"", 4, 6, 0.5}, {});
  EXPECT_EQ(Labels(few), "4.0 4.5 5.0 5.5 6.0");
  const DisplayAxis many = MakeDisplayAxis({"", 0, 20, 1}, {});
  EXPECT_EQ(many.minimum, 0);
  EXPECT_EQ(many.maximum, 20);
  EXPECT_EQ(Labels(many), "0 5 10 15 20");
  const DisplayAxis twos = MakeDisplayAxis({"", -6, 60, 2}, {}, {.mostMarks = 8});
  EXPECT_EQ(Labels(twos), "0 10 20 30 40 50 60");
  const DisplayAxis odd = MakeDisplayAxis({"", 0.1, 0.7, 0.3}, {});
  EXPECT_EQ(Labels(odd), "0.1 0.4 0.7");
}

TEST(DisplayAxes, ShowDataBeyondAGivenRange) {
  const DisplayAxis axis = MakeDisplayAxis({"", 0, 10, 5}, Range(-1, 21));
  EXPECT_EQ(axis.minimum, -5);
  EXPECT_EQ(axis.maximum, 25);
  EXPECT_EQ(Labels(axis), "-5 0 5 10 15 20 25");
}

TEST(DisplayAxes, TakeTheDataWhereNoUsableRangeIsGiven) {
  const double kLargest = std::numeric_limits<double>::max();
  for (const GraphAxis& given :
       {GraphAxis{"", 0, 0, 0}, GraphAxis{"", kLargest, -kLargest, 0},
        GraphAxis{"", kEmptyCell, 3, 1}, GraphAxis{"", -kInfinity, kInfinity, 1}}) {
    const DisplayAxis axis = MakeDisplayAxis(given, Range(10, 50));
    EXPECT_EQ(axis.minimum, 10);
    EXPECT_EQ(axis.maximum, 50);
    EXPECT_EQ(Labels(axis), "10 15 20 25 30 35 40 45 50");
  }
  EXPECT_EQ(Labels(MakeDisplayAxis({}, {}, {.mostMarks = 3})), "0 0.5 1.0");
}

TEST(DisplayAxes, OneValueGetsRoomAroundIt) {
  for (const double value : {0.0, 3.0, -250.0, 1e300, 5e-320}) {
    const DisplayAxis axis = MakeDisplayAxis({"", value, value, 0}, Range(value, value));
    EXPECT_LT(axis.minimum, value);
    EXPECT_GT(axis.maximum, value);
  }
}

TEST(DisplayAxes, ExtremeRangesNeitherOverflowNorLoseTheirOrder) {
  const double kLargest = std::numeric_limits<double>::max();
  const FiniteRange kRanges[] = {Range(-kLargest, kLargest), Range(1, std::nextafter(1, 2)),
                                 Range(1e15, 1e15 + 0.5), Range(0, 5e-324), Range(-1e-300, 1e300)};
  for (const FiniteRange& range : kRanges) {
    const DisplayAxis axis = MakeDisplayAxis({}, range);
    EXPECT_TRUE(std::isfinite(axis.minimum) && std::isfinite(axis.maximum));
    EXPECT_LE(axis.minimum, range.minimum);
    EXPECT_GE(axis.maximum, range.maximum);
    EXPECT_LE(axis.marks.size(), 20u);
    EXPECT_GE(axis.Position(range.minimum), 0);
    EXPECT_LE(axis.Position(range.maximum), 1);
    for (const AxisMark& mark : axis.marks) {
      EXPECT_GE(mark.position, 0);
      EXPECT_LE(mark.position, 1);
    }
  }
}

TEST(DisplayAxes, LabelsHaveTheDecimalsOfTheStepAndExponentsForLargeNumbers) {
  EXPECT_EQ(Labels(MakeDisplayAxis({"", 0, 0.3, 0.1}, {})), "0 0.1 0.2 0.3");
  EXPECT_EQ(Labels(MakeDisplayAxis({"", -0.25, 0.25, 0.25}, {})), "-0.25 0 0.25");
  EXPECT_EQ(Labels(MakeDisplayAxis({"", 0, 2e7, 1e7}, {})), "0 1e+07 2e+07");
  EXPECT_EQ(Labels(MakeDisplayAxis({"", 0, 4e-9, 2e-9}, {})), "0 2e-09 4e-09");
  EXPECT_EQ(Labels(MakeDisplayAxis({"", 0, 3, 0}, {}, {.mostMarks = 9, .leastStep = 1})),
            "0 1 2 3");
}

}  // namespace
}  // namespace qrvml
