// Histograms, scatterplots and surfaces of the results dialog: titles, edges, counts, points.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;

/// Two dependents; the first four cases are prototypes.
TableFile Cases() {
  return TableFile("x u=bas,haut y *weight",
                   {"0 bas 0 1", "10 haut 100 1", "20 bas 200 1", "30 haut 300 1", "1 bas 5 1",
                    "11 haut 90 3", "29 bas 320 1"});
}

struct Trained : KnnAnalysis {
  explicit Trained(Properties properties = {})
      : KnnAnalysis(Cases(), "y | | x | u", 4, std::move(properties)) {
    Train();
  }
};

Texts Titles(const std::vector<Graph>& graphs) {
  Texts titles;
  for (const Graph& graph : graphs) titles.push_back(graph.title);
  return titles;
}

double Sum(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) sum += value;
  return sum;
}

TEST(PlotLists, OfferTheInputsFirstThenTheDependentsItems) {
  Trained knn;
  EXPECT_EQ(knn.Text("SelectedItemX"),
            "1=x 2=u 3=Observées 4=Prévues 5=Residus 6=\"Résidus abs.\" 7=\"Résidus carrés\"");
  EXPECT_FALSE(knn.dialog().IsEnabled("PlotHistogramsOfX"));
  knn.Put("SelectedItemX", "\"Résidus abs.\"");
  EXPECT_TRUE(knn.dialog().IsEnabled("PlotHistogramsOfX"));
  EXPECT_FALSE(knn.dialog().IsEnabled("Plot2DGraphOfXAndY"));
  knn.Put("SelectedItemX", "None");
  EXPECT_FALSE(knn.dialog().IsEnabled("PlotHistogramsOfX"));
  for (const char* wrong : {"8", "0", "1.5", "nowhere", "1 2"}) {
    EXPECT_FALSE(knn.dialog().Put("SelectedItemX", AutomationValue::Text(wrong)).Succeeded())
        << wrong;
    EXPECT_EQ(knn.host.messages,
              (std::vector<Message>{{0, '"' + std::string(wrong) +
                                            "\" chooses not one of 1=x 2=u 3=Observées 4=Prévues "
                                            "5=Residus 6=\"Résidus abs.\" 7=\"Résidus carrés\""}}));
    knn.host.messages.clear();
  }
  knn.Put("SelectedItemsY", "1 4-5");
  EXPECT_EQ(knn.Text("SelectedItemsY").substr(0, 5), "1=x* ");
}

TEST(PlotLists, AreClearedByAnotherDependent) {
  KnnAnalysis knn(TableFile("x a=Loup,Chat b=rouge,vert",
                            {"0 Loup rouge", "1 Chat vert", "2 Loup vert", "3 Chat rouge"}),
                  "| a b | x |", 2);
  knn.Train();
  knn.Put("SelectedItemX", 1);
  knn.Put("SelectOutputForPlotting", "b");
  EXPECT_EQ(knn.Text("SelectOutputForPlotting"), "b");
  EXPECT_FALSE(knn.dialog().IsEnabled("PlotHistogramsOfX"));
  EXPECT_EQ(knn.Text("SelectedItemX"),
            "1=x 2=Observées 3=Prévues 4=Précision "
            "5=\"rouge (Conf.)\" 6=\"vert (Conf.)\"");
  EXPECT_FALSE(knn.dialog().Put("SelectOutputForPlotting", AutomationValue::Number(3)).Succeeded());
}

TEST(Histograms, CountEachCaseOnceAndNoPrototypeWherePredictionsAreNeeded) {
  Trained knn;
  knn.Put("Overall", 1);
  for (const auto& [item, cases] : {std::pair{"1", 7}, {"2", 7}, {"3", 7}, {"4", 3}, {"5", 3}}) {
    knn.Put("SelectedItemX", item);
    ASSERT_TRUE(knn.Press("PlotHistogramsOfX").Succeeded());
    const Graph& graph = knn.host.graphs.back();
    EXPECT_EQ(graph.type, GraphType::histogram);
    EXPECT_EQ(graph.edges.size(), graph.counts.size() + 1);
    EXPECT_TRUE(std::ranges::is_sorted(graph.edges));
    EXPECT_EQ(Sum(graph.counts), cases) << graph.title;
    EXPECT_EQ(graph.axes.at(1).title, "Nbre d'observations");
  }
  EXPECT_EQ(Titles(knn.host.graphs),
            (Texts{"Histogramme de x", "Histogramme de u", "Histogramme de y (Observées)",
                   "Histogramme de y (Prévisions)", "Histogramme de y (Résidus)"}));
  // u has the codes 1 and 2: edges before, at and after them.
  EXPECT_EQ(knn.host.graphs[1].edges, (std::vector<double>{0, 1, 2, 3}));
  EXPECT_EQ(knn.host.graphs[1].counts, (std::vector<double>{0, 4, 3}));
  // The largest x stands in the last bin, at its upper edge.
  EXPECT_EQ(knn.host.graphs[0].edges.back(), 30);
  EXPECT_EQ(knn.host.graphs[0].counts.back(), 2);
}

TEST(Histograms, OfTheTableHaveOneGraphForEveryColumn) {
  Trained knn({{"KNearestNeighbors", 2}});
  knn.Put("IncludeOutputs", 1);
  ASSERT_TRUE(knn.Press("Histograms").Succeeded());
  EXPECT_EQ(
      Titles(knn.host.graphs),
      (Texts{"Histogramme de y (Observées) (Test)", "Histogramme de y (Prévisions) (Test)",
             "Histogramme de y (K écarts-types) (Test)", "Histogramme de y (Résidus) (Test)"}));
}

TEST(Scatter, OfOneItemNamesBothAxesAndFitsALine) {
  Trained knn;
  knn.Put("SelectedItemX", 1);
  knn.Put("SelectedItemsY", "Prévues");
  knn.Put("IncludeCaseNames", 1);
  ASSERT_TRUE(knn.Press("Plot2DGraphOfXAndY").Succeeded());
  const Graph& graph = knn.host.graphs.at(0);
  EXPECT_EQ(graph.title, "x  vs.  y (Prévisions)(Test) (table)");
  EXPECT_EQ(graph.axes.at(0).title, "x");
  EXPECT_EQ(graph.axes.at(1).title, "y (Prévisions)");
  EXPECT_TRUE(graph.fit);
  EXPECT_EQ(graph.series.at(0).x, (std::vector<double>{1, 11, 29}));
  EXPECT_EQ(graph.series.at(0).y, (std::vector<double>{0, 100, 300}));
  EXPECT_EQ(graph.series.at(0).cases, (std::vector<std::int32_t>{5, 6, 7}));
}

TEST(Scatter, OfSeveralItemsPadsTheNamesOfTheSeriesToForty) {
  TableFile file = Cases();
  file.variables[0].name = "douze lettre";       // 12 characters
  file.variables[2].name = "trente caractères";  // 17, 30 with "(Prévisions)"
  const std::string longName = std::string(55, 'n');
  file.variables.emplace_back().name = longName;
  for (auto& row : file.cases) row.values.push_back(row.values[0]);
  KnnAnalysis knn(std::move(file),
                  "\"trente caractères\" | | \"douze lettre\" " + longName + " | u", 4);
  knn.Train();
  knn.Put("SelectedItemX", 3);
  knn.Put("SelectedItemsY", "1 2 5");
  ASSERT_TRUE(knn.Press("Plot2DGraphOfXAndY").Succeeded());
  const Graph& graph = knn.host.graphs.at(0);
  EXPECT_EQ(graph.title, "Nuage de Points en 2D  (table)");
  EXPECT_EQ(graph.axes.at(1).title, " ");
  EXPECT_FALSE(graph.fit);
  EXPECT_EQ(graph.series.at(0).name, "douze lettre" + std::string(28, ' '));
  EXPECT_EQ(graph.series.at(1).name, longName);
  EXPECT_EQ(graph.series.at(2).name, "trente caractères (Prévisions)" + std::string(10, ' '));
}

TEST(Scatter, LeavesThePrototypesPredictionsOut) {
  Trained knn;
  knn.Put("Overall", 1);
  knn.Put("SelectedItemX", 1);
  knn.Put("SelectedItemsY", "Residus");
  ASSERT_TRUE(knn.Press("Plot2DGraphOfXAndY").Succeeded());
  const GraphSeries& series = knn.host.graphs.at(0).series.at(0);
  ASSERT_EQ(series.y.size(), 7u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_TRUE(std::isnan(series.y[i]));
  EXPECT_EQ(series.y[4], 5);
}

TEST(Surfaces, AreOneForEveryYItemOverXAndZ) {
  Trained knn;
  knn.Put("SelectedItemX", 1);
  knn.Put("SelectedItemZ", 2);
  knn.Put("SelectedItemsY", "3 4");
  ASSERT_TRUE(knn.Press("Plot3DGraphOfXYZ").Succeeded());
  ASSERT_EQ(knn.host.graphs.size(), 2u);
  const Graph& graph = knn.host.graphs[1];
  EXPECT_EQ(graph.title, "Surface de Réponse (table)");
  EXPECT_EQ(graph.axes.at(2).title, "y (Prévisions)");
  EXPECT_EQ(graph.series.at(0).y, (std::vector<double>{1, 2, 1}));
  EXPECT_EQ(graph.series.at(0).z, (std::vector<double>{0, 100, 300}));
}

TEST(CrossValidationGraph, ShowsTheErrorsOfTheGridAndTheBestK) {
  Trained knn({{"ApplyCrossV", 1}, {"VValue", 2}, {"MaximumK", 3}});
  ASSERT_TRUE(knn.Press("CrossVPlot").Succeeded());
  const Graph& graph = knn.host.graphs.at(0);
  EXPECT_EQ(graph.title, "Nombre de + proches voisins vs. Erreur validation croisée\nK Optimal = " +
                             std::to_string(knn.engine().k));
  EXPECT_EQ(graph.series.at(0).x, (std::vector<double>{1, 2, 3}));
  EXPECT_TRUE(Same(knn.engine().crossValidationErrors, graph.series.at(0).y));

  EXPECT_EQ(Trained().Press("CrossVPlot").text, "CrossVPlot is disabled");
}

TEST(Graphs, ThatTheHostRefusesAreReportedAndEndTheRequest) {
  Trained knn;
  knn.host.refuseSpreadsheets = true;
  EXPECT_FALSE(knn.Press("Histograms").Succeeded());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(104)});
}

}  // namespace
}  // namespace qrvml::test
