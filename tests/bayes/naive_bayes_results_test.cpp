// The results dialog through automation: its rows, tables, graphs, priors, posterior distributions,
// saving, with their titles and numbers.
#include "bayes/naive_bayes_results_dialog.h"

#include "bayes/naive_bayes_analysis.h"

namespace qrvml::test {
namespace {

/// g: Homme (code 1), Femme (code 2), so Femme is the first class. u: b, a.
TableFile Ten() {
  return TableFile("x n u=b,a g=Homme,Femme *name",
                   {"1 0 a Homme Ann", "2 1 a Homme .", "3 2 b Femme Bob", "5 1 b Femme .",
                    "4 3 b Femme Cy", "2.5 0 a Homme .", "3.5 1 a Femme Dee", "1.5 2 b Homme .",
                    "4.5 1 b Homme Eve", "2 0 . Femme ."});
}

class Results : public NaiveBayesAnalysis {
 public:
  explicit Results(int training = 8, const char* distributions = "",
                   const char* rule = "CasewiseDeletionOfMD")
      : NaiveBayesAnalysis(Ten(), "g | x n | u", training) {
    Put(rule, 1);
    Put("InputDistributions", distributions);
    EXPECT_TRUE(OK().Succeeded());
    EXPECT_EQ(dialog().Name(), "MachineLearningResultsNB");
    host.recorded.clear();
  }
  const Spreadsheet& Table(const char* action, std::size_t position = 0) {
    host.spreadsheets.clear();
    EXPECT_TRUE(Press(action).Succeeded()) << action;
    EXPECT_LT(position, host.spreadsheets.size());
    return host.spreadsheets.at(position);
  }
  static std::vector<std::string> Headings(const Spreadsheet& table) {
    std::vector<std::string> headings;
    for (const auto& column : table.columns)
      headings.push_back(column.second.empty() ? column.first : column.first + '|' + column.second);
    return headings;
  }
};

using Texts = std::vector<std::string>;
using Numbers = std::vector<double>;

TEST(NaiveBayesResults, HaveTheirRowsInOrderAndStartAtTheTestSample) {
  Results results;
  EXPECT_EQ(results.host.templateId, 3757);
  EXPECT_EQ(results.dialog().Title(), "Résultats ");
  std::string rows;
  for (const ControlDescription& row : results.dialog().DialogControlDescr())
    rows += std::string(row.control->name) + ' ' + std::to_string(row.identifier) + ' ';
  EXPECT_EQ(rows,
            "TrainSubset 50456 TestSubset 50457 Overall 50458 "
            "SavePredictionsAndResiduals 50459 Summary 50429 Model 50430 "
            "DescriptiveStat 50431 CrossVPlot 50432 IncludeInputs 50433 "
            "IncludeOutputs 50434 IncludePredictions 50435 IncludeResiduals 50436 "
            "IncludeConfidence 50437 PrintPredictions 50438 Histograms 50439 "
            "SelectOutputForPlotting 50440 SelectedItemX 50441 SelectedItemsY 50442 "
            "SelectedItemZ 50443 PlotHistogramsOfX 50444 Plot2DGraphOfXAndY 50445 "
            "Plot3DGraphOfXYZ 50446 IncludeCaseNames 50447 "
            "SelectedOutputForPriorAssignment 50427 UseDefaultPrior 50448 "
            "UseEqualPrior 50449 UseCustomPrior 50451 Threshold 50423 "
            "CustomPredictions 41181 PrintCustomPredictions 41180 "
            "OutputForPosteriorPlot 50452 InputForPosteriorPlot 50453 MinimumRange 50454 "
            "MaximumRange 50455 FixedIndependents 50460 PosteriorSpreadsheet 50461 "
            "PosteriorPlot 50462 CodeGenerator 26364 CodeGeneratorQVB 26364 "
            "CodeGeneratorCLang 26363 CodeGeneratorPMML 26365 ");
  EXPECT_EQ(results.Number("TestSubset"), 1);
  const Numbers includes = {results.Number("IncludeInputs"), results.Number("IncludeOutputs"),
                            results.Number("IncludePredictions"),
                            results.Number("IncludeResiduals"),
                            results.Number("IncludeConfidence")};
  EXPECT_EQ(includes, (Numbers{0, 0, 1, 1, 0}));
  EXPECT_FALSE(results.dialog().IsEnabled("CrossVPlot"));
  EXPECT_FALSE(results.dialog().IsEnabled("OutputForPosteriorPlot"));
  EXPECT_TRUE(results.dialog().IsEnabled("InputForPosteriorPlot"));
  EXPECT_TRUE(results.dialog().IsEnabled("Threshold"));
  Results unsplit(0);
  EXPECT_EQ(unsplit.Number("TrainSubset"), 1);
  for (const char* name : {"TestSubset", "Overall"})
    EXPECT_FALSE(unsplit.dialog().IsEnabled(name)) << name;
}

TEST(NaiveBayesResults, SummariseTheModel) {
  Results results(8, "x | | | n");
  const Spreadsheet& summary = results.Table("Summary");
  EXPECT_EQ(summary.title, "Synthèse du modèle,  ");
  EXPECT_EQ(summary.rowTitle, "Spécif. du modèle");
  EXPECT_EQ(summary.rowNames,
            (Texts{"Nbre de vars indépendantes", "Number of dependents", "Seuil a priori"}));
  EXPECT_EQ(summary.columns[0].first, "Valeur");
  EXPECT_EQ(summary.columns[0].texts, (Texts{"3", "1", "0.000100"}));
  EXPECT_EQ(results.Table("Main.Summary").title, "Synthèse du modèle,  ") << "beside the tabs";

  const Spreadsheet& model = results.Table("Model");
  EXPECT_EQ(model.title, "Spécif. du modèle,  g");
  EXPECT_EQ(model.rowTitle, "Classe");
  EXPECT_EQ(model.rowTitleSecond, "Nom");
  EXPECT_EQ(model.rowNames, (Texts{"Femme", "Homme"}));
  EXPECT_EQ(Results::Headings(model),
            (Texts{"x|Moyenne", "x|Ecart-type", "n|Lambda", "u.a|Effectif conditionnel",
                   "u.b|Effectif conditionnel"}));
  // Femme: 3 5 4 3.5; Homme: 1 2 2.5 1.5.
  EXPECT_EQ(model.columns[0].values, (Numbers{3.875, 1.75}));
  EXPECT_NEAR(model.columns[1].values[0], 2.1875 / 3, 1e-15) << "the variance";
  EXPECT_EQ(model.columns[2].values, (Numbers{1.75, 0.75}));
  EXPECT_EQ(model.columns[3].values, (Numbers{1, 3}));
  EXPECT_EQ(model.columns[4].values, (Numbers{3, 1}));
}

TEST(NaiveBayesResults, ShowScaleAndShapeOfLognormalAndGammaInputs) {
  NaiveBayesAnalysis bayes(TableFile("x y g=A,B", {"1 2 A", "3 4 A", "5 1 B", "7 2 B"}),
                           "g | x y |", 0);
  bayes.Put("InputDistributions", "| x | y |");
  ASSERT_TRUE(bayes.OK().Succeeded());
  EXPECT_TRUE(bayes.Press("Model").Succeeded());
  const Spreadsheet& model = bayes.host.spreadsheets.at(0);
  EXPECT_EQ(Results::Headings(model), (Texts{"x|Echelle", "x|Forme", "y|Echelle", "y|Forme"}));
  // A: x has mean 2 and variance 2, y mean 3 and variance 2.
  EXPECT_DOUBLE_EQ(model.columns[0].values[0], 4 / std::sqrt(8.0));
  EXPECT_DOUBLE_EQ(model.columns[1].values[0], std::sqrt(std::log(2.0)));
  EXPECT_DOUBLE_EQ(model.columns[2].values[0], 4.0 / 3);
  EXPECT_DOUBLE_EQ(model.columns[3].values[0], 9.0 / 4);
}

TEST(NaiveBayesResults, ShowAVariableThatIsAContinuousAndACategoricalInputAsBoth) {
  NaiveBayesAnalysis bayes(TableFile("n g=A,B", {"1 A", "3 A", "1 B", "1 B"}), "g | n | n", 0);
  bayes.Put("InputDistributions", "| | | n");
  EXPECT_EQ(bayes.Text("Distributions.List"),
            "Indépendante\tType\tDistribution\nn\tContinu\tPoisson\nn\tCategoriel\tDiscrète");
  ASSERT_TRUE(bayes.OK().Succeeded());
  EXPECT_TRUE(bayes.Press("Model").Succeeded());
  const Spreadsheet& model = bayes.host.spreadsheets.at(0);
  EXPECT_EQ(Results::Headings(model),
            (Texts{"n|Lambda", "n.1|Effectif conditionnel", "n.3|Effectif conditionnel"}));
  EXPECT_EQ(model.columns[0].values, (Numbers{2, 1}));
  EXPECT_EQ(model.columns[1].values, (Numbers{1, 2}));
}

TEST(NaiveBayesResults, CountTheSubsetThatIsChosen) {
  Results results;
  const struct {
    const char *subset, *suffix;
    double cases;
  } rows[] = {{"TrainSubset", "(Apprentissage)", 8},
              {"TestSubset", "(Test)", 1},
              {"Overall", "(Les 2 sous-ens.)", 9}};
  for (const auto& row : rows) {
    results.Put(row.subset, 1);
    const Spreadsheet summary = results.Table("DescriptiveStat");
    EXPECT_EQ(summary.title, "Synthèse de la classification,  g");
    EXPECT_EQ(Results::Headings(summary),
              (Texts{"Total", "Correct", "Incorrect", "Correct(%)", "Incorrect(%)"}));
    EXPECT_EQ(summary.columns[0].values[0] + summary.columns[0].values[1], row.cases);
    const Spreadsheet& matrix = results.Table("DescriptiveStat", 1);
    EXPECT_EQ(matrix.title, std::string("Matrice de confusion g ") + row.suffix);
    EXPECT_EQ(matrix.header, Texts{"Prévues (lignes) x Observées (colonnes)"});
    EXPECT_EQ(matrix.rowTitleSecond, "Prévues");
    double all = 0;
    for (const auto& column : matrix.columns)
      for (const double count : column.values) all += count;
    EXPECT_EQ(all, row.cases);
  }
}

TEST(NaiveBayesResults, ListEveryCaseOnceWithWhatIsIncluded) {
  Results results(8, "", "UseMissingCasesIfPossible");
  for (const char* box : {"IncludeInputs", "IncludeOutputs", "IncludeConfidence"})
    results.Put(box, 1);
  results.Put("Overall", 1);
  const Spreadsheet& table = results.Table("PrintPredictions");
  EXPECT_EQ(table.title, "Prévisions et résidus");
  EXPECT_EQ(
      Results::Headings(table),
      (Texts{"x|Indépendante", "n|Indépendante", "u|Indépendante", "g|Dépendante", "g|Prévues",
             "g|Précision", "Femme| Niv. de confiance", "Homme| Niv. de confiance"}));
  EXPECT_EQ(table.rowCases, (std::vector<std::int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  const auto& last = [&](std::size_t column) { return table.columns[column].values[9]; };
  EXPECT_TRUE(std::isnan(last(2))) << "the missing input";
  EXPECT_EQ(last(4), -9999);
  EXPECT_TRUE(std::isnan(last(5))) << "no accuracy";
  EXPECT_EQ(last(6), -9999);
  for (std::size_t row = 0; row < 9; ++row) {
    EXPECT_NEAR(table.columns[6].values[row] + table.columns[7].values[row], 1, 1e-15);
    EXPECT_EQ(table.columns[5].values[row],
              table.columns[3].values[row] == table.columns[4].values[row] ? 0 : 1);
  }
}

TEST(NaiveBayesResults, ListNoCasesWithoutAColumnFromEitherTab) {
  Results results;
  EXPECT_TRUE(results.dialog().IsEnabled("Priors.PrintPredictions"));
  results.Put("IncludePredictions", 0);
  results.Put("IncludeResiduals", 0);
  for (const char* action : {"PrintPredictions", "Priors.PrintPredictions"})
    EXPECT_FALSE(results.Press(action).Succeeded()) << action;
  EXPECT_TRUE(results.host.spreadsheets.empty());
}

TEST(NaiveBayesResults, GiveNoOutputWhileTheThresholdIsRefused) {
  Results results;
  results.Put("SelectedItemX", "1");
  results.Put("SelectedItemsY", "2");
  results.Put("SelectedItemZ", "3");
  for (const char* wrong : {"-0.001", "1.001"}) {
    results.Put("Threshold", wrong);
    for (const char* action :
         {"Summary", "DescriptiveStat", "PrintPredictions", "Histograms", "PlotHistogramsOfX",
          "Plot2DGraphOfXAndY", "Plot3DGraphOfXYZ", "Priors.PrintPredictions",
          "Priors.DescriptiveStat", "Main.Summary"}) {
      EXPECT_FALSE(results.Press(action).Succeeded()) << action;
      EXPECT_EQ(results.host.messages,
                (std::vector<Message>{{0, "Threshold must lay between 0 and 1."}}));
      results.host.messages.clear();
    }
    EXPECT_TRUE(results.host.spreadsheets.empty() && results.host.graphs.empty());
    EXPECT_EQ(results.engine().threshold, 0.0001);
  }
  EXPECT_TRUE(results.Press("Model").Succeeded()) << "needs none";
  results.Put("Threshold", 0.25);
  EXPECT_TRUE(results.Press("Plot3DGraphOfXYZ").Succeeded());
  EXPECT_EQ(results.engine().threshold, 0.25);
}

TEST(NaiveBayesResults, OfferTheirItemsWithTheInputsLast) {
  Results results;
  EXPECT_EQ(results.Text("SelectedItemX"),
            "1=Observées 2=Prévues 3=Précision 4=\"Femme (Conf.)\" 5=\"Homme (Conf.)\" 6=x 7=n "
            "8=u");
  results.Put("SelectedItemX", "6");
  results.Put("SelectedItemsY", "4");
  EXPECT_TRUE(results.Press("Plot2DGraphOfXAndY").Succeeded());
  EXPECT_EQ(results.host.graphs.at(0).axes[0].title, "x");
  EXPECT_EQ(results.host.graphs.at(0).axes[1].title, "Femme.g (Confiance)");
  EXPECT_EQ(results.host.graphs.at(0).series[0].x, (Numbers{4.5}));
}

TEST(Priors, AreChosenPerDependentAndTakeEffectWithTheNextStatistics) {
  NaiveBayesAnalysis bayes(
      TableFile("x g=A,B h=C,D", {"1 A C", "2 A C", "3 A D", "4 B D", "2 B C", "1.5 A D"}),
      "g h | x |", 0);
  ASSERT_TRUE(bayes.OK().Succeeded());
  EXPECT_EQ(bayes.Text("SelectedOutputForPriorAssignment"), "g");
  EXPECT_EQ(
      bayes.Text("Priors.List"),
      "Classe\tValeur a priori\tEffectifs\nA\t0.6666666666666666\t4\nB\t0.3333333333333333\t2");
  bayes.Put("SelectedOutputForPriorAssignment", "h");
  bayes.Put("UseEqualPrior", 1);
  bayes.Put("SelectedOutputForPriorAssignment", 1);
  EXPECT_EQ(bayes.Number("UseDefaultPrior"), 1);
  EXPECT_FALSE(bayes.dialog().IsEnabled("Priors.Select"));
  bayes.Put("UseCustomPrior", 1);
  EXPECT_EQ(bayes.engine().priors[0][0], 4.0 / 6) << "nothing is entered yet";
  bayes.host.startValueAnswers = {{0.2, 0.3}, {1.5, 0}};
  EXPECT_TRUE(bayes.Press("Priors.Select").Succeeded());
  EXPECT_DOUBLE_EQ(bayes.engine().priors[0][0], 0.4);
  EXPECT_FALSE(bayes.Press("Priors.Select").Succeeded());
  EXPECT_EQ(bayes.host.TakeMessages(), std::vector{0});
  EXPECT_FALSE(bayes.Press("Priors.Select").Succeeded()) << "cancelled";
  EXPECT_TRUE(bayes.engine().SetCustomPriors(0, Numbers{0, 1}));
  EXPECT_TRUE(bayes.Press("DescriptiveStat").Succeeded());
  EXPECT_EQ(bayes.engine().trainingConfusion[0].At(1, 0), 4) << "all are taken for B";
  EXPECT_EQ(bayes.host.spreadsheets.size(), 4u);
}

TEST(PosteriorDistribution, IsTabulatedAndDrawnOverTheRange) {
  Results results;
  EXPECT_EQ(results.Number("MinimumRange"), 1);
  EXPECT_EQ(results.Number("MaximumRange"), 5);
  results.Put("MinimumRange", 0);
  results.Put("MaximumRange", 10);
  const Spreadsheet& table = results.Table("PosteriorSpreadsheet");
  EXPECT_EQ(table.title, "g posterior class distributions");
  EXPECT_EQ(table.rowNames.size(), 200u);
  EXPECT_EQ(table.rowNames.back(), "200");
  EXPECT_EQ(Results::Headings(table), (Texts{"x", "Femme", "Homme"}));
  EXPECT_EQ(table.columns[0].values[1], 0.05);
  EXPECT_DOUBLE_EQ(table.columns[0].values[199], 9.95);
  // n at its mean, u at its first category by text.
  const double inputs[] = {9.95, 10.0 / 8, 2};
  results.engine().ComputePosterior(inputs);
  EXPECT_EQ(table.columns[1].values[199], results.engine().posterior[0][0]);
  EXPECT_EQ(results.Text("Posterior.List"), "x\tn\tu\n2.812500\t1.250000\ta");

  EXPECT_TRUE(results.Press("PosteriorPlot").Succeeded());
  const Graph& graph = results.host.graphs.at(0);
  EXPECT_EQ(graph.title, "g posterior class vs. x");
  EXPECT_EQ(graph.axes[1].title, "P(g|x)");
  ASSERT_EQ(graph.series.size(), 2u);
  EXPECT_EQ(graph.series[1].name, "Homme");
  EXPECT_EQ(graph.series[1].y, table.columns[2].values);

  results.Put("FixedIndependents", "3 2 b");
  EXPECT_EQ(results.Text("FixedIndependents"), "3.00000000000000e+00 2.00000000000000e+00 b");
  EXPECT_NE(results.Table("PosteriorSpreadsheet").columns[1].values[60], graph.series[0].y[60]);
  for (const auto& [property, wrong, told] :
       {std::tuple("FixedIndependents", "3 2 c", "\": value 3 of 3, u, is none of its categories"),
        {"InputForPosteriorPlot", "v", "\" is none of 1=x, 2=n, 3=u"},
        {"InputForPosteriorPlot", "1 2", "\" is none of 1=x, 2=n, 3=u"}}) {
    EXPECT_FALSE(results.dialog().Put(property, AutomationValue::Text(wrong)).Succeeded());
    EXPECT_EQ(results.host.messages,
              (std::vector<Message>{{0, std::string(property) + " \"" + wrong + told}}));
    results.host.messages.clear();
  }
  results.Put("InputForPosteriorPlot", "n");
  EXPECT_EQ(results.Number("MaximumRange"), 3) << "of the other input";
  results.Put("InputForPosteriorPlot", 3);
  EXPECT_FALSE(results.dialog().IsEnabled("MinimumRange"));
}

TEST(PosteriorDistribution, RefusesRangesThatDoNotFitTheDistribution) {
  NaiveBayesAnalysis bayes(
      TableFile("x y n z g=A,B", {"1 2 1 1 A", "3 4 0 2 A", "5 1 2 -3 B", "7 2 4 0 B"}),
      "g | x y n z |", 0);
  bayes.Put("InputDistributions", "z | x | y | n");
  ASSERT_TRUE(bayes.OK().Succeeded());
  const Message kUnreadable = MessageOf(208);
  const auto text = [](const char* what) { return Message{0, what}; };
  const struct {
    const char *input, *minimum, *maximum;
    Message message;
  } rows[] = {
      {"x", "a", "b", kUnreadable},
      {"x", "0", "b", text("Minimum range must be larger than zero.")},
      {"x", "1", "", kUnreadable},
      {"x", "1", "0", text("Maximum range must be larger than zero.")},
      {"x", "1", "1", text("Maximum range must larger than the minimum range.")},
      {"y", "-1", "2", text("Minimum range must be positive.")},
      {"y", "0", "-1", text("Maximum range must be positive.")},
      {"n", "-0.5", "2", text("Minimum range must be positive.")},
      {"z", "-1", "-2", text("Maximum range must larger than the minimum range.")},
  };
  for (const auto& [input, lowest] :
       {std::pair{"x", 1e-6}, {"y", 0.0}, {"n", -9999.0}, {"z", -9999.0}}) {
    bayes.Put("InputForPosteriorPlot", input);
    for (const char* field : {"MinimumRange", "MaximumRange"})
      EXPECT_EQ(bayes.dialog().Lowest(field), lowest) << input;
  }
  for (const auto& row : rows) {
    bayes.Put("InputForPosteriorPlot", row.input);
    EXPECT_TRUE(bayes.dialog().Type("MinimumRange", row.minimum).Succeeded());
    EXPECT_TRUE(bayes.dialog().Type("MaximumRange", row.maximum).Succeeded());
    for (const char* action : {"PosteriorSpreadsheet", "PosteriorPlot"}) {
      EXPECT_FALSE(bayes.Press(action).Succeeded());
      EXPECT_EQ(bayes.host.messages, std::vector<Message>{row.message}) << row.input;
      bayes.host.messages.clear();
    }
  }
  EXPECT_TRUE(bayes.dialog().Type("MaximumRange", "3").Succeeded());
  EXPECT_TRUE(bayes.Press("PosteriorPlot").Succeeded()) << "a normal input may be negative";
  bayes.Put("InputForPosteriorPlot", "y");
  bayes.Put("MinimumRange", 0);
  EXPECT_TRUE(bayes.Press("PosteriorPlot").Succeeded()) << "a gamma input may be 0";
}

TEST(NaiveBayesResults, PredictACaseThatIsTypedIn) {
  Results results;
  results.host.inputFormAnswers = {{"2", "1", "A"}, {"2", "1", "c"}};
  EXPECT_TRUE(results.Press("CustomPredictions").Succeeded());
  const Spreadsheet& table = results.Table("PrintCustomPredictions");
  EXPECT_EQ(table.title, "Prévisions perso.");
  EXPECT_EQ(table.rowNames, (Texts{"x", "n", "u", "g"}));
  EXPECT_EQ(table.columns[0].texts, (Texts{"", "", "a", "Homme"}));
  results.Press("CustomPredictions");
  EXPECT_EQ(results.host.TakeMessages(), std::vector{143});
  EXPECT_EQ(results.Table("PrintCustomPredictions").columns[0].values.back(), -9999);
}

TEST(NaiveBayesResults, SaveEachUsedCaseOnceUnderNamesThatBeginWithTheWord) {
  TableFile file = Ten();
  file.weighted = true;
  file.cases[0].weight = 3;
  NaiveBayesAnalysis bayes(std::move(file), "g | x n | u", 8);
  ASSERT_TRUE(bayes.OK().Succeeded());
  for (const char* box : {"IncludePredictions", "IncludeResiduals"}) bayes.Put(box, 0);
  bayes.host.outputAnswers = {{0, 1, 2, 3, 4}};
  bayes.host.fileNameAnswers = {"saved.qrv"};
  EXPECT_TRUE(bayes.Press("SavePredictionsAndResiduals").Succeeded());
  const SavedFile& saved = bayes.host.savedFiles.at(0);
  Texts names, longNames;
  for (const NewVariable& variable : saved.added) {
    names.push_back(variable.name);
    longNames.push_back(variable.longName);
  }
  EXPECT_EQ(names, (Texts{"Prévisions, g", "Résidus, g", "Précision, g", "Confiance, g-Femme",
                          "Confiance, g-Homme"}));
  EXPECT_EQ(longNames, (Texts{"Prévisions calculées", "Résidus calculés", "Précision calculée",
                              "Confiance calculée", "Confiance calculée"}));
  EXPECT_EQ(saved.rows.size(), 9u);
  EXPECT_EQ(saved.rows[1].first, 2);
  EXPECT_EQ(saved.rows[0].second[1], saved.rows[0].second[2]);
}

TEST(NaiveBayesResults, WithoutAWorkbookGiveTheirMessages) {
  Results results;
  results.host.refuseSpreadsheets = true;
  for (const char* action :
       {"Summary", "Model", "DescriptiveStat", "PrintPredictions", "PosteriorSpreadsheet"}) {
    EXPECT_FALSE(results.Press(action).Succeeded());
    EXPECT_EQ(results.host.TakeMessages(), std::vector{130}) << action;
  }
  EXPECT_FALSE(results.Press("PosteriorPlot").Succeeded());
  EXPECT_EQ(results.host.TakeMessages(), std::vector{104});
}

TEST(NaiveBayesResults, TellOfLikelihoodsThatAreNoNumbers) {
  // The squares of these values are beyond every number, and so is the mean's update.
  NaiveBayesAnalysis bayes(TableFile("x g=A,B", {"1e308 A", "-1e308 A", "1 B", "2 B"}), "g | x |",
                           0);
  ASSERT_TRUE(bayes.OK().Succeeded());
  EXPECT_FALSE(bayes.Press("PrintPredictions").Succeeded());
  EXPECT_EQ(bayes.host.TakeMessages(), std::vector{155});
  EXPECT_TRUE(bayes.Press("DescriptiveStat").Succeeded()) << "ranked last";
}

TEST(NaiveBayesResults, SurviveFaultsAnywhere) {
  for (const bool refuses : {true, false}) {
    for (const char* action :
         {"DescriptiveStat", "PrintPredictions", "PosteriorSpreadsheet", "PosteriorPlot",
          "CodeGeneratorCLang", "CodeGeneratorQVB", "CodeGeneratorPMML"}) {
      for (int n = 1;; ++n) {
        SCOPED_TRACE(std::string(action) + " at " + std::to_string(n));
        Results results;
        auto& script = refuses ? results.host.refuseAllocation : results.host.cancelAtPoll;
        script = n + (refuses ? results.host.allocations : results.host.polls);
        const bool done = results.Press(action).Succeeded();
        script = 0;
        EXPECT_EQ(results.host.TakeMessages(),
                  refuses && !done ? std::vector{104} : std::vector<int>{});
        EXPECT_TRUE(results.Press("PrintPredictions").Succeeded());
        EXPECT_TRUE(results.Press("DescriptiveStat").Succeeded());
        if (HasFailure()) return;
        if (done) break;
      }
    }
  }
}

TEST(NaiveBayesResults, CancelGoesBackAndLeavesTheEngine) {
  Results results;
  const double mean = results.learned().condMean(0, 0, 0);
  EXPECT_TRUE(results.Cancel().Succeeded());
  EXPECT_EQ(results.dialog().Name(), "MachineLearningNB");
  EXPECT_EQ(results.learned().condMean(0, 0, 0), mean);
  EXPECT_FALSE(results.engine().trainingConfusion.empty());
  const int reads = results.file.reads;
  results.Train();
  EXPECT_EQ(results.file.reads - reads, 20) << "the dialog was opened anew";
}

}  // namespace
}  // namespace qrvml::test
