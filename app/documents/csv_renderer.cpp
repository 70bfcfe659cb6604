#include "documents/csv_renderer.h"

#include "documents/cell_text.h"
#include "documents/text_sink.h"

namespace qrvml {
namespace {

constexpr std::string_view kFormulaStarts = "=+-@\t\r\n";
constexpr std::string_view kQuotedFor = "\",\r\n";
constexpr std::string_view kRecordEnd = "\r\n";

void AppendText(std::string& out, std::string_view text) {
  const bool formula = !text.empty() && kFormulaStarts.find(text.front()) != std::string_view::npos;
  const bool quoted = text.find_first_of(kQuotedFor) != std::string_view::npos;
  if (quoted) out += '"';
  if (formula) out += '\'';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  if (quoted) out += '"';
}

void AppendCell(std::string& out, const CellView& cell) {
  if (cell.text.empty()) {
    AppendNumber(out, cell.value);
  } else {
    AppendText(out, cell.text);
  }
}

}  // namespace

void WriteCsv(std::ostream& out, const Spreadsheet& sheet, const CaseNamer& caseName) {
  TextSink sink(out);
  std::string record;
  AppendText(record, JoinedHeading(sheet.rowTitle, sheet.rowTitleSecond));
  for (const SpreadsheetColumn& column : sheet.columns) {
    record += ',';
    AppendText(record, JoinedHeading(column.first, column.second));
  }
  sink += record += kRecordEnd;
  for (std::size_t row = 0; row < sheet.Rows() && sink.Good(); ++row) {
    record.clear();
    AppendText(record, RowName(sheet, row, caseName));
    for (const SpreadsheetColumn& column : sheet.columns) {
      record += ',';
      AppendCell(record, CellAt(column, row));
    }
    sink += record += kRecordEnd;
  }
}

}  // namespace qrvml
