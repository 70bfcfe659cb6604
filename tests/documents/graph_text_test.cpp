// Graphs as characters, against drawings made by hand.
#include "documents/graph_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "documents/display_width.h"

namespace qrvml {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(GraphTexts, AHistogramHasALineABin) {
  Graph graph;
  graph.type = GraphType::histogram;
  graph.title = "Histogramme de x\nK = 3";
  graph.axes = {{"x (Prévues)", 0, 3, 0}, {"Nbre d'observations", 0, 20, 0}};
  graph.edges = {0, 1, 2, 3};
  graph.counts = {20, 0, 5};
  EXPECT_EQ(GraphText(graph),
            "Histogramme de x\n"
            "K = 3\n"
            "\n"
            "x (Prévues)  Nbre d'observations\n"
            "     0 to 1 |#################################### 20\n"
            "     1 to 2 | 0\n"
            "     2 to 3 |######### 5\n");
  graph.edgeLabels = {{0, "non"}, {1, "oui"}};
  EXPECT_NE(GraphText(graph).find("        non |####"), std::string::npos);
}

TEST(GraphTexts, ManyBinsAreAddedUp) {
  Graph graph;
  graph.type = GraphType::histogram;
  for (int i = 0; i <= 100; ++i) graph.edges.push_back(i);
  graph.counts.assign(100, 1);
  const auto lines = Lines(GraphText(graph));
  ASSERT_EQ(lines.size(), 2u + 34u);  // blank line, heading, groups of three
  EXPECT_NE(lines[2].find("0 to 3 |"), std::string::npos);
  EXPECT_TRUE(lines[2].ends_with(" 3"));
  EXPECT_TRUE(lines.back().ends_with(" 1"));
}

TEST(GraphTexts, PointsStandInAFieldWithTheEndsOfTheAxes) {
  Graph graph;
  graph.title = "T";
  graph.axes = {{"X", 0, 10, 1}, {"Y", -1, 1, 0.5}};
  graph.series = {{"a  ", {0, 10, 5, kEmptyCell}, {-1, 1, 0, 0}, {}, {}},
                  {"b", {5, 0}, {0, 1}, {}, {}}};
  const auto lines = Lines(GraphText(graph));
  ASSERT_EQ(lines.size(), 26u);  // title, blank, y, rule, 18 rows, rule, x, two series
  EXPECT_EQ(lines[2], "    Y");
  EXPECT_EQ(lines[3], "   +" + std::string(64, '-') + '+');
  EXPECT_EQ(lines[4], " 1 |+" + std::string(62, ' ') + "o|");
  EXPECT_EQ(lines[12], "   |" + std::string(32, ' ') + '#' + std::string(31, ' ') + '|');
  EXPECT_EQ(lines[21], "-1 |o" + std::string(63, ' ') + '|');
  EXPECT_EQ(lines[23].substr(0, 5), "    0");
  EXPECT_TRUE(lines[23].ends_with("10"));
  EXPECT_EQ(lines[24], "o a: 3 points");
  EXPECT_EQ(lines[25], "+ b: 2 points");
}

TEST(GraphTexts, ASurfaceGoesFromBlankToAt) {
  Graph graph;
  graph.type = GraphType::surface;
  graph.axes = {{"X", 0, 1, 0.5}, {"Y", 0, 1, 0.5}, {"Z", 0, 1, 0.5}};
  GraphSeries series;
  for (int i = 0; i < 121; ++i) {
    series.x.push_back((i % 11) / 10.0);
    series.y.push_back((i / 11) / 10.0);
    series.z.push_back(series.x.back());
  }
  graph.series = {series};
  const auto lines = Lines(GraphText(graph));
  const std::string& row = lines[10];
  const std::size_t begin = row.find('|') + 1;
  EXPECT_EQ(row[begin], ' ');
  EXPECT_EQ(row[begin + 63], '@');
  EXPECT_TRUE(
      std::is_sorted(row.begin() + long(begin), row.begin() + long(begin) + 64, [](char a, char b) {
        const std::string order = " .:-=+*%@";
        return order.find(a) < order.find(b);
      }));
  EXPECT_EQ(lines.back(), "Z: \" \" 0 to \"@\" 1; 121 points");
}

TEST(GraphTexts, NeverExceedTheWidthOfATerminal) {
  for (const GraphType type :
       {GraphType::histogram, GraphType::scatter, GraphType::line, GraphType::surface}) {
    Graph graph;
    graph.type = type;
    EXPECT_FALSE(GraphText(graph).empty());
    graph.axes = {{std::string(200, 'x'), -123456.789, 123456.789, 0}, {"y", -1e300, 1e300, 0}};
    graph.series = {{"s", {1}, {1}, {1}, {}}};
    graph.edges = {-123456.789, 123456.789};
    graph.counts = {123456789};
    for (const std::string& line : Lines(GraphText(graph)))
      EXPECT_LE(DisplayWidth(line), 78u) << line;
  }
}

}  // namespace
}  // namespace qrvml
