// Generated PMML documents read back: their names and labels, and documents that are none. What
// they predict is compared where they are verified.
#include "score/pmml_document.h"

#include "score/generated_model.h"

namespace qrvml::test {
namespace {

TEST(PmmlDocument, KeepsNamesAndLabelsThatXmlReadsOtherwise) {
  TableFile file("x u c", {"1 1 1", "2 2 2", "3 1 1"});
  const std::string names[] = {"l'âge <ans> & \"mois\"", "a&amp;b", "]]>"};
  for (int v = 0; v < 3; ++v) file.variables[v].name = names[v];
  file.variables[1].labels = {{1, "<oui>"}, {2, "n'on & \"non\""}};
  file.variables[2].labels = {{1, "&lt;"}, {2, "é\tà\n"}};
  KnnAnalysis knn(std::move(file), "| 3 | 1 | 2", 2);
  knn.Train();
  const auto documents = GeneratedTexts(knn, "CodeGeneratorPMML");
  std::string error;
  const auto read = ReadPmmlDocument(documents.at(0), error);
  ASSERT_NE(read, nullptr) << error;
  EXPECT_EQ(read->inputs[0].name, names[0]);
  EXPECT_EQ(read->inputs[1].name, names[1]);
  EXPECT_EQ(read->dependents[0].name, names[2]);
  EXPECT_EQ(read->inputs[1].FindCode(1)->text, "<oui>");
  EXPECT_EQ(read->inputs[1].FindCode(2)->text, "n'on & \"non\"");
  EXPECT_EQ(read->dependents[0].FindCode(1)->text, "&lt;");
  EXPECT_EQ(read->dependents[0].FindCode(2)->text, "éà") << "control characters are left out";
}

/// A small document that is read.
std::string Document() {
  KnnAnalysis knn(TableFile("x c", {"1 1", "2 2", "3 1"}), "| c | x |", 2);
  knn.Train();
  return GeneratedTexts(knn, "CodeGeneratorPMML").at(0);
}

std::string Refusal(const std::string& text) {
  std::string error;
  return ReadPmmlDocument(text, error) == nullptr ? error : "read";
}

TEST(PmmlDocument, TellsWhatADocumentLacks) {
  const std::string document = Document();
  ASSERT_EQ(Refusal(document), "read");
  const struct {
    const char *old, *by, *told;
  } rows[] = {
      {"<KNearestNeighborModel ", "<TreeModel ", "it is no XML document: "},
      {"noOfNearestNeighbors=\"1\"", "noOfNearestNeighbors=\"3\"",
       "3 neighbours cannot be found among 2 examples"},
      {"noOfNearestNeighbors=\"1\"", "noOfNearestNeighbors=\"0\"",
       "0 neighbours cannot be found among 2 examples"},
      {"noOfNearestNeighbors=\"1\"", "noOfNearestNeighbors=\"1.5\"",
       "<KNearestNeighborModel>: noOfNearestNeighbors=\"1.5\" is no count"},
      {"metric=\"euclidean\"", "metric=\"hamming\"",
       "<KNearestNeighborModel>: metric=\"hamming\" is not known"},
      {" weighted=\"no\"", "", "<KNearestNeighborModel> has no attribute weighted"},
      {"Calssification", "Regression", "the predicted field \"c\" does not fit the model's type"},
      {"noOfExamples=\"2\"", "noOfExamples=\"3\"",
       "<KNearestNeighborExamples> has another number of examples than it says"},
      {"numberOfFields=\"2\"", "numberOfFields=\"1\"",
       "<DataDictionary> has another number of fields than it says"},
      {"<KNNField name=\"x\"", "<KNNField name=\"y\"", "the data dictionary has no field \"y\""},
      {"scale=\"1.000000\"", "scale=\"one\"", "<KNNField name=\"x\">: scale=\"one\" is no number"},
      {"<AttributeInstance name=\"x\" value=\"2.000000\"/>\n", "",
       "example 2 has no value of \"x\" in its place"},
      {"</Example>", "<AttributeInstance name=\"x\" value=\"2\"/></Example>",
       "example 1 has more values than there are fields"},
      {"UTF-8", "windows-1252", "it is written in WINDOWS-1252; UTF-8 is read"},
      {"DataDictionary numberOfFields=\"2\">", "Data/><DataDictionary numberOfFields=\"0\">",
       "<DataDictionary> has another number of fields than it says"},
  };
  for (const auto& row : rows)
    EXPECT_TRUE(Refusal(Replaced(document, row.old, row.by)).starts_with(row.told))
        << row.by << ": " << Refusal(Replaced(document, row.old, row.by));
  std::string renamed = Replaced(document, "<KNearestNeighborModel ", "<TreeModel ");
  renamed = Replaced(renamed, "</KNearestNeighborModel>", "</TreeModel>");
  EXPECT_EQ(Refusal(renamed),
            "it holds no model that is known here (KNearestNeighborModel, NaiveBayesModel, "
            "SupportVectorMachineModel)");
}

TEST(PmmlDocument, IsNoneWhereItIsNoXml) {
  const std::string document = Document();
  EXPECT_TRUE(Refusal("").starts_with("it is no XML document"));
  EXPECT_TRUE(Refusal("case,value\n1,2\n").starts_with("it is no XML document"));
  EXPECT_EQ(Refusal("<?xml version=\"1.0\"?>\n<html/>"), "the document has no <PMML>");
  // Cut anywhere it is told, never read.
  for (std::size_t size = 0; size + 1 < document.size(); size += 7)
    EXPECT_NE(Refusal(document.substr(0, size)), "read") << size;
  EXPECT_NE(Refusal(document.substr(0, document.size() / 2)).find(" in line "), std::string::npos);
}

TEST(PmmlDocument, EntitiesAndEndlessNestingAreRefusedInLittleMemory) {
  std::string bomb = "<?xml version=\"1.0\"?>\n<!DOCTYPE PMML [<!ENTITY a \"aaaaaaaaaa\">";
  for (char name = 'b'; name <= 'z'; ++name)
    bomb += std::string("<!ENTITY ") + name + " \"&" + char(name - 1) + ";&" + char(name - 1) +
            ";&" + char(name - 1) + ";\">";
  bomb += "]>\n<PMML version=\"2.0\"><Header copyright=\"&z;\"/></PMML>";
  EXPECT_EQ(Refusal(bomb),
            "it declares a document type, which generated documents do not and which is not read");
  std::string nested = "<?xml version=\"1.0\"?>";
  for (int i = 0; i < 1000000; ++i) nested += "<a>";
  EXPECT_EQ(Refusal(nested), "it has more tags for its size than a model has");
}

}  // namespace
}  // namespace qrvml::test
