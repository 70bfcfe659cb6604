// Tables as CSV, against lines written by hand and a reader of RFC 4180 written here.
#include "documents/csv_renderer.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "documents/columns.h"

namespace qrvml {
namespace {

std::string Csv(const Spreadsheet& sheet, const CaseNamer& caseName = {}) {
  std::ostringstream out;
  WriteCsv(out, sheet, caseName);
  return out.str();
}

/// Records and fields as RFC 4180 defines them.
std::vector<std::vector<std::string>> ReadCsv(const std::string& text) {
  std::vector<std::vector<std::string>> records(1, std::vector<std::string>(1));
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string& field = records.back().back();
    if (quoted) {
      if (text[i] != '"') {
        field += text[i];
      } else if (i + 1 < text.size() && text[i + 1] == '"') {
        field += text[++i];
      } else {
        quoted = false;
      }
    } else if (text[i] == '"' && field.empty()) {
      quoted = true;
    } else if (text[i] == ',') {
      records.back().emplace_back();
    } else if (text.compare(i, 2, "\r\n") == 0) {
      records.emplace_back(1, std::string());
      ++i;
    } else {
      field += text[i];
    }
  }
  records.pop_back();  // every record ends with a line end
  return records;
}

TEST(CsvRenderer, WritesOneTableWithJoinedHeadingsTextsAndLabelsAndEmptyCells) {
  Spreadsheet sheet;
  sheet.title = "not in the file";
  sheet.header = {"nor this"};
  sheet.rowTitle = "Obs.";
  sheet.rowTitleSecond = "Nom";
  sheet.rowCases = {3, 12, 7};
  sheet.columns.resize(3);
  sheet.columns[0] =
      Column("height", "Prévues", NumberFormat::general, {0.1 + 0.2, kEmptyCell, 1e6});
  sheet.columns[1] =
      Column("sex", "", NumberFormat::general, {1, 2, 3}, {{1, "Homme"}, {2, "Femme"}});
  sheet.columns[2] =
      Column("", "n", NumberFormat::count, {-9999, 2.5, 4}, {{4, "four", true}}, {"", "x", ""});
  const CaseNamer names = [](int number) {
    return number == 3 ? std::string(" Zoë  ") : std::string(number == 7 ? "   " : "");
  };
  EXPECT_EQ(Csv(sheet, names),
            "Obs. Nom,height Prévues,sex,n\r\n"
            "Zoë,0.30000000000000004,Homme,-9999\r\n"
            "12,,Femme,x\r\n"
            "7,1000000,3,four\r\n");
}

TEST(CsvRenderer, AnyTextSurvivesQuoting) {
  const std::vector<std::string> texts = {"a,b", "say \"no\"", "two\r\nlines", "\"", "'", "é;\t"};
  Spreadsheet sheet;
  sheet.rowTitle = "\"corner\", here";
  sheet.rowNames = texts;
  sheet.columns = {Column("x,y", "\"z\"", NumberFormat::general, {1, 2, 3, 4, 5, 6}, {}, texts)};
  const auto records = ReadCsv(Csv(sheet));
  ASSERT_EQ(records.size(), 7u);
  EXPECT_EQ(records[0], (std::vector<std::string>{sheet.rowTitle, "x,y \"z\""}));
  for (std::size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(records[i + 1], (std::vector<std::string>{texts[i], texts[i]})) << i;
}

TEST(CsvRenderer, ATextThatASpreadsheetProgramWouldExecuteGetsAnApostropheAndANumberDoesNot) {
  const std::vector<std::string> texts = {"=1+1", "+1",   "-1",  "@SUM(A1)", "\tx",
                                          "\rx",  "\n=1", " =1", "1-1"};
  Spreadsheet sheet;
  sheet.rowTitle = "=corner";
  sheet.rowNames = texts;
  sheet.columns = {Column("-first", "", NumberFormat::general, std::vector<double>(9, -1.5)),
                   Column("label", "", NumberFormat::general, std::vector<double>(9, 1),
                          {{1, "=HYPERLINK(\"x\")"}})};
  const auto records = ReadCsv(Csv(sheet));
  EXPECT_EQ(records[0], (std::vector<std::string>{"'=corner", "'-first", "label"}));
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const bool executable = i < 7;
    EXPECT_EQ(records[i + 1][0], (executable ? "'" : "") + texts[i]) << i;
    EXPECT_EQ(records[i + 1][1], "-1.5");
    EXPECT_EQ(records[i + 1][2], "'=HYPERLINK(\"x\")");
  }
}

TEST(CsvRenderer, NumbersReadBackToTheLastBit) {
  const std::vector<double> values = {0.1,
                                      1.0 / 3,
                                      1e-310,
                                      5e-324,
                                      1.7976931348623157e308,
                                      -0.0,
                                      1e22,
                                      123456789012345678.0,
                                      -9999.,
                                      2e15,
                                      0.30000000000000004};
  Spreadsheet sheet;
  sheet.rowNames.assign(values.size(), "r");
  sheet.columns = {Column("v", "", NumberFormat::count, values)};
  const auto records = ReadCsv(Csv(sheet));
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double read = std::strtod(records[i + 1][1].c_str(), nullptr);
    EXPECT_EQ(read, values[i]);
    EXPECT_EQ(std::signbit(read), std::signbit(values[i]));
  }
  EXPECT_EQ(records[10][1], "2000000000000000");
}

TEST(CsvRenderer, ATableOfManyPiecesArrivesWholeAndAFailingStreamIsLeftAlone) {
  constexpr std::size_t kRows = 30'000;  // several times what is kept before it is written
  Spreadsheet sheet;
  sheet.rowNames.assign(kRows, "row");
  sheet.columns = {Column("v", "", NumberFormat::general, std::vector<double>(kRows))};
  for (std::size_t i = 0; i < kRows; ++i) sheet.columns[0].values[i] = double(i) + 0.5;
  const auto records = ReadCsv(Csv(sheet));
  ASSERT_EQ(records.size(), kRows + 1);
  for (std::size_t i = 0; i < kRows; i += 997)
    EXPECT_EQ(records[i + 1][1], std::to_string(i) + ".5");

  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  WriteCsv(broken, sheet, {});
  EXPECT_TRUE(broken.bad());
  EXPECT_EQ(broken.str(), "");
}

}  // namespace
}  // namespace qrvml
