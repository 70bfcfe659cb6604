// What every format for saved data files does: it writes rows of numbers into one file. Whether the
// file takes the place of another is not its concern.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/data_table.h"

namespace qrvml {

/// A variable of a file to be saved.
struct SavedVariable {
  Variable about;       // labels ascending by code
  bool asText = false;  // formats without labels write the texts of the codes
};

class FormatWriter {
 public:
  virtual ~FormatWriter() = default;

  /// `file` does not exist yet; auxiliary files may be made in its folder. `variables` live as long
  /// as the writer. Every false result of this class: `reason` says why, the file is worthless.
  virtual bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
                     std::string& reason) = 0;
  /// A row's cells in the order of the variables; a NaN is a missing cell.
  virtual bool Append(std::span<const double> row, std::string& reason) = 0;
  /// The file is complete and closed.
  virtual bool Finish(std::string& reason) = 0;
  /// What was changed because the format wants it so, as sentences without a full stop.
  virtual std::vector<std::string> Changes() const { return {}; }
};

/// The workbench's own format, qrv_format.h.
std::unique_ptr<FormatWriter> MakeQrvWriter();
/// Codes of labelled text become texts, dates and times their types.
std::unique_ptr<FormatWriter> MakeParquetWriter();
/// RFC 4180, UTF-8, comma, LF; a heading line with the names. A missing cell is empty (a lone one
/// in its line is ""), a number has the shortest digits that read back as the same double, a date
/// is 2024-01-31, a time 23:59:59. A text that a spreadsheet program would take for a formula (its
/// first character is = + - @, a tab or a line end) gets an apostrophe before it; numbers never do.
std::unique_ptr<FormatWriter> MakeCsvWriter();
/// SPSS, UTF-8. The numbers with their labels and missing-data codes; names by SavNames.
std::unique_ptr<FormatWriter> MakeSavWriter();
/// One sheet with a heading row. Numbers have 16 significant digits.
std::unique_ptr<FormatWriter> MakeXlsxWriter();

/// The label of exactly this code; null: none.
const std::string* LabelOf(const Variable& about, double code);
/// The text that stands for a cell that is not missing: the label of exactly this code, else the
/// shortest digits that read back as the same number.
std::string SavedText(const Variable& about, double value);
/// The shortest digits that read back as the same number; inf and -inf.
std::string ShortestNumber(double value);
/// "a", "b" and 3 more.
std::string NameList(std::span<const std::string> names);

}  // namespace qrvml
