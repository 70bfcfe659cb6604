// The mechanics of an open analysis, on an analysis of two dialogs that records what happens to it.
#include "host/analysis_session.h"

#include <gtest/gtest.h>

#include <array>

#include "apphost/table_file.h"
#include "host/analysis_host.h"
#include "host/module_library.h"

namespace qrvml {
namespace {

using testing::TableFile;

std::vector<std::string>* events = nullptr;  // of the test that runs

void Happened(std::string what) { events->push_back(std::move(what)); }

constexpr int kStart = 101, kSecond = 102;

/// A dialog with a check box, an action that draws numbers and an OK that leads somewhere.
class StepDialog final : public CAnalysisDialog {
 public:
  StepDialog(CAnalysisSupport& support, int stepNumber, int okStep)
      : CAnalysisDialog(support), step(stepNumber), okLeadsTo(okStep) {
    Happened("open " + std::to_string(step));
  }
  ~StepDialog() override { Happened("close " + std::to_string(step)); }

  std::string_view InterfaceName() const override { return "StepDialog"; }
  std::string_view Title() const override { return "Step"; }
  std::span<const Control> Controls() const override;
  bool OnOK() override {
    Draw();
    if (refuses) return false;
    analysis().services().dialogs->ExitDialog(okLeadsTo, 2);
    Happened("ok returned");
    return true;
  }
  bool OnCancel() override {
    analysis().services().dialogs->ExitDialog(step == kStart ? 0 : kStart, 1);
    return true;
  }
  void Draw() { lastDraw = analysis().services().random->rnd_(5); }

  int step, okLeadsTo;
  bool refuses = false;
  double lastDraw = 0;
};

using Dialog = On<StepDialog>;

const std::array<Control, 3> kControls = {
    Control{.name = "Refuse",
            .kind = ControlKind::check,
            .label = "",
            .tab = "",
            .row = {.identifier = 1},
            .bind = {.number = Dialog::Number([](const StepDialog& d) { return d.refuses; }),
                     .assign = Dialog::Assign([](StepDialog& d, double value) {
                       d.refuses = value != 0;
                       return true;
                     })}},
    Control{.name = "Draw",
            .kind = ControlKind::action,
            .label = "",
            .tab = "",
            .row = {.identifier = 2},
            .bind = {.press = Dialog::Press([](StepDialog& d) {
                       d.Draw();
                       return true;
                     })}},
    Control{.name = "LastDraw",
            .kind = ControlKind::text,
            .label = "",
            .tab = "",
            .row = {.identifier = 3},
            .bind = {.text = Dialog::Text(
                         [](const StepDialog& d) { return std::to_string(d.lastDraw); })}}};

std::span<const Control> StepDialog::Controls() const { return kControls; }

class TwoStepAnalysis final : public CAnalysisSupport {
 public:
  TwoStepAnalysis() : CAnalysisSupport(nullptr) {
    sequence_.Register({{100, nullptr, kStart}, {kStart, nullptr, 0}, {kSecond, nullptr, 0}});
  }
  ~TwoStepAnalysis() override { Happened("destroyed"); }
  int InitializeAfterFileChanged() override {
    Happened("new file with " + std::to_string(services().file->NumberOfVariables()));
    return 1;
  }
  int Initialize() override { return 1; }
  void* GetLibInstance() const override { return nullptr; }
  int GetAnalysisID() const override { return 1; }
  std::string GetAnalysisName() const override { return "Two steps"; }
  int RunStep(int step) override {
    Happened("run " + std::to_string(step));
    if (step == 100) return 1;
    if (step == failingStep) return -1;
    return services().dialogs->CreateModelessDialog(
               1, std::make_unique<StepDialog>(*this, step, step == kStart ? kSecond : 0)) == 0
               ? 0
               : -1;
  }

  static inline int failingStep = 0;
};

struct Open : ::testing::Test {
  std::vector<std::string> log;
  std::atomic<bool> cancel{false};
  TableFile file{{"x"}};
  AnalysisHost host{{.interactive = false, .threads = 1, .memoryLimit = 0, .terminal = {}}, cancel};
  std::unique_ptr<AnalysisSession> session;
  std::string error;

  void SetUp() override {
    events = &log;
    TwoStepAnalysis::failingStep = 0;
    session =
        std::make_unique<AnalysisSession>(host.Services(file, {}), host.sequence, host.random);
  }
  bool Start() {
    return session->Open([]() -> CAnalysisSupport* { return new TwoStepAnalysis; }, error);
  }
  std::vector<std::string> TakeLog() { return std::exchange(log, {}); }
  std::string LastDraw() {
    AutomationValue value;
    EXPECT_TRUE(session->Get("LastDraw", value).Succeeded());
    return value.text;
  }
};

using Events = std::vector<std::string>;

TEST_F(Open, RunsTheFirstStepAndTheOneThatFollowsByItself) {
  ASSERT_TRUE(Start()) << error;
  EXPECT_EQ(TakeLog(), (Events{"run 100", "run 101", "open 101"}));
  EXPECT_EQ(session->step(), kStart);
  EXPECT_TRUE(session->IsOpen());
}

TEST_F(Open, ADialogIsDestroyedAfterItsOkReturnedAndBeforeTheNextStepRuns) {
  ASSERT_TRUE(Start());
  TakeLog();
  session->beforeLeaving = [](QrvAnalysisDialog& dialog) {
    AutomationValue value;
    EXPECT_TRUE(dialog.Get("Refuse", value).Succeeded());
    Happened("leaving");
  };
  EXPECT_TRUE(session->OK().Succeeded());
  EXPECT_EQ(TakeLog(), (Events{"ok returned", "leaving", "close 101", "run 102", "open 102"}));
  EXPECT_EQ(session->step(), kSecond);
}

TEST_F(Open, ARefusedOkStaysWhereItIs) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Number(1)).Succeeded());
  TakeLog();
  EXPECT_FALSE(session->OK().Succeeded());
  EXPECT_TRUE(TakeLog().empty());
  EXPECT_EQ(session->step(), kStart);
}

TEST_F(Open, CancelGoesBackAndEndsAtTheFirstDialog) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(session->OK().Succeeded());
  EXPECT_TRUE(session->Cancel().Succeeded());
  EXPECT_EQ(session->step(), kStart);
  EXPECT_TRUE(session->Cancel().Succeeded());
  EXPECT_FALSE(session->IsOpen());
  EXPECT_EQ(session->dialog(), nullptr);
  EXPECT_FALSE(session->OK().Succeeded());
  EXPECT_FALSE(session->Put("Refuse", AutomationValue::Number(1)).Succeeded());
}

TEST_F(Open, TheAutomationObjectOutlivesItsDialogAndThenFails) {
  ASSERT_TRUE(Start());
  const auto first = session->dialog();
  ASSERT_TRUE(session->OK().Succeeded());
  EXPECT_FALSE(first->IsOpen());
  EXPECT_FALSE(first->Put("Refuse", AutomationValue::Number(1)).Succeeded());
  EXPECT_NE(session->dialog(), first);
}

TEST_F(Open, OkAndActionsBeginTheRandomStreamsAnewAndSettersDoNot) {
  ASSERT_TRUE(Start());
  AutomationValue nothing;
  ASSERT_TRUE(session->Press("Draw").Succeeded());
  const std::string first = LastDraw();
  ASSERT_TRUE(session->Get("Draw", nothing).Succeeded());  // reading an action performs it
  EXPECT_EQ(LastDraw(), first);
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Number(1)).Succeeded());
  EXPECT_FALSE(session->OK().Succeeded());
  EXPECT_EQ(LastDraw(), first);

  host.random.rnd_(5);
  const double second = host.random.rnd_(5);
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Number(0)).Succeeded());
  EXPECT_NE(host.random.rnd_(5), second);  // the stream went on
}

TEST_F(Open, AStepThatFailsIsAnErrorAndLeavesNothingOpen) {
  TwoStepAnalysis::failingStep = kStart;
  EXPECT_FALSE(Start());
  EXPECT_NE(error.find("101"), std::string::npos);
  EXPECT_FALSE(session->IsOpen());

  TwoStepAnalysis::failingStep = kSecond;
  ASSERT_TRUE(Start());
  EXPECT_FALSE(session->OK().Succeeded());
  EXPECT_FALSE(session->IsOpen());
  EXPECT_EQ(session->step(), 0);
}

TEST_F(Open, AFactoryWithoutMemoryIsAnError) {
  EXPECT_FALSE(session->Open([]() -> CAnalysisSupport* { return nullptr; }, error));
  EXPECT_FALSE(error.empty());
}

TEST_F(Open, ANewFileStartsAfreshAtTheFirstDialog) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(session->OK().Succeeded());
  TakeLog();
  TableFile other({"a", "b", "c"});
  EXPECT_TRUE(session->ReplaceFile(host.Services(other, {}), error));
  EXPECT_EQ(TakeLog(), (Events{"close 102", "new file with 3", "run 101", "open 101"}));
  EXPECT_EQ(session->step(), kStart);
}

TEST_F(Open, WhatWasSetAndDoneIsLoggedInOrder) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Text("1")).Succeeded());
  ASSERT_TRUE(session->Press("Draw").Succeeded());
  const auto& changes = host.automation.changes();
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[0].control, "Refuse");
  EXPECT_EQ(changes[0].value, "1");
  EXPECT_EQ(changes[0].what, RecordedChange::What::set);
  EXPECT_EQ(changes[1].control, "Draw");
  EXPECT_EQ(changes[1].kind, ControlKind::action);
  EXPECT_EQ(changes[1].what, RecordedChange::What::act);
}

TEST_F(Open, ARecorderHearsOfAnswersAndOfAnOKThatLeadsOn) {
  ASSERT_TRUE(Start());
  std::vector<std::string> heard;
  session->onAnswer = [&](std::string_view name, std::string_view text) {
    heard.push_back(std::string(name) + "=" + std::string(text));
  };
  session->beforeOK = [&](QrvAnalysisDialog& dialog) { heard.push_back("OK " + dialog.Name()); };
  session->afterOK = [&] { heard.push_back("at " + std::to_string(session->step())); };
  ASSERT_TRUE(session->Put("ResultsSelection", AutomationValue::Number(2)).Succeeded());
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Text("1")).Succeeded());
  EXPECT_FALSE(session->OK().Succeeded());
  ASSERT_TRUE(session->Put("Refuse", AutomationValue::Text("0")).Succeeded());
  ASSERT_TRUE(session->OK().Succeeded());
  EXPECT_EQ(heard, (std::vector<std::string>{"ResultsSelection=2", "OK StepDialog", "OK StepDialog",
                                             "at 102"}));
}

TEST_F(Open, ClosingDestroysTheDialogBeforeTheAnalysis) {
  ASSERT_TRUE(Start());
  TakeLog();
  session.reset();
  EXPECT_EQ(TakeLog(), (Events{"close 101", "destroyed"}));
}

TEST(ModuleLibraryLoading, SaysWhichFileIsMissing) {
  std::string error;
  EXPECT_EQ(ModuleLibrary::Load("/nonexistent", error), nullptr);
  EXPECT_NE(error.find("libQRVMachineLearning.so"), std::string::npos);
  EXPECT_NE(error.find("/nonexistent"), std::string::npos);
}

}  // namespace
}  // namespace qrvml
