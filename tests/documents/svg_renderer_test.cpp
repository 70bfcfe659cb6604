// Pictures of graphs, parsed back: coordinates of known points, bars and their heights.
#include "documents/svg_renderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <sstream>

#include "documents/svg_frame.h"
#include "documents/svg_writer.h"

namespace qrvml {
namespace {

struct Picture {
  pugi::xml_document xml;
  std::string text;

  explicit Picture(const Graph& graph, const CaseNamer& caseName = {})
      : text(GraphSvg(graph, caseName)) {
    const auto result = xml.load_string(text.c_str());
    EXPECT_TRUE(result) << result.description() << "\n" << text;
  }
  std::vector<pugi::xml_node> All(const char* path) const {
    std::vector<pugi::xml_node> nodes;
    for (const auto& found : xml.select_nodes(path)) nodes.push_back(found.node());
    return nodes;
  }
  double Number(const char* path, const char* attribute) const {
    return xml.select_node(path).node().attribute(attribute).as_double();
  }
  bool Says(const std::string& words) const {
    for (const auto& node : All("//text")) {
      if (node.text().as_string() == words) return true;
    }
    return false;
  }
  /// The area inside the frame of a scatterplot: left, top, width, height.
  double Frame(const char* attribute) const { return Number("/svg/rect[@fill='none']", attribute); }
  double X(double share) const { return Frame("x") + share * Frame("width"); }
  double Y(double share) const { return Frame("y") + (1 - share) * Frame("height"); }
};

Graph Scatter(std::vector<double> x, std::vector<double> y) {
  Graph graph;
  graph.title = "T";
  graph.axes = {{"X", 0, 10, 2}, {"Y", 0, 100, 20}};
  graph.series = {{"", std::move(x), std::move(y), {}, {}}};
  return graph;
}

TEST(SvgScatter, PointsStandAtTheirShareOfTheAxesAndNotANumberIsLeftOut) {
  const Picture picture(
      Scatter({2.5, 10, kEmptyCell, 5, INFINITY, 0}, {50, 100, 5, kEmptyCell, 5, 0}));
  const auto points = picture.All("//g[starts-with(@class,'points')]/circle");
  ASSERT_EQ(points.size(), 3u);
  const double kShares[][2] = {{0.25, 0.5}, {1, 1}, {0, 0}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(points[i].attribute("cx").as_double(), picture.X(kShares[i][0]), 0.02);
    EXPECT_NEAR(points[i].attribute("cy").as_double(), picture.Y(kShares[i][1]), 0.02);
  }
  for (const char* label : {"0", "2", "10", "20", "100", "X", "Y", "T"})
    EXPECT_TRUE(picture.Says(label)) << label;
}

TEST(SvgScatter, TheFittedLineIsTheLeastSquaresLineOfTheFinitePoints) {
  // By hand: means 2 and 5; products 9, squares 10 and 10: slope 0.9, intercept 3.2, r 0.9.
  Graph graph = Scatter({0, 1, 2, 3, 4, 9}, {3, 5, 4, 6, 7, kEmptyCell});
  graph.fit = true;
  graph.axes[1] = {"Y", 0, 10, 2};
  const Picture picture(graph);
  EXPECT_NEAR(picture.Number("//line[@class='fit']", "x1"), picture.X(0), 0.02);
  EXPECT_NEAR(picture.Number("//line[@class='fit']", "y1"), picture.Y(0.32), 0.02);
  EXPECT_NEAR(picture.Number("//line[@class='fit']", "x2"), picture.X(0.4), 0.02);
  EXPECT_NEAR(picture.Number("//line[@class='fit']", "y2"), picture.Y(0.68), 0.02);
  EXPECT_TRUE(picture.Says("y = 3.2 + 0.9 x, r = 0.9"));
}

TEST(SvgScatter, ALineThatLeavesThePlotIsCutAndAVerticalOneIsNotDrawn) {
  Graph steep = Scatter({0, 0, 10, 10}, {0, 100, 60, 100});
  steep.fit = true;
  steep.series[0].y = {-100, 0, 100, 200};  // -50 + 20 x; the axis grows to -100 .. 200
  const Picture cut(steep);
  EXPECT_NEAR(cut.Number("//line[@class='fit']", "y1"), cut.Y(50.0 / 300), 0.02);
  Graph vertical = Scatter({3, 3, 3}, {1, 2, 3});
  vertical.fit = true;
  EXPECT_TRUE(Picture(vertical).All("//line[@class='fit']").empty());
}

TEST(SvgScatter, SeriesDifferInColourAndShapeAndStandTrimmedInTheLegend) {
  Graph graph = Scatter({1}, {1});
  graph.series.clear();
  for (int s = 0; s < 9; ++s)
    graph.series.push_back({"série " + std::to_string(s) + "      ", {1.0 + s}, {50}, {}, {}});
  const Picture picture(graph);
  std::set<std::pair<std::string, std::size_t>> looks;
  for (const auto& group : picture.All("//g[starts-with(@class,'points')]")) {
    const std::string path = group.child("path").attribute("d").as_string();
    looks.insert({group.attribute("fill").as_string(),
                  std::size_t(std::count(path.begin(), path.end(), 'L'))});
  }
  EXPECT_EQ(looks.size(), 9u);  // also where the seven colours begin again
  for (int s = 0; s < 9; ++s) EXPECT_TRUE(picture.Says("série " + std::to_string(s)));
}

TEST(SvgScatter, CasesAreNamedBesideTheirPointsWhileThereAreFewAndAlwaysInHints) {
  Graph graph = Scatter({}, {});
  for (int i = 0; i < 12; ++i) {
    graph.series[0].x.push_back(i * 0.8);
    graph.series[0].y.push_back(i * 8);
    graph.series[0].cases.push_back(i + 1);
  }
  const CaseNamer names = [](int c) { return c == 5 ? "" : " n<" + std::to_string(c) + "> "; };
  const Picture few(graph, names);
  EXPECT_EQ(few.All("//g[@class='names']/text").size(), 12u);
  EXPECT_TRUE(few.Says("n<7>"));
  EXPECT_TRUE(few.Says("5"));
  EXPECT_EQ(few.All("//circle/title").size(), 12u);

  for (int i = 0; i < 200; ++i) {
    graph.series[0].x.push_back(5);
    graph.series[0].y.push_back(50);
    graph.series[0].cases.push_back(i);
  }
  const Picture many(graph, names);
  EXPECT_TRUE(many.All("//g[@class='names']/text").empty());
  EXPECT_EQ(many.All("//circle/title").size(), 212u);
}

TEST(SvgScatter, NamesNeverCoverEachOther) {
  Graph graph = Scatter({}, {});
  for (int i = 0; i < 100; ++i) {
    graph.series[0].x.push_back(4 + (i % 10) * 0.2);
    graph.series[0].y.push_back(40 + (i / 10) * 2.0);
    graph.series[0].cases.push_back(1000 + i);
  }
  const Picture picture(graph);
  const auto texts = picture.All("//g[@class='names']/text");
  EXPECT_GT(texts.size(), 3u);
  EXPECT_LT(texts.size(), 100u);
  for (std::size_t a = 0; a < texts.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      const double dx =
          std::abs(texts[a].attribute("x").as_double() - texts[b].attribute("x").as_double());
      const double dy =
          std::abs(texts[a].attribute("y").as_double() - texts[b].attribute("y").as_double());
      EXPECT_TRUE(dx >= TextWidth("1000", 10) || dy >= 10);
    }
  }
}

TEST(SvgScatter, ManyPointsBecomeADensityWhoseCellsCoverThemAll) {
  Graph graph = Scatter({}, {});
  for (int i = 0; i < 40'000; ++i) {
    graph.series[0].x.push_back((i % 200) * 0.05);
    graph.series[0].y.push_back((i / 200) * 0.5);
  }
  graph.series[0].x.push_back(9.99);  // alone at the upper right
  graph.series[0].y.push_back(99.9);
  const Picture picture(graph);
  EXPECT_TRUE(picture.All("//g[starts-with(@class,'points')]/circle").size() <= 4);
  const auto levels = picture.All("//path[@class='density']");
  ASSERT_GE(levels.size(), 1u);
  EXPECT_LE(levels.size(), 6u);
  std::size_t cells = 0;
  for (const auto& level : levels) {
    const std::string path = level.attribute("d").as_string();
    cells += std::size_t(std::count(path.begin(), path.end(), 'M'));
  }
  EXPECT_LE(double(cells), picture.Frame("width") / 4 * picture.Frame("height") / 4);
  EXPECT_NEAR(picture.All("//circle").back().attribute("cx").as_double(), picture.X(0.999), 0.02);
  EXPECT_NE(picture.text.find("40001 points"), std::string::npos);
}

TEST(SvgLine, BreaksWhereAPointIsMissing) {
  Graph graph = Scatter({0, 2, 4, 6, 8}, {0, 20, kEmptyCell, 60, 80});
  graph.type = GraphType::line;
  const Picture picture(graph);
  std::ostringstream expected;
  std::string path;
  for (const auto& [command, share] : {std::pair{'M', 0.0}, {'L', 0.2}, {'M', 0.6}, {'L', 0.8}})
    AppendPath(path, {command, {picture.X(share), picture.Y(share)}});
  EXPECT_STREQ(picture.All("//path[@class='line']").at(0).attribute("d").as_string(), path.c_str());
  EXPECT_EQ(picture.All("//g[starts-with(@class,'points')]/circle").size(), 4u);
}

TEST(SvgHistogram, BarsAreAsHighAsTheirCountsAndAsWideAsTheirBins) {
  Graph graph;
  graph.type = GraphType::histogram;
  graph.edges = {0, 1, 2, 4, 5};
  graph.counts = {3, 0, 12, kEmptyCell};
  graph.axes = {{"x", 0, 5, 0}, {"n", 0, 12, 0}};
  const Picture picture(graph);
  const auto bars = picture.All("//g[starts-with(@class,'bars')]/rect");
  ASSERT_EQ(bars.size(), 2u);
  const auto value = [&](std::size_t bar, const char* name) {
    return bars[bar].attribute(name).as_double();
  };
  EXPECT_NEAR(value(1, "height"), 4 * value(0, "height"), 0.05);
  EXPECT_NEAR(value(1, "width"), 2 * value(0, "width"), 0.03);
  EXPECT_NEAR(value(1, "x"), value(0, "x") + 2 * value(0, "width"), 0.03);
  EXPECT_NEAR(value(0, "y") + value(0, "height"), value(1, "y") + value(1, "height"), 0.02);
  EXPECT_TRUE(picture.Says("12") && picture.Says("3"));
}

TEST(SvgHistogram, CategoriesStandSideBySideUnderTheirLabels) {
  Graph graph;
  graph.type = GraphType::histogram;
  graph.edges = {0, 1, 5, 100, 101};  // codes 1, 5 and 100
  graph.counts = {0, 7, 8, 9};
  graph.edgeLabels = {{1, " setosa "}, {100, "a<b"}};
  const Picture picture(graph);
  const auto bars = picture.All("//g[starts-with(@class,'bars')]/rect");
  ASSERT_EQ(bars.size(), 3u);
  const double first = bars[0].attribute("x").as_double(),
               second = bars[1].attribute("x").as_double(),
               third = bars[2].attribute("x").as_double();
  EXPECT_NEAR(second - first, third - second, 0.03);
  for (const char* label : {"setosa", "5", "a<b"}) EXPECT_TRUE(picture.Says(label)) << label;

  graph.counts[0] = 2;  // something below the first code is shown, not hidden
  EXPECT_EQ(Picture(graph).All("//g[starts-with(@class,'bars')]/rect").size(), 4u);
}

TEST(SvgHistogram, MoreBinsThanPixelsShowTheHighestOfEachColumn) {
  Graph graph;
  graph.type = GraphType::histogram;
  for (int i = 0; i <= 100'000; ++i) graph.edges.push_back(i);
  graph.counts.assign(100'000, 1);
  graph.counts[54'321] = 1000;
  graph.axes = {{"x", 0, 100'000, 0}, {"n", 0, 1000, 0}};
  const Picture picture(graph);
  const auto bars = picture.All("//g[starts-with(@class,'bars')]/rect");
  EXPECT_LE(bars.size(), 720u);
  double highest = 0;
  std::size_t high = 0;
  for (const auto& bar : bars) highest = std::max(highest, bar.attribute("height").as_double());
  for (const auto& bar : bars) high += bar.attribute("height").as_double() == highest ? 1 : 0;
  EXPECT_EQ(high, 1u);
  EXPECT_GT(highest, 300);
}

TEST(SvgSurface, IsPaintedFromBackToFrontWithinThePicture) {
  Graph graph;
  graph.type = GraphType::surface;
  graph.axes = {{"a", 0, 1, .2}, {"b", 0, 1, .2}, {"c", 0, 1, .2}};
  GraphSeries series;
  for (int i = 0; i < 100; ++i) {
    series.x.push_back((i % 10) / 9.0);
    series.y.push_back((i / 10) / 9.0);
    series.z.push_back(i == 50 ? kEmptyCell : (series.x.back() + series.y.back()) / 2);
  }
  graph.series = {series};
  const Picture picture(graph);
  const auto cells = picture.All("//g[@class='surface']/path");
  ASSERT_EQ(cells.size(), 32u * 32u);
  EXPECT_EQ(picture.All("//g[@class='surface']//circle").size(), 99u);
  // The farthest corner is the highest, the nearest the lowest: light first, dark last.
  const auto lightness = [](const pugi::xml_node& cell) {
    const unsigned colour =
        unsigned(std::stoul(cell.attribute("fill").as_string() + 1, nullptr, 16));
    return (colour >> 16) + (colour >> 8 & 255) + (colour & 255);
  };
  for (const auto& cell : cells) {
    EXPECT_LE(lightness(cell), lightness(cells.front()));
    EXPECT_GE(lightness(cell), lightness(cells.back()));
  }
  for (const auto& cell : cells) {
    std::istringstream path(cell.attribute("d").as_string());
    char command = 0;
    double x = 0, y = 0;
    int corners = 0;
    while (path >> command && command != 'Z' && path >> x >> y) {
      ++corners;
      EXPECT_TRUE(x >= 0 && x <= kPictureWidth && y >= 0 && y <= kPictureHeight);
    }
    EXPECT_EQ(corners, 4);
  }
}

TEST(SvgText, IsEscapedWrappedAndFreeOfControlCharacters) {
  Graph graph = Scatter({1}, {1});
  graph.title = "a<b &\x01\"c\"\nsecond line\n" + std::string(200, 'w') + " end";
  graph.axes[0].title = "x\x1b[31m</text><script>\xFF\xEF\xBF\xBE";
  graph.series[0].name = "<&>";
  const Picture picture(graph);
  EXPECT_TRUE(picture.Says("a<b & \"c\""));
  EXPECT_TRUE(picture.Says("second line"));
  EXPECT_TRUE(picture.Says("x [31m</text><script>\xEF\xBF\xBD\xEF\xBF\xBD"));
  EXPECT_TRUE(picture.Says("<&>"));
  EXPECT_TRUE(picture.All("//script").empty());
  for (const char c : picture.text) EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 || c == '\n');
}

TEST(SvgText, WrapsAtBlanksInsideLongWordsAndCutsWhatIsTooMuch) {
  const double width = TextWidth("0123456789", 12);
  EXPECT_EQ(WrapText("one two three four", width, 12, 9),
            (std::vector<std::string>{"one two", "three four"}));
  EXPECT_EQ(WrapText("abcdefghijklmno", width, 12, 9),
            (std::vector<std::string>{"abcdefghij", "klmno"}));
  EXPECT_EQ(WrapText("a\r\n\n b ", width, 12, 9), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(WrapText("1\n2\n3", width, 12, 2), (std::vector<std::string>{"1", "2 …"}));
  EXPECT_EQ(FitText("0123456789", width, 12), "0123456789");
  EXPECT_EQ(FitText("0123456789A", width, 12), "012345678…");
}

TEST(SvgPictures, AreTheSameBytesForTheSameGraphAndExistForEmptyOnes) {
  for (const GraphType type :
       {GraphType::histogram, GraphType::scatter, GraphType::line, GraphType::surface}) {
    Graph graph = Scatter({1, 2, 3}, {4, 5, 7});
    graph.type = type;
    graph.series[0].z = {1, 2, 3};
    graph.edges = {0, 1, 2};
    graph.counts = {4, 5};
    EXPECT_EQ(GraphSvg(graph, {}), GraphSvg(graph, {}));
    Graph empty;
    empty.type = type;
    Picture picture(empty);
    empty.series.resize(2);
    empty.axes.resize(1);
    Picture second(empty);
  }
}

TEST(SvgCoordinates, HaveTwoDecimalsAtMost) {
  const struct {
    double value;
    const char* text;
  } kCases[] = {{1, "1"},         {0.125, "0.13"}, {-0.001, "0"},      {12.3, "12.3"},
                {-7.25, "-7.25"}, {100, "100"},    {1e300, "1000000"}, {NAN, "0"}};
  for (const auto& [value, text] : kCases) {
    std::string out;
    AppendCoordinate(out, value);
    EXPECT_EQ(out, text);
  }
}

}  // namespace
}  // namespace qrvml
