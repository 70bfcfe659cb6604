#include "datafile/parquet_reader.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "datafile/on_threads.h"
#include "datafile/read_failure.h"
#include "datafile/relation_reader.h"

namespace qrvml {

namespace {

// The database takes paths for patterns; a character in brackets stands for itself.
std::string LiteralPath(const std::string& path) {
  std::string literal;
  for (const char c : path) {
    const bool special = c == '*' || c == '?' || c == '[';
    literal += special ? std::string("[") + c + "]" : std::string(1, c);
  }
  return literal;
}

// The names of the columns at the top, which the database changes where two of them differ in case
// only. The schema lists a tree in preorder, its root first.
std::vector<std::string> ColumnNames(DuckDbSession& session, const std::string& file) {
  const auto schema = ReadTexts(
      session,
      "SELECT name, CAST(coalesce(num_children, 0) AS VARCHAR) FROM parquet_schema(" + file + ")");
  std::vector<std::string> names;
  std::size_t inside = 0;  // nodes of the current column still to come
  for (std::size_t i = 1; i < schema.size(); ++i) {
    if (inside == 0) {
      names.push_back(schema[i][0]);
    } else {
      --inside;
    }
    inside += std::stoull(schema[i][1]);
  }
  return names;
}

constexpr const char* kRowNumber = "file_row_number";

bool HasColumn(const std::vector<std::string>& names, std::string_view lowerCase) {
  return std::ranges::any_of(names, [&](const std::string& name) {
    return std::ranges::equal(name, lowerCase, {}, [](unsigned char c) { return std::tolower(c); });
  });
}

}  // namespace

bool ReadParquetFile(const std::string& path, const ReadOptions& options, DataTable& table,
                     FileError& error) {
  return ReadOrExplain(path, error, [&] {
    DuckDbSession session(DuckDbSession::Files::untilLocked);
    session.UseThreads(NumberOfThreads(options.threads));
    const std::string file = SqlLiteral(LiteralPath(path));
    const std::vector<std::string> names = ColumnNames(session, file);
    Relation relation;
    relation.from =
        "read_parquet(" + file + ", binary_as_string = true, hive_partitioning = false)";
    // A column of the file hides what the library calls by this name.
    if (!HasColumn(names, kRowNumber)) relation.position = kRowNumber;
    TableBuilder builder(options.memory, options.threads, options.watch);
    ReadRelation(session, relation, names, builder);
    builder.Finish(table);
  });
}

}  // namespace qrvml
