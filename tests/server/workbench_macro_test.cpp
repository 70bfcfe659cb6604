// What a page can do with what was done: the macro as it grows, another file, a choice taken back.
#include "server/workbench_page.h"

namespace qrvml {
namespace {

// y is ten times x; the first three cases are the prototypes.
constexpr const char* kTable = "x,y,set,name\n1,10,1,a\n2,20,1,b\n3,30,1,c\n4,40,1,d\n9,90,2,e\n";

class WorkbenchMacros : public test::WorkbenchPage {
 protected:
  void Train() {
    OpenAnalysis(file_ = OpenFile("d.csv", kTable));
    Set("Variables", "y | | x |");
    Set("UseFirstNCases", 1);
    Type("NValue", "3");
    Type("KNearestNeighbors", "1");
    OK();
    ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  }
  std::string Macro() { return client_->Get(At("/macro")).body; }
  Json Undo() { return client_->Post(At("/undo"), Json::object()); }
  /// Does the macro on a file; the new analysis when it is through.
  Json Rerun(int file) {
    analysis_ = client_->Post(At("/rerun"), {{"file", file}})["analysis"];
    return Until([](const Json& now) { return !now["busy"] || !now["requests"].empty(); });
  }
  int file_ = 0;
};

TEST_F(WorkbenchMacros, AnotherFileGetsTheSameTreatmentAlsoAfterStepsBack) {
  Train();
  Calls({{{"do", "cancel"}}});
  ASSERT_EQ(Analysis()["dialog"]["level"], "specification");
  Type("NValue", "2");
  OK();
  ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  Set("TestSubset", 1);
  Press("PrintPredictions");
  EXPECT_NE(Macro().find("\tAnalysis.Dialog.Cancel\n"), std::string::npos) << Macro();

  // Prototypes 5 and 7: the nearest of 5.5 is 5, that of 8 is 7.
  const int other = OpenFile("o.csv", "x,y,set,name\n5,1,1,a\n7,2,1,b\n5.5,0,1,c\n8,0,1,d\n");
  const std::string macro = Macro();
  const Json again = Rerun(other);
  EXPECT_EQ(again["file"], other);
  EXPECT_EQ(again["kind"], "knn");
  ASSERT_EQ(again["documents"].size(), 2u) << again["messages"];
  EXPECT_EQ(again["dialog"]["level"], "results");
  const Json sheet = Document("1");
  ASSERT_EQ(sheet["rowCount"], 2);
  EXPECT_EQ(sheet["rows"][0]["cells"][0]["value"], 1);
  EXPECT_EQ(sheet["rows"][1]["cells"][0]["value"], 2);
  // Its own macro is the same but for the file.
  const auto steps = [](const std::string& text) { return text.substr(text.find("\tDim")); };
  EXPECT_EQ(steps(Macro()), steps(macro));
  EXPECT_NE(Macro().find("o.csv"), std::string::npos);

  // A file without the variables: the line and the reason, and the analysis stays where it is.
  const Json stuck = Rerun(OpenFile("no.csv", "a,b\n1,2\n"));
  ASSERT_EQ(stuck["requests"].size(), 1u);
  const std::string text = stuck["requests"][0]["text"];
  EXPECT_NE(text.find("line "), std::string::npos) << text;
  EXPECT_NE(text.find("unknown variable \"y\""), std::string::npos) << text;
  Answer(stuck["requests"][0], {{"button", "ok"}});
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "specification");
  EXPECT_EQ(client_->Send("POST", At("/rerun"), R"({"file":99})").status, 404);
  EXPECT_EQ(client_->Send("POST", At("/rerun"), "{}").status, 422);
}

TEST_F(WorkbenchMacros, AMacroShowsThatItRunsAndIsCancelled) {
  OpenAnalysis(OpenFile("few.csv", test::NoiseTable(60)));
  Set("Variables", "1 | | 2-5 |");
  Set("ApplyCrossV", 1);
  Type("VValue", "20");
  Type("MaximumK", "30");
  OK();
  ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  Press("DescriptiveStat");
  const int large = OpenFile("large.csv", test::NoiseTable(12000));
  analysis_ = client_->Post(At("/rerun"), {{"file", large}})["analysis"];
  const Json shown = Until([](const Json& now) { return now["progress"].is_object(); });
  EXPECT_EQ(shown["busy"], true);
  EXPECT_EQ(shown["progress"]["title"], "Exécution de la macro...");
  client_->Post(At("/cancel"), Json::object());
  const Json after = UntilIdle();
  EXPECT_EQ(after["progress"], nullptr);
  EXPECT_EQ(after["dialog"]["level"], "specification");
  EXPECT_EQ(after["documents"].size(), 0u);
  EXPECT_EQ(after["messages"].size(), 0u);
}

TEST_F(WorkbenchMacros, WhatIsDoneUnrecordedLeavesNoOutputInTheMacro) {
  Train();
  const std::string before = Macro();
  const Json off = client_->Post(At("/record"), {{"recording", false}});
  EXPECT_EQ(off["recording"], false);
  EXPECT_EQ(Analysis()["macro"]["recording"], false);
  Set("TestSubset", 1);
  Press("PrintPredictions");
  EXPECT_EQ(Macro(), before);
  EXPECT_EQ(client_->Post(At("/record"), {{"recording", true}})["recording"], true);
  // The setting is needed by what follows, the output is not.
  EXPECT_NE(Macro().find(".TestSubset = True"), std::string::npos) << Macro();
  EXPECT_EQ(Macro().find("PrintPredictions"), std::string::npos);
  Press("PrintPredictions");
  EXPECT_NE(Macro().find("\t\t.PrintPredictions\n"), std::string::npos);
  EXPECT_EQ(Analysis()["macro"]["lines"], std::ranges::count(Macro(), '\n'));
  EXPECT_EQ(client_->Send("POST", At("/record"), "{}").status, 422);
}

TEST_F(WorkbenchMacros, AChoiceOfVariablesIsTakenBackWithAllThatItReset) {
  for (const char* kind : {"knn", "nb", "svm"}) {
    OpenAnalysis(OpenFile("d.csv", kTable), kind);
    const Json fresh = Analysis()["dialog"]["controls"];
    EXPECT_EQ(Analysis()["canUndo"], false);
    EXPECT_EQ(client_->Send("POST", At("/undo"), "{}").status, 409);
    const bool three = std::string(kind) == "nb";
    Set("Variables", three ? "set | x | name" : " | set | x | name");
    Set("ResponseCodes", "1 2");
    Set("PredictorCodes", "1 2 3 4 5");
    if (std::string(kind) == "svm") Type("Gam", "0.125");
    const Json chosen = Analysis()["dialog"]["controls"];
    Set("Variables", three ? "name | y |" : " | name | y | ");
    EXPECT_NE(State("ResponseCodes")["value"], "1 2");
    EXPECT_EQ(Analysis()["canUndo"], true);
    EXPECT_EQ(Undo()["ok"], true);
    EXPECT_EQ(Analysis()["dialog"]["controls"], chosen) << kind;
    EXPECT_EQ(Undo()["ok"], true);
    EXPECT_EQ(Analysis()["canUndo"], false);
    EXPECT_EQ(Analysis()["dialog"]["controls"], fresh) << kind;
  }
}

}  // namespace
}  // namespace qrvml
