#include "datafile/duckdb_output.h"

#include <algorithm>
#include <cmath>

#include "datafile/qrv_format.h"

namespace qrvml {

namespace {

/// Only the first line is for people; a stack may follow.
bool Refuse(const char* text, std::string& reason) {
  reason = text != nullptr ? text : "the database fails";
  reason.resize(std::min(reason.find('\n'), reason.size()));
  return false;
}

}  // namespace

bool DuckDbOutput::Open(const std::filesystem::path& file, const std::filesystem::path& folder,
                        std::string& reason) {
  const std::string own = SqlLiteral(folder.string());
  char* text = nullptr;
  if (duckdb_open_ext(file.empty() ? nullptr : file.c_str(), &database_, nullptr, &text) !=
      DuckDBSuccess) {
    Refuse(text, reason);
    duckdb_free(text);
    return false;
  }
  if (duckdb_connect(database_, &connection_) != DuckDBSuccess) {
    return Refuse("the database cannot be used", reason);
  }
  // In this order: the last one locks the others.
  const std::string settings[] = {
      "SET autoinstall_known_extensions = false",
      "SET autoload_known_extensions = false",
      "SET allow_community_extensions = false",
      "SET temp_directory = " + SqlLiteral((folder / "spill").string()),
      "SET allowed_directories = [" + own + "]",
      "SET enable_external_access = false",
      "SET lock_configuration = true",
  };
  for (const std::string& setting : settings) {
    if (!Run(setting, reason)) return false;
  }
  return true;
}

bool DuckDbOutput::Run(const std::string& statement, std::string& reason) {
  DuckDbResult result;
  if (duckdb_query(connection_, statement.c_str(), result.Handle()) == DuckDBSuccess) return true;
  return Refuse(duckdb_result_error(result.Handle()), reason);
}

bool DuckDbOutput::Ask(const std::string& statement, std::string& answer, std::string& reason) {
  DuckDbResult result;
  if (duckdb_query(connection_, statement.c_str(), result.Handle()) != DuckDBSuccess) {
    return Refuse(duckdb_result_error(result.Handle()), reason);
  }
  answer = result.FirstText();
  return true;
}

bool DuckDbOutput::BeginRows(const char* table, std::span<const SavedVariable> variables,
                             bool texts, std::string& reason) {
  std::string statement = std::string("CREATE TABLE ") + table + " (";
  columns_.resize(variables.size());
  std::vector<duckdb_logical_type> types;
  for (std::size_t v = 0; v < variables.size(); ++v) {
    const bool isText = texts && variables[v].asText;
    columns_[v].texts = isText ? &variables[v].about : nullptr;
    statement += (v > 0 ? ", " : "") + QrvColumn(static_cast<int>(v) + 1) +
                 (isText ? " VARCHAR" : " DOUBLE");
    types.push_back(duckdb_create_logical_type(isText ? DUCKDB_TYPE_VARCHAR : DUCKDB_TYPE_DOUBLE));
  }
  block_ = duckdb_create_data_chunk(types.data(), types.size());
  for (duckdb_logical_type& type : types) duckdb_destroy_logical_type(&type);
  blockRows_ = duckdb_vector_size();
  // One transaction: the rows go to their place in the file at once, not first into a log.
  if (!Run(statement + ")", reason) || !Run("BEGIN TRANSACTION", reason)) return false;
  if (duckdb_appender_create(connection_, nullptr, table, &appender_) != DuckDBSuccess)
    return AppenderFailed(reason);
  BeginBlock();
  return true;
}

void DuckDbOutput::BeginBlock() {
  duckdb_data_chunk_reset(block_);
  rows_ = 0;
  for (std::size_t c = 0; c < columns_.size(); ++c)
    columns_[c].cells = duckdb_vector_get_data(duckdb_data_chunk_get_vector(block_, c));
}

bool DuckDbOutput::AppendRow(std::span<const double> row, std::string& reason) {
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    if (std::isnan(row[c])) {
      duckdb_vector vector = duckdb_data_chunk_get_vector(block_, c);
      duckdb_vector_ensure_validity_writable(vector);
      duckdb_validity_set_row_invalid(duckdb_vector_get_validity(vector), rows_);
    } else if (columns_[c].texts == nullptr) {
      static_cast<double*>(columns_[c].cells)[rows_] = row[c];
    } else {
      const std::string text = SavedText(*columns_[c].texts, row[c]);
      duckdb_vector_assign_string_element_len(duckdb_data_chunk_get_vector(block_, c), rows_,
                                              text.data(), text.size());
    }
  }
  return ++rows_ < blockRows_ || EndBlock(reason);
}

bool DuckDbOutput::EndBlock(std::string& reason) {
  duckdb_data_chunk_set_size(block_, rows_);
  if (rows_ > 0 && duckdb_append_data_chunk(appender_, block_) != DuckDBSuccess)
    return AppenderFailed(reason);
  BeginBlock();
  return true;
}

bool DuckDbOutput::EndRows(std::string& reason) {
  if (!EndBlock(reason)) return false;
  if (duckdb_appender_close(appender_) != DuckDBSuccess) return AppenderFailed(reason);
  return Run("COMMIT", reason);
}

bool DuckDbOutput::AppenderFailed(std::string& reason) {
  duckdb_error_data error = duckdb_appender_error_data(appender_);
  Refuse(duckdb_error_data_message(error), reason);
  duckdb_destroy_error_data(&error);
  return false;
}

void DuckDbOutput::Close() {
  if (block_ != nullptr) duckdb_destroy_data_chunk(&block_);
  if (appender_ != nullptr) duckdb_appender_destroy(&appender_);
  if (connection_ != nullptr) duckdb_disconnect(&connection_);
  if (database_ != nullptr) duckdb_close(&database_);
}

}  // namespace qrvml
