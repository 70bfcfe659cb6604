// Parquet and database files, written by the embedded database itself.
#include <duckdb.h>

#include "datafile/duckdb_session.h"
#include "datafile/format_files.h"
#include "datafile/qrv_format.h"

namespace qrvml {
namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;

// Runs statements in a database that is kept in `path`; empty: in memory.
void RunStatements(const std::string& path, const Texts& statements) {
  duckdb_database database = nullptr;
  duckdb_connection connection = nullptr;
  ASSERT_EQ(duckdb_open(path.empty() ? nullptr : path.c_str(), &database), DuckDBSuccess);
  ASSERT_EQ(duckdb_connect(database, &connection), DuckDBSuccess);
  for (const std::string& statement : statements) {
    duckdb_result result;
    EXPECT_EQ(duckdb_query(connection, statement.c_str(), &result), DuckDBSuccess)
        << statement << ": " << duckdb_result_error(&result);
    duckdb_destroy_result(&result);
  }
  duckdb_disconnect(&connection);
  duckdb_close(&database);
}

void WriteParquet(const std::string& path, const std::string& query) {
  RunStatements("", {"COPY (" + query + ") TO " + SqlLiteral(path) + " (FORMAT parquet)"});
}

TEST(ParquetReader, NumbersBooleansAndTextsBecomeCellsCodesAndMissingCodes) {
  const TemporaryPath file("it's [a*] file?.parquet");
  WriteParquet(file.Text(),
               "SELECT * FROM (VALUES (1::INTEGER, true, 'zebra', 1.25::DECIMAL(9,2), 0.1::FLOAT, "
               "'NaN'::DOUBLE, 9007199254740993), (NULL, false, ' Zebra ', NULL, NULL, "
               "-9999::DOUBLE, NULL), (-3, NULL, 'École', -7.5, 2, 'inf'::DOUBLE, 5), "
               "(4, true, '  ', 3, 1, NULL, -5)) t(\"Âge\", flag, animal, price, f, d, big)");
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  const DataTable& table = read.table;
  EXPECT_EQ(Names(table), (Texts{"Âge", "flag", "animal", "price", "f", "d", "big"}));
  EXPECT_EQ(Cells(table, 1), (Numbers{1, -9999, -3, 4}));
  EXPECT_EQ(Cells(table, 2), (Numbers{1, 0, -9999, 1}));
  EXPECT_EQ(Labels(table, 3), (Texts{"Zebra", "zebra", "École"}));
  EXPECT_EQ(Cells(table, 3), (Numbers{2, 1, 3, -9999}));
  EXPECT_TRUE(table.At(3).wasText);
  EXPECT_EQ(table.At(3).distinctTexts, 3u);
  EXPECT_EQ(Cells(table, 4), (Numbers{1.25, -9999, -7.5, 3}));
  EXPECT_EQ(Cells(table, 5), (Numbers{static_cast<double>(0.1f), -9999, 2, 1}));
  EXPECT_EQ(table.At(6).missingCode, -99999) << "the column holds -9999 as a value";
  EXPECT_EQ(Cells(table, 6), (Numbers{-99999, -9999, -99999, -99999}));
  EXPECT_EQ(Cells(table, 7), (Numbers{9007199254740992, -9999, 5, -5}));
  EXPECT_EQ(table.Notes(), (Texts{"big: 1 whole number has too many digits and is rounded",
                                  "d: 1 infinite value is missing"}));
}

TEST(ParquetReader, DatesAndTimesBecomeDaysWithFractions) {
  const TemporaryPath file("dates.parquet");
  WriteParquet(
      file.Text(),
      "SELECT DATE '1899-12-30' + i * 43831 AS d, TIMESTAMP '1969-12-31 18:00:00' + INTERVAL (i) "
      "HOUR AS t, TIMESTAMP_S '2000-01-01 12:00:00' AS s, TIMESTAMPTZ '2000-01-01 06:00:00+06' AS "
      "z, TIME '06:00:00' AS h FROM (VALUES (0), (1), (NULL)) v(i)");
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  const DataTable& table = read.table;
  EXPECT_EQ(Cells(table, 1), (Numbers{0, 43831, -9999}));
  EXPECT_EQ(table.At(1).format, DisplayFormat::date);
  EXPECT_EQ(ValueAsText(table, 1, 43831), "2020-01-01");
  EXPECT_EQ(Cells(table, 2), (Numbers{25568.75, 25568 + 19 / 24.0, -9999}));
  EXPECT_EQ(table.At(2).format, DisplayFormat::dateTime);
  EXPECT_EQ(table.Value(1, 3), 36526.5);
  EXPECT_EQ(table.Value(1, 4), 36526);
  EXPECT_EQ(table.Value(1, 5), 0.25);
  EXPECT_EQ(table.At(5).format, DisplayFormat::time);
}

TEST(ParquetReader, RowsKeepTheirOrderOverManyRowGroupsAndThreads) {
  const TemporaryPath file("long.parquet");
  RunStatements("", {"COPY (SELECT i AS n, i % 7 || 'th' AS t FROM range(200000) r(i)) TO " +
                     SqlLiteral(file.Text()) + " (FORMAT parquet, ROW_GROUP_SIZE 10000)"});
  for (int threads : {1, 3}) {
    ReadOptions options;
    options.threads = threads;
    const Reading read = ReadPath(file.Text(), options);
    ASSERT_TRUE(read.ok) << read.error.Text();
    ASSERT_EQ(read.table.NumberOfCases(), 200000);
    bool right = true;
    for (int i = 0; i < 200000; ++i) {
      right = right && read.table.Value(i + 1, 1) == i && read.table.Value(i + 1, 2) == i % 7 + 1;
    }
    EXPECT_TRUE(right) << threads;
  }
}

TEST(ParquetReader, NamesThatDifferInCaseStayAndNestedColumnsAreLeftOutWithANote) {
  const TemporaryPath file("names.parquet");
  WriteParquet(file.Text(),
               "SELECT 1 AS a, {'x': 1, 'y': [2]} AS s, 2 AS b, [1, 2] AS l, "
               "MAP {'k': 1} AS m, 3 AS \" c \"");
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Names(read.table), (Texts{"a", "b", "c"}));
  EXPECT_EQ(read.table.Value(1, 3), 3);
  ASSERT_EQ(read.table.Notes().size(), 3u);
  EXPECT_EQ(read.table.Notes()[1], "l is left out: its cells are no single values");

  // The writer refuses such names: one of the same length is put in afterwards.
  WriteParquet(file.Text(), "SELECT 1 AS name_1, 2 AS name_2");
  std::string content = FileContent(file.Text());
  const auto rename = [&](const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = content.find(from, at)) != std::string::npos; at += to.size()) {
      content.replace(at, from.size(), to);
    }
  };
  rename("name_2", "NAME_1");
  WriteContent(file.Text(), content);
  const Reading twoCases = ReadPath(file.Text());
  ASSERT_TRUE(twoCases.ok) << twoCases.error.Text();
  EXPECT_EQ(Names(twoCases.table), (Texts{"name_1", "NAME_1"}));
  EXPECT_EQ(twoCases.table.Value(1, 2), 2);
  rename("NAME_1", "name_1");
  WriteContent(file.Text(), content);
  const Reading twice = ReadPath(file.Text());
  EXPECT_FALSE(twice.ok);
  EXPECT_EQ(twice.error.what, "columns 1 and 2 have the same name \"name_1\"");
  EXPECT_EQ(twice.error.column, 2);
}

TEST(ParquetReader, DamagedFilesAreRefusedWithAReason) {
  const TemporaryPath file("whole.parquet");
  WriteParquet(file.Text(), "SELECT i AS n, random() AS x FROM range(20000) r(i)");
  ExpectEveryStartIsRefused(file.Text(), 10);

  std::string content = FileContent(file.Text());
  std::fill(content.begin() + 50, content.begin() + static_cast<long>(content.size() / 2), '\xFF');
  WriteContent(file.Text(), content);
  EXPECT_FALSE(ReadPath(file.Text()).ok);

  WriteContent(file.Text(), "x,y\n1,2\n");
  const Reading text = ReadPath(file.Text());
  EXPECT_FALSE(text.ok);
  EXPECT_NE(text.error.what.find("the file cannot be read"), std::string::npos) << text.error.what;
}

TEST(DatabaseReader, ADatabaseWithASingleTableIsATable) {
  const TemporaryPath file("it's.db");
  RunStatements(file.Text(),
                {"CREATE TYPE size AS ENUM ('small', 'large')",
                 "CREATE TABLE \"my \"\"table\" (id UBIGINT, s size, u UUID, d DATE)",
                 "INSERT INTO \"my \"\"table\" VALUES (18446744073709551615, 'small', NULL, NULL), "
                 "(2, 'large', '00000000-0000-0000-0000-000000000001', '1900-01-01')",
                 "CREATE VIEW v AS SELECT 1 AS one"});
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Cells(read.table, 1), (Numbers{18446744073709551616.0, 2}));
  EXPECT_EQ(Labels(read.table, 2), (Texts{"large", "small"}));
  EXPECT_EQ(ShownCells(read.table, 2), "small large");
  EXPECT_EQ(ShownCells(read.table, 3), ". 00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(Cells(read.table, 4), (Numbers{-9999, 2}));

  RunStatements(file.Text(), {"CREATE SCHEMA other", "CREATE TABLE other.second (x DOUBLE)"});
  const Reading two = ReadPath(file.Text());
  EXPECT_FALSE(two.ok);
  EXPECT_EQ(two.error.what, "the database holds 2 tables (my \"table, second)");
}

/// The statements that make a small data file of the workbench: the tables without `cases`.
Texts QrvStatements() {
  Texts statements(std::begin(kQrvTables), std::end(kQrvTables));
  statements.insert(
      statements.end(),
      {"INSERT INTO qrv VALUES (1)",
       "INSERT INTO variables VALUES (2, 'AGE', '', -9, 'number', false), (1, 'age', 'Âge (ans)', "
       "99, 'number', false), (3, 'sex', '', -9999, 'number', true), (4, 'born', '', -9999, "
       "'date', "
       "false)",
       "INSERT INTO labels VALUES (3, 2, 'M'), (3, 1, 'F'), (1, 0.5, 'half')",
       "CREATE TABLE cases (v1 DOUBLE, v2 DOUBLE, v3 DOUBLE, v4 DOUBLE)",
       "INSERT INTO cases VALUES (1, -9999, 2, 36526), (NULL, NULL, NULL, NULL), (0.5, 7, 1, 2)"});
  return statements;
}

TEST(DatabaseReader, TheWorkbenchsOwnFileBringsBackEverything) {
  const TemporaryPath file("own.qrv");
  RunStatements(file.Text(), QrvStatements());
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  const DataTable& table = read.table;
  EXPECT_EQ(Names(table), (Texts{"age", "AGE", "sex", "born"}));
  EXPECT_EQ(table.At(1).longName, "Âge (ans)");
  EXPECT_EQ(ShownLabels(table, 1), "0.5=half");
  EXPECT_EQ(Cells(table, 1), (Numbers{1, 99, 0.5}));
  EXPECT_EQ(Cells(table, 2), (Numbers{-9999, -9, 7}));
  EXPECT_EQ(Cells(table, 3), (Numbers{2, -9999, 1}));
  EXPECT_EQ(Labels(table, 3), (Texts{"F", "M"}));
  EXPECT_TRUE(table.At(3).wasText);
  EXPECT_EQ(table.At(3).distinctTexts, 2u);
  EXPECT_EQ(ShownCells(table, 4), "2000-01-01 . 1900-01-01");
  EXPECT_TRUE(table.Notes().empty());
}

TEST(DatabaseReader, AnOwnFileThatContradictsItselfIsRefused) {
  struct Row {
    const char* statement;
    const char* what;  // part of the message
  };
  const Row rows[] = {
      {"UPDATE qrv SET version = 2", "saved by a newer version"},
      {"INSERT INTO labels VALUES (9, 1, 'x')", "labels name the variable 9 of 4"},
      {"INSERT INTO labels VALUES (0, 1, 'x')", "labels name the variable 0 of 4"},
      {"UPDATE variables SET number = 7 WHERE number = 4", "name the variable 7 of 4"},
      {"UPDATE variables SET number = 1 WHERE number = 2", "not numbered from 1"},
      {"UPDATE variables SET name = 'sex' WHERE number = 1", "the same name \"sex\""},
      {"UPDATE variables SET missing_code = 'nan' WHERE number = 1", "\"nan\" where a number"},
      {"DELETE FROM labels WHERE code = 2", "the texts of sex do not fit its cells"},
      {"UPDATE cases SET v3 = 1.5 WHERE v1 = 1", "the texts of sex do not fit its cells"},
      {"ALTER TABLE cases DROP v4", "the file cannot be read"},
      {"DROP TABLE cases", "the file cannot be read"},
      {"DELETE FROM variables", "no variables"},
  };
  for (const Row& row : rows) {
    const TemporaryPath file("own.qrv");
    Texts statements = QrvStatements();
    statements.push_back(row.statement);
    RunStatements(file.Text(), statements);
    const Reading read = ReadPath(file.Text());
    EXPECT_FALSE(read.ok) << row.statement;
    EXPECT_NE(read.error.what.find(row.what), std::string::npos)
        << row.statement << ": " << read.error.Text();
  }
}

TEST(DatabaseReader, DamagedFilesAreRefusedWithAReason) {
  const TemporaryPath file("own.qrv");
  RunStatements(file.Text(), QrvStatements());
  ExpectEveryStartIsRefused(file.Text(), 8, FileContent(file.Text()).size() / 4);

  WriteContent(file.Text(), "x,y\n1,2\n");
  const Reading text = ReadPath(file.Text());
  EXPECT_FALSE(text.ok);
  EXPECT_EQ(text.error.what,
            "this is not a data file of the workbench, though its name ends in .qrv");
}

TEST(ParquetReader, RowsReadByManyThreadsKeepTheirPlacesAndCodes) {
  const TemporaryPath file("many.parquet");
  RunStatements("",
                {"COPY (SELECT i, CASE WHEN i % 1000 = 7 THEN NULL ELSE 'text ' || (i * 7919 % "
                 "501) END AS t, 'a longer text than lies in a value ' || i % 3 AS l, CASE WHEN "
                 "i % 50000 = 0 THEN -9999 WHEN i % 5 = 0 THEN NULL ELSE i / 8 END AS x FROM "
                 "range(300000) r(i)) TO " +
                 SqlLiteral(file.Text()) + " (FORMAT parquet, ROW_GROUP_SIZE 20000)"});
  for (const int threads : {1, 3}) {
    ReadOptions options;
    options.threads = threads;
    const Reading read = ReadPath(file.Text(), options);
    ASSERT_TRUE(read.ok) << read.error.Text();
    ASSERT_EQ(read.table.NumberOfCases(), 300000);
    ASSERT_EQ(read.table.At(2).labels.size(), 501u);
    EXPECT_EQ(read.table.At(4).missingCode, -99999);
    for (int c = 1; c <= 300000; ++c) {
      const int i = c - 1;
      ASSERT_EQ(read.table.Value(c, 1), i);
      std::string text;
      if (i % 1000 != 7) text = "text " + std::to_string(static_cast<std::int64_t>(i) * 7919 % 501);
      ASSERT_EQ(ValueAsText(read.table, 2, read.table.Value(c, 2)), text) << c;
      ASSERT_EQ(read.table.Value(c, 3), i % 3 + 1);
      const double x = i % 50000 == 0 ? -9999 : i % 5 == 0 ? -99999 : i / 8.0;
      ASSERT_EQ(read.table.Value(c, 4), x) << c;
    }
  }
}

TEST(ParquetReader, AColumnCalledLikeTheRowNumberIsAColumn) {
  const TemporaryPath file("names.parquet");
  WriteParquet(file.Text(),
               "SELECT 9 - i AS \"File_Row_Number\", i AS qrvml_position FROM range(5) r(i)");
  const Reading read = ReadPath(file.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Names(read.table), (Texts{"File_Row_Number", "qrvml_position"}));
  EXPECT_EQ(Cells(read.table, 1), (Numbers{9, 8, 7, 6, 5}));
  EXPECT_EQ(Cells(read.table, 2), (Numbers{0, 1, 2, 3, 4}));
}

TEST(DatabaseReader, DeletedRowsAndColumnsCalledRowidLeaveNoGaps) {
  const TemporaryPath gaps("gaps.duckdb"), named("named.duckdb");
  RunStatements(gaps.Text(), {"CREATE TABLE t AS SELECT i FROM range(6000) r(i)",
                              "DELETE FROM t WHERE i % 3 = 1", "CHECKPOINT"});
  const Reading read = ReadPath(gaps.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  ASSERT_EQ(read.table.NumberOfCases(), 4000);
  for (int c = 1; c <= 4000; ++c)
    ASSERT_EQ(read.table.Value(c, 1), (c - 1) / 2 * 3 + (c - 1) % 2 * 2);

  RunStatements(named.Text(), {"CREATE TABLE t AS SELECT 2 - i AS \"RowId\" FROM range(3) r(i)"});
  const Reading hidden = ReadPath(named.Text());
  ASSERT_TRUE(hidden.ok) << hidden.error.Text();
  EXPECT_EQ(Cells(hidden.table, 1), (Numbers{2, 1, 0}));
}

}  // namespace
}  // namespace qrvml
