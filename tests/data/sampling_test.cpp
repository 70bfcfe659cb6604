// The split into training and test cases: the draws, the leading cases, the sample identifier.
#include <gtest/gtest.h>

#include <algorithm>

#include "dialogs/sample_identifier_dialog.h"
#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TableFile Numbered(int cases) {
  std::vector<std::string> rows;
  for (int i = 1; i <= cases; ++i) rows.push_back(std::to_string(i));
  return TableFile("x", rows);
}

/// The definition again: k times a case at random; where it is taken the next free one after it;
/// where there is none a new draw.
std::vector<int> DrawnCases(int cases, int testCases, std::deque<double> draws) {
  std::vector<int> isTest(static_cast<std::size_t>(cases), 0);
  for (int drawn = 0; drawn < testCases; ++drawn) {
    int i = cases;
    while (i >= cases) {
      i = static_cast<int>(draws.front() * cases);
      draws.pop_front();
      while (i < cases && isTest[static_cast<std::size_t>(i)] == 1) ++i;
    }
    isTest[static_cast<std::size_t>(i)] = 1;
  }
  return isTest;
}

SamplingSettings Settings(double percentage, std::int32_t firstN = -1) {
  SamplingSettings sampling;
  sampling.seed = 5;
  sampling.trainingPercentage = percentage;
  sampling.firstN = firstN;
  return sampling;
}

std::vector<int> Flags(const HostArray<std::uint8_t>& flags) {
  return {flags.begin(), flags.end()};
}

TEST(RandomSample, MarksAsTestWhatThePercentageLeaves) {
  const struct {
    int cases;
    double percentage;
    int training;  // trunc((cases * percentage) * 0.01)
  } rows[] = {{100, 75, 75},
              {50, 0.001, 0},
              {7, 33.4, 2},
              {3, 99.999, 2},
              {1, 50, 0},
              // The order of the products decides: 50 * 58 * 0.01 is 29, 50 * (58 * 0.01) below it.
              {50, 58, 29},
              {100, 29, 29},
              {1000, 57.9, 579}};
  for (const auto& row : rows) {
    AnalysisSession session(Numbered(row.cases));
    HostArray<std::uint8_t> flags;
    SamplingSettings sampling = Settings(row.percentage);
    EXPECT_TRUE(DrawRandomSample(sampling, row.cases, flags));
    EXPECT_EQ(std::count(flags.begin(), flags.end(), kTraining), row.training) << row.percentage;
    EXPECT_EQ(std::count(flags.begin(), flags.end(), kTest), row.cases - row.training);
    EXPECT_EQ(sampling.firstN, row.training);
    EXPECT_TRUE(sampling.defined);
    EXPECT_TRUE(std::ranges::all_of(session.host.seeds, [](int seed) { return seed == 5; }));
  }
}

TEST(RandomSample, WalksOnToTheNextFreeCaseAndDrawsAnewAtTheEndOfTheFile) {
  const struct {
    int cases;
    std::deque<double> draws;
    std::vector<int> isTest;  // worked out by hand; empty: by the oracle alone
  } rows[] = {
      {4, {0.5, 0.5}, {0, 0, 1, 1}},               // walks from the third to the fourth
      {4, {0.99, 0.99, 0.75, 0.0}, {1, 0, 0, 1}},  // two draws in vain
      {8, {0.0, 0.0, 0.0, 0.25}, {1, 1, 1, 1, 0, 0, 0, 0}},
      {10, {0.9, 0.3, 0.35, 0.99, 0.91, 0.4, 0.3999}, {}},
  };
  for (const auto& row : rows) {
    AnalysisSession session(Numbered(row.cases));
    session.host.scriptedDraws = row.draws;
    HostArray<std::uint8_t> flags;
    SamplingSettings sampling = Settings(50);
    EXPECT_TRUE(DrawRandomSample(sampling, row.cases, flags));
    const std::vector<int> expected = DrawnCases(row.cases, row.cases / 2, row.draws);
    EXPECT_EQ(Flags(flags), expected);
    if (!row.isTest.empty()) {
      EXPECT_EQ(expected, row.isTest);
    }
  }
}

TEST(RandomSample, EqualsTheDefinitionForLongStreams) {
  for (const int cases : {37, 500}) {
    AnalysisSession session(Numbered(cases));
    std::deque<double> draws;
    for (int i = 0; i < 20 * cases; ++i) draws.push_back(session.host.rnd_(7));
    session.host.scriptedDraws = draws;
    HostArray<std::uint8_t> flags;
    SamplingSettings sampling = Settings(20);
    EXPECT_TRUE(DrawRandomSample(sampling, cases, flags));
    EXPECT_EQ(Flags(flags), DrawnCases(cases, cases - cases / 5, draws));
  }
}

TEST(FirstCases, TakeTheLeadingCasesForTraining) {
  AnalysisSession session(Numbered(5));
  HostArray<std::uint8_t> flags;
  SamplingSettings sampling = Settings(75, 2);
  EXPECT_TRUE(TakeFirstCases(sampling, 5, flags));
  EXPECT_EQ(Flags(flags), (std::vector<int>{0, 0, 1, 1, 1}));
  EXPECT_TRUE(sampling.defined);
  EXPECT_TRUE(session.host.seeds.empty());
}

TEST(Split, LeavesNoSampleWhenTheHostRefusesTheFlags) {
  AnalysisSession session(Numbered(5));
  for (const auto split : {&DrawRandomSample, &TakeFirstCases}) {
    HostArray<std::uint8_t> flags(5, kTest);
    SamplingSettings sampling = Settings(75, 2);
    sampling.defined = true;
    session.host.refuseAllocation = session.host.allocations + 1;
    EXPECT_FALSE(split(sampling, 5, flags));
    EXPECT_EQ(session.host.TakeMessages(), std::vector{104});
    EXPECT_FALSE(sampling.defined);
    EXPECT_TRUE(split(sampling, 5, flags));
  }
}

TEST(FindFirstCode, IsTheFirstUsableValueInFileOrder) {
  TableFile file("a   b!0  c  d  *state",
                 {"7   0    .  .  -",  // skipped
                  ".   0    .  .  +", "2.5 4    .  .  +", "3   5    .  9  !", "4   6    .  9  +"});
  AnalysisSession session(file);
  session.file.cases[3].status = CaseStatus::delivered;
  const struct {
    int variable;
    bool integralOnly;
    double code;
  } rows[] = {{1, true, 3}, {1, false, 2.5}, {2, true, 4}, {3, true, 0}, {4, true, 9}};
  for (const auto& row : rows)
    EXPECT_EQ(FindFirstCode(row.variable, row.integralOnly), row.code) << row.variable;
  EXPECT_EQ(session.host.progressTexts.back(), "Calculs en cours...");

  session.file.cases[3].status = CaseStatus::stop;  // the user stops: nothing after it counts
  EXPECT_EQ(FindFirstCode(4, true), 0);
  EXPECT_EQ(session.host.openPasses, 0);
}

// --- The sample identifier dialog ----------------------------------------------------------------

struct IdentifierDialog {
  AnalysisSession session{TableFile("group=Un,Deux  part  *name",
                                    {".  1.1  a", "Deux  1.1  b", "Un  2  c", "Deux  2  d"})};
  SampleIdentifierDialog dialog{session.analysis, session.data()};

  void Pick(int variable) {
    session.host.variableAnswers = {variable};
    EXPECT_TRUE(dialog.PickVariable());
  }
  const SamplingSettings& Close(bool ok) {
    EXPECT_TRUE(ok ? dialog.OnOK() : dialog.OnCancel());
    dialog.ApplyChoice();
    return session.data().sampling;
  }
};

TEST(SampleIdentifierDialog, ActiveNeedsAVariableACodeAndAReadableOne) {
  IdentifierDialog identifier;
  ScriptedHost& host = identifier.session.host;
  EXPECT_FALSE(identifier.dialog.OnOK());
  EXPECT_EQ(host.TakeMessages(), std::vector{192});
  identifier.Pick(1);
  identifier.dialog.TypeCode(" ");
  EXPECT_FALSE(identifier.dialog.OnOK());
  EXPECT_EQ(host.TakeMessages(), std::vector{193});
  for (const char* text : {"Trois", "1;2", "32001", "-32000.5"}) {
    identifier.dialog.TypeCode(text);
    EXPECT_FALSE(identifier.dialog.OnOK()) << text;
    EXPECT_EQ(host.TakeMessages(), std::vector{194}) << text;
  }
  identifier.dialog.TypeCode("Un");
  const SamplingSettings& sampling = identifier.Close(true);
  EXPECT_EQ(sampling.identifierVariable, 1);
  EXPECT_EQ(sampling.learningCode, 1);
  EXPECT_EQ(sampling.learningCodeText, "Un");
  EXPECT_TRUE(sampling.defined);
  EXPECT_TRUE(host.messages.empty());
}

TEST(SampleIdentifierDialog, ANewVariableBringsItsFirstCodeAndTheSameOneKeepsIt) {
  IdentifierDialog identifier;
  identifier.Pick(1);
  EXPECT_EQ(identifier.dialog.choice().code, 2);  // the first case is missing
  EXPECT_EQ(identifier.dialog.choice().codeText, "Deux");
  identifier.dialog.TypeCode("1");
  identifier.Pick(1);
  EXPECT_EQ(identifier.dialog.choice().codeText, "1");
  identifier.Pick(2);
  EXPECT_EQ(identifier.dialog.choice().codeText, "2");  // 1.1 is no integer
}

TEST(SampleIdentifierDialog, InactiveForgetsTheVariableAndCancelRestores) {
  IdentifierDialog identifier;
  identifier.Pick(1);
  EXPECT_TRUE(identifier.Close(true).defined);
  {
    SampleIdentifierDialog again(identifier.session.analysis, identifier.session.data());
    identifier.session.host.variableAnswers = {2};
    EXPECT_TRUE(again.PickVariable());
    again.SetActive(false);
    EXPECT_TRUE(again.OnCancel());
    again.ApplyChoice();
  }
  const SamplingSettings& sampling = identifier.session.data().sampling;
  EXPECT_EQ(sampling.identifierVariable, 1);
  EXPECT_EQ(sampling.learningCode, 2);
  EXPECT_EQ(sampling.learningCodeText, "Deux");
  EXPECT_TRUE(sampling.defined);

  SampleIdentifierDialog last(identifier.session.analysis, identifier.session.data());
  last.SetActive(false);
  EXPECT_FALSE(sampling.defined);
  EXPECT_TRUE(last.OnOK());
  last.ApplyChoice();
  EXPECT_EQ(sampling.identifierVariable, 0);
  EXPECT_EQ(sampling.learningCode, 0);
  EXPECT_FALSE(sampling.defined);
}

TEST(SampleIdentifierDialog, ItsCodeIsASinglePrecisionNumber) {
  IdentifierDialog identifier;
  identifier.Pick(2);
  identifier.dialog.TypeCode("1.1");
  EXPECT_EQ(identifier.Close(true).learningCode, static_cast<double>(1.1f));
  EXPECT_NE(identifier.session.data().sampling.learningCode, 1.1);
}

}  // namespace
}  // namespace qrvml::test
