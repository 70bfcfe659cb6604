#include "documents/graph_style.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <span>

namespace qrvml {
namespace {

// Corners of the shapes in units of the radius; a circle has none. Areas are about equal.
struct Corner {
  double x, y;
};
constexpr Corner kSquare[] = {{-.89, -.89}, {.89, -.89}, {.89, .89}, {-.89, .89}};
constexpr Corner kTriangle[] = {{0, -1.3}, {1.2, .8}, {-1.2, .8}};
constexpr Corner kDiamond[] = {{0, -1.3}, {1.3, 0}, {0, 1.3}, {-1.3, 0}};
constexpr Corner kInverted[] = {{0, 1.3}, {1.2, -.8}, {-1.2, -.8}};
constexpr Corner kSaltire[] = {{-1.1, -.7}, {-.7, -1.1}, {0, -.4},   {.7, -1.1},
                               {1.1, -.7},  {.4, 0},     {1.1, .7},  {.7, 1.1},
                               {0, .4},     {-.7, 1.1},  {-1.1, .7}, {-.4, 0}};
constexpr Corner kPlus[] = {{-.3, -1.3}, {.3, -1.3}, {.3, -.3},   {1.3, -.3},
                            {1.3, .3},   {.3, .3},   {.3, 1.3},   {-.3, 1.3},
                            {-.3, .3},   {-1.3, .3}, {-1.3, -.3}, {-.3, -.3}};
constexpr std::array<std::span<const Corner>, 7> kShapes = {
    std::span<const Corner>{}, kTriangle, kSquare, kDiamond, kInverted, kSaltire, kPlus};

// Eleven stops of the perceptually uniform map "viridis" (van der Walt & Smith 2015).
constexpr std::uint8_t kHeights[][3] = {
    {68, 1, 84},    {72, 36, 117},  {65, 68, 135},  {53, 95, 141},  {42, 120, 142}, {33, 145, 140},
    {34, 168, 132}, {68, 191, 112}, {122, 209, 81}, {189, 223, 38}, {253, 231, 37}};

}  // namespace

std::string LineStyle(std::size_t series, double width) {
  std::string style = "fill=\"none\" stroke=\"" + std::string(SeriesColour(series)) +
                      "\" stroke-linejoin=\"round\" stroke-width=\"";
  AppendCoordinate(style, width);
  style += '"';
  if (const std::string_view dashes = SeriesDashes(series); !dashes.empty())
    style += " stroke-dasharray=\"" + std::string(dashes) + '"';
  return style;
}

std::string MarkStyle(std::size_t series, double opacity) {
  std::string style = "fill=\"" + std::string(SeriesColour(series)) + '"';
  if (opacity < 1) {
    style += " fill-opacity=\"";
    AppendCoordinate(style, opacity);
    style += '"';
  }
  return style;
}

void DrawMark(SvgWriter& svg, std::size_t series, double x, double y, double radius,
              std::string_view hint) {
  const std::size_t round = series / kSeriesColours.size();
  const std::span<const Corner> corners = kShapes[(series + round) % kShapes.size()];
  if (corners.empty()) return svg.Circle(x, y, radius, hint);
  std::string path;
  for (const Corner& corner : corners)
    AppendPath(path, {path.empty() ? 'M' : 'L', {x + radius * corner.x, y + radius * corner.y}});
  svg.Path(path + 'Z', {}, hint);
}

std::string HeightColour(double share) {
  constexpr int kLast = int(std::size(kHeights)) - 1;
  const double place = std::clamp(std::isnan(share) ? 0.0 : share, 0.0, 1.0) * kLast;
  const int stop = std::min(int(place), kLast - 1);
  int channel[3];
  for (int c = 0; c < 3; ++c)
    channel[c] = int(std::lround(kHeights[stop][c] +
                                 (place - stop) * (kHeights[stop + 1][c] - kHeights[stop][c])));
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", channel[0] & 255, channel[1] & 255,
                channel[2] & 255);
  return text;
}

}  // namespace qrvml
