// The results dialog through automation: results text, tables, graphs, typed cases and saving, held
// against problems whose solution is known in closed form.
#include <algorithm>
#include <cmath>

#include "host/numerics.h"
#include "host/string_table.h"
#include "svm/svm_analysis.h"
#include "svm/svm_model_texts.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;
using Numbers = std::vector<double>;

/// zeta (code 1) appears first, alpha (code 2) comes first by text. Between the first three cases
/// the border is x = 0 with w = (1, 0): multipliers 1/2, 1/4, 1/4, constant 0. The last case is
/// taken for zeta.
TableFile Triangle() {
  return TableFile(
      "k=zeta,alpha  x  z  *weight *name",
      {"zeta 1 0 1 .", "alpha -1 1 1 b", "alpha -1 -1 1 .", "zeta 3 0 2 Eve", "alpha 2 0 1 ."});
}
/// Half a unit wide around f(x) = 8 x + 1, with both multipliers 8.
TableFile Line() { return TableFile("y  x  *weight", {"0 0 1", "10 1 1", "20 2 1", "22 2 2"}); }

class Results : public SvmAnalysis {
 public:
  Results(TableFile table, std::string_view lists, int training)
      : SvmAnalysis(std::move(table), lists, training) {
    engine.parameters.kernelType = kLinearKernel;
    engine.parameters.stoppingAccuracy = 1e-6;
    engine.parameters.epsilon = 1;
  }
  /// The documents of an action: its spreadsheets or graphs are in the host.
  const Spreadsheet& Table(const char* action, std::size_t position = 0) {
    host().spreadsheets.clear();
    EXPECT_TRUE(session().Press(action).Succeeded()) << action;
    EXPECT_LT(position, host().spreadsheets.size());
    return host().spreadsheets.at(position);
  }
  const Graph& Drawn(const char* action) {
    host().graphs.clear();
    EXPECT_TRUE(session().Press(action).Succeeded()) << action;
    return host().graphs.at(0);
  }
  template <class Value>
  void Put(const char* name, Value value) {
    session().Put(name, value);
  }
  void Include(std::initializer_list<const char*> boxes) {
    for (const char* box : {"Inputs", "Outputs", "Predictions", "Residuals", "Confidence"}) {
      const bool on = std::ranges::find(boxes, std::string_view(box), [](const char* b) {
                        return std::string_view(b);
                      }) != boxes.end();
      const std::string name = "Include" + std::string(box);
      if (session().dialog().IsEnabled(name)) session().Put(name, on ? 1 : 0);
    }
  }
};

Texts Headings(const Spreadsheet& table) {
  Texts headings;
  for (const auto& column : table.columns)
    headings.push_back(column.second.empty() ? column.first : column.first + '|' + column.second);
  return headings;
}

void ExpectNear(const Numbers& actual, const Numbers& expected, double tolerance = 1e-5) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (std::isnan(expected[i])) {
      EXPECT_TRUE(std::isnan(actual[i])) << i;
    } else {
      EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
    }
  }
}

TEST(SvmResults, HaveTheirRowsInOrderAndMembersThatFailWithAReason) {
  const std::vector<int> rows = {50456, 50457, 50458, 50459, 50429, 50430, 50431,
                                 50433, 50434, 50435, 50436, 50437, 50438, 50439,
                                 50441, 50442, 50443, 50444, 50445, 50446, 50447,
                                 41181, 41180, 50450, 26364, 26364, 26363, 26365};
  Results results(Triangle(), "| k | x z |", 3);
  QrvAnalysisDialog& dialog = results.OpenResults();
  EXPECT_EQ(results.host().templateId, 3758);
  EXPECT_EQ(dialog.Name(), "MachineLearningResultsSVM");
  EXPECT_EQ(dialog.Title(), "Résultats ");
  std::vector<int> described;
  for (const auto& row : dialog.DialogControlDescr()) described.push_back(row.identifier);
  EXPECT_EQ(described, rows);
  for (const char* name : {"CrossVPlot", "SelectOutputForPlotting"}) {
    AutomationValue value;
    EXPECT_FALSE(dialog.IsEnabled(name));
    for (const AutomationResult& result :
         {dialog.Get(name, value), dialog.Press(name), dialog.Put(name, AutomationValue::Text("1")),
          dialog.Type(name, "1")}) {
      EXPECT_EQ(result.code, kAutomationFailure);
      EXPECT_NE(result.text.find("support vector machines"), std::string::npos) << result.text;
    }
  }
  EXPECT_TRUE(results.host().spreadsheets.empty() && results.host().graphs.empty());
}

TEST(SvmResults, EnableWhatTheAnalysisHas) {
  const struct {
    const char* lists;
    int training;
    bool penalties;
    Texts enabled, disabled;
  } rows[] = {
      {"| k | x z |", 3, true, {"TestSubset", "Overall", "IncludeConfidence", "ClassPenalty"}, {}},
      {"| k | x z |", 0, false, {"IncludeConfidence"}, {"TestSubset", "Overall", "ClassPenalty"}},
      {"z | | x |", 0, true, {"IncludeOutputs"}, {"IncludeConfidence", "ClassPenalty"}}};
  for (const auto& row : rows) {
    Results results(Triangle(), row.lists, row.training);
    results.engine.usePenalty = row.penalties;
    QrvAnalysisDialog& dialog = results.OpenResults();
    for (const auto& name : row.enabled) EXPECT_TRUE(dialog.IsEnabled(name)) << name;
    for (const auto& name : row.disabled) EXPECT_FALSE(dialog.IsEnabled(name)) << name;
    EXPECT_EQ(dialog.HasTab("Pénalité"), dialog.IsEnabled("ClassPenalty"));
    EXPECT_EQ(results.session().Number(row.training > 0 ? "TestSubset" : "TrainSubset"), 1);
    results.Include({});
    for (const char* name : {"PrintPredictions", "Histograms"})
      EXPECT_FALSE(dialog.IsEnabled(name)) << name;
    EXPECT_TRUE(dialog.IsEnabled("SavePredictionsAndResiduals")) << "variables of the file remain";
    EXPECT_FALSE(dialog.IsEnabled("PrintCustomPredictions"));
  }
}

TEST(SvmModelTexts, NameTypeAndKernelWithTheirParameters) {
  SVMParameters p;
  p.C = 2;
  p.nu = 0.25;
  p.epsilon = 0.5;
  p.gamma = 0.0625;
  p.coef0 = 3;
  const struct {
    int svmType, kernelType;
    const char *type, *kernel, *typeHeader, *kernelHeader;
  } rows[] = {
      {0, 0, "Classification type 1 (C=2.000)", "Linéaire",
       "SVM: Classification type 1 (C=2.000000)", "Kernel: Linéaire"},
      {1, 1, "Classification type 2 (Nu=0.250)", "Polynomial (Degree=3, Gamma=0.062, Bias=3.000)",
       "SVM: Classification type 2 (nu=0.250000)",
       "Kernel: Polynomial (degree=3.000000,gamma0.062500,bias=3.000000)"},
      {3, 2, "Régression type 1 (C=2.000, Epsilon=0.500)", "Fonction Radiale de Base (Gamma=0.062)",
       "SVM: Régression type 1 (C=2.000000,epsilon= 0.500000)",
       "Kernel: Fonction Radiale de Base (gamma=0.062500)"},
      {4, 3, "Régression type 2 (C=2.000, Nu=0.250)", "Sigmoïde (Gamma=0.062, Bias=3.000)",
       "SVM: Régression type 2 (C=2.000000,nu= 0.250000)",
       "Kernel: Sigmoïde (gamma=0.062500,bias=3.000000)"}};
  for (const auto& row : rows) {
    p.svmType = row.svmType;
    p.kernelType = row.kernelType;
    EXPECT_EQ(svm::TypeLine(p), row.type);
    EXPECT_EQ(svm::KernelLine(p), row.kernel);
    EXPECT_EQ(svm::ModelHeader(p), (Texts{row.typeHeader, row.kernelHeader}));
  }
}

TEST(SvmResultsText, DescribesAClassificationLineByLine) {
  for (const bool bounded : {false, true}) {
    Results results(Triangle(), "| k | x z |", 3);
    if (bounded) results.engine.parameters.C = 0.1;  // below the multiplier 1/2
    results.OpenResults();
    EXPECT_EQ(results.host().resultsText,
              (Texts{"Variables:", "   Variable dépendante : k",
                     "   Variables indépendantes : x, z", " ", "Support Vector machine results:",
                     bounded ? "  Type de SVM : Classification type 1 (C=0.100)"
                             : "  Type de SVM : Classification type 1 (C=10.000)",
                     "  Type de noyau : Linéaire",
                     bounded ? "  No. of SVs = 3 (1 borné)" : "  No. of SVs = 3 (0 borné)",
                     "  No. of SVs/class : 2 (alpha), 1 (zeta)", " ",
                     // With the small C the border is x = 4: all are taken for alpha.
                     bounded ? "  Class. accuracy (%) = 66.667 (Apprentissage), 33.333 (Test), "
                               "50.000 (Les 2 sous-ens.)"
                             : "  Class. accuracy (%) = 100.000 (Apprentissage), 66.667 (Test), "
                               "83.333 (Les 2 sous-ens.)"}));
  }
}

TEST(SvmResultsText, DescribesARegressionWithAndWithoutATestSample) {
  const Texts head = {"Variables:",
                      "   Variable dépendante : y",
                      "   Variable indépendante : x",
                      " ",
                      "Support Vector machine results:",
                      "  Type de SVM : Régression type 1 (C=10.000, Epsilon=1.000)",
                      "  Type de noyau : Linéaire",
                      "  No. of SVs = 2 (0 borné)",
                      " "};
  // Errors: training -1 and 1, test 3.
  const struct {
    std::size_t cases;
    int training;
    Texts tail;
  } rows[] = {
      {2,
       0,
       {"  Mean error squard = 1.000 (Apprentissage)", "  S.D. ratio = 0.200 (Apprentissage)",
        "  Coefficient de corrélation = 1.000 (Apprentissage)"}},
      {3,
       2,
       {"  Mean error squard = 1.000 (Apprentissage), 9.000 (Test), 3.667 (Les 2 sous-ens.)",
        "  S.D. ratio = 0.200 (Apprentissage), - (Test), 0.200 (Les 2 sous-ens.)",
        "  Coefficient de corrélation = 1.000 (Apprentissage), 0.000 (Test), 1.000 (Les 2 "
        "sous-ens.)"}}};
  for (const auto& row : rows) {
    TableFile table = Line();
    table.cases.resize(row.cases);
    Results results(std::move(table), "y | | x |", row.training);
    results.OpenResults();
    Texts expected = head;
    expected.insert(expected.end(), row.tail.begin(), row.tail.end());
    EXPECT_EQ(results.host().resultsText, expected);
  }
}

TEST(SvmResultsText, HasALineForASearchAndSaysWhenItChoseNothing) {
  for (const char* lists : {"| k | x z |", "z | | x |"}) {
    for (const double maximumC : {3.0, 1.0}) {
      Results results(Triangle(), lists, 0);
      SVMEngine& engine = results.engine;
      engine.applyCrossValidation = true;
      engine.crossValidationSeed = 3;
      engine.folds = 3;
      engine.maximumC = maximumC;
      results.OpenResults();
      const bool classifies = engine.IsClassification();
      const std::string label = classifies ? "  Précision validation croisée (%) (%) = "
                                           : "  Erreur validation croisée = ";
      const double best = classifies ? engine.bestAccuracy : engine.bestError;
      EXPECT_EQ(results.host().resultsText[8],
                label + (maximumC > 1 ? FixedText(best, 3)
                                      : "aucun point de la grille retenu ; C et epsilon "
                                        "inchangés"));
      if (maximumC > 1) continue;
      EXPECT_EQ(engine.parameters.C, 10);
      EXPECT_EQ(engine.parameters.epsilon, 1);
    }
  }
}

TEST(SvmModel, IsSummarised) {
  Results classification(Triangle(), "| k | x z |", 3);
  classification.OpenResults();
  const Spreadsheet& table = classification.Table("Summary");
  EXPECT_EQ(table.title, "k");
  EXPECT_EQ(table.rowTitle, "Spécif. du modèle");
  EXPECT_EQ(table.rowNames,
            (Texts{"Nbre de vars indépendantes", "Type de SVM ", "Type de noyau ", "Nombre de SVM",
                   "Nombre de SVM ( alpha )", "Nombre de SVM ( zeta )"}));
  EXPECT_EQ(Headings(table), Texts{"Valeur"});
  EXPECT_EQ(table.columns[0].values, (Numbers{2, 0, 0, 3, 2, 1}));
  EXPECT_EQ(table.columns[0].texts,
            (Texts{"", "Classification type 1", "Linéaire", "3  ( 0  bounded)", "", ""}));

  Results regression(Line(), "y | | x |", 2);
  regression.OpenResults();
  EXPECT_EQ(regression.Table("Summary").title, "Synthèse du modèle, y");
  EXPECT_EQ(regression.Table("Summary").rowNames.size(), 4u);
}

TEST(SvmModel, IsSpecifiedByCoefficientsVectorsAndConstants) {
  Results results(Triangle(), "| k | x z |", 3);
  results.OpenResults();
  const Spreadsheet vectors = results.Table("Model");
  EXPECT_EQ(vectors.title, "SVM model specifications (coefficients and support vectors), ");
  EXPECT_EQ(vectors.header,
            (Texts{"SVM: Classification type 1 (C=10.000000)", "Kernel: Linéaire"}));
  EXPECT_EQ(vectors.rowTitle + '/' + vectors.rowTitleSecond, "Support/vector");
  EXPECT_EQ(vectors.rowNames, (Texts{"1", "2", "3"}));
  EXPECT_EQ(Headings(vectors), (Texts{"Coefficients|1", "Support vector|x", "Support vector|z"}));
  ExpectNear(vectors.columns[0].values, {0.5, -0.25, -0.25});
  EXPECT_EQ(vectors.columns[1].values, (Numbers{1, -1, -1}));
  EXPECT_EQ(vectors.columns[2].values, (Numbers{0, 1, -1}));
  const Spreadsheet& constants = results.Table("Model", 1);
  EXPECT_EQ(constants.title, "SVM model specifications (decision constannts), ");
  EXPECT_EQ(constants.header, vectors.header);
  EXPECT_EQ(constants.rowTitle + '/' + constants.rowTitleSecond, "Constants in decision/functions");
  EXPECT_EQ(constants.rowNames, Texts{"1"});
  EXPECT_EQ(Headings(constants), Texts{"Valeur"});
  ExpectNear(constants.columns[0].values, {0});
}

TEST(SvmModel, ShowsScaledInputsAndOneColumnPerCategoryInCodeOrder) {
  // Three classes make two rows of coefficients and three constants.
  Results results(TableFile("k=a,b,c  x  g=z,y,w",
                            {"a 10 y", "b 20 z", "c 30 w", "a 11 z", "b 21 z", "c 28 w"}),
                  "| k | x | g", 0);
  results.data().scaleInputs = true;
  results.OpenResults();
  const Spreadsheet& vectors = results.Table("Model");
  EXPECT_EQ(Headings(vectors),
            (Texts{"Coefficients|1", "Coefficients|2", "Support vector|x", "Support vector|g_z",
                   "Support vector|g_y", "Support vector|g_w"}));
  for (std::size_t s = 0; s < vectors.Rows(); ++s) {
    const auto at = [&](std::size_t column) { return vectors.columns[column].values[s]; };
    EXPECT_GE(at(2), 0);
    EXPECT_LE(at(2), 1);
    EXPECT_EQ(at(3) + at(4) + at(5), 1);
    const bool isW = at(5) == 1;
    EXPECT_EQ(at(2) > 0.8, isW) << "the largest x have the category w";
  }
  EXPECT_EQ(results.Table("Model", 1).rowNames, (Texts{"1", "2", "3"}));
}

TEST(SvmStatisticsTables, CountObservedByPredictedForTheChosenSubset) {
  Results results(Triangle(), "| k | x z |", 3);
  results.OpenResults();
  // Classes alpha, zeta; the test sample has two zeta and one alpha taken for zeta.
  const struct {
    const char *subset, *label;
    Numbers total, correct, ofAlpha;  // ofAlpha: predicted alpha, predicted zeta
  } rows[] = {{"TrainSubset", "(Apprentissage)", {2, 1}, {2, 1}, {2, 0}},
              {"TestSubset", "(Test)", {1, 2}, {0, 2}, {0, 1}},
              {"Overall", "(Les 2 sous-ens.)", {3, 3}, {2, 3}, {2, 1}}};
  for (const auto& row : rows) {
    results.Put(row.subset, 1);
    const Spreadsheet summary = results.Table("DescriptiveStat");
    EXPECT_EQ(summary.title, std::string("Classification summary, k ") + row.label);
    EXPECT_EQ(summary.rowNames, (Texts{"alpha", "zeta"}));
    EXPECT_EQ(Headings(summary),
              (Texts{"Total", "Correct", "Incorrect", "Correct(%)", "Incorrect(%)"}));
    EXPECT_EQ(summary.columns[0].values, row.total);
    EXPECT_EQ(summary.columns[1].values, row.correct);
    const Spreadsheet& matrix = results.Table("DescriptiveStat", 1);
    EXPECT_EQ(matrix.title, std::string("Matrice de confusion k ") + row.label);
    EXPECT_EQ(matrix.header, Texts{"Predicted (rows) x Observed (columns)"});
    EXPECT_EQ(matrix.rowTitle + '/' + matrix.rowTitleSecond, "Classe/Prévues");
    EXPECT_EQ(Headings(matrix), (Texts{"alpha", "zeta"}));
    EXPECT_EQ(matrix.columns[0].values, row.ofAlpha);
  }
}

TEST(SvmStatisticsTables, SummariseARegressionOfTheChosenSubset) {
  Results results(Line(), "y | | x |", 2);
  results.OpenResults();
  const char* const subsets[][3] = {{"TrainSubset", "Training cases", "(Apprentissage)"},
                                    {"TestSubset", "Test cases", "(Test)"},
                                    {"Overall", "All cases", "(Les 2 sous-ens.)"}};
  for (int s = 0; s < 3; ++s) {
    results.Put(subsets[s][0], 1);
    const Spreadsheet& table = results.Table("DescriptiveStat");
    EXPECT_EQ(table.title, std::string("Regression summary, y ") + subsets[s][2]);
    EXPECT_EQ(table.rowTitle, subsets[s][1]);
    EXPECT_EQ(table.rowTitleSecond, "regression summary");
    EXPECT_EQ(table.rowNames,
              (Texts{"Moy. observée", "Moy. prévues", "Observed S.D.", "Predictions S.D.",
                     "Sum of squared error", "Error mean", "Error S.D.", "Abs. error mean",
                     "S.D. ratio", "Correlation"}));
    const RegressionStatistics& ten = results.engine.regressionStatistics(Subset(s));
    const Numbers& shown = table.columns[0].values;
    ExpectNear({shown[0], shown[4], shown[9]},
               {ten.observedMean, ten.meanSquaredError, ten.correlation}, 0);
  }
}

TEST(SvmPredictions, RepeatAWeightedCaseAndShowEachClassItsOwnVotes) {
  Results results(Triangle(), "| k | x z |", 3);
  results.OpenResults();
  results.Put("Overall", 1);
  results.Include({"Inputs", "Outputs", "Predictions", "Residuals", "Confidence"});
  const Spreadsheet& table = results.Table("PrintPredictions");
  EXPECT_EQ(table.title, "Prévisions et résidus, k (Les 2 sous-ens.)");
  EXPECT_EQ(table.rowTitle + '/' + table.rowTitleSecond, "Obs./Nom");
  EXPECT_EQ(Headings(table), (Texts{"x|Indépendante", "z|Indépendante", "k|Dépendante", "k|Prévues",
                                    "k|Précision", "alpha|Confiance", "zeta|Confiance"}));
  EXPECT_EQ(table.rowCases, (std::vector<std::int32_t>{1, 2, 3, 4, 4, 5}));
  EXPECT_EQ(table.columns[0].values, (Numbers{1, -1, -1, 3, 3, 2}));
  EXPECT_EQ(table.columns[2].values, (Numbers{1, 2, 2, 1, 1, 2}));
  EXPECT_EQ(table.columns[3].values, (Numbers{1, 2, 2, 1, 1, 1}));
  EXPECT_EQ(table.columns[4].values, (Numbers{0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(table.columns[5].values, (Numbers{0, 1, 1, 0, 0, 0}));
  EXPECT_EQ(table.columns[6].values, (Numbers{1, 0, 0, 1, 1, 1}));
  EXPECT_EQ(table.columns[3].labels[1].text, "alpha");
  EXPECT_TRUE(table.columns[4].labels[1].marked);
  EXPECT_EQ(table.columns[4].labels[1].text, "Incorrect");

  Results line(Line(), "y | | x |", 2);
  line.data().scaleInputs = line.data().scaleOutputs = true;
  line.engine.parameters.epsilon = 0.1;
  line.OpenResults();
  line.Include({"Inputs", "Outputs", "Predictions", "Residuals"});
  const Spreadsheet& values = line.Table("PrintPredictions");
  EXPECT_EQ(values.title, "Prévisions et résidus, y (Test)");
  EXPECT_EQ(Headings(values), (Texts{"x|Indépendante", "y|Dépendante", "y|Prévues", "y|Residus"}));
  // y from 0 to 22 becomes -1 to 1, so 0.1 is 1.1: f goes from (0, 1.1) to (1, 8.9).
  ExpectNear(values.columns[0].values, {2, 2, 2});
  ExpectNear(values.columns[1].values, {20, 22, 22});
  ExpectNear(values.columns[2].values, {16.7, 16.7, 16.7});
  ExpectNear(values.columns[3].values, {3.3, 5.3, 5.3});
}

TEST(SvmPenaltyTable, ListsTheClassesInTextOrderWithTheirTrainingCases) {
  Results results(Triangle(), "| k | x z |", 3);
  results.engine.SetUsePenalty(true);
  ASSERT_TRUE(results.Load());
  results.engine.SetClassWeights(std::vector{2.5, 1.0});
  results.OpenResults();
  const Spreadsheet& table = results.Table("ClassPenalty");
  EXPECT_EQ(table.title, "Penalty for imbalanced data, k");
  EXPECT_EQ(table.rowTitle, "Pénalité");
  EXPECT_EQ(table.rowNames, (Texts{"alpha", "zeta"}));
  EXPECT_EQ(Headings(table), (Texts{"Effectifs", "Pénalité"}));
  EXPECT_EQ(table.columns[0].format, NumberFormat::count);
  EXPECT_EQ(table.columns[0].values, (Numbers{2, 1}));
  EXPECT_EQ(table.columns[1].values, (Numbers{2.5, 1}));
  EXPECT_EQ(results.session().Text("Penalties.List"),
            "Nom de la classe\tEffectifs\tPénalité\nalpha\t2\t2.500000\nzeta\t1\t1.000000");
}

TEST(SvmTypedCase, IsListedWithABlankRowAndPredictedAsACaseOfTheFile) {
  Results results(Triangle(), "| k | x z |", 3);
  results.OpenResults();
  results.Put("CustomPredictions", "-2 0.5");
  const Spreadsheet& table = results.Table("PrintCustomPredictions");
  EXPECT_EQ(table.title, "Prévisions perso.");
  EXPECT_EQ(table.rowTitle + '/' + table.rowTitleSecond, "Independent and/dependent variables");
  EXPECT_EQ(table.rowNames, (Texts{"x", "z", "", "k"}));
  ExpectNear(table.columns[0].values, {-2, 0.5, kEmptyCell, 2});
  EXPECT_EQ(table.columns[0].texts, (Texts{"", "", "", "alpha"}));

  Results line(TableFile("y  x  g=u,v", {"0 0 u", "10 1 v", "7 1 u", "20 2 v"}), "y | | x | g", 3);
  line.data().scaleInputs = line.data().scaleOutputs = true;
  line.OpenResults();
  line.Include({"Predictions"});
  line.Put("CustomPredictions", "2 v");
  EXPECT_EQ(line.Table("PrintCustomPredictions").columns[0].values[3],
            Numbers(line.Table("PrintPredictions").columns[0].values)[0]);
  line.host().inputFormAnswers = {{"2", "w"}};
  EXPECT_TRUE(line.session().Press("CustomPredictions").Succeeded());
  EXPECT_EQ(line.host().TakeMessages(), std::vector{143});
  ExpectNear(line.Table("PrintCustomPredictions").columns[0].values, {2, -9999, kEmptyCell, -9999});

  // A number that is none where one is due.
  Results cubic(Line(), "y | | x |", 2);
  cubic.engine.parameters.kernelType = kPolynomialKernel;
  cubic.engine.parameters.coef0 = 1;
  cubic.OpenResults();
  cubic.Put("CustomPredictions", "1e200");
  EXPECT_FALSE(cubic.session().Press("PrintCustomPredictions").Succeeded());
  EXPECT_EQ(cubic.host().TakeMessages(), std::vector{155});
}

TEST(SvmGraphs, OfferItemsByTheirAxisTextsAndCountACaseByItsWeight) {
  Results results(Triangle(), "| k | x z |", 3);
  results.OpenResults();
  EXPECT_EQ(results.session().Text("Plot.Dependent"), "k");
  EXPECT_EQ(results.session().Text("SelectedItemX"),
            "1=\"k (Observées)\" 2=\"k (Prévisions)\" 3=\"k (Précision)\" "
            "4=\"alpha.k (Confiance)\" 5=\"zeta.k (Confiance)\"")
      << "no inputs";
  results.Put("SelectedItemX", 1);
  results.Put("SelectedItemsY", "\"zeta.k (Confiance)\"");
  const Graph& graph = results.Drawn("Plot2DGraphOfXAndY");
  EXPECT_EQ(graph.title, "k (Observées)  vs.  zeta.k (Confiance)(Test) (table)");
  EXPECT_EQ(graph.series[0].y, (Numbers{1, 1, 1}));
  const Graph& histogram = results.Drawn("PlotHistogramsOfX");
  EXPECT_EQ(histogram.title, "Histogramme de k (Observées)");
  EXPECT_EQ(histogram.counts, (Numbers{0, 2, 1})) << "the weighted case of zeta";

  Results line(Line(), "y | | x |", 2);
  line.OpenResults();
  EXPECT_EQ(line.session().Text("SelectedItemX"),
            "1=\"y (Observées)\" 2=\"y (Prévisions)\" 3=\"y (Résidus)\" 4=\"y (Résidus absolus)\" "
            "5=\"y (Résidus au carré)\" 6=x");
  line.Put("SelectedItemX", 5);
  line.Put("SelectedItemsY", 3);
  const Graph& errors = line.Drawn("Plot2DGraphOfXAndY");
  ExpectNear(errors.series[0].x, {9, 25, 25}, 1e-3);
  ExpectNear(errors.series[0].y, {3, 5, 5}, 1e-4);
  EXPECT_LE(errors.axes[0].minimum, 9);
  EXPECT_GE(errors.axes[0].maximum, 25 - 1e-3);
}

TEST(SvmResults, AreAboutTheFirstOfSeveralDependents) {
  Results results(TableFile("y  w  x", {"0 7 0", "10 8 1", "20 9 2"}), "y w | | x |", 2);
  results.OpenResults();
  results.Include({"Inputs", "Outputs", "Predictions", "Residuals"});
  const Spreadsheet& table = results.Table("PrintPredictions");
  EXPECT_EQ(Headings(table), (Texts{"x|Indépendante", "y|Dépendante", "y|Prévues", "y|Residus"}));
  ExpectNear({table.columns[1].values[0], table.columns[2].values[0]}, {20, 17});
  EXPECT_EQ(results.session().Text("SelectedItemX").substr(0, 18), "1=\"y (Observées)\"");
  results.Put("CustomPredictions", "2");
  EXPECT_EQ(results.Table("PrintCustomPredictions").rowNames, (Texts{"x", "", "y"}));
  results.host().outputAnswers = {{}};
  results.host().fileNameAnswers = {"out.sav"};
  EXPECT_TRUE(results.session().Press("SavePredictionsAndResiduals").Succeeded());
  EXPECT_EQ(results.host().savedFiles.at(0).added.size(), 2u);
}

TEST(SvmGraphs, PutCodesBeyondTheKnownOnesIntoTheOuterBins) {
  Results results(TableFile("y  g=2:u,4:v", {"0 2", "1 4", "2 2", "3 1", "4 3", "5 9"}),
                  "y | | | g", 3);
  results.OpenResults();
  results.Put("SelectedItemX", "g");
  const Graph& graph = results.Drawn("PlotHistogramsOfX");
  EXPECT_EQ(graph.edges, (Numbers{1, 2, 4, 5}));
  EXPECT_EQ(graph.counts, (Numbers{1, 1, 1}));
}

TEST(SvmSaving, CarriesPickedVariablesAndAddsWhatIsIncluded) {
  const struct {
    const char* lists;
    std::vector<int> picked;
    std::initializer_list<const char*> includes;
    std::vector<int> kept;
    Texts names, longNames;
    std::size_t rows;
  } rows[] = {{"| k | x z |",
               {2},
               {"Inputs", "Predictions", "Residuals", "Confidence"},
               {3, 2},
               {"k, Predictions", "k, Accuracy", "k-alpha, Confidence", "k-zeta, Confidence"},
               {"Calculated predictions", "Calculated accuracy", "Calculated confidence",
                "Calculated confidence"},
               6},
              {"z | | x |",
               {},
               {"Predictions", "Residuals"},
               {},
               {"z, Predictions", "z, Residuals"},
               {"Calculated predictions", "Calculated residuals"},
               6},
              {"z | | x |", {0, 1, 2}, {}, {1, 2, 3}, {}, {}, 6}};
  for (const auto& row : rows) {
    Results results(Triangle(), row.lists, 3);
    results.OpenResults();
    results.Include(row.includes);
    results.host().outputAnswers = {row.picked};
    results.host().fileNameAnswers = {"out.sav"};
    ASSERT_TRUE(results.session().Press("SavePredictionsAndResiduals").Succeeded());
    const SavedFile& file = results.host().savedFiles.at(0);
    EXPECT_EQ(file.kept, row.kept);
    Texts names, longNames;
    for (const NewVariable& variable : file.added) {
      names.push_back(variable.name);
      longNames.push_back(variable.longName);
    }
    EXPECT_EQ(names, row.names);
    EXPECT_EQ(longNames, row.longNames);
    std::vector<int> numbers;
    for (const auto& [number, values] : file.rows) numbers.push_back(number);
    EXPECT_EQ(numbers, (std::vector{1, 2, 3, 4, 4, 5}));
    if (names.size() == 4) {
      EXPECT_EQ(file.rows.back().second, (Numbers{1, 1, 0, 1}));
    }
  }
}

}  // namespace
}  // namespace qrvml::test
