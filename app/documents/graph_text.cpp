#include "documents/graph_text.h"

#include <algorithm>
#include <cmath>

#include "documents/cell_text.h"
#include "documents/display_width.h"
#include "documents/histogram_bars.h"
#include "documents/point_thinning.h"
#include "documents/surface_grid.h"
#include "documents/svg_charts.h"

namespace qrvml {
namespace {

constexpr std::size_t kColumns = 64, kRows = 18;
constexpr std::size_t kMostBars = 40, kLongestBar = 36, kLongestName = 26;
constexpr std::string_view kSigns = "o+x*sdvt";
constexpr char kMeeting = '#';
constexpr std::string_view kHeights = " .:-=+*%@";

std::string PaddedAtLeft(const std::string& text, std::size_t width) {
  const std::size_t used = DisplayWidth(text);
  return std::string(used < width ? width - used : 0, ' ') + text;
}

std::string TitleLines(const Graph& graph) {
  std::string text;
  std::string_view rest = graph.title;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    text += PrintableText(Trimmed(rest.substr(0, end))) + '\n';
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return text + '\n';
}

std::string AxisName(const Graph& graph, std::size_t axis, std::string_view otherwise) {
  const std::string title = PrintableText(Trimmed(AxisAt(graph, axis).title));
  return title.empty() ? std::string(otherwise) : title;
}

/// Joined to at most kMostBars by adding up neighbours.
std::vector<HistogramBar> FewBars(const HistogramBars& source) {
  const std::size_t group = (source.bars.size() + kMostBars - 1) / kMostBars;
  std::vector<HistogramBar> bars;
  for (std::size_t i = 0; i < source.bars.size(); i += group) {
    const std::size_t last = std::min(i + group, source.bars.size()) - 1;
    HistogramBar bar = source.bars[i];
    for (std::size_t k = i + 1; k <= last; ++k) bar.count += source.bars[k].count;
    bar.to = source.bars[last].to;
    if (!source.categories) {
      bar.label = NoteNumber(bar.from) + " to " + NoteNumber(bar.to);
    } else if (last > i) {
      bar.label += " .. " + source.bars[last].label;
    }
    bar.label = CutToWidth(PrintableText(bar.label), kLongestName);
    bars.push_back(std::move(bar));
  }
  return bars;
}

std::string HistogramText(const Graph& graph) {
  const std::vector<HistogramBar> bars = FewBars(BarsOf(graph));
  const std::string name = CutToWidth(AxisName(graph, 0, ""), kLongestName);
  std::size_t width = DisplayWidth(name);
  double highest = 0;
  for (const HistogramBar& bar : bars) {
    width = std::max(width, DisplayWidth(bar.label));
    highest = std::max(highest, bar.count);
  }
  std::string text = PaddedAtLeft(name, width) + "  " + AxisName(graph, 1, "") + '\n';
  for (const HistogramBar& bar : bars) {
    const double share = highest > 0 ? std::max(bar.count, 0.0) / highest : 0;
    auto length = std::size_t(std::lround(share * double(kLongestBar)));
    if (bar.count > 0) length = std::max<std::size_t>(length, 1);
    text += PaddedAtLeft(bar.label, width) + " |" + std::string(length, '#') + ' ' +
            NoteNumber(bar.count) + '\n';
  }
  return text;
}

/// A field of characters inside a frame, with the ends of its axes.
std::string FieldText(const std::vector<std::string>& field, const DisplayAxis& x,
                      const DisplayAxis& y, const std::string& xName, const std::string& yName) {
  const std::string high = NoteNumber(y.maximum), low = NoteNumber(y.minimum);
  const std::size_t width = std::max(high.size(), low.size());
  const std::string rule = std::string(width + 1, ' ') + '+' + std::string(kColumns, '-') + "+\n";
  std::string text = std::string(width + 2, ' ') + yName + '\n' + rule;
  for (std::size_t row = 0; row < field.size(); ++row) {
    const std::string end = row == 0 ? high : row + 1 == field.size() ? low : "";
    text += PaddedAtLeft(end, width) + " |" + field[row] + "|\n";
  }
  const std::string left = NoteNumber(x.minimum), right = NoteNumber(x.maximum);
  const std::string middle = CutToWidth(xName, kColumns - left.size() - right.size() - 4);
  const std::size_t free = kColumns - left.size() - right.size() - DisplayWidth(middle);
  return text + rule + std::string(width + 2, ' ') + left + std::string(free / 2, ' ') + middle +
         std::string(free - free / 2, ' ') + right + '\n';
}

std::size_t PlaceOf(double position, std::size_t places) {
  return std::min(places - 1, std::size_t(std::max(position, 0.0) * double(places)));
}

std::string PointsText(const Graph& graph) {
  FiniteRange xRange, yRange;
  for (const GraphSeries& series : graph.series) {
    for (const std::size_t i : AllPoints(series)) {
      xRange.Include(series.x[i]);
      yRange.Include(series.y[i]);
    }
  }
  const DisplayAxis x = MakeDisplayAxis(AxisAt(graph, 0), xRange);
  const DisplayAxis y = MakeDisplayAxis(AxisAt(graph, 1), yRange);
  std::vector<std::string> field(kRows, std::string(kColumns, ' '));
  std::string legend;
  for (std::size_t s = 0; s < graph.series.size(); ++s) {
    const GraphSeries& series = graph.series[s];
    const char sign = kSigns[s % kSigns.size()];
    const std::vector<std::size_t> points = AllPoints(series);
    for (const std::size_t i : points) {
      char& place = field[kRows - 1 - PlaceOf(y.Position(series.y[i]), kRows)]
                         [PlaceOf(x.Position(series.x[i]), kColumns)];
      place = place == ' ' || place == sign ? sign : kMeeting;
    }
    const std::string name = PrintableText(Trimmed(series.name));
    legend += std::string(1, sign) + ' ' + name + (name.empty() ? "" : ": ") +
              std::to_string(points.size()) + (points.size() == 1 ? " point\n" : " points\n");
  }
  return FieldText(field, x, y, AxisName(graph, 0, "x"), AxisName(graph, 1, "y")) + legend;
}

std::string SurfaceText(const Graph& graph) {
  std::string text;
  for (const GraphSeries& series : graph.series) {
    FiniteRange ranges[3];
    const DisplayAxis same{0, 1, {}};
    for (const SpacePoint& point : SpacePoints(series, same, same, same)) {
      ranges[0].Include(point.x);
      ranges[1].Include(point.y);
      ranges[2].Include(point.z);
    }
    DisplayAxis axes[3];
    for (std::size_t a = 0; a < 3; ++a) axes[a] = MakeDisplayAxis(AxisAt(graph, a), ranges[a]);
    const std::vector<SpacePoint> points = SpacePoints(series, axes[0], axes[1], axes[2]);
    const SurfaceGrid grid = FitSurface(points, kRows);
    std::vector<std::string> field(kRows, std::string(kColumns, ' '));
    for (std::size_t row = 0; row < kRows && grid.nodes > 0; ++row) {
      for (std::size_t column = 0; column < kColumns; ++column) {
        const double height = grid.At(column * kRows / kColumns, kRows - 1 - row);
        field[row][column] = kHeights[PlaceOf(height, kHeights.size())];
      }
    }
    text += FieldText(field, axes[0], axes[1], AxisName(graph, 0, "x"), AxisName(graph, 1, "y"));
    text += AxisName(graph, 2, "z") + ": \"" + kHeights.front() + "\" " +
            NoteNumber(axes[2].minimum) + " to \"" + kHeights.back() + "\" " +
            NoteNumber(axes[2].maximum) + "; " + std::to_string(points.size()) + " points\n";
  }
  return text;
}

}  // namespace

std::string GraphText(const Graph& graph) {
  switch (graph.type) {
    case GraphType::histogram:
      return TitleLines(graph) + HistogramText(graph);
    case GraphType::scatter:
    case GraphType::line:
      return TitleLines(graph) + PointsText(graph);
    case GraphType::surface:
      break;
  }
  return TitleLines(graph) + SurfaceText(graph);
}

}  // namespace qrvml
