// The generated texts of nearest neighbours: whole texts beside committed samples, and what the
// samples do not show.
#include "deploy/sample_text.h"
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

/// Two classifications over mixed inputs; class codes ascend against their texts, and names hold
/// what XML and comments must survive.
TableFile Patients() {
  return TableFile(
      "Âge  taux<5  groupe=5:A&B,2:\"O\"  fumeur=1:oui,2:non  état=1:sain,2:à_suivre  "
      "risque=3:bas,1:haut",
      {"31   0.25    A&B    oui   sain      bas",  //
       "45   1.5     \"O\"  non   à_suivre  haut",
       "58.5 -2      A&B    non   à_suivre  bas",  //
       "27   0.125   \"O\"  oui   sain      haut", "40   1     A&B    oui   sain      bas"});
}

TEST(KnnDeployment, TextsOfAClassificationAreTheSamples) {
  KnnAnalysis knn(Patients(), "| état risque | Âge taux<5 | groupe fumeur", 4,
                  {{"KNearestNeighbors", 3}, {"CityBlock", 1}, {"StandardizeDistances", 1}});
  knn.Train();
  IsSample(Generated(knn, "CodeGeneratorCLang"), "knn_classification.c");
  IsSample(Generated(knn, "CodeGeneratorQVB"), "knn_classification.qvb");
  EXPECT_TRUE(knn.Press("CodeGeneratorPMML").Succeeded());
  ASSERT_EQ(knn.host.textDocuments.size(), 2u);
  IsSample(knn.host.textDocuments[0].text, "knn_classification_1.pmml");
  IsSample(knn.host.textDocuments[1].text, "knn_classification_2.pmml");
}

TEST(KnnDeployment, TextsOfARegressionAreTheSamples) {
  KnnAnalysis knn(TableFile("x z poids taille *weight",
                            {"1 1e-7 10.5 170 1", "2 3 20 180.25 2", "4.123456789 2e6 -0.5 160 0.4",
                             "3 5 12 150 1", "2 1 1 1 1"}),
                  "poids taille | | x z |", 4,
                  {{"KNearestNeighbors", 2}, {"Euclidean", 1}, {"UseWeightedAverage", 1}});
  knn.Train();
  IsSample(Generated(knn, "CodeGeneratorCLang"), "knn_regression.c");
  IsSample(Generated(knn, "CodeGeneratorQVB"), "knn_regression.qvb");
  EXPECT_TRUE(knn.Press("CodeGeneratorPMML").Succeeded());
  ASSERT_EQ(knn.host.textDocuments.size(), 2u);
  IsSample(knn.host.textDocuments[1].text, "knn_regression_2.pmml");
}

TEST(KnnDeployment, GoesToTextDocumentsWithItsModesAndTitles) {
  struct Entry {
    const char* action;
    std::vector<std::pair<int, std::string>> documents;  // mode, title
  };
  const std::pair<int, std::string> c = {2, "KNN C/C++ deployment code"},
                                    qvb = {1, "KNN QVB deployment code"},
                                    first = {2, "KNN PMML deployment code for état"},
                                    second = {2, "KNN PMML deployment code for risque"};
  const Entry entries[] = {{"CodeGeneratorCLang", {c}},
                           {"CodeGeneratorQVB", {qvb}},
                           {"CodeGeneratorPMML", {first, second}},
                           {"CodeGenerator", {first, second, c}}};  // as picked below
  for (const Entry& entry : entries) {
    KnnAnalysis knn(Patients(), "| état risque | Âge | groupe", 4);
    knn.Train();
    knn.host.outputAnswers.push_back({2, 0});
    EXPECT_TRUE(knn.Press(entry.action).Succeeded());
    std::vector<std::pair<int, std::string>> shown;
    for (const TextDocument& document : knn.host.textDocuments)
      shown.emplace_back(document.mode, document.title);
    EXPECT_EQ(shown, entry.documents) << entry.action;
  }
  KnnAnalysis knn(Patients(), "| état risque | Âge | groupe", 4);
  knn.Train();
  EXPECT_FALSE(knn.Press("CodeGenerator").Succeeded()) << "nobody picks";
  knn.host.refuseSpreadsheets = true;
  EXPECT_FALSE(knn.Press("CodeGeneratorPMML").Succeeded());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{}) << "the host reports its own refusal";
  knn.host.refuseSpreadsheets = false;
  knn.host.charset.clear();
  EXPECT_FALSE(knn.Press("CodeGeneratorPMML").Succeeded());
  EXPECT_TRUE(knn.host.textDocuments.empty());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{});
  knn.host.charset = "windows-1252";
  EXPECT_TRUE(knn.Press("CodeGeneratorPMML").Succeeded());
  EXPECT_TRUE(knn.host.textDocuments.at(0).text.starts_with(
      "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n"));
}

TEST(KnnDeployment, MenuEntriesHaveTheirTextsAndRowsInOrder) {
  KnnAnalysis knn(Patients(), "| état | Âge |", 4);
  knn.Train();
  auto rows = knn.dialog().DialogControlDescr();
  ASSERT_GE(rows.size(), 4u);
  rows.erase(rows.begin(), rows.end() - 4);
  const struct {
    const char *name, *label;
    int identifier;
  } expected[] = {{"CodeGenerator", "&Générateur code", 26364},
                  {"CodeGeneratorQVB", "QUORVANTIS Visual Basic (QVB)", 26364},
                  {"CodeGeneratorCLang", "Langage C/C++", 26363},
                  {"CodeGeneratorPMML", "Script PMML", 26365}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(rows[i].control->name, expected[i].name);
    EXPECT_EQ(rows[i].control->label, expected[i].label);
    EXPECT_EQ(rows[i].identifier, expected[i].identifier);
    EXPECT_EQ(rows[i].role, 7);
    EXPECT_EQ(rows[i].kind, 1);
    EXPECT_EQ(rows[i].type, 1);
  }
}

TEST(KnnDeployment, ALabelWithALineBreakStaysInItsComment) {
  const std::string code = "A\nint main(void) { return 7; }";
  TableFile file("x c", {"1 1", "2 2", "3 1"});
  file.variables[0].name = "x\r\nint x;\n";
  file.variables[1].name = " c\\";
  file.variables[1].labels = {{1, code}, {2, "B\xE2\x80\xA8*/"}};
  KnnAnalysis knn(std::move(file), "| 2 | 1 |", 2);
  knn.Train();
  for (const char* action : {"CodeGeneratorCLang", "CodeGeneratorQVB", "CodeGeneratorPMML"}) {
    const std::string text = Generated(knn, action);
    const bool isProgram = std::string_view(action) == "CodeGeneratorCLang";
    EXPECT_EQ(Count(text, "\nint main(void)"), isProgram ? 1u : 0u) << action;
    EXPECT_EQ(Count(text, "\nint x;"), 0u);
    EXPECT_EQ(Count(text, "\xE2\x80\xA8"), 0u);
    EXPECT_EQ(Count(text, "\r"), 0u);
  }
  const std::string c = Generated(knn, "CodeGeneratorCLang");
  EXPECT_EQ(Count(c, "\n//  Dependents: c\\\n//  \n//  Independents: xint x;\n//  \n"), 1u);
  EXPECT_EQ(Count(c, "\n//  c\\: (Aint main(void) { re, 1), (B*/, 2)\n// \n"), 1u);
}

TEST(KnnDeployment, LargeCodesKeepTheirDigitsAndThoseBeyondAnIntegerAreRefused) {
  const auto rows = [](const std::string& a, const std::string& b) {
    return std::vector<std::string>{"1 " + a, "2 " + b, "3 " + a};
  };
  KnnAnalysis knn(TableFile("x c", rows("1234567", "2147483647")), "| c | | c", 2);
  knn.Train();
  EXPECT_EQ(Count(Generated(knn, "CodeGeneratorCLang"),
                  "\n{\n1234567, 1234567, \t\n2147483647, 2147483647};\n"),
            1u);
  EXPECT_EQ(Count(Generated(knn, "CodeGeneratorQVB"), "\nOutputPrototypes(1, 1)=1234567\n"), 1u);

  KnnAnalysis beyond(TableFile("x c", rows("1", "2147483648")), "| c | x |", 2);
  beyond.Train();
  for (const char* action : {"CodeGeneratorCLang", "CodeGeneratorQVB"}) {
    EXPECT_FALSE(beyond.Press(action).Succeeded());
    ASSERT_EQ(beyond.host.messages.size(), 1u);
    EXPECT_EQ(beyond.host.messages[0].text,
              "The codes of c must lay in the range -2147483648 to 2147483647 to be written as "
              "integers of C and QVB.");
    beyond.host.messages.clear();
  }
  EXPECT_TRUE(beyond.host.textDocuments.empty());
  EXPECT_EQ(Count(Generated(beyond, "CodeGeneratorPMML"), " value=\"2147483648\"/>"), 2u);
}

TEST(KnnDeployment, ScoresHoldTheClassesOfAllDependents) {
  TableFile file("x c d");
  for (int i = 0; i < 151; ++i)
    file.cases.emplace_back().values = {double(i), double(i % 150), double(i % 7)};
  for (const auto& [dependents, scores] :
       {std::pair("| d | x |", "100"), {"| c | x |", "150"}, {"| c d | x |", "157"}}) {
    KnnAnalysis knn(file, dependents, 150);
    knn.Train();
    EXPECT_EQ(Count(Generated(knn, "CodeGeneratorCLang"),
                    "\tdouble score[" + std::string(scores) + "];\n"),
              1u)
        << dependents;
  }
}

TEST(KnnDeployment, UsesTheOptionsAsTheyAreNowAndLeavesTheModelAlone) {
  KnnAnalysis knn(Patients(), "| état | Âge taux<5 |", 4, {{"KNearestNeighbors", 2}});
  knn.Train();
  const std::string before = Generated(knn, "CodeGeneratorPMML");
  EXPECT_EQ(Count(before, "metric=\"euclidean\" weighted=\"no\""), 1u);
  EXPECT_EQ(Count(before, "name=\"Âge\" shift=\"0.000000\" scale=\"1.000000\" />"), 1u);
  knn.Put("Options.Chebychev", 1);
  knn.Put("Options.UseWeightedAverage", 1);
  knn.Put("Options.StandardizeDistances", 1);
  const std::string after = Generated(knn, "CodeGeneratorPMML");
  EXPECT_EQ(Count(after, "metric=\"chebychev\" weighted=\"yes\""), 1u);
  // Ages from 27 to 58.5.
  EXPECT_EQ(Count(after, "name=\"Âge\" shift=\"-0.857143\" scale=\"0.031746\" />"), 1u);
  EXPECT_EQ(Count(Generated(knn, "CodeGeneratorCLang"), "\nunsigned short metric = 3;\n"), 1u);
  EXPECT_EQ(Count(Generated(knn, "CodeGeneratorQVB"), "\nMetric = 3\n"), 1u);
}

TEST(KnnDeployment, EndsWithoutADocumentWhenItIsCancelled) {
  KnnAnalysis knn(Patients(), "| état | Âge |", 4);
  knn.Train();
  for (const char* action : {"CodeGeneratorCLang", "CodeGeneratorQVB", "CodeGeneratorPMML"}) {
    knn.host.cancelAtPoll = knn.host.polls + 1;
    EXPECT_FALSE(knn.Press(action).Succeeded());
    EXPECT_EQ(knn.host.messages, std::vector<Message>{});
    knn.host.cancelAtPoll = 0;
    EXPECT_TRUE(knn.host.textDocuments.empty()) << action;
  }
}

}  // namespace
}  // namespace qrvml::test
