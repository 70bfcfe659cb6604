// Predictions saved by the program, and opened again by it.
#include "system/program.h"

namespace qrvml::testing {
namespace {

class SavedPredictions : public ProgramTest {
 protected:
  std::string Target(const std::string& name) const { return (root() / name).string(); }
  /// Saves predictions of the irises' species; further options may follow.
  Outcome Save(const std::string& target, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {
        "knn",
        Example("iris.csv"),
        "--variables",
        "| Species | Sepal.Length Sepal.Width Petal.Length Petal.Width |",
        "--out",
        Out().string(),
        "--do",
        "IncludePredictions=1,ResultsSelection=*,ResultsSaveFileName=\"" + target +
            "\",SavePredictionsAndResiduals"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  /// The variables that the program finds in a file, one line each.
  std::vector<std::string> VariablesIn(const std::string& file) {
    const Outcome outcome = Run({"data", file});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::istringstream lines(outcome.out);
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("  ") && line.find("-9999") != std::string::npos) found.push_back(line);
    }
    return found;
  }
  std::size_t FilesOfRoot() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(root()), fs::directory_iterator()));
  }
};

TEST_F(SavedPredictions, GoAlongWithAllVariablesAndCanBeOpened) {
  const Outcome outcome = Save(Target("out.qrv"));
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  const std::vector<std::string> variables = VariablesIn(Target("out.qrv"));
  ASSERT_GE(variables.size(), 6u);
  EXPECT_NE(variables[4].find("Species"), std::string::npos);
  EXPECT_NE(variables[4].find("1=setosa, 2=versicolor, 3=virginica"), std::string::npos);
  // The 112 prototypes have no predictions.
  EXPECT_NE(variables[5].find("Species , Prévisions"), std::string::npos) << variables[5];
  EXPECT_NE(variables[5].find(" 112 "), std::string::npos) << variables[5];
  EXPECT_NE(variables[5].find("1=setosa, 2=versicolor, 3=virginica"), std::string::npos);
}

TEST_F(SavedPredictions, AreTheSameAsThoseOfThePredictionsTable) {
  ASSERT_EQ(Save(Target("out.csv"), {"--do", "TestSubset=1,PrintPredictions"}).code, 0);
  const auto run = nlohmann::json::parse(Content(Out() / "documents.json"));
  std::vector<std::string> tabled;
  for (const auto& document : run["documents"]) {
    if (document["kind"] != "spreadsheet") continue;
    for (std::size_t c = 0; c < document["columns"].size(); ++c) {
      if (document["columns"][c]["second"] != "Prévues") continue;
      for (const auto& row : document["rows"]) tabled.push_back(row["cells"][c]["text"]);
    }
  }
  std::istringstream lines(Content(Target("out.csv")));
  std::string line;
  std::getline(lines, line);
  ASSERT_NE(line.find(",\"Species , Prévisions\""), std::string::npos) << line;
  std::vector<std::string> saved;
  while (std::getline(lines, line)) {
    std::size_t at = 0;
    for (int field = 0; field < 5; ++field) at = line.find(',', at) + 1;
    const std::string text = line.substr(at, line.find(',', at) - at);
    if (!text.empty()) saved.push_back(text);
  }
  EXPECT_EQ(saved.size(), 38u);
  EXPECT_EQ(saved, tabled);
}

TEST_F(SavedPredictions, AnExistingFileIsRefusedAndReplacedOnlyOnDemand) {
  const std::string target = Write("out.csv", "old");
  const Outcome refused = Save(target);
  EXPECT_EQ(refused.code, 1);
  EXPECT_NE(refused.err.find("out.csv: the file exists"), std::string::npos) << refused.err;
  EXPECT_EQ(Content(target), "old");
  const Outcome replaced = Save(target, {"--overwrite"});
  EXPECT_EQ(replaced.code, 0) << replaced.err;
  EXPECT_EQ(Content(target).substr(0, 13), "Sepal.Length,");
  EXPECT_EQ(FilesOfRoot(), 4u);  // out.csv, the documents, both outputs of the program
}

TEST_F(SavedPredictions, WhatCannotBeSavedFailsAndSaysWhatWouldBeRight) {
  const std::vector<std::pair<std::string, std::string>> kRefused = {
      {"out.doc", ".qrv, .parquet, .csv, .sav or .xlsx"}, {"none/out.qrv", "there is no folder"}};
  for (const auto& [name, reason] : kRefused) {
    const Outcome outcome = Save(Target(name));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find(name), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
  }
  const Outcome unanswered =
      Run({"knn", Example("iris.csv"), "--variables", "| Species | Sepal.Length |", "--out",
           Out().string(), "--do", "ResultsSelection=*,SavePredictionsAndResiduals"});
  EXPECT_EQ(unanswered.code, 1);
  EXPECT_NE(unanswered.err.find("set ResultsSaveFileName"), std::string::npos) << unanswered.err;
  EXPECT_EQ(FilesOfRoot(), 3u);
}

}  // namespace
}  // namespace qrvml::testing
