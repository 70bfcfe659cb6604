#include "documents/json_renderer.h"

#include "documents/graph_json.h"
#include "documents/json_writer.h"

namespace qrvml {
namespace {

constexpr double kSchema = 1;

void WriteMember(JsonWriter& json, std::string_view name, std::string_view text) {
  json.Key(name);
  json.String(text);
}

constexpr std::string_view kFormatNames[] = {"general", "count", "fixed6"};

std::string_view FormatName(NumberFormat format) {
  return kFormatNames[static_cast<std::size_t>(format)];
}

void WriteStrings(JsonWriter& json, const std::vector<std::string>& texts) {
  json.BeginArray();
  for (const std::string& text : texts) json.String(text);
  json.EndArray();
}

void WriteCell(JsonWriter& json, const CellView& cell) {
  json.BeginObject();
  json.Key("value");
  json.Number(cell.value);
  if (!cell.text.empty()) WriteMember(json, "text", cell.text);
  if (cell.marked) {
    json.Key("marked");
    json.Boolean(true);
  }
  json.EndObject();
}

struct BodyWriter {
  JsonWriter& json;
  const CaseNamer& caseName;

  void operator()(const ResultsText& results) const {
    WriteMember(json, "kind", "results");
    json.Key("lines");
    WriteStrings(json, results.lines);
  }

  void operator()(const Graph& graph) const { WriteGraphMembers(json, graph, caseName); }
  void operator()(const TextDocument& document) const { WriteTextMembers(json, document); }

  void operator()(const Spreadsheet& sheet) const {
    WriteMember(json, "kind", "spreadsheet");
    WriteMember(json, "title", sheet.title);
    json.Key("header");
    WriteStrings(json, sheet.header);
    json.Key("rowTitle");
    WriteStrings(json, {sheet.rowTitle, sheet.rowTitleSecond});
    json.Key("columns");
    json.BeginArray();
    for (const SpreadsheetColumn& column : sheet.columns) {
      json.BreakLine();
      json.BeginObject();
      WriteMember(json, "first", column.first);
      WriteMember(json, "second", column.second);
      WriteMember(json, "format", FormatName(column.format));
      json.EndObject();
    }
    json.EndArray();
    json.Key("rows");
    json.BeginArray();
    for (std::size_t row = 0; row < sheet.Rows() && json.Good(); ++row) {
      json.BreakLine();
      json.BeginObject();
      WriteMember(json, "name", RowName(sheet, row, caseName));
      json.Key("cells");
      json.BeginArray();
      for (const SpreadsheetColumn& column : sheet.columns) WriteCell(json, CellAt(column, row));
      json.EndArray();
      json.EndObject();
    }
    json.EndArray();
  }
};

void WriteValues(JsonWriter& json, std::string_view key, const std::vector<NamedValue>& values) {
  json.BreakLine();
  json.Key(key);
  json.BeginObject();
  for (const auto& [name, value] : values) {
    json.Key(name);
    if (const double* number = std::get_if<double>(&value)) {
      json.Number(*number);
    } else {
      json.String(std::get<std::string>(value));
    }
  }
  json.EndObject();
}

void WriteJson(JsonWriter& json, const Document& document, const CaseNamer& caseName) {
  json.BeginObject();
  std::visit(BodyWriter{json, caseName}, document);
  json.EndObject();
}

void WriteReport(JsonWriter& json, const RunReport& report, const Workbook& workbook) {
  json.BeginObject();
  json.Key("schema");
  json.Number(kSchema);
  WriteValues(json, "analysis", report.analysis);
  WriteValues(json, "properties", report.properties);
  json.BreakLine();
  json.Key("messages");
  json.BeginArray();
  for (const ReportedMessage& message : report.messages) {
    json.BreakLine();
    json.BeginObject();
    json.Key("number");
    json.Number(message.number);
    WriteMember(json, "text", message.text);
    WriteMember(json, "step", message.step);
    json.EndObject();
  }
  json.EndArray();
  json.BreakLine();
  json.Key("documents");
  json.BeginArray();
  for (const Document& document : workbook.documents()) {
    json.BreakLine();
    WriteJson(json, document, workbook.caseName);
  }
  json.EndArray();
  json.BreakLine();
  json.EndObject();
}

}  // namespace

void WriteDocumentJson(std::ostream& out, const Document& document, const CaseNamer& caseName) {
  {
    JsonWriter json(out);
    WriteJson(json, document, caseName);
  }
  out << '\n';
}

void WriteReportJson(std::ostream& out, const RunReport& report, const Workbook& workbook) {
  {
    JsonWriter json(out);
    WriteReport(json, report, workbook);
  }
  out << '\n';
}

}  // namespace qrvml
