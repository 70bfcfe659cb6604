#include "documents/xlsx_renderer.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include "documents/cell_text.h"
#include "documents/display_width.h"

namespace qrvml {
namespace {

constexpr std::size_t kLongestSheetName = 31;  // in UTF-16 units, as all lengths of the format
constexpr std::size_t kLongestCellText = 32'767;
constexpr std::size_t kRowsMeasured = 200;             // for the widths of columns
constexpr std::size_t kNarrowest = 8, kWidest = 60;    // characters
constexpr std::size_t kCellsOfLargeFile = 40'000'000;  // beyond, a sheet may pass 4 GB
constexpr std::time_t kFixedDate = 946'684'800;        // 2000-01-01

/// How a cell looks. Marks are bold too, for greyscale.
enum class Look : std::uint8_t {
  title,
  header,
  upperHeading,
  upperCorner,
  heading,
  corner,
  general,  // the number formats in their order
  count,
  fixed6,
  text,
  markedText,
};
struct LookRow {
  bool bold;
  lxw_color_t font;     // 0: automatic
  lxw_color_t fill;     // 0: none
  const char* numbers;  // null: general
  std::uint8_t align;
  bool ruled;  // a line below
  double size;
};
constexpr lxw_color_t kLabelColour = 0x1F4E79, kMarkColour = 0x9C0006, kMarkFill = 0xFFC7CE,
                      kHeadingFill = 0xE7E6E6, kQuiet = 0x595959;
constexpr std::array<LookRow, 11> kLooks = {{
    {true, 0, 0, nullptr, LXW_ALIGN_NONE, false, 14},
    {false, kQuiet, 0, nullptr, LXW_ALIGN_NONE, false, 11},
    {true, 0, kHeadingFill, nullptr, LXW_ALIGN_RIGHT, false, 11},
    {true, 0, kHeadingFill, nullptr, LXW_ALIGN_NONE, false, 11},
    {true, 0, kHeadingFill, nullptr, LXW_ALIGN_RIGHT, true, 11},
    {true, 0, kHeadingFill, nullptr, LXW_ALIGN_NONE, true, 11},
    {false, 0, 0, nullptr, LXW_ALIGN_NONE, false, 11},
    {false, 0, 0, "0", LXW_ALIGN_NONE, false, 11},
    {false, 0, 0, "0.000000", LXW_ALIGN_NONE, false, 11},
    {false, kLabelColour, 0, nullptr, LXW_ALIGN_RIGHT, false, 11},
    {true, kMarkColour, kMarkFill, nullptr, LXW_ALIGN_RIGHT, false, 11},
}};

std::size_t Utf16Units(char32_t point) { return point > 0xFFFF ? 2 : 1; }

std::string CutToUnits(std::string_view text, std::size_t units) {
  std::size_t used = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    used += Utf16Units(NextCodePoint(text, at));
    if (used > units) return std::string(text.substr(0, begin));
  }
  return std::string(text);
}

/// Text as a cell holds it. The format reads _x0041_ as an escape: its underscore is escaped.
std::string CellString(std::string_view source) {
  std::string text = PrintableText(source);
  constexpr std::string_view kHex = "0123456789abcdefABCDEF";
  for (std::size_t at = text.find("_x"); at != std::string::npos; at = text.find("_x", at + 1)) {
    if (text.size() > at + 6 && text[at + 6] == '_' &&
        text.find_first_not_of(kHex, at + 2) == at + 6) {
      text.insert(at, "_x005F");
      at += 6;
    }
  }
  return text.size() <= kLongestCellText ? text : CutToUnits(text, kLongestCellText);
}

/// Part of a table that one sheet holds: half-open ranges of rows and columns.
struct Part {
  std::size_t firstRow, endRow, firstColumn, endColumn;
  std::size_t number, parts;  // 1-based
};

class XlsxFile {
 public:
  XlsxFile(const std::filesystem::path& path, bool large)
      : folder_(std::filesystem::absolute(path).parent_path().string()) {
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = folder_.data();
    options.use_zip64 = large ? LXW_TRUE : LXW_FALSE;
    book_.reset(workbook_new_opt(path.c_str(), &options));
    if (book_ == nullptr) return;
    lxw_doc_properties properties = {};
    properties.created = kFixedDate;
    Note(workbook_set_properties(book_.get(), &properties));
    for (std::size_t i = 0; i < kLooks.size(); ++i) {
      // The library's own look is no format: one that equals it would be searched for at each cell.
      if (static_cast<Look>(i) != Look::general) looks_[i] = MakeLook(kLooks[i]);
    }
  }

  bool AddSheet(const std::string& name) {
    row_ = 0;
    sheet_ = book_ == nullptr ? nullptr : workbook_add_worksheet(book_.get(), name.c_str());
    if (sheet_ == nullptr || sheet_->optimize_tmpfile == nullptr) {
      Note(LXW_ERROR_CREATING_TMPFILE);
      return false;
    }
    sheets_.push_back(sheet_);
    return true;
  }

  // Cells of the current row, from left to right.
  void NextRow() {
    ++row_;
    NoteWritten(sheet_);
  }
  void Text(std::size_t column, std::string_view text, Look look) {
    const std::string cell = CellString(text);
    if (cell.empty()) return Blank(column, look);
    Note(
        worksheet_write_string(sheet_, row_, lxw_col_t(column), cell.c_str(), looks_[Index(look)]));
  }
  void Number(std::size_t column, double value, Look look) {
    Note(worksheet_write_number(sheet_, row_, lxw_col_t(column), value, looks_[Index(look)]));
  }
  void Blank(std::size_t column, Look look) {
    Note(worksheet_write_blank(sheet_, row_, lxw_col_t(column), looks_[Index(look)]));
  }
  void Freeze(std::size_t columns) { worksheet_freeze_panes(sheet_, row_, lxw_col_t(columns)); }
  /// On paper: the width of the table on one page, the lines from `firstHeading` up to here on
  /// every page, the pages numbered.
  void SetPages(std::size_t firstHeading, std::size_t columns) {
    constexpr std::uint8_t kA4 = 9;
    constexpr std::size_t kMostUpright = 6;
    worksheet_set_paper(sheet_, kA4);
    worksheet_fit_to_pages(sheet_, 1, 0);
    if (columns > kMostUpright) worksheet_set_landscape(sheet_);
    Note(worksheet_repeat_rows(sheet_, lxw_row_t(firstHeading), row_ - 1));
    Note(worksheet_set_footer(sheet_, "&L&A&R&P / &N"));
  }
  std::size_t Row() const { return row_; }
  void Width(std::size_t column, std::size_t characters) {
    const double width = double(std::clamp(characters + 2, kNarrowest, kWidest));
    Note(worksheet_set_column(sheet_, lxw_col_t(column), lxw_col_t(column), width, nullptr));
  }

  bool Failed() const { return status_ != LXW_NO_ERROR || failure_ != 0; }
  /// Closes the file; false with the system's or the library's reason.
  bool Close(std::string& reason) {
    if (book_ == nullptr) Note(LXW_ERROR_MEMORY_MALLOC_FAILED);
    if (!Failed()) CheckRoom();
    if (!Failed()) Note(workbook_close(book_.release()));  // frees the book whatever comes of it
    if (Failed()) reason = failure_ != 0 ? std::strerror(failure_) : lxw_strerror(status_);
    return !Failed();
  }

 private:
  static std::size_t Index(Look look) { return static_cast<std::size_t>(look); }
  void Note(lxw_error status) {
    if (!Failed()) status_ = status;
  }
  /// The library does not look whether a sheet's rows could be written.
  void NoteWritten(const lxw_worksheet* sheet) {
    if (!Failed() && std::ferror(sheet->optimize_tmpfile) != 0)
      failure_ = errno != 0 ? errno : ENOSPC;
  }
  /// Nor whether their copies can be, on the way into the file: that there is room for the largest
  /// copy and the file is made sure before.
  void CheckRoom() {
    off_t all = 0, largest = 0;
    for (const lxw_worksheet* sheet : sheets_) {
      std::fflush(sheet->optimize_tmpfile);
      NoteWritten(sheet);
      const off_t rows = ftello(sheet->optimize_tmpfile);
      all += rows;
      largest = std::max(largest, rows);
    }
    if (Failed()) return;
    std::string name = folder_ + "/.room-XXXXXX";
    const int file = mkstemp(name.data());
    if (file < 0) {
      failure_ = errno;
      return;
    }
    unlink(name.c_str());
    failure_ = posix_fallocate(file, 0, all + largest + (1 << 15));
    close(file);
  }
  lxw_format* MakeLook(const LookRow& row) {
    lxw_format* format = workbook_add_format(book_.get());
    if (format == nullptr) {
      Note(LXW_ERROR_MEMORY_MALLOC_FAILED);
      return nullptr;
    }
    format_set_font_size(format, row.size);
    if (row.bold) format_set_bold(format);
    if (row.font != 0) format_set_font_color(format, row.font);
    if (row.fill != 0) format_set_bg_color(format, row.fill);
    if (row.numbers != nullptr) format_set_num_format(format, row.numbers);
    if (row.align != LXW_ALIGN_NONE) format_set_align(format, row.align);
    if (row.ruled) format_set_bottom(format, LXW_BORDER_THIN);
    return format;
  }

  struct Free {
    void operator()(lxw_workbook* book) const { lxw_workbook_free(book); }
  };
  std::string folder_;  // of the file and, beside it, of the sheets on their way
  std::unique_ptr<lxw_workbook, Free> book_;
  std::vector<lxw_worksheet*> sheets_;  // the book's
  lxw_worksheet* sheet_ = nullptr;      // the last of them
  std::array<lxw_format*, kLooks.size()> looks_{};
  lxw_row_t row_ = 0;
  lxw_error status_ = LXW_NO_ERROR;
  int failure_ = 0;  // of the system
};

Look NumberLook(NumberFormat format) {
  return static_cast<Look>(static_cast<int>(Look::general) + static_cast<int>(format));
}

void WriteCell(XlsxFile& file, std::size_t at, const CellView& cell, NumberFormat format) {
  if (!cell.text.empty()) {
    file.Text(at, cell.text, cell.marked ? Look::markedText : Look::text);
  } else if (std::isinf(cell.value)) {
    file.Text(at, cell.value > 0 ? "inf" : "-inf", Look::text);
  } else if (!std::isnan(cell.value)) {
    file.Number(at, cell.value, NumberLook(format));
  }
}

/// Writes one table, as many sheets as it takes.
class TableWriter {
 public:
  TableWriter(XlsxFile& file, const Spreadsheet& sheet, std::size_t number,
              const CaseNamer& caseName, const SheetLimits& limits)
      : file_(file), sheet_(sheet), number_(number), caseName_(caseName), limits_(limits) {
    hasSecond_ =
        !sheet.rowTitleSecond.empty() ||
        std::ranges::any_of(sheet.columns, [](const auto& c) { return !c.second.empty(); });
    // Title, part, blank line, headings and at least one row always fit.
    headerLines_ = std::min(sheet.header.size(), limits.rows - 6);
  }

  void Write() {
    const std::size_t head = 1 + headerLines_ + 1 + (hasSecond_ ? 2 : 1);
    const std::size_t rows = sheet_.Rows(), columns = sheet_.columns.size();
    const std::size_t widest = limits_.columns - 1;
    const bool split = rows > limits_.rows - head || columns > widest;
    const std::size_t longest = limits_.rows - head - (split ? 1 : 0);
    const std::size_t across = std::max<std::size_t>(1, (columns + widest - 1) / widest);
    const std::size_t down = std::max<std::size_t>(1, (rows + longest - 1) / longest);
    for (std::size_t part = 0; part < across * down && !file_.Failed(); ++part) {
      const std::size_t firstRow = part / across * longest, firstColumn = part % across * widest;
      WritePart({firstRow, std::min(rows, firstRow + longest), firstColumn,
                 std::min(columns, firstColumn + widest), part + 1, across * down});
    }
  }

 private:
  void WritePart(const Part& part) {
    if (!file_.AddSheet(SheetName(number_, sheet_.title, part.number))) return;
    SetWidths(part);
    Line(sheet_.title, Look::title);
    for (std::size_t i = 0; i < headerLines_; ++i) Line(sheet_.header[i], Look::header);
    if (part.parts > 1) Line(PartText(part), Look::header);
    file_.NextRow();
    const std::size_t firstHeading = file_.Row();
    HeadingLine(part, sheet_.rowTitle, &SpreadsheetColumn::first, !hasSecond_);
    if (hasSecond_) HeadingLine(part, sheet_.rowTitleSecond, &SpreadsheetColumn::second, true);
    file_.Freeze(1);
    file_.SetPages(firstHeading, part.endColumn - part.firstColumn + 1);
    for (std::size_t row = part.firstRow; row < part.endRow; ++row) {
      file_.Text(0, RowName(sheet_, row, caseName_), Look::general);
      for (std::size_t c = part.firstColumn; c < part.endColumn; ++c)
        WriteCell(file_, c - part.firstColumn + 1, CellAt(sheet_.columns[c], row),
                  sheet_.columns[c].format);
      file_.NextRow();
    }
  }

  void Line(std::string_view text, Look look) {
    if (!text.empty()) file_.Text(0, text, look);
    file_.NextRow();
  }

  void HeadingLine(const Part& part, std::string_view corner,
                   std::string SpreadsheetColumn::*heading, bool last) {
    file_.Text(0, corner, last ? Look::corner : Look::upperCorner);
    for (std::size_t c = part.firstColumn; c < part.endColumn; ++c)
      file_.Text(c - part.firstColumn + 1, sheet_.columns[c].*heading,
                 last ? Look::heading : Look::upperHeading);
    file_.NextRow();
  }

  std::string PartText(const Part& part) const {
    return "Part " + std::to_string(part.number) + " of " + std::to_string(part.parts) + ": rows " +
           std::to_string(part.firstRow + 1) + " to " + std::to_string(part.endRow) + " of " +
           std::to_string(sheet_.Rows()) + ", columns " + std::to_string(part.firstColumn + 1) +
           " to " + std::to_string(part.endColumn) + " of " + std::to_string(sheet_.columns.size());
  }

  void SetWidths(const Part& part) {
    const std::size_t end = std::min(part.endRow, part.firstRow + kRowsMeasured);
    std::size_t width =
        std::max(DisplayWidth(sheet_.rowTitle), DisplayWidth(sheet_.rowTitleSecond));
    for (std::size_t row = part.firstRow; row < end; ++row)
      width = std::max(width, DisplayWidth(RowName(sheet_, row, caseName_)));
    file_.Width(0, width);
    for (std::size_t c = part.firstColumn; c < part.endColumn; ++c) {
      const SpreadsheetColumn& column = sheet_.columns[c];
      width = std::max({DisplayWidth(column.first), DisplayWidth(column.second), std::size_t{9}});
      for (std::size_t row = part.firstRow; row < end; ++row)
        width = std::max(width, DisplayWidth(CellAt(column, row).text));
      file_.Width(c - part.firstColumn + 1, width);
    }
  }

  XlsxFile& file_;
  const Spreadsheet& sheet_;
  std::size_t number_;
  const CaseNamer& caseName_;
  const SheetLimits& limits_;
  bool hasSecond_ = false;
  std::size_t headerLines_ = 0;
};

void WriteResults(XlsxFile& file, const ResultsText& results, std::size_t number,
                  const SheetLimits& limits) {
  if (!file.AddSheet(SheetName(number, "results", 1))) return;
  for (std::size_t i = 0; i < std::min(results.lines.size(), limits.rows); ++i) {
    if (!results.lines[i].empty()) file.Text(0, results.lines[i], Look::general);
    file.NextRow();
  }
}

std::size_t CellsOf(const Workbook& workbook) {
  std::size_t cells = 0;
  for (const Document& document : workbook.documents()) {
    if (const auto* sheet = std::get_if<Spreadsheet>(&document))
      cells = std::max(cells, sheet->Rows() * (sheet->columns.size() + 1));
  }
  return cells;
}

}  // namespace

std::string SheetName(std::size_t number, std::string_view title, std::size_t part) {
  constexpr std::string_view kForbidden = "[]:*?/\\";
  std::string name = PrintableText(title);
  for (char& c : name) {
    if (kForbidden.find(c) != std::string_view::npos) c = ' ';
  }
  char digits[24];
  std::snprintf(digits, sizeof digits, "%03zu ", number);
  const std::string suffix = part > 1 ? " (" + std::to_string(part) + ")" : "";
  name = CutToUnits(digits + std::string(Trimmed(name)), kLongestSheetName - suffix.size());
  // An apostrophe must not end a name.
  while (name.back() == ' ' || name.back() == '\'') name.pop_back();
  return name + suffix;
}

bool WriteXlsx(const Workbook& workbook, const std::filesystem::path& file, std::string& error,
               const SheetLimits& limits) {
  // Asked beforehand, because the library prints its own words when it cannot.
  if (!std::ofstream(file)) {
    error = std::strerror(errno);
    return false;
  }
  XlsxFile xlsx(file, CellsOf(workbook) > kCellsOfLargeFile);
  for (std::size_t i = 0; i < workbook.documents().size() && !xlsx.Failed(); ++i) {
    const Document& document = workbook.documents()[i];
    if (const auto* sheet = std::get_if<Spreadsheet>(&document)) {
      TableWriter(xlsx, *sheet, i + 1, workbook.caseName, limits).Write();
    } else if (const auto* results = std::get_if<ResultsText>(&document)) {
      WriteResults(xlsx, *results, i + 1, limits);
    }
  }
  std::string reason;
  if (xlsx.Close(reason)) return true;
  error = reason;
  return false;
}

}  // namespace qrvml
