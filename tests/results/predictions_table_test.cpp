// The predictions table and the saved variables: which columns and rows there are, and what a
// prototype shows.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;

/// Three prototypes around 0, 10 and 20; each test case is predicted from the nearest, so that K =
/// 1 predicts by x alone. Cases 2 and 5 are weighted.
TableFile Cases() {
  return TableFile(
      "x u=bas,haut y sexe=Homme,Femme *weight *name",
      {"0  bas  100 Homme 1 zéro", "1  haut 90  Femme 2 un", "10 bas 200 Femme 1 .",
       "20 haut 300 Homme 1 vingt", "11 haut 210 Homme 2 onze", "21 bas 310 Homme 1 ."});
}

/// Cases 1, 3 and 4 are the prototypes, the others test cases.
struct Trained : KnnAnalysis {
  explicit Trained(std::string_view variables = "| sexe | x | u", Properties properties = {})
      : KnnAnalysis(Cases(), variables, 3, std::move(properties)) {
    data().sampling.mode = SamplingMode::random;
    Put("SizeOfPrototypeSample", 50);
    // Walks to the cases 2, 5 and 6.
    for (const double draw : {1.5, 4.5, 5.5}) host.scriptedDraws.push_back(draw / 6);
    Train();
  }
};

Texts Headings(const Spreadsheet& table) {
  Texts headings;
  for (const auto& column : table.columns) headings.push_back(column.first + '/' + column.second);
  return headings;
}

std::vector<double> Column(const Spreadsheet& table, std::size_t column) {
  return table.columns.at(column).values;
}

TEST(PredictionsTable, ShowsTheIncludedColumnsInTheirOrder) {
  Trained knn;
  for (const char* include : {"IncludeInputs", "IncludeOutputs", "IncludeConfidence"})
    knn.Put(include, 1);
  ASSERT_TRUE(knn.Press("PrintPredictions").Succeeded());
  const Spreadsheet& table = knn.host.spreadsheets.at(0);
  EXPECT_EQ(table.title, "Prévisions et résidus, sexe (Test sous-ens.)");
  EXPECT_EQ(table.header, Texts{"Plus proches voisins = 1"});
  EXPECT_EQ(table.rowTitle + '/' + table.rowTitleSecond, "Obs./Nom");
  EXPECT_EQ(Headings(table),
            (Texts{"x/Indépendante", "u/Indépendante", "sexe/Dépendante", "sexe/Prévues",
                   "sexe/Précision", "Femme/ Niv. de confiance", "Homme/ Niv. de confiance"}));
  // A weighted case has a row per unit of weight.
  EXPECT_EQ(table.rowCases, (std::vector<std::int32_t>{2, 2, 5, 5, 6}));
  EXPECT_EQ(Column(table, 0), (std::vector<double>{1, 1, 11, 11, 21}));
  EXPECT_EQ(Column(table, 3), (std::vector<double>{1, 1, 2, 2, 1}));
  EXPECT_EQ(Column(table, 4), (std::vector<double>{1, 1, 1, 1, 0}));
  EXPECT_EQ(Column(table, 5), (std::vector<double>{0, 0, 1, 1, 0}));
  ASSERT_EQ(table.columns[4].labels.size(), 2u);
  EXPECT_EQ(table.columns[4].labels[0].text, "Correct");
  EXPECT_FALSE(table.columns[4].labels[0].marked);
  EXPECT_EQ(table.columns[4].labels[1].text, "Incorrect");
  EXPECT_TRUE(table.columns[4].labels[1].marked);
}

TEST(PredictionsTable, OfBothSamplesGoesByTheFileAndPredictsNoPrototype) {
  Trained knn("y | | x | u", {{"KNearestNeighbors", 2}});
  knn.Put("Overall", 1);
  ASSERT_TRUE(knn.Press("PrintPredictions").Succeeded());
  const Spreadsheet& table = knn.host.spreadsheets.at(0);
  EXPECT_EQ(table.title, "Prévisions et résidus, y (Les 2 sous-ens. sous-ens.)");
  EXPECT_EQ(Headings(table), (Texts{"y/Prévues", "y/K écarts-types", "y/Residus"}));
  EXPECT_EQ(table.rowCases, (std::vector<std::int32_t>{1, 2, 2, 3, 4, 5, 5, 6}));
  // The two nearest of x = 1 are 0 and 10: mean 150, deviation sqrt(50^2 + 50^2).
  EXPECT_EQ(Column(table, 0).at(1), 150);
  EXPECT_DOUBLE_EQ(Column(table, 1).at(1), std::sqrt(5000.0));
  EXPECT_EQ(Column(table, 2).at(1), 90 - 150);
  for (const std::size_t prototype : {0u, 3u, 4u}) {
    for (const std::size_t column : {0u, 1u, 2u})
      EXPECT_EQ(Column(table, column).at(prototype), -9999);
  }
}

TEST(PredictionsTable, OfThePrototypesHasOnlyInputsAndObservedValues) {
  Trained knn;
  knn.Put("TrainSubset", 1);
  EXPECT_FALSE(knn.dialog().IsEnabled("PrintPredictions"));
  EXPECT_FALSE(knn.dialog().IsEnabled("IncludePredictions"));
  EXPECT_FALSE(knn.dialog().IsEnabled("IncludeConfidence"));
  EXPECT_FALSE(knn.dialog().Put("IncludeResiduals", AutomationValue::Number(0)).Succeeded());
  EXPECT_EQ(knn.Press("PrintPredictions").text, "PrintPredictions is disabled");
  knn.Put("IncludeOutputs", 1);
  ASSERT_TRUE(knn.Press("PrintPredictions").Succeeded());
  EXPECT_EQ(Headings(knn.host.spreadsheets.at(0)), Texts{"sexe/Dépendante"});
  EXPECT_EQ(knn.host.spreadsheets[0].title, "Prévisions et résidus, sexe (Prototypes sous-ens.)");
}

TEST(PredictionsTable, ShowsTheLabelOfACategoryThatOnlyTestCasesHave) {
  KnnAnalysis knn(
      TableFile("x u=bas,haut,loin y", {"0 bas 1", "1 haut 2", "2 bas 3", "3 loin 4", "4 haut 5"}),
      "y | | x | u", 3);
  knn.Train();
  knn.Put("IncludeInputs", 1);
  ASSERT_TRUE(knn.Press("PrintPredictions").Succeeded());
  Texts labels;
  for (const CellLabel& label : knn.host.spreadsheets.at(0).columns.at(1).labels)
    labels.push_back(label.text);
  EXPECT_EQ(labels, (Texts{"bas", "haut", "loin"}));
}

TEST(Prototypes, AreListedByCaseNumberWithTheirInputs) {
  Trained knn;
  ASSERT_TRUE(knn.Press("Model").Succeeded());
  const Spreadsheet& table = knn.host.spreadsheets.at(0);
  EXPECT_EQ(table.title, "KNN");
  EXPECT_EQ(table.header, (Texts{"Nearest neighbors = 1, Distance type: Euclidienne",
                                 "Voting procedure: uniform"}));
  EXPECT_EQ(table.rowNames, (Texts{"1", "3", "4"}));
  EXPECT_EQ(Column(table, 0), (std::vector<double>{0, 10, 20}));
  EXPECT_EQ(table.columns[1].labels.at(1).text, "haut");
}

TEST(Saving, WritesEveryCaseByWeightBesideAllVariables) {
  Trained knn;
  knn.Put("IncludeConfidence", 1);
  knn.host.outputAnswers.push_back({0, 1, 3});
  knn.host.fileNameAnswers.push_back("out.sav");
  ASSERT_TRUE(knn.Press("SavePredictionsAndResiduals").Succeeded());
  const SavedFile& saved = knn.host.savedFiles.at(0);
  EXPECT_EQ(saved.path, "out.sav");
  EXPECT_EQ(saved.kept, (std::vector<int>{1, 2, 3, 4}));
  Texts names;
  for (const NewVariable& variable : saved.added)
    names.push_back(variable.name + '/' + variable.longName);
  EXPECT_EQ(names,
            (Texts{"sexe , Prévisions/Prévisions calculées", "sexe , Précision/Précision calculée",
                   "sexe-Homme, Confiance/Confiance calculée"}));
  using Saved = std::pair<int, std::vector<double>>;
  EXPECT_EQ(saved.rows, (std::vector<Saved>{{1, {-9999, -9999, -9999}},
                                            {2, {1, 1, 1}},
                                            {2, {1, 1, 1}},
                                            {3, {-9999, -9999, -9999}},
                                            {4, {-9999, -9999, -9999}},
                                            {5, {2, 1, 0}},
                                            {5, {2, 1, 0}},
                                            {6, {1, 0, 1}}}));
}

TEST(Saving, LeavesNothingBehindWhenItIsCancelledOrRefused) {
  Trained knn;
  EXPECT_FALSE(knn.Press("SavePredictionsAndResiduals").Succeeded()) << "nothing was picked";
  knn.host.outputAnswers.push_back({0});
  EXPECT_FALSE(knn.Press("SavePredictionsAndResiduals").Succeeded()) << "no file was named";
  knn.host.outputAnswers.push_back({0});
  knn.host.fileNameAnswers.push_back("out.sav");
  knn.host.cancelAtPoll = knn.host.polls + 1;
  EXPECT_FALSE(knn.Press("SavePredictionsAndResiduals").Succeeded());
  EXPECT_TRUE(knn.host.savedFiles.empty());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{});
}

}  // namespace
}  // namespace qrvml::test
