#include "documents/surface_grid.h"

#include <algorithm>
#include <cmath>

namespace qrvml {
namespace {

constexpr std::size_t kRaster = 64;
constexpr double kSmoothing = 0.3;  // of the usual distance of n points, 1 / sqrt(n)
constexpr double kRidge = 1e-9;     // of the spread: keeps a plane through points on a line
constexpr double kLeastSpread = 1e-12;

struct WeightedPoint {
  double x = 0, y = 0, z = 0, weight = 0;
};

std::vector<WeightedPoint> Gather(const std::vector<SpacePoint>& points) {
  std::vector<WeightedPoint> cells(kRaster * kRaster);
  const auto cellOf = [](double position) {
    return std::min(kRaster - 1, std::size_t(std::max(position, 0.0) * kRaster));
  };
  for (const SpacePoint& point : points) {
    WeightedPoint& cell = cells[cellOf(point.y) * kRaster + cellOf(point.x)];
    cell.weight += 1;
    cell.x += point.x;
    cell.y += point.y;
    cell.z += point.z;
  }
  std::erase_if(cells, [](const WeightedPoint& cell) { return cell.weight == 0; });
  for (WeightedPoint& cell : cells) {
    cell.x /= cell.weight;
    cell.y /= cell.weight;
    cell.z /= cell.weight;
  }
  return cells;
}

/// The weighted plane's height at (x, y).
double PlaneAt(const std::vector<WeightedPoint>& points, double x, double y, double closeness) {
  double sw = 0, sx = 0, sy = 0, sz = 0;
  const auto weightOf = [&](const WeightedPoint& p, double dx, double dy) {
    const double near = dx * dx + dy * dy + closeness;
    return p.weight / (near * near);
  };
  for (const WeightedPoint& p : points) {
    const double dx = p.x - x, dy = p.y - y, w = weightOf(p, dx, dy);
    sw += w;
    sx += w * dx;
    sy += w * dy;
    sz += w * p.z;
  }
  const double mx = sx / sw, my = sy / sw, mz = sz / sw;
  double xx = 0, xy = 0, yy = 0, xz = 0, yz = 0;
  for (const WeightedPoint& p : points) {
    const double dx = p.x - x, dy = p.y - y, w = weightOf(p, dx, dy) / sw;
    const double cx = dx - mx, cy = dy - my, cz = p.z - mz;
    xx += w * cx * cx;
    xy += w * cx * cy;
    yy += w * cy * cy;
    xz += w * cx * cz;
    yz += w * cy * cz;
  }
  const double ridge = kRidge * (xx + yy) + kLeastSpread;
  xx += ridge;
  yy += ridge;
  const double determinant = xx * yy - xy * xy;
  const double slopeX = (xz * yy - yz * xy) / determinant;
  const double slopeY = (yz * xx - xz * xy) / determinant;
  return mz - slopeX * mx - slopeY * my;
}

}  // namespace

std::vector<SpacePoint> SpacePoints(const GraphSeries& series, const DisplayAxis& x,
                                    const DisplayAxis& y, const DisplayAxis& z) {
  std::vector<SpacePoint> points;
  const std::size_t count = std::min({series.x.size(), series.y.size(), series.z.size()});
  for (std::size_t i = 0; i < count; ++i) {
    if (std::isfinite(series.x[i]) && std::isfinite(series.y[i]) && std::isfinite(series.z[i]))
      points.push_back(
          {x.Position(series.x[i]), y.Position(series.y[i]), z.Position(series.z[i]), i});
  }
  return points;
}

SurfaceGrid FitSurface(const std::vector<SpacePoint>& points, std::size_t nodes) {
  SurfaceGrid grid;
  if (points.empty() || nodes < 2) return grid;
  const auto [lowest, highest] = std::ranges::minmax_element(points, {}, &SpacePoint::z);
  const std::vector<WeightedPoint> gathered = Gather(points);
  const double between = 1.0 / double(nodes - 1);
  const double smoothing = std::max(between / 2, kSmoothing / std::sqrt(double(gathered.size())));
  grid.nodes = nodes;
  grid.heights.reserve(nodes * nodes);
  for (std::size_t row = 0; row < nodes; ++row) {
    for (std::size_t column = 0; column < nodes; ++column) {
      const double height =
          PlaneAt(gathered, double(column) * between, double(row) * between, smoothing * smoothing);
      grid.heights.push_back(std::clamp(height, lowest->z, highest->z));
    }
  }
  return grid;
}

}  // namespace qrvml
