#include "documents/svg_renderer.h"

#include <charconv>

#include "documents/cell_text.h"
#include "documents/svg_charts.h"

namespace qrvml {

const GraphAxis& AxisAt(const Graph& graph, std::size_t position) {
  static const GraphAxis none;
  return position < graph.axes.size() ? graph.axes[position] : none;
}

std::vector<LegendEntry> LegendOf(const Graph& graph, bool line, bool mark) {
  std::vector<LegendEntry> legend;
  for (std::size_t i = 0; i < graph.series.size(); ++i) {
    if (const std::string_view name = Trimmed(graph.series[i].name); !name.empty())
      legend.push_back({std::string(name), i, line, mark});
  }
  return legend;
}

std::string NoteNumber(double value) {
  char buffer[32];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 5).ptr;
  return {buffer, end};
}

std::string GraphSvg(const Graph& graph, const CaseNamer& caseName) {
  SvgWriter svg(kPictureWidth, kPictureHeight, Trimmed(graph.title));
  switch (graph.type) {
    case GraphType::histogram:
      DrawHistogram(svg, graph);
      break;
    case GraphType::scatter:
    case GraphType::line:
      DrawPoints(svg, graph, caseName);
      break;
    case GraphType::surface:
      DrawSurface(svg, graph, caseName);
      break;
  }
  return svg.Finish();
}

}  // namespace qrvml
