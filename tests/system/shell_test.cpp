// What the shell promises: exit statuses, what is written and what is not, what standard error
// says.
#include <chrono>
#include <map>
#include <thread>

#include "support/places.h"
#include "system/program.h"

namespace qrvml {
namespace {

using testing::Cell;
using testing::Content;
using testing::Outcome;
using testing::Titled;
namespace fs = std::filesystem;
using Words = std::vector<std::string>;

class Shell : public testing::ProgramTest {
 protected:
  /// An analysis of the irises with a fixed split.
  Words Iris(Words more = {}) const {
    Words words = {
        "knn", Example("iris.csv"), "--variables", "| Species | 1-4 |", "--SeedForRandomSampling",
        "17"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
};

TEST_F(Shell, WrongUsageEndsWithTwoSaysWhyAndWritesNothing) {
  const std::string iris = Example("iris.csv"), out = Out().string();
  const struct {
    Words words;
    const char* part;
  } kCases[] = {
      {{}, "a command is missing"},
      {{"kn"}, "unknown command kn; did you mean knn?"},
      {{"workbench", iris, "--port", "70000"}, "--port"},
      {{"knn"}, "FILE is missing"},
      {{"knn", iris, "--KNearestNeighbours", "3", "--out", out},
       "did you mean --KNearestNeighbors?"},
      {{"knn", iris, "--KNearestNeighbors", "three", "--out", out}, "takes a number"},
      {{"knn", iris, "--Euclidean=2", "--out", out}, "takes 0 or 1"},
      {{"knn", iris, "--IncludeInputs=1", "--out", out}, "a step of the results dialog: --do"},
      {{"knn", iris, "--do", "Summary,,Model", "--out", out}, "a step is Action"},
      {{"knn", iris, "--format", "pdf", "--out", out}, "\"pdf\" is not available"},
      {{"knn", iris, "--threads", "0", "--out", out}, "--threads"},
      {{"data", iris, "--heads", "3"}, "did you mean --head?"},
  };
  for (const auto& [words, part] : kCases) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, 2) << part;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "") << part;
    EXPECT_FALSE(fs::exists(Out())) << part;
  }
}

TEST_F(Shell, ARefusedOkEndsWithOneGivesTheMessageAndWritesNothing) {
  const struct {
    Words more;
    const char* part;
  } kCases[] = {
      {{"--KNearestNeighbors", "113"},
       "Number of nearest neighbors for the specified analysis must lay in the range 1-112."},
      {{"--SizeOfPrototypeSample", "100"}, "Size of training sample must lay in the range 1-100"},
      {{"--UseFirstNCases", "--NValue", "150"}, "inférieure à 150."},
      {{"--ApplyCrossV", "--MinimumK", "3", "--MaximumK", "3"},
       "Le nombre max. de plus proches voisins doit être supérieur au minimum."},
  };
  for (const auto& [more, part] : kCases) {
    Words words = Iris(more);
    words.insert(words.end(), {"--out", Out().string()});
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, 1) << part;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "") << part;
    EXPECT_FALSE(fs::exists(Out())) << part;
  }
}

TEST_F(Shell, WhatTheModuleMissesWithoutAMessageIsSaid) {
  const std::string iris = Example("iris.csv"), species = "| Species | 1-4 |";
  const std::string classes = "in this order: setosa, versicolor, virginica";
  const struct {
    Words words;
    std::string part;
  } kCases[] = {
      {{"knn", iris}, "give --variables"},
      {{"svm", iris, "--variables", "| | 1-4 |"},
       "no dependent variable is chosen: give --variables"},
      {{"svm", iris, "--variables", species, "--use-penalty"}, "PenaltyList: the list is empty"},
      {{"svm", iris, "--variables", species, "--use-penalty", "--penalty-list", "1 2"}, classes},
      {{"svm", iris, "--variables", species, "--use-penalty", "--penalty-list", "1 x 2",
        "--interactive=0"},
       classes},
  };
  for (const auto& [words, part] : kCases) {
    Words all = words;
    all.insert(all.end(), {"--out", Out().string()});
    if (words[0] == "svm") all.insert(all.end(), {"--diagnostics", Out().string() + ".log"});
    const Outcome outcome = Run(all);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(fs::exists(Out()) || fs::exists(Out().string() + ".log"));
  }
}

TEST_F(Shell, DiagnosticsGoToTheirFileAndNowhereElse) {
  const std::string log = (root() / "solver.log").string();
  Words words = {"svm",
                 Example("iris.csv"),
                 "--variables",
                 "| Species | 1-4 |",
                 "--apply-sampling",
                 "0",
                 "--do",
                 "Summary"};
  const Outcome without = Run(words);
  EXPECT_EQ(without.code, 0) << without.err;
  EXPECT_EQ(without.out.find("obj ="), std::string::npos);
  words.insert(words.end(), {"--diagnostics", log});
  const Outcome with = Run(words);
  EXPECT_EQ(with.code, 0) << with.err;
  EXPECT_EQ(with.out, without.out);
  const std::string text = Content(log);
  int pairs = 0;  // one optimisation for each pair of the three classes
  for (std::size_t at = 0; (at = text.find("obj = ", at)) != std::string::npos; ++at) ++pairs;
  EXPECT_EQ(pairs, 3);
  EXPECT_TRUE(text.find("Total nSV = ") != std::string::npos) << text;
  const Outcome again = Run(words);
  EXPECT_EQ(again.code, 1);
  EXPECT_NE(again.err.find("--diagnostics"), std::string::npos) << again.err;
  EXPECT_EQ(Content(log), text);
}

TEST_F(Shell, ARefusedSettingNamesItAndWhatThereIs) {
  const std::string iris = Example("iris.csv");
  const struct {
    Words words;
    const char* part;
  } kCases[] = {
      {{"knn", iris, "--variables", "| Specis | 1-4 |"}, "unknown variable \"Specis\""},
      {{"knn", iris, "--variables", "| Specis | 1-4 |"}, "Sepal.Length, Sepal.Width"},
      {{"knn", iris, "--variables", "Species | 1-4"}, "has 2 lists where 4 are needed"},
      {{"knn", "/nowhere.csv", "--variables", "| 1 | 2 |"}, "/nowhere.csv"},
      {Iris({"--response-codes", "setosa rosa"}), "\"rosa\" is no label of Species"},
      {Iris({"--out", iris + "/folder"}), "--out"},
  };
  for (const auto& [words, part] : kCases) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, 1) << part;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "") << part;
  }
}

TEST_F(Shell, AFailingStepLeavesTheDocumentsOfEarlierStepsWhole) {
  Words words = Iris({"--do", "Summary,Options.KNearestNeighbors=500,Model,DescriptiveStat",
                      "--out", Out().string()});
  const Outcome outcome = Run(words);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("must lay in the range 1-112."), std::string::npos) << outcome.err;
  EXPECT_EQ(FilesOut(),
            (std::set<std::string>{"001-results.json", "001-results.txt",
                                   "002-synthese-du-modele-species.json",
                                   "002-synthese-du-modele-species.txt", "documents.json"}));
  const auto run = nlohmann::json::parse(Content(Out() / "documents.json"));
  EXPECT_EQ(run["documents"].size(), 2u);
  ASSERT_EQ(run["messages"].size(), 1u);
  EXPECT_EQ(run["messages"][0]["step"], "Model");
  const auto summary =
      nlohmann::json::parse(Content(Out() / "002-synthese-du-modele-species.json"));
  EXPECT_EQ(summary, run["documents"][1]);
}

TEST_F(Shell, AStepThatCannotBeTakenIsExplained) {
  const struct {
    const char *step, *part;
  } kCases[] = {
      {"CrossVPlot", "CrossVPlot is disabled"},
      {"Overall", "Overall is no action"},
      {"press:CustomPredictions", "set ResultsValues before"},
      {"ResultsValues=1,press:CustomPredictions",
       "4 values are needed, one for each of: Sepal.Length"},
      {"Summary=1", "takes no value"},
      {"Summary?", "is an action"},
  };
  for (const auto& [step, part] : kCases) {
    const Outcome outcome = Run(Iris({"--do", step}));
    EXPECT_EQ(outcome.code, 1) << step;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << step << ": " << outcome.err;
  }
}

TEST_F(Shell, DocumentsGoToStandardOutputWhenThereIsNoFolder) {
  const Outcome outcome =
      Run(Iris({"--KNearestNeighbors", "7", "--do", "Options.KNearestNeighbors?,Summary"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  const std::size_t results = outcome.out.find("Variables:\n"), value = outcome.out.find("\n7\n"),
                    summary = outcome.out.find("Synthèse du modèle, Species\n");
  EXPECT_EQ(results, 0u);
  EXPECT_LT(results, value);
  EXPECT_LT(value, summary);
  EXPECT_NE(summary, std::string::npos);
}

TEST_F(Shell, TheReportTellsTheSettingsOfBothDialogs) {
  const auto run =
      RunToJson(Iris({"--k-nearest-neighbors", "4", "--CityBlock", "--do", "Overall=1"}));
  EXPECT_EQ(run["schema"], 1);
  EXPECT_EQ(run["analysis"]["kind"], "knn");
  EXPECT_EQ(run["analysis"]["file"], "iris.csv");
  EXPECT_EQ(run["analysis"]["cases"], 150);
  EXPECT_EQ(run["properties"]["KNearestNeighbors"], 4);
  EXPECT_EQ(run["properties"]["CityBlock"], 1);
  EXPECT_EQ(run["properties"]["Euclidean"], 0);
  EXPECT_EQ(run["properties"]["SeedForRandomSampling"], 17);
  EXPECT_EQ(run["properties"]["Overall"], 1);
  EXPECT_EQ(run["documents"][0]["kind"], "results");
}

TEST_F(Shell, NeitherThreadsNorSilenceNorTheOrderOfOptionsChangeTheDocuments) {
  const Words base = {
      "--KNearestNeighbors", "5", "--do",
      "DescriptiveStat,Overall=1,IncludeInputs=1,IncludeConfidence=1,PrintPredictions"};
  const auto documents = [&](Words words) { return RunToJson(std::move(words))["documents"]; };
  const auto first = documents(Iris(base));
  ASSERT_GE(first.size(), 4u);
  for (const Words& more :
       {Words{"--threads", "1"}, Words{"--threads", "3"}, Words{"--interactive=0"}}) {
    Words words = Iris(base);
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(documents(words), first) << more[0];
  }
  Words reversed = {"knn"};
  reversed.insert(reversed.end(), base.begin(), base.end());
  reversed.insert(reversed.end(), {"--seed-for-random-sampling=17", "--variables",
                                   "|Species|Sepal.Length 2-4|None", Example("iris.csv")});
  EXPECT_EQ(documents(reversed), first);
}

TEST_F(Shell, ADryRunSetsEverythingAndDoesNothing) {
  const Outcome outcome = Run(
      Iris({"--dry-run", "--KNearestNeighbors", "9", "--ApplyCrossV", "--out", Out().string()}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_FALSE(fs::exists(Out()));
  std::istringstream lines(outcome.out);
  std::map<std::string, std::pair<std::string, std::string>> rows;
  for (std::string name, value, state; lines >> name;) {
    std::string rest;
    std::getline(lines, rest);
    const std::size_t last = rest.find_last_of(' ');
    value = rest.substr(0, last);
    value.erase(0, value.find_first_not_of(' '));
    value.erase(value.find_last_not_of(' ') + 1);
    rows[name] = {value, rest.substr(last + 1)};
  }
  using Row = std::pair<std::string, std::string>;
  EXPECT_EQ(rows["KNearestNeighbors"], (Row{"9", "disabled"}));  // K comes from the search
  EXPECT_EQ(rows["ApplyCrossV"], (Row{"1", "enabled"}));
  EXPECT_EQ(rows["VValue"], (Row{"10", "enabled"}));
  EXPECT_EQ(rows["SeedForRandomSampling"], (Row{"17", "enabled"}));
}

TEST_F(Shell, HelpTellsOptionsAndControlsFromTheTable) {
  const Outcome help = Run({"knn", "--help"});
  EXPECT_EQ(help.code, 0);
  for (const char* part : {"--KNearestNeighbors", "--k-nearest-neighbors", "--weight", "--do"})
    EXPECT_NE(help.out.find(part), std::string::npos) << part;
  const Outcome controls = Run({"knn", "--help-controls"});
  EXPECT_EQ(controls.code, 0);
  for (const char* part : {"SizeOfPrototypeSample", "0.001 to 99.999", "Sample.Code"})
    EXPECT_NE(controls.out.find(part), std::string::npos) << part;
  EXPECT_EQ(Run({"--help"}).code, 0);
  EXPECT_EQ(Run({"--version"}).out.rfind("qrvml ", 0), 0u);
}

TEST_F(Shell, UnlikelyVariablesAreWarnedOf) {
  std::string csv = "id,empty,x,y\n";
  for (int i = 0; i < 600; ++i)
    csv += "t" + std::to_string(i) + ",," + std::to_string(i % 7) + (i % 2 == 0 ? ",a\n" : ",b\n");
  const std::string file = Write("wide.csv", csv);
  const Outcome ids = Run({"knn", file, "--variables", "| id | x |", "--dry-run"});
  EXPECT_NE(ids.err.find("id has 600 different texts"), std::string::npos) << ids.err;
  const Outcome empty = Run({"knn", file, "--variables", "| y | x empty |", "--dry-run"});
  EXPECT_NE(empty.err.find("empty is missing in every case"), std::string::npos) << empty.err;
  EXPECT_EQ(Run({"knn", file, "--variables", "| y | x |", "--dry-run"}).err, "");
}

TEST_F(Shell, WithoutItsModuleTheProgramSaysWhatIsMissing) {
  const fs::path program = kProgram;
  fs::copy_file(program, root() / "qrvml");
  fs::create_symlink(fs::canonical(program.parent_path() / "libduckdb.so"),
                     root() / "libduckdb.so");
  const Outcome outcome = Wait(Start({"knn", Example("iris.csv")}, root() / "qrvml"));
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("libQRVMachineLearning.so is expected in " + root().string()),
            std::string::npos)
      << outcome.err;
}

TEST_F(Shell, AnInterruptEndsWithThreeAndLeavesNothing) {
  // Large enough that the search for K takes far longer than the wait.
  std::string csv = "x,a,b,c,d,e,f,g\n";
  unsigned state = 1;
  for (int i = 0; i < 100000; ++i) {
    for (int v = 0; v < 8; ++v) {
      state = state * 1664525u + 1013904223u;
      csv += std::to_string(state >> 12) + (v < 7 ? "," : "\n");
    }
  }
  const pid_t child =
      Start({"knn", Write("large.csv", csv), "--variables", "1 | | 2-8 |", "--ApplyCrossV",
             "--VValue", "90", "--MaximumK", "400", "--threads", "1", "--out", Out().string()});
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  ASSERT_EQ(kill(child, SIGINT), 0);
  const Outcome outcome = Wait(child);
  EXPECT_EQ(outcome.code, 3) << outcome.err;
  EXPECT_FALSE(fs::exists(Out()));
}

}  // namespace
}  // namespace qrvml
