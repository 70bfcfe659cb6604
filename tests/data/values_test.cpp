// Texts of values and the tables of categories that are built from them.
#include <gtest/gtest.h>

#include "data/category_table.h"
#include "data/value_text.h"
#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TEST(ValueText, IsTheLabelElseTheSpecialFormElseTheNumber) {
  TableFile file("x day");
  file.variables[0].labels = {
      {3, "Femme"},
      {4, "  abcdefghijklmnopqrstuvwxy "},  // 25 letters
      {5, "ééééééééééééééééééééé"},         // 21 letters of two bytes
      {6, "two\nlines\x7f"},
      {2147483648.0, "largest"},
      {3000000000.0, "never asked for"},
      {3.5, "never asked for"},
  };
  file.variables[1].special = "day ";
  const struct {
    int variable;
    double value;
    const char* text;
    bool isLabel;
  } rows[] = {
      {1, 3, "Femme", true},
      {1, 4, "abcdefghijklmnopqrst", true},
      {1, 5, "éééééééééééééééééééé", true},
      {1, 6, "twolines", true},
      {1, 2147483648.0, "largest", true},
      {1, 3000000000.0, "3000000000", false},
      {1, 3.5, "3.5", false},
      {1, 7, "7", false},
      {1, -12345678901.0, "-12345678901", false},
      {2, 40000, "day 40000", false},
      {2, 40000.5, "40000.5", false},
  };
  for (const auto& row : rows) {
    const ValueTextResult result = ValueText(file, row.variable, row.value);
    EXPECT_EQ(result.text, row.text);
    EXPECT_EQ(result.isLabel, row.isLabel) << row.text;
  }
}

TEST(IsIntegral, HoldsForWholeNumbersOnly) {
  for (const double whole : {0.0, 1.0, -3.0, 1e15}) EXPECT_TRUE(IsIntegral(whole)) << whole;
  for (const double other : {-2.5, 2.5, 0.5, 1e-300}) EXPECT_FALSE(IsIntegral(other)) << other;
}

TEST(CategoryTable, OrdersCodesByNumberAndClassesByTheBytesOfTheirTexts) {
  CategoryTable table;
  const struct {
    std::int64_t code;
    const char* text;
    std::int64_t weight;
  } entries[] = {{10, "été", 1}, {-2, "zoo", 2}, {7, "Zoo", 4}, {3, "zoo", 8}, {1, "", 16}};
  for (const auto& entry : entries)
    table.Collect(entry.code, entry.text)->trainingWeight = entry.weight;
  table.Seal();

  std::vector<std::int64_t> codes;
  for (const auto& category : table.codes()) codes.push_back(category.code);
  EXPECT_EQ(codes, (std::vector<std::int64_t>{-2, 1, 3, 7, 10}));

  const struct {
    const char* text;
    std::int64_t code, weight;
  } classes[] = {{"", 1, 16}, {"Zoo", 7, 4}, {"zoo", -2, 10}, {"été", 10, 1}};
  ASSERT_EQ(table.classes().size(), std::size(classes));
  for (std::size_t i = 0; i < std::size(classes); ++i) {
    EXPECT_EQ(table.classes()[i].text, classes[i].text);
    EXPECT_EQ(table.classes()[i].code, classes[i].code) << classes[i].text;
    EXPECT_EQ(table.classes()[i].trainingWeight, classes[i].weight) << classes[i].text;
  }
  EXPECT_EQ(table.ClassIndex(3), 2);
  EXPECT_EQ(table.ClassIndex(-2), 2);
  EXPECT_EQ(table.ClassIndex(4), -1);
  EXPECT_EQ(table.CodeIndex(3), 2);
  EXPECT_FALSE(table.HasCode(0));

  table.ClearTrainingWeights();
  table.Collect(3, "été");  // the code's text has changed
  table.Seal();
  EXPECT_EQ(table.ClassIndex(3), 3);
  EXPECT_EQ(table.classes()[3].code, 3);
  EXPECT_EQ(table.classes()[3].trainingWeight, 0);
}

}  // namespace
}  // namespace qrvml::test
