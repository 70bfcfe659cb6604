// The generated texts of naive Bayes: whole texts beside committed samples, and what the samples do
// not show.
#include "bayes/naive_bayes_analysis.h"
#include "deploy/sample_text.h"

namespace qrvml::test {
namespace {

using Documents = std::vector<std::pair<int, std::string>>;  // mode, title

/// Trained and at the results; names, texts and codes hold what comments and XML must survive,
/// codes ascend against their texts, two codes share one.
class Deployed : public NaiveBayesAnalysis {
 public:
  Deployed(std::string_view variables, const char* distributions, double threshold = 0.0001)
      : NaiveBayesAnalysis(
            TableFile(
                "Âge  taux<5  visites  poids  groupe=5:A&B,2:\"O\",9:A&B  fumeur=1:oui,2:non  "
                "état=1:sain,2:à_suivre  risque=3:bas,1:haut,4:moyen",
                {"31   0.25    0  12.5  5    oui   sain      bas",
                 "45   1.5     3  1.25  \"O\"  non   à_suivre  haut",
                 "58.5 2       1  7     9    non   à_suivre  bas",
                 "27   0.125   4  3     \"O\"  oui   sain      haut",
                 "40   1       2  8.5   A&B  oui   sain      moyen",
                 "44   0.25    2  1e-7  A&B  oui   sain      bas"}),
            variables, 0) {
    Put("InputDistributions", distributions);
    Put("Threshold", threshold);
    EXPECT_TRUE(OK().Succeeded());
  }
  Documents Titles() {
    Documents shown;
    for (const TextDocument& document : host.textDocuments)
      shown.emplace_back(document.mode, document.title);
    return shown;
  }
};

TEST(NaiveBayesDeployment, TextsOfEveryDistributionAreTheSamples) {
  Deployed bayes("état risque | Âge taux<5 poids visites | groupe fumeur",
                 "Âge | taux<5 | poids | visites");
  IsSample(Generated(bayes, "CodeGeneratorCLang"), "naive_bayes_mixed.c");
  IsSample(Generated(bayes, "CodeGeneratorQVB"), "naive_bayes_mixed.qvb");
  EXPECT_TRUE(bayes.Press("CodeGeneratorPMML").Succeeded());
  ASSERT_EQ(bayes.host.textDocuments.size(), 2u);
  IsSample(bayes.host.textDocuments[0].text, "naive_bayes_mixed_1.pmml");
  IsSample(bayes.host.textDocuments[1].text, "naive_bayes_mixed_2.pmml");
}

TEST(NaiveBayesDeployment, GoesToTextDocumentsWithItsModesAndTitles) {
  const std::pair<int, std::string> c = {2, "Naive Bayes C/C++ deployment code"},
                                    qvb = {1, "QUORVANTIS Naive Bayes QVB deployment code"},
                                    first = {2, "Naive Bayes PMML deployment code for état"},
                                    second = {2, "Naive Bayes PMML deployment code for risque"};
  const std::pair<const char*, Documents> entries[] = {
      {"CodeGeneratorCLang", {c}},
      {"CodeGeneratorQVB", {qvb}},
      {"CodeGeneratorPMML", {first, second}},
      {"CodeGenerator", {first, second, c}}};  // as picked below
  Deployed bayes("état risque | Âge | groupe", "");
  for (const auto& [action, documents] : entries) {
    bayes.host.outputAnswers.assign({{2, 0}});
    EXPECT_TRUE(bayes.Press(action).Succeeded());
    EXPECT_EQ(bayes.Titles(), documents) << action;
    bayes.host.textDocuments.clear();
  }
  bayes.host.charset.clear();
  EXPECT_FALSE(bayes.Press("CodeGeneratorPMML").Succeeded()) << "the host names no character set";
  EXPECT_EQ(bayes.host.messages, std::vector<Message>{});
}

TEST(NaiveBayesDeployment, ListsWithoutElementsAreWrittenSoThatTheyCompile) {
  Deployed continuous("état | Âge taux<5 |", "");
  const std::string c = Generated(continuous, "CodeGeneratorCLang");
  EXPECT_EQ(Count(c, "int noCatInputs = 0;\n"), 1u);
  EXPECT_EQ(
      Count(c, "static int noInputNominals[]=\n{\n0\n};\n\nstatic int inputNominals[]=\n{\n0\n"),
      1u);
  EXPECT_EQ(Count(c, "static double condFreq[1][2][1][1];\n"), 1u);
  EXPECT_EQ(Count(c, "\tcondFreq["), 0u);
  EXPECT_EQ(Count(Generated(continuous, "CodeGeneratorPMML"),
                  "\t\t\t<CategoricalBayesInputs>\n\t\t\t</CategoricalBayesInputs>\n"),
            1u);
  EXPECT_EQ(Count(Generated(continuous, "CodeGeneratorQVB"), "\nNoCatInputs=0\nNoInputs=2\n"), 1u);

  Deployed categorical("risque | | groupe", "");
  const std::string counts = Generated(categorical, "CodeGeneratorCLang");
  EXPECT_EQ(Count(counts, "static double condMean[1][3][1];\n"), 1u);
  EXPECT_EQ(Count(counts, "\tcondMean["), 0u);
  EXPECT_EQ(Count(counts, "static int dist[]=\n{\n4\n"), 1u);
  EXPECT_EQ(Count(Generated(categorical, "CodeGeneratorPMML"),
                  "\t\t\t<ContinuousBayesInputs>\n\t\t\t</ContinuousBayesInputs>\n"),
            1u);
}

// Expected by hand: 6 cases; A&B is 5 and 9; sain 4, à_suivre 2.
TEST(NaiveBayesDeployment, HasThePriorsAndTheThresholdAsTheyAreNow) {
  Deployed bayes("état risque | Âge | groupe", "", 1);
  const auto has = [&](const char* action, std::string_view part) {
    const std::string text = Generated(bayes, action);
    EXPECT_EQ(Count(text, part), 1u) << action << part;
  };
  // Threshold 1 makes the pair that never occurs a count of 1.
  has("CodeGeneratorCLang", "\ndouble threshold = 1;\n");
  has("CodeGeneratorQVB", "\nThreshold=1\n");
  has("CodeGeneratorCLang", "\tcondFreq[1][1][0][1]=0.166667;\n");
  has("CodeGeneratorCLang", "{\n0.666667, 0.333333, 0.5, 0.333333, 0.166667\n}");
  bayes.Put("SelectedOutputForPriorAssignment", "risque");
  bayes.Put("UseEqualPrior", 1);
  has("CodeGeneratorCLang", "{\n0.666667, 0.333333, 0.333333, 0.333333, 0.333333\n}");
  has("CodeGeneratorQVB", "\nPriors(2,1)=0.333333\nPriors(2,2)=0.333333\nPriors(2,3)=0.333333\n");
  bayes.host.startValueAnswers = {{0.2, 0.3, 0}};
  bayes.Put("UseCustomPrior", 1);
  EXPECT_TRUE(bayes.Press("Priors.Select").Succeeded());
  has("CodeGeneratorQVB", "\nPriors(2,1)=0.4\nPriors(2,2)=0.6\nPriors(2,3)=0\n");
  EXPECT_TRUE(bayes.Press("CodeGeneratorPMML").Succeeded());
  const std::string document = bayes.host.textDocuments.at(1).text;
  EXPECT_EQ(Count(document, " threshold=\"1.000000\">"), 1u);
  for (const char* count : {"\"bas\" value=\"3\" count=\"3\"", "\"haut\" value=\"1\" count=\"2\"",
                            "\"moyen\" value=\"4\" count=\"1\""})
    EXPECT_EQ(Count(document, count), 1u) << "counts are no priors: " << count;
}

TEST(NaiveBayesDeployment, CodesBeyondAnIntegerAreRefusedForProgramsOnly) {
  NaiveBayesAnalysis bayes(TableFile("x c", {"1 1", "2 2147483648", "3 1"}), "c | x |", 0);
  ASSERT_TRUE(bayes.OK().Succeeded());
  for (const char* action : {"CodeGeneratorCLang", "CodeGeneratorQVB"}) {
    EXPECT_FALSE(bayes.Press(action).Succeeded());
    EXPECT_EQ(bayes.host.messages.size(), 1u) << action;
    bayes.host.messages.clear();
  }
  EXPECT_EQ(Count(Generated(bayes, "CodeGeneratorPMML"), " value=\"2147483648\""), 2u);
}

}  // namespace
}  // namespace qrvml::test
