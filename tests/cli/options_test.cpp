// From the words of a command line to what is set, in which order.
#include <gtest/gtest.h>

#include "cli/analysis_options.h"
#include "cli/data_warnings.h"
#include "cli/suggestion.h"
#include "datafile/cells.h"
#include "datafile/data_table.h"

namespace qrvml {
namespace {

constexpr Control Row(std::string_view name, ControlKind kind, std::string_view label = {},
                      Range range = {}) {
  Control control;
  control.name = name;
  control.kind = kind;
  control.label = label;
  control.range = range;
  return control;
}

// Rows in an order that is not the order of application.
constexpr Control kControls[] = {
    Row("MeanSubstitutionOfMD", ControlKind::radio, "Mo&yenne"),
    Row("KNearestNeighbors", ControlKind::integer,
        "&Nombre des plus proches voisins :", {1, 0, nullptr, "N"}),
    Row("UseSubsetvariable", ControlKind::radio, "V&ariable"),
    Row("SizeOfPrototypeSample", ControlKind::real, "Taille", {0.001, 99.999}),
    Row("Sample.Code", ControlKind::text),
    Row("Sample.Active", ControlKind::check),
    Row("Sample.Variable", ControlKind::pick),
    Row("PredictorCodes", ControlKind::pick),
    Row("Variables", ControlKind::pick, "Variables"),
    Row("ApplyCrossV", ControlKind::check),
    Row("Choose", ControlKind::button),
    Row("Act", ControlKind::action),
};
constexpr AnalysisCommand kKind = {"knn", "K nearest neighbours", 2, 104, 107};

struct Parsed {
  ParseOutcome outcome = ParseOutcome::wrong;
  AnalysisOptions options;
  std::string text;

  std::string Puts() const {
    std::string puts;
    for (const auto& [name, value] : options.puts) puts += name + '=' + value + ';';
    return puts;
  }
};

Parsed Parse(std::vector<std::string> arguments) {
  Parsed parsed;
  parsed.outcome = ParseAnalysisOptions(kKind, kControls, arguments, parsed.options, parsed.text);
  return parsed;
}

std::string Wrong(std::vector<std::string> arguments) {
  const Parsed parsed = Parse(std::move(arguments));
  EXPECT_EQ(parsed.outcome, ParseOutcome::wrong);
  return parsed.text;
}

TEST(KebabCase, SplitsWordsAndLeavesAbbreviationsWhole) {
  const struct {
    const char *name, *kebab;
  } kCases[] = {
      {"KNearestNeighbors", "k-nearest-neighbors"},
      {"UseSubsetvariable", "use-subsetvariable"},
      {"CasewiseDeletionOfMD", "casewise-deletion-of-md"},
      {"CrossVSeed", "cross-v-seed"},
      {"NValue", "n-value"},
      {"Sample.Variable", "sample-variable"},
      {"Overall", "overall"},
  };
  for (const auto& [name, kebab] : kCases) EXPECT_EQ(KebabCase(name), kebab);
}

TEST(AnalysisOptionsOrder, VariablesCodesModeAndSampleComeFirstWhateverTheLineSays) {
  const Parsed parsed =
      Parse({"--ApplyCrossV", "--size-of-prototype-sample=75.5", "--KNearestNeighbors", "5",
             "--sample-code", "A", "--variables", "| 1 | 2 |", "iris.csv", "--predictor-codes",
             "1 2", "--sample-variable", "set"});
  ASSERT_EQ(parsed.outcome, ParseOutcome::go) << parsed.text;
  EXPECT_EQ(parsed.Puts(),
            "Variables=| 1 | 2 |;PredictorCodes=1 2;UseSubsetvariable=1;Sample.Variable=set;"
            "Sample.Code=A;Sample.Active=1;KNearestNeighbors=5;SizeOfPrototypeSample=75.5;"
            "ApplyCrossV=1;");
  EXPECT_EQ(parsed.options.open.path, "iris.csv");
}

TEST(AnalysisOptionsValues, ASwitchTakesZeroOrOneAndAloneMeansOne) {
  EXPECT_EQ(Parse({"--ApplyCrossV", "f.csv"}).Puts(), "ApplyCrossV=1;");
  EXPECT_EQ(Parse({"f.csv", "--apply-cross-v"}).Puts(), "ApplyCrossV=1;");
  EXPECT_EQ(Parse({"--ApplyCrossV", "0", "f.csv"}).Puts(), "ApplyCrossV=0;");
  EXPECT_EQ(Parse({"--apply-cross-v=0", "f.csv"}).Puts(), "ApplyCrossV=0;");
  EXPECT_EQ(Parse({"--MeanSubstitutionOfMD=1", "f.csv"}).Puts(), "MeanSubstitutionOfMD=1;");
}

TEST(AnalysisOptionsValues, AreTakenAsTheyAre) {
  EXPECT_EQ(Parse({"f", "--KNearestNeighbors", "-5"}).Puts(), "KNearestNeighbors=-5;");
  EXPECT_EQ(Parse({"f", "--size-of-prototype-sample", "66.66666666666667"}).Puts(),
            "SizeOfPrototypeSample=66.66666666666667;");
  EXPECT_EQ(Parse({"f", "--variables", ""}).Puts(), "Variables=;");
  EXPECT_EQ(Parse({"f", "--variables", "[a b]"}).Puts(), "Variables=[a b];");
  EXPECT_EQ(Parse({"f", "--predictor-codes", "--odd"}).Puts(), "PredictorCodes=--odd;");
  EXPECT_EQ(Parse({"f", "--variables=a=b"}).Puts(), "Variables=a=b;");
}

TEST(AnalysisOptionsSample, TheOtherChoiceIsInactive) {
  EXPECT_EQ(Parse({"f", "--sample-variable", "s", "--sample-inactive"}).Puts(),
            "UseSubsetvariable=1;Sample.Variable=s;Sample.Active=0;");
  EXPECT_NE(Wrong({"f", "--sample-code", "1"}).find("--sample-variable"), std::string::npos);
  EXPECT_NE(Wrong({"f", "--sample-inactive"}).find("--sample-variable"), std::string::npos);
}

TEST(AnalysisOptionsUsage, WhatIsWrongIsNamed) {
  const struct {
    std::vector<std::string> arguments;
    const char* part;
  } kCases[] = {
      {{}, "FILE is missing"},
      {{"f", "--KNearestNeighbours", "5"},
       "unknown option --KNearestNeighbours; did you mean --KNearestNeighbors?"},
      {{"f", "--k-nearest-neighbor=5"}, "did you mean --k-nearest-neighbors?"},
      {{"f", "--zzzzzzzzzzzzzzz"}, "unknown option --zzzzzzzzzzzzzzz"},
      {{"f", "--KNearestNeighbors", "five"}, "--k-nearest-neighbors takes a number, not \"five\""},
      {{"f", "--ApplyCrossV=2"}, "takes 0 or 1"},
      {{"f", "--KNearestNeighbors"}, "--KNearestNeighbors needs a value"},
      {{"f", "--dry-run=1"}, "--dry-run takes no value"},
      {{"f", "--act"}, "unknown option --act"},
      {{"f", "--choose"}, "unknown option --choose"},
      {{"f", "--threads", "0"}, "--threads"},
      {{"f", "--threads", "two"}, "--threads"},
      {{"f", "--interactive=yes"}, "--interactive"},
      {{"f", "--format", "pdf"}, "\"pdf\" is not available in this version"},
      {{"f", "--do", "Summary,,"}, "--do"},
      {{"f", "g"}, "g"},
      {{"f", "--KNearestNeighbors", "5", "--KNearestNeighbors", "6"}, "--KNearestNeighbors"},
      {{"f", "--diagnose", "d.txt"}, "did you mean --diagnostics?"},
  };
  for (const auto& [arguments, part] : kCases) {
    const std::string text = Wrong(arguments);
    EXPECT_NE(text.find(part), std::string::npos) << part << " <- " << text;
  }
}

TEST(AnalysisOptionsSteps, HaveADefaultAndAddUp) {
  const auto names = [](const Parsed& parsed) {
    std::string text;
    for (const Step& step : parsed.options.steps) text += step.name + ';';
    return text;
  };
  EXPECT_EQ(names(Parse({"f"})), "Summary;DescriptiveStat;");
  EXPECT_EQ(names(Parse({"f", "--do", "Model,Summary", "--do", "Overall=1"})),
            "Model;Summary;Overall;");
  EXPECT_EQ(names(Parse({"f", "--do", ""})), "");
}

TEST(AnalysisOptionsFile, OptionsOfTheFileGoToTheFile) {
  const Parsed parsed =
      Parse({"f.csv",      "--weight",    "w",         "--select",  "x > 1",
             "--missing",  "a=-1",        "--missing", "b=0",       "--case-names",
             "id",         "--delimiter", ";",         "--decimal", ",",
             "--encoding", "utf-8",       "--threads", "2",         "--interactive=0",
             "--out",      "d",           "--format",  "json"});
  ASSERT_EQ(parsed.outcome, ParseOutcome::go) << parsed.text;
  const OpenOptions& open = parsed.options.open;
  EXPECT_EQ(open.weight, "w");
  EXPECT_EQ(open.select, "x > 1");
  EXPECT_EQ(open.missing, (std::vector<std::string>{"a=-1", "b=0"}));
  EXPECT_EQ(open.caseNames, "id");
  EXPECT_EQ(open.delimiter, ";");
  EXPECT_EQ(open.decimal, ",");
  EXPECT_EQ(open.encoding, "utf-8");
  EXPECT_EQ(open.threads, 2);
  EXPECT_EQ(parsed.options.run.threads, 2);
  EXPECT_FALSE(parsed.options.run.interactive);
  EXPECT_EQ(parsed.options.run.out, "d");
  ASSERT_EQ(parsed.options.run.formats.size(), 1u);
}

TEST(AnalysisHelp, ComesFromTheTable) {
  const Parsed parsed = Parse({"--help"});
  EXPECT_EQ(parsed.outcome, ParseOutcome::help);
  for (const char* part : {"--KNearestNeighbors", "--k-nearest-neighbors",
                           "Nombre des plus proches voisins (1 to N)", "0.001 to 99.999"})
    EXPECT_NE(parsed.text.find(part), std::string::npos) << part;
  const std::string controls = ControlsText("Dialog", kControls);
  for (const Control& control : kControls)
    EXPECT_NE(controls.find(control.name), std::string::npos) << control.name;
}

TEST(Suggestions, AreTheNearestNameOrNone) {
  const std::vector<std::string> names = {"Summary", "Model", "DescriptiveStat"};
  EXPECT_EQ(Nearest("Sumary", names), "Summary");
  EXPECT_EQ(Nearest("summary", names), "Summary");
  EXPECT_EQ(Nearest("DescriptiveStats", names), "DescriptiveStat");
  EXPECT_EQ(Nearest("Histograms", names), "");
  EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
  EXPECT_EQ(EditDistance("", "abc"), 3u);
}

TEST(DataWarnings, TellOfTooManyTextsAndOfVariablesWithoutAnyValue) {
  DataTable table;
  Variable& id = table.AddVariable("id");
  id.wasText = true;
  id.distinctTexts = 501;
  table.AddVariable("empty");
  table.AddVariable("x");
  table.AppendChunk(2, BlockOf({1, 2, -9999, -9999, -9999, 4}));

  EXPECT_TRUE(WarningsAbout("| | id x |", table).empty());
  const auto asCategory = WarningsAbout("x | id | |", table);
  ASSERT_EQ(asCategory.size(), 1u);
  EXPECT_NE(asCategory[0].find("id has 501 different texts"), std::string::npos);
  EXPECT_EQ(WarningsAbout("id | x | ", table), asCategory);  // three lists: categorical first
  const auto missing = WarningsAbout("x | | 2 |", table);
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_NE(missing[0].find("empty is missing in every case"), std::string::npos);
}

}  // namespace
}  // namespace qrvml
