// How series differ in a drawn graph: by colour, by shape and by dashes, so that any one of them is
// enough to tell them apart.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "documents/svg_writer.h"

namespace qrvml {

/// Colours that people with a colour-vision deficiency can tell apart (Okabe & Ito 2008, without
/// the yellow, which is too pale on white), neighbours of different lightness.
inline constexpr std::array<std::string_view, 7> kSeriesColours = {
    "#0072B2", "#D55E00", "#009E73", "#CC79A7", "#E69F00", "#56B4E9", "#000000"};

/// Dashes of lines; solid first.
inline constexpr std::array<std::string_view, 5> kSeriesDashes = {"", "7 3", "2 3", "9 3 2 3",
                                                                  "4 2 1 2 1 2"};

inline std::string_view SeriesColour(std::size_t series) {
  return kSeriesColours[series % kSeriesColours.size()];
}
inline std::string_view SeriesDashes(std::size_t series) {
  return kSeriesDashes[series % kSeriesDashes.size()];
}

/// stroke and dashes of a series' line.
std::string LineStyle(std::size_t series, double width);
/// fill and stroke of a series' marks.
std::string MarkStyle(std::size_t series, double opacity = 1);
/// Draws the mark of a series, about 2 * radius wide. The 7 shapes shift by one when the 7 colours
/// begin again.
void DrawMark(SvgWriter& svg, std::size_t series, double x, double y, double radius,
              std::string_view hint = {});

/// A colour of the height scale, `share` from 0 (low, dark) to 1 (high, light); lightness grows
/// throughout, so that greyscale keeps the order. "#rrggbb".
std::string HeightColour(double share);

}  // namespace qrvml
