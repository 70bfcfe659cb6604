// Workbooks, unpacked and read back as XML.
#include "documents/xlsx_renderer.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <zip.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <map>
#include <pugixml.hpp>
#include <sstream>

#include "documents/columns.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

/// One part of the package; empty when there is none.
std::string Part(const fs::path& file, const std::string& name) {
  int code = 0;
  zip_t* archive = zip_open(file.c_str(), ZIP_RDONLY, &code);
  EXPECT_NE(archive, nullptr) << file;
  if (archive == nullptr) return {};
  std::string content;
  if (zip_file_t* part = zip_fopen(archive, name.c_str(), 0); part != nullptr) {
    char buffer[4096];
    for (zip_int64_t n = 0; (n = zip_fread(part, buffer, sizeof buffer)) > 0;)
      content.append(buffer, std::size_t(n));
    zip_fclose(part);
  }
  zip_discard(archive);
  return content;
}

struct ReadCell {
  std::string type;  // "" a number, "inlineStr" a text
  std::string content;
  int style = 0;
};

struct ReadSheet {
  std::map<std::string, ReadCell> cells;  // by "B3"
  std::string frozenAt;

  std::string operator[](const std::string& cell) const {
    const auto found = cells.find(cell);
    return found == cells.end() ? "(none)" : found->second.content;
  }
};

struct Xlsx : ::testing::Test {
  fs::path file =
      fs::temp_directory_path() / ("qrvml-xlsx-" + std::to_string(::getpid()) + ".xlsx");
  std::string error;

  void TearDown() override { fs::remove(file); }

  void Write(const Workbook& workbook, const SheetLimits& limits = {}) {
    ASSERT_TRUE(WriteXlsx(workbook, file, error, limits)) << error;
  }
  pugi::xml_document Xml(const std::string& name) const {
    pugi::xml_document xml;
    EXPECT_TRUE(
        xml.load_string(Part(file, name).c_str(), pugi::parse_default | pugi::parse_ws_pcdata))
        << name;
    return xml;
  }
  ReadSheet Sheet(int number) const {
    const auto xml = Xml("xl/worksheets/sheet" + std::to_string(number) + ".xml");
    ReadSheet sheet;
    for (const auto& found : xml.select_nodes("//c")) {
      const auto cell = found.node();
      EXPECT_FALSE(cell.child("f")) << "a formula";
      const std::string type = cell.attribute("t").as_string();
      sheet.cells[cell.attribute("r").as_string()] = {
          type,
          type.empty() ? cell.child("v").text().as_string()
                       : cell.child("is").child("t").text().as_string(),
          cell.attribute("s").as_int()};
    }
    sheet.frozenAt = xml.select_node("//pane").node().attribute("topLeftCell").as_string();
    return sheet;
  }
  std::vector<std::string> SheetNames() const {
    std::vector<std::string> names;
    const auto xml = Xml("xl/workbook.xml");
    for (const auto& found : xml.select_nodes("//sheet"))
      names.emplace_back(found.node().attribute("name").as_string());
    return names;
  }
  /// Of a cell's style: whether it is filled, and its number format.
  bool IsFilled(const ReadCell& cell) const {
    return StyleOf(cell).attribute("fillId").as_int() > 1;  // 0 and 1 are the format's own
  }
  std::string NumberFormatOf(const ReadCell& cell) const {
    const int id = StyleOf(cell).attribute("numFmtId").as_int();
    if (id == 0) return "General";
    if (id == 1) return "0";
    const auto styles = Xml("xl/styles.xml");
    return styles.select_node(("//numFmt[@numFmtId='" + std::to_string(id) + "']").c_str())
        .node()
        .attribute("formatCode")
        .as_string();
  }
  pugi::xml_node StyleOf(const ReadCell& cell) const {
    static pugi::xml_document styles;
    styles.load_string(Part(file, "xl/styles.xml").c_str());
    return styles.select_node(("//cellXfs/xf[" + std::to_string(cell.style + 1) + "]").c_str())
        .node();
  }
};

Workbook OneTable(Spreadsheet sheet) {
  Workbook workbook;
  workbook.Add(std::move(sheet));
  return workbook;
}

/// Rows x columns with the value 100 * row + column, both from 1.
Spreadsheet Numbered(std::size_t rows, std::size_t columns) {
  Spreadsheet sheet;
  sheet.title = "Numbers";
  sheet.rowTitle = "r";
  for (std::size_t r = 1; r <= rows; ++r) sheet.rowNames.push_back("row " + std::to_string(r));
  for (std::size_t c = 1; c <= columns; ++c) {
    SpreadsheetColumn column;
    column.first = "c" + std::to_string(c);
    for (std::size_t r = 1; r <= rows; ++r) column.values.push_back(double(100 * r + c));
    sheet.columns.push_back(std::move(column));
  }
  return sheet;
}

TEST_F(Xlsx, NumbersLabelsMarksAndEmptyCellsStandWhereTheyBelong) {
  Workbook workbook;
  workbook.PutResults({"Variables:", "", "=y"});
  Spreadsheet sheet;
  sheet.title = "Prévisions";
  sheet.header = {"K = 3", "uniform"};
  sheet.rowTitle = "Obs.";
  sheet.rowTitleSecond = "Nom";
  sheet.rowCases = {1, 2};
  sheet.columns = {Column("height", "Indép.", NumberFormat::general, {170.25, kEmptyCell}),
                   Column("sex", "Prévues", NumberFormat::general, {1, 2}, {{1, "Homme", true}}),
                   Column("n", "", NumberFormat::count, {12, -9999}),
                   Column("p", "", NumberFormat::fixed6, {0.5, -INFINITY})};
  workbook.Add(std::move(sheet));
  workbook.caseName = [](int number) { return number == 2 ? " Zoë " : ""; };
  Write(workbook);

  EXPECT_EQ(SheetNames(), (std::vector<std::string>{"001 results", "002 Prévisions"}));
  EXPECT_EQ(Sheet(1)["A1"], "Variables:");
  EXPECT_EQ(Sheet(1)["A3"], "=y");
  const ReadSheet read = Sheet(2);
  const std::map<std::string, std::string> expected = {
      {"A1", "Prévisions"}, {"A2", "K = 3"},  {"A3", "uniform"}, {"A5", "Obs."},  {"A6", "Nom"},
      {"B5", "height"},     {"B6", "Indép."}, {"C6", "Prévues"}, {"D5", "n"},     {"A7", "1"},
      {"A8", "Zoë"},        {"B7", "170.25"}, {"B8", "(none)"},  {"C7", "Homme"}, {"C8", "2"},
      {"D7", "12"},         {"D8", "-9999"},  {"E7", "0.5"},     {"E8", "-inf"}};
  for (const auto& [cell, content] : expected) EXPECT_EQ(read[cell], content) << cell;
  EXPECT_EQ(read.frozenAt, "B7");
  for (const char* number : {"B7", "C8", "D7", "D8", "E7"})
    EXPECT_EQ(read.cells.at(number).type, "") << number;
  for (const char* text : {"A7", "C7", "E8"}) EXPECT_EQ(read.cells.at(text).type, "inlineStr");
  EXPECT_TRUE(IsFilled(read.cells.at("C7")));
  EXPECT_FALSE(IsFilled(read.cells.at("C8")));
  EXPECT_FALSE(IsFilled(read.cells.at("B7")));
  EXPECT_EQ(NumberFormatOf(read.cells.at("B7")), "General");
  EXPECT_EQ(NumberFormatOf(read.cells.at("D7")), "0");
  EXPECT_EQ(NumberFormatOf(read.cells.at("E7")), "0.000000");
}

TEST_F(Xlsx, ATextIsNeverAFormulaAndNeverAnEscape) {
  const std::vector<std::string> texts = {
      "=1+1",      "+1",      "-1",        "@x",      "{=1}",
      "a<b&\"c\"", "_x0041_", "tab\there", "bad\xFF", "  blank ends  "};
  const std::vector<std::string> shown = {"=1+1",
                                          "+1",
                                          "-1",
                                          "@x",
                                          "{=1}",
                                          "a<b&\"c\"",
                                          "_x005F_x0041_",
                                          "tab here",
                                          "bad\xEF\xBF\xBD",
                                          "  blank ends  "};
  Spreadsheet sheet;
  sheet.title = "=title";
  sheet.rowNames = texts;
  sheet.columns = {
      Column("=first", "", NumberFormat::general, std::vector<double>(10, 1), {}, texts)};
  Write(OneTable(std::move(sheet)));
  const ReadSheet read = Sheet(1);
  EXPECT_EQ(read["A1"], "=title");
  EXPECT_EQ(read["B3"], "=first");
  for (std::size_t i = 0; i < texts.size(); ++i) {
    EXPECT_EQ(read["A" + std::to_string(i + 4)], shown[i]);
    EXPECT_EQ(read["B" + std::to_string(i + 4)], shown[i]);
  }
}

TEST_F(Xlsx, ATableLongerAndWiderThanASheetGoesOnInFurtherSheetsThatSayWhichPartTheyHold) {
  Write(OneTable(Numbered(7, 5)), {.rows = 8, .columns = 4});
  // A sheet holds title, part, blank line and heading, 4 rows of 7, and 3 columns of 5.
  ASSERT_EQ(SheetNames(), (std::vector<std::string>{"001 Numbers", "001 Numbers (2)",
                                                    "001 Numbers (3)", "001 Numbers (4)"}));
  EXPECT_EQ(Sheet(1)["A2"], "Part 1 of 4: rows 1 to 4 of 7, columns 1 to 3 of 5");
  EXPECT_EQ(Sheet(4)["A2"], "Part 4 of 4: rows 5 to 7 of 7, columns 4 to 5 of 5");
  std::map<int, int> seen;  // value: times
  for (int s = 1; s <= 4; ++s) {
    const ReadSheet read = Sheet(s);
    EXPECT_LE(read.cells.size(), 8u * 4u);
    EXPECT_EQ(read["A1"], "Numbers");
    for (int r = 5; r <= 8; ++r) {
      for (const char c : {'B', 'C', 'D'}) {
        const auto cell = read.cells.find(c + std::to_string(r));
        if (cell == read.cells.end()) continue;
        const int value = std::stoi(cell->second.content);
        ++seen[value];
        EXPECT_EQ(read["A" + std::to_string(r)], "row " + std::to_string(value / 100));
        EXPECT_EQ(read[std::string(1, c) + "4"], "c" + std::to_string(value % 100));
      }
    }
  }
  EXPECT_EQ(seen.size(), 35u);
  for (const auto& [value, times] : seen) EXPECT_EQ(times, 1) << value;
}

TEST_F(Xlsx, ATableThatJustFitsASheetIsNotSplit) {
  Write(OneTable(Numbered(5, 3)), {.rows = 8, .columns = 4});
  EXPECT_EQ(SheetNames().size(), 1u);
  EXPECT_EQ(Sheet(1)["D8"], "503");
  Write(OneTable(Numbered(6, 3)), {.rows = 8, .columns = 4});
  EXPECT_EQ(SheetNames().size(), 2u);
}

TEST_F(Xlsx, TheSameDocumentsGiveTheSameBytes) {
  const auto bytes = [this] {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
  };
  Write(OneTable(Numbered(3, 3)));
  const std::string first = bytes();
  ::sleep(2);  // the resolution of dates in the package
  ::setenv("TZ", "Asia/Tokyo", 1);
  Write(OneTable(Numbered(3, 3)));
  ::unsetenv("TZ");
  EXPECT_EQ(bytes(), first);
  EXPECT_NE(Part(file, "docProps/core.xml").find("2000-01-01T00:00:00Z"), std::string::npos);
}

TEST_F(Xlsx, AWorkbookThatCannotBeWrittenSaysWhy) {
  EXPECT_FALSE(WriteXlsx(OneTable(Numbered(1, 1)), "/nowhere/at/all.xlsx", error));
  EXPECT_EQ(error, "No such file or directory");
}

TEST(SheetNames, AreLegalWhateverTheTitle) {
  const struct {
    std::size_t number, part;
    std::string title, name;
  } kCases[] = {
      {1, 1, "Synthèse", "001 Synthèse"},
      {12, 1, "a/b\\c?d*e[f]g:h", "012 a b c d e f g h"},
      {3, 1, "'quoted'", "003 'quoted"},
      {4, 1, "", "004"},
      {5, 1, std::string(40, 'x'), "005 " + std::string(27, 'x')},
      {5, 12, std::string(40, 'x'), "005 " + std::string(22, 'x') + " (12)"},
      {6, 1, std::string(25, 'x') + "'''''", "006 " + std::string(25, 'x')},
      {7, 1, "line\nend", "007 line end"},
  };
  for (const auto& [number, part, title, name] : kCases)
    EXPECT_EQ(SheetName(number, title, part), name);
  // A character beyond the basic plane counts twice.
  std::string emoji;
  for (int i = 0; i < 20; ++i) emoji += "😀";
  EXPECT_EQ(SheetName(8, emoji, 1).size(), 4 + 13 * std::string("😀").size());
}

}  // namespace
}  // namespace qrvml
