// Scatterplots and lines.
#include <algorithm>
#include <array>
#include <cmath>

#include "documents/cell_text.h"
#include "documents/graph_style.h"
#include "documents/point_thinning.h"
#include "documents/svg_charts.h"

namespace qrvml {
namespace {

constexpr std::size_t kMostNamed = 200;     // points with their case's name beside them
constexpr std::size_t kMostLineMarks = 60;  // marks on a line
constexpr double kCell = 4;                 // pixels, of the raster for many points
constexpr double kNameSize = 10, kLongestName = 140;

// Opacity of a cell by the logarithm of its number of points, from one point to the fullest cell.
constexpr std::array kDensityOpacity = {.2, .35, .5, .65, .8, 1.};

struct LeastSquares {
  double intercept, slope, correlation;
  FiniteRange x;
  bool exists = false;
};

/// The least-squares line of all drawable points, by two passes over deviations from the means.
LeastSquares FitLine(const GraphSeries& series) {
  LeastSquares fit{};
  const std::vector<std::size_t> points = AllPoints(series);
  double meanX = 0, meanY = 0;
  for (const std::size_t i : points) {
    meanX += series.x[i] / double(points.size());
    meanY += series.y[i] / double(points.size());
    fit.x.Include(series.x[i]);
  }
  double xx = 0, xy = 0, yy = 0;
  for (const std::size_t i : points) {
    const double dx = series.x[i] - meanX, dy = series.y[i] - meanY;
    xx += dx * dx;
    xy += dx * dy;
    yy += dy * dy;
  }
  if (points.size() < 2 || !(xx > 0)) return fit;
  fit.slope = xy / xx;
  fit.intercept = meanY - fit.slope * meanX;
  fit.correlation = yy > 0 ? xy / std::sqrt(xx) / std::sqrt(yy) : 0;
  fit.exists = std::isfinite(fit.slope) && std::isfinite(fit.intercept);
  return fit;
}

std::string Equation(const LeastSquares& fit, std::string_view name) {
  std::string text(name);
  if (!text.empty()) text += ": ";
  text += "y = " + NoteNumber(fit.intercept) + (fit.slope < 0 ? " - " : " + ") +
          NoteNumber(std::abs(fit.slope)) + " x, r = " + NoteNumber(fit.correlation);
  return text;
}

class PointsChart {
 public:
  PointsChart(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName)
      : svg_(svg), graph_(graph), caseName_(caseName), isLine_(graph.type == GraphType::line) {
    FiniteRange x, y;
    for (const GraphSeries& series : graph.series) {
      points_ += DrawablePoints(series);
      // A point that is left out moves no axis.
      for (const std::size_t i : AllPoints(series)) {
        x.Include(series.x[i]);
        y.Include(series.y[i]);
      }
    }
    x_ = MakeDisplayAxis(AxisAt(graph, 0), x);
    y_ = MakeDisplayAxis(AxisAt(graph, 1), y);
    if (graph.fit && !isLine_) {
      for (const GraphSeries& series : graph.series) fits_.push_back(FitLine(series));
    }
  }

  void Draw() {
    const bool thinned = !isLine_ && points_ > kMostPointsDrawn;
    FrameTexts texts{graph_.title, LegendOf(graph_, isLine_, !isLine_ || HasLineMarks()), {}};
    for (std::size_t s = 0; s < fits_.size() && s < kSeriesColours.size(); ++s) {
      if (fits_[s].exists)
        texts.notes.push_back(Equation(fits_[s], Trimmed(graph_.series[s].name)));
    }
    if (thinned)
      texts.notes.push_back(
          std::to_string(points_) +
          " points, drawn as squares of 4 x 4 pixels that hold points, darker for "
          "more, and marks for the extreme points");
    const PlotArea area = DrawTexts(svg_, texts);
    plot_ = DrawFlatAxes(
        svg_, {AxisAt(graph_, 0).title, AxisAt(graph_, 1).title, x_.marks, y_.marks}, area);
    // Below marks that can be told apart, above a density.
    if (!thinned) DrawFits(thinned);
    for (std::size_t s = 0; s < graph_.series.size(); ++s) {
      if (isLine_) {
        DrawLine(s);
      } else if (thinned) {
        DrawDensity(s);
      } else {
        DrawMarks(s, 3.5);
      }
    }
    if (thinned) DrawFits(thinned);
    if (points_ <= kMostNamed) DrawNames();
    svg_.Rectangle(plot_.left, plot_.top, plot_.Width(), plot_.Height(),
                   "fill=\"none\" stroke=\"#444\"");
  }

 private:
  double X(double value) const { return plot_.X(x_.Position(value)); }
  double Y(double value) const { return plot_.Y(y_.Position(value)); }
  bool HasLineMarks() const { return points_ <= kMostLineMarks; }
  bool HasName(const GraphSeries& series, std::size_t i) const { return i < series.cases.size(); }

  void DrawMarks(std::size_t s, double radius) {
    const GraphSeries& series = graph_.series[s];
    svg_.BeginGroup("class=\"points\" " + MarkStyle(s) + " stroke=\"#fff\" stroke-width=\"0.5\"");
    for (const std::size_t i : AllPoints(series))
      DrawMark(svg_, s, X(series.x[i]), Y(series.y[i]), radius,
               HasName(series, i) ? CaseName(series.cases[i], caseName_) : std::string());
    svg_.EndGroup();
  }

  void DrawDensity(std::size_t s) {
    const GraphSeries& series = graph_.series[s];
    const ThinningRaster raster{std::size_t(plot_.Width() / kCell),
                                std::size_t(plot_.Height() / kCell)};
    const ThinnedPoints thinned = ThinToRaster(series, x_, y_, raster);
    std::size_t fullest = 1;
    for (const FilledCell& cell : thinned.cells) fullest = std::max(fullest, cell.points);
    std::array<std::string, kDensityOpacity.size()> paths;
    const double width = plot_.Width() / double(raster.columns);
    const double height = plot_.Height() / double(raster.rows);
    for (const auto& [column, row, points] : thinned.cells) {
      const double share = std::log1p(double(points)) / std::log1p(double(fullest));
      const auto level = std::min(paths.size() - 1, std::size_t(share * double(paths.size())));
      std::string& path = paths[level];
      AppendPath(path,
                 {'M', {plot_.left + double(column) * width, plot_.bottom - double(row) * height}});
      AppendPath(path, {'h', {width}});
      AppendPath(path, {'v', {-height}});
      AppendPath(path, {'h', {-width}});
      path += 'z';
    }
    for (std::size_t level = 0; level < paths.size(); ++level) {
      if (!paths[level].empty())
        svg_.Path(paths[level], "class=\"density\" shape-rendering=\"crispEdges\" " +
                                    MarkStyle(s, kDensityOpacity[level]));
    }
    svg_.BeginGroup("class=\"points\" " + MarkStyle(s));
    for (const std::size_t i : thinned.extremes)
      DrawMark(svg_, s, X(series.x[i]), Y(series.y[i]), kCell / 2);
    svg_.EndGroup();
  }

  void DrawLine(std::size_t s) {
    const GraphSeries& series = graph_.series[s];
    const std::size_t count = std::min(series.x.size(), series.y.size());
    std::string path;
    bool drawing = false;
    for (const std::size_t i : ThinLine(series, x_, std::size_t(plot_.Width()))) {
      if (i >= count || !std::isfinite(series.x[i]) || !std::isfinite(series.y[i])) {
        drawing = false;
        continue;
      }
      AppendPath(path, {drawing ? 'L' : 'M', {X(series.x[i]), Y(series.y[i])}});
      drawing = true;
    }
    if (!path.empty()) svg_.Path(path, "class=\"line\" " + LineStyle(s, 2));
    if (HasLineMarks()) DrawMarks(s, 4);
  }

  void DrawFits(bool thinned) {
    for (std::size_t s = 0; s < fits_.size(); ++s) DrawFit(s, thinned);
  }

  /// From the smallest to the largest x of the series, as far as it lies within the plot.
  void DrawFit(std::size_t s, bool thinned) {
    const LeastSquares& fit = fits_[s];
    if (!fit.exists) return;
    const auto heightAt = [&](double x) { return fit.intercept + fit.slope * x; };
    double from = fit.x.minimum, to = fit.x.maximum;
    if (fit.slope != 0) {
      const double low = (y_.minimum - fit.intercept) / fit.slope;
      const double high = (y_.maximum - fit.intercept) / fit.slope;
      from = std::max(from, std::min(low, high));
      to = std::min(to, std::max(low, high));
    }
    if (!(from < to)) return;
    // White below keeps the line in sight on top of many points; a single line contrasts with them.
    const double x1 = X(from), y1 = Y(heightAt(from)), x2 = X(to), y2 = Y(heightAt(to));
    if (thinned)
      svg_.Line(x1, y1, x2, y2, "stroke=\"#fff\" stroke-width=\"5\" stroke-opacity=\"0.7\"");
    svg_.Line(x1, y1, x2, y2,
              fits_.size() == 1 ? "class=\"fit\" stroke=\"#D55E00\" stroke-width=\"2\""
                                : "class=\"fit\" " + LineStyle(s, 2));
  }

  /// Each name at the first of four places beside its point that no mark or earlier name takes.
  void DrawNames() {
    struct Place {
      double left, top, right, bottom;
      bool Meets(const Place& o) const {
        return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
      }
    };
    std::vector<Place> taken;
    for (const GraphSeries& series : graph_.series) {
      for (const std::size_t i : AllPoints(series)) {
        const double x = X(series.x[i]), y = Y(series.y[i]);
        taken.push_back({x - 3, y - 3, x + 3, y + 3});
      }
    }
    svg_.BeginGroup("class=\"names\" font-size=\"10\" fill=\"#333\"");
    for (const GraphSeries& series : graph_.series) {
      for (const std::size_t i : AllPoints(series)) {
        if (!HasName(series, i)) continue;
        const std::string name =
            FitText(CaseName(series.cases[i], caseName_), kLongestName, kNameSize);
        const double width = TextWidth(name, kNameSize), x = X(series.x[i]), y = Y(series.y[i]);
        for (const auto& [left, top] :
             {std::pair{x + 5, y - 11.0}, std::pair{x - 5 - width, y - 11.0},
              std::pair{x + 5, y + 1.0}, std::pair{x - 5 - width, y + 1.0}}) {
          const Place place{left, top, left + width, top + kNameSize};
          const bool inside = place.left >= plot_.left && place.right <= plot_.right &&
                              place.top >= plot_.top && place.bottom <= plot_.bottom;
          if (!inside || std::ranges::any_of(taken, [&](const Place& t) { return t.Meets(place); }))
            continue;
          svg_.Text(left, top + kNameSize - 2, name, "");
          taken.push_back(place);
          break;
        }
      }
    }
    svg_.EndGroup();
  }

  SvgWriter& svg_;
  const Graph& graph_;
  const CaseNamer& caseName_;
  bool isLine_;
  std::size_t points_ = 0;
  DisplayAxis x_, y_;
  std::vector<LeastSquares> fits_;  // one per series, or none
  PlotArea plot_{};
};

}  // namespace

void DrawPoints(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName) {
  PointsChart(svg, graph, caseName).Draw();
}

}  // namespace qrvml
