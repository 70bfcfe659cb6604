// An analysis driven by a page: its dialogs, what it asks, its training, its documents.
#include "server/workbench_page.h"

namespace qrvml {
namespace {

using test::WebAnswer;

// y is ten times x; the first three cases are the prototypes of Specify.
constexpr const char* kTable = "x,y,set,name\n1,10,1,a\n2,20,1,b\n3,30,1,c\n4,40,1,d\n9,90,2,e\n";

class WorkbenchAnalyses : public test::WorkbenchPage {
 protected:
  void Specify(const std::string& neighbours = "1") {
    file_ = OpenFile("d.csv", kTable, {{"caseNames", "name"}});
    OpenAnalysis(file_);
    ASSERT_EQ(Set("Variables", "y | | x |")["ok"], true);
    ASSERT_EQ(Set("UseFirstNCases", 1)["ok"], true);
    ASSERT_EQ(Type("NValue", "3")["ok"], true);
    ASSERT_EQ(Type("KNearestNeighbors", neighbours)["ok"], true);
  }
  void Train() {
    Specify();
    OK();
    ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  }
  int file_ = 0;
};

TEST_F(WorkbenchAnalyses, FromAFileToPredictions) {
  Specify();
  const Json specification = Analysis();
  EXPECT_EQ(specification["kind"], "knn");
  EXPECT_EQ(specification["dialog"]["level"], "specification");
  EXPECT_EQ(specification["dialog"]["tabs"][0], "Base");
  // Radio buttons of one question exclude each other; a click changes the others' states, too.
  EXPECT_EQ(State("UseFirstNCases")["group"], State("UseRandomSampling")["group"]);
  EXPECT_NE(State("UseFirstNCases")["group"], State("Euclidean")["group"]);
  const Json changed = Set("UseRandomSampling", 1)["controls"];
  std::map<std::string, Json> states;
  for (const Json& state : changed) states[state["name"]] = state;
  EXPECT_EQ(states.at("UseRandomSampling")["value"], 1);
  EXPECT_EQ(states.at("UseFirstNCases")["value"], 0);
  EXPECT_EQ(states.at("NValue")["enabled"], false);
  EXPECT_EQ(states.count("KNearestNeighbors"), 0u);
  Set("UseFirstNCases", 1);

  EXPECT_EQ(OK()["ok"], true);
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "results");
  EXPECT_EQ(Set("TestSubset", 1)["ok"], true);
  EXPECT_EQ(Press("PrintPredictions")["ok"], true);
  const Json documents = Analysis()["documents"];
  ASSERT_EQ(documents.size(), 2u);
  EXPECT_EQ(documents[0]["kind"], "results");
  EXPECT_EQ(documents[1]["kind"], "spreadsheet");
  EXPECT_EQ(documents[1]["rows"], 2);
  // The nearest of 1, 2, 3 is 3 for both test cases.
  Json sheet = Document("1");
  EXPECT_EQ(sheet["rowCount"], 2);
  EXPECT_EQ(sheet["rows"][0]["name"], "d");
  EXPECT_EQ(sheet["rows"][1]["name"], "e");
  for (const Json& row : sheet["rows"]) EXPECT_EQ(row["cells"][0]["value"], 30) << row;
  sheet = Document("1?sort=0&descending=1&count=1");
  ASSERT_EQ(sheet["rows"].size(), 1u);
  EXPECT_EQ(sheet["rows"][0]["name"], "e");
  EXPECT_EQ(Document("1?first=1")["rows"][0]["name"], "e");
  EXPECT_EQ(Document("1?first=9")["rows"].size(), 0u);
  EXPECT_EQ(client_->Get(At("/documents/7")).status, 404);

  const WebAnswer csv = client_->Get(At("/documents/1/export?format=csv"));
  EXPECT_NE(csv.body.find("\r\nd,"), std::string::npos) << csv.body;
  EXPECT_NE(csv.Header("Content-Disposition").find(".csv\""), std::string::npos);
  EXPECT_EQ(client_->Get(At("/documents/0/export?format=xlsx")).body.substr(0, 2), "PK");
  EXPECT_EQ(client_->Get(At("/documents/1/export?format=svg")).status, 422);
  EXPECT_EQ(client_->Get(At("/documents/1/export?format=exe")).status, 422);

  // The lists of the plot tab offer items that are chosen by number.
  const Json offered = State("SelectedItemX")["offered"];
  ASSERT_GE(offered.size(), 3u);
  EXPECT_EQ(Set("SelectedItemX", "1")["ok"], true);
  EXPECT_EQ(Set("SelectedItemsY", "2 3")["ok"], true);
  EXPECT_EQ(State("SelectedItemX")["chosen"], Json::array({0}));
  EXPECT_EQ(State("SelectedItemsY")["chosen"], Json::array({1, 2}));
  EXPECT_EQ(Press("Plot2DGraphOfXAndY")["ok"], true);
  EXPECT_EQ(Analysis()["documents"].back()["type"], "scatter");

  const std::string macro = client_->Get(At("/macro")).body;
  EXPECT_NE(macro.find("\t\t.KNearestNeighbors = 1\n"), std::string::npos) << macro;
  EXPECT_NE(macro.find("\t\t.PrintPredictions\n"), std::string::npos) << macro;
}

TEST_F(WorkbenchAnalyses, ARefusedFieldIsNamedOnceItsMessageIsRead) {
  Specify("many");
  EXPECT_EQ(OK()["done"], false);
  const Json asked = Asked();
  EXPECT_EQ(asked["kind"], "message");
  EXPECT_EQ(asked["number"], 125);
  EXPECT_EQ(asked["buttons"], Json::array({"ok"}));
  // While it stands, nothing else can be done.
  EXPECT_EQ(TryCalls(Analysis()["dialog"]["dialog"], {{{"do", "ok"}}}).status, 409);
  const std::uint64_t before = server_->api().state().LastEvent();
  EXPECT_EQ(Answer(asked, {{"button", "maybe"}}), 422);
  EXPECT_EQ(Answer(asked, {{"button", 7}}), 422);
  EXPECT_EQ(Answer(asked, {{"button", "ok"}}), 200);
  EXPECT_EQ(Answer(asked, {{"button", "ok"}}), 409);
  UntilIdle();
  const std::string events =
      client_->Events("/api/events?after=" + std::to_string(before), [](const std::string& text) {
        return text.find("event: done") != std::string::npos && text.ends_with("\n\n");
      });
  EXPECT_NE(
      events.find("\"ok\":false,\"failed\":0,\"control\":\"KNearestNeighbors\",\"error\":\"\""),
      std::string::npos)
      << events;
  EXPECT_EQ(Analysis()["messages"].back()["number"], 125);
  EXPECT_EQ(Analysis()["dialog"]["level"], "specification");
}

TEST_F(WorkbenchAnalyses, VariablesAreAskedForAndRefusedChoicesStayOpen) {
  OpenAnalysis(OpenFile("d.csv", kTable));
  Press("Variables");
  Json asked = Asked();
  ASSERT_EQ(asked["kind"], "variables");
  EXPECT_EQ(asked["lists"], Json::parse("[[],[],[],[]]"));
  EXPECT_EQ(Answer(asked, {{"lists", {{1}, {2}}}}), 422);
  EXPECT_EQ(Answer(asked, {{"lists", {{2}, {}, {9}, {}}}}), 422);
  EXPECT_EQ(Answer(asked, {{"lists", "x"}}), 422);
  EXPECT_EQ(Answer(asked, {{"cancel", true}}), 200);
  UntilIdle();
  EXPECT_EQ(State("Variables")["value"], "");

  // Dependents of both kinds: a question, and the lists again where it is answered with OK.
  Press("Variables");
  EXPECT_EQ(Answer(Asked(), {{"lists", Json::parse("[[2],[3],[1],[]]")}}), 200);
  asked = Until([](const Json& now) {
    return now["requests"].size() == 1 && now["requests"][0]["kind"] == "message";
  })["requests"][0];
  EXPECT_EQ(asked["number"], 308);
  EXPECT_EQ(asked["buttons"].size(), 2u);
  EXPECT_EQ(Answer(asked, {{"button", "ok"}}), 200);
  asked = Until([](const Json& now) {
    return now["requests"].size() == 1 && now["requests"][0]["kind"] == "variables";
  })["requests"][0];
  EXPECT_EQ(Answer(asked, {{"lists", Json::parse("[[],[3],[1,2],[]]")}}), 200);
  UntilIdle();
  EXPECT_EQ(State("Variables")["value"], " | set | x y | ");
  const std::string macro = client_->Get(At("/macro")).body;
  EXPECT_EQ(macro.find("ResultsVariables"), std::string::npos) << macro;
  EXPECT_NE(macro.find(".Variables = \" | set | x y | \""), std::string::npos) << macro;
}

TEST_F(WorkbenchAnalyses, DistributionsAreForContinuousInputsAndDecideTheirRange) {
  OpenAnalysis(OpenFile("d.csv", kTable), "nb");
  Set("Variables", "name | x y |");
  Press("InputDistributions");
  const Json asked = Asked();
  EXPECT_EQ(asked["offered"], Json::parse("[1,2]"));
  EXPECT_EQ(asked["lists"], Json::parse("[[1,2],[],[],[]]"));
  EXPECT_EQ(Answer(asked, {{"lists", Json::parse("[[1],[],[3],[]]")}}), 422) << "no input";
  EXPECT_EQ(Answer(asked, {{"lists", Json::parse("[[1],[2],[],[]]")}}), 200);
  UntilIdle();
  Set("ApplySampling", 0);
  OK();
  ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  EXPECT_EQ(State("MinimumRange")["lowest"], -9999);
  Set("InputForPosteriorPlot", "y");
  EXPECT_EQ(State("MinimumRange")["lowest"], 1e-6);
  EXPECT_EQ(State("MinimumRange")["value"], "10");
}

TEST_F(WorkbenchAnalyses, TheSampleDialogRunsInsideTheCallThatOpenedIt) {
  Specify();
  Set("UseSubsetvariable", 1);
  Press("Sample");
  const Json asked = Asked();
  ASSERT_EQ(asked["kind"], "dialog");
  const int dialog = asked["dialog"]["dialog"];
  // OK without a variable is refused by a message above the dialog.
  TryCalls(dialog, {{{"do", "ok"}}});
  EXPECT_EQ(Answer(Asked(2), {{"button", "ok"}}), 200);
  Asked(1);
  TryCalls(dialog, {{{"do", "press"}, {"name", "Variable"}}});
  EXPECT_EQ(Answer(Asked(2), {{"lists", Json::parse("[[3]]")}}), 200);
  const Json after = Until([](const Json& now) {
    return now["requests"].size() == 1 &&
           now["requests"][0]["dialog"]["controls"][0]["value"] == "set";
  });
  EXPECT_EQ(after["requests"][0]["dialog"]["controls"][1]["value"], "1");
  for (int i = 0; i < 200 && TryCalls(dialog, {{{"do", "ok"}}}).status == 409; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  UntilIdle();
  EXPECT_EQ(State("Sample.Variable")["value"], "set");
  EXPECT_EQ(State("Sample.State")["value"], "oui");
}

TEST_F(WorkbenchAnalyses, WhatIsNoCallIsRefusedAndHarmsNothing) {
  Specify();
  const Json wrong = Json::parse(R"([5, null, "ok", [], {}, {"do": 1}, {"do": "dance"},
      {"do": "set", "name": "NValue"}, {"do": "set", "name": "NValue", "value": null},
      {"do": "type", "name": "NValue", "text": 2}, {"do": "press", "name": ["Sample"]}])");
  const int dialog = Analysis()["dialog"]["dialog"];
  for (const Json& calls : {Json(5), Json("ok"), Json::object()})
    EXPECT_EQ(TryCalls(dialog, calls).status, 422) << calls;
  for (const Json& call : wrong) {
    const Json outcome = Calls({call, {{"do", "ok"}}});
    EXPECT_EQ(outcome["ok"], false) << call;
    EXPECT_EQ(outcome["failed"], 0) << call;
    EXPECT_NE(outcome["error"], "") << call;
  }
  EXPECT_EQ(State("NValue")["value"], "3");

  // The same on a modal dialog, whose request takes only a cancel that is one.
  Set("UseSubsetvariable", 1);
  Press("Sample");
  const Json asked = Asked();
  const int modal = asked["dialog"]["dialog"];
  EXPECT_EQ(TryCalls(modal, Json::object()).status, 422);
  for (const Json& call : wrong) {
    const Json outcome = TryCalls(modal, {call, {{"do", "ok"}}}).json();
    EXPECT_EQ(outcome["ok"], false) << call;
    EXPECT_NE(outcome["error"], "") << call;
  }
  EXPECT_EQ(Answer(asked, {{"cancel", "yes"}}), 422);
  EXPECT_EQ(Answer(asked, {{"cancel", true}}), 200);
  UntilIdle();
  EXPECT_EQ(Analysis()["state"], "open");
}

TEST_F(WorkbenchAnalyses, ATrainingIsCancelledWithoutAMessage) {
  const int file = OpenFile("large.csv", test::NoiseTable(12000));
  const int quiet = OpenAnalysis(file);
  OpenAnalysis(file);
  Set("Variables", "1 | | 2-5 |");
  Set("ApplyCrossV", 1);
  Calls({{{"do", "type"}, {"name", "VValue"}, {"text", "90"}},
         {{"do", "type"}, {"name", "MaximumK"}, {"text", "400"}}});
  const auto train = [&] {
    return TryCalls(Analysis()["dialog"]["dialog"], {{{"do", "ok"}}}).json();
  };
  EXPECT_EQ(train()["done"], false);
  Until([](const Json& now) {
    return now["progress"].is_object() && now["progress"]["training"] == true;
  });
  // The other analysis goes on meanwhile.
  const int training = std::exchange(analysis_, quiet);
  EXPECT_EQ(Set("Variables", "2 | | 1 |")["ok"], true);
  analysis_ = training;
  client_->Post(At("/cancel"), Json::object());
  const Json after = UntilIdle();
  EXPECT_EQ(after["dialog"]["level"], "specification");
  EXPECT_EQ(after["progress"], nullptr);
  EXPECT_EQ(after["messages"].size(), 0u);
  // The next call is not cancelled; a training that runs does not keep the analysis from closing.
  EXPECT_EQ(Set("ApplyCrossV", 1)["ok"], true);
  train();
  EXPECT_EQ(client_->Send("DELETE", At("")).status, 200);
  EXPECT_EQ(Analysis(), nullptr);
}

TEST_F(WorkbenchAnalyses, TenAreOpenAtMostAndClosingOneMakesRoom) {
  const int file = OpenFile("d.csv", kTable);
  for (int i = 0; i < 10; ++i) OpenAnalysis(file, i == 0 ? "" : "knn");
  const std::string body = JsonText({{"file", file}});
  EXPECT_EQ(client_->Send("POST", "/api/analyses", body).status, 409);
  EXPECT_EQ(client_->Send("DELETE", "/api/files/" + std::to_string(file)).status, 409);
  analysis_ = 1;
  EXPECT_EQ(Analysis()["dialog"]["level"], "startup");
  Calls({{{"do", "cancel"}}});
  EXPECT_EQ(Analysis()["state"], "ended");
  EXPECT_EQ(client_->Send("DELETE", At("")).status, 200);
  EXPECT_EQ(client_->Send("POST", "/api/analyses", body).status, 200);
}

TEST_F(WorkbenchAnalyses, OneThatCannotBeCreatedHarmsNoOther) {
  static int created = 0;
  created = 0;
  Start([]() -> CAnalysisSupport* {
    return created++ == 0 ? new MachineLearning(nullptr) : nullptr;
  });
  Specify();
  const WebAnswer refused =
      client_->Send("POST", "/api/analyses", JsonText({{"file", file_}, {"kind", "knn"}}));
  EXPECT_EQ(refused.status, 422);
  EXPECT_NE(refused.body.find("not enough memory"), std::string::npos);
  EXPECT_EQ(client_->GetJson("/api/state")["analyses"].size(), 1u);
  OK();
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "results");
}

/// An analysis whose training ends in an exception that the module never lets out.
class FailingAnalysis : public CAnalysisSupport {
 public:
  FailingAnalysis() : CAnalysisSupport(nullptr) { sequence_ = inner_.sequence(); }
  int InitializeAfterFileChanged() override { return inner_.InitializeAfterFileChanged(); }
  int Initialize() override { return inner_.Initialize(); }
  void* GetLibInstance() const override { return inner_.GetLibInstance(); }
  int GetAnalysisID() const override { return inner_.GetAnalysisID(); }
  std::string GetAnalysisName() const override { return inner_.GetAnalysisName(); }
  int RunStep(int step) override {
    constexpr int kFirstResultsStep = 105;
    if (step >= kFirstResultsStep) throw std::runtime_error("the training broke");
    inner_.Attach(services());
    return inner_.RunStep(step);
  }

 private:
  MachineLearning inner_{nullptr};
};

TEST_F(WorkbenchAnalyses, OneThatBreaksInTheMiddleHarmsNoOther) {
  static int created = 0;
  created = 0;
  Start([]() -> CAnalysisSupport* {
    if (created++ == 0) return new FailingAnalysis;
    return new MachineLearning(nullptr);
  });
  Specify();
  const Json broken = Analysis();
  OpenAnalysis(OpenFile("other.csv", kTable));
  const int other = analysis_;
  analysis_ = broken["analysis"];
  const WebAnswer reply = TryCalls(broken["dialog"]["dialog"], {{{"do", "ok"}}});
  EXPECT_EQ(reply.status, 500) << reply.body;
  EXPECT_NE(reply.body.find("the training broke"), std::string::npos);
  EXPECT_EQ(Analysis()["state"], "failed");
  EXPECT_EQ(Analysis()["reason"], "the training broke");
  EXPECT_EQ(TryCalls(broken["dialog"]["dialog"], {{{"do", "ok"}}}).status, 409);
  analysis_ = other;
  EXPECT_EQ(Set("KNearestNeighbors", "2")["ok"], true);
}

TEST_F(WorkbenchAnalyses, ChangedDataLeadBackToTheSpecificationAfterAQuestion) {
  Train();
  const std::string file = "/api/files/" + std::to_string(file_);
  EXPECT_EQ(client_->Post(file + "/settings", {{"select", "x <> 3"}})["selected"], 4);
  Press("PrintPredictions");
  EXPECT_EQ(Answer(Asked(), {{"button", "cancel"}}), 200);
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "results");
  Press("PrintPredictions");
  EXPECT_EQ(Answer(Asked(), {{"button", "ok"}}), 200);
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "specification");
  OK();
  ASSERT_EQ(UntilIdle()["dialog"]["level"], "results");
  Press("PrintPredictions");
  // Without x = 3 the nearest prototype of 4 and 9 is 2.
  const Json sheet = Document("1");
  for (const Json& row : sheet["rows"]) EXPECT_EQ(row["cells"][0]["value"], 20) << row;
  EXPECT_NE(client_->Get(At("/macro")).body.find(".Selection = \"x <> 3\""), std::string::npos);

  // A file that is another one on the disk: the same question, then the settings as they are at
  // first.
  Write(folder_.File("data/d.csv"), std::string(kTable) + "5,50,2,f\n");
  Press("PrintPredictions");
  EXPECT_EQ(Answer(Asked(), {{"button", "cancel"}}), 200);
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "results");
  Press("PrintPredictions");
  EXPECT_EQ(Answer(Asked(), {{"button", "ok"}}), 200);
  EXPECT_EQ(UntilIdle()["dialog"]["level"], "specification");
  EXPECT_EQ(State("Variables")["value"], "");
  EXPECT_EQ(client_->GetJson("/api/state")["files"][0]["cases"], 6);
  // What was done to the old file is no part of the macro.
  EXPECT_EQ(client_->Get(At("/macro")).body.find("PrintPredictions"), std::string::npos);
}

TEST_F(WorkbenchAnalyses, PredictionsAreSavedInANamedFolderAlone) {
  Train();
  const auto save = [&] {
    Press("SavePredictionsAndResiduals");
    const Json outputs = Until([](const Json& now) { return now["requests"].size() == 1; });
    EXPECT_EQ(outputs["requests"][0]["kind"], "outputs");
    Json picked = Json::array({0});
    EXPECT_EQ(Answer(outputs["requests"][0], {{"picked", Json::array({99})}}), 422);
    EXPECT_EQ(Answer(outputs["requests"][0], {{"picked", picked}}), 200);
    return Until([](const Json& now) {
      return now["requests"].size() == 1 && now["requests"][0]["kind"] != "outputs";
    })["requests"][0];
  };
  Json asked = save();
  while (asked["kind"] == "variables") {
    EXPECT_EQ(Answer(asked, {{"lists", Json::parse("[[1]]")}}), 200);
    asked = Until([&](const Json& now) {
      return now["requests"].size() == 1 && now["requests"][0]["request"] != asked["request"];
    })["requests"][0];
  }
  ASSERT_EQ(asked["kind"], "fileName");
  for (const char* path : {"../out.csv", "/tmp/out.csv", "none/out.csv", ""})
    EXPECT_EQ(Answer(asked, {{"folder", 0}, {"path", path}}), 422) << path;
  EXPECT_EQ(Answer(asked, {{"folder", 0}, {"path", "d.csv"}}), 422);
  EXPECT_EQ(Answer(asked, {{"folder", 0}, {"path", "out.csv"}}), 200);
  // What such a file cannot hold is told before the call ends.
  for (;;) {
    const Json now = Until([&](const Json& one) {
      return !one["busy"] ||
             (one["requests"].size() == 1 && one["requests"][0]["kind"] == "message");
    });
    if (!now["busy"]) break;
    Answer(now["requests"][0], {{"button", "ok"}});
  }
  EXPECT_NE(Content(folder_.File("data/out.csv")).find("30"), std::string::npos);
  EXPECT_EQ(Content(folder_.File("data/d.csv")), kTable);
}

}  // namespace
}  // namespace qrvml
