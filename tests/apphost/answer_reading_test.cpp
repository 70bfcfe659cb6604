#include "host/answer_reading.h"

#include <gtest/gtest.h>

#include "apphost/table_file.h"

namespace qrvml {
namespace {

using testing::TableFile;

const std::vector<std::string> kFour = {"Dépend. continue(s) : ", "Dépend. catégorielle(s) : ",
                                        "Prédicteurs continus : ", "Prédicteurs catégoriels : "};
const std::vector<std::string> kThree(kFour.begin() + 1, kFour.end());

struct Read {
  bool ok = false;
  std::vector<std::vector<int>> lists;
  std::string error;
};

Read ReadLists(const TableFile& file, std::string_view text,
               const std::vector<std::string>& captions = kFour) {
  Read read;
  read.ok =
      ReadVariableLists(text, captions, captions.size() == 3, file.Names(), read.lists, read.error);
  return read;
}

TableFile Iris() {
  TableFile file({"Sepal.Length", "Sepal.Width", "Petal.Length", "Petal.Width", "Species"});
  file.labels[4] = {{1, "setosa"}, {2, "versicolor"}, {3, "virginica"}};
  return file;
}

using Lists = std::vector<std::vector<int>>;

TEST(VariableLists, NamesNumbersRangesAndKeywordsStandForVariables) {
  const TableFile file = Iris();
  const struct {
    const char* text;
    Lists lists;
  } kCases[] = {
      {"| Species | 1-4 |", {{}, {5}, {1, 2, 3, 4}, {}}},
      {"None | 5 | Petal.Width 2 | None", {{}, {5}, {4, 2}, {}}},
      {"| 5 | * |", {{}, {5}, {1, 2, 3, 4}, {}}},  // all that no other list names
      {"1 | | * | ", {{1}, {}, {2, 3, 4, 5}, {}}},
      {"1 1-2 Sepal.Length | | |", {{1, 2}, {}, {}, {}}},  // each once, where it came first
  };
  for (const auto& [text, lists] : kCases) {
    const Read read = ReadLists(file, text);
    EXPECT_TRUE(read.ok) << text << ": " << read.error;
    EXPECT_EQ(read.lists, lists) << text;
  }
}

TEST(VariableLists, AQuotedNumberIsAName) {
  const TableFile file({"x", "1", "None", "two words"});
  EXPECT_EQ(ReadLists(file, R"("1" | "None" | "two words" | 1)").lists,
            (Lists{{2}, {3}, {4}, {1}}));
}

TEST(VariableLists, AMethodWithThreeListsAlsoTakesFourWithTheFirstEmpty) {
  const TableFile file = Iris();
  const Lists expected = {{5}, {1, 2}, {}};
  EXPECT_EQ(ReadLists(file, "Species | 1 2 |", kThree).lists, expected);
  EXPECT_EQ(ReadLists(file, "| Species | 1 2 |", kThree).lists, expected);
  EXPECT_EQ(ReadLists(file, "None | Species | 1 2 |", kThree).lists, expected);
  EXPECT_FALSE(ReadLists(file, "3 | Species | 1 2 |", kThree).ok);
}

TEST(VariableLists, AnErrorSaysWhatIsWrongAndWhatThereIs) {
  const TableFile file = Iris();
  const struct {
    const char *text, *part;
  } kCases[] = {
      {"| Specis | 1 |", "unknown variable \"Specis\"; the file has Sepal.Length, Sepal.Width"},
      {"| species | 1 |", "unknown variable \"species\""},
      {"| 6 | 1 |", "no variable number 6; the file has 1 to 5"},
      {"| 0 | 1 |", "no variable number 0"},
      {"| 1.5 | 1 |", "no variable number 1.5"},
      {"| 3-9 | 1 |", "no variable number 9"},
      {"Species | 1", "has 2 lists where 4 are needed: Dépend. continue(s) | "},
      {"| * 1 | 2 |", "* stands alone"},
      {"| None 1 | 2 |", "None stands alone"},
      {"| \"Species | 2 |", "not closed"},
  };
  for (const auto& [text, part] : kCases) {
    const Read read = ReadLists(file, text);
    EXPECT_FALSE(read.ok) << text;
    EXPECT_NE(read.error.find(part), std::string::npos) << text << ": " << read.error;
  }
}

TEST(VariableLists, AnErrorListsTwentyVariablesAtMost) {
  std::vector<std::string> names;
  for (int v = 1; v <= 25; ++v) names.push_back("v" + std::to_string(v) + "_");
  const std::string error = ReadLists(TableFile(names), "| nothing | |").error;
  EXPECT_NE(error.find("v20_"), std::string::npos);
  EXPECT_EQ(error.find("v21_"), std::string::npos);
  EXPECT_NE(error.find("25 in all"), std::string::npos);
}

TEST(OneVariable, IsGivenByNameOrNumberAlone) {
  const TableFile file = Iris();
  int variable = 0;
  std::string error;
  EXPECT_TRUE(ReadVariable("Species", file.Names(), variable, error));
  EXPECT_EQ(variable, 5);
  EXPECT_TRUE(ReadVariable(" 2 ", file.Names(), variable, error));
  EXPECT_EQ(variable, 2);
  for (const char* wrong : {"", "1 2", "1 | 2", "*", "None", "1-2", "Nowhere"})
    EXPECT_FALSE(ReadVariable(wrong, file.Names(), variable, error)) << wrong;
  EXPECT_EQ(variable, 2);
}

struct Codes {
  bool ok = false;
  std::vector<double> codes;
  std::string error;
};

Codes ReadSpecies(std::string_view text, CodeBounds bounds = {1, 3, -100, 100}) {
  const TableFile file = Iris();
  std::vector<std::vector<ListMember>> lists;
  Codes read{false, {9}, {}};
  EXPECT_TRUE(ParseListText(text, lists, read.error));
  read.ok = ReadCodes(lists[0], 5, bounds, file.Names(), read.codes, read.error);
  return read;
}

TEST(CodesList, NumbersRangesAndLabelsAreCodes) {
  EXPECT_EQ(ReadSpecies("virginica setosa").codes, (std::vector<double>{3, 1}));
  EXPECT_EQ(ReadSpecies("1-3").codes, (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(ReadSpecies("2 versicolor").codes, (std::vector<double>{2}));
  EXPECT_EQ(ReadSpecies("1.5").codes, (std::vector<double>{1.5}));
}

TEST(CodesList, AStarLeavesTheCodesAsTheyStand) {
  const Codes read = ReadSpecies("*");
  EXPECT_TRUE(read.ok);
  EXPECT_EQ(read.codes, (std::vector<double>{9}));
}

TEST(CodesList, AFaultyListIsRefusedAndChangesNothing) {
  for (const char* wrong : {"", "rosa", "None", "* 1", "101", "-101", "1 2 3 4", "1-200"}) {
    const Codes read = ReadSpecies(wrong);
    EXPECT_FALSE(read.ok) << wrong;
    EXPECT_FALSE(read.error.empty()) << wrong;
    EXPECT_EQ(read.codes, (std::vector<double>{9})) << wrong;
  }
}

TEST(StartValues, OneNumberForEachRowIsNeeded) {
  const std::vector<std::string> rows = {"setosa", "versicolor"};
  std::vector<double> values = {7, 7};
  std::string error;
  EXPECT_TRUE(ReadValues("0.25 -3", rows, values, error));
  EXPECT_EQ(values, (std::vector<double>{0.25, -3}));
  for (const char* wrong : {"", "1", "1 2 3", "1 | 2", "1 x", "1-2"}) {
    EXPECT_FALSE(ReadValues(wrong, rows, values, error)) << wrong;
    EXPECT_NE(error.find("setosa, versicolor"), std::string::npos);
  }
  EXPECT_EQ(values, (std::vector<double>{0.25, -3}));
}

TEST(InputForm, TakesOneTextForEachRow) {
  const std::vector<std::string> rows = {"height", "sex", "set"};
  std::vector<std::string> texts = {"0", "", ""};
  std::string error;
  EXPECT_TRUE(ReadTexts("1.70 \"Femme libre\" \"3\"", rows, texts, error));
  EXPECT_EQ(texts, (std::vector<std::string>{"1.7", "Femme libre", "3"}));
  for (const char* wrong : {"", "1 2", "1 2 3 4", "1 2 *", "1 2 | 3"})
    EXPECT_FALSE(ReadTexts(wrong, rows, texts, error)) << wrong;
  EXPECT_EQ(texts[0], "1.7");
}

TEST(ValueField, TakesANumberInItsRangeOrALabel) {
  TableFile file = Iris();
  file.labels[4][40000] = "far";
  file.labels[4][7] = "12";
  double value = 0;
  std::string error;
  const auto read = [&](const char* text, int variable) {
    return ReadValue(text, variable, -32000, 32000, file.Names(), value, error);
  };
  EXPECT_TRUE(read("2.5", 5) && value == 2.5);
  EXPECT_TRUE(read("versicolor", 5) && value == 2);
  EXPECT_TRUE(read(" far ", 5) && value == 40000);  // a label's code knows no range
  EXPECT_TRUE(read("12", 5) && value == 12);        // a bare number is a number
  EXPECT_TRUE(read("\"12\"", 5) && value == 7);     // in double quotes a label
  EXPECT_TRUE(read("3", 0) && value == 3);
  EXPECT_FALSE(read("40000", 5));
  EXPECT_FALSE(read("setosa", 0));
  EXPECT_FALSE(read("setosa", 1));
  EXPECT_FALSE(read("", 5));
}

}  // namespace
}  // namespace qrvml
