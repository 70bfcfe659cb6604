#include <fcntl.h>
#include <unistd.h>
#include <xlsxwriter.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <system_error>

#include "datafile/format_writer.h"
#include "datafile/host_data_file.h"

namespace qrvml {
namespace {

constexpr std::size_t kMostRows = 1'048'576, kMostColumns = 16'384;  // of a sheet
constexpr std::size_t kLongestCell = 32'767;                         // characters
constexpr std::size_t kDigits = 16;                                  // of a number in the file
constexpr double kFirstCommonDay = 61;  // the format counts a 29 February 1900 before it
constexpr double kEndOfDays = 2958466;  // 10000-01-01
constexpr const char* kDateFormats[] = {nullptr, "yyyy-mm-dd", "hh:mm:ss", "yyyy-mm-dd hh:mm:ss"};

/// Whether the file rounds a number that is none of the common whole ones.
bool IsRounded(double value) {
  char text[40];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
  std::size_t digits = 0;
  for (const char* at = text; at != end.ptr && *at != 'e'; ++at) digits += *at >= '0' && *at <= '9';
  return digits > kDigits;
}

/// The format reads _x0041_ as an escape: its underscore is escaped.
std::string CellText(std::string text) {
  constexpr std::string_view kHex = "0123456789abcdefABCDEF";
  for (std::size_t at = text.find("_x"); at != std::string::npos; at = text.find("_x", at + 1)) {
    if (text.size() <= at + 6 || text[at + 6] != '_' ||
        text.find_first_not_of(kHex, at + 2) != at + 6)
      continue;
    text.insert(at, "_x005F");
    at += 6;
  }
  return text;
}

class XlsxDataWriter final : public FormatWriter {
 public:
  bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
             std::string& reason) override {
    variables_ = variables;
    folder_ = file.parent_path().string();
    rounded_.assign(variables.size(), 0);
    if (variables.size() > kMostColumns) {
      reason = "a sheet has at most 16,384 columns, the file would have " +
               std::to_string(variables.size()) + "; .qrv, .parquet and .csv have no such limit";
      return false;
    }
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = folder_.data();
    options.use_zip64 = LXW_TRUE;
    book_.reset(workbook_new_opt(file.c_str(), &options));
    sheet_ = book_ == nullptr ? nullptr : workbook_add_worksheet(book_.get(), "Data");
    if (sheet_ == nullptr || sheet_->optimize_tmpfile == nullptr) {
      reason = "its working files cannot be made";
      return false;
    }
    for (std::size_t v = 0; v < variables.size(); ++v) {
      const auto format = static_cast<std::size_t>(variables[v].about.format);
      if (kDateFormats[format] != nullptr && looks_[format] == nullptr) {
        looks_[format] = workbook_add_format(book_.get());
        format_set_num_format(looks_[format], kDateFormats[format]);
      }
      Variable& shown = dates_.AddVariable(variables[v].about.name);
      shown.format = variables[v].about.format;
      shown.missingCode = std::numeric_limits<double>::quiet_NaN();
      if (!Text(v, variables[v].about.name, reason)) return false;
    }
    worksheet_freeze_panes(sheet_, 1, 0);
    return true;
  }

  bool Append(std::span<const double> row, std::string& reason) override {
    if (++row_ >= kMostRows) {
      reason =
          "a sheet has at most 1,048,576 rows, the names and 1,048,575 cases; .qrv, .parquet, "
          ".csv and .sav have no such limit";
      return false;
    }
    bool empty = true;
    for (std::size_t v = 0; v < row.size(); ++v) {
      if (std::isnan(row[v])) continue;
      empty = false;
      if (!Cell(v, row[v], reason)) return false;
    }
    emptyRows_ += empty ? 1 : 0;
    return true;
  }

  bool Finish(std::string& reason) override {
    // The library copies the rows from one unnamed file to another without a look at what becomes
    // of it: that the rows are there, and room for their copy, is made sure before.
    std::FILE* rows = sheet_->optimize_tmpfile;
    if (std::fflush(rows) != 0 || std::ferror(rows) != 0) {
      reason = "there is no room for the rows";
      return false;
    }
    if (const int failure = TryRoom(std::ftell(rows)); failure != 0) {
      reason = std::generic_category().message(failure);
      return false;
    }
    return Check(workbook_close(book_.release()), reason);  // frees the book whatever comes of it
  }

  std::vector<std::string> Changes() const override {
    std::vector<std::string> names;
    for (std::size_t v = 0; v < rounded_.size(); ++v) {
      if (rounded_[v]) names.push_back(variables_[v].about.name);
    }
    std::vector<std::string> changes;
    if (!names.empty())
      changes.push_back("numbers of " + NameList(names) + " are rounded to 16 digits");
    if (emptyRows_ > 0)
      changes.push_back(std::to_string(emptyRows_) +
                        " rows are empty, since their cases are missing in every variable; what "
                        "reads the file may pass over them");
    return changes;
  }

 private:
  bool Cell(std::size_t v, double value, std::string& reason) {
    const Variable& about = variables_[v].about;
    if (const std::string* text = variables_[v].asText ? LabelOf(about, value) : nullptr)
      return Text(v, *text, reason);
    if (std::isinf(value)) return Text(v, ShortestNumber(value), reason);
    const bool date =
        about.format == DisplayFormat::date || about.format == DisplayFormat::dateTime;
    if (date && !(value >= kFirstCommonDay && value < kEndOfDays))
      return Text(v, ValueAsText(dates_, static_cast<int>(v) + 1, value), reason);
    if (value != std::trunc(value) || std::abs(value) > 1e15)
      rounded_[v] = rounded_[v] || IsRounded(value);
    return Check(worksheet_write_number(sheet_, lxw_row_t(row_), lxw_col_t(v), value,
                                        looks_[static_cast<std::size_t>(about.format)]),
                 reason);
  }

  bool Text(std::size_t v, const std::string& text, std::string& reason) {
    const lxw_error error = worksheet_write_string(sheet_, lxw_row_t(row_), lxw_col_t(v),
                                                   CellText(text).c_str(), nullptr);
    if (error != LXW_ERROR_MAX_STRING_LENGTH_EXCEEDED) return Check(error, reason);
    reason = "a text of \"" + variables_[v].about.name + "\" is longer than " +
             std::to_string(kLongestCell) + " characters, the most that a cell holds";
    return false;
  }

  /// Whether the folder's disk takes a sheet of `rows` bytes twice; the error number, 0: it does.
  int TryRoom(long rows) const {
    const std::string name = folder_ + "/room";
    const int file = open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    if (file < 0) return errno;
    const int failure = posix_fallocate(file, 0, 2 * rows + (1 << 16));
    close(file);
    unlink(name.c_str());
    return failure;
  }

  static bool Check(lxw_error error, std::string& reason) {
    if (error != LXW_NO_ERROR) reason = lxw_strerror(error);
    return error == LXW_NO_ERROR;
  }

  struct Free {
    void operator()(lxw_workbook* book) const { lxw_workbook_free(book); }
  };
  std::span<const SavedVariable> variables_;
  std::string folder_;
  std::unique_ptr<lxw_workbook, Free> book_;
  lxw_worksheet* sheet_ = nullptr;  // the book's
  lxw_format* looks_[std::size(kDateFormats)] = {};
  std::size_t row_ = 0, emptyRows_ = 0;
  DataTable dates_;  // the formats, for their texts
  std::vector<char> rounded_;
};

}  // namespace

std::unique_ptr<FormatWriter> MakeXlsxWriter() { return std::make_unique<XlsxDataWriter>(); }

}  // namespace qrvml
