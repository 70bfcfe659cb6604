// PMML documents of naive Bayes read back: close calls, and documents that are none. Whole models
// are read back where they are verified.
#include "bayes/naive_bayes_analysis.h"
#include "deploy/sample_text.h"
#include "score/pmml_document.h"

namespace qrvml::test {
namespace {

/// Two classes of three cases; x continuous, u categorical.
std::string Document(const char* distribution = "||", const char* rows = "spread") {
  const bool equal = std::string_view(rows) == "equal";
  NaiveBayesAnalysis bayes(
      TableFile("x u=p,q c=A,B", {equal ? "5 p A" : "4 p A", "5 q A", equal ? "5 p A" : "6 p A",
                                  "1 q B", "9 q B", "7 q B"}),
      "c | x | u", 0);
  bayes.Put("InputDistributions", distribution);
  EXPECT_TRUE(bayes.OK().Succeeded());
  return GeneratedTexts(bayes, "CodeGeneratorPMML").at(0);
}

double Class(const std::string& document, double x, double u) {
  std::string error;
  double predicted = 0;
  const auto read = ReadPmmlDocument(document, error);
  EXPECT_TRUE(read != nullptr && read->Predict(std::vector<double>{x, u}, {&predicted, 1}, error))
      << error;
  return predicted;
}

TEST(NaiveBayesPmml, RanksByLogarithmsAndKnowsAClassWithoutSpread) {
  const std::string document = Document("* | | |");
  // Far from both classes every likelihood is below the smallest number; B is the wider one.
  EXPECT_EQ(Class(document, 1e6, 1), 2);
  EXPECT_EQ(Class(document, 5, 1), 1);
  for (const char* lists : {"* | | |", "| * | |", "| | * |"}) {
    const std::string equal = Document(lists, "equal");
    EXPECT_EQ(Class(equal, 5, 2), 1) << lists;
    EXPECT_EQ(Class(equal, 5.5, 2), 2) << lists;
  }
  const std::string impossible =
      Replaced(Document("* | | |"), "threshold=\"0.000100\"", "threshold=\"0.000000\"");
  EXPECT_EQ(Class(impossible, 1e6, 1), 1) << "B has never had category p";
  std::string error;
  double predicted = 0;
  EXPECT_FALSE(ReadPmmlDocument(document, error)
                   ->Predict(std::vector<double>{5, 3}, {&predicted, 1}, error));
  EXPECT_EQ(error, "the model has no category 3 of \"u\"");
}

TEST(NaiveBayesPmml, TellsWhatADocumentLacks) {
  const std::string document = Document("| | * |");
  const struct {
    const char *old, *by, *told;
  } rows[] = {
      {"gamma", "beta", "<Distribution>: distType=\"beta\" is not known"},
      {"threshold=\"0.0001", "threshold=\"-0.0001", "<NaiveBayesModel>: threshold is below 0"},
      {"name=\"std\"", "name=\"sd\"", "<TargetValue> has no <Parameter name=\"std\">"},
      {"name=\"std\" value=\"", "name=\"std\" value=\"-", "a std of \"x\" is below 0"},
      {"<MiningField name=\"u\"/>", "",
       "<CategoricalBayesInput> has a fieldName that is not the next: u"},
      {"<MiningField name=\"x\"/>", "<MiningField name=\"x\"/><MiningField name=\"x\"/>",
       "<CategoricalBayesInput> has a fieldName that is not the next: u"},
      {"<MiningField name=\"u\"/>", "<MiningField name=\"u\"/><MiningField name=\"u\"/>",
       "<BayesInputs> has not one element for each input of the schema"},
      {" usageType=\"predicted\"", "", "<MiningSchema> needs one predicted field"},
      {"category=\"A\" value=\"1\"", "category=\"A\" value=\"3\"",
       "<TargetValueCount> has a value that is not the next of \"c\""},
      {"category=\"A\" value=\"1\" count=\"3\"", "category=\"A\" value=\"1\" count=\"x\"",
       "<TargetValueCount>: count=\"x\" is no number"},
      {"<PairCounts category=\"q\" label=\"2\">", "<PairCounts category=\"q\" label=\"1\">",
       "<PairCounts> has a label that is not the next of \"u\""},
      {"<Category label=\"q\" value=\"2\"/>", "",
       "<PairCounts> has a label that is not the next of \"u\""},
      {"<DataField name=\"x\" optype=\"continuous\"/>",
       "<DataField name=\"x\" optype=\"categorical\"/>",
       "\"x\" is categorical in the data dictionary"},
      {"<BayesOutput", "<BayesOut", "it is no XML document: "},
  };
  for (const auto& row : rows) {
    std::string error;
    const std::string changed = Replaced(document, row.old, row.by);
    EXPECT_EQ(ReadPmmlDocument(changed, error), nullptr) << row.by;
    EXPECT_TRUE(error.starts_with(row.told)) << row.by << ": " << error;
  }
  for (std::size_t size = 0; size + 1 < document.size(); size += 11) {
    std::string error;
    EXPECT_EQ(ReadPmmlDocument(document.substr(0, size), error), nullptr) << size;
  }
}

}  // namespace
}  // namespace qrvml::test
