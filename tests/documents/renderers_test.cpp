// Documents as text and JSON, against texts written by hand.
#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "documents/display_width.h"
#include "documents/json_renderer.h"
#include "documents/json_writer.h"
#include "documents/rendered.h"
#include "documents/text_renderer.h"
#include "documents/workbook.h"

namespace qrvml {
namespace {

SpreadsheetColumn Column(std::string first, std::string second, std::vector<double> values,
                         std::vector<CellLabel> labels = {}, std::vector<std::string> texts = {}) {
  return {std::move(first),  std::move(second), NumberFormat::general,
          std::move(values), std::move(labels), std::move(texts)};
}

SpreadsheetColumn Counts(std::string first, std::vector<double> values) {
  return {std::move(first), {}, NumberFormat::count, std::move(values), {}, {}};
}

template <class Write>
std::string Written(Write write) {
  return Rendered([&](std::ostream& out) {
    JsonWriter json(out);
    write(json);
  });
}

Spreadsheet Predictions() {
  Spreadsheet sheet;
  sheet.title = "Prévisions et résidus, sex";
  sheet.header = {"Plus proches voisins = 3"};
  sheet.rowTitle = "Obs.";
  sheet.rowTitleSecond = "Nom";
  sheet.rowNames = {"1", "Zoë"};
  sheet.columns = {
      Column("height", "Indépendante", {170.25, kEmptyCell}),
      Column("sex", "Prévues", {1, 2}, {{1, "Homme"}, {2, "Femme"}}),
      Column("sex", "Précision", {1, -9999}, {{1, "Incorrect", true}}),
      Counts("n", {12, 3}),
  };
  return sheet;
}

TEST(TextRenderer, ATableIsAlignedByWhatItTakesOnATerminal) {
  EXPECT_EQ(Rendered(WriteDocumentText, Predictions(), CaseNamer()),
            "Prévisions et résidus, sex\n"
            "Plus proches voisins = 3\n"
            "\n"
            "Obs.        height  sex              sex   n\n"
            "Nom   Indépendante  Prévues    Précision\n"
            "--------------------------------------------\n"
            "1           170.25  Homme    Incorrect *  12\n"
            "Zoë                 Femme        -9999     3\n");
}

TEST(TextRenderer, ASecondHeadingLineOnlyStandsWhereThereIsOne) {
  Spreadsheet sheet;
  sheet.title = "T";
  sheet.rowTitle = "Classe";
  sheet.rowNames = {"a", "b"};
  sheet.columns = {Counts("Total", {10, 200})};
  EXPECT_EQ(Rendered(WriteDocumentText, sheet, CaseNamer()),
            "T\n"
            "\n"
            "Classe  Total\n"
            "-------------\n"
            "a          10\n"
            "b         200\n");
}

TEST(TextRenderer, ATableWithoutRowsOrColumnsStillHasItsHead) {
  Spreadsheet sheet;
  sheet.title = "Empty";
  EXPECT_EQ(Rendered(WriteDocumentText, sheet, CaseNamer()), "Empty\n\n\n\n");
}

TEST(TextRenderer, ResultsAreTheirLines) {
  EXPECT_EQ(Rendered(WriteDocumentText, ResultsText{{"Variables:", "", " y\tz"}}, CaseNamer()),
            "Variables:\n\n y z\n");
}

TEST(TextRenderer, NumbersShowSixDigitsAndWholeNumbersAll) {
  const struct {
    double value;
    NumberFormat format;
    const char* text;
  } kCases[] = {
      {1.0 / 3, NumberFormat::general, "0.333333"},
      {5.1, NumberFormat::general, "5.1"},
      {1234567, NumberFormat::general, "1234567"},
      {1234567.5, NumberFormat::general, "1.23457e+06"},
      {1e15, NumberFormat::general, "1e+15"},
      {-9999, NumberFormat::general, "-9999"},
      {0, NumberFormat::general, "0"},
      {2.0000001, NumberFormat::count, "2"},
      {1e20, NumberFormat::count, "100000000000000000000"},
      {std::numeric_limits<double>::infinity(), NumberFormat::general, "inf"},
      {kEmptyCell, NumberFormat::general, ""},
      {kEmptyCell, NumberFormat::count, ""},
  };
  for (const auto& [value, format, text] : kCases) EXPECT_EQ(CellNumber(value, format), text);
}

TEST(Cells, ATextOfTheCellGoesBeforeTheLabelOfItsValue) {
  const SpreadsheetColumn column =
      Column("", "", {1, 2, 3, kEmptyCell, 1}, {{1, "one"}, {3, "three", true}},
             {"", "two", "", "", "own"});
  const struct {
    const char* text;
    bool marked;
  } kExpected[] = {{"one", false}, {"two", false}, {"three", true}, {"", false}, {"own", false}};
  for (std::size_t row = 0; row < 5; ++row) {
    EXPECT_EQ(CellAt(column, row).text, kExpected[row].text) << row;
    EXPECT_EQ(CellAt(column, row).marked, kExpected[row].marked) << row;
  }
}

TEST(Rows, ThatStandForCasesAreNamedByThem) {
  Spreadsheet sheet;
  sheet.title = "T";
  sheet.rowCases = {3, 12};
  sheet.columns = {Column("x", "", {1, 2})};
  const CaseNamer names = [](int caseNumber) { return caseNumber == 3 ? "Zoë" : ""; };
  EXPECT_EQ(Rendered(WriteDocumentText, sheet, names), "T\n\n     x\n------\nZoë  1\n12   2\n");
  const auto json = nlohmann::json::parse(Rendered(WriteDocumentJson, sheet, names));
  EXPECT_EQ(json["rows"][0]["name"], "Zoë");
  EXPECT_EQ(json["rows"][1]["name"], "12");
  EXPECT_EQ(RowName(sheet, 0, CaseNamer()), "3");
}

TEST(DisplayWidthOf, CountsTerminalColumns) {
  const struct {
    const char* text;
    std::size_t width;
  } kCases[] = {
      {"", 0},     {"abc", 3},  {"é", 1},  {"e\xCC\x81", 1},
      {"日本", 4}, {"\xFF", 1}, {"😀", 2}, {"ﬀ", 1},
  };
  for (const auto& [text, width] : kCases) EXPECT_EQ(DisplayWidth(text), width) << text;
  EXPECT_EQ(CutToWidth("日本語", 5), "日本");
  EXPECT_EQ(CutToWidth("Zoë!", 3), "Zoë");
  EXPECT_EQ(PrintableText("a\x1b[31mb\nc\xC3"), "a [31mb c\xEF\xBF\xBD");
}

TEST(JsonRenderer, ASpreadsheetKeepsEveryDigitTextAndMark) {
  Spreadsheet sheet = Predictions();
  sheet.columns[0].values[0] = 0.1 + 0.2;
  EXPECT_EQ(Rendered(WriteDocumentJson, sheet, CaseNamer()),
            "{\"kind\":\"spreadsheet\",\"title\":\"Prévisions et résidus, sex\","
            "\"header\":[\"Plus proches voisins = 3\"],\"rowTitle\":[\"Obs.\",\"Nom\"],"
            "\"columns\":[\n"
            "{\"first\":\"height\",\"second\":\"Indépendante\",\"format\":\"general\"},\n"
            "{\"first\":\"sex\",\"second\":\"Prévues\",\"format\":\"general\"},\n"
            "{\"first\":\"sex\",\"second\":\"Précision\",\"format\":\"general\"},\n"
            "{\"first\":\"n\",\"second\":\"\",\"format\":\"count\"}],"
            "\"rows\":[\n"
            "{\"name\":\"1\",\"cells\":[{\"value\":0.30000000000000004},"
            "{\"value\":1,\"text\":\"Homme\"},"
            "{\"value\":1,\"text\":\"Incorrect\",\"marked\":true},{\"value\":12}]},\n"
            "{\"name\":\"Zoë\",\"cells\":[{\"value\":null},{\"value\":2,\"text\":\"Femme\"},"
            "{\"value\":-9999},{\"value\":3}]}]}\n");
}

TEST(JsonRenderer, ARunIsOneObjectInAFixedOrder) {
  Workbook workbook;
  workbook.Add(Predictions());
  workbook.PutResults({"a", "b"});
  RunReport report;
  report.analysis = {{"kind", std::string("knn")}, {"cases", 150.0}};
  report.properties = {{"KNearestNeighbors", 5.0}, {"Variables", std::string("| \"a b\" | 1 |")}};
  report.messages = {{205, "Pas d'échantillon", "OK"}};
  const auto json = nlohmann::ordered_json::parse(Rendered(WriteReportJson, report, workbook));
  std::vector<std::string> keys;
  for (const auto& [key, value] : json.items()) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"schema", "analysis", "properties", "messages",
                                            "documents"}));
  EXPECT_EQ(json["schema"], 1);
  EXPECT_EQ(json["analysis"]["cases"], 150);
  EXPECT_EQ(json["properties"]["Variables"], "| \"a b\" | 1 |");
  EXPECT_EQ(json["messages"][0]["number"], 205);
  EXPECT_EQ(json["messages"][0]["step"], "OK");
  ASSERT_EQ(json["documents"].size(), 2u);
  EXPECT_EQ(json["documents"][0]["kind"], "results");
  EXPECT_EQ(json["documents"][0]["lines"][1], "b");
  EXPECT_EQ(json["documents"][1]["rows"][1]["name"], "Zoë");
}

TEST(JsonWriting, NumbersReadBackToTheLastBit) {
  for (const double value : {0.1, 1e-310, 5e-324, 1.7976931348623157e308, 123456789.123, -0.0, 1e22,
                             9007199254740993.0, -9999.0, 1e16, 4503599627370497.5}) {
    const std::string text = Written([value](JsonWriter& json) { json.Number(value); });
    const double read = nlohmann::json::parse(text).get<double>();
    EXPECT_EQ(read, value) << text;
    EXPECT_EQ(std::signbit(read), std::signbit(value)) << text;
  }
  EXPECT_EQ(Written([](JsonWriter& json) { json.Number(150); }), "150");
}

TEST(JsonWriting, AnyTextBecomesAValidString) {
  const std::string odd = std::string("q\" b\\ n\n t\t z\0 \x1f \xC3\xA9 \xFF \xED\xA0\x80", 25);
  const std::string text = Written([&odd](JsonWriter& json) { json.String(odd); });
  const auto read = nlohmann::json::parse(text).get<std::string>();
  EXPECT_NE(read.find("q\" b\\ n\n t\t z"), std::string::npos);
  EXPECT_NE(read.find("\xC3\xA9"), std::string::npos);
  EXPECT_NE(read.find("\xEF\xBF\xBD"), std::string::npos);
}

TEST(Workbooks, TheResultsTextIsFirstAndReplacedInPlace) {
  Workbook workbook;
  std::vector<std::size_t> changed;
  workbook.onChange = [&changed](std::size_t position) { changed.push_back(position); };
  workbook.PutResults({"one"});
  workbook.Add(Predictions());
  workbook.PutResults({"two"});
  ASSERT_EQ(workbook.documents().size(), 2u);
  EXPECT_EQ(std::get<ResultsText>(workbook.documents()[0]).lines,
            (std::vector<std::string>{"two"}));
  EXPECT_EQ(changed, (std::vector<std::size_t>{0, 1, 0}));
}

}  // namespace
}  // namespace qrvml
