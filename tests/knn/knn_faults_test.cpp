// A host that refuses memory, a user who cancels and a file that stops, at every place where they
// can: the right message or none, nothing lost, and the next run as if nothing had happened. The
// host itself fails a test in which a block was not given back.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

struct Analysis {
  const char* name;
  PlainTable table;
  PlainSettings settings;
  bool search;
};

const std::vector<Analysis>& Analyses() {
  static const std::vector<Analysis> analyses = {
      {"classification with a search of K",
       RandomTable(kShapes[3], 12, 4, 1),
       {.folds = 3, .maximumK = 3},
       true},
      {"weighted regression",
       RandomTable(kShapes[1], 12, 4, 2),
       {.weighted = true, .standardized = true, .k = 3},
       false},
  };
  return analyses;
}

/// How a run can fail: the script that makes it fail at the n-th place from now, and back.
struct Fault {
  const char* name;
  void (*arm)(KnnAnalysis& knn, int n);
  void (*disarm)(KnnAnalysis& knn);
  std::vector<Message> messages;
};

const Fault kRefusedMemory = {
    "memory refused",
    [](KnnAnalysis& knn, int n) { knn.host.refuseAllocation = knn.host.allocations + n; },
    [](KnnAnalysis& knn) { knn.host.refuseAllocation = 0; },
    {Of(104)}};
const Fault kCancel = {"cancelled",
                       [](KnnAnalysis& knn, int n) { knn.host.cancelAtPoll = knn.host.polls + n; },
                       [](KnnAnalysis& knn) { knn.host.cancelAtPoll = 0; },
                       {}};
const Fault kStop = {"stopped",
                     [](KnnAnalysis& knn, int n) { knn.file.stopAtRead = knn.file.reads + n; },
                     [](KnnAnalysis& knn) { knn.file.stopAtRead = 0; },
                     {}};

struct Expected {
  PlainStatistics statistics;
  PlainSearch search;
};

Expected ExpectedOf(const Analysis& analysis) {
  PlainKnn plain(analysis.table, analysis.settings);
  ScriptedHost random;
  Expected expected;
  if (analysis.search) expected.search = plain.SelectK([&] { return random.rnd_(kSearchSeed); });
  expected.statistics = plain.Statistics();
  return expected;
}

void ExpectResults(KnnAnalysis& knn, const Expected& expected) {
  EXPECT_TRUE(knn.HasStatistics(expected.statistics));
  if (expected.search.errors.empty()) return;
  EXPECT_TRUE(Same(expected.search.errors, knn.engine().crossValidationErrors));
  EXPECT_EQ(knn.engine().k, expected.search.k);
}

/// Runs OK with the fault at place 1, 2, … until it no longer meets one. Returns the places met.
int FailEverywhere(const Analysis& analysis, const Fault& fault, bool isAutomation) {
  const Expected expected = ExpectedOf(analysis);
  for (int n = 1;; ++n) {
    SCOPED_TRACE(std::string(analysis.name) + ", " + fault.name + " at " + std::to_string(n));
    KnnAnalysis knn(analysis.table, analysis.settings);
    knn.Put("ApplyCrossV", analysis.search);
    knn.host.isAutomation = isAutomation;
    fault.arm(knn, n);
    if (knn.OK().Succeeded()) {
      EXPECT_EQ(knn.host.messages, std::vector<Message>{});
      ExpectResults(knn, expected);
      return n - 1;
    }
    fault.disarm(knn);
    EXPECT_EQ(knn.host.messages, fault.messages);
    EXPECT_TRUE(knn.IsOpen());
    EXPECT_EQ(knn.host.openPasses, 0);
    EXPECT_EQ(knn.host.openIterDisplays, 0);
    if (analysis.search) {
      EXPECT_EQ(knn.engine().k, 1) << "the search leaves no trace";
    }
    knn.host.messages.clear();
    knn.Train();
    ExpectResults(knn, expected);
    if (::testing::Test::HasFailure()) return n;
  }
}

TEST(KnnFaults, MemoryRefusedAnywhereGivesTheMessageAndTheNextRunSucceeds) {
  for (const Analysis& analysis : Analyses()) {
    const int places = FailEverywhere(analysis, kRefusedMemory, true);
    EXPECT_GT(places, 40) << analysis.name;
  }
}

TEST(KnnFaults, ACancelAnywhereIsSilentAndTheNextRunSucceeds) {
  for (const Analysis& analysis : Analyses()) {
    for (const bool isAutomation : {true, false}) {
      const int places = FailEverywhere(analysis, kCancel, isAutomation);
      EXPECT_GE(places, analysis.search ? 5 : 1) << "shuffle, every fold and the statistics poll";
    }
  }
}

TEST(KnnFaults, AFileThatStopsAnywhereIsSilentAndTheNextRunSucceeds) {
  for (const Analysis& analysis : Analyses())
    EXPECT_EQ(FailEverywhere(analysis, kStop, true), 2 * 16) << "two passes over all cases";
}

TEST(KnnFaults, AFaultInTheResultsLeavesThemUsable) {
  for (const Analysis& analysis : Analyses()) {
    PlainSettings changed = analysis.settings;
    changed.metric = 2;
    changed.k = 9;
    const Expected expected = {PlainKnn(analysis.table, changed).Statistics(), {}};
    for (const Fault& fault : {kRefusedMemory, kCancel}) {
      for (int n = 1;; ++n) {
        SCOPED_TRACE(std::string(analysis.name) + ", " + fault.name + " at " + std::to_string(n));
        KnnAnalysis knn(analysis.table, analysis.settings);
        knn.Train();
        knn.Put("Options.CityBlock", 1);
        knn.Put("Options.KNearestNeighbors", 9);
        fault.arm(knn, n);
        const bool failed = !knn.Press("DescriptiveStat").Succeeded();
        fault.disarm(knn);
        EXPECT_EQ(knn.host.messages, failed ? fault.messages : std::vector<Message>{});
        EXPECT_EQ(knn.host.spreadsheets.empty(), failed);
        EXPECT_TRUE(knn.Press("PrintPredictions").Succeeded()) << "whatever was lost is made anew";
        EXPECT_TRUE(knn.Press("DescriptiveStat").Succeeded());
        ExpectResults(knn, expected);
        if (::testing::Test::HasFailure()) return;
        if (!failed) {
          EXPECT_GT(n, 1);
          break;
        }
      }
    }
  }
}

}  // namespace
}  // namespace qrvml::test
