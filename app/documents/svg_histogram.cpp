#include <algorithm>
#include <cmath>

#include "documents/graph_style.h"
#include "documents/histogram_bars.h"
#include "documents/svg_charts.h"

namespace qrvml {
namespace {

constexpr double kCategoryShare = 0.8;  // of its place that a category's bar takes
constexpr double kWidestBar = 120;
constexpr std::size_t kMostCounted = 40;  // bars that carry their count
constexpr double kCountSize = 11;
constexpr std::size_t kMostColumns = 720;

/// A bar as it is drawn: positions along x (0 to 1) and its height.
struct DrawnBar {
  double from, to, count;
};

/// Bars in order, or the highest of each group where they are more than pixel columns.
std::vector<DrawnBar> Place(const std::vector<HistogramBar>& bars, bool categories,
                            const DisplayAxis& x) {
  std::vector<DrawnBar> drawn;
  const std::size_t group = (bars.size() + kMostColumns - 1) / kMostColumns;
  const double share = 1.0 / double(std::max<std::size_t>(1, bars.size()));
  for (std::size_t i = 0; i < bars.size(); i += group) {
    const std::size_t end = std::min(bars.size(), i + group);
    DrawnBar bar{double(i) * share, double(end) * share, bars[i].count};
    if (!categories) {
      bar.from = x.Position(bars[i].from);
      bar.to = x.Position(bars[end - 1].to);
    }
    for (std::size_t k = i; k < end; ++k) bar.count = std::max(bar.count, bars[k].count);
    drawn.push_back(bar);
  }
  return drawn;
}

void DrawBars(SvgWriter& svg, const std::vector<DrawnBar>& bars, bool categories,
              const DisplayAxis& y, const PlotArea& plot) {
  const double base = plot.Y(y.Position(0));
  bool counted = bars.size() <= kMostCounted;
  for (const DrawnBar& bar : bars)
    counted = counted && TextWidth(NoteNumber(bar.count), kCountSize) <=
                             (bar.to - bar.from) * plot.Width() + 2;
  const bool outlined = bars.size() < kMostColumns / 4;
  svg.BeginGroup(outlined ? "class=\"bars\" fill=\"#56B4E9\" stroke=\"#1b4f72\""
                          : "class=\"bars\" fill=\"#0072B2\" shape-rendering=\"crispEdges\"");
  for (const DrawnBar& bar : bars) {
    if (bar.count == 0) continue;
    double left = plot.X(bar.from), right = plot.X(bar.to);
    if (categories) {
      const double middle = (left + right) / 2;
      const double half = std::min(kWidestBar, (right - left) * kCategoryShare) / 2;
      left = middle - half;
      right = middle + half;
    }
    const double top = plot.Y(y.Position(bar.count));
    svg.Rectangle(left, std::min(top, base), right - left, std::abs(base - top), {},
                  outlined ? NoteNumber(bar.count) : std::string());
  }
  svg.EndGroup();
  if (!counted) return;
  svg.BeginGroup("font-size=\"11\" text-anchor=\"middle\"");
  for (const DrawnBar& bar : bars) {
    if (bar.count != 0)
      svg.Text((plot.X(bar.from) + plot.X(bar.to)) / 2, plot.Y(y.Position(bar.count)) - 4,
               NoteNumber(bar.count), "");
  }
  svg.EndGroup();
}

}  // namespace

void DrawHistogram(SvgWriter& svg, const Graph& graph) {
  const auto [bars, categories] = BarsOf(graph);
  FiniteRange xRange, counts;
  counts.Include(0);
  bool whole = true;
  for (const HistogramBar& bar : bars) {
    xRange.Include(bar.from);
    xRange.Include(bar.to);
    counts.Include(bar.count);
    whole = whole && bar.count == std::floor(bar.count);
  }
  // Room for the count above the highest bar.
  if (bars.size() <= kMostCounted) counts.Include(counts.maximum * 1.05);
  if (counts.maximum == 0) counts.Include(1);
  DisplayAxis x = MakeDisplayAxis(AxisAt(graph, 0), xRange, {.mostMarks = 12, .widen = false});
  const DisplayAxis y =
      MakeDisplayAxis(AxisAt(graph, 1), counts, {.mostMarks = 9, .leastStep = whole ? 1.0 : 0.0});
  if (categories) {
    x.marks.clear();
    for (std::size_t i = 0; i < bars.size(); ++i)
      x.marks.push_back({(double(i) + 0.5) / double(bars.size()), bars[i].label});
  }

  FrameTexts texts{graph.title, {}, {}};
  const std::vector<DrawnBar> drawn = Place(bars, categories, x);
  if (drawn.size() < bars.size())
    texts.notes.push_back(std::to_string(bars.size()) +
                          " bins; each column shows the highest of its bins");
  const PlotArea area = DrawTexts(svg, texts);
  const PlotArea plot = DrawFlatAxes(
      svg, {AxisAt(graph, 0).title, AxisAt(graph, 1).title, x.marks, y.marks, false}, area);
  DrawBars(svg, drawn, categories, y, plot);
  svg.Line(plot.left, plot.Y(y.Position(0)), plot.right, plot.Y(y.Position(0)), "stroke=\"#444\"");
  svg.Line(plot.left, plot.top, plot.left, plot.bottom, "stroke=\"#444\"");
}

}  // namespace qrvml
