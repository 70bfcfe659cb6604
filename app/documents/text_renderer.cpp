#include "documents/text_renderer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include "documents/display_width.h"
#include "documents/graph_text.h"
#include "documents/text_sink.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr int kSignificantDigits = 6;
constexpr double kLargestInFull = 1e15;
constexpr std::string_view kGap = "  ";
constexpr std::string_view kMark = " *", kNoMark = "  ";

/// How a column is printed: what it takes to print each of its cells when its turn comes.
struct TextColumn {
  const SpreadsheetColumn* source = nullptr;  // null: the names of the rows
  std::string heading[2] = {};
  bool hasMarks = false;
  bool atRight = false;
  std::size_t width = 0;
};

class TablePrinter {
 public:
  TablePrinter(std::ostream& out, const Spreadsheet& sheet, const CaseNamer& caseName)
      : out_(out), sheet_(sheet), caseName_(caseName) {
    columns_.push_back(Measured({nullptr, {sheet.rowTitle, sheet.rowTitleSecond}}));
    for (const SpreadsheetColumn& column : sheet.columns)
      columns_.push_back(Measured({&column, {column.first, column.second}}));
  }

  void Print() {
    out_ += PrintableText(sheet_.title) + '\n';
    for (const std::string& line : sheet_.header) out_ += PrintableText(line) + '\n';
    out_ += '\n';
    AddLine([](const TextColumn& column) { return column.heading[0]; });
    if (std::ranges::any_of(columns_, [](const TextColumn& c) { return !c.heading[1].empty(); }))
      AddLine([](const TextColumn& column) { return column.heading[1]; });
    std::size_t width = kGap.size() * (columns_.size() - 1);
    for (const TextColumn& column : columns_) width += column.width;
    out_ += std::string(width, '-') + '\n';
    for (std::size_t row = 0; row < sheet_.Rows() && out_.Good(); ++row)
      AddLine([&](const TextColumn& column) { return Cell(column, row); });
  }

 private:
  /// Texts stand at the left where a column has nothing else.
  TextColumn Measured(TextColumn column) const {
    for (std::string& line : column.heading) {
      line = PrintableText(line);
      column.width = std::max(column.width, DisplayWidth(line));
    }
    bool texts = false, numbers = false;
    const std::size_t rows = sheet_.Rows();
    for (std::size_t row = 0; row < rows && column.source != nullptr && !column.hasMarks; ++row)
      column.hasMarks = CellAt(*column.source, row).marked;
    for (std::size_t row = 0; row < rows; ++row) {
      const std::string cell = Cell(column, row);
      column.width = std::max(column.width, DisplayWidth(cell));
      if (column.source == nullptr) continue;
      const CellView view = CellAt(*column.source, row);
      texts = texts || !view.text.empty();
      numbers = numbers || (view.text.empty() && !std::isnan(view.value));
    }
    column.atRight = column.source != nullptr && (numbers || !texts);
    return column;
  }

  std::string Cell(const TextColumn& column, std::size_t row) const {
    if (column.source == nullptr) return PrintableText(RowName(sheet_, row, caseName_));
    const CellView view = CellAt(*column.source, row);
    std::string cell = view.text.empty() ? CellNumber(view.value, column.source->format)
                                         : PrintableText(view.text);
    if (column.hasMarks) cell += view.marked ? kMark : kNoMark;
    return cell;
  }

  /// One line of the table; `text` gives a column's.
  template <class Text>
  void AddLine(Text text) {
    line_.clear();
    for (const TextColumn& column : columns_) {
      if (&column != &columns_.front()) line_ += kGap;
      const std::string cell = text(column);
      const std::size_t blanks = column.width - DisplayWidth(cell);
      if (column.atRight) line_.append(blanks, ' ');
      line_ += cell;
      if (!column.atRight) line_.append(blanks, ' ');
    }
    line_.erase(line_.find_last_not_of(' ') + 1);
    out_ += line_ += '\n';
  }

  TextSink out_;
  const Spreadsheet& sheet_;
  const CaseNamer& caseName_;
  std::vector<TextColumn> columns_;
  std::string line_;
};

struct Renderer {
  std::ostream& out;
  const CaseNamer& caseName;

  void operator()(const ResultsText& results) const {
    for (const std::string& line : results.lines) out << PrintableText(line) << '\n';
  }
  void operator()(const Graph& graph) const { out << GraphText(graph); }
  void operator()(const TextDocument& document) const { out << document.text; }
  void operator()(const Spreadsheet& sheet) const { TablePrinter(out, sheet, caseName).Print(); }
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

void WriteDocumentText(std::ostream& out, const Document& document, const CaseNamer& caseName) {
  std::visit(Renderer{out, caseName}, document);
}

}  // namespace qrvml
