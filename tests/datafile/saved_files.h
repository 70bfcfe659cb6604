// Saved data files, read back with what did not write them or with the formats' own libraries.
#pragma once

#include <duckdb.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace qrvml {

/// A folder, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qrvmlXXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  std::string File(const std::string& name) const { return (path_ / name).string(); }
  /// The names of what is in it, sorted, joined by blanks.
  std::string Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
  }

 private:
  std::filesystem::path path_;
};

inline std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void Write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// A query's rows as texts, "NULL" for none, cells joined by |; run beside the file `attached` as
/// the database f, if there is one.
inline std::vector<std::string> Query(const std::string& statement,
                                      const std::string& attached = {}) {
  duckdb_database database = nullptr;
  duckdb_connection connection = nullptr;
  EXPECT_EQ(duckdb_open(nullptr, &database), DuckDBSuccess);
  EXPECT_EQ(duckdb_connect(database, &connection), DuckDBSuccess);
  if (!attached.empty()) {
    const std::string attach = "ATTACH '" + attached + "' AS f (READ_ONLY)";
    EXPECT_EQ(duckdb_query(connection, attach.c_str(), nullptr), DuckDBSuccess) << attach;
  }
  duckdb_result result;
  EXPECT_EQ(duckdb_query(connection, statement.c_str(), &result), DuckDBSuccess)
      << statement << ": " << duckdb_result_error(&result);
  std::vector<std::string> rows;
  for (idx_t row = 0; row < duckdb_row_count(&result); ++row) {
    std::string& text = rows.emplace_back();
    for (idx_t column = 0; column < duckdb_column_count(&result); ++column) {
      char* cell = duckdb_value_varchar(&result, column, row);
      text += (column > 0 ? "|" : "") + std::string(cell != nullptr ? cell : "NULL");
      duckdb_free(cell);
    }
  }
  duckdb_destroy_result(&result);
  duckdb_disconnect(&connection);
  duckdb_close(&database);
  return rows;
}

}  // namespace qrvml
