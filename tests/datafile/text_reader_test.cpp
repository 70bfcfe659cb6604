#include <cmath>
#include <limits>

#include "datafile/text_files.h"
#include "support/places.h"

namespace qrvml {
namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;

TEST(TextReader, NumbersTextsAndEmptyCellsBecomeCellsCodesAndMissingCodes) {
  const Reading read =
      ReadText("\"id\", height ,\"sex\"\n1,170.5,M\n2, ,F\n \"3\" , 16e1 ,\" \"\n");
  ASSERT_TRUE(read.ok) << read.error.Text();
  const DataTable& table = read.table;
  ASSERT_EQ(table.NumberOfVariables(), 3);
  EXPECT_EQ(table.At(1).name, "id");
  EXPECT_EQ(table.At(2).name, "height");
  EXPECT_EQ(table.At(3).name, "sex");
  EXPECT_EQ(Cells(table, 1), (Numbers{1, 2, 3}));
  EXPECT_EQ(Cells(table, 2), (Numbers{170.5, -9999, 160}));
  EXPECT_EQ(Cells(table, 3), (Numbers{2, 1, -9999}));
  EXPECT_EQ(Labels(table, 3), (Texts{"F", "M"}));
  EXPECT_FALSE(table.At(2).wasText);
  EXPECT_TRUE(table.At(2).labels.empty());
  EXPECT_TRUE(table.At(3).wasText);
  EXPECT_EQ(table.At(3).distinctTexts, 2u);
}

TEST(TextReader, WhatIsANumberIsDecidedStrictlyAndWithTheNearestDouble) {
  struct Row {
    const char* text;
    double value;
  };
  const Row numbers[] = {
      {"0", 0},
      {"-0", -0.0},
      {"+5", 5},
      {"5.", 5},
      {".5", 0.5},
      {"-.5e+2", -50},
      {"1E3", 1000},
      {"007", 7},
      {"\t12 ", 12},
      {"0e999", 0},
      {"1e-400", 0},
      {"-1e-400", -0.0},
      {"0.1", 0.1},
      {"9007199254740993", 9007199254740992},
      {"9007199254740993.0000000000000000000001", 9007199254740994},
      // Halfway cases and limits: see Clinger, How to read floating point numbers accurately
      // (1990).
      {"2.2250738585072011e-308", 2.2250738585072011e-308},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"4.9406564584124654e-324", std::numeric_limits<double>::denorm_min()},
      {"123456789012345678901234567890", 1.2345678901234568e29},
      {"0.00000000000000000000000000000000000000000000000000000000000000000000001e71", 1},
      {"1000000000000000000000000000000000000000000000000000000000000000000000000e-72", 1}};
  for (const Row& row : numbers) {
    const Reading read = ReadText("x,y\n" + std::string(row.text) + ",1\n");
    ASSERT_TRUE(read.ok) << row.text << ": " << read.error.Text();
    ASSERT_FALSE(read.table.At(1).wasText) << row.text;
    EXPECT_EQ(read.table.Value(1, 1), row.value) << row.text;
    EXPECT_EQ(std::signbit(read.table.Value(1, 1)), std::signbit(row.value)) << row.text;
  }
  for (const char* text :
       {"inf", "-inf", "Infinity", "nan", "NaN",   "0x10", "1_000", "1 000",
        "1e",  "1e+",  "e5",       ".",   "-",     "+-5",  "--5",   "1.2.3",
        "12a", "$5",   "5%",       "1d5", "1e5.0", "0b1",  "TRUE",  "2020-01-01"}) {
    const Reading read = ReadText("x,y\n" + std::string(text) + ",1\n");
    ASSERT_TRUE(read.ok) << text << ": " << read.error.Text();
    EXPECT_EQ(Labels(read.table, 1), Texts{text});
    EXPECT_EQ(read.table.Value(1, 1), 1) << text;
  }
}

TEST(TextReader, OneTextMakesTheWholeColumnTextAlsoFarFromTheStart) {
  // Far behind the first block, so that earlier blocks have been read as numbers.
  std::string content = "x,y\n01,5\n1,6\n1.0,7\n";
  for (int i = 0; i < 500000; ++i) content += "1,8\n";
  content += "one,9\n,10\n";
  for (int threads : {1, 3}) {
    ReadOptions options;
    options.threads = threads;
    const Reading read = ReadText(content, options);
    ASSERT_TRUE(read.ok) << read.error.Text();
    ASSERT_EQ(read.table.NumberOfCases(), 500005);
    EXPECT_EQ(Labels(read.table, 1), (Texts{"01", "1", "1.0", "one"}));
    EXPECT_EQ(read.table.Value(1, 1), 1);
    EXPECT_EQ(read.table.Value(3, 1), 3);
    EXPECT_EQ(read.table.Value(400000, 1), 2);
    EXPECT_EQ(read.table.Value(500004, 1), 4);
    EXPECT_EQ(read.table.Value(500005, 1), -9999);
    EXPECT_EQ(read.table.Value(500005, 2), 10);
    EXPECT_FALSE(read.table.At(2).wasText);
  }
}

TEST(TextReader, CodesFollowTheByteOrderOfTrimmedTexts) {
  const Reading read = ReadText("t\nzebra\nÉcole\n apple \nZebra\n\"apple\"\neau\n10\n9\n");
  EXPECT_EQ(Labels(read.table, 1), (Texts{"10", "9", "Zebra", "apple", "eau", "zebra", "École"}));
  EXPECT_EQ(Cells(read.table, 1), (Numbers{6, 7, 4, 3, 4, 5, 1, 2}));
}

TEST(TextReader, QuotesHoldDelimitersLineBreaksAndDoubledQuotes) {
  const Reading read = ReadText(
      "\"a,\"\"b\"\"\",c\n\"x, y\",1\n\"line\r\nbreak\",\"2\"\n\"say \"\"hi\"\"\",3\n5\" pipe,4\n"
      "\"\"\"\",5\n");
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(read.table.At(1).name, "a,\"b\"");
  EXPECT_EQ(Labels(read.table, 1),
            (Texts{"\"", "5\" pipe", "line\r\nbreak", "say \"hi\"", "x, y"}));
  EXPECT_EQ(Cells(read.table, 1), (Numbers{5, 3, 4, 2, 1}));
  EXPECT_EQ(Cells(read.table, 2), (Numbers{1, 2, 3, 4, 5}));
}

TEST(TextReader, LineEndsBlankLinesAndAMissingLastLineBreakMakeNoDifference) {
  const char* same[] = {
      "x,t\n1,a\n2,b\n",          "x,t\r\n1,a\r\n2,b\r\n",   "x,t\n1,a\n2,b",
      "x,t\r\n1,a\r\n2,b\r",      "x,t\n1,a\n\n  \n2,b\n\n", "\n \nx,t\n1,a\n2,b\n",
      "\xEF\xBB\xBFx,t\n1,a\n2,b"};
  for (const char* content : same) {
    const Reading read = ReadText(content);
    ASSERT_TRUE(read.ok) << content << read.error.Text();
    EXPECT_EQ(read.table.At(1).name, "x") << content;
    EXPECT_EQ(Cells(read.table, 1), (Numbers{1, 2})) << content;
    EXPECT_EQ(Labels(read.table, 2), (Texts{"a", "b"})) << content;
  }
  const Reading oneColumn = ReadText("x\n1\n\n3\n");
  EXPECT_EQ(ShownCells(oneColumn.table, 1), "1 . 3") << "a blank line of a one-column file";
}

TEST(TextReader, DelimiterAndDecimalMarkAreFoundInTheFile) {
  struct Row {
    const char* content;
    const char* first;   // cells of the first variable
    const char* second;  // and of the second; null: there is none
  };
  const Row rows[] = {
      {"a;b\n1,5;2\n2;3,25\n", "1.5 2", "2 3.25"},
      {"a;b\n1.5;2\n2;3.25\n", "1.5 2", "2 3.25"},
      {"a\tb\n1,5\t2\n2\t3\n", "1.5 2", "2 3"},
      {"a,b\n1.5,2\n2,3\n", "1.5 2", "2 3"},
      {"a,b\n\"1,5\",2\n\"2,25\",3\n", "1.5 2.25", "2 3"},
      {"a,b\n\"1,5\",2\n7,8\n3,\"0,5\"\n", "1.5 7 3", "2 8 0.5"},
      {"a,b\n\"1,500\",2.5\n\"2,250\",3.5\n", "1,500 2,250", "2.5 3.5"},
      {"name;size, cm\nx;1,5\ny;2,5\n", "x y", "1.5 2.5"},
      {"a\n1,5\n2,25\n", "1.5 2.25", nullptr},
      {"a\n1.5\n2\n", "1.5 2", nullptr},
      {"a;b\n1,5e2;x\n-,5;y\n", "150 -0.5", "x y"},
      {"a;b\n1.000,5;2,5\n1;3\n", "1.000,5 1", "2.5 3"},
      {"\"a;1\",b\n1,2\n3,4\n", "1 3", "2 4"},
      {"a;b\n\"x\ny\";1\nz;2\n", "x\ny z", "1 2"},
  };
  for (const Row& row : rows) {
    const Reading read = ReadText(row.content);
    ASSERT_TRUE(read.ok) << row.content << read.error.Text();
    ASSERT_EQ(read.table.NumberOfVariables(), row.second ? 2 : 1) << row.content;
    EXPECT_EQ(ShownCells(read.table, 1), row.first) << row.content;
    if (row.second) {
      EXPECT_EQ(ShownCells(read.table, 2), row.second) << row.content;
    }
  }
}

TEST(TextReader, OptionsOverrideWhatWouldBeFound) {
  ReadOptions comma{.delimiter = ',', .decimal = '.'};
  EXPECT_EQ(ReadText("a;b\n1;2\n", comma).table.At(1).name, "a;b");
  ReadOptions point{.decimal = '.'};
  EXPECT_EQ(Labels(ReadText("a;b\n1,5;2\n", point).table, 1), Texts{"1,5"});
  ReadOptions blank{.delimiter = ' '};
  EXPECT_EQ(ShownCells(ReadText("a b c\n1  3\n", blank).table, 2), ".");
  ReadOptions bar{.delimiter = '|', .decimal = ','};
  EXPECT_EQ(ShownCells(ReadText("a|b\n1,5|2\n", bar).table, 1), "1.5");
}

TEST(TextReader, TextThatIsNotUtf8IsDecodedAsWindows1252) {
  const std::string latin =
      "pr\xE9nom,x\nRen\xE9"
      "e,1\n\x80\x8A\x9F,2\nAna\xEFs,3\n";
  const Texts decoded{"Anaïs", "Renée", "€ŠŸ"};
  const Reading found = ReadText(latin);
  EXPECT_EQ(found.table.At(1).name, "prénom");
  EXPECT_EQ(Labels(found.table, 1), decoded);
  EXPECT_EQ(Cells(found.table, 1), (Numbers{2, 3, 1}));

  ReadOptions windows{.encoding = TextEncoding::windows1252};
  EXPECT_EQ(Labels(ReadText("t,x\n\xC3\xA9,1\n", windows).table, 1), Texts{"Ã©"});
  EXPECT_EQ(Labels(ReadText("t,x\n\xC3\xA9,1\n").table, 1), Texts{"é"});

  ReadOptions utf8{.encoding = TextEncoding::utf8};
  const Reading refused = ReadText(latin, utf8);
  EXPECT_FALSE(refused.ok);
  EXPECT_EQ(refused.error.line, 1);
  EXPECT_EQ(ReadText("t\na\nb\n\xE9\n", utf8).error.line, 4);
}

TEST(TextEncodingCheck, FindsTheFirstByteThatIsNotUtf8) {
  struct Row {
    std::string text;
    std::size_t at;
  };
  constexpr std::size_t npos = std::string::npos;
  const std::string ascii(200, 'a');
  const Row rows[] = {{"", npos},
                      {ascii, npos},
                      {"é€😀", npos},
                      {"\xF4\x8F\xBF\xBF", npos},
                      {"a\x80", 1},
                      {"\xC0\xAF", 0},
                      {"\xC1\xBF", 0},
                      {"\xE0\x9F\xBF", 0},
                      {"\xED\xA0\x80", 0},
                      {"\xF0\x8F\xBF\xBF", 0},
                      {"\xF4\x90\x80\x80", 0},
                      {"\xF5\x80\x80\x80", 0},
                      {"é\xE2\x82", 2},
                      {ascii + "\xE2\x82" + "b", 200},
                      {ascii + "é\xFF", 202}};
  for (const Row& row : rows) EXPECT_EQ(FindInvalidUtf8(row.text), row.at) << row.text;
}

TEST(TextReader, TheMissingCodeIsANumberThatTheColumnDoesNotHold) {
  const Reading read = ReadText("a,b,c,d\n-9999,-9999,,-9999.5\n,-99999.0,,-99999\n1,,,-9998\n");
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(read.table.At(1).missingCode, -99999);
  EXPECT_EQ(read.table.At(2).missingCode, -999999);
  EXPECT_EQ(read.table.At(3).missingCode, -9999);
  EXPECT_EQ(read.table.At(4).missingCode, -9999);
  EXPECT_EQ(Cells(read.table, 1), (Numbers{-9999, -99999, 1}));
  EXPECT_EQ(Cells(read.table, 2), (Numbers{-9999, -99999, -999999}));
}

TEST(TextReader, ATableKnowsTooManyCategories) {
  for (int texts : {500, 501}) {
    std::string content = "t,x\n";
    for (int i = 0; i < texts; ++i) content += "text " + std::to_string(i) + ",1\n";
    const Reading read = ReadText(content);
    EXPECT_EQ(read.table.At(1).distinctTexts, static_cast<std::size_t>(texts));
    EXPECT_EQ(read.table.HasTooManyCategories(1), texts > 500);
    EXPECT_FALSE(read.table.HasTooManyCategories(2));
  }
}

// Row counts and sums were computed from the files with exact fractions in another language; for a
// text column the sum is that of its codes.
TEST(ExampleFiles, HaveTheirKnownSums) {
  struct Row {
    const char* file;
    int cases;
    const char* variable;
    int missing;
    double sum;
    std::size_t labels;
  };
  const Row rows[] = {
      {"airquality.csv", 153, "Ozone", 37, 4887, 0},
      {"airquality.csv", 153, "Solar.R", 7, 27146, 0},
      {"airquality.csv", 153, "Wind", 0, 1523.5, 0},
      {"biopsy.csv", 699, "ID", 0, 749121165, 0},
      {"biopsy.csv", 699, "V6", 16, 2421, 0},
      {"biopsy.csv", 699, "class", 0, 940, 2},
      {"birthwt.csv", 189, "bwt", 0, 556527, 0},
      {"birthwt.csv", 189, "race", 0, 349, 0},
      {"cars93.csv", 93, "Price", 0, 1814.4, 0},
      {"cars93.csv", 93, "Rear.seat.room", 2, 2532.5, 0},
      {"cars93.csv", 93, "Luggage.room", 11, 1139, 0},
      {"cars93.csv", 93, "Cylinders", 0, 272, 6},
      {"cars93.csv", 93, "Make", 0, 4371, 93},
      {"fgl.csv", 214, "RI", 0, 78.2, 0},
      {"fgl.csv", 214, "Si", 0, 15547.3, 0},
      {"fgl.csv", 214, "type", 0, 972, 6},
      {"iris.csv", 150, "Sepal.Length", 0, 876.5, 0},
      {"iris.csv", 150, "Petal.Width", 0, 179.9, 0},
      {"iris.csv", 150, "Species", 0, 300, 3},
      {"mtcars.csv", 32, "wt", 0, 102.952, 0},
      {"mtcars.csv", 32, "model", 0, 528, 32},
      {"pima.csv", 532, "ped", 0, 267.578, 0},
      {"pima.csv", 532, "type", 0, 709, 2},
      {"quine.csv", 146, "Days", 0, 2403, 0},
      {"quine.csv", 146, "Age", 0, 371, 4},
      {"titanic.csv", 32, "Freq", 0, 2201, 0},
      {"titanic.csv", 32, "Class", 0, 80, 4},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.file) + " " + row.variable);
    const Reading read = ReadPath(std::string(kExamples) + "/" + row.file);
    ASSERT_TRUE(read.ok) << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(table.NumberOfCases(), row.cases);
    const int variable = table.FindVariable(row.variable);
    ASSERT_NE(variable, 0);
    int missing = 0;
    double sum = 0;
    for (double cell : Cells(table, variable)) {
      cell == table.At(variable).missingCode ? void(++missing) : void(sum += cell);
    }
    EXPECT_EQ(missing, row.missing);
    EXPECT_NEAR(sum, row.sum, 1e-9);
    EXPECT_EQ(table.At(variable).labels.size(), row.labels);
  }
}

}  // namespace
}  // namespace qrvml
