#include "datafile/database_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "datafile/on_threads.h"
#include "datafile/qrv_format.h"
#include "datafile/read_failure.h"
#include "datafile/read_watch.h"
#include "datafile/relation_reader.h"

namespace qrvml {

namespace {

constexpr const char* kDamaged = "Save the data again from its source";

std::string InFile(const std::string& schema, const std::string& name) {
  return "file." + SqlIdentifier(schema) + "." + SqlIdentifier(name);
}

double NumberFrom(const std::string& text) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, value);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value)) {
    FailToRead("its description of variables holds \"" + text + "\" where a number is due",
               kDamaged);
  }
  return value;
}

/// The number of a variable in one of the tables that describe them.
std::size_t VariableFrom(const std::string& text, std::size_t variables, const char* where) {
  const double number = NumberFrom(text);
  if (!(number >= 1 && number <= static_cast<double>(variables)) || number != std::floor(number)) {
    FailToRead("its " + std::string(where) + " name the variable " + text + " of " +
                   std::to_string(variables),
               kDamaged);
  }
  return static_cast<std::size_t>(number) - 1;
}

/// The database's own number of a row is its position, unless rows were deleted or a column of the
/// table hides it.
std::string RowPosition(DuckDbSession& session, const std::string& schema,
                        const std::string& name) {
  const auto isTrue = [&](const std::string& condition, const std::string& from) {
    const auto answer =
        ReadTexts(session, "SELECT CAST(" + condition + " AS VARCHAR) FROM " + from);
    return answer.at(0).at(0) == "true";
  };
  const bool isHidden = isTrue(
      "count(*) > 0",
      "duckdb_columns() WHERE database_name = 'file' AND schema_name = " + SqlLiteral(schema) +
          " AND table_name = " + SqlLiteral(name) + " AND lower(column_name) = 'rowid'");
  if (isHidden) return {};
  return isTrue("coalesce(max(rowid), -1) + 1 = count(*)", InFile(schema, name)) ? "rowid" : "";
}

void SetLabels(DuckDbSession& session, TableBuilder& builder, ReadWatch* watch) {
  CancelPace pace(watch);
  for (const auto& row : ReadTexts(session,
                                   "SELECT CAST(variable AS VARCHAR), CAST(code AS VARCHAR), text "
                                   "FROM file.labels ORDER BY variable, code",
                                   watch)) {
    pace.Check();
    const std::size_t column = VariableFrom(row[0], builder.NumberOfColumns(), "labels");
    builder.About(column).labels.push_back({NumberFrom(row[1]), row[2]});
  }
}

// Every cell of a variable made from texts has to be the code of one of them.
void CheckTextCodes(const DataTable& table, ReadWatch* watch) {
  for (int variable = 1; variable <= table.NumberOfVariables(); ++variable) {
    const Variable& about = table.At(variable);
    if (!about.wasText) continue;
    bool right = true;
    for (std::size_t i = 0; i < about.labels.size(); ++i) {
      right = right && about.labels[i].code == static_cast<double>(i + 1);
    }
    const auto texts = static_cast<double>(about.labels.size());
    for (std::size_t chunk = 0; chunk < table.NumberOfChunks(); ++chunk) {
      CheckCancelled(watch);
      for (const double cell : table.Column(chunk, variable)) {
        right = right && (cell == about.missingCode ||
                          (cell >= 1 && cell <= texts && cell == std::floor(cell)));
      }
    }
    if (!right) FailToRead("the texts of " + about.name + " do not fit its cells", kDamaged);
  }
}

void ReadOwnFile(DuckDbSession& session, const ReadOptions& options, DataTable& table) {
  const auto version = ReadTexts(session, "SELECT CAST(version AS VARCHAR) FROM file.qrv");
  if (version.size() != 1 || NumberFrom(version[0][0]) > kQrvVersion) {
    FailToRead("this data file was saved by a newer version", "Save it as Parquet or CSV there");
  }
  const auto rows =
      ReadTexts(session,
                "SELECT CAST(number AS VARCHAR), name, long_name, CAST(missing_code AS VARCHAR), "
                "format, CAST(was_text AS VARCHAR) FROM file.variables ORDER BY number");
  std::vector<std::string> names;
  std::string columns;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (VariableFrom(rows[i][0], rows.size(), "variables") != i) {
      FailToRead("its variables are not numbered from 1", kDamaged);
    }
    names.push_back(rows[i][1]);
    columns += (i == 0 ? "CAST(" : ", CAST(") + QrvColumn(static_cast<int>(i) + 1) + " AS DOUBLE)";
  }
  if (names.empty()) FailToRead("the file has no variables");

  TableBuilder builder(options.memory, options.threads, options.watch);
  ReadRelation(session,
               {InFile("main", kQrvCases), columns, RowPosition(session, "main", kQrvCases)}, names,
               builder);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Variable& about = builder.About(i);
    about.longName = rows[i][2];
    about.wasText = rows[i][5] == "true";
    builder.FixMissingCode(i, NumberFrom(rows[i][3]));
    for (const QrvFormat& format : kQrvFormats) {
      if (format.text == rows[i][4]) about.format = format.format;
    }
  }
  SetLabels(session, builder, options.watch);
  builder.Finish(table);
  CheckTextCodes(table, options.watch);
}

void ReadOnlyTable(DuckDbSession& session, const ReadOptions& options, DataTable& table) {
  const auto tables = ReadTexts(session,
                                "SELECT schema_name, table_name FROM duckdb_tables() "
                                "WHERE database_name = 'file' ORDER BY ALL");
  if (tables.size() != 1) {
    std::string names;
    for (std::size_t i = 0; i < std::min<std::size_t>(tables.size(), 5); ++i) {
      names += (i == 0 ? " (" : ", ") + tables[i][1];
    }
    if (!names.empty()) names += tables.size() > 5 ? ", …)" : ")";
    FailToRead("the database holds " + std::to_string(tables.size()) + " tables" + names,
               "Copy the one to be analysed into a database of its own, or to Parquet");
  }
  TableBuilder builder(options.memory, options.threads, options.watch);
  const std::string &schema = tables[0][0], &name = tables[0][1];
  ReadRelation(session, {InFile(schema, name), "*", RowPosition(session, schema, name)}, {},
               builder);
  builder.Finish(table);
}

}  // namespace

bool ReadDatabaseFile(const std::string& path, const ReadOptions& options, DataTable& table,
                      FileError& error) {
  return ReadOrExplain(path, error, [&] {
    DuckDbSession session(DuckDbSession::Files::untilLocked);
    session.UseThreads(NumberOfThreads(options.threads));
    std::string reason;
    DuckDbResult attached;
    // The type is named, since the start of a path could name another one ("sqlite:").
    if (!session.Query("ATTACH " + SqlLiteral(path) + " AS file (READ_ONLY, TYPE duckdb)", attached,
                       reason) ||
        !session.Lock(reason)) {
      FailToRead("the database file cannot be opened: " + reason.substr(0, reason.find('\n')),
                 "Close it in other programs, or save it again from its source");
    }
    const auto own = ReadTexts(session,
                               "SELECT table_name FROM duckdb_tables() WHERE database_name = "
                               "'file' AND schema_name = 'main' AND table_name = 'qrv'");
    own.empty() ? ReadOnlyTable(session, options, table) : ReadOwnFile(session, options, table);
  });
}

}  // namespace qrvml
