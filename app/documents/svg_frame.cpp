#include "documents/svg_frame.h"

#include <algorithm>
#include <cmath>

#include "documents/cell_text.h"
#include "documents/display_width.h"
#include "documents/graph_style.h"

namespace qrvml {
namespace {

constexpr double kMargin = 20, kGap = 8;
constexpr double kTitleSize = 16, kAxisTitleSize = 13, kLabelSize = 12, kNoteSize = 11;
constexpr double kWidthPerColumn = 0.62;  // of the font size; DejaVu Sans is the widest in use
constexpr std::size_t kMostTitleLines = 6, kMostLegendLines = 6, kMostAxisTitleLines = 2;
constexpr double kLegendSample = 28, kLegendLine = 18;
constexpr double kLongestName = 300, kLongestLabel = 180;
constexpr double kSlant = 40;  // degrees
constexpr std::string_view kEllipsis = "…";
constexpr std::string_view kGridStyle = "stroke=\"#e2e2e2\"";
constexpr std::string_view kAxisStyle = "stroke=\"#444\"";

/// Names from left to right in columns, in as many lines as they take up to the most; gives the new
/// top.
double DrawLegend(SvgWriter& svg, const std::vector<LegendEntry>& legend, double top) {
  double width = 0;
  for (const LegendEntry& entry : legend)
    width = std::max(width, std::min(kLongestName, TextWidth(entry.name, kLabelSize)));
  width += kLegendSample + 2 * kGap;
  const auto columns = std::size_t(std::max(1.0, (svg.width() - 2 * kMargin) / width));
  double y = top + kLegendLine / 2;
  for (std::size_t i = 0; i < legend.size(); ++i) {
    const LegendEntry& entry = legend[i];
    const std::string name = FitText(entry.name, kLongestName, kLabelSize);
    if (i > 0 && i % columns == 0) {
      y += kLegendLine;
      if (i / columns == kMostLegendLines) {
        svg.Text(kMargin, y + 4, std::string(kEllipsis) + " +" + std::to_string(legend.size() - i),
                 "");
        break;
      }
    }
    const double x = kMargin + double(i % columns) * width;
    const double middle = x + kLegendSample / 2 - 3;
    if (entry.line) svg.Line(x, y, x + kLegendSample - 6, y, LineStyle(entry.series, 2));
    if (entry.mark) {
      svg.BeginGroup(MarkStyle(entry.series));
      DrawMark(svg, entry.series, middle, y, 4);
      svg.EndGroup();
    }
    svg.Text(x + kLegendSample, y + 4, name, "");
  }
  return y + kLegendLine / 2;
}

double Radians(double degrees) { return degrees * 3.14159265358979 / 180; }

/// How the labels of the x axis are set.
struct LabelSetting {
  bool slanted = false;
  std::size_t every = 1;
  double height = kLabelSize + 4;
};

LabelSetting SetLabels(const std::vector<AxisMark>& marks, double width) {
  double widest = 0, closest = 1;
  for (std::size_t i = 0; i < marks.size(); ++i) {
    widest = std::max(widest, TextWidth(marks[i].label, kLabelSize));
    if (i > 0) closest = std::min(closest, marks[i].position - marks[i - 1].position);
  }
  LabelSetting setting;
  if (marks.size() < 2 || widest + kGap / 2 <= closest * width) return setting;
  setting.slanted = true;
  setting.every = std::size_t(std::max(1.0, std::ceil((kLabelSize + 6) / (closest * width))));
  setting.height = std::min(widest, kLongestLabel) * std::sin(Radians(kSlant)) + kLabelSize + 4;
  return setting;
}

void DrawXLabels(SvgWriter& svg, const std::vector<AxisMark>& marks, const LabelSetting& setting,
                 const PlotArea& plot) {
  svg.BeginGroup(setting.slanted ? "text-anchor=\"end\"" : "text-anchor=\"middle\"");
  for (std::size_t i = 0; i < marks.size(); i += setting.every) {
    const double x = plot.X(marks[i].position);
    svg.Line(x, plot.bottom, x, plot.bottom + 4, kAxisStyle);
    if (setting.slanted) {
      // A label at the left must not leave the picture.
      const double room = std::min(kLongestLabel, (x - 4) / std::cos(Radians(kSlant)));
      svg.Text(x + 4, plot.bottom + kLabelSize + 4, FitText(marks[i].label, room, kLabelSize), "",
               -kSlant);
    } else {
      svg.Text(x, plot.bottom + kLabelSize + 6, marks[i].label, "");
    }
  }
  svg.EndGroup();
}

}  // namespace

double TextWidth(std::string_view text, double fontSize) {
  return double(DisplayWidth(text)) * kWidthPerColumn * fontSize;
}

std::string FitText(std::string_view text, double width, double fontSize) {
  if (TextWidth(text, fontSize) <= width) return std::string(text);
  const auto columns = std::size_t(std::max(1.0, width / (kWidthPerColumn * fontSize)));
  return CutToWidth(text, columns - 1) + std::string(kEllipsis);
}

std::vector<std::string> WrapText(std::string_view text, double width, double fontSize,
                                  std::size_t mostLines) {
  const auto columns = std::size_t(std::max(4.0, width / (kWidthPerColumn * fontSize)));
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = Trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    while (!line.empty()) {
      std::size_t length = CutToWidth(line, columns).size();
      if (length < line.size()) {
        const std::size_t blank = line.rfind(' ', length);
        if (blank != std::string_view::npos && blank > 0) length = blank;
      }
      lines.emplace_back(Trimmed(line.substr(0, length)));
      line = Trimmed(line.substr(length));
    }
  }
  if (lines.size() > mostLines) {
    lines.resize(mostLines);
    lines.back() = CutToWidth(lines.back(), columns - 2) + ' ' + std::string(kEllipsis);
  }
  return lines;
}

PlotArea DrawTexts(SvgWriter& svg, const FrameTexts& texts) {
  PlotArea area{kMargin, kMargin, svg.width() - kMargin, svg.height() - kMargin / 2};
  const auto title = WrapText(texts.title, area.Width(), kTitleSize, kMostTitleLines);
  svg.BeginGroup("font-size=\"16\" font-weight=\"600\" text-anchor=\"middle\"");
  for (const std::string& line : title) {
    svg.Text(svg.width() / 2, area.top + kTitleSize - 3, line, "");
    area.top += kTitleSize * 1.25;
  }
  svg.EndGroup();
  if (!texts.legend.empty()) area.top = DrawLegend(svg, texts.legend, area.top + kGap / 2);
  area.top += kGap;

  std::vector<std::string> notes;
  for (const std::string& note : texts.notes) {
    for (std::string& line : WrapText(note, area.Width(), kNoteSize, 3))
      notes.push_back(std::move(line));
  }
  svg.BeginGroup("font-size=\"11\" fill=\"#555\"");
  for (std::size_t i = notes.size(); i-- > 0; area.bottom -= kNoteSize * 1.35)
    svg.Text(kMargin, area.bottom - 2, notes[i], "");
  svg.EndGroup();
  return area;
}

PlotArea DrawFlatAxes(SvgWriter& svg, const FlatAxes& axes, const PlotArea& area) {
  PlotArea plot = area;
  double widest = 0;
  for (const AxisMark& mark : axes.y) widest = std::max(widest, TextWidth(mark.label, kLabelSize));
  const double lineHeight = kAxisTitleSize * 1.25;
  const auto yTitle =
      WrapText(axes.yTitle, area.Height() - 60, kAxisTitleSize, kMostAxisTitleLines);
  const auto xTitle = WrapText(axes.xTitle, area.Width() - 80, kAxisTitleSize, kMostAxisTitleLines);
  plot.left += widest + 10 + lineHeight * double(yTitle.size());
  plot.right -= kGap;
  const LabelSetting setting = SetLabels(axes.x, plot.Width());
  plot.bottom -= setting.height + 10 + lineHeight * double(xTitle.size());

  svg.BeginGroup(kGridStyle);
  for (const AxisMark& mark : axes.y)
    svg.Line(plot.left, plot.Y(mark.position), plot.right, plot.Y(mark.position));
  if (axes.verticalGrid) {
    for (const AxisMark& mark : axes.x)
      svg.Line(plot.X(mark.position), plot.top, plot.X(mark.position), plot.bottom);
  }
  svg.EndGroup();
  svg.BeginGroup("text-anchor=\"end\"");
  for (const AxisMark& mark : axes.y) {
    const double y = plot.Y(mark.position);
    svg.Line(plot.left - 4, y, plot.left, y, kAxisStyle);
    svg.Text(plot.left - 7, y + 4, mark.label, "");
  }
  svg.EndGroup();
  DrawXLabels(svg, axes.x, setting, plot);

  svg.BeginGroup("font-size=\"13\" text-anchor=\"middle\"");
  for (std::size_t i = 0; i < xTitle.size(); ++i)
    svg.Text((plot.left + plot.right) / 2,
             plot.bottom + setting.height + 8 + lineHeight * (double(i) + 0.8), xTitle[i], "");
  for (std::size_t i = 0; i < yTitle.size(); ++i)
    svg.Text(area.left + lineHeight * (double(i) + 0.7), (plot.top + plot.bottom) / 2, yTitle[i],
             "", -90);
  svg.EndGroup();
  return plot;
}

}  // namespace qrvml
