// The shelf tests/data/: what is refused, where, and what is read all the same.
#include <algorithm>
#include <filesystem>
#include <set>

#include "datafile/text_files.h"
#include "support/places.h"

namespace qrvml {
namespace {

struct RefusedFile {
  const char* name;
  int line, column;
  const char* what;  // part of the message
};

constexpr RefusedFile kRefused[] = {
    {"empty.csv", 0, 0, "the file is empty"},
    {"blank_lines.csv", 1, 0, "blank lines only"},
    {"short_row.csv", 3, 3, "2 fields instead of 3"},
    {"long_row.csv", 4, 4, "4 fields instead of 3"},
    {"short_row_after_quoted_lines.csv", 7, 3, "2 fields instead of 3"},
    {"unclosed_quote.csv", 3, 2, "not closed"},
    {"text_after_quote.csv", 2, 2, "behind the closing double quote"},
    {"unclosed_quote_in_header.csv", 1, 2, "not closed"},
    {"nul_byte.csv", 3, 0, "NUL byte (0) at byte 5"},
    {"nul_byte_in_header.csv", 1, 0, "NUL byte (0) at byte 6"},
    {"utf16.csv", 0, 0, "UTF-16"},
    {"utf16_without_mark.csv", 1, 0, "NUL byte (0) at byte 2"},
    {"carriage_returns_alone.csv", 1, 0, "carriage return alone"},
    {"duplicate_names.csv", 1, 3, "columns 1 and 3 have the same name \"age\""},
    {"too_large_number.csv", 3, 2, "the number -1e999 is too large"},
    {"invalid_utf8_with_mark.csv", 3, 0, "not valid UTF-8"},
    {"spreadsheet.csv", 0, 0, "Excel"},
};

struct ReadFile {
  const char* name;
  int cases;
  const char* last;  // the cells of the last variable
};

constexpr ReadFile kRead[] = {
    {"header_only.csv", 0, ""},
    {"one_case.csv", 1, "a"},
    {"one_column.csv", 3, "1 . 3"},
    {"one_class.csv", 4, "a a a a"},
    {"constant_column.csv", 4, "a b a b"},
    {"all_missing.csv", 3, "a b a"},
    {"zero_weights.csv", 4, "0 0 . 0"},
    {"huge_values.csv", 3, "a b a"},
    {"tiny_values.csv", 3, "a b a"},
    {"empty_names.csv", 1, "."},
    {"windows_1252.csv", 3, "Renée €uro Anaïs"},
    {"utf8_with_mark.csv", 1, "1"},
    {"semicolon_decimal_comma.csv", 2, "70 -65"},
    {"holds_missing_codes.csv", 3, "-9999 -99999 ."},
};

std::string Shelf(const std::string& name) { return std::string(kTestData) + "/" + name; }

TEST(DefectiveFiles, AreRefusedWithPlaceAndReason) {
  for (const RefusedFile& file : kRefused) {
    const Reading read = ReadPath(Shelf(file.name));
    EXPECT_FALSE(read.ok) << file.name;
    EXPECT_EQ(read.error.line, file.line) << file.name;
    EXPECT_EQ(read.error.column, file.column) << file.name;
    EXPECT_NE(read.error.what.find(file.what), std::string::npos)
        << file.name << ": " << read.error.Text();
    EXPECT_FALSE(read.error.right.empty()) << file.name;
    EXPECT_EQ(read.error.file, Shelf(file.name));
  }
}

TEST(DefectiveFiles, AwkwardOnesAreRead) {
  for (const ReadFile& file : kRead) {
    const Reading read = ReadPath(Shelf(file.name));
    ASSERT_TRUE(read.ok) << file.name << ": " << read.error.Text();
    EXPECT_EQ(read.table.NumberOfCases(), file.cases) << file.name;
    EXPECT_EQ(ShownCells(read.table, read.table.NumberOfVariables()), file.last) << file.name;
  }
  const Reading names = ReadPath(Shelf("empty_names.csv"));
  EXPECT_EQ(names.table.At(2).name, "Var2");
  EXPECT_EQ(names.table.At(3).name, "Var3");
  EXPECT_EQ(names.table.At(5).name, "Var5");
}

TEST(DefectiveFiles, EachFileOfTheShelfHasItsRow) {
  std::set<std::string> known, found;
  for (const RefusedFile& file : kRefused) known.insert(file.name);
  for (const ReadFile& file : kRead) known.insert(file.name);
  for (const auto& entry : std::filesystem::directory_iterator(kTestData)) {
    if (entry.path().extension() == ".csv") found.insert(entry.path().filename().string());
  }
  EXPECT_EQ(found, known);
}

TEST(DefectiveFiles, WhatIsNoReadableFileIsRefused) {
  EXPECT_NE(ReadPath("/nowhere/at all.csv").error.what.find("no such file"), std::string::npos);
  EXPECT_NE(ReadPath(kTestData).error.what.find("folder"), std::string::npos);
  EXPECT_NE(ReadPath("/dev/null").error.what.find("regular file"), std::string::npos);
  EXPECT_EQ(ReadPath("/nowhere.csv").error.Text(),
            "/nowhere.csv: there is no such file. Check the name and the folder.");
}

// The place must be right also where a row is far inside the file and many rows span lines.
TEST(DefectiveFiles, LineNumbersAreTrueFarInsideALargeFile) {
  std::string start = "x,t\n";
  for (int i = 0; i < 150000; ++i) start += "1,\"two\nlines\"\n2,one\n";
  const int line = 2 + 3 * 150000;
  using namespace std::string_literals;
  struct Row {
    std::string text;
    int line, column;  // the line counted from that of the text
  };
  const Row rows[] = {{"3\n5,x\n7\n", 0, 2},        {"3,a,b\n5\n", 0, 3}, {"1e999,a\n5,x\n", 0, 1},
                      {"3,\"a\n\nb\"c\n7\n", 2, 2}, {"3,\"a\n", 0, 2},    {"3,a\n4,b\0c\n"s, 1, 0}};
  for (const Row& row : rows) {
    for (int threads : {1, 4}) {
      ReadOptions options;
      options.threads = threads;
      const Reading read = ReadText(start + row.text, options);
      EXPECT_FALSE(read.ok) << row.text;
      EXPECT_EQ(read.error.line, line + row.line) << row.text;
      EXPECT_EQ(read.error.column, row.column) << row.text;
    }
  }
}

TEST(DefectiveFiles, ANumberThatIsTooLargeIsATextInATextColumn) {
  const Reading read = ReadText("x,y\n1e999,1\nfar,2\n");
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Labels(read.table, 1), (std::vector<std::string>{"1e999", "far"}));
}

}  // namespace
}  // namespace qrvml
