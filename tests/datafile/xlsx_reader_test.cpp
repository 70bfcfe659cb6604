// Excel workbooks: written by libxlsxwriter, and by hand where it cannot write what others do.
#include <xlsxwriter.h>
#include <zip.h>

#include "datafile/format_files.h"
#include "datafile/xlsx_formats.h"

namespace qrvml {
namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;

struct Part {
  std::string name, content;
};

void WriteArchive(const std::string& path, const std::vector<Part>& parts) {
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  ASSERT_NE(archive, nullptr);
  for (const Part& part : parts) {
    zip_source_t* source = zip_source_buffer(archive, part.content.data(), part.content.size(), 0);
    ASSERT_GE(zip_file_add(archive, part.name.c_str(), source, ZIP_FL_ENC_UTF_8), 0);
  }
  ASSERT_EQ(zip_close(archive), 0);
}

/// A workbook with one sheet, its rows as XML, the names of elements with a prefix ("x:") or none.
std::vector<Part> PartsOf(const std::string& rows, const std::string& prefix = "") {
  const std::string declared = prefix.empty() ? "xmlns" : "xmlns:" + prefix.substr(0, 1);
  const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
  const auto tag = [&](const std::string& name) { return prefix + name; };
  const std::string relation = "<Relationship Id=\"";
  return {
      {"_rels/.rels", "<Relationships>" + relation + "a\" Type=\"" + office +
                          "officeDocument\" Target=\"/xl/workbook.xml\"/></Relationships>"},
      {"xl/_rels/workbook.xml.rels",
       "<Relationships>" + relation + "s1\" Type=\"" + office +
           "worksheet\" Target=\"worksheets/sheet1.xml\"/>" + relation + "t\" Type=\"" + office +
           "sharedStrings\" Target=\"sharedStrings.xml\"/></Relationships>"},
      {"xl/workbook.xml", "<" + tag("workbook") + " " + declared + "=\"u\"><" + tag("sheets") +
                              "><" + tag("sheet") + " name=\"Data\" r:id=\"s1\"/></" +
                              tag("sheets") + "></" + tag("workbook") + ">"},
      {"xl/sharedStrings.xml",
       "<sst><si><t>name</t></si><si><r><t>ri</t></r><r><t xml:space=\"preserve\"> "
       "</t></r><r><rPr/>"
       "<t>ch</t></r><rPh "
       "sb=\"0\"><t>no</t></rPh></si><si><t/></si><si><t>a_x000A_b</t></si></sst>"},
      {"xl/worksheets/sheet1.xml", "<?xml version=\"1.0\"?><!-- <row> --><" + tag("worksheet") +
                                       "><" + tag("sheetData") + ">" + rows + "</" +
                                       tag("sheetData") + "></" + tag("worksheet") + ">"},
  };
}

Reading ReadRows(const std::string& rows, const std::string& prefix = "") {
  const TemporaryPath path("hand.xlsx");
  WriteArchive(path.Text(), PartsOf(rows, prefix));
  return ReadPath(path.Text());
}

void WriteWorkbook(const std::string& path, bool constantMemory) {
  lxw_workbook_options options = {};
  options.constant_memory = constantMemory;
  lxw_workbook* book = workbook_new_opt(path.c_str(), &options);
  workbook_add_worksheet(book, "Empty");
  lxw_worksheet* sheet = workbook_add_worksheet(book, "Été & <1>");
  lxw_worksheet* other = workbook_add_worksheet(book, "More");
  const auto format = [&](const char* code) {
    lxw_format* made = workbook_add_format(book);
    format_set_num_format(made, code);
    return made;
  };
  lxw_format* date = format("dd/mm/yyyy");
  lxw_format* moment = format("yyyy-mm-dd hh:mm");
  lxw_format* clock = format("[h]:mm");
  lxw_format* money = format("#,##0.00 \"days\"");

  // Column 3 stays empty; the names stand in the second row.
  const char* names[] = {"Âge", "flag", " town ", nullptr, "day", "moment", "clock", "mixed", ""};
  for (lxw_col_t i = 0; i < 9; ++i) {
    if (names[i]) worksheet_write_string(sheet, 1, i, names[i], nullptr);
  }
  const auto row = [&](lxw_row_t at, double age, int flag, const char* town, double day) {
    worksheet_write_number(sheet, at, 0, age, money);
    if (flag >= 0) worksheet_write_boolean(sheet, at, 1, flag, nullptr);
    if (town) worksheet_write_string(sheet, at, 2, town, nullptr);
    worksheet_write_blank(sheet, at, 3, date);
    worksheet_write_number(sheet, at, 4, day, date);
    worksheet_write_number(sheet, at, 5, day + 0.5, moment);
    worksheet_write_number(sheet, at, 6, 1.25, clock);
  };
  row(2, 0.1, 1, "Zürich", 36526);
  worksheet_write_number(sheet, 2, 7, 12.5, nullptr);
  worksheet_write_number(sheet, 2, 8, 7, nullptr);
  row(4, -9999, 0, "  ", 43831);
  worksheet_write_string(sheet, 4, 7, "x", nullptr);
  row(5, 1e300, -1, "Aarau <&> \"b\"", 1);
  worksheet_write_formula_num(sheet, 5, 8, "=1+1", nullptr, 2);
  worksheet_write_number(other, 0, 0, 1, nullptr);
  ASSERT_EQ(workbook_close(book), LXW_NO_ERROR);
}

TEST(XlsxReader, NumbersBooleansTextsAndDatesOfTheFirstSheetWithValuesComeBack) {
  for (const bool constantMemory : {false, true}) {  // texts in a table, texts in the cells
    const TemporaryPath path("book.xlsx");
    WriteWorkbook(path.Text(), constantMemory);
    const Reading read = ReadPath(path.Text());
    ASSERT_TRUE(read.ok) << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(Names(table),
              (Texts{"Âge", "flag", "town", "day", "moment", "clock", "mixed", "Var8"}));
    EXPECT_EQ(Cells(table, 1), (Numbers{0.1, -9999, 1e300}));
    EXPECT_EQ(table.At(1).missingCode, -99999);
    EXPECT_EQ(table.At(1).format, DisplayFormat::number);
    EXPECT_EQ(Cells(table, 2), (Numbers{1, 0, -9999}));
    EXPECT_EQ(Labels(table, 3), (Texts{"Aarau <&> \"b\"", "Zürich"}));
    EXPECT_EQ(Cells(table, 3), (Numbers{2, -9999, 1}));
    EXPECT_EQ(ShownCells(table, 4), "2000-01-01 2020-01-01 1900-01-01");
    EXPECT_EQ(Cells(table, 4), (Numbers{36526, 43831, 2}));
    EXPECT_EQ(table.At(5).format, DisplayFormat::dateTime);
    EXPECT_EQ(table.Value(1, 5), 36526.5);
    EXPECT_EQ(table.At(6).format, DisplayFormat::time);
    EXPECT_EQ(table.Value(1, 6), 1.25);
    EXPECT_EQ(ShownCells(table, 7), "12.5 x .");
    EXPECT_EQ(Cells(table, 8), (Numbers{7, -9999, 2}));
    EXPECT_EQ(table.Notes(),
              Texts{"The sheet \"Été & <1>\" is read; there are values in \"More\", too"});
  }
}

TEST(XlsxReader, WhatOtherWritersWriteIsReadToo) {
  const std::string rows =
      "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" "
      "t=\"inlineStr\"><is><t>a&amp;b</t></is>"
      "</c><c t=\"str\"><v>third</v></c><c r=\"E1\"><v>2020</v></c></row>"
      "<row r=\"2\"><c t=\"s\"><v>1</v></c><c t=\"e\"><v>#N/A</v></c><c t=\"d\">"
      "<v>2000-01-01T06:00:00</v></c><c r=\"E2\"><f>A1</f></c></row>"
      "<row r=\"3\" spans=\"1:5\"/><row r=\"4\"><c r=\"A4\" t=\"s\"><v>2</v></c><c "
      "r=\"B4\"><v>1E2</v></c>"
      "<c r=\"XYZZY4\" s=\"5\"/></row>"
      "<row><c t=\"s\"><v>3</v></c><c t=\"e\"><v>#DIV/0!</v></c><c "
      "t=\"d\"><v>1999-12-31</v></c></row>";
  std::string prefixed = rows;
  for (const char* name : {"row", "c", "v", "is", "t", "f"}) {
    for (const std::string end : {" ", ">", "/"}) {
      for (const std::string begin : {"<", "</"}) {
        const std::string from = begin + name + end, to = begin + "x:" + name + end;
        for (std::size_t at = 0; (at = prefixed.find(from, at)) != std::string::npos;) {
          prefixed.replace(at, from.size(), to);
        }
      }
    }
  }
  for (const bool hasPrefix : {false, true}) {
    const Reading read = hasPrefix ? ReadRows(prefixed, "x:") : ReadRows(rows);
    ASSERT_TRUE(read.ok) << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(Names(table), (Texts{"name", "a&b", "third", "2020"}));
    EXPECT_EQ(Labels(table, 1), (Texts{"a\nb", "ri ch"}));
    EXPECT_EQ(Cells(table, 1), (Numbers{2, -9999, 1}));
    EXPECT_EQ(Cells(table, 2), (Numbers{-9999, 100, -9999}));
    EXPECT_EQ(ShownCells(table, 3), "2000-01-01 06:00:00 . 1999-12-31 00:00:00");
    EXPECT_EQ(Cells(table, 4), (Numbers{-9999, -9999, -9999}));
    EXPECT_EQ(table.Notes(), (Texts{"a&b: 2 cells with errors such as #N/A are missing",
                                    "2020: 1 formula without a stored result is missing"}));
  }
}

TEST(XlsxReader, DatesInWordsAreNumbersAndWhatIsNoDateStaysAText) {
  const auto read = [](const std::string& text) {
    return ReadRows("<row><c t=\"str\"><v>a</v></c></row><row><c t=\"d\"><v>" + text +
                    "</v></c></row>");
  };
  // 2000-01-01 is day 36526.
  const std::pair<const char*, double> dates[] = {
      {"2000-01-01", 36526},
      {"1899-12-30", 0},
      {"2000-02-29T18:00", 36585.75},
      {"2000-01-01T00:00:27Z", 36526 + 27 / 86400.0},
      {"2000-01-01T12:00:00.5", 36526.5 + 0.5 / 86400},
      {"9999-12-31T23:59:59", 2958465 + 86399 / 86400.0}};
  for (const auto& [text, days] : dates) {
    const Reading one = read(text);
    ASSERT_TRUE(one.ok) << one.error.Text();
    EXPECT_EQ(Labels(one.table, 1), Texts{}) << text;
    ASSERT_EQ(Cells(one.table, 1).size(), 1u);
    EXPECT_DOUBLE_EQ(Cells(one.table, 1)[0], days) << text;
  }
  for (const char* text :
       {"2001-02-29", "2000-13-01", "20000-01-01", "99999999999-01-01", "2000-1-1", "2000-01--1",
        "2000-01-01 12:00", "2000-01-01T", "2000-01-01T24:00", "2000-01-01T999999999:00:00",
        "2000-01-01T12:60", "2000-01-01T12:00:00.", "2000-01-01T12:00:00.5e9",
        "2000-01-01T12:00:00+01", "12:00"}) {
    const Reading one = read(text);
    ASSERT_TRUE(one.ok) << one.error.Text();
    EXPECT_EQ(Labels(one.table, 1), Texts{text});
  }
}

TEST(XlsxReader, EmptyRowsCountInASheetOfOneColumnOnly) {
  const std::string rows =
      "<row r=\"3\"><c r=\"B3\"><v>5</v></c></row>"
      "<row r=\"5\"><c r=\"B5\"><v>1</v></c></row>"
      "<row r=\"9\"><c r=\"B9\"><v>2</v></c></row>";
  EXPECT_EQ(ShownCells(ReadRows(rows).table, 1), ". 1 . . . 2");
  const Reading two = ReadRows(rows + "<row r=\"12\"><c r=\"C12\"><v>2</v></c></row>");
  EXPECT_EQ(ShownCells(two.table, 1), "1 2 .");
  EXPECT_EQ(Names(two.table), (Texts{"5", "Var2"}));
}

TEST(XlsxReader, DaysAreCountedFromTheWorkbooksFirstDay) {
  const TemporaryPath path("mac.xlsx");
  std::vector<Part> parts = PartsOf(
      "<row><c t=\"str\"><v>day</v></c><c t=\"str\"><v>both</v></c></row>"
      "<row><c s=\"1\"><v>0</v></c><c s=\"1\"><v>1</v></c></row><row><c "
      "s=\"1\"><v>1</v></c><c><v>3</v>"
      "</c></row>");
  parts[2].content.insert(parts[2].content.find("<sheets>"), "<workbookPr date1904=\"1\"/>");
  parts[1].content.insert(parts[1].content.find("</Rel"),
                          "<Relationship Id=\"f\" Type=\"x/styles\" Target=\"styles.xml\"/>");
  parts.push_back({"xl/styles.xml",
                   "<styleSheet><cellXfs><xf numFmtId=\"0\"/><xf numFmtId=\"14\"/>"
                   "</cellXfs></styleSheet>"});
  WriteArchive(path.Text(), parts);
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(ShownCells(read.table, 1), "1904-01-01 1904-01-02");
  EXPECT_EQ(Cells(read.table, 2), (Numbers{1463, 3}));
  EXPECT_EQ(read.table.Notes(),
            Texts{"both holds dates and plain numbers; all are shown as numbers"});
}

TEST(XlsxReader, NumberFormatsTellDatesFromNumbers) {
  struct Row {
    const char* code;
    DisplayFormat format;
  };
  constexpr auto number = DisplayFormat::number;
  constexpr auto date = DisplayFormat::date;
  constexpr auto time = DisplayFormat::time;
  constexpr auto dateTime = DisplayFormat::dateTime;
  const Row rows[] = {{"General", number},
                      {"0.00E+00", number},
                      {"#,##0.00 \"days\"", number},
                      {"[Red]0.0;[Blue]-0.0", number},
                      {"[$-409]0", number},
                      {"0\\d", number},
                      {"_(* #,##0_);_(* (#,##0)", number},
                      {"General\" m\"", number},
                      {"0;dd", number},
                      {"dd/mm/yyyy", date},
                      {"[$-F800]dddd\\, mmmm dd\\, yyyy", date},
                      {"MMM-YY", date},
                      {"mmmm", date},
                      {"h:mm AM/PM", time},
                      {"mm:ss.0", time},
                      {"[h]:mm", time},
                      {"[mm]", time},
                      {"yyyy-mm-dd\\Thh:mm", dateTime},
                      {"d \"at\" h", dateTime},
                      {"\"unclosed", number},
                      {"[unclosed", number},
                      {"\\", number}};
  for (const Row& row : rows) EXPECT_EQ(FormatOfCode(row.code), row.format) << row.code;
}

TEST(XlsxReader, AMillionEmptyColumnsAreNoVariables) {
  std::string row = "<row r=\"1\"><c r=\"A1\"><v>1</v></c>";
  for (int i = 0; i < 1000000; ++i) row += "<c s=\"1\"/>";
  const Reading read = ReadRows(row + "</row><row r=\"2\"><c r=\"A2\"><v>2</v></c></row>");
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(read.table.NumberOfVariables(), 1);
  EXPECT_EQ(Cells(read.table, 1), Numbers{2});
}

TEST(XlsxReader, WorkbooksThatContradictThemselvesAreRefused) {
  struct Row {
    std::string rows;
    const char* what;  // part of the message
  };
  std::string scattered = "<row r=\"1\">";
  for (int i = 0; i < 16384; ++i) scattered += "<c><v>" + std::to_string(i) + "</v></c>";
  scattered += "</row>";
  for (int i = 0; i < 9000; ++i) scattered += "<row><c><v>1</v></c></row>";
  const Row rows[] = {
      {"", "holds no values"},
      {"<row><c t=\"s\"><v>4</v></c></row>", "names the text 4 of 4"},
      {"<row><c r=\"A1\" t=\"s\"><v>-1</v></c></row>", "cell A1 names the text -1 of 4"},
      {"<row><c r=\"B7\"><v>1,5</v></c></row>", "cell B7 holds \"1,5\" where a number is due"},
      {"<row><c r=\"B7\"><v>1e999</v></c></row>", "cell B7 holds \"1e999\""},
      {"<row><c r=\"XFE1\"><v>1</v></c></row>", "cell XFE1 lies outside the sheet"},
      {"<row><c r=\"AAAAAAAAAAAAAA1\"><v>1</v></c></row>", "lies outside the sheet"},
      {"<row r=\"2\"><c><v>1</v></c></row><row r=\"1\"><c><v>1</v></c></row>", "row 1 stands out"},
      {"<row r=\"1\"><c><v>1</v></c></row><row r=\"1048577\"><c><v>1</v></c></row>", "row 1048577"},
      {"<row><c><v>1</v></c>", "ends inside an element"},
      {"<row><c><v>1</c></row>", "XML is damaged"},
      {"<row><c t=\"str\"><v>x</v></c><c/><c t=\"str\"><v> x </v></c></row>",
       "columns 1 and 2 have the same name \"x\""},
      {scattered, "the sheet has 25384 values in 9001 rows and 16384 columns"},
  };
  for (const Row& row : rows) {
    const Reading read = ReadRows(row.rows);
    EXPECT_FALSE(read.ok) << row.what;
    EXPECT_NE(read.error.what.find(row.what), std::string::npos)
        << row.what << ": " << read.error.Text();
    EXPECT_FALSE(read.error.right.empty()) << row.what;
  }
}

TEST(XlsxReader, AnArchiveThatGrowsOutOfProportionIsRefused) {
  const std::string huge(std::size_t{65} << 20, ' ');
  for (const int part : {2, 4}) {  // the list of sheets, the sheet
    const TemporaryPath path("bomb.xlsx");
    std::vector<Part> parts = PartsOf("<row><c><v>1</v></c></row>");
    parts[static_cast<std::size_t>(part)].content += huge;
    WriteArchive(path.Text(), parts);
    ASSERT_LT(FileContent(path.Text()).size(), 200000u);
    const Reading read = ReadPath(path.Text());
    EXPECT_FALSE(read.ok) << part;
    const bool explained = read.error.what.find("when it is unpacked") != std::string::npos ||
                           read.error.what.find("is larger than 64 MB") != std::string::npos;
    EXPECT_TRUE(explained) << read.error.Text();
  }
}

TEST(XlsxReader, OtherArchivesAndDamagedOnesAreRefusedWithAReason) {
  const TemporaryPath path("book.xlsx");
  WriteWorkbook(path.Text(), false);
  ExpectEveryStartIsRefused(path.Text(), 40);
  // A byte of the compressed sheet is another one: the archive's check sum tells.
  std::string content = FileContent(path.Text());
  const std::size_t sheet = content.find("xl/worksheets/sheet2.xml");
  ASSERT_NE(sheet, std::string::npos);
  content[sheet + 200] = static_cast<char>(content[sheet + 200] ^ 0x10);
  WriteContent(path.Text(), content);
  EXPECT_FALSE(ReadPath(path.Text()).ok);

  struct Row {
    std::vector<Part> parts;
    const char* what;
  };
  std::vector<Part> utf16 = PartsOf("<row><c><v>1</v></c></row>");
  utf16[4].content = "\xFF\xFE<";
  std::vector<Part> binary = PartsOf("");
  binary[0].content.replace(binary[0].content.find("workbook.xml"), 12, "workbook.bin");
  std::vector<Part> document = PartsOf("");
  document[2].content = "<w:document/>";
  std::vector<Part> lost = PartsOf("");
  lost.pop_back();
  const Row rows[] = {{{{"a.txt", "text"}}, "a ZIP archive, but no Excel workbook"},
                      {{{"mimetype", "application/vnd.oasis"}}, "an OpenDocument file"},
                      {utf16, "not in UTF-8"},
                      {binary, "binary Excel workbook"},
                      {document, "no Excel workbook"},
                      {lost, "sheet1.xml cannot be read"}};
  for (const Row& row : rows) {
    WriteArchive(path.Text(), row.parts);
    const Reading read = ReadPath(path.Text());
    EXPECT_FALSE(read.ok) << row.what;
    EXPECT_NE(read.error.what.find(row.what), std::string::npos) << read.error.Text();
  }
  WriteContent(path.Text(), "x,y\n1,2\n");
  EXPECT_EQ(ReadPath(path.Text()).error.what,
            "this is not an Excel workbook, though its name ends in .xlsx");
}

}  // namespace
}  // namespace qrvml
