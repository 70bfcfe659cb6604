// Which points of a large graph are drawn: enough to see its shape, few enough to draw.
#pragma once

#include <cstddef>
#include <vector>

#include "documents/display_axis.h"
#include "host/documents.h"

namespace qrvml {

/// Graphs with more drawable points than this are thinned.
inline constexpr std::size_t kMostPointsDrawn = 5'000;

/// A raster over the plot.
struct ThinningRaster {
  std::size_t columns, rows;
};

/// A cell that holds points.
struct FilledCell {
  std::size_t column, row;  // from the minima of the axes
  std::size_t points;
};

struct ThinnedPoints {
  std::vector<FilledCell> cells;      // row by row
  std::vector<std::size_t> extremes;  // the first smallest and largest in x and in y, each once
};

/// Drawable points have two finite coordinates.
std::size_t DrawablePoints(const GraphSeries& series);

ThinnedPoints ThinToRaster(const GraphSeries& series, const DisplayAxis& x, const DisplayAxis& y,
                           const ThinningRaster& raster);

/// The positions of all drawable points.
std::vector<std::size_t> AllPoints(const GraphSeries& series);

/// For a line: of the points that follow each other in the same of `columns` columns the first, the
/// lowest, the highest and the last, in order. A point without finite coordinates interrupts the
/// line; it is kept, once, wherever it stands between others.
std::vector<std::size_t> ThinLine(const GraphSeries& series, const DisplayAxis& x,
                                  std::size_t columns);

}  // namespace qrvml
