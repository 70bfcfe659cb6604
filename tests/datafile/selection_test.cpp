#include "datafile/selection.h"

#include "datafile/text_files.h"

namespace qrvml {
namespace {

DataTable Flowers() {
  Reading read = ReadText(
      "Sepal.Length,kind,x,X,two words,t.x\n"
      "5.1,setosa,1,10,1,7\n"
      "4.9,it's,2,20,2,8\n"
      ",virginica,3,30,3,9\n"
      "7,,4,40,4,10\n");
  EXPECT_TRUE(read.ok) << read.error.Text();
  return std::move(read.table);
}

std::string Selected(const DataTable& table, const std::string& condition) {
  std::vector<std::uint8_t> selected;
  FileError error;
  if (!EvaluateCondition(table, condition, selected, error)) return error.Text();
  std::string bits;
  for (std::uint8_t bit : selected) bits += bit ? '1' : '0';
  return bits;
}

TEST(Selection, ConditionsSelectTheCasesForWhichTheyAreTrue) {
  const DataTable table = Flowers();
  const std::pair<const char*, const char*> rows[] = {
      {"\"Sepal.Length\" > 5", "1001"},
      {"Sepal.Length > 5", "1001"},
      {"Sepal.Length > 5 AND NOT (Sepal.Length>6)", "1000"},
      {"round(Sepal.Length) = 5", "1100"},
      {"Sepal.Length <= 5 OR kind = 'virginica'", "0110"},
      {"Sepal.Length IS NULL", "0010"},
      {"kind IS NULL", "0001"},
      {"kind <> 'setosa'", "0110"},
      {"kind = 'it''s' -- a remark", "0100"},
      {"kind LIKE '%i%' /* a remark */", "0110"},
      {"kind IN ('setosa', 'virginica')", "1010"},
      {"length(kind) > 5", "1010"},
      {"\"two words\" BETWEEN 2 AND 3", "0110"},
      {"x = 2", "0100"},
      {"X = 20", "0100"},
      {"\"X\" = 20 OR x = 1", "1100"},
      {"t.x = 9", "0010"},
      {"X > avg(X) OVER ()", "0011"},
      {"row_number() OVER (ORDER BY X DESC) <= 1", "0001"},
      {"CASE WHEN x > 3 THEN true END", "0001"},
      {"x - 1", "0111"},
      {"TRUE", "1111"},
      {"NULL", "0000"},
      {"x > 1\n and X < 40", "0110"},
  };
  for (const auto& [condition, bits] : rows)
    EXPECT_EQ(Selected(table, condition), bits) << condition;
}

TEST(Selection, WhatIsMoreThanAConditionIsRefused) {
  const DataTable table = Flowers();
  const std::pair<const char*, const char*> rows[] = {
      {"1) AS BOOLEAN) FROM t; DROP TABLE t; SELECT CAST((1", "more than one statement"},
      {"TRUE) AS BOOLEAN) FROM t; SELECT CAST((TRUE", "more than one statement"},
      {"1) AS BOOLEAN), CAST((2", "more than one expression"},
      {"1), (2", "syntax error"},
      {"1) AS BOOLEAN) FROM t WHERE CAST((x = 1", "syntax error"},
      {"1) AS BOOLEAN) FROM t UNION SELECT CAST((1", "more than one expression"},
      {"1) AS BOOLEAN) FROM t EXCEPT SELECT CAST((1", "more than one expression"},
      {"1) AS BOOLEAN) IS NULL OR CAST((1", "more than one expression"},
      {"1) AS BOOLEAN) AS y, CAST((x", "more than one expression"},
      {"1) AS BOOLEAN) FROM t --", "ends early, or has a bracket too many"},
      {"1) AS INTEGER) + CAST((1", "more than one expression"},
      {"x > $1", "more than one expression"},
      {"x > ?", "more than one expression"},
      {"(SELECT count(*) FROM t) > 1", "a query of its own"},
      {"x IN (SELECT 1)", "a query of its own"},
      {"x IN (FROM read_csv('/etc/passwd'))", "a query of its own"},
      {"EXISTS (SELECT * FROM read_text('/etc/passwd'))", "a query of its own"},
      {"EXISTS (SELECT * FROM glob('/*'))", "a query of its own"},
      {"EXISTS (SELECT * FROM duckdb_settings())", "a query of its own"},
      {"read_text('/etc/passwd') IS NULL", "reads a table of its own"},
      {"current_setting('threads') = '1'", "the function current_setting depends on more"},
      {"random() > 0.5", "the function random depends on more"},
      {"RANDOM() > 0.5", "the function random depends on more"},
      {"list_max([random(), x]) > 0.5", "the function random depends on more"},
      {"now() > DATE '2020-01-01'", "the function now depends on more"},
      {"write_log('x') IS NULL", "the function write_log depends on more"},
      {"avg(x) > 1", "one value over all cases"},
      {"unnest([TRUE, FALSE])", "one result for each case"},
      {"COLUMNS(*) > 1", "stands for all variables"},
      {"*", "stands for all variables"},
      {"x > 1 QUALIFY x", "syntax error"},
      {"", "ends early"},
  };
  for (const auto& [condition, reason] : rows) {
    const std::string text = Selected(table, condition);
    EXPECT_NE(text.find(reason), std::string::npos) << condition << "\n" << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
  }
}

TEST(Selection, RefusalsNameTheConditionAndSayWhyInPlainWords) {
  const DataTable table = Flowers();
  const std::pair<const char*, const char*> rows[] = {
      {"colour = 'red'",
       "the selection condition (colour = 'red') is refused: there is no variable \"colour\". "
       "Texts "
       "stand in single quotes, names of variables in none or in double quotes."},
      {"kind = \"setosa\"", "there is no variable \"setosa\""},
      {"Sepal.Depth > 1", "there is no variable whose name begins with \"Sepal.\""},
      {"kind > 5", "a text is compared with a number"},
      {"kind", "Could not convert string"},
      {"grow(x)", "there is no function \"grow\""},
      {"x >", "ends early"},
      {"(x > 1", "syntax error"},
      {"x > 'a", "unterminated"},
      {"x > 1 /* remark", "unterminated"},
      {"1/0 > error('no')", "depends on more"},
  };
  for (const auto& [condition, reason] : rows) {
    const std::string text = Selected(table, condition);
    EXPECT_NE(text.find(reason), std::string::npos) << text;
    EXPECT_NE(text.find(condition), std::string::npos) << text;
  }
  const Reading read = ReadText("aB,Ab\n1,2\n");
  EXPECT_NE(Selected(read.table, "AB > 1").find("upper and lower case only"), std::string::npos);
}

TEST(Selection, CoversTablesOfManyChunksAndOfNone) {
  std::string content = "n,t\n";
  constexpr int kCases = 200000;
  for (int i = 1; i <= kCases; ++i) {
    content += std::to_string(i) + (i % 3 == 0 ? ",fizz\n" : ",none of them\n");
  }
  const Reading read = ReadText(content);
  ASSERT_GT(read.table.NumberOfChunks(), 2u);
  std::vector<std::uint8_t> selected;
  FileError error;
  ASSERT_TRUE(EvaluateCondition(read.table, "t = 'fizz' AND n > 50000", selected, error));
  ASSERT_EQ(selected.size(), static_cast<std::size_t>(kCases));
  for (int i = 1; i <= kCases; ++i) {
    ASSERT_EQ(selected[static_cast<std::size_t>(i - 1)], i % 3 == 0 && i > 50000) << i;
  }
  EXPECT_EQ(Selected(ReadText("x,y\n").table, "x > 1"), "");
}

}  // namespace
}  // namespace qrvml
