// A surface through scattered points in space: heights on a regular grid.
#pragma once

#include <cstddef>
#include <vector>

#include "documents/display_axis.h"
#include "host/documents.h"

namespace qrvml {

/// Points with three finite coordinates, as positions on their axes (0 to 1).
struct SpacePoint {
  double x, y, z;
  std::size_t index;  // into the series
};
std::vector<SpacePoint> SpacePoints(const GraphSeries& series, const DisplayAxis& x,
                                    const DisplayAxis& y, const DisplayAxis& z);

/// Heights of nodes * nodes points evenly over the unit square, x fastest.
struct SurfaceGrid {
  std::size_t nodes = 0;
  std::vector<double> heights;

  double At(std::size_t column, std::size_t row) const { return heights[row * nodes + column]; }
};

/// At each node the value of the plane that fits the points best by least squares, each point
/// weighted by 1 / (d^2 + e^2)^2 with d its distance from the node in the unit square and e the
/// larger of half the distance of neighbouring nodes and 0.3 / sqrt(number of points) (locally
/// weighted linear fit: Cleveland & Devlin 1988; the weights: Shepard 1968). Points that share a
/// cell of a 64 x 64 raster enter as their mean, weighted by their number. No height leaves the
/// range of the points' heights; points on a plane give that plane. No points: no heights.
SurfaceGrid FitSurface(const std::vector<SpacePoint>& points, std::size_t nodes);

}  // namespace qrvml
