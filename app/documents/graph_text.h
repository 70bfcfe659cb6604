// Graphs as text for a terminal or a plain file, at most 78 columns wide.
#pragma once

#include <string>

#include "host/documents.h"

namespace qrvml {

/// Lines, each ended by a line feed: the title, then
/// - histogram: a line a bin with its range or category, a bar and its count; more than 40 bins are
///   joined to 40 or fewer by adding neighbours;
/// - scatter and line: a field of 64 x 18 characters, a sign of its own per series, "#" where
///   series meet, with the ends of both axes, and a line per series with its number of points;
/// - surface: the heights of the surface (see surface_grid.h) as seen from above, from " " (low) to
///   "@" (high), with the ends of the three axes.
std::string GraphText(const Graph& graph);

}  // namespace qrvml
