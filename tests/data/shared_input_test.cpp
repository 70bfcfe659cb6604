// Choices and values that arrive as text.
#include "data/shared_input.h"

#include <gtest/gtest.h>

namespace qrvml::test {
namespace {

struct Case {
  const char* input;
  Parsed parsed;
  const char* text;
  double number;
};

TEST(SelectionText, IsANumberAnAsteriskOrNone) {
  const Case cases[] = {
      {"3", Parsed::number, "", 3},         {"None", Parsed::text, "None", 0},
      {" , None", Parsed::text, "None", 0}, {"*", Parsed::text, "*", 0},
      {"a*b", Parsed::text, "*", 0},        {"\"None\"", Parsed::text, "None", 0},
      {"none", Parsed::invalid, "", 0},     {"other", Parsed::invalid, "", 0},
      {"", Parsed::invalid, "", 0},         {"-2.5e1", Parsed::number, "", -25},
  };
  for (const Case& row : cases) {
    CLittleParser parser(row.input);
    std::string text;
    double number = 0;
    ASSERT_EQ(ParseSelectionText(parser, text, number), row.parsed) << row.input;
    EXPECT_EQ(row.parsed == Parsed::text ? text : "", row.text) << row.input;
    EXPECT_EQ(number, row.number) << row.input;
  }
}

TEST(ValueText, ReadsNamesQuotedTextsAndNumbersInTurn) {
  CLittleParser parser("1.5 Femme, \"a \"\"b\"\" |\" ; -3 x(2)");
  std::string text;
  double number = 0;
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::number);
  EXPECT_EQ(number, 1.5);
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::text);
  EXPECT_EQ(text, "Femme");
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::text);
  EXPECT_EQ(text, "a \"b\" |");
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::number);
  EXPECT_EQ(number, -3);
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::text);
  EXPECT_EQ(text, "x");
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::number);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(ParseValueText(parser, text, number), Parsed::invalid);
}

TEST(LittleParser, ComparesByItsCaseRule) {
  CLittleParser sensitive("Femme"), insensitive("Femme", false);
  EXPECT_EQ(sensitive.Next(), CLittleParser::Symbol::name);
  EXPECT_EQ(insensitive.Next(), CLittleParser::Symbol::name);
  EXPECT_FALSE(sensitive.Is("femme"));
  EXPECT_TRUE(insensitive.Is("fEMME"));
  EXPECT_FALSE(insensitive.Is("femm"));
}

}  // namespace
}  // namespace qrvml::test
