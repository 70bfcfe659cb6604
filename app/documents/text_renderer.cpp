#include "documents/text_renderer.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "documents/display_width.h"
#include "documents/graph_text.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr int kSignificantDigits = 6;
constexpr double kLargestInFull = 1e15;
constexpr std::string_view kGap = "  ";
constexpr std::string_view kMark = " *", kNoMark = "  ";

/// A column ready to print: every text already fit for a terminal.
struct TextColumn {
  std::string heading[2];
  std::vector<std::string> cells;
  bool atRight = true;
  std::size_t width = 0;

  void Measure() {
    width = std::max(DisplayWidth(heading[0]), DisplayWidth(heading[1]));
    for (const std::string& cell : cells) width = std::max(width, DisplayWidth(cell));
  }
};

TextColumn NamesColumn(const Spreadsheet& sheet, const CaseNamer& caseName) {
  TextColumn column;
  column.heading[0] = PrintableText(sheet.rowTitle);
  column.heading[1] = PrintableText(sheet.rowTitleSecond);
  for (std::size_t row = 0; row < sheet.Rows(); ++row)
    column.cells.push_back(PrintableText(RowName(sheet, row, caseName)));
  column.atRight = false;
  column.Measure();
  return column;
}

/// Texts stand at the left where a column has nothing else.
TextColumn ValuesColumn(const SpreadsheetColumn& source) {
  TextColumn column;
  column.heading[0] = PrintableText(source.first);
  column.heading[1] = PrintableText(source.second);
  bool marks = false, texts = false, numbers = false;
  for (std::size_t row = 0; row < source.values.size() && !marks; ++row)
    marks = CellAt(source, row).marked;
  for (std::size_t row = 0; row < source.values.size(); ++row) {
    const CellView view = CellAt(source, row);
    std::string cell =
        view.text.empty() ? CellNumber(view.value, source.format) : PrintableText(view.text);
    texts = texts || !view.text.empty();
    numbers = numbers || (view.text.empty() && !cell.empty());
    if (marks) cell += view.marked ? kMark : kNoMark;
    column.cells.push_back(std::move(cell));
  }
  column.atRight = numbers || !texts;
  column.Measure();
  return column;
}

void AppendPadded(std::string& line, const std::string& text, const TextColumn& column) {
  const std::string blanks(column.width - DisplayWidth(text), ' ');
  line += column.atRight ? blanks + text : text + blanks;
}

/// One line of the table; `cell` gives a column's text.
template <class Cell>
void AppendLine(std::string& out, const std::vector<TextColumn>& columns, Cell cell) {
  std::string line;
  for (std::size_t c = 0; c < columns.size(); ++c) {
    if (c > 0) line += kGap;
    AppendPadded(line, cell(columns[c]), columns[c]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out += line + '\n';
}

struct Renderer {
  const CaseNamer& caseName;

  std::string operator()(const ResultsText& results) const {
    std::string out;
    for (const std::string& line : results.lines) out += PrintableText(line) + '\n';
    return out;
  }

  std::string operator()(const Graph& graph) const { return GraphText(graph); }
  std::string operator()(const TextDocument& document) const { return document.text; }

  std::string operator()(const Spreadsheet& sheet) const {
    std::string out = PrintableText(sheet.title) + '\n';
    for (const std::string& line : sheet.header) out += PrintableText(line) + '\n';
    out += '\n';
    std::vector<TextColumn> columns{NamesColumn(sheet, caseName)};
    for (const SpreadsheetColumn& column : sheet.columns) columns.push_back(ValuesColumn(column));

    AppendLine(out, columns, [](const TextColumn& c) { return c.heading[0]; });
    if (std::ranges::any_of(columns, [](const TextColumn& c) { return !c.heading[1].empty(); }))
      AppendLine(out, columns, [](const TextColumn& c) { return c.heading[1]; });
    std::size_t width = kGap.size() * (columns.size() - 1);
    for (const TextColumn& column : columns) width += column.width;
    out += std::string(width, '-') + '\n';
    for (std::size_t row = 0; row < sheet.Rows(); ++row)
      AppendLine(out, columns, [row](const TextColumn& c) { return c.cells[row]; });
    return out;
  }
};

}  // namespace

std::string CellNumber(double value, NumberFormat format) {
  if (std::isnan(value)) return {};
  char buffer[512];
  const bool whole = std::isfinite(value) && value == std::floor(value);
  const bool inFull = format == NumberFormat::count || (whole && std::abs(value) < kLargestInFull);
  if (format == NumberFormat::fixed6) return FixedText(value, 6);
  const auto end =
      inFull ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 0).ptr
             : std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general,
                             kSignificantDigits)
                   .ptr;
  return {buffer, end};
}

std::string DocumentText(const Document& document, const CaseNamer& caseName) {
  return std::visit(Renderer{caseName}, document);
}

}  // namespace qrvml
