// The embedded database as a writer of files. It reaches nothing outside one folder.
#pragma once

#include <duckdb.h>

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "datafile/duckdb_session.h"
#include "datafile/format_writer.h"

namespace qrvml {

/// One database with one table of cases that is filled row after row. Every false result: `reason`
/// is the database's own text.
class DuckDbOutput {
 public:
  DuckDbOutput() = default;
  DuckDbOutput(const DuckDbOutput&) = delete;
  DuckDbOutput& operator=(const DuckDbOutput&) = delete;
  ~DuckDbOutput() { Close(); }

  /// Opens the database `file`, or one in memory when it is empty. Whatever the database writes
  /// stays in `folder`.
  bool Open(const std::filesystem::path& file, const std::filesystem::path& folder,
            std::string& reason);
  bool Run(const std::string& statement, std::string& reason);
  /// The statement's only cell, a text.
  bool Ask(const std::string& statement, std::string& answer, std::string& reason);

  /// Makes the table `table` with a column v1, v2, ... per variable: numbers, and texts where
  /// `texts` is set and the variable is written as text.
  bool BeginRows(const char* table, std::span<const SavedVariable> variables, bool texts,
                 std::string& reason);
  /// A NaN becomes NULL.
  bool AppendRow(std::span<const double> row, std::string& reason);
  bool EndRows(std::string& reason);

  /// Closes the database; its file is complete if a CHECKPOINT went before.
  void Close();

 private:
  struct Column {
    const Variable* texts = nullptr;  // null: numbers
    void* cells = nullptr;            // of the current block
  };
  void BeginBlock();
  bool EndBlock(std::string& reason);
  bool AppenderFailed(std::string& reason);

  duckdb_database database_ = nullptr;
  duckdb_connection connection_ = nullptr;
  duckdb_appender appender_ = nullptr;
  duckdb_data_chunk block_ = nullptr;
  std::vector<Column> columns_;
  idx_t rows_ = 0, blockRows_ = 0;
};

}  // namespace qrvml
