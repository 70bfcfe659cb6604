// The kinds of graphs, each drawn into a picture that has been opened.
#pragma once

#include <string>

#include "documents/cells.h"
#include "documents/svg_frame.h"
#include "documents/svg_writer.h"
#include "host/documents.h"

namespace qrvml {

void DrawHistogram(SvgWriter& svg, const Graph& graph);
void DrawPoints(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName);
void DrawSurface(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName);

/// The axis at the position, or an empty one where the graph has fewer.
const GraphAxis& AxisAt(const Graph& graph, std::size_t position);
/// The names of series that have one.
std::vector<LegendEntry> LegendOf(const Graph& graph, bool line, bool mark);
/// A number for a note: up to five significant digits.
std::string NoteNumber(double value);

}  // namespace qrvml
