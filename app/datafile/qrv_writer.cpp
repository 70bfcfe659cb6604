#include "datafile/qrv_format.h"

#include <algorithm>

#include "datafile/duckdb_output.h"
#include "datafile/format_writer.h"

namespace qrvml {
namespace {

class QrvWriter final : public FormatWriter {
 public:
  bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
             std::string& reason) override {
    file_ = file;
    if (!database_.Open(file, file.parent_path(), reason)) return false;
    for (const char* table : kQrvTables) {
      if (!database_.Run(table, reason)) return false;
    }
    return database_.Run("INSERT INTO qrv VALUES (" + std::to_string(kQrvVersion) + ")", reason) &&
           Describe(variables, reason) && database_.BeginRows(kQrvCases, variables, false, reason);
  }

  bool Append(std::span<const double> row, std::string& reason) override {
    return database_.AppendRow(row, reason);
  }

  bool Finish(std::string& reason) override {
    if (!database_.EndRows(reason) || !database_.Run("CHECKPOINT", reason)) return false;
    database_.Close();
    const std::filesystem::path log = file_.string() + ".wal";
    if (!std::filesystem::exists(log)) return true;
    reason = "the database did not take all cases into its file";
    return false;
  }

 private:
  bool Describe(std::span<const SavedVariable> variables, std::string& reason) {
    Inserts about("variables"), labels("labels");
    int number = 0;
    for (const auto& [variable, asText] : variables) {
      ++number;
      const auto format = std::ranges::find(kQrvFormats, variable.format, &QrvFormat::format);
      about.Add(std::to_string(number) + ", " + SqlLiteral(variable.name) + ", " +
                SqlLiteral(variable.longName) + ", " + SqlNumber(variable.missingCode) + ", " +
                SqlLiteral(format->text) + (variable.wasText ? ", true" : ", false"));
      for (const ValueLabel& label : variable.labels)
        labels.Add(std::to_string(number) + ", " + SqlNumber(label.code) + ", " +
                   SqlLiteral(label.text));
    }
    return about.Run(database_, reason) && labels.Run(database_, reason);
  }

  /// All digits of a number, which must not pass through a decimal type.
  static std::string SqlNumber(double value) {
    return SqlLiteral(ShortestNumber(value)) + "::DOUBLE";
  }

  /// Rows of a table, a few thousand per statement.
  class Inserts {
   public:
    explicit Inserts(const char* table)
        : begin_(std::string("INSERT INTO ") + table + " VALUES ") {}
    void Add(const std::string& row) {
      if (rows_++ % 2000 == 0) statements_.push_back(begin_);
      std::string& statement = statements_.back();
      statement += (statement.size() > begin_.size() ? ", (" : "(") + row + ')';
    }
    bool Run(DuckDbOutput& database, std::string& reason) const {
      return std::ranges::all_of(
          statements_, [&](const std::string& text) { return database.Run(text, reason); });
    }

   private:
    std::string begin_;
    std::vector<std::string> statements_;
    std::size_t rows_ = 0;
  };

  std::filesystem::path file_;
  DuckDbOutput database_;
};

}  // namespace

std::unique_ptr<FormatWriter> MakeQrvWriter() { return std::make_unique<QrvWriter>(); }

}  // namespace qrvml
