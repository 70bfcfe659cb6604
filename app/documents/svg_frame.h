// What stands around the plot of a drawn graph: title, legend, notes, and for flat graphs the axes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "documents/display_axis.h"
#include "documents/svg_writer.h"

namespace qrvml {

inline constexpr double kPictureWidth = 800, kPictureHeight = 600;

/// An area of the picture in pixels, y downwards.
struct PlotArea {
  double left, top, right, bottom;

  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
  double X(double position) const { return left + position * Width(); }
  double Y(double position) const { return bottom - position * Height(); }
};

struct LegendEntry {
  std::string name;  // without surrounding blanks
  std::size_t series;
  bool line, mark;
};

/// Lines and words of a graph that are not its data.
struct FrameTexts {
  std::string title;  // lines separated by line ends; long ones are wrapped
  std::vector<LegendEntry> legend;
  std::vector<std::string> notes;  // small lines at the bottom
};

struct FlatAxes {
  std::string xTitle, yTitle;  // blank: none
  std::vector<AxisMark> x, y;
  bool verticalGrid = true;
};

/// Title and legend above, notes below; gives the area that is left.
PlotArea DrawTexts(SvgWriter& svg, const FrameTexts& texts);

/// Grid, marks with labels and axis titles inside `area`; gives the area of the data. Labels of x
/// that do not fit side by side are slanted, and only every n-th is drawn where even that fails.
PlotArea DrawFlatAxes(SvgWriter& svg, const FlatAxes& axes, const PlotArea& area);

/// The estimated width of a text in pixels, for the widest of the usual fonts.
double TextWidth(std::string_view text, double fontSize);
/// The text cut to the width, with an ellipsis where something is missing.
std::string FitText(std::string_view text, double width, double fontSize);
/// Lines of at most `width`, broken at line ends and blanks, words that are too long inside; what
/// is beyond `mostLines` is replaced by an ellipsis.
std::vector<std::string> WrapText(std::string_view text, double width, double fontSize,
                                  std::size_t mostLines);

}  // namespace qrvml
