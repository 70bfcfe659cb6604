// The walk of faults over the results dialog of support vector machines.
#include "results/fault_walk.h"
#include "svm/svm_analysis.h"

namespace qrvml::test {
namespace {

const std::vector<Request>& Requests() {
  static const std::vector<Step> kAll = {{"Overall", "1"},
                                         {"IncludeInputs", "1"},
                                         {"IncludeOutputs", "1"},
                                         {"IncludeConfidence", "1"},
                                         {"IncludeCaseNames", "1"}};
  static const std::vector<Step> kPlot = {
      {"SelectedItemX", "6"}, {"SelectedItemsY", "2 3"}, {"SelectedItemZ", "1"}, {"Overall", "1"}};
  static const std::vector<Step> kTyped = {{"CustomPredictions", "1 2 u"}};
  static const std::vector<Request> requests = WithSharedRequests({
      {{"Summary", ""}, {}, 1},
      {{"Model", ""}, {}, 2},
      {{"DescriptiveStat", ""}, {}, 1},
      {{"ClassPenalty", ""}, {}, 1},
      {{"PrintPredictions", ""}, {}, 1, 10},
      {{"PrintPredictions", ""}, kAll, 1, 10},
      {{"Histograms", ""}, kAll, 6, 10, 0, 104},
      {{"PlotHistogramsOfX", ""}, {{"SelectedItemX", "2"}}, 1, 10, 0, 104},
      {{"Plot2DGraphOfXAndY", ""}, kPlot, 1, 10, 0, 104},
      {{"Plot3DGraphOfXYZ", ""}, kPlot, 2, 10, 0, 104},
      {{"CustomPredictions", ""}, {}},
      {{"CustomPredictions", "1 2 u"}, {}},
      {{"PrintCustomPredictions", ""}, kTyped, 1, 3},
      {{"SavePredictionsAndResiduals", ""}, {}, 0, 10, 0, 130, 21},
      {{"CodeGeneratorCLang", ""}, {}, 1, 0, 2, 0},
      {{"CodeGeneratorQVB", ""}, {}, 1, 0, 2, 0},
      {{"CodeGeneratorPMML", ""}, {}, 1, 0, 2, 0},
      {{"CodeGenerator", ""}, {}, 2, 0, 4, 0},
  });
  return requests;
}

/// Three classes or values; twelve training cases, some weighted, and a test case with a missing
/// input, which takes the mean.
class Results final : public WalkedResults {
 public:
  explicit Results(bool classifies)
      : analysis_(
            TableFile("y  k=c,a,b  x  z  g=u,v  *weight",
                      {"1 c 0 1 u 1", "2 c 1 0 v 2", "8 a 5 1 u 1", "9 a 6 0 v 1", "20 b 0 9 u 1",
                       "21 b 1 8 v 2", "3 c 1 1 u 1", "7 a 5 2 v 1", "19 b 1 9 u 1", "10 a 6 1 v 1",
                       "22 b 0 8 u 1", "4 c 2 1 v 1", "5 c 1 . u 1", "11 a 7 1 v 2", "18 b 2 9 u 1",
                       "6 a 3 3 v 1", "17 b 3 8 u 1", "12 c 3 4 v 1"}),
            classifies ? "| k | x z | g" : "y | | x z | g", 12),
        classifies_(classifies) {
    analysis_.data().missingDataRule = MissingDataRule::meanSubstitution;
    analysis_.data().scaleInputs = true;
    analysis_.engine.SetUsePenalty(true);
    analysis_.OpenResults();
  }
  AnalysisSession& session() override { return analysis_.session(); }
  bool IsFor(const Step& step) const override {
    return classifies_ || (step.name != "IncludeConfidence" && step.name != "ClassPenalty");
  }
  void Answer(const Step& step) override {
    host().outputAnswers.assign(
        1, step.name == "CodeGenerator" ? std::vector{0, 2} : std::vector{0, 3});
    host().fileNameAnswers.assign(1, "out.sav");
    host().inputFormAnswers.assign(1, {"1", "2", "v"});
  }

 private:
  SvmAnalysis analysis_;
  bool classifies_;
};

void FailAllRequests(const Fault& fault) {
  for (const bool classifies : {true, false}) {
    SCOPED_TRACE(classifies ? "classes" : "values");
    FailEveryRequest([=] { return std::make_unique<Results>(classifies); }, Requests(), fault);
  }
}

TEST(SvmResultsFaults, MemoryRefusedAnywhereGivesTheMessage) { FailAllRequests(kFaults[0]); }
TEST(SvmResultsFaults, ACancelAnywhereIsSilent) { FailAllRequests(kFaults[1]); }

/// Enough cases that the host is asked in between.
TEST(SvmResultsFaults, LongPassesHearACancel) {
  std::vector<std::string> rows = {"0 0", "10 1"};
  rows.resize(30000, "20 2");
  SvmAnalysis analysis(TableFile("y  x", rows), "y | | x |", 2);
  analysis.OpenResults();
  ScriptedHost& host = analysis.host();
  for (const char* action : {"PrintPredictions", "Histograms", "SavePredictionsAndResiduals"}) {
    int cancels = -1;
    for (bool done = false; !done; ++cancels) {
      host.outputAnswers = {{0}};
      host.fileNameAnswers = {"out.sav"};
      host.cancelAtPoll = host.polls + cancels + 2;
      done = analysis.session().Press(action).Succeeded();
      EXPECT_TRUE(host.messages.empty());
      EXPECT_EQ(host.spreadsheets.size() + host.graphs.size() + host.savedFiles.size() > 0, done);
    }
    EXPECT_GT(cancels, 1) << action;
    host.cancelAtPoll = 0;
    host.spreadsheets.clear();
    host.graphs.clear();
    host.savedFiles.clear();
  }
}
TEST(SvmResultsFaults, ARefusedDocumentDropsTheRestOfTheRequestOnly) {
  FailAllRequests(kFaults[2]);
}
TEST(SvmResultsFaults, ARefusedRowEndsTheSave) { FailAllRequests(kFaults[3]); }

TEST(SvmResultsFaults, AreTriedOnEveryMember) {
  Results results(true);
  ExpectEveryMember(results, Requests());
}

}  // namespace
}  // namespace qrvml::test
