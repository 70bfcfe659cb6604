// The choice of codes of categorical variables.
#include <gtest/gtest.h>

#include <numeric>

#include "data/select_codes.h"
#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

using Codes = std::vector<std::vector<double>>;

TEST(SelectCodes, AsksForEightVariablesAtATime) {
  AnalysisSession session(TableFile("x"));
  std::vector<int> variables(20);
  std::iota(variables.begin(), variables.end(), 1);
  Codes codes(20);
  codes[3] = std::vector<double>(501, 7.0);
  for (const std::size_t count : {8, 8, 4})
    session.host.codeAnswers.push_back(Codes(count, {static_cast<double>(count)}));

  EXPECT_TRUE(SelectCodes("title", variables, {}, codes));
  ASSERT_EQ(session.host.codesRequests.size(), 3u);
  int next = 1;
  for (const CodesRequest& request : session.host.codesRequests) {
    EXPECT_EQ(request.title, "title");
    EXPECT_EQ(request.lowest, -999999999);
    EXPECT_EQ(request.highest, 999999999);
    EXPECT_EQ(request.minimum, std::vector<std::size_t>(request.variables.size(), 1));
    EXPECT_EQ(request.maximum, std::vector<std::size_t>(request.variables.size(), 500));
    for (const int variable : request.variables) EXPECT_EQ(variable, next++);
  }
  EXPECT_EQ(next, 21);
  EXPECT_EQ(session.host.codesRequests[0].codes[3].size(), 500u);  // lowered to the maximum
  EXPECT_EQ(codes[7], std::vector{8.0});
  EXPECT_EQ(codes[19], std::vector{4.0});
}

TEST(SelectCodes, KeepsTheGroupsBeforeACancelledOne) {
  AnalysisSession session(TableFile("x"));
  const std::vector<int> variables(9, 1);
  Codes codes(9, {1.0});
  session.host.codeAnswers = {Codes(8, {2.0})};
  EXPECT_FALSE(SelectCodes("", variables, {}, codes));
  EXPECT_EQ(codes[7], std::vector{2.0});
  EXPECT_EQ(codes[8], std::vector{1.0});
}

TEST(CodesButtons, FixTheCategoriesOrChangeNothing) {
  AnalysisSession session(TableFile("c=Oui,Non  p=A,B,C  q", {"Oui A 1", "Non B 2"}));
  session.ChooseKnn();
  EXPECT_FALSE(session.dialog().IsEnabled("PredictorCodes"));
  session.Put("Variables", "| c | | p q");
  EXPECT_EQ(session.Text("PredictorCodes"), "* | *");

  session.Put("PredictorCodes", "3 A | *");
  EXPECT_EQ(session.Text("PredictorCodes"), "1 3 | *");
  EXPECT_EQ(session.data().predictorCategories(0).classes()[1].text, "C");
  session.Put("ResponseCodes", "1-2");
  EXPECT_EQ(session.Text("ResponseCodes"), "1 2");

  session.data().rereadNeeded = false;
  session.host.codeAnswers = {Codes{{1, 2.5}, {1}}};
  EXPECT_FALSE(session.Press("PredictorCodes").Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{126});
  EXPECT_FALSE(session.Press("PredictorCodes").Succeeded());  // cancelled
  EXPECT_TRUE(session.host.messages.empty());
  EXPECT_EQ(session.Text("PredictorCodes"), "1 3 | *");
  EXPECT_FALSE(session.data().rereadNeeded);
  EXPECT_EQ(session.host.codesRequests.back().title, "Codes des prédicteurs");
  EXPECT_EQ(session.host.codesRequests.back().codes, (Codes{{1, 3}, {}}));

  session.Put("Variables", "| c | | p");
  EXPECT_EQ(session.Text("PredictorCodes"), "*");
}

}  // namespace
}  // namespace qrvml::test
