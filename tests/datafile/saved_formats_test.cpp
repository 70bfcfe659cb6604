// Every format that data files are saved in, read back.
#include <zip.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <pugixml.hpp>
#include <random>

extern "C" {
#include <readstat.h>
}

#include "datafile/data_file_writer.h"
#include "datafile/saved_files.h"
#include "datafile/saved_names.h"

namespace qrvml {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

SavedVariable Named(const std::string& name) {
  SavedVariable variable;
  variable.about.name = name;
  return variable;
}

/// One variable of each kind.
std::vector<SavedVariable> Kinds() {
  std::vector<SavedVariable> kinds;
  for (const char* name : {"x", "sexe", "âge en années", "jour", "heure", "quand"})
    kinds.push_back(Named(name));
  kinds[1].about.labels = {{2, "Homme"}, {1, "Femme, =1"}};
  kinds[1].about.wasText = true;
  kinds[1].asText = true;
  kinds[2].about.longName = "Âge à l'entrée";
  kinds[2].about.missingCode = 99;
  kinds[2].about.labels = {{98, "98 et plus"}};
  kinds[3].about.format = DisplayFormat::date;
  kinds[4].about.format = DisplayFormat::time;
  kinds[5].about.format = DisplayFormat::dateTime;
  return kinds;
}

const std::vector<std::vector<double>> kRows = {
    {0.1, 1, 98, 45322, 0.5, 45322.75},  // 2024-01-31, 12:00, 18:00
    {-9999, 2, 99, -9999, -9999, -9999},
    {-1e300, -9999, 7.5, 2, 0.25, 25569},
};

std::vector<std::string> Save(const std::string& path, std::vector<SavedVariable> variables,
                              const std::vector<std::vector<double>>& rows) {
  DataFileWriter writer;
  FileError error;
  EXPECT_TRUE(writer.Begin(path, false, std::move(variables), error)) << error.Text();
  for (const std::vector<double>& row : rows)
    EXPECT_TRUE(writer.Append(row, error)) << error.Text();
  EXPECT_TRUE(writer.Finish(error)) << error.Text();
  return writer.Warnings();
}

using Lines = std::vector<std::string>;

TEST(SavedQrv, HoldsEverythingThatIsKnownOfTheVariables) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.qrv");
  EXPECT_EQ(Save(path, Kinds(), kRows), Lines());
  EXPECT_EQ(Query("FROM f.qrv", path), Lines{"1"});
  EXPECT_EQ(Query("FROM f.variables", path),
            (Lines{"1|x||-9999.0|number|false", "2|sexe||-9999.0|number|true",
                   "3|âge en années|Âge à l'entrée|99.0|number|false", "4|jour||-9999.0|date|false",
                   "5|heure||-9999.0|time|false", "6|quand||-9999.0|datetime|false"}));
  EXPECT_EQ(Query("FROM f.labels", path),
            (Lines{"2|1.0|Femme, =1", "2|2.0|Homme", "3|98.0|98 et plus"}));
  EXPECT_EQ(Query("FROM f.cases", path),
            (Lines{"0.1|1.0|98.0|45322.0|0.5|45322.75", "NULL|2.0|NULL|NULL|NULL|NULL",
                   "-1e+300|NULL|7.5|2.0|0.25|25569.0"}));
  EXPECT_EQ(folder.Names(), "d.qrv");
}

TEST(SavedCsv, HasTextsEmptyMissingCellsAndGuardedFormulas) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.csv");
  std::vector<SavedVariable> kinds = Kinds();
  kinds[1].about.labels[0].text = "=\"H\"";
  const Lines warnings = Save(path, kinds, kRows);
  EXPECT_EQ(Content(path),
            "x,sexe,âge en années,jour,heure,quand\n"
            "0.1,\"Femme, =1\",98,2024-01-31,12:00:00,2024-01-31 18:00:00\n"
            ",\"'=\"\"H\"\"\",,,,\n"
            "-1e+300,,7.5,1900-01-01,06:00:00,1970-01-01 00:00:00\n");
  EXPECT_EQ(warnings,
            (Lines{"a .csv file does not hold the labels of \"âge en années\"",
                   "a .csv file does not hold the long names of \"âge en années\"",
                   "a .csv file does not hold the missing-data codes (their cells are empty) of "
                   "\"âge en années\"",
                   "texts of \"sexe\" that a spreadsheet program would take for formulas have an "
                   "apostrophe before them"}));
}

TEST(SavedCsv, ALoneMissingCellIsNoEmptyLine) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.CSV");
  Save(path, {Named("a")}, {{1}, {kMissing}, {100000}});
  EXPECT_EQ(Content(path), "a\n1\n\"\"\n100000\n");
}

TEST(SavedParquet, HasTypesForTextsDatesAndTimes) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.parquet");
  Save(path, Kinds(), kRows);
  EXPECT_EQ(Query("FROM '" + path + "'"),
            (Lines{"0.1|Femme, =1|98.0|2024-01-31|12:00:00|2024-01-31 18:00:00",
                   "NULL|Homme|NULL|NULL|NULL|NULL",
                   "-1e+300|NULL|7.5|1900-01-01|06:00:00|1970-01-01 00:00:00"}));
  EXPECT_EQ(Query("SELECT column_name, column_type FROM (DESCRIBE FROM '" + path + "')"),
            (Lines{"x|DOUBLE", "sexe|VARCHAR", "âge en années|DOUBLE", "jour|DATE", "heure|TIME",
                   "quand|TIMESTAMP"}));
}

TEST(SavedParquet, DatesThatFitNoDateTypeAreToldAndNamesDifferInMoreThanCase) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.parquet");
  std::vector<SavedVariable> variables = {Named("a"), Named("A"), Named("A (2)")};
  variables[0].about.format = DisplayFormat::date;
  variables[1].about.format = DisplayFormat::time;
  variables[2].about.format = DisplayFormat::date;
  const Lines warnings = Save(path, variables, {{45322.5, 1.5, 1e9}, {kMissing, 0.5, 1}});
  EXPECT_EQ(Query("FROM '" + path + "'"),
            (Lines{"2024-01-31 12:00:00|1.5|1000000000.0", "NULL|0.5|1.0"}));
  EXPECT_EQ(Query("SELECT column_name FROM (DESCRIBE FROM '" + path + "')"),
            (Lines{"a", "A (3)", "A (2)"}));
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0], "names were made fit for the format: \"A\" is A (3)");
  EXPECT_NE(warnings[1].find("\"A\" and \"A (2)\" are numbers of days"), std::string::npos);
}

/// A .sav file as its library reads it.
struct SavContent {
  Lines names, labels, formats;
  std::vector<std::map<double, std::string>> texts;  // by variable
  std::vector<double> missing;                       // first missing-data code, NaN: none
  std::vector<std::vector<double>> rows;
  std::map<std::string, std::map<double, std::string>> sets;
};

SavContent ReadSav(const std::string& path) {
  SavContent content;
  readstat_parser_t* parser = readstat_parser_init();
  readstat_set_value_label_handler(
      parser, [](const char* set, readstat_value_t value, const char* label, void* context) {
        static_cast<SavContent*>(context)->sets[set][readstat_double_value(value)] = label;
        return int{READSTAT_HANDLER_OK};
      });
  readstat_set_variable_handler(
      parser, [](int, readstat_variable_t* variable, const char* set, void* context) {
        auto& to = *static_cast<SavContent*>(context);
        const auto text = [](const char* c) { return std::string(c != nullptr ? c : ""); };
        to.names.push_back(text(readstat_variable_get_name(variable)));
        to.labels.push_back(text(readstat_variable_get_label(variable)));
        to.formats.push_back(text(readstat_variable_get_format(variable)));
        to.texts.push_back(set != nullptr ? to.sets[set] : std::map<double, std::string>());
        to.missing.push_back(
            readstat_variable_get_missing_ranges_count(variable) == 0
                ? kMissing
                : readstat_double_value(readstat_variable_get_missing_range_lo(variable, 0)));
        return int{READSTAT_HANDLER_OK};
      });
  readstat_set_value_handler(
      parser, [](int row, readstat_variable_t*, readstat_value_t value, void* context) {
        auto& to = *static_cast<SavContent*>(context);
        to.rows.resize(static_cast<std::size_t>(row) + 1);
        to.rows.back().push_back(
            readstat_value_is_system_missing(value) ? kMissing : readstat_double_value(value));
        return int{READSTAT_HANDLER_OK};
      });
  EXPECT_EQ(readstat_parse_sav(parser, path.c_str(), &content), READSTAT_OK);
  readstat_parser_free(parser);
  return content;
}

TEST(SavedSav, HoldsLabelsMissingCodesAndDatesInSeconds) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.sav");
  const Lines warnings = Save(path, Kinds(), kRows);
  const SavContent read = ReadSav(path);
  EXPECT_EQ(read.names, (Lines{"x", "sexe", "âge_en_années", "jour", "heure", "quand"}));
  EXPECT_EQ(read.labels, (Lines{"", "", "âge en années", "", "", ""}));
  EXPECT_EQ(read.texts[1], (std::map<double, std::string>{{1, "Femme, =1"}, {2, "Homme"}}));
  EXPECT_EQ(read.texts[2], (std::map<double, std::string>{{98, "98 et plus"}}));
  EXPECT_EQ(read.formats[3], "DATE11");
  EXPECT_EQ(read.formats[4], "TIME8");
  EXPECT_EQ(read.formats[5], "DATETIME20");
  EXPECT_EQ(read.missing[0], -9999);
  EXPECT_EQ(read.missing[2], 99);
  // 2024-01-31 00:00 is the second 1706659200 of 1970, which began 12219379200 after 1582-10-14.
  constexpr double kDay = 1706659200.0 + 12219379200.0;
  ASSERT_EQ(read.rows.size(), 3u);
  EXPECT_EQ(read.rows[0], (std::vector<double>{0.1, 1, 98, kDay, 43200, kDay + 64800}));
  EXPECT_EQ(read.rows[1][0], -9999);
  EXPECT_EQ(read.rows[1][2], 99);
  for (const int date : {3, 4, 5}) EXPECT_TRUE(std::isnan(read.rows[1][date]));
  EXPECT_EQ(read.rows[2][0], -1e300);
  EXPECT_EQ(read.rows[2][1], -9999);
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0], "names were made fit for the format: \"âge en années\" is âge_en_années");
  EXPECT_NE(warnings[1].find("the place of the long names of \"âge en années\""),
            std::string::npos);
}

TEST(SavedSav, LabelsAreCutBetweenCharacters) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.sav");
  std::string text;
  for (int i = 0; i < 200; ++i) text += "é";
  std::vector<SavedVariable> variables = {Named("a")};
  variables[0].about.longName = text;
  variables[0].about.labels = {{1, "x" + text}};
  const Lines warnings = Save(path, variables, {{1}});
  const SavContent read = ReadSav(path);
  EXPECT_EQ(read.labels[0], text.substr(0, 254));
  EXPECT_EQ(read.texts[0].at(1), ("x" + text).substr(0, 119));
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings[0].find("cut"), std::string::npos);
}

TEST(SavNames, AreLegalUniqueAndAtMost64Bytes) {
  const std::string e63 = std::string(63, 'e'), e64 = e63 + 'e';
  const std::vector<std::pair<std::string, std::string>> kNames = {
      {"Sepal.Length", "Sepal.Length"},
      {"Espèce, Prévisions", "Espèce__Prévisions"},
      {"a b", "a_b_2"},  // the legal one below keeps its name
      {"a_b", "a_b"},
      {"A_B", "A_B_3"},
      {"1er", "V_1er"},
      {"_x", "V__x"},
      {"$x", "V_$x"},
      {"@x", "@x"},
      {"été", "été"},
      {"with", "with_"},
      {"end.", "end_"},
      {"tab\there\u00A0x", "tab_here_x"},
      {e63 + "é", e63},
      {e64, e64},
      {e64 + "1", std::string(62, 'e') + "_2"},
  };
  std::vector<SavedVariable> variables;
  for (const auto& [name, made] : kNames) variables.push_back(Named(name));
  const Lines names = SavNames(variables);
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(names[i], kNames[i].second);
  // The library that writes the format has the same opinion of what is legal.
  TemporaryFolder folder;
  const std::string path = folder.File("d.sav");
  Save(path, variables, {std::vector<double>(variables.size(), 1)});
  EXPECT_EQ(ReadSav(path).names, names);
}

/// The cells of a workbook's only sheet by address, as text; a text has a quote before it.
std::map<std::string, std::string> ReadXlsx(const std::string& path) {
  std::map<std::string, std::string> cells;
  zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
  EXPECT_NE(archive, nullptr);
  if (archive == nullptr) return cells;
  zip_stat_t about;
  EXPECT_EQ(zip_stat(archive, "xl/worksheets/sheet1.xml", 0, &about), 0);
  std::string text(about.size, ' ');
  zip_file_t* file = zip_fopen(archive, "xl/worksheets/sheet1.xml", 0);
  EXPECT_EQ(zip_fread(file, text.data(), text.size()), static_cast<zip_int64_t>(text.size()));
  zip_fclose(file);
  zip_discard(archive);
  pugi::xml_document sheet;
  EXPECT_TRUE(sheet.load_string(text.c_str(), pugi::parse_default | pugi::parse_ws_pcdata));
  for (const pugi::xml_node row : sheet.child("worksheet").child("sheetData")) {
    for (const pugi::xml_node cell : row) {
      const bool isText = std::strcmp(cell.attribute("t").value(), "inlineStr") == 0;
      cells[cell.attribute("r").value()] =
          isText ? '\'' + std::string(cell.child("is").child("t").text().get())
                 : std::string(cell.child("v").text().get()) +
                       (cell.attribute("s").as_int() > 0 ? " styled" : "");
    }
  }
  return cells;
}

TEST(SavedXlsx, HasNumbersTextsAndDatesAsCells) {
  TemporaryFolder folder;
  const std::string path = folder.File("d.xlsx");
  std::vector<SavedVariable> kinds = Kinds();
  kinds[1].about.labels[0].text = "=_x0041_";
  const Lines warnings = Save(path, kinds, kRows);
  EXPECT_EQ(ReadXlsx(path), (std::map<std::string, std::string>{{"A1", "'x"},
                                                                {"B1", "'sexe"},
                                                                {"C1", "'âge en années"},
                                                                {"D1", "'jour"},
                                                                {"E1", "'heure"},
                                                                {"F1", "'quand"},
                                                                {"A2", "0.1"},
                                                                {"B2", "'Femme, =1"},
                                                                {"C2", "98"},
                                                                {"D2", "45322 styled"},
                                                                {"E2", "0.5 styled"},
                                                                {"F2", "45322.75 styled"},
                                                                {"B3", "'=_x005F_x0041_"},
                                                                {"A4", "-1E+300"},
                                                                {"C4", "7.5"},
                                                                {"D4", "'1900-01-01"},
                                                                {"E4", "0.25 styled"},
                                                                {"F4", "25569 styled"}}));
  EXPECT_EQ(warnings.size(), 3u);  // labels, long names, missing-data codes
  EXPECT_EQ(folder.Names(), "d.xlsx");
}

TEST(SavedXlsx, MoreCasesThanASheetHoldsAreRefused) {
  TemporaryFolder folder;
  DataFileWriter writer;
  FileError error;
  ASSERT_TRUE(writer.Begin(folder.File("d.xlsx"), false, {Named("a")}, error));
  for (int i = 0; i < 1'048'575; ++i) ASSERT_TRUE(writer.Append({{kMissing}}, error));
  EXPECT_FALSE(writer.Append({{1.0}}, error));
  EXPECT_NE(error.Text().find("at most 1,048,576 rows"), std::string::npos) << error.Text();
  EXPECT_EQ(folder.Names(), "");
}

TEST(SavedXlsx, NumbersThatLoseADigitAreTold) {
  TemporaryFolder folder;
  EXPECT_EQ(Save(folder.File("a.xlsx"), {Named("a"), Named("b")}, {{0.1, 1e15}, {123456789, 0.5}}),
            Lines());
  EXPECT_EQ(Save(folder.File("b.xlsx"), {Named("a"), Named("b")}, {{0.1, 0.1 + 0.2}}),
            Lines{"numbers of \"b\" are rounded to 16 digits"});
}

TEST(SavedXlsx, CasesThatLeaveTheirRowEmptyAreTold) {
  TemporaryFolder folder;
  const Lines warnings = Save(folder.File("d.xlsx"), {Named("a"), Named("b")},
                              {{kMissing, -9999}, {1, kMissing}, {kMissing, kMissing}});
  EXPECT_EQ(ReadXlsx(folder.File("d.xlsx")),
            (std::map<std::string, std::string>{{"A1", "'a"}, {"B1", "'b"}, {"A3", "1"}}));
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].substr(0, 17), "2 rows are empty,");
}

TEST(SavedNumbers, KeepEveryBit) {
  std::mt19937_64 random(7);
  std::vector<double> values = {5e-324, 1.797693134862315e308, -0.0, 1e22, 123456789012345680.0};
  while (values.size() < 5000) {
    const std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value)) values.push_back(value);
  }
  std::vector<std::vector<double>> rows;
  for (const double value : values) rows.push_back({value});
  const auto same = [](double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; };

  TemporaryFolder folder;
  for (const char* name : {"d.csv", "d.sav", "d.qrv", "d.parquet"})
    Save(folder.File(name), {Named("a")}, rows);
  std::ifstream csv(folder.File("d.csv"));
  std::string line;
  std::getline(csv, line);
  const SavContent sav = ReadSav(folder.File("d.sav"));
  const Lines qrv = Query("SELECT CAST(v1 AS VARCHAR) FROM f.cases", folder.File("d.qrv"));
  const Lines parquet = Query("SELECT CAST(a AS VARCHAR) FROM '" + folder.File("d.parquet") + "'");
  ASSERT_EQ(sav.rows.size(), values.size());
  ASSERT_EQ(qrv.size(), values.size());
  ASSERT_EQ(parquet.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_TRUE(std::getline(csv, line));
    EXPECT_TRUE(same(std::strtod(line.c_str(), nullptr), values[i])) << line;
    EXPECT_TRUE(same(sav.rows[i][0], values[i])) << values[i];
    EXPECT_TRUE(same(std::strtod(qrv[i].c_str(), nullptr), values[i])) << qrv[i];
    EXPECT_TRUE(same(std::strtod(parquet[i].c_str(), nullptr), values[i])) << parquet[i];
  }
}

TEST(SavedNumbers, InfinityIsToldWhereAFormatMayNotKeepIt) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  TemporaryFolder folder;
  Save(folder.File("d.csv"), {Named("a")}, {{kInfinity}, {-kInfinity}});
  EXPECT_EQ(Content(folder.File("d.csv")), "a\ninf\n-inf\n");
  Save(folder.File("d.qrv"), {Named("a")}, {{kInfinity}, {-kInfinity}});
  EXPECT_EQ(Query("FROM f.cases", folder.File("d.qrv")), (Lines{"inf", "-inf"}));
  Save(folder.File("d.xlsx"), {Named("a")}, {{kInfinity}});
  EXPECT_EQ(ReadXlsx(folder.File("d.xlsx"))["A2"], "'inf");
  EXPECT_EQ(Save(folder.File("d.sav"), {Named("a"), Named("b")}, {{-kInfinity, 1}}),
            Lines{"numbers that are infinite or the largest of all may be read as missing: \"a\""});
  EXPECT_EQ(ReadSav(folder.File("d.sav")).rows[0][0], -kInfinity);
}

}  // namespace
}  // namespace qrvml
