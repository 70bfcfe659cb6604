#include "datafile/duckdb_session.h"

#include <stdexcept>

namespace qrvml {

namespace {

constexpr const char* kSettings[] = {
    "SET autoinstall_known_extensions = false",
    "SET autoload_known_extensions = false",
    "SET allow_community_extensions = false",
    "SET temp_directory = ''",
    "SET threads = 1",
};
// In this order: the last one locks all others.
constexpr const char* kLocks[] = {
    "SET enable_external_access = false",
    "SET lock_configuration = true",
};

std::string Quoted(std::string_view text, char quote) {
  std::string quoted(1, quote);
  for (char c : text) quoted.append(c == quote ? 2 : 1, c);
  return quoted + quote;
}

}  // namespace

std::string DuckDbResult::FirstText() {
  std::string text;
  duckdb_data_chunk chunk = duckdb_fetch_chunk(result_);
  if (chunk && duckdb_data_chunk_get_size(chunk) > 0) {
    auto* strings = static_cast<duckdb_string_t*>(
        duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk, 0)));
    text.assign(duckdb_string_t_data(&strings[0]), duckdb_string_t_length(strings[0]));
  }
  if (chunk) duckdb_destroy_data_chunk(&chunk);
  return text;
}

DuckDbSession::DuckDbSession(Files files) {
  std::string reason = "it cannot be opened";
  bool started = duckdb_open(nullptr, &database_) == DuckDBSuccess &&
                 duckdb_connect(database_, &connection_) == DuckDBSuccess;
  for (const char* setting : kSettings) {
    DuckDbResult result;
    started = started && Query(setting, result, reason);
  }
  if (files == Files::none) started = started && Lock(reason);
  if (started) return;
  if (connection_) duckdb_disconnect(&connection_);
  if (database_) duckdb_close(&database_);
  throw std::runtime_error("the embedded database cannot be started: " + reason);
}

DuckDbSession::~DuckDbSession() {
  duckdb_disconnect(&connection_);
  duckdb_close(&database_);
}

void DuckDbSession::UseThreads(int threads) {
  DuckDbResult done;
  std::string reason;
  if (!Query("SET threads = " + std::to_string(threads), done, reason)) {
    throw std::runtime_error("the embedded database cannot be set up: " + reason);
  }
}

bool DuckDbSession::Lock(std::string& error) {
  for (const char* setting : kLocks) {
    DuckDbResult result;
    if (!Query(setting, result, error)) return false;
  }
  return true;
}

bool DuckDbSession::Query(const std::string& statement, DuckDbResult& result, std::string& error) {
  if (duckdb_query(connection_, statement.c_str(), result.Handle()) == DuckDBSuccess) return true;
  const char* text = duckdb_result_error(result.Handle());
  error = text ? text : "";
  return false;
}

std::uint64_t DuckDbSession::CountStatements(const std::string& text, std::string& error) {
  duckdb_extracted_statements statements = nullptr;
  const std::uint64_t count = duckdb_extract_statements(connection_, text.c_str(), &statements);
  if (count == 0) {
    const char* reason = duckdb_extract_statements_error(statements);
    error = reason ? reason : "";
  }
  duckdb_destroy_extracted(&statements);
  return count;
}

std::string SqlLiteral(std::string_view text) { return Quoted(text, '\''); }

std::string SqlIdentifier(std::string_view name) { return Quoted(name, '"'); }

}  // namespace qrvml
