// The analysis as its host sees it: steps, names, what a choice of kind and a new file reset.
#include <gtest/gtest.h>

#include "frame/module_entry.h"
#include "frame/startup_dialog.h"
#include "knn/knn_dialog.h"
#include "support/scripted_host.h"

extern "C" qrvml::CAnalysisSupport* Tvx6NewAnalysis();

namespace qrvml::test {
namespace {

TableFile Heights() {
  return TableFile("height  sex=Homme,Femme",
                   {"170 Homme", "172 Femme", "180 Homme", "165 Femme", "168 Femme"});
}

TEST(Factory, MakesAnalysesThatHaveTheModulesIdentity) {
  const std::unique_ptr<CAnalysisSupport> first(Tvx6NewAnalysis()), second(Tvx6NewAnalysis());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  for (const auto* analysis : {first.get(), second.get()}) {
    EXPECT_EQ(analysis->GetAnalysisID(), 3731);
    EXPECT_EQ(analysis->GetAnalysisName(), "Machine Learning ");
    EXPECT_EQ(analysis->document(), nullptr);
    EXPECT_EQ(analysis->GetLibInstance(), ModuleInstance());
  }
  EXPECT_NE(ModuleInstance(), nullptr);
}

TEST(Sequence, StoresItsStepsInOrderAndTheFirstGoesOnByItself) {
  AnalysisSession session(Heights());
  std::vector<int> steps;
  for (const SequenceEntry& entry : session.analysis.sequence().entries()) {
    steps.push_back(entry.step);
    EXPECT_EQ(entry.following, entry.step == 100 ? 101 : 0);
  }
  EXPECT_EQ(steps, (std::vector{100, 101, 102, 103, 104, 107, 106, 105}));
  EXPECT_EQ(session.analysis.RunStep(99), -1);
}

TEST(Sequence, GoesFromTheStartToTheResultsAndBack) {
  AnalysisSession session(Heights());
  session.OpenStartup();
  EXPECT_EQ(session.host.templateId, 3732);
  session.ChooseKnn();
  EXPECT_EQ(session.host.templateId, 3740);
  EXPECT_EQ(session.dialog().Title(), "K Plus Proches Voisins ");
  session.Put("Variables", "| sex | height |");
  session.Put("UseFirstNCases", 1);
  session.Put("NValue", 3);
  EXPECT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.templateId, 3759);
  EXPECT_EQ(session.host.exitMode, 2);
  EXPECT_TRUE(session.host.messages.empty());
  const KNNEngine* const trained = session.analysis.knnEngine();
  EXPECT_TRUE(session.Cancel().Succeeded());
  EXPECT_EQ(session.host.templateId, 3740);
  EXPECT_EQ(session.host.exitMode, 1);
  EXPECT_EQ(session.analysis.knnEngine(), trained);
  EXPECT_EQ(session.Number("NValue"), 3);
  EXPECT_TRUE(session.Cancel().Succeeded());
  EXPECT_EQ(session.host.templateId, 3732);
  EXPECT_TRUE(session.Cancel().Succeeded());
  EXPECT_EQ(session.host.exitStep, 0);
}

TEST(Sequence, ReportsADialogThatTheHostDoesNotCreate) {
  AnalysisSession session(Heights());
  session.host.refuseDialogs = true;
  EXPECT_EQ(session.analysis.RunStep(kStartStep), -1);
  EXPECT_EQ(session.analysis.RunStep(kKnnStep), -1);  // no kind was chosen
  for (const int step : {kNaiveBayesStep, kSvmStep, kSvmResultsStep})
    EXPECT_EQ(session.analysis.RunStep(step), -1);
  EXPECT_EQ(session.analysis.RunStep(kKnnResultsStep), -1);
}

TEST(ChoosingAKind, StartsItAfresh) {
  AnalysisSession session(Heights());
  session.ChooseKnn();
  const double firstN = session.Number("NValue");
  EXPECT_EQ(firstN, 3);  // three quarters of five, truncated
  session.Put("Variables", "| sex | height |");
  session.Put("MeanSubstitutionOfMD", 1);
  session.Put("StandardizeDistances", 1);
  session.Put("UseWeightedAverage", 1);
  session.Put("Chebychev", 1);
  session.Put("UseFirstNCases", 1);
  session.Put("NValue", 2);
  session.As<KNNDialog>().engine().k = 4;
  session.Cancel();
  session.ChooseKnn();
  EXPECT_EQ(session.Text("Variables"), "");
  for (const char* off : {"MeanSubstitutionOfMD", "StandardizeDistances", "UseWeightedAverage",
                          "Chebychev", "UseFirstNCases", "ApplyCrossV"})
    EXPECT_EQ(session.Number(off), 0) << off;
  for (const char* on : {"CasewiseDeletionOfMD", "Euclidean", "UseRandomSampling"})
    EXPECT_EQ(session.Number(on), 1) << on;
  EXPECT_EQ(session.Number("NValue"), firstN);
  EXPECT_EQ(session.Number("KNearestNeighbors"), 1);
  EXPECT_EQ(session.Number("SizeOfPrototypeSample"), 75);
}

TEST(ChoosingAKind, OfSupportVectorsTrainsAndLeadsToTheirResultsAndBack) {
  AnalysisSession session(Heights());
  session.OpenStartup();
  ASSERT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.templateId, 3742);
  EXPECT_EQ(session.dialog().Title(), "Support Vector Machines");
  session.Put("Variables", "| sex | height |");
  session.Put("ApplySampling", 0);
  ASSERT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.templateId, 3758);
  EXPECT_NE(session.analysis.svmEngine()->model, nullptr);
  EXPECT_TRUE(session.host.messages.empty());
  EXPECT_NE(session.host.diagnostics.find("Total nSV"), std::string::npos);
  EXPECT_TRUE(session.Cancel().Succeeded());
  EXPECT_EQ(session.host.templateId, 3742);
}

TEST(StartupDialog, ListsTheKindsAndTakesNoOther) {
  AnalysisSession session(Heights());
  session.OpenStartup();
  EXPECT_EQ(session.Number("TypeOfAnalysis"), 0);
  for (const double other : {-1.0, 3.0, 0.5}) {
    EXPECT_EQ(session.dialog().Put("TypeOfAnalysis", AutomationValue::Number(other)).code,
              kAutomationFailure);
  }
  EXPECT_FALSE(session.dialog().Put("TypeOfAnalysis", AutomationValue::Text("scMLX")).Succeeded());
  EXPECT_EQ(session.Number("TypeOfAnalysis"), 0);
  EXPECT_EQ(session.As<StartupDialog>().Description(),
            "Support Vector Machine pour des problèmes de classification et de régression");
  session.Put("TypeOfAnalysis", 2);
  EXPECT_TRUE(session.Press("DoubleClick").Succeeded());
  EXPECT_EQ(session.dialog().Name(), "MachineLearningKNN");
}

TEST(ANewFile, LeavesNoEngineAndTheDefaultsOfItsOwnSize) {
  AnalysisSession session(Heights());
  session.ChooseKnn();
  session.Put("Variables", "| sex | height |");
  session.Put("UseFirstNCases", 1);
  session.Put("UseFirstNCases", 1);
  session.Put("NValue", 3);
  ASSERT_TRUE(session.OK().Succeeded());
  EXPECT_NE(session.analysis.knnEngine(), nullptr);
  session.host.dialog.reset();
  session.ChangeFile(TableFile("x", std::vector<std::string>(100, "1")));
  EXPECT_EQ(session.analysis.knnEngine(), nullptr);
  EXPECT_EQ(session.analysis.analysisKind, scMLSVM);
  EXPECT_EQ(session.host.LiveBlocks(), 0u);
  EXPECT_EQ(session.data().sampling.firstN, 75);
  EXPECT_TRUE(session.data().roles().IsEmpty());
}

}  // namespace
}  // namespace qrvml::test
