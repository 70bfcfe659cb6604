// Surfaces through scattered points, against functions that are known.
#include "documents/surface_grid.h"

#include <gtest/gtest.h>

namespace qrvml {
namespace {

std::vector<SpacePoint> Scattered(int count, double (*height)(double, double)) {
  std::vector<SpacePoint> points;
  std::uint64_t state = 99;
  const auto next = [&state] {
    state = state * 48271 % 2147483647;
    return double(state) / 2147483647;
  };
  for (int i = 0; i < count; ++i) {
    const double x = next(), y = next();
    points.push_back({x, y, height(x, y), std::size_t(i)});
  }
  return points;
}

TEST(SurfaceGrids, PointsOnAPlaneGiveThatPlane) {
  const auto plane = [](double x, double y) { return 0.2 + 0.3 * x + 0.4 * y; };
  auto points = Scattered(50, plane);
  // With the corners among the points the limits of height cut nothing off.
  for (const double x : {0.0, 1.0}) {
    for (const double y : {0.0, 1.0}) points.push_back({x, y, plane(x, y), 0});
  }
  const SurfaceGrid grid = FitSurface(points, 11);
  ASSERT_EQ(grid.heights.size(), 121u);
  for (std::size_t row = 0; row < 11; ++row) {
    for (std::size_t column = 0; column < 11; ++column)
      EXPECT_NEAR(grid.At(column, row), plane(double(column) / 10, double(row) / 10), 1e-6);
  }
}

TEST(SurfaceGrids, ManyPointsFollowACurvedSurface) {
  const auto hill = [](double x, double y) {
    return std::exp(-8 * ((x - .5) * (x - .5) + (y - .5) * (y - .5)));
  };
  const SurfaceGrid grid = FitSurface(Scattered(20'000, hill), 33);
  for (std::size_t row = 4; row < 29; ++row) {
    for (std::size_t column = 4; column < 29; ++column)
      EXPECT_NEAR(grid.At(column, row), hill(double(column) / 32, double(row) / 32), 0.02);
  }
}

TEST(SurfaceGrids, FewOrAlignedPointsGiveFiniteHeightsWithinTheirRange) {
  const std::vector<std::vector<SpacePoint>> kCases = {
      {{.5, .5, .7, 0}},
      {{.2, .2, .1, 0}, {.8, .8, .9, 1}},
      {{0, .5, 0, 0}, {.5, .5, .5, 1}, {1, .5, 1, 2}},
      {{.5, .5, 0, 0}, {.5, .5, 1, 1}},
  };
  for (const auto& points : kCases) {
    double low = 1, high = 0;
    for (const SpacePoint& point : points) {
      low = std::min(low, point.z);
      high = std::max(high, point.z);
    }
    const SurfaceGrid grid = FitSurface(points, 9);
    ASSERT_EQ(grid.heights.size(), 81u);
    for (const double height : grid.heights) {
      EXPECT_GE(height, low);
      EXPECT_LE(height, high);
    }
  }
  EXPECT_EQ(FitSurface(kCases[0], 9).At(0, 0), .7);
  EXPECT_NEAR(FitSurface(kCases[2], 9).At(2, 0), .25, 1e-6);  // along the line of the points
  EXPECT_TRUE(FitSurface({}, 9).heights.empty());
}

TEST(SurfaceGrids, PointsWithoutThreeFiniteCoordinatesAreLeftOut) {
  const GraphSeries series{"", {1, 2, kEmptyCell, 4}, {1, kEmptyCell, 3, 4}, {5, 6, 7}, {}};
  const DisplayAxis axis{0, 10, {}};
  const auto points = SpacePoints(series, axis, axis, axis);
  ASSERT_EQ(points.size(), 1u);
  EXPECT_EQ(points[0].index, 0u);
  EXPECT_DOUBLE_EQ(points[0].z, 0.5);
}

}  // namespace
}  // namespace qrvml
