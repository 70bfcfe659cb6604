// The two passes over the file: who takes part, with what weight, how missing values are replaced,
// what each method gets to keep.
#include <gtest/gtest.h>

#include "data/value_text.h"
#include "support/case_reading.h"

namespace qrvml::test {
namespace {

using Numbers = std::vector<double>;
using Cases = std::vector<int>;

void ExpectStatistics(const AnalysisDataSet& data, Subset subset, std::size_t slot, double mean,
                      double minimum, double maximum) {
  const CaseStatistics& statistics = data.statistics(subset);
  EXPECT_DOUBLE_EQ(statistics.Mean(slot), mean) << static_cast<int>(subset);
  EXPECT_EQ(statistics.Minimum(slot), minimum) << static_cast<int>(subset);
  EXPECT_EQ(statistics.Maximum(slot), maximum) << static_cast<int>(subset);
}

// --- Weights and selection -----------------------------------------------------------------------

TableFile WeightedCases() {
  return TableFile("y  x  g=A,B  *weight *state",
                   {"10 1  A     1       +",    // training
                    "20 2  B     2.5     +",    // training, three times
                    "30 3  A     0.49    +",    // weight 0: out
                    "40 4  A     1       -",    // not selected
                    "50 5  B     -2      +",    // counts no more than a zero weight
                    "60 6  A     0.5     +",    // training
                    "70 7  B     1.49    +",    // training
                    "80 8  A     2       +",    // test, twice
                    "90 9  B     1       -"});  // not selected
}

TEST(CaseWeights, RoundToWholeCasesThatEachMethodStoresInItsWay) {
  const struct {
    Method method;
    Cases training, test;
  } rows[] = {{Method::svm, {}, {}},
              {Method::naiveBayes, {1, 2, 6, 7}, {8}},
              {Method::knn, {1, 2, 2, 2, 6, 7}, {8, 8}}};
  for (const auto& row : rows) {
    CaseReading reading(WeightedCases(), "y | | x | g", 7);
    AnalysisDataSet& data = reading.data();
    ASSERT_TRUE(reading.Read(row.method));
    EXPECT_EQ(reading.Flags(), (Cases{0, 0, 5, 5, 5, 0, 0, 1, 5}));
    EXPECT_EQ(data.trainingCount(), 6);
    EXPECT_EQ(data.testCount(), 2);
    EXPECT_EQ(data.totalCount(), 8);
    EXPECT_EQ(data.Weight(2), 3);
    EXPECT_EQ(data.Weight(3), 0);
    EXPECT_EQ(reading.Stored(Sample::training), row.training);
    EXPECT_EQ(reading.Stored(Sample::test), row.test);

    // Training x: 1 + 3 * 2 + 6 + 7 over 6; y is ten times as much.
    ExpectStatistics(data, Subset::training, 0, 20.0 / 6, 1, 7);
    ExpectStatistics(data, Subset::test, 0, 8, 8, 8);
    ExpectStatistics(data, Subset::both, 0, 36.0 / 8, 1, 8);
    ExpectStatistics(data, Subset::both, 2, 360.0 / 8, 10, 80);

    if (row.method == Method::svm) {
      EXPECT_EQ(
          reading.sink.inputs,
          (std::vector<Numbers>{{1, 1, 0}, {2, 0, 1}, {2, 0, 1}, {2, 0, 1}, {6, 1, 0}, {7, 0, 1}}));
      EXPECT_EQ(reading.sink.dependents,
                (std::vector<Numbers>{{10}, {20}, {20}, {20}, {60}, {70}}));
      EXPECT_EQ(data.svmInputWidth(), 3);
    } else {
      Numbers x, g, y;
      for (const int c : row.training) {
        x.push_back(c);
        g.push_back(c % 2 == 0 && c != 6 ? 2 : c == 7 ? 2 : 1);
        y.push_back(10 * c);
      }
      EXPECT_EQ(reading.Predictor(Sample::training, 0), x);
      EXPECT_EQ(reading.Predictor(Sample::training, 1), g);
      EXPECT_EQ(reading.Dependent(Sample::training, 0), y);
    }
  }
}

TEST(Selection, LeavesTheSampleOfASkippedCaseAlone) {
  CaseReading reading(WeightedCases(), "y | | x | g", 7);
  ASSERT_TRUE(reading.Read(Method::knn));
  reading.session.file.cases[3].status = CaseStatus::delivered;
  reading.session.file.cases[8].status = CaseStatus::delivered;
  ASSERT_TRUE(reading.Read(Method::knn));
  EXPECT_EQ(reading.Stored(Sample::training), (Cases{1, 2, 2, 2, 4, 6, 7}));
  EXPECT_EQ(reading.Stored(Sample::test), (Cases{8, 8, 9}));
}

TEST(CaseWeights, WithoutAWeightVariableEveryCaseCountsOnce) {
  CaseReading reading(WeightedCases(), "y | | x | g", 7);
  reading.session.file.weighted = false;
  ASSERT_TRUE(reading.Read(Method::knn));
  EXPECT_EQ(reading.Stored(Sample::training), (Cases{1, 2, 3, 5, 6, 7}));
  EXPECT_EQ(reading.data().Weight(3), 1);
}

// --- Missing values ------------------------------------------------------------------------------

TableFile CasesWithMissing() {
  return TableFile("y   x!-1  g=A,B", {"10  1    A", ".   2    B", "30  .    A", "40  4    .",
                                       "50  6    B",  // training up to here
                                       "60  .    A", "70  8    B", ".   10   A"});
}

TEST(MissingValues, TakeCasesOutAsRuleAndMethodSay) {
  const auto casewise = MissingDataRule::casewiseDeletion;
  const auto mean = MissingDataRule::meanSubstitution;
  const auto partly = MissingDataRule::usePartlyMissing;
  const struct {
    Method method;
    MissingDataRule rule;
    Cases flags;
  } rows[] = {{Method::svm, casewise, {0, 5, 5, 5, 0, 5, 1, 5}},
              {Method::naiveBayes, casewise, {0, 5, 5, 5, 0, 5, 1, 5}},
              {Method::knn, casewise, {0, 5, 5, 5, 0, 5, 1, 5}},
              {Method::svm, mean, {0, 0, 0, 5, 0, 1, 1, 1}},
              {Method::knn, mean, {0, 0, 0, 5, 0, 1, 1, 1}},
              {Method::naiveBayes, mean, {0, 5, 0, 5, 0, 1, 1, 5}},
              {Method::naiveBayes, partly, {0, 5, 0, 0, 0, 1, 1, 5}}};
  for (const auto& row : rows) {
    CaseReading reading(CasesWithMissing(), "y | | x | g", 5);
    reading.data().missingDataRule = row.rule;
    EXPECT_TRUE(reading.Read(row.method));
    EXPECT_EQ(reading.Flags(), row.flags)
        << static_cast<int>(row.method) << ' ' << static_cast<int>(row.rule);
  }
}

TEST(MissingValues, BecomeTheMeanOfBothSamplesForNeighboursAndVectorMachines) {
  // First-pass means divide the sum of the valid values by the count of all used cases:
  // x 9/4 in training, 18/3 in test, 27/7 in both; y 90/4, 130/3, 220/7.
  for (const Method method : {Method::svm, Method::knn}) {
    CaseReading reading(CasesWithMissing(), "y | | x | g", 5);
    AnalysisDataSet& data = reading.data();
    data.missingDataRule = MissingDataRule::meanSubstitution;
    ASSERT_TRUE(reading.Read(method));
    ExpectStatistics(data, Subset::training, 0, (1 + 2 + 9.0 / 4 + 6) / 4, 1, 6);
    ExpectStatistics(data, Subset::test, 0, (6 + 8 + 10) / 3.0, 6, 10);
    ExpectStatistics(data, Subset::both, 0, (27 + 2 * (27.0 / 7)) / 7, 1, 10);
    ExpectStatistics(data, Subset::training, 2, (90 + 90.0 / 4) / 4, 10, 50);
    ExpectStatistics(data, Subset::test, 2, (130 + 130.0 / 3) / 3, 130.0 / 3, 70);
    if (method == Method::svm) {
      EXPECT_EQ(reading.sink.inputs,
                (std::vector<Numbers>{{1, 1, 0}, {2, 0, 1}, {27.0 / 7, 1, 0}, {6, 0, 1}}));
      EXPECT_EQ(reading.sink.dependents, (std::vector<Numbers>{{10}, {220.0 / 7}, {30}, {50}}));
    } else {
      EXPECT_EQ(reading.Predictor(Sample::training, 0), (Numbers{1, 2, 27.0 / 7, 6}));
      EXPECT_EQ(reading.Dependent(Sample::training, 0), (Numbers{10, 220.0 / 7, 30, 50}));
      EXPECT_EQ(reading.Predictor(Sample::test, 0), (Numbers{27.0 / 7, 8, 10}));
      EXPECT_EQ(reading.Dependent(Sample::test, 0), (Numbers{60, 70, 220.0 / 7}));
    }
  }
}

TEST(MissingValues, BecomeTheMeanOfTheirSampleForNaiveBayes) {
  CaseReading reading(CasesWithMissing(), "y | | x | g", 5);
  AnalysisDataSet& data = reading.data();
  data.missingDataRule = MissingDataRule::meanSubstitution;
  ASSERT_TRUE(reading.Read(Method::naiveBayes));
  // Cases 1, 3, 5 and 6, 7: 7/3 and 8/2.
  EXPECT_EQ(reading.Predictor(Sample::training, 0), (Numbers{1, 7.0 / 3, 6}));
  EXPECT_EQ(reading.Predictor(Sample::test, 0), (Numbers{4, 8}));
  ExpectStatistics(data, Subset::training, 0, (7 + 7.0 / 3) / 3, 1, 6);
  ExpectStatistics(data, Subset::test, 0, 6, 4, 8);
  ExpectStatistics(data, Subset::both, 0, (7 + 7.0 / 3 + 4 + 8) / 5, 1, 8);
}

TEST(MissingValues, StayMissingWhereNaiveBayesUsesPartlyMissingCases) {
  CaseReading reading(CasesWithMissing(), "y | | x | g", 5);
  AnalysisDataSet& data = reading.data();
  data.missingDataRule = MissingDataRule::usePartlyMissing;
  ASSERT_TRUE(reading.Read(Method::naiveBayes));
  EXPECT_EQ(reading.Predictor(Sample::training, 0), (Numbers{1, -1, 4, 6}));
  EXPECT_EQ(reading.Predictor(Sample::test, 0), (Numbers{-1, 8}));
  // Over the valid values alone.
  ExpectStatistics(data, Subset::training, 0, 11.0 / 3, 1, 6);
  ExpectStatistics(data, Subset::test, 0, 8, 8, 8);
  EXPECT_EQ(data.statistics(Subset::training).ValidWeight(0), 3);
  EXPECT_EQ(data.statistics(Subset::both).ValidWeight(0), 4);
}

TEST(MissingValues, WithoutSamplingBecomeTheTrainingMean) {
  CaseReading reading(CasesWithMissing(), "y | | x | g", 0);
  reading.data().missingDataRule = MissingDataRule::meanSubstitution;
  ASSERT_TRUE(reading.Read(Method::svm));
  ASSERT_EQ(reading.sink.inputs.size(), 7u);
  EXPECT_EQ(reading.sink.inputs[2][0], 27.0 / 7);
  EXPECT_TRUE(reading.data().statistics(Subset::test).empty());
}

TEST(StoredCases, ReadAgainFromTheFileEqualThoseInMemory) {
  for (const Method method : {Method::naiveBayes, Method::knn}) {
    for (const auto rule : {MissingDataRule::casewiseDeletion, MissingDataRule::meanSubstitution}) {
      CaseReading kept(CasesWithMissing(), "y | | x | g", 5);
      CaseReading readAgain(CasesWithMissing(), "y | | x | g", 5);
      readAgain.data().storeValues = false;
      for (CaseReading* reading : {&kept, &readAgain}) {
        reading->data().missingDataRule = rule;
        CAnalysisContext::Scope scope(&reading->session.analysis);
        ASSERT_TRUE(reading->Read(method));
      }
      EXPECT_TRUE(readAgain.data().PredictorRows(Sample::training).empty());
      for (const Sample sample : {Sample::training, Sample::test}) {
        ASSERT_EQ(readAgain.Stored(sample), kept.Stored(sample));
        for (int row = 0; row < kept.data().StoredRows(sample); ++row) {
          Numbers predictors(2), dependents(1), again(2), dependentsAgain(1);
          EXPECT_TRUE(kept.data().ReadStoredCase(sample, row, predictors, dependents));
          EXPECT_TRUE(readAgain.data().ReadStoredCase(sample, row, again, dependentsAgain));
          EXPECT_EQ(again, predictors);
          EXPECT_EQ(dependentsAgain, dependents);
        }
      }
      readAgain.session.file.stopAtRead = readAgain.session.file.reads + 1;
      Numbers predictors(2), dependents(1);
      EXPECT_FALSE(readAgain.data().ReadStoredCase(Sample::test, 0, predictors, dependents));
    }
  }
}

// --- Categories ----------------------------------------------------------------------------------

TEST(Categories, AreCollectedFromTrainingCasesWithTheirWeights) {
  CaseReading reading(
      TableFile("c=3:rot,1:blau,7:rot  x  *weight", {"rot 1 2", "blau 2 1", "7 3 4", "9 4 1"}),
      "| c | x |", 3);
  ASSERT_TRUE(reading.Read(Method::knn));
  const CategoryTable& table = reading.data().dependentCategories(0);
  ASSERT_EQ(table.classes().size(), 2u);  // the test case's 9 is none
  EXPECT_EQ(table.classes()[0].text, "blau");
  EXPECT_EQ(table.classes()[0].trainingWeight, 1);
  EXPECT_EQ(table.classes()[1].text, "rot");
  EXPECT_EQ(table.classes()[1].code, 3);
  EXPECT_EQ(table.classes()[1].trainingWeight, 6);
  ASSERT_TRUE(reading.Read(Method::knn));  // and anew by each run
  EXPECT_EQ(table.classes()[1].trainingWeight, 6);
}

TEST(Categories, GiveTheVectorMachineOneColumnPerCodeInAscendingOrder) {
  CaseReading reading(
      TableFile("y  p=5:same,-1:same,2:other  q=A,B", {"1 5 A", "2 -1 B", "3 2 B", "4 2 A"}),
      "y | | | p q", 3);
  ASSERT_TRUE(reading.Read(Method::svm));
  EXPECT_EQ(reading.sink.inputs,
            (std::vector<Numbers>{{0, 0, 1, 1, 0}, {1, 0, 0, 0, 1}, {0, 1, 0, 0, 1}}));
}

TEST(Categories, FixedOnesTakeTruncatedCodesAndPutOthersOut) {
  CaseReading reading(TableFile("c=A,B  p=1:x,2:y  q", {"A 1 1", "B 2.5 2", "A 3 1", "B 2 2",
                                                        "3 1 1", "B -2.5 2", "A 1 2"}),
                      "| c | | p q", 6);
  AnalysisDataSet& data = reading.data();
  data.FixPredictorCategories(std::vector<Numbers>{{1, 2}, {}});  // q stays open
  data.FixDependentCategories(std::vector<Numbers>{{1, 2}});
  EXPECT_TRUE(data.IsPredictorFixed(0));
  EXPECT_FALSE(data.IsPredictorFixed(1));
  for (int run = 0; run < 2; ++run) {  // fixed categories survive a run
    ASSERT_TRUE(reading.Read(Method::knn));
    EXPECT_EQ(reading.Flags(), (Cases{0, 0, 5, 0, 5, 5, 1}));
    EXPECT_EQ(reading.Predictor(Sample::training, 0), (Numbers{1, 2.5, 2}));  // raw values
    EXPECT_EQ(data.predictorCategories(1).codes().size(), 2u);
    const auto classes = data.dependentCategories(0).classes();
    ASSERT_EQ(classes.size(), 2u);
    EXPECT_EQ(classes[1].text, "B");
    EXPECT_EQ(classes[1].trainingWeight, 2);
  }
  EXPECT_TRUE(data.SetRoles(data.roles()));
  EXPECT_FALSE(data.predictorCategoriesFixed);
  EXPECT_FALSE(data.IsDependentFixed(0));
}

// --- Identifier of the sample --------------------------------------------------------------------

TEST(SampleIdentifier, MarksTrainingCasesByTheExactCode) {
  TableFile file("y x part", {"1 1 1.1", "2 2 1.10000002384185791015625", "3 3 2", "4 4 .",
                              "5 5 1.10000002384185791015625"});
  CaseReading reading(file, "y | | x |", 3);
  SamplingSettings& sampling = reading.data().sampling;
  sampling.mode = SamplingMode::identifier;
  sampling.identifierVariable = 3;
  sampling.learningCode = static_cast<double>(1.1f);
  ASSERT_TRUE(reading.Read(Method::knn));
  EXPECT_EQ(reading.Flags(), (Cases{1, 0, 1, 1, 0}));  // whatever an earlier split said
  sampling.identifierVariable = 0;
  EXPECT_FALSE(reading.Read(Method::knn));
  EXPECT_EQ(reading.session.host.TakeMessages(), Cases{218});
}

// --- What ends a pass ----------------------------------------------------------------------------

TEST(Reading, EndsWithTheMessageThatIsDueAndReleasesEverything) {
  const std::vector<Method> all(std::begin(kMethods), std::end(kMethods));
  const std::vector<std::string> plain = {"1 1 1", "2 2 2", "3 1 1", "4 2 2"};
  const struct {
    const char* name;
    const char* header;
    std::vector<std::string> cases;
    const char* roles;
    int trainingCases;
    std::vector<Method> methods;
    int message;  // 0: none
  } rows[] = {
      {"all weights 0", "y p c *weight", {"1 1 1 0", "2 2 2 0.4"}, "y||p|", 1, all, 218},
      {"one training case", "y p c", plain, "y||p|", 1, all, 218},
      {"no test case", "y p c", plain, "y||p|", 4, all, 219},
      {"no sampling", "y p c", plain, "y||p|", 0, {Method::knn}, 219},
      {"no sampling needed", "y p c", plain, "y||p|c", 0, {Method::svm, Method::naiveBayes}, 0},
      {"one predictor text", "y p=1:s,2:s c", plain, "y|||p", 3, all, 220},
      {"one dependent text", "y p c=1:s,2:s", plain, "|c|p|", 3, all, 221},
      {"one text of both", "y p=1:s,2:s c=1:s,2:s", plain, "|c||p", 3, all, 220},
      {"a fraction", "y p c", {"1 1 1", "2 2.5 2", "3 1 1", "4 2 1"}, "y|||p", 3, all, 116},
      {"a fraction in a test case",
       "y p c",
       {"1 1 1", "2 2 2", "3 1 1", "4 2 1.5"},
       "|c|p|",
       3,
       all,
       116},
      {"a missing-data code with a fraction",
       "y p!-0.5 c",
       {"1 1 1", "2 . 2", "3 2 1", "4 2 1"},
       "y|||p",
       3,
       all,
       116},
      {"a fraction in a case that is out",
       "y p c *weight",
       {"1 1 1 1", "2 2.5 2 0", "3 2 1 1", "4 2 1 1"},
       "y|||p",
       3,
       all,
       0},
  };
  for (const auto& row : rows) {
    for (const Method method : row.methods) {
      SCOPED_TRACE(std::string(row.name) + ", method " + std::to_string(static_cast<int>(method)));
      CaseReading reading(TableFile(row.header, row.cases), row.roles, row.trainingCases);
      ScriptedHost& host = reading.session.host;
      EXPECT_EQ(reading.Read(method), row.message == 0);
      EXPECT_EQ(host.TakeMessages(), row.message == 0 ? Cases{} : Cases{row.message});
      EXPECT_EQ(host.openPasses, 0);
      if (row.message == 0) continue;
      EXPECT_LE(host.LiveBlocks(), 1u);  // the split's flags
      EXPECT_EQ(reading.data().trainingCount(), 0);
      EXPECT_FALSE(reading.data().roles().IsEmpty());
    }
  }
}

TEST(Reading, StopsSilentlyWhereverTheUserCancels) {
  for (const Method method : kMethods) {
    for (int read = 1; read <= 2 * 8; ++read) {
      CaseReading reading(CasesWithMissing(), "y | | x | g", 5);
      reading.session.file.stopAtRead = read;
      EXPECT_FALSE(reading.Read(method)) << read;
      EXPECT_TRUE(reading.session.host.messages.empty());
      EXPECT_EQ(reading.session.host.openPasses, 0);
      reading.sink.Release();
      EXPECT_EQ(reading.session.host.LiveBlocks(), 1u);  // the split's flags
      EXPECT_TRUE(reading.Read(method)) << read;
    }
  }
}

TEST(Reading, EveryRefusedAllocationGivesMessage104AndTheNextRunSucceeds) {
  for (const Method method : kMethods) {
    int refused = 0;
    for (bool succeeded = false; !succeeded; ++refused) {
      ASSERT_LT(refused, 200);
      TableFile file = CasesWithMissing();
      file.weighted = true;
      CaseReading reading(file, "y | | x | g", 5);
      ScriptedHost& host = reading.session.host;
      reading.data().missingDataRule = MissingDataRule::meanSubstitution;
      host.refuseAllocation = host.allocations + 1 + refused;
      succeeded = reading.Read(method);
      EXPECT_EQ(host.TakeMessages(), succeeded ? Cases{} : Cases{104}) << refused;
      EXPECT_EQ(host.openPasses, 0);
      host.refuseAllocation = 0;
      reading.sink.Release();
      if (!succeeded) {
        EXPECT_LE(host.LiveBlocks(), 1u) << refused;
      }
      host.refuseAllocation = 0;
      EXPECT_TRUE(reading.Read(method)) << refused;
    }
    EXPECT_GT(refused, 10);
  }
}

// --- Settings around the passes ------------------------------------------------------------------

TEST(DataSet, RefusesAnEmptyFileAndAChoiceWithoutPredictors) {
  AnalysisSession session(TableFile("x y", {"1 2"}));
  EXPECT_TRUE(session.data().CheckDataFile());
  EXPECT_TRUE(session.data().SetRoles(CaseReading::Roles(session.file, "y||x|")));
  EXPECT_FALSE(session.data().SetRoles(CaseReading::Roles(session.file, "x|||")));
  EXPECT_EQ(session.data().roles().predictors, Cases{1});
  session.file = TableFile("");
  EXPECT_FALSE(session.data().CheckDataFile());
  session.file = TableFile("x");
  EXPECT_FALSE(session.data().CheckDataFile());
  EXPECT_EQ(session.host.TakeMessages(), (Cases{117, 105, 103}));
}

TEST(DataSet, ListsContinuousVariablesBeforeCategoricalOnes) {
  CaseReading reading(TableFile("a b c d e f", {"1 2 3 4 5 6"}), "f|b|e d|c a", 0);
  const VariableRoles& roles = reading.data().roles();
  EXPECT_EQ(roles.predictors, (Cases{5, 4, 3, 1}));
  EXPECT_EQ(roles.dependents, (Cases{6, 2}));
  EXPECT_EQ(roles.all, (Cases{5, 4, 3, 1, 6, 2}));
  EXPECT_TRUE(roles.IsCategorical(2) && roles.IsCategorical(3) && !roles.IsCategorical(5));
}

TEST(CaseNames, SetTheWidthOfTheLongestUsedOne) {
  std::vector<std::string> rows(12, "1 2 .");
  const auto width = [&rows](int training) {
    CaseReading reading(TableFile("y x *name", rows), "y||x|", training);
    EXPECT_TRUE(reading.Read(Method::knn));
    return reading.data().caseNameWidth();
  };
  EXPECT_EQ(width(11), 3u);  // "12"
  rows[4] = "1 2 Zoë";
  EXPECT_EQ(width(11), 5u);  // bytes
  rows[0] = ". 2 unused-case";
  EXPECT_EQ(width(11), 5u);
}

TEST(Scaling, MapsTheRangeOfTheUsedCases) {
  CaseReading reading(
      TableFile("y c  x flat g", {"10 1  2 7 1", "14 2  6 7 2", "30 1  4 7 1", "20 2  10 7 2"}),
      "y | | x flat | g", 3);
  AnalysisDataSet& data = reading.data();
  data.scaleInputs = data.scaleOutputs = true;
  data.inputRange = {1, 3};
  constexpr auto predictor = VariableKind::predictor, dependent = VariableKind::dependent;
  ASSERT_TRUE(reading.Read(Method::svm));
  // x runs from 2 to 10 over both samples, y from 10 to 30.
  EXPECT_DOUBLE_EQ(data.ScaleValue(predictor, 0, 2), 1);
  EXPECT_DOUBLE_EQ(data.ScaleValue(predictor, 0, 4), 1.5);
  EXPECT_DOUBLE_EQ(data.ScaleValue(predictor, 0, 10), 3);
  EXPECT_DOUBLE_EQ(data.UnscaleValue(predictor, 0, 2), 6);
  EXPECT_DOUBLE_EQ(data.ScaleValue(dependent, 0, 15), -0.5);
  EXPECT_DOUBLE_EQ(data.UnscaleValue(dependent, 0, 1), 30);
  EXPECT_EQ(data.ScaleValue(predictor, 1, 7), 7);  // no range: kept
  EXPECT_EQ(data.ScaleValue(predictor, 2, 2), 2);  // categorical
  data.slopeWithoutRange = 0;
  data.ComputeScaling();
  EXPECT_EQ(data.ScaleValue(predictor, 1, 7), 0);
  data.scaleInputs = false;
  EXPECT_EQ(data.ScaleValue(predictor, 0, 4), 4);
  EXPECT_EQ(data.UnscaleValue(predictor, 0, 4), 4);

  data.scaleInputs = true;
  data.sampling.apply = false;
  reading.session.file.cases.pop_back();
  EXPECT_TRUE(data.CheckDataFile());
  ASSERT_TRUE(reading.Read(Method::svm));
  EXPECT_DOUBLE_EQ(data.ScaleValue(predictor, 0, 6), 3);  // of the training cases alone
}

TEST(VariableName, IsTrimmedAndFreeOfControlCharacters) {
  TableFile file("x");
  file.variables[0].name = "  largeur\t\x01 max\n ";
  EXPECT_EQ(VariableName(file, 1), "largeur max");
}

}  // namespace
}  // namespace qrvml::test
