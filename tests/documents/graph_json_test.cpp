// Graphs and text documents as JSON, byte for byte.
#include "documents/graph_json.h"

#include <gtest/gtest.h>

#include "documents/rendered.h"

namespace qrvml {
namespace {

std::string Json(const Graph& graph, const CaseNamer& caseName = {}) {
  return Rendered([&](std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    WriteGraphMembers(json, graph, caseName);
    json.EndObject();
  });
}

TEST(GraphJson, AScatterplotHasItsAxesSeriesAndLabels) {
  Graph graph;
  graph.title = "a\nb";
  graph.fit = true;
  graph.axes = {{"X", 0, 1.5, 0.1}, {" ", -9999, 0, 0}};
  graph.series = {{"s  ", {0.1, kEmptyCell}, {1, -9999}, {}, {7, 8}}, {"", {}, {}, {3}, {}}};
  EXPECT_EQ(Json(graph, [](int c) { return c == 7 ? " Zoë " : ""; }),
            "{\"kind\":\"graph\",\"type\":\"scatter\",\"title\":\"a\\nb\","
            "\"axes\":[{\"title\":\"X\",\"min\":0,\"max\":1.5,\"step\":0.1},"
            "{\"title\":\" \",\"min\":-9999,\"max\":0,\"step\":0}],\"fit\":true,\"series\":[\n"
            "{\"name\":\"s  \",\"x\":[0.1,null],\"y\":[1,-9999],\"labels\":[\"Zoë\",\"8\"]},\n"
            "{\"name\":\"\",\"x\":[],\"y\":[],\"z\":[3]}]}");
}

TEST(GraphJson, AHistogramHasEdgesAndCountsAndTheLabelsOfItsEdges) {
  Graph graph;
  graph.type = GraphType::histogram;
  graph.edges = {0, 1, 2};
  graph.counts = {0, 5};
  EXPECT_EQ(Json(graph),
            "{\"kind\":\"graph\",\"type\":\"histogram\",\"title\":\"\",\"axes\":[],\"series\":[],"
            "\"edges\":[0,1,2],\"counts\":[0,5]}");
  graph.edgeLabels = {{1, "oui"}};
  EXPECT_NE(Json(graph).find(",\"edgeLabels\":[{\"value\":1,\"text\":\"oui\"}]}"),
            std::string::npos);
}

TEST(GraphJson, TypesHaveTheirNames) {
  Graph graph;
  graph.type = GraphType::line;
  EXPECT_NE(Json(graph).find("\"type\":\"line\""), std::string::npos);
  graph.type = GraphType::surface;
  EXPECT_NE(Json(graph).find("\"type\":\"surface\""), std::string::npos);
}

TEST(TextJson, ATextDocumentHasItsModeAndEveryLine) {
  const std::string text = Rendered([](std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    WriteTextMembers(json, {2, "C code", "int a;\n\t\"x\"\\\n"});
    json.EndObject();
  });
  EXPECT_EQ(text,
            "{\"kind\":\"text\",\"title\":\"C code\",\"mode\":2,"
            "\"text\":\"int a;\\n\\u0009\\\"x\\\"\\\\\\n\"}");
}

}  // namespace
}  // namespace qrvml
