#include "datafile/duckdb_output.h"
#include "datafile/format_writer.h"
#include "datafile/qrv_format.h"
#include "datafile/saved_names.h"

namespace qrvml {
namespace {

/// A type that holds a format's values, and when it can hold all of them. Days become the type by
/// way of microseconds; `{}` is the column.
struct DateType {
  DisplayFormat format;
  const char *holds, *cast;
};
// From year 1 to 9999; a time is part of one day.
constexpr DateType kDateTypes[] = {
    {DisplayFormat::date, "{} = floor({}) AND {} BETWEEN -693593 AND 2958465",
     "DATE '1899-12-30' + CAST({} AS INTEGER)"},
    {DisplayFormat::date, "{} BETWEEN -693593 AND 2958465",
     "TIMESTAMP '1899-12-30' + to_microseconds(CAST(round({} * 86400e6) AS BIGINT))"},
    {DisplayFormat::dateTime, "{} BETWEEN -693593 AND 2958465",
     "TIMESTAMP '1899-12-30' + to_microseconds(CAST(round({} * 86400e6) AS BIGINT))"},
    {DisplayFormat::time, "round({} * 86400e6) BETWEEN 0 AND 86399999999",
     "TIME '00:00:00' + to_microseconds(CAST(round({} * 86400e6) AS BIGINT))"},
};

std::string WithColumn(std::string text, const std::string& column) {
  for (std::size_t at; (at = text.find("{}")) != std::string::npos;) text.replace(at, 2, column);
  return text;
}

class ParquetWriter final : public FormatWriter {
 public:
  bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
             std::string& reason) override {
    file_ = file;
    variables_ = variables;
    return database_.Open({}, file.parent_path(), reason) &&
           database_.BeginRows(kQrvCases, variables, true, reason);
  }

  bool Append(std::span<const double> row, std::string& reason) override {
    return database_.AppendRow(row, reason);
  }

  bool Finish(std::string& reason) override {
    if (!database_.EndRows(reason)) return false;
    // Readers of the format take names that differ in case only for equal.
    std::vector<std::string> names;
    for (const SavedVariable& variable : variables_) names.push_back(variable.about.name);
    names = DistinctNames(names, true);
    NoteRenamed(variables_, names, changes_);
    std::string columns;
    for (std::size_t v = 0; v < variables_.size(); ++v) {
      std::string column = QrvColumn(static_cast<int>(v) + 1);
      if (!variables_[v].asText && !Dated(variables_[v].about, column, reason)) return false;
      columns += (v > 0 ? ", " : "") + column + " AS " + SqlIdentifier(names[v]);
    }
    if (!numbersOfDays_.empty())
      changes_.push_back("the dates or times of " + NameList(numbersOfDays_) +
                         " are numbers of days, since not all of them fit into a date or time");
    const bool written =
        database_.Run("COPY (SELECT " + columns + " FROM " + kQrvCases + ") TO " +
                          SqlLiteral(file_.string()) + " (FORMAT parquet, USE_TMP_FILE false)",
                      reason);
    database_.Close();
    return written;
  }

  std::vector<std::string> Changes() const override { return changes_; }

 private:
  /// Makes a column of days an expression of a type for dates.
  bool Dated(const Variable& about, std::string& column, std::string& reason) {
    if (about.format == DisplayFormat::number) return true;
    for (const DateType& type : kDateTypes) {
      if (type.format != about.format) continue;
      std::string holds;
      if (!database_.Ask("SELECT CAST(coalesce(bool_and(" + WithColumn(type.holds, column) +
                             "), true) AS VARCHAR) FROM " + kQrvCases,
                         holds, reason))
        return false;
      if (holds != "true") continue;
      column = WithColumn(type.cast, column);
      return true;
    }
    numbersOfDays_.push_back(about.name);
    return true;
  }

  std::filesystem::path file_;
  std::span<const SavedVariable> variables_;
  DuckDbOutput database_;
  std::vector<std::string> changes_, numbersOfDays_;
};

}  // namespace

std::unique_ptr<FormatWriter> MakeParquetWriter() { return std::make_unique<ParquetWriter>(); }

}  // namespace qrvml
