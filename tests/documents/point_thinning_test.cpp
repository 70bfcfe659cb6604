// Thinning of points and lines, against a slow count in the test.
#include "documents/point_thinning.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace qrvml {
namespace {

constexpr double kNone = kEmptyCell;

/// The same numbers on every machine: a multiplicative congruence.
struct Numbers {
  std::uint64_t state = 12345;
  double operator()() {
    state = state * 48271 % 2147483647;
    return double(state) / 2147483647;
  }
};

TEST(PointThinning, CountsEveryPointInItsCellOnceAndKeepsTheExtremes) {
  Numbers next;
  GraphSeries series;
  for (int i = 0; i < 5000; ++i) {
    series.x.push_back(next() * 10);
    series.y.push_back(i % 50 == 0 ? kNone : next() * next() * 10);
  }
  const DisplayAxis axis{0, 10, {}};
  const ThinnedPoints thinned = ThinToRaster(series, axis, axis, {20, 10});

  std::map<std::pair<std::size_t, std::size_t>, std::size_t> expected;
  std::size_t left = 1, right = 1, low = 1, high = 1;  // the point 0 is left out
  for (std::size_t i = 0; i < series.x.size(); ++i) {
    if (series.y[i] != series.y[i]) continue;
    ++expected[{std::size_t(series.x[i] * 2), std::size_t(series.y[i])}];
    if (series.x[i] < series.x[left]) left = i;
    if (series.x[i] > series.x[right]) right = i;
    if (series.y[i] < series.y[low]) low = i;
    if (series.y[i] > series.y[high]) high = i;
  }
  ASSERT_EQ(thinned.cells.size(), expected.size());
  for (const FilledCell& cell : thinned.cells)
    EXPECT_EQ(cell.points, (expected[{cell.column, cell.row}]));
  const std::set<std::size_t> extremes = {left, right, low, high};
  EXPECT_EQ(std::set<std::size_t>(thinned.extremes.begin(), thinned.extremes.end()), extremes);
  EXPECT_EQ(DrawablePoints(series), 4900u);
  EXPECT_EQ(AllPoints(series).size(), 4900u);
}

TEST(PointThinning, PointsOnAndBeyondTheBoundsFallIntoTheOutermostCells) {
  const GraphSeries series{"", {0, 10, 10, -5, 25}, {0, 10, 0, 5, 5}, {}, {}};
  const DisplayAxis axis{0, 10, {}};
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> cells;
  for (const FilledCell& cell : ThinToRaster(series, axis, axis, {2, 2}).cells)
    cells[{cell.column, cell.row}] = cell.points;
  EXPECT_EQ(cells, (decltype(cells){{{0, 0}, 1}, {{1, 1}, 2}, {{1, 0}, 1}, {{0, 1}, 1}}));
}

TEST(PointThinning, ALineKeepsFirstLowestHighestAndLastOfEachColumnAndItsGaps) {
  const DisplayAxis axis{0, 4, {}};
  const GraphSeries series{
      "", {0.1, 0.2, 0.3, 0.4, 0.5, 1.5, 2.5, 2.6, 3.5}, {5, 1, 9, 3, 4, 0, kNone, 7, 8}, {}, {}};
  EXPECT_EQ(ThinLine(series, axis, 4), (std::vector<std::size_t>{0, 1, 2, 4, 5, 6, 7, 8}));

  GraphSeries wave;
  for (int i = 0; i < 100'000; ++i) {
    wave.x.push_back(i * 4e-5);
    wave.y.push_back((i * 7919) % 1000);
  }
  const auto kept = ThinLine(wave, axis, 100);
  EXPECT_LE(kept.size(), 400u);
  EXPECT_EQ(kept.front(), 0u);
  EXPECT_EQ(kept.back(), 99'999u);
  EXPECT_TRUE(std::is_sorted(kept.begin(), kept.end()));
  std::set<double> heights;
  for (const std::size_t i : kept) heights.insert(wave.y[i]);
  EXPECT_TRUE(heights.contains(0) && heights.contains(999));
}

TEST(PointThinning, ASeriesWithoutPointsGivesNone) {
  const DisplayAxis axis{0, 1, {}};
  const GraphSeries empty, absent{"", {kNone, 1}, {1, kNone}, {}, {}};
  for (const GraphSeries* series : {&empty, &absent}) {
    EXPECT_TRUE(ThinToRaster(*series, axis, axis, {4, 4}).cells.empty());
    EXPECT_TRUE(ThinToRaster(*series, axis, axis, {4, 4}).extremes.empty());
    EXPECT_TRUE(ThinLine(*series, axis, 4).empty());
  }
}

}  // namespace
}  // namespace qrvml
