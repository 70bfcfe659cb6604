#include "documents/point_thinning.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qrvml {
namespace {

std::size_t Points(const GraphSeries& series) { return std::min(series.x.size(), series.y.size()); }

bool IsDrawable(const GraphSeries& series, std::size_t i) {
  return std::isfinite(series.x[i]) && std::isfinite(series.y[i]);
}

std::size_t CellOf(const DisplayAxis& axis, double value, std::size_t cells) {
  const double place = axis.Position(value) * double(cells);
  return std::min(cells - 1, std::size_t(std::max(place, 0.0)));
}

/// Neighbours in one column of a line.
struct ColumnRun {
  std::size_t column, first, low, high, last;

  void Flush(std::vector<std::size_t>& kept) const {
    std::array<std::size_t, 4> points = {first, low, high, last};
    std::ranges::sort(points);
    for (const std::size_t point : points) {
      if (kept.empty() || kept.back() != point) kept.push_back(point);
    }
  }
};

}  // namespace

std::size_t DrawablePoints(const GraphSeries& series) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < Points(series); ++i) count += IsDrawable(series, i) ? 1 : 0;
  return count;
}

ThinnedPoints ThinToRaster(const GraphSeries& series, const DisplayAxis& x, const DisplayAxis& y,
                           const ThinningRaster& raster) {
  std::vector<std::size_t> counts(raster.columns * raster.rows);
  constexpr std::size_t kNone = std::size_t(-1);
  std::array<std::size_t, 4> extremes = {kNone, kNone, kNone, kNone};
  const auto keep = [](std::size_t& extreme, std::size_t i, auto beats) {
    if (extreme == kNone || beats(i, extreme)) extreme = i;
  };
  const auto leftOf = [&](std::size_t a, std::size_t b) { return series.x[a] < series.x[b]; };
  const auto below = [&](std::size_t a, std::size_t b) { return series.y[a] < series.y[b]; };
  for (std::size_t i = 0; i < Points(series); ++i) {
    if (!IsDrawable(series, i)) continue;
    const std::size_t row = CellOf(y, series.y[i], raster.rows);
    ++counts[row * raster.columns + CellOf(x, series.x[i], raster.columns)];
    keep(extremes[0], i, leftOf);
    keep(extremes[1], i, [&](std::size_t a, std::size_t b) { return leftOf(b, a); });
    keep(extremes[2], i, below);
    keep(extremes[3], i, [&](std::size_t a, std::size_t b) { return below(b, a); });
  }
  ThinnedPoints thinned;
  for (std::size_t cell = 0; cell < counts.size(); ++cell) {
    if (counts[cell] > 0)
      thinned.cells.push_back({cell % raster.columns, cell / raster.columns, counts[cell]});
  }
  std::ranges::sort(extremes);
  for (const std::size_t i : extremes) {
    if (i != kNone && (thinned.extremes.empty() || thinned.extremes.back() != i))
      thinned.extremes.push_back(i);
  }
  return thinned;
}

std::vector<std::size_t> AllPoints(const GraphSeries& series) {
  std::vector<std::size_t> points;
  for (std::size_t i = 0; i < Points(series); ++i) {
    if (IsDrawable(series, i)) points.push_back(i);
  }
  return points;
}

std::vector<std::size_t> ThinLine(const GraphSeries& series, const DisplayAxis& x,
                                  std::size_t columns) {
  std::vector<std::size_t> kept;
  bool running = false;
  ColumnRun run{};
  for (std::size_t i = 0; i < Points(series); ++i) {
    if (!IsDrawable(series, i)) {
      if (running) {
        run.Flush(kept);
        kept.push_back(i);
      }
      running = false;
      continue;
    }
    const std::size_t column = CellOf(x, series.x[i], columns);
    if (running && column == run.column) {
      if (series.y[i] < series.y[run.low]) run.low = i;
      if (series.y[i] > series.y[run.high]) run.high = i;
      run.last = i;
      continue;
    }
    if (running) run.Flush(kept);
    run = {column, i, i, i, i};
    running = true;
  }
  if (running) run.Flush(kept);
  return kept;
}

}  // namespace qrvml
