#include "documents/graph_json.h"

#include "documents/cell_text.h"

namespace qrvml {
namespace {

constexpr std::string_view kTypeNames[] = {"histogram", "scatter", "line", "surface"};

void WriteText(JsonWriter& json, std::string_view key, std::string_view text) {
  json.Key(key);
  json.String(text);
}

void WriteNumber(JsonWriter& json, std::string_view key, double value) {
  json.Key(key);
  json.Number(value);
}

void WriteNumbers(JsonWriter& json, std::string_view key, const std::vector<double>& values) {
  json.Key(key);
  json.BeginArray();
  for (const double value : values) json.Number(value);
  json.EndArray();
}

void WriteAxis(JsonWriter& json, const GraphAxis& axis) {
  json.BeginObject();
  WriteText(json, "title", axis.title);
  WriteNumber(json, "min", axis.minimum);
  WriteNumber(json, "max", axis.maximum);
  WriteNumber(json, "step", axis.step);
  json.EndObject();
}

void WriteSeries(JsonWriter& json, const GraphSeries& series, const CaseNamer& caseName) {
  json.BreakLine();
  json.BeginObject();
  WriteText(json, "name", series.name);
  WriteNumbers(json, "x", series.x);
  WriteNumbers(json, "y", series.y);
  if (!series.z.empty()) WriteNumbers(json, "z", series.z);
  if (!series.cases.empty()) {
    json.Key("labels");
    json.BeginArray();
    for (const std::int32_t number : series.cases) json.String(CaseName(number, caseName));
    json.EndArray();
  }
  json.EndObject();
}

}  // namespace

void WriteGraphMembers(JsonWriter& json, const Graph& graph, const CaseNamer& caseName) {
  WriteText(json, "kind", "graph");
  WriteText(json, "type", kTypeNames[static_cast<std::size_t>(graph.type)]);
  WriteText(json, "title", graph.title);
  json.Key("axes");
  json.BeginArray();
  for (const GraphAxis& axis : graph.axes) WriteAxis(json, axis);
  json.EndArray();
  if (graph.fit) {
    json.Key("fit");
    json.Boolean(true);
  }
  json.Key("series");
  json.BeginArray();
  for (const GraphSeries& series : graph.series) WriteSeries(json, series, caseName);
  json.EndArray();
  if (graph.type != GraphType::histogram) return;
  WriteNumbers(json, "edges", graph.edges);
  WriteNumbers(json, "counts", graph.counts);
  if (graph.edgeLabels.empty()) return;
  json.Key("edgeLabels");
  json.BeginArray();
  for (const CellLabel& label : graph.edgeLabels) {
    json.BeginObject();
    WriteNumber(json, "value", label.value);
    WriteText(json, "text", label.text);
    json.EndObject();
  }
  json.EndArray();
}

void WriteTextMembers(JsonWriter& json, const TextDocument& document) {
  WriteText(json, "kind", "text");
  WriteText(json, "title", document.title);
  WriteNumber(json, "mode", document.mode);
  WriteText(json, "text", document.text);
}

}  // namespace qrvml
