// The specification dialog through automation: its defaults, every step of OK with its message,
// what survives a failure, and the texts of a training run.
#include <ctime>

#include "knn/knn_analysis.h"
#include "knn/knn_dialog.h"

namespace qrvml::test {
namespace {

constexpr const char* kHeader = "x y g=A,B u=A,B s half";
const std::vector<std::string> kRows = {"1 10 A A 1 2", "2 20 B B 1 2.5", "3 30 A A 1 1",
                                        "4 40 B B 1 1", "5 50 A A 1 1",   "6 60 B B 2 1",
                                        "7 70 A A 2 1", "8 80 B B 2 1"};
TableFile Eight() { return TableFile(kHeader, kRows); }

TEST(KnnDialog, BeginsWithItsDefaults) {
  AnalysisSession session(Eight());
  session.ChooseKnn();
  const std::pair<const char*, double> defaults[] = {{"CasewiseDeletionOfMD", 1},
                                                     {"UseRandomSampling", 1},
                                                     {"SizeOfPrototypeSample", 75},
                                                     {"NValue", 6},
                                                     {"KNearestNeighbors", 1},
                                                     {"Euclidean", 1},
                                                     {"SquaredEuclidean", 0},
                                                     {"StandardizeDistances", 0},
                                                     {"UseWeightedAverage", 0},
                                                     {"ApplyCrossV", 0},
                                                     {"VValue", 10},
                                                     {"MinimumK", 1},
                                                     {"MaximumK", 5},
                                                     {"DeltaK", 1}};
  for (const auto& [name, value] : defaults) EXPECT_EQ(session.Number(name), value) << name;
  EXPECT_NEAR(session.Number("CrossVSeed"), double(std::time(nullptr) / 1000), 1);
}

const Message kPercentage = {0, "Size of training sample must lay in the range 1-100"};
const Message kFirstN = {
    207, "La valeur des N premières obs. doit être supérieure à 1 et inférieure à 8."};
const Message kK = {
    0, "Number of nearest neighbors for the specified analysis must lay in the range 1-5."};
const Message kV = {
    0,
    "The size of the cross-validation sample for the specific analysis must lay in the range 1-4."};
const Message kMinimum = {
    0,
    "Minimum number of nearest neighbors for the specific analysis must be lay in the range 1-4."};
const Message kMaximum = {
    0, "Maximum number of nearest neighbors for the specified analysis must lay in the range 1-4."};
const Message kDelta = {
    0, "Nearest neighbor increment for the specified analysis must be smaller or equal 7."};

TEST(KnnDialog, OkReportsOneFaultAfterTheOtherInItsFixedOrder) {
  AnalysisSession session(Eight());
  session.ChooseKnn();
  const auto dialog = session.automation();  // outlives the dialog
  session.Put("Variables", "| g | x | half");
  session.Put("UseSubsetvariable", 1);
  session.Put("Sample.Variable", "x");
  session.Put("ApplyCrossV", 1);
  // Everything is wrong at first; each step mends or changes one thing.
  for (const char* field : {"SizeOfPrototypeSample", "SeedForRandomSampling", "KNearestNeighbors",
                            "CrossVSeed", "VValue", "MinimumK", "MaximumK", "DeltaK"})
    EXPECT_TRUE(dialog->Type(field, "abc").Succeeded());
  struct Step {
    const char *control, *entry;
    Message message;
  };
  const Step steps[] = {
      {"CityBlock", "1", Of(315)},
      {"Sample.Active", "0", Of(205)},
      {"UseRandomSampling", "1", Of(208)},
      {"SizeOfPrototypeSample", "0", kPercentage},
      {"SizeOfPrototypeSample", "100", kPercentage},
      {"SizeOfPrototypeSample", "-1", kPercentage},
      {"SizeOfPrototypeSample", "0.001", Of(208)},
      {"SeedForRandomSampling", "-1", Of(208)},
      {"SeedForRandomSampling", "1.5", Of(208)},
      {"SeedForRandomSampling", "1000000000", Of(208)},
      {"SeedForRandomSampling", "3", Of(116)},  // "half" holds 2.5
      {"Variables", "| g | x |", Of(218)},      // 0.001 % of 8 cases are none
      {"UseFirstNCases", "1", kFirstN},         // N shows the size of the sample that was drawn
      {"NValue", "abc", Of(208)},
      {"NValue", "2.5", Of(208)},
      {"NValue", "1", kFirstN},
      {"NValue", "8", kFirstN},
      {"NValue", "5", Of(125)},
      {"KNearestNeighbors", "", Of(125)},
      {"KNearestNeighbors", "2.5", Of(125)},
      {"KNearestNeighbors", "0", kK},
      {"KNearestNeighbors", "6", kK},
      {"KNearestNeighbors", "5", Of(125)},
      {"CrossVSeed", "-1", Of(211)},
      {"CrossVSeed", "12", Of(125)},
      {"VValue", "0", kV},
      {"VValue", "5", kV},
      {"VValue", "4", Of(125)},
      {"MinimumK", "0", kMinimum},
      {"MinimumK", "5", kMinimum},
      {"MinimumK", "3", Of(125)},
      {"MaximumK", "0", kMaximum},
      {"MaximumK", "5", kMaximum},
      {"MaximumK", "2", Of(214)},
      {"MaximumK", "3", Of(214)},
      {"MaximumK", "4", Of(125)},
      {"DeltaK", "2.5", Of(125)},
      {"DeltaK", "0", Of(125)},
      {"DeltaK", "8", kDelta},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(std::string(step.control) + " = " + step.entry);
    if (!dialog->Type(step.control, step.entry).Succeeded()) session.Put(step.control, step.entry);
    EXPECT_FALSE(session.OK().Succeeded());
    EXPECT_EQ(session.host.messages, std::vector<Message>{step.message});
    EXPECT_EQ(session.host.exitStep, -1);
    ASSERT_TRUE(dialog->IsOpen());
    session.host.messages.clear();
    // What came before the fault is stored, what comes after it is not.
    const KNNEngine& engine = *session.analysis.knnEngine();
    if (step.message == Of(214)) {
      EXPECT_EQ(engine.k, 5);
      EXPECT_EQ(engine.crossValidationSeed, 12);
      EXPECT_EQ(engine.folds, 4);
      EXPECT_EQ(engine.minimumK, 3);
      EXPECT_EQ(engine.maximumK, 5) << "its default";
    }
    EXPECT_TRUE(engine.neighbourIndex.empty() && engine.crossValidationErrors.empty());
  }
  EXPECT_TRUE(dialog->Type("DeltaK", "7").Succeeded());
  EXPECT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.messages, std::vector<Message>{});
  EXPECT_EQ(session.host.exitStep, 107);
  EXPECT_EQ(session.host.exitMode, 2);
  EXPECT_EQ(session.analysis.knnEngine()->gridPoints, 1);
  EXPECT_EQ(session.analysis.knnEngine()->k, 3);
  EXPECT_EQ(session.dialog().Name(), "MachineLearningResultsKNN");
  EXPECT_FALSE(dialog->IsOpen());
  EXPECT_FALSE(session.OK().Succeeded()) << "the results have nothing to accept";
}

TEST(KnnDialog, ReadsTheSearchOfKOnlyWhileItIsOnButItsSeedAlways) {
  KnnAnalysis knn(Eight(), "y | | x |", 5);
  for (const char* field : {"VValue", "MinimumK", "MaximumK", "DeltaK"})
    EXPECT_TRUE(knn.dialog().Type(field, "abc").Succeeded());
  knn.Put("CrossVSeed", -1);
  EXPECT_FALSE(knn.OK().Succeeded());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(211)});
  knn.host.messages.clear();
  knn.Put("CrossVSeed", 0.0);
  knn.Put("KNearestNeighbors", 5);  // as many as there are prototypes
  knn.Train();
}

TEST(KnnDialog, DataFaultsHaveTheirOwnMessages) {
  struct Row {
    const char* variables;
    double firstN;
    int message;
  };
  const Row rows[] = {{"y | | x | half", 5, 116}, {"y | | x | s", 5, 220}, {"| s | x |", 5, 221}};
  for (const Row& row : rows) {
    KnnAnalysis knn(Eight(), row.variables, 5);
    EXPECT_FALSE(knn.OK().Succeeded());
    EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(row.message)});
    EXPECT_TRUE(knn.IsOpen());
  }
  TableFile noTest = Eight();
  for (int i = 5; i < 8; ++i) noTest.cases[i].status = CaseStatus::skip;
  KnnAnalysis knn(noTest, "y | | x |", 5);
  EXPECT_FALSE(knn.OK().Succeeded());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(219)});
}

TEST(KnnDialog, OkAsksForVariablesWhileThereAreNone) {
  AnalysisSession session(Eight());
  session.ChooseKnn();
  EXPECT_FALSE(session.OK().Succeeded());
  EXPECT_EQ(session.host.variableListsRequests.size(), 1u) << "asked, and cancelled";
  session.host.variableListAnswers = {{{2}, {}, {1}, {}}};
  EXPECT_FALSE(session.OK().Succeeded());
  EXPECT_EQ(session.Text("Variables"), "y |  | x | ");
  EXPECT_EQ(session.host.exitStep, -1);
  EXPECT_EQ(session.host.messages, std::vector<Message>{});
  const VariableListsRequest& request = session.host.variableListsRequests.back();
  EXPECT_EQ(request.captions,
            (std::vector<std::string>{"Dépend. continue(s) : ", "Dépend. catégorielle(s) : ",
                                      "Prédicteurs continus : ", "Prédicteurs catégoriels : "}));
}

TEST(KnnDialog, OtherVariablesFreeTheArraysAndKeepTheSettings) {
  KnnAnalysis knn(Eight(), "y | | x |", 5,
                  {{"UseWeightedAverage", 1},
                   {"StandardizeDistances", 1},
                   {"Chebychev", 1},
                   {"ApplyCrossV", 1},
                   {"VValue", 3},
                   {"MinimumK", 2},
                   {"MaximumK", 4}});
  knn.Train();
  const int found = knn.engine().k;
  EXPECT_TRUE(knn.Cancel().Succeeded());
  EXPECT_EQ(knn.host.exitStep, 104);
  EXPECT_EQ(knn.host.exitMode, 1);
  EXPECT_EQ(knn.Number("KNearestNeighbors"), found) << "the dialog shows what the engine holds";
  EXPECT_FALSE(knn.engine().crossValidationErrors.empty());
  knn.Put("Variables", "| g | x | u");
  const KNNEngine& engine = knn.engine();
  EXPECT_TRUE(engine.neighbourIndex.empty() && engine.predictions.empty() &&
              engine.classScores.empty() && engine.crossValidationErrors.empty());
  EXPECT_EQ(engine.gridPoints, 0);
  EXPECT_EQ(engine.k, found);
  EXPECT_TRUE(engine.weighted && engine.applyCrossValidation && knn.data().scaleInputs);
  EXPECT_EQ(engine.metric, Metric::chebychev);
  EXPECT_EQ(engine.folds, 3);
  EXPECT_EQ(engine.minimumK, 2);
  knn.Train();
}

TEST(KnnDialog, StandardisationTakesBackScalingOfOutputs) {
  for (const double on : {1.0, 0.0}) {
    KnnAnalysis knn(Eight(), "y | | x |", 5);
    knn.data().scaleOutputs = true;
    knn.Put("StandardizeDistances", on);
    EXPECT_EQ(knn.data().scaleInputs, on == 1);
    EXPECT_FALSE(knn.data().scaleOutputs);
  }
}

using Texts = std::vector<std::string>;

TEST(KnnTraining, IsSilentUnderAutomation) {
  KnnAnalysis knn(Eight(), "y | | x |", 5, {{"ApplyCrossV", 1}, {"VValue", 2}, {"MaximumK", 2}});
  knn.host.modal = [](int, CAnalysisDialog&) { return ADD_FAILURE() << "no dialog is due", false; };
  knn.Train();
  EXPECT_EQ(knn.host.statusTexts, Texts{});
  EXPECT_EQ(knn.host.detailTexts, Texts{});
}

TEST(KnnTraining, ShowsItsProgressInTwoLinesWhenItIsInteractive) {
  struct Row {
    const char* variables;
    bool search;
    Texts status, detail;
  };
  const Texts search = {"Initialisation de la validation croisée...",
                        "Shuffling data for corss validation...", "Data shuffling is complete",
                        "Applying crossvalidation...", "Validation croisée terminée"};
  const Texts folds = {"Itérations... 1", "Corss validation fold 1", "Corss validation fold 2",
                       "Corss validation fold 3"};
  const auto with = [](Texts texts, const char* last) {
    texts.emplace_back(last);
    return texts;
  };
  const char* classes = "Calcul des statistiques de classification en cours...";
  const char* values = "Calcul des statistiques de régression en cours...";
  const char* regression = "Computing regression statistics...";
  const Row rows[] = {
      {"| g | x |", false, {classes}, {"Itérations... 1"}},
      {"y | | x |", false, {values}, {"Itérations... 1", regression}},
      {"| g | x |", true, with(search, classes), folds},
      {"y | | x |", true, with(search, values), with(folds, regression)},
  };
  for (const Row& row : rows) {
    KnnAnalysis knn(Eight(), row.variables, 5,
                    {{"ApplyCrossV", row.search}, {"VValue", 3}, {"MaximumK", 2}});
    knn.host.isAutomation = false;
    int opened = 0;
    knn.host.modal = [&](int templateId, CAnalysisDialog& dialog) {
      ++opened;
      EXPECT_EQ(templateId, 3751);
      EXPECT_EQ(dialog.Title(), "Apprentissage en cours...");
      return dialog.OnOK();
    };
    knn.Train();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(knn.host.statusTexts, row.status);
    EXPECT_EQ(knn.host.detailTexts, row.detail);
    EXPECT_EQ(knn.host.openIterDisplays, 0);
  }
}

}  // namespace
}  // namespace qrvml::test
