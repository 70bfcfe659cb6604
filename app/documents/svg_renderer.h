// Graphs as SVG pictures of 800 x 600 pixels.
#pragma once

#include <string>

#include "documents/cells.h"
#include "host/documents.h"

namespace qrvml {

/// The picture of a graph; the same graph gives the same bytes. What is not finite is left out.
/// - Histogram: a bar a bin, its count above it while bars are few and wide. With labels of edges
///   the bins are categories: bars side by side, named by the label (else the code) of the bin's
///   lower edge; a first bin that is empty and has no label is left out. More bins than pixel
///   columns: each column shows the highest of its bins.
/// - Scatter: a mark a point, with its case's name as a hint and, for at most 200 points, beside it
///   where there is room. More than 5,000 points: see point_thinning.h; marks that stand for more
///   points are darker. With `fit`, the least-squares line of all points and its equation.
/// - Line: straight lines between neighbours, marks while they are few.
/// - Surface: see surface_grid.h, seen from the front left and above, painted by height, with the
///   points while there are at most 1,000.
/// A series with a name stands in the legend, without the blanks around it.
std::string GraphSvg(const Graph& graph, const CaseNamer& caseName);

}  // namespace qrvml
