// Files of SPSS, SAS and Stata, written by ReadStat's own writers.
extern "C" {
#include <readstat.h>
}

#include <functional>
#include <limits>
#include <sstream>

#include "cli/data_command.h"
#include "datafile/format_files.h"
#include "datafile/statistics_dates.h"

namespace qrvml {
namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;
using BeginFunction = readstat_error_t (*)(readstat_writer_t*, void*, long);

/// A file in work: variables and label tables first, then Begin, then rows.
class StatisticsWriter {
 public:
  explicit StatisticsWriter(const std::string& path)
      : stream_(path, std::ios::binary), writer_(readstat_writer_init()) {
    readstat_set_data_writer(writer_, [](const void* data, size_t bytes, void* context) {
      static_cast<std::ostream*>(context)->write(static_cast<const char*>(data),
                                                 static_cast<std::streamsize>(bytes));
      return static_cast<ssize_t>(bytes);
    });
  }
  StatisticsWriter(const StatisticsWriter&) = delete;
  StatisticsWriter& operator=(const StatisticsWriter&) = delete;
  ~StatisticsWriter() {
    EXPECT_EQ(readstat_end_writing(writer_), READSTAT_OK);
    readstat_writer_free(writer_);
  }
  readstat_writer_t* Handle() { return writer_; }
  readstat_variable_t* Number(const char* name, const char* label = "", const char* format = "") {
    readstat_variable_t* variable = readstat_add_variable(writer_, name, READSTAT_TYPE_DOUBLE, 8);
    readstat_variable_set_label(variable, label);
    if (*format) readstat_variable_set_format(variable, format);
    return variable;
  }
  readstat_variable_t* Text(const char* name, size_t width) {
    return readstat_add_variable(writer_, name, READSTAT_TYPE_STRING, width);
  }
  readstat_label_set_t* Labels(const char* name,
                               const std::vector<std::pair<double, const char*>>& labels) {
    readstat_label_set_t* set = readstat_add_label_set(writer_, READSTAT_TYPE_DOUBLE, name);
    for (const auto& [code, text] : labels) readstat_label_double_value(set, code, text);
    return set;
  }
  void Begin(BeginFunction begin, long rows) {
    ASSERT_EQ(begin(writer_, static_cast<std::ostream*>(&stream_), rows), READSTAT_OK);
  }
  /// The cells of a row; a null text or a NaN is missing.
  struct Cell {
    Cell(double value) : number(value) {}
    Cell(int value) : number(value) {}
    Cell(const char* value) : isText(true), text(value) {}
    bool isText = false;
    double number = 0;
    const char* text = nullptr;
  };
  void Row(const std::vector<Cell>& cells) {
    ASSERT_EQ(readstat_begin_row(writer_), READSTAT_OK);
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const readstat_variable_t* variable = readstat_get_variable(writer_, static_cast<int>(i));
      const Cell& cell = cells[i];
      readstat_error_t error = READSTAT_OK;
      if (cell.isText) {
        error = readstat_insert_string_value(writer_, variable, cell.text);
      } else if (std::isnan(cell.number)) {
        error = readstat_insert_missing_value(writer_, variable);
      } else {
        error = readstat_insert_double_value(writer_, variable, cell.number);
      }
      ASSERT_EQ(error, READSTAT_OK) << readstat_error_message(error);
    }
    ASSERT_EQ(readstat_end_row(writer_), READSTAT_OK);
  }

 private:
  std::ofstream stream_;
  readstat_writer_t* writer_;
};

const double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kSpssDay2000 = 13166064000;  // seconds from 1582-10-14 to 2000-01-01

void WriteSav(const std::string& path, readstat_compress_t compression) {
  StatisticsWriter file(path);
  readstat_writer_set_compression(file.Handle(), compression);
  readstat_label_set_t* answers =
      file.Labels("answers", {{99, "refused"}, {2, "oui, déjà"}, {1, "non"}, {98, "don't know"}});
  readstat_variable_t* answer = file.Number("Réponse_à_la_question", "Déjà vu ?");
  readstat_variable_set_label_set(answer, answers);
  readstat_variable_add_missing_double_value(answer, 99);
  readstat_variable_add_missing_double_value(answer, 98);
  readstat_variable_t* income = file.Number("Income");
  readstat_variable_add_missing_double_range(income, 900, 999);
  file.Text("town", 12);
  file.Text("remark", 300);
  file.Number("day", "", "DATE11");
  file.Number("moment", "", "DATETIME20");
  file.Number("clock", "", "TIME8");
  readstat_variable_t* weight = file.Number("w");
  readstat_writer_set_fweight_variable(file.Handle(), weight);
  readstat_add_note(file.Handle(), "made by a test");
  const std::string longText = std::string(270, 'x') + "y";
  file.Begin(readstat_begin_writing_sav, 4);
  file.Row({1, 0.5, "Zürich", longText.c_str(), kSpssDay2000, kSpssDay2000 + 43200, 21600, 1});
  file.Row({99, 900, "  ", "", kNone, kNone, kNone, 2});
  file.Row({98, 999, "Bern", longText.c_str(), kSpssDay2000 - 36526 * 86400.0, kNone, 0, 0.5});
  file.Row({kNone, -9999, "Aarau", "a", kSpssDay2000 + 86400, kNone, 90000, kNone});
}

TEST(StatisticsReader, SpssLabelsMissingCodesDatesAndTextsComeBack) {
  for (const char* name : {"plain.sav", "rows.sav", "all.zsav"}) {
    const TemporaryPath file(name);
    WriteSav(file.Text(), name[0] == 'p'   ? READSTAT_COMPRESS_NONE
                          : name[0] == 'r' ? READSTAT_COMPRESS_ROWS
                                           : READSTAT_COMPRESS_BINARY);
    const Reading read = ReadPath(file.Text());
    ASSERT_TRUE(read.ok) << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(Names(table), (Texts{"Réponse_à_la_question", "Income", "town", "remark", "day",
                                   "moment", "clock", "w"}));
    EXPECT_EQ(table.At(1).longName, "Déjà vu ?");
    EXPECT_EQ(ShownLabels(table, 1), "1=non 2=oui, déjà 99=refused");
    EXPECT_EQ(table.At(1).missingCode, 99);
    EXPECT_EQ(Cells(table, 1), (Numbers{1, 99, 99, 99}));
    EXPECT_EQ(table.At(2).missingCode, -99999) << "a range has no code of its own";
    EXPECT_EQ(Cells(table, 2), (Numbers{0.5, -99999, -99999, -9999}));
    EXPECT_EQ(Labels(table, 3), (Texts{"Aarau", "Bern", "Zürich"}));
    EXPECT_EQ(Cells(table, 3), (Numbers{3, -9999, 2, 1}));
    EXPECT_EQ(Labels(table, 4), (Texts{"a", std::string(270, 'x') + "y"}));
    EXPECT_EQ(Cells(table, 5), (Numbers{36526, -9999, 0, 36527}));
    EXPECT_EQ(table.At(5).format, DisplayFormat::date);
    EXPECT_EQ(ValueAsText(table, 6, table.Value(1, 6)), "2000-01-01 12:00:00");
    EXPECT_EQ(Cells(table, 7), (Numbers{0.25, -9999, 0, 90000 / 86400.0}));
    EXPECT_EQ(table.At(7).format, DisplayFormat::time);
    EXPECT_EQ(Cells(table, 8), (Numbers{1, 2, 0.5, -9999}));
    EXPECT_EQ(
        table.Notes(),
        (Texts{"Réponse_à_la_question: its user-missing values 98 \"don't know\" become its "
               "missing-data code (1 cell)",
               "Income: its user-missing values 900 to 999 become its missing-data code (2 cells)",
               "The file weights its cases by w; the weight is not in force unless it is chosen",
               "The documents in the file are not kept"}));
  }
}

TEST(StatisticsReader, UserMissingTextsOpenRangesAndLabelsOfTextsAreNoted) {
  const TemporaryPath path("texts.sav");
  {
    StatisticsWriter file(path.Text());
    readstat_label_set_t* sexes = readstat_add_label_set(file.Handle(), READSTAT_TYPE_STRING, "s");
    readstat_label_string_value(sexes, "M", "male");
    readstat_variable_t* sex = file.Text("sex", 2);
    readstat_variable_set_label_set(sex, sexes);
    readstat_variable_add_missing_string_value(sex, "NA");
    readstat_variable_t* x = file.Number("x");
    readstat_variable_add_missing_double_range(x, -HUGE_VAL, 0);
    readstat_variable_add_missing_double_value(x, 7);
    file.Begin(readstat_begin_writing_sav, 3);
    file.Row({"M", -3});
    file.Row({"NA", 7});
    file.Row({"F", 1});
  }
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Labels(read.table, 1), (Texts{"F", "M"}));
  EXPECT_EQ(Cells(read.table, 1), (Numbers{2, -9999, 1}));
  EXPECT_EQ(Cells(read.table, 2), (Numbers{7, 7, 1}));
  EXPECT_EQ(read.table.Notes(),
            (Texts{"sex: the labels that the file gives to its texts are not kept",
                   "sex: its user-missing values \"NA\" become its missing-data code (1 cell)",
                   "x: its user-missing values the lowest to 0 become its missing-data code (1 "
                   "cell)"}));
}

TEST(StatisticsReader, PortableFilesAreRead) {
  const TemporaryPath path("portable.por");
  {
    StatisticsWriter file(path.Text());
    readstat_variable_t* answer = file.Number("ANSWER", "What they said");
    readstat_variable_set_label_set(answer, file.Labels("labels0", {{1, "no"}, {2, "yes"}}));
    readstat_variable_add_missing_double_value(answer, 9);
    file.Text("TOWN", 8);
    file.Number("DAY", "", "DATE11");
    file.Begin(readstat_begin_writing_por, 3);
    file.Row({1, "Bern", kSpssDay2000});
    file.Row({9, "", kNone});
    file.Row({-0.125, "Aarau", kSpssDay2000});
  }
  for (const char* name : {"", "other.dat"}) {
    const TemporaryPath copy(*name ? name : "copy.por");
    WriteContent(copy.Text(), FileContent(path.Text()));
    const Reading read = ReadPath(copy.Text());
    ASSERT_TRUE(read.ok) << read.error.Text();
    EXPECT_EQ(Names(read.table), (Texts{"ANSWER", "TOWN", "DAY"}));
    EXPECT_EQ(read.table.At(1).longName, "What they said");
    EXPECT_EQ(ShownLabels(read.table, 1), "1=no 2=yes");
    EXPECT_EQ(Cells(read.table, 1), (Numbers{1, 9, -0.125}));
    EXPECT_EQ(ShownCells(read.table, 2), "Bern . Aarau");
    EXPECT_EQ(ShownCells(read.table, 3), "2000-01-01 . 2000-01-01");
  }
}

TEST(StatisticsReader, RepeatedCharactersInTheTableOfAPortableFileStandForNothing) {
  const TemporaryPath path("portable.por");
  {
    StatisticsWriter file(path.Text());
    file.Number("X", "");
    file.Begin(readstat_begin_writing_por, 2);
    file.Row({1850.25});
    file.Row({-7});
  }
  // Raised digits and a second hyphen, as other programs write them.
  std::string content = FileContent(path.Text());
  std::size_t at = 0;
  for (char& c : content) {
    if (c == '\r' || c == '\n') continue;
    if (at >= 368 && at < 377) c = static_cast<char>('1' + (at - 368));
    if (at == 380) c = '-';
    ++at;
  }
  WriteContent(path.Text(), content);
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Cells(read.table, 1), (Numbers{1850.25, -7}));
}

TEST(StatisticsReader, StataLabelsTaggedMissingValuesAndPeriodsComeBack) {
  for (const int version : {108, 114, 117, 118}) {
    const TemporaryPath path("file.dta");
    {
      StatisticsWriter file(path.Text());
      readstat_writer_set_file_format_version(file.Handle(), static_cast<uint8_t>(version));
      readstat_label_set_t* set =
          readstat_add_label_set(file.Handle(), READSTAT_TYPE_INT32, "yesno");
      readstat_label_int32_value(set, 1, "yes");
      readstat_label_int32_value(set, 0, "no");
      readstat_variable_t* answer =
          readstat_add_variable(file.Handle(), "Answer", READSTAT_TYPE_INT8, 1);
      readstat_variable_set_label_set(answer, set);
      readstat_variable_set_label(answer, "Said so");
      file.Text("town", 10);
      file.Number("day", "", "%td");
      file.Number("month", "", "%tm");
      readstat_add_variable(file.Handle(), "f", READSTAT_TYPE_FLOAT, 4);
      file.Begin(readstat_begin_writing_dta, 3);
      const auto row = [&](int answered, char tag, const char* town, double day, double month) {
        const auto at = [&](int i) { return readstat_get_variable(file.Handle(), i); };
        readstat_begin_row(file.Handle());
        if (tag) {
          readstat_insert_tagged_missing_value(file.Handle(), at(0), tag);
        } else {
          readstat_insert_int8_value(file.Handle(), at(0), static_cast<int8_t>(answered));
        }
        readstat_insert_string_value(file.Handle(), at(1), town);
        std::isnan(day) ? readstat_insert_missing_value(file.Handle(), at(2))
                        : readstat_insert_double_value(file.Handle(), at(2), day);
        readstat_insert_double_value(file.Handle(), at(3), month);
        readstat_insert_float_value(file.Handle(), at(4), 0.1f);
        readstat_end_row(file.Handle());
      };
      const bool tags = version > 112;
      row(1, 0, "Bern", 0, 0);
      row(0, tags ? 'b' : 0, "", kNone, -1);
      row(0, tags ? 'a' : 0, "Aarau", 14610, 480);
    }
    const Reading read = ReadPath(path.Text());
    ASSERT_TRUE(read.ok) << version << ": " << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(Names(table), (Texts{"Answer", "town", "day", "month", "f"})) << version;
    EXPECT_EQ(table.At(1).longName, "Said so");
    EXPECT_EQ(ShownLabels(table, 1), "0=no 1=yes") << version;
    EXPECT_EQ(ShownCells(table, 2), "Bern . Aarau");
    EXPECT_EQ(ShownCells(table, 3), "1960-01-01 . 2000-01-01") << version;
    EXPECT_EQ(ShownCells(table, 4), "1960-01-01 1959-12-01 2000-01-01") << version;
    EXPECT_EQ(table.Value(1, 5), static_cast<double>(0.1f));
    if (version > 112) {
      EXPECT_EQ(Cells(table, 1), (Numbers{1, -9999, -9999}));
      EXPECT_EQ(table.Notes(),
                Texts{"Answer: its kinds of missing value .a, .b become its missing-data code"});
    } else {
      EXPECT_EQ(Cells(table, 1), (Numbers{1, 0, 0}));
    }
  }
}

TEST(StatisticsReader, SasFilesAreRead) {
  struct Row {
    const char* name;
    BeginFunction begin;
    int version;
  };
  const Row rows[] = {{"file.sas7bdat", readstat_begin_writing_sas7bdat, 9},
                      {"five.xpt", readstat_begin_writing_xport, 5},
                      {"eight.xpt", readstat_begin_writing_xport, 8}};
  for (const Row& row : rows) {
    const TemporaryPath path(row.name);
    {
      StatisticsWriter file(path.Text());
      readstat_writer_set_file_format_version(file.Handle(), static_cast<uint8_t>(row.version));
      file.Number("Height", "Height in cm");
      file.Text("town", 12);
      file.Number("day", "", "DATE9");
      file.Number("moment", "", "DATETIME20");
      file.Begin(row.begin, 3);
      file.Row({170.5, "Zürich", 0, 86400});
      file.Row({kNone, "", kNone, kNone});
      file.Row({-1e10, "Bern", 14610, 0});
    }
    const Reading read = ReadPath(path.Text());
    ASSERT_TRUE(read.ok) << row.name << read.error.Text();
    const DataTable& table = read.table;
    EXPECT_EQ(table.At(1).name, "Height") << row.name;
    EXPECT_EQ(table.At(1).longName, "Height in cm") << row.name;
    EXPECT_EQ(Cells(table, 1), (Numbers{170.5, -9999, -1e10})) << row.name;
    EXPECT_EQ(ShownCells(table, 2), "Zürich . Bern") << row.name;
    EXPECT_EQ(ShownCells(table, 3), "1960-01-01 . 2000-01-01") << row.name;
    EXPECT_EQ(Cells(table, 4), (Numbers{21917, -9999, 21916})) << row.name;
    EXPECT_EQ(table.At(4).format, DisplayFormat::dateTime);
  }
}

TEST(StatisticsReader, DisplayFormatsTellDatesFromNumbers) {
  struct Row {
    StatisticsPackage package;
    const char* format;
    double value, days;
    DisplayFormat shown;
  };
  constexpr auto spss = StatisticsPackage::spss;
  constexpr auto sas = StatisticsPackage::sas;
  constexpr auto stata = StatisticsPackage::stata;
  constexpr auto number = DisplayFormat::number;
  constexpr auto date = DisplayFormat::date;
  constexpr auto time = DisplayFormat::time;
  constexpr auto dateTime = DisplayFormat::dateTime;
  const Row rows[] = {
      {spss, "F8.2", 5, 5, number},
      {spss, "WKDAY9", 5, 5, number},
      {spss, "ADATE10", kSpssDay2000, 36526, date},
      {spss, "YMDHMS19", kSpssDay2000 + 21600, 36526.25, dateTime},
      {spss, "DTIME12.2", 86400 * 2.5, 2.5, time},
      {sas, "BEST12.", 5, 5, number},
      {sas, "DDMMYYS10.", 1, 21917, date},
      {sas, "YYMMDD10", -1, 21915, date},
      {sas, "E8601DA10.", 0, 21916, date},
      {sas, "datetime22.3", -43200, 21915.5, dateTime},
      {sas, "HHMM5.", 21600, 0.25, time},
      {stata, "%9.0g", 5, 5, number},
      {stata, "%-10s", 5, 5, number},
      {stata, "%dD_m_Y", 1, 21917, date},
      {stata, "%tc", 86400000, 21917, dateTime},
      {stata, "%-tdNN/DD/YY", 0, 21916, date},
      {stata, "%tw", 53, 22289, date},  // the second week of 1961: January 8
      {stata, "%tw", -1, 21908, date},  // week 52 of 1959: December 24
      {stata, "%tq", 3, 22190, date},   // 1960-10-01
      {stata, "%th", -1, 21732, date},  // 1959-07-01
      {stata, "%ty", 1999, 1999, number},
  };
  for (const Row& row : rows) {
    const DateRule rule = FindDateRule(row.package, row.format);
    EXPECT_EQ(rule.format, row.shown) << row.format;
    EXPECT_EQ(AsDays(rule, row.value), row.days) << row.format;
  }
}

// A .sav in which the bytes of a name are replaced by others of the same number.
std::string WithBytes(std::string content, const std::string& from, const std::string& to) {
  EXPECT_EQ(from.size(), to.size());
  std::size_t replaced = 0;
  for (std::size_t at = 0; (at = content.find(from, at)) != std::string::npos; at += to.size()) {
    content.replace(at, from.size(), to);
    ++replaced;
  }
  EXPECT_GT(replaced, 0u) << from;
  return content;
}

TEST(StatisticsReader, TextsThatDoNotFitTheFilesEncodingAreReadAsWindows1252) {
  const TemporaryPath path("cp1252.sav");
  {
    StatisticsWriter file(path.Text());
    readstat_variable_set_label(file.Text("town", 8), "où ?");  // stays UTF-8
    file.Begin(readstat_begin_writing_sav, 1);
    file.Row({"Z??rich"});
  }
  WriteContent(path.Text(), WithBytes(FileContent(path.Text()), "Z??rich", "Z\xFC\xDFrich"));
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Labels(read.table, 1), Texts{"Züßrich"});
  EXPECT_EQ(read.table.At(1).longName, "où ?");
  EXPECT_EQ(read.table.Notes(),
            Texts{"Not all of its texts fit the encoding that the file names; what is no valid "
                  "UTF-8 is read as Windows-1252"});
  ReadOptions options;
  options.encoding = TextEncoding::windows1252;
  const Reading named = ReadPath(path.Text(), options);
  ASSERT_TRUE(named.ok) << named.error.Text();
  EXPECT_EQ(Labels(named.table, 1), Texts{"Züßrich"});
  EXPECT_TRUE(named.table.Notes().empty());
  options.encoding = TextEncoding::utf8;
  EXPECT_FALSE(ReadPath(path.Text(), options).ok);
}

TEST(StatisticsReader, ANameThatStandsTwiceIsRefused) {
  const TemporaryPath path("twice.sav");
  {
    StatisticsWriter file(path.Text());
    file.Number("first");
    file.Number("secnd");
    file.Begin(readstat_begin_writing_sav, 1);
    file.Row({1, 2});
  }
  WriteContent(path.Text(), WithBytes(FileContent(path.Text()), "=secnd", "=first"));
  const Reading read = ReadPath(path.Text());
  EXPECT_FALSE(read.ok);
  EXPECT_EQ(read.error.what, "columns 1 and 2 have the same name \"first\"");
}

TEST(StatisticsReader, ALabelTableThatNamesNoVariableLabelsNone) {
  const TemporaryPath path("labels.sav");
  WriteSav(path.Text(), READSTAT_COMPRESS_NONE);
  ASSERT_FALSE(ReadPath(path.Text()).table.At(1).labels.empty());
  // The record of type 4 follows its labels: which variables they belong to, here the first.
  using namespace std::string_literals;
  const std::string belongs = "\4\0\0\0\1\0\0\0\1\0\0\0"s;
  WriteContent(path.Text(),
               WithBytes(FileContent(path.Text()), belongs, "\4\0\0\0\1\0\0\0\xFF\xFF\xFF\x7F"s));
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Cells(read.table, 1), (Numbers{1, 99, 99, 99}));
  for (int variable : {1, 2, 5, 6, 7, 8}) EXPECT_EQ(ShownLabels(read.table, variable), "");
  EXPECT_EQ(read.table.At(1).longName, "Déjà vu ?");
  EXPECT_EQ(ShownCells(read.table, 3), "Zürich . Bern Aarau");
}

TEST(StatisticsReader, AWeightVariableWithoutANameIsNotMentioned) {
  const TemporaryPath path("nameless.sav");
  WriteSav(path.Text(), READSTAT_COMPRESS_NONE);
  const std::string content = WithBytes(FileContent(path.Text()), "\tW=w", "\tV=w");
  WriteContent(path.Text(), WithBytes(content, "W       ", "        "));
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(read.table.At(8).name, "Var8");
  for (const std::string& note : read.table.Notes()) {
    EXPECT_EQ(note.find("weights"), std::string::npos) << note;
  }
}

TEST(StatisticsReader, DamagedFilesAreRefusedWithAReason) {
  for (const char* name : {"a.sav", "b.zsav"}) {
    const TemporaryPath path(name);
    WriteSav(path.Text(), name[0] == 'a' ? READSTAT_COMPRESS_NONE : READSTAT_COMPRESS_BINARY);
    ExpectEveryStartIsRefused(path.Text(), 60);
  }
  struct Row {
    const char* name;
    BeginFunction begin;
    std::size_t keep;  // bytes at the end that may be lost: padding, labels of no use
  };
  const Row rows[] = {{"c.dta", readstat_begin_writing_dta, 42},
                      {"d.sas7bdat", readstat_begin_writing_sas7bdat, 1},
                      {"e.por", readstat_begin_writing_por, 80}};
  for (const Row& row : rows) {
    const TemporaryPath path(row.name);
    {
      StatisticsWriter file(path.Text());
      file.Number("X");
      file.Text("T", 12);
      file.Begin(row.begin, 40);
      for (int i = 0; i < 40; ++i) file.Row({i, "text"});
    }
    ExpectEveryStartIsRefused(path.Text(), 60, row.keep);
  }
  for (const char* name : {"a.sav", "b.zsav", "d.sas7bdat", "f.xpt", "c.dta", "e.por"}) {
    const TemporaryPath path(name);
    WriteContent(path.Text(), "x,y\n1,2\n");
    const Reading read = ReadPath(path.Text());
    EXPECT_FALSE(read.ok) << name;
    EXPECT_FALSE(read.error.right.empty()) << name;
  }
}

TEST(StatisticsReader, TheShellShowsTheNotes) {
  const TemporaryPath path("noted.sav");
  WriteSav(path.Text(), READSTAT_COMPRESS_ROWS);
  DataCommandOptions options;
  options.open.path = path.Text();
  std::ostringstream out, err;
  EXPECT_EQ(RunDataCommand(options, out, err), 0) << err.str();
  EXPECT_NE(out.str().find("\nNote: The file weights its cases by w; the weight is not in force "
                           "unless it is chosen.\n"),
            std::string::npos)
      << out.str();
}

}  // namespace
}  // namespace qrvml
