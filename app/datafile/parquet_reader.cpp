#include "datafile/parquet_reader.h"

#include <thread>

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

}  // namespace

bool ReadParquetFile(const std::string& path, const ReadOptions& options, DataTable& table,
                     FileError& error) {
  return ReadOrExplain(path, error, [&] {
    DuckDbSession session(DuckDbSession::Files::untilLocked);
    const unsigned threads = options.threads > 0 ? static_cast<unsigned>(options.threads)
                                                 : std::thread::hardware_concurrency();
    DuckDbResult done;
    std::string reason;
    session.Query("SET threads = " + std::to_string(std::max(1u, threads)), done, reason);
    const std::string file = SqlLiteral(LiteralPath(path));
    const std::vector<std::string> names = ColumnNames(session, file);
    TableBuilder builder(options.memory);
    ReadRelation(session,
                 "read_parquet(" + file + ", binary_as_string = true, hive_partitioning = false)",
                 names, builder);
    builder.Finish(table);
  });
}

}  // namespace qrvml
