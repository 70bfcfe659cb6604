// The walk of faults over the results dialog of nearest neighbours.
#include "results/fault_walk.h"

#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

const std::vector<Request>& Requests() {
  static const std::vector<Step> kOthers = {{"Options.CityBlock", "1"},
                                            {"Options.StandardizeDistances", "1"},
                                            {"Options.KNearestNeighbors", "9"}};
  static const std::vector<Step> kAll = {{"Overall", "1"},           {"IncludeInputs", "1"},
                                         {"IncludeOutputs", "1"},    {"IncludeConfidence", "1"},
                                         {"Options.Chebychev", "1"}, {"IncludeCaseNames", "1"}};
  static const std::vector<Step> kPlot = {{"SelectedItemX", "1"}, {"SelectedItemsY", "4 6"},
                                          {"SelectedItemZ", "2"}, {"Options.CityBlock", "1"},
                                          {"Overall", "1"},       {"IncludeCaseNames", "1"}};
  static const std::vector<Request> requests = WithSharedRequests({
      {{"Summary", ""}, kOthers, 1},
      {{"Model", ""}, {}, 1},
      {{"Model", ""}, kOthers, 1, 3},
      {{"DescriptiveStat", ""}, {}, 1, 2, 1},
      {{"DescriptiveStat", ""}, kOthers, 1, 8, 1},
      {{"CrossVPlot", ""}, {}, 1, 0, 0, 104},
      {{"PrintPredictions", ""}, {}, 1, 2, 1},
      {{"PrintPredictions", ""}, kAll, 1, 4, 1},
      {{"Histograms", ""}, kAll, 12, 4, 1, 104},
      {{"PlotHistogramsOfX", ""}, {{"SelectedItemX", "6"}}, 1, 2, 1, 104},
      {{"Plot2DGraphOfXAndY", ""}, kPlot, 1, 4, 1, 104},
      {{"Plot3DGraphOfXYZ", ""}, kPlot, 2, 4, 1, 104},
      {{"CustomPredictions", ""}, {}},
      {{"CustomPredictions", "1 1.5 2 3"}, {}},
      {{"PrintCustomPredictions", ""}, {{"CustomPredictions", "1 1.5 2 3"}}, 1},
      {{"PrintCustomPredictions", ""},
       {{"CustomPredictions", "1 1.5 2 3"}, {"Options.SquaredEuclidean", "1"}},
       1,
       2},
      {{"SavePredictionsAndResiduals", ""}, {}, 0, 2, 1, 130, 18},
      {{"SavePredictionsAndResiduals", ""}, kAll, 0, 4, 1, 130, 18},
      {{"CodeGeneratorCLang", ""}, {}, 1, 0, 2, 0},
      {{"CodeGeneratorQVB", ""}, {}, 1, 0, 4, 0},
      {{"CodeGeneratorPMML", ""}, kOthers, 2, 0, 4, 0},
      {{"CodeGenerator", ""}, {}, 3, 0, 6, 0},
      {{"SelectOutputForPlotting", "2"}, {}},
      {{"Options.KNearestNeighbors", "9"}, {}},
      {{"Options.Euclidean", "1"}, kOthers},
      {{"Options.SquaredEuclidean", "1"}, {}},
      {{"Options.CityBlock", "1"}, {}},
      {{"Options.Chebychev", "1"}, {}},
      {{"Options.StandardizeDistances", "1"}, {}},
      {{"Options.UseWeightedAverage", "1"}, {}},
  });
  return requests;
}

/// Two classifications after a search of K, or two regressions.
class Results final : public WalkedResults, private KnnAnalysis {
 public:
  explicit Results(bool classifies)
      : KnnAnalysis(TableOf(classifies), {.folds = 3, .maximumK = 3}), classifies_(classifies) {
    KnnAnalysis::Put("ApplyCrossV", 1);
    Train();
  }
  static PlainTable TableOf(bool classifies) {
    constexpr Shape kValues = {"mixed inputs, two values", 2, 2, 2, 0, 5};
    return RandomTable(classifies ? kShapes[3] : kValues, 12, 6, 1);
  }

  AnalysisSession& session() override { return *this; }
  /// Confidences are those of classes.
  bool IsFor(const Step& step) const override {
    return classifies_ || step.name != "IncludeConfidence";
  }
  void Answer(const Step& step) override {
    AnalysisSession::host.outputAnswers.assign(
        1, step.name == "CodeGenerator" ? std::vector{0, 2} : std::vector{0, 1, 2, 3});
    AnalysisSession::host.fileNameAnswers.assign(1, "out.sav");
    AnalysisSession::host.inputFormAnswers.assign(1, {"1", "2", "1", "3"});
  }

 private:
  bool classifies_;
};

void FailAllRequests(const Fault& fault) {
  for (const bool classifies : {true, false}) {
    SCOPED_TRACE(classifies ? "classes" : "values");
    FailEveryRequest([=] { return std::make_unique<Results>(classifies); }, Requests(), fault);
  }
}

TEST(ResultsFaults, MemoryRefusedAnywhereGivesTheMessageAndTheSameRequestSucceedsAfterwards) {
  FailAllRequests(kFaults[0]);
}
TEST(ResultsFaults, ACancelAnywhereIsSilentAndTheSameRequestSucceedsAfterwards) {
  FailAllRequests(kFaults[1]);
}
TEST(ResultsFaults, ARefusedDocumentDropsTheRestOfTheRequestOnly) { FailAllRequests(kFaults[2]); }
TEST(ResultsFaults, ARefusedRowEndsTheSaveAndNothingIsKept) { FailAllRequests(kFaults[3]); }

TEST(ResultsFaults, AreTriedOnEveryMember) {
  Results results(true);
  ExpectEveryMember(results, Requests());
}

}  // namespace
}  // namespace qrvml::test
