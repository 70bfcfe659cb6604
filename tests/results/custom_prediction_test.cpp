// Predictions of a case typed in: as a text both ways, and through the input form.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;

/// Categories "Homme" (1), "Femme" (2); the class follows x.
TableFile People() {
  return TableFile("x u=Homme,Femme genre=petit,grand",
                   {"150 Homme petit", "151 Femme petit", "190 Homme grand", "191 Femme grand",
                    "152 Homme petit"});
}

struct Trained : KnnAnalysis {
  Trained() : KnnAnalysis(People(), "| genre | x | u", 4) { Train(); }
};

struct Entry {
  const char *x, *u;
  bool isValid;
  double inputs[2];
};

TEST(CustomForm, ReadsNumbersLabelsWithoutCaseAndCodes) {
  const Entry entries[] = {
      {"160", "femme", true, {160, 2}},           {" 160.5 ", "HOMME", true, {160.5, 1}},
      {"1.23456789", "2.7", true, {1.234567, 2}},  // eight bytes are read
      {"160", "5", false, {160, -9999}},          {"abc", "1", false, {-9999, 1}},
      {"160", "", false, {160, -9999}},
  };
  for (const Entry& entry : entries) {
    Trained knn;
    EXPECT_FALSE(knn.Press("CustomPredictions").Succeeded()) << "cancelled";
    EXPECT_EQ(knn.Text("CustomPredictions"), "");
    knn.host.inputFormAnswers.push_back({entry.x, entry.u});
    EXPECT_TRUE(knn.Press("CustomPredictions").Succeeded());
    EXPECT_EQ(knn.host.messages,
              entry.isValid ? std::vector<Message>{} : std::vector<Message>{Of(143)});
    ASSERT_TRUE(knn.Press("PrintCustomPredictions").Succeeded());
    const Spreadsheet& table = knn.host.spreadsheets.at(0);
    EXPECT_EQ(table.columns.at(0).values.at(0), entry.inputs[0]) << entry.x;
    EXPECT_EQ(table.columns.at(0).values.at(1), entry.inputs[1]) << entry.u;
    EXPECT_EQ(table.columns.at(0).values.at(2) == -9999, !entry.isValid) << entry.u;
  }
}

TEST(CustomCase, IsPrintedOnceWithItsPrediction) {
  Trained knn;
  EXPECT_FALSE(knn.dialog().IsEnabled("PrintCustomPredictions"));
  knn.Put("CustomPredictions", "185 Femme");
  ASSERT_TRUE(knn.Press("PrintCustomPredictions").Succeeded());
  const Spreadsheet& table = knn.host.spreadsheets.at(0);
  EXPECT_EQ(table.title, "Prévisions perso. K Plus Proches Voisins");
  EXPECT_EQ(table.rowTitle + '/' + table.rowTitleSecond, "Independent and/dependent variables");
  EXPECT_EQ(table.rowNames, (Texts{"x", "u", "genre"}));
  EXPECT_EQ(table.columns.at(0).format, NumberFormat::fixed6);
  EXPECT_EQ(table.columns.at(0).texts, (Texts{"", "Femme", "grand"}));
  EXPECT_FALSE(knn.dialog().IsEnabled("PrintCustomPredictions"));
}

TEST(CustomCase, AsTextCanBeSetAgainAndIsComparedByCaseAndRefusedAsAWhole) {
  Trained knn;
  knn.Put("CustomPredictions", "160 2");
  knn.Put("CustomPredictions", knn.Text("CustomPredictions"));
  const std::pair<const char*, const char*> rows[] = {
      {"160 femme", "value 2 of 2, u, is none of its categories"},
      {"160", "value 2 of 2, u, is missing"},
      {"Femme 160", "value 1 of 2, x, is no number"},
      {"160 3", "value 2 of 2, u, is none of its categories"},
      {"", "value 1 of 2, x, is missing"}};
  for (const auto& [wrong, told] : rows) {
    const auto result = knn.dialog().Put("CustomPredictions", AutomationValue::Text(wrong));
    EXPECT_EQ(result.code, kAutomationFailure) << wrong;
    EXPECT_EQ(
        knn.host.messages,
        (std::vector<Message>{{0, "CustomPredictions \"" + std::string(wrong) + "\": " + told}}));
    knn.host.messages.clear();
    EXPECT_EQ(knn.Text("CustomPredictions"), "1.60000000000000e+02 Femme") << wrong;
  }
}

}  // namespace
}  // namespace qrvml::test
