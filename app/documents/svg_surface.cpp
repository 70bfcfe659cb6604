// Response surfaces: a painted grid in a box, seen from the front left and above.
#include <algorithm>
#include <cmath>

#include "documents/cell_text.h"
#include "documents/graph_style.h"
#include "documents/surface_grid.h"
#include "documents/svg_charts.h"

namespace qrvml {
namespace {

constexpr std::size_t kNodes = 33;
constexpr std::size_t kMostPoints = 1'000;
constexpr int kMostMarks = 6;
// The view: cosine and sine of an azimuth of 30 and an elevation of 25 degrees.
constexpr double kCosA = 0.8660254037844387, kSinA = 0.5;
constexpr double kCosE = 0.9063077870366499, kSinE = 0.42261826174069944;
constexpr double kBoxHeight = 0.75;  // of the other edges
constexpr int kScaleSteps = 20;
constexpr double kScaleWidth = 16, kScaleRoom = 90;

struct Screen {
  double x, y;
};

/// Places of the box (0 to 1 along each edge) on the picture. Larger x and y are farther away.
class View {
 public:
  explicit View(const PlotArea& area) {
    const double width = kCosA + kSinA, height = (kSinA + kCosA) * kSinE + kBoxHeight * kCosE;
    scale_ = std::min(area.Width() / width, area.Height() / height);
    // The box's leftmost point is (0, 1), its lowest the corner (0, 0, 0).
    left_ = area.left + (area.Width() - width * scale_) / 2;
    bottom_ = area.bottom - (area.Height() - height * scale_) / 2;
  }
  Screen At(double x, double y, double z) const {
    return {left_ + scale_ * (x * kCosA + (1 - y) * kSinA),
            bottom_ - scale_ * ((x * kSinA + y * kCosA) * kSinE + z * kBoxHeight * kCosE)};
  }

 private:
  double scale_, left_, bottom_;
};

std::string PathThrough(std::initializer_list<Screen> corners) {
  std::string path;
  for (const Screen& corner : corners)
    AppendPath(path, {path.empty() ? 'M' : 'L', {corner.x, corner.y}});
  return path + 'Z';
}

class SurfaceChart {
 public:
  SurfaceChart(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName)
      : svg_(svg), graph_(graph), caseName_(caseName) {
    FiniteRange ranges[3];
    for (const GraphSeries& series : graph.series) {
      // With axes of 0 to 1, positions are the values themselves.
      const DisplayAxis same{0, 1, {}};
      for (const SpacePoint& point : SpacePoints(series, same, same, same)) {
        ranges[0].Include(point.x);
        ranges[1].Include(point.y);
        ranges[2].Include(point.z);
      }
    }
    for (std::size_t a = 0; a < 3; ++a)
      axes_[a] = MakeDisplayAxis(AxisAt(graph, a), ranges[a], {.mostMarks = kMostMarks});
    for (const GraphSeries& series : graph.series) {
      points_.push_back(SpacePoints(series, axes_[0], axes_[1], axes_[2]));
      grids_.push_back(FitSurface(points_.back(), kNodes));
      drawnPoints_ += points_.back().size();
    }
  }

  void Draw() {
    FrameTexts texts{graph_.title, LegendOf(graph_, false, true), {}};
    PlotArea area = DrawTexts(svg_, texts);
    DrawScale({area.right - kScaleRoom, area.top + 40, area.right, area.bottom - 120});
    area.right -= kScaleRoom;
    area.left += 60;
    area.bottom -= 56;
    const View view(area);
    DrawBox(view);
    DrawCells(view);
    DrawLabels(view);
  }

 private:
  void DrawScale(const PlotArea& area) {
    svg_.BeginGroup("class=\"scale\"");
    for (int i = 0; i < kScaleSteps; ++i) {
      const double low = area.Y(double(i) / kScaleSteps),
                   high = area.Y(double(i + 1) / kScaleSteps);
      svg_.Rectangle(area.left, high, kScaleWidth, low - high,
                     "fill=\"" + HeightColour((i + 0.5) / kScaleSteps) + '"');
    }
    svg_.EndGroup();
    svg_.Rectangle(area.left, area.top, kScaleWidth, area.Height(),
                   "fill=\"none\" stroke=\"#444\"");
    for (const AxisMark& mark : axes_[2].marks)
      svg_.Text(area.left + kScaleWidth + 5, area.Y(mark.position) + 4, mark.label, "");
  }

  void DrawEdge(const View& view, double x1, double y1, double z1, double x2, double y2,
                double z2) {
    const Screen from = view.At(x1, y1, z1), to = view.At(x2, y2, z2);
    svg_.Line(from.x, from.y, to.x, to.y);
  }

  /// Floor and the two walls behind.
  void DrawBox(const View& view) {
    svg_.BeginGroup("stroke=\"#ccc\"");
    for (const AxisMark& mark : axes_[0].marks) {
      DrawEdge(view, mark.position, 0, 0, mark.position, 1, 0);
      DrawEdge(view, mark.position, 1, 0, mark.position, 1, 1);
    }
    for (const AxisMark& mark : axes_[1].marks) {
      DrawEdge(view, 0, mark.position, 0, 1, mark.position, 0);
      DrawEdge(view, 1, mark.position, 0, 1, mark.position, 1);
    }
    for (const AxisMark& mark : axes_[2].marks) {
      DrawEdge(view, 0, 1, mark.position, 1, 1, mark.position);
      DrawEdge(view, 1, 0, mark.position, 1, 1, mark.position);
    }
    svg_.EndGroup();
    svg_.BeginGroup("stroke=\"#444\"");
    DrawEdge(view, 0, 0, 0, 1, 0, 0);
    DrawEdge(view, 0, 0, 0, 0, 1, 0);
    DrawEdge(view, 0, 1, 0, 0, 1, 1);
    svg_.EndGroup();
  }

  /// The cell of the grid that a position falls into.
  static std::size_t CellAt(double position) {
    return std::min(kNodes - 2, std::size_t(std::max(position, 0.0) * (kNodes - 1)));
  }

  /// From the farthest cell to the nearest, so that what is nearer covers what is behind.
  void DrawCells(const View& view) {
    std::vector<std::vector<const SpacePoint*>> inCell((kNodes - 1) * (kNodes - 1) *
                                                       points_.size());
    const auto cell = [this](std::size_t column, std::size_t row, std::size_t s) {
      return (row * (kNodes - 1) + column) * points_.size() + s;
    };
    if (drawnPoints_ <= kMostPoints) {
      for (std::size_t s = 0; s < points_.size(); ++s) {
        for (const SpacePoint& point : points_[s])
          inCell[cell(CellAt(point.x), CellAt(point.y), s)].push_back(&point);
      }
    }
    svg_.BeginGroup("class=\"surface\" stroke-width=\"0.4\" stroke-linejoin=\"round\"");
    for (std::size_t row = kNodes - 1; row-- > 0;) {
      for (std::size_t column = kNodes - 1; column-- > 0;) {
        for (const std::size_t s : SeriesFromBelow(column, row)) {
          auto& points = inCell[cell(column, row, s)];
          DrawCell(view, column, row, s, points);
        }
      }
    }
    svg_.EndGroup();
  }

  double CellHeight(std::size_t s, std::size_t column, std::size_t row) const {
    const SurfaceGrid& grid = grids_[s];
    return (grid.At(column, row) + grid.At(column + 1, row) + grid.At(column, row + 1) +
            grid.At(column + 1, row + 1)) /
           4;
  }

  std::vector<std::size_t> SeriesFromBelow(std::size_t column, std::size_t row) const {
    std::vector<std::size_t> order;
    for (std::size_t s = 0; s < grids_.size(); ++s) {
      if (!grids_[s].heights.empty()) order.push_back(s);
    }
    std::ranges::stable_sort(order, {}, [&](std::size_t s) { return CellHeight(s, column, row); });
    return order;
  }

  void DrawCell(const View& view, std::size_t column, std::size_t row, std::size_t s,
                const std::vector<const SpacePoint*>& points) {
    const double height = CellHeight(s, column, row);
    for (const SpacePoint* point : points) {
      if (point->z < height) DrawPoint(view, *point, s);
    }
    const auto corner = [&](std::size_t c, std::size_t r) {
      return view.At(double(c) / (kNodes - 1), double(r) / (kNodes - 1), grids_[s].At(c, r));
    };
    const bool several = grids_.size() > 1;
    svg_.Path(PathThrough({corner(column, row), corner(column + 1, row),
                           corner(column + 1, row + 1), corner(column, row + 1)}),
              "fill=\"" + HeightColour(height) + "\" stroke=\"" +
                  std::string(several ? SeriesColour(s) : "#333") + '"');
    for (const SpacePoint* point : points) {
      if (!(point->z < height)) DrawPoint(view, *point, s);
    }
  }

  void DrawPoint(const View& view, const SpacePoint& point, std::size_t s) {
    const GraphSeries& series = graph_.series[s];
    const Screen at = view.At(point.x, point.y, point.z);
    svg_.BeginGroup("class=\"points\" " + MarkStyle(s) + " stroke=\"#fff\"");
    DrawMark(svg_, s, at.x, at.y, 3,
             point.index < series.cases.size() ? CaseName(series.cases[point.index], caseName_)
                                               : std::string());
    svg_.EndGroup();
  }

  void DrawLabels(const View& view) {
    double widestY = 0, widestZ = 0;
    for (const AxisMark& mark : axes_[1].marks)
      widestY = std::max(widestY, TextWidth(mark.label, 12));
    for (const AxisMark& mark : axes_[2].marks)
      widestZ = std::max(widestZ, TextWidth(mark.label, 12));
    svg_.BeginGroup("text-anchor=\"middle\"");
    for (const AxisMark& mark : axes_[0].marks) {
      const Screen at = view.At(mark.position, 0, 0);
      svg_.Text(at.x + 5, at.y + 17, mark.label, "");
    }
    svg_.EndGroup();
    svg_.BeginGroup("text-anchor=\"end\"");
    for (const AxisMark& mark : axes_[1].marks) {
      const Screen at = view.At(0, mark.position, 0);
      svg_.Text(at.x - 5, at.y + 13, mark.label, "");
    }
    for (const AxisMark& mark : axes_[2].marks) {
      const Screen at = view.At(0, 1, mark.position);
      svg_.Text(at.x - 7, at.y + 3, mark.label, "");
    }
    svg_.EndGroup();
    svg_.BeginGroup("font-size=\"13\" text-anchor=\"middle\"");
    AxisTitle(0, view.At(0, 0, 0), view.At(1, 0, 0), 38);
    AxisTitle(1, view.At(0, 1, 0), view.At(0, 0, 0), 28 + 0.85 * widestY);
    AxisTitle(2, view.At(0, 1, 0), view.At(0, 1, 1), -(16 + widestZ));
    svg_.EndGroup();
  }

  /// Along an edge, `distance` pixels to its right as one walks from one end to the other.
  void AxisTitle(std::size_t axis, Screen from, Screen to, double distance) {
    const double dx = to.x - from.x, dy = to.y - from.y, length = std::hypot(dx, dy);
    const std::string title =
        FitText(Trimmed(AxisAt(graph_, axis).title), std::max(length * 1.1, 150.0), 13);
    if (title.empty()) return;
    const double angle = std::atan2(dy, dx) * 180 / 3.14159265358979;
    svg_.Text((from.x + to.x) / 2 - dy / length * distance,
              (from.y + to.y) / 2 + dx / length * distance, title, "", angle);
  }

  SvgWriter& svg_;
  const Graph& graph_;
  const CaseNamer& caseName_;
  DisplayAxis axes_[3];
  std::vector<std::vector<SpacePoint>> points_;  // per series
  std::vector<SurfaceGrid> grids_;
  std::size_t drawnPoints_ = 0;
};

}  // namespace

void DrawSurface(SvgWriter& svg, const Graph& graph, const CaseNamer& caseName) {
  SurfaceChart(svg, graph, caseName).Draw();
}

}  // namespace qrvml
