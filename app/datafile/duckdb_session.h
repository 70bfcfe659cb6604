// A private in-memory instance of the embedded database that can reach nothing outside itself: no
// files, no network, no extensions, and its configuration cannot be changed any more. One that
// reads or writes a data file reaches files until it is locked, but never the network or
// extensions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <duckdb.h>

namespace qrvml {

/// The result of a query; moved, not copied.
class DuckDbResult {
 public:
  DuckDbResult() = default;
  DuckDbResult(DuckDbResult&& other) noexcept : result_(other.result_) { other.result_ = {}; }
  DuckDbResult& operator=(DuckDbResult&&) = delete;
  ~DuckDbResult() { duckdb_destroy_result(&result_); }

  duckdb_result* Handle() { return &result_; }
  /// The first row's first column as text, "" when there is no row.
  std::string FirstText();

 private:
  duckdb_result result_ = {};
};

class DuckDbSession {
 public:
  enum class Files { none, untilLocked };
  /// Throws std::runtime_error when the database cannot be started.
  explicit DuckDbSession(Files files = Files::none);
  DuckDbSession(const DuckDbSession&) = delete;
  DuckDbSession& operator=(const DuckDbSession&) = delete;
  ~DuckDbSession();

  duckdb_connection Connection() { return connection_; }
  /// One thread at first; not once it is locked.
  void UseThreads(int threads);
  /// From now on no further file can be reached; an attached one stays. False: see Query.
  bool Lock(std::string& error);
  /// Runs one statement. False: `error` is the database's own text.
  bool Query(const std::string& statement, DuckDbResult& result, std::string& error);
  /// How many statements a text holds; 0: it cannot be parsed, `error` is the database's own text.
  std::uint64_t CountStatements(const std::string& text, std::string& error);

 private:
  duckdb_database database_ = nullptr;
  duckdb_connection connection_ = nullptr;
};

/// A text as a literal: 'it''s'.
std::string SqlLiteral(std::string_view text);
/// A name as an identifier: "a ""b""".
std::string SqlIdentifier(std::string_view name);

}  // namespace qrvml
