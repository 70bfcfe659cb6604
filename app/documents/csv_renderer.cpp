#include "documents/csv_renderer.h"

#include "documents/cell_text.h"

namespace qrvml {
namespace {

constexpr std::size_t kFlushAt = std::size_t{1} << 16;
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
  std::string pending;
  AppendText(pending, JoinedHeading(sheet.rowTitle, sheet.rowTitleSecond));
  for (const SpreadsheetColumn& column : sheet.columns) {
    pending += ',';
    AppendText(pending, JoinedHeading(column.first, column.second));
  }
  pending += kRecordEnd;
  for (std::size_t row = 0; row < sheet.Rows() && out; ++row) {
    AppendText(pending, RowName(sheet, row, caseName));
    for (const SpreadsheetColumn& column : sheet.columns) {
      pending += ',';
      AppendCell(pending, CellAt(column, row));
    }
    pending += kRecordEnd;
    if (pending.size() < kFlushAt) continue;
    out.write(pending.data(), static_cast<std::streamsize>(pending.size()));
    pending.clear();
  }
  out.write(pending.data(), static_cast<std::streamsize>(pending.size()));
}

}  // namespace qrvml
