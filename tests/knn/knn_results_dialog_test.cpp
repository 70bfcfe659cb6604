// What the results dialog of nearest neighbours adds to the shared one: its text and its tables
// cell by cell, and the neighbour options that later outputs use.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;

/// A spreadsheet as lines: title, header lines, headings, rows. An empty cell is "-".
Texts LinesOf(const Spreadsheet& table) {
  Texts lines = {table.title};
  lines.insert(lines.end(), table.header.begin(), table.header.end());
  std::string headings = table.rowTitle + '/' + table.rowTitleSecond;
  for (const SpreadsheetColumn& column : table.columns) headings += " | " + column.first;
  lines.push_back(headings);
  for (std::size_t row = 0; row < table.Rows(); ++row) {
    std::string line = table.rowNames.at(row);
    for (const SpreadsheetColumn& column : table.columns) {
      const double value = column.values[row];
      std::string text = column.texts.empty() ? std::string() : column.texts[row];
      for (const CellLabel& label : column.labels)
        if (text.empty() && label.value == value) text = label.text;
      if (text.empty()) text = std::isnan(value) ? "-" : FixedText(value, 4);
      while (text.find('.') != std::string::npos && (text.back() == '0' || text.back() == '.')) {
        const bool ended = text.back() == '.';
        text.pop_back();
        if (ended) break;
      }
      line += " | " + text;
    }
    lines.push_back(line);
  }
  return lines;
}

std::vector<Texts> Shown(ScriptedHost& host) {
  std::vector<Texts> shown;
  for (const Spreadsheet& table : host.spreadsheets) shown.push_back(LinesOf(table));
  host.spreadsheets.clear();
  return shown;
}

/// Two classifications; each test case is predicted from the side of x. "Loup" is never observed.
TableFile Animals() {
  return TableFile(
      "x u=bas,haut sexe=Homme,Femme genre=Loup,Chat,Ane",
      {"0 bas Homme Loup", "10 haut Femme Chat", "20 bas Homme Ane", "1 bas Homme Chat",
       "2 bas Femme Chat", "9 haut Femme Chat", "11 haut Homme Ane", "19 bas Homme Ane"});
}

TEST(KnnResults, ClassificationTablesShowEveryCell) {
  KnnAnalysis knn(Animals(), "| sexe genre | x |", 3);
  knn.Train();
  EXPECT_TRUE(knn.Press("DescriptiveStat").Succeeded());
  // sexe: predicted Homme Homme Femme Femme Homme; genre: Loup Loup Chat Chat Ane.
  EXPECT_EQ(knn.host.spreadsheets.at(0).columns[2].format, NumberFormat::count);
  EXPECT_EQ(knn.host.spreadsheets.at(0).columns[3].format, NumberFormat::general);
  EXPECT_EQ(knn.host.spreadsheets.at(2).columns[1].format, NumberFormat::count);
  const std::string summary =
      "Classe/Nom | Total | Correct | Incorrect | Correct(%) | Incorrect(%)";
  EXPECT_EQ(Shown(knn.host),
            (std::vector<Texts>{
                {"Synthèse de la classification, sexe", summary, "Femme | 2 | 1 | 1 | 50 | 50",
                 "Homme | 3 | 2 | 1 | 66.6667 | 33.3333"},
                {"Synthèse de la classification, genre", summary, "Ane | 2 | 1 | 1 | 50 | 50",
                 "Chat | 3 | 1 | 2 | 33.3333 | 66.6667", "Loup | 0 | 0 | 0 | - | -"},
                {"Matrice de confusion sexe", "Prévues (lignes) x Observées (colonnes)",
                 "Classe/Prévues | Femme | Homme", "Femme | 1 | 1", "Homme | 1 | 2"},
                {"Matrice de confusion genre", "Prévues (lignes) x Observées (colonnes)",
                 "Classe/Prévues | Ane | Chat | Loup", "Ane | 1 | 0 | 0", "Chat | 1 | 1 | 0",
                 "Loup | 0 | 2 | 0"}}));
  EXPECT_EQ(knn.host.messages, std::vector<Message>{});
}

TEST(KnnResults, TheRegressionSummaryShowsTenValuesOfEveryDependent) {
  KnnAnalysis knn(TableFile("x poids taille", {"0 10 5", "10 20 5",  // prototypes
                                               "0 8 4", "1 13 6", "9 20 8", "10 23 6"}),
                  "poids taille | | x |", 2);
  knn.Train();
  EXPECT_TRUE(knn.Press("DescriptiveStat").Succeeded());
  // poids: as in the statistics by hand. taille: observed 4 6 8 6, predicted 5: residuals
  // -1 1 3 1.
  EXPECT_EQ(
      Shown(knn.host),
      (std::vector<Texts>{
          {"Synthèse de la régression, poids", "Test cases/regression summary | poids | taille",
           "Moy. observée | 16 | 6", "Moy. prévues | 15 | 5", "Ec-Type Obs. | 6.7823 | 1.633",
           "Ecarts-types prév. | 5.7735 | 0", "Somme erreur au carré | 5.5 | 3",
           "Erreur moy. | 1 | 1", "Ec-T. Erreurr | 2.4495 | 1.633", "Erreur abs. moy. | 2 | 1.5",
           "Ratio Ec-T. | 0.3612 | 1", "Corrélation | 0.9364 | -"}}));
}

TEST(KnnResults, TheModelAndItsSummaryNameTheOptions) {
  KnnAnalysis knn(Animals(), "| sexe genre | x | u", 3, {{"StandardizeDistances", 1}});
  knn.Train();
  EXPECT_TRUE(knn.Press("Summary").Succeeded());
  knn.Put("Options.CityBlock", 1);
  knn.Put("Options.KNearestNeighbors", 2);
  knn.Put("Options.StandardizeDistances", 0.0);
  EXPECT_TRUE(knn.Press("Model").Succeeded());
  knn.Put("Options.UseWeightedAverage", 1);
  EXPECT_TRUE(knn.Press("Summary").Succeeded());
  EXPECT_TRUE(knn.Press("Model").Succeeded());
  const auto summary = [](std::string k, std::string standardised) {
    return Texts{"Synthèse du modèle, sexe",
                 "Spécif. du modèle/ | Valeur",
                 "Nbre de vars indépendantes | 2",
                 "Nbre de variables dépendantes | 2",
                 "Nbre des K plus proches voisins | " + k,
                 "Normé | " + standardised};
  };
  const auto model = [](std::string voting) {
    return Texts{"KNN",
                 "Nearest neighbors = 2, Distance type: City-&block (Manhattan)",
                 "Voting procedure: " + voting,
                 "Prototypes/ | x | u",
                 "1 | 0 | bas",
                 "2 | 10 | haut",
                 "3 | 20 | bas"};
  };
  EXPECT_EQ(Shown(knn.host), (std::vector<Texts>{summary("1", "Oui"), model("uniform"),
                                                 summary("2", "Non"), model("based on distance")}));
}

TEST(KnnResults, TheTextNamesVariablesAndOptionsLineByLine) {
  struct Row {
    const char* variables;
    Properties properties;
    Texts lines;
  };
  const Row rows[] = {
      {"y1 | | x1 |",
       {},
       {"Variables:", " Variable dépendante : y1", " Variable indépendante : x1", "",
        "KNN results:", "No. of nearest neighbors = 1", "Distance measure: Euclidienne",
        "Distance (input) standardization: Non", "Weighted average: Non"}},
      {"y1 y2 | | x1 x2 |",
       {{"CityBlock", 1},
        {"StandardizeDistances", 1},
        {"UseWeightedAverage", 1},
        {"KNearestNeighbors", 3}},
       {"Variables:", " Variable dépendante : y1, y2", " Variables indépendantes : x1, x2", "",
        "KNN results:", "No. of nearest neighbors = 3", "Distance measure: City-&block (Manhattan)",
        "Distance (input) standardization: Oui", "Weighted average: Oui"}},
      // Equal everywhere but in y1, whose values are 0 0 0 0 6: leaving one out, the 6 is missed by
      // 6 and each 0 by 0 with K 1 (the earliest of equals is a 0).
      {"y1 | | x2 |",
       {{"SquaredEuclidean", 1}, {"ApplyCrossV", 1}, {"VValue", 4}, {"MaximumK", 2}},
       {"Variables:", " Variable dépendante : y1", " Variable indépendante : x2", "",
        "KNN results:", "No. of nearest neighbors = 1", "Distance measure: Euclidienne au carré",
        "Distance (input) standardization: Non", "Weighted average: Non",
        "Erreur validation croisée = 7.20000"}},
      {"| c | x2 |",
       {{"Chebychev", 1}, {"ApplyCrossV", 1}, {"VValue", 4}, {"MaximumK", 2}},
       {"Variables:", " Variable dépendante : c", " Variable indépendante : x2", "",
        "KNN results:", "No. of nearest neighbors = 1", "Distance measure: Chebychev",
        "Distance (input) standardization: Non", "Weighted average: Non",
        "Précision validation croisée (%) = 80.00000"}},
  };
  for (const Row& row : rows) {
    KnnAnalysis knn(TableFile("x1 x2 y1 y2 c", {"1 1 0 1 1", "2 1 0 1 1", "3 1 0 1 1", "4 1 0 1 1",
                                                "5 1 6 1 2", "6 1 5 4 1"}),
                    row.variables, 5, row.properties);
    knn.Train();
    EXPECT_EQ(knn.host.resultsText, row.lines);
    const bool searched = row.lines.size() == 10;
    EXPECT_EQ(knn.dialog().IsEnabled("CrossVPlot"), searched);
    EXPECT_EQ(knn.Press("CrossVPlot").Succeeded(), searched);
  }
}

TEST(KnnResults, ChangedOptionsTakeEffectInTheNextStatistics) {
  for (const Shape& shape : {kShapes[1], kShapes[3]}) {
    const PlainTable table = RandomTable(shape, 30, 12, 9);
    KnnAnalysis knn(table, {});
    knn.Train();
    const PlainSettings changes[] = {
        {.k = 30},
        {.metric = 3, .standardized = true, .k = 4},
        {.metric = 3, .weighted = true, .standardized = true, .k = 4},
        {.metric = 3, .weighted = true, .k = 4},
        {.metric = 1, .k = 1},
    };
    for (const PlainSettings& s : changes) {
      knn.Put("Options." + std::string(kMetricNames[s.metric]), 1);
      knn.Put("Options.UseWeightedAverage", s.weighted);
      knn.data().scaleOutputs = true;
      knn.Put("Options.StandardizeDistances", s.standardized);
      EXPECT_FALSE(knn.data().scaleOutputs);
      knn.Put("Options.KNearestNeighbors", s.k);
      EXPECT_TRUE(knn.Press("DescriptiveStat").Succeeded());
      EXPECT_TRUE(knn.HasStatistics(PlainKnn(table, s).Statistics())) << "K " << s.k;
    }
  }
}

TEST(KnnResults, AnUnusableKIsRefusedAndNothingIsShown) {
  const Message range = {
      0, "Number of nearest neighbors for the specified analysis must lay in the range 1-3."};
  const std::pair<const char*, Message> entries[] = {
      {"", Of(125)}, {"abc", Of(125)}, {"1.5", Of(125)}, {"0", range}, {"4", range}, {"-1", range}};
  KnnAnalysis knn(Animals(), "| sexe | x |", 3, {{"KNearestNeighbors", 2}});
  knn.Train();
  for (const auto& [entry, message] : entries) {
    for (const char* action : {"DescriptiveStat", "Model"}) {
      EXPECT_TRUE(knn.dialog().Type("Options.KNearestNeighbors", entry).Succeeded());
      EXPECT_FALSE(knn.Press(action).Succeeded());
      EXPECT_EQ(knn.host.messages, std::vector<Message>{message}) << entry;
      knn.host.messages.clear();
    }
  }
  EXPECT_TRUE(knn.host.spreadsheets.empty());
  EXPECT_EQ(knn.engine().k, 2);
  knn.Put("Options.KNearestNeighbors", 3);
  EXPECT_TRUE(knn.Press("DescriptiveStat").Succeeded());
  EXPECT_EQ(knn.engine().k, 3);
}

TEST(KnnResults, ARefusedSpreadsheetEndsTheRequest) {
  for (const char* action : {"Summary", "Model", "DescriptiveStat"}) {
    KnnAnalysis knn(Animals(), "| sexe genre | x |", 3);
    knn.Train();
    knn.host.refuseSpreadsheets = true;
    EXPECT_FALSE(knn.Press(action).Succeeded());
    EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(130)}) << action << ": only one";
    EXPECT_TRUE(knn.host.spreadsheets.empty());
  }
}

}  // namespace
}  // namespace qrvml::test
