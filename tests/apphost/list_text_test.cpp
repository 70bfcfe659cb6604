#include "host/list_text.h"

#include <gtest/gtest.h>

#include "host/numerics.h"

namespace qrvml {
namespace {

using Kind = ListMember::Kind;

/// Parsed lists written plainly: n:name, q:quoted name, #number, a~b range, * and 0 for None.
std::string Plain(std::string_view text) {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  if (!ParseListText(text, lists, error)) return "error: " + error;
  std::string plain;
  for (std::size_t list = 0; list < lists.size(); ++list) {
    if (list > 0) plain += '|';
    for (const ListMember& member : lists[list]) {
      plain += '[';
      switch (member.kind) {
        case Kind::name:
          plain += (member.quoted ? "q:" : "n:") + member.name;
          break;
        case Kind::number:
          plain += '#' + ShortestText(member.number);
          break;
        case Kind::range:
          plain += ShortestText(member.number) + '~' + ShortestText(member.upper);
          break;
        case Kind::all:
          plain += '*';
          break;
        case Kind::none:
          plain += '0';
          break;
      }
      plain += ']';
    }
  }
  return plain;
}

TEST(ListText, EveryTextHasOneReading) {
  const struct {
    const char *text, *reading;
  } kCases[] = {
      {"", ""},
      {"   ", ""},
      {"a b", "[n:a][n:b]"},
      {" | Species | 1 2-4 | ", "|[n:Species]|[#1][2~4]|"},
      {"*|None", "[*]|[0]"},
      {R"("*" "None" "12" "2-5")", "[q:*][q:None][q:12][q:2-5]"},
      {R"("a ""b"" c" d)", R"([q:a "b" c][n:d])"},
      {R"("x|y"|z)", "[q:x|y]|[n:z]"},
      {"-5 +3 1e3 .5", "[#-5][#3][#1000][#0.5]"},
      {"none ALL a-b 2- -2-3 1.5-2", "[n:none][n:ALL][n:a-b][n:2-][n:-2-3][n:1.5-2]"},
      {"inf nan", "[n:inf][n:nan]"},
      {"7-7", "[7~7]"},
      {"\"\"", "[q:]"},
      {"Größe\tÂge", "[n:Größe][n:Âge]"},
      {"\"open", "error: the double quote at character 1 is not closed"},
      {"a \"b\"c", "error: a blank or | is missing behind the double quote at character 6"},
      {"ab\"c\"", "error: a double quote inside a word at character 3"},
      {"1 5-2", "error: a range that runs backwards at character 3"},
  };
  for (const auto& [text, reading] : kCases) EXPECT_EQ(Plain(text), reading) << text;
}

TEST(ListText, AFailedReadingLeavesTheListsAlone) {
  std::vector<std::vector<ListMember>> lists(3);
  std::string error;
  EXPECT_FALSE(ParseListText("a | \"b", lists, error));
  EXPECT_EQ(lists.size(), 3u);
}

TEST(ListText, AMemberKeepsItsPlaceInTheText) {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  ASSERT_TRUE(ParseListText(" a | bb \"c\"", lists, error));
  EXPECT_EQ(lists[0][0].column, 2u);
  EXPECT_EQ(lists[1][0].column, 6u);
  EXPECT_EQ(lists[1][1].column, 9u);
}

TEST(ListText, WritingAndReadingGivesTheNamesBack) {
  const std::vector<std::vector<std::string>> names = {
      {"plain", "with blank", "a|b", "say \"hi\"", "", "*", "None", "12", "-1e5", "2-5", "2-x"},
      {},
      {"Âge", "tab\there", "end\""}};
  std::vector<std::vector<std::string>> members;
  for (const auto& list : names) {
    members.emplace_back();
    for (const std::string& name : list) members.back().push_back(MemberText(name));
  }
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  ASSERT_TRUE(ParseListText(ListText(members), lists, error)) << error;
  ASSERT_EQ(lists.size(), names.size());
  for (std::size_t list = 0; list < names.size(); ++list) {
    ASSERT_EQ(lists[list].size(), names[list].size());
    for (std::size_t i = 0; i < names[list].size(); ++i) {
      EXPECT_EQ(lists[list][i].kind, Kind::name) << names[list][i];
      EXPECT_EQ(lists[list][i].name, names[list][i]);
    }
  }
}

TEST(ListText, OnlyWhatNeedsQuotesGetsThem) {
  EXPECT_EQ(MemberText("Sepal.Length"), "Sepal.Length");
  EXPECT_EQ(MemberText("a-b"), "a-b");
  EXPECT_EQ(MemberText("two words"), "\"two words\"");
  EXPECT_EQ(MemberText("7"), "\"7\"");
  EXPECT_EQ(MemberText("a\"b"), "\"a\"\"b\"");
  const std::vector<std::vector<std::string>> lists = {{"a", "b"}, {"c"}, {}, {"d"}};
  EXPECT_EQ(ListText(lists), "a b | c |  | d");
}

}  // namespace
}  // namespace qrvml
