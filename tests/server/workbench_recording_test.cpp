// What a person did in the page, the modal dialogs included, is a macro that does it again.
#include <set>

#include "cli/run_command.h"
#include "server/workbench_page.h"

namespace qrvml {
namespace {

class WorkbenchRecording : public test::WorkbenchPage {
 protected:
  /// A call on the modal dialog that is asked; again while the page may not yet make it.
  void InModal(const Json& call) {
    const Json asked = Asked();
    ASSERT_EQ(asked["kind"], "dialog") << asked;
    const int dialog = asked["dialog"]["dialog"];
    for (int i = 0; i < 200 && TryCalls(dialog, Json::array({call})).status == 409; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  /// Chooses the sample's variable, its code, and OK in the sample dialog.
  void ChooseSample(int variable, const std::string& code) {
    Press("Sample");
    InModal({{"do", "press"}, {"name", "Variable"}});
    EXPECT_EQ(Answer(Asked(2), {{"lists", Json::array({Json::array({variable})})}}), 200);
    Asked(1);
    InModal({{"do", "set"}, {"name", "Code"}, {"value", code}});
    InModal({{"do", "ok"}});
    UntilIdle();
  }
  void Define(const std::string& button, const Json& answer) {
    Press(button);
    EXPECT_EQ(Answer(Asked(), answer), 200);
    UntilIdle();
  }
  void Train(const std::string& penalties) {
    OK();
    if (!penalties.empty()) {
      InModal({{"do", "set"}, {"name", "Penalties"}, {"value", "9 9"}});
      InModal({{"do", "set"}, {"name", "Penalties"}, {"value", penalties}});
      InModal({{"do", "ok"}});
    }
    ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
    Set("Overall", 1);
    Press("PrintPredictions");
    Press("DescriptiveStat");
  }
  /// The tables of the analysis as text, in order.
  std::vector<std::string> Tables() {
    std::vector<std::string> tables;
    const Json documents = Analysis()["documents"];
    for (const Json& document : documents) {
      if (document["kind"] != "spreadsheet") continue;
      const std::string at = At("/documents/" + document["document"].dump());
      tables.push_back(client_->Get(at + "/export?format=csv").body);
    }
    return tables;
  }
  std::vector<std::string> Replayed(const std::string& macro) {
    const std::string file = folder_.File("macro.qvb"), out = folder_.File("replayed");
    Write(file, macro);
    std::filesystem::remove_all(out);
    const std::vector<std::string> arguments = {file, "--out", out, "--format", "csv"};
    EXPECT_EQ(RunMacroCommand(arguments), 0) << macro;
    std::set<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(out))
      if (entry.path().extension() == ".csv") files.insert(entry.path());
    std::vector<std::string> tables;
    for (const auto& path : files) tables.push_back(Content(path.string()));
    return tables;
  }
};

TEST_F(WorkbenchRecording, ReplaysModalDialogsCancelsAndChangesOfTheData) {
  std::string table = "k,x,z,the set,w\n";
  for (int i = 0; i < 60; ++i)
    table += std::string(i % 3 == 0 ? "a" : "b") + ',' + std::to_string(i * 7 % 11) + ',' +
             std::to_string(i * 5 % 13) + (i % 4 == 3 ? ",test," : ",\"the first\",") +
             std::to_string(1 + i % 2) + '\n';
  for (const std::string kind : {"svm", "nb", "knn"}) {
    SCOPED_TRACE(kind);
    const int file = OpenFile(kind + ".csv", table);
    OpenAnalysis(file, kind);
    const std::string penalties = kind == "svm" ? "1 2.5 " : "";
    Set("Variables", "| k | x z |");
    Set("UseSubsetvariable", 1);
    Press("Sample");  // and thought better of it
    EXPECT_EQ(Answer(Asked(), {{"cancel", true}}), 200);
    UntilIdle();
    ChooseSample(4, "the first");
    if (kind == "svm") {
      Set("UsePenalty", 1);
      Set("ApplyCrossV", 1);
      Type("VValue", "4");
      Calls({{{"do", "tab"}, {"name", "Sélection du modèle"}}});  // 10 again
      Type("MaximumC", "2");
      Type("NValue", "none");  // is not read
    }
    Define("CaseWeights", {{"weight", 5}});
    Train(penalties);
    Calls({{{"do", "cancel"}}});
    Define("SelectionConditions", {{"select", "x <> 3 and \"the set\" <> 'none'"}});
    Define("CaseWeights", {{"weight", 0}});
    ChooseSample(4, "test");
    Train(penalties);
    // From outside, while results are shown: back to the settings.
    client_->Post("/api/files/" + std::to_string(file) + "/settings", {{"weight", 5}});
    Press("PrintPredictions");
    EXPECT_EQ(Answer(Asked(), {{"button", "ok"}}), 200);
    ASSERT_EQ(UntilIdle()["dialog"]["level"], "specification");
    Train(penalties);

    const std::string macro = client_->Get(At("/macro")).body;
    for (const char* press : {"PressControl", "Penalties =", "ResultsVariables"})
      EXPECT_EQ(macro.find(press), std::string::npos) << macro;
    const auto tables = Tables();
    ASSERT_EQ(tables.size(), 9u);
    EXPECT_NE(tables[1], tables[4]);
    EXPECT_NE(tables[4], tables[7]);
    EXPECT_EQ(Replayed(macro), tables) << macro;
  }
}

TEST_F(WorkbenchRecording, BeginsAgainWithAnotherFile) {
  OpenAnalysis(OpenFile("one.csv", "k,x\na,1\nb,2\n"));
  Set("Variables", "| k | x |");
  Calls({{{"do", "cancel"}}});
  const int other = OpenFile("two.csv", "k,x\na,1\nb,3\nb,4\n");
  Press("Open");
  EXPECT_EQ(Answer(Asked(), {{"file", other}}), 200);
  UntilIdle();
  Set("TypeOfAnalysis", 1);
  const std::string macro = client_->Get(At("/macro")).body;
  EXPECT_EQ(macro.find("Variables"), std::string::npos) << macro;
  EXPECT_NE(macro.find("two.csv"), std::string::npos) << macro;
  EXPECT_NE(macro.find(".TypeOfAnalysis = scMLNB"), std::string::npos) << macro;
}

}  // namespace
}  // namespace qrvml
