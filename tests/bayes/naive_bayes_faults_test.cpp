// A host that refuses memory, a user who cancels and a file that stops, at every place where they
// can: the right message or none, nothing lost, and the next run as if nothing had happened. The
// host itself fails a test in which a block was not given back.
#include "bayes/naive_bayes_analysis.h"

namespace qrvml::test {
namespace {

/// How a run can fail: the script that makes it fail at the n-th place from now, and back.
struct Fault {
  const char* name;
  void (*arm)(NaiveBayesAnalysis& bayes, int n);
  void (*disarm)(NaiveBayesAnalysis& bayes);
  std::vector<Message> messages;
};
const Fault kFaults[] = {
    {"memory refused",
     [](NaiveBayesAnalysis& b, int n) { b.host.refuseAllocation = b.host.allocations + n; },
     [](NaiveBayesAnalysis& b) { b.host.refuseAllocation = 0; },
     {MessageOf(104)}},
    {"cancelled",
     [](NaiveBayesAnalysis& b, int n) { b.host.cancelAtPoll = b.host.polls + n; },
     [](NaiveBayesAnalysis& b) { b.host.cancelAtPoll = 0; },
     {}},
    {"stopped",
     [](NaiveBayesAnalysis& b, int n) { b.file.stopAtRead = b.file.reads + n; },
     [](NaiveBayesAnalysis& b) { b.file.stopAtRead = 0; },
     {}},
};

PlainCases MixedCases() {
  PlainCases cases{2, 1, 2, {}, {}, 9, {}};
  for (int i = 0; i < 12; ++i)
    cases.rows.push_back({1.0 + i % 5, double(i % 4), 1.0 + i % 2, 1.0 + i % 3, 1.0 + i / 2 % 2});
  return cases;
}
const PlainBayesSettings kSettings{0, {0, 3}};

void ExpectResults(NaiveBayesAnalysis& bayes, const PlainBayes& plain, const PlainCases& cases) {
  bayes.ExpectLearned(plain, cases);
  for (int d = 0; d < cases.dependents; ++d) {
    bayes.ExpectCounted(plain.Confusion(d, 0), bayes.engine().trainingConfusion[d]);
    bayes.ExpectCounted(plain.Confusion(d, 1), bayes.engine().testConfusion[d]);
    bayes.ExpectCounted(plain.Confusion(d, 2), bayes.engine().overallConfusion[d]);
  }
}

TEST(NaiveBayesFaults, AnywhereGiveTheirMessageAndTheNextRunSucceeds) {
  const PlainCases cases = MixedCases();
  const PlainBayes plain(cases, kSettings);
  const int leastPlaces[][3] = {{30, 2, 24}, {30, 1, 36}};
  for (const bool stored : {true, false}) {
    for (std::size_t f = 0; f < std::size(kFaults); ++f) {
      const Fault& fault = kFaults[f];
      for (int n = 1;; ++n) {
        SCOPED_TRACE(std::string(fault.name) + " at " + std::to_string(n) +
                     (stored ? ", stored" : ", streamed"));
        NaiveBayesAnalysis bayes(cases, kSettings, stored);
        bayes.host.workerThreads = 2;
        fault.arm(bayes, n);
        const bool accepted = bayes.Accept();
        fault.disarm(bayes);
        if (accepted) {
          EXPECT_EQ(bayes.host.messages, std::vector<Message>{});
          ExpectResults(bayes, plain, cases);
          EXPECT_GT(n, leastPlaces[stored ? 0 : 1][f]);
          break;
        }
        EXPECT_EQ(bayes.host.messages, fault.messages);
        EXPECT_EQ(bayes.host.exitStep, -1);
        EXPECT_EQ(bayes.host.openPasses, 0);
        EXPECT_TRUE(bayes.engine().trainingConfusion.empty());
        bayes.host.messages.clear();
        bayes.Train();
        ExpectResults(bayes, plain, cases);
        if (HasFailure()) return;
      }
    }
  }
}

TEST(NaiveBayesFaults, InALaterStepLeaveTheModelUsable) {
  const PlainCases cases = MixedCases();
  const PlainBayes plain(cases, kSettings);
  const int leastPlaces[][3] = {{20, 1, 0}, {20, 1, 11}};
  for (const bool stored : {true, false}) {
    for (std::size_t f = 0; f < std::size(kFaults); ++f) {
      const Fault& fault = kFaults[f];
      for (int n = 1;; ++n) {
        SCOPED_TRACE(std::string(fault.name) + " at " + std::to_string(n));
        NaiveBayesAnalysis bayes(cases, kSettings, stored);
        bayes.Train();
        fault.arm(bayes, n);
        const bool done = bayes.engine().SetPriorKind(0, PriorKind::equal) &&
                          bayes.engine().SetPriorKind(0, PriorKind::fromData) &&
                          bayes.engine().ComputeNaiveBayesStatistics();
        fault.disarm(bayes);
        EXPECT_EQ(bayes.host.messages, done ? std::vector<Message>{} : fault.messages);
        EXPECT_TRUE(bayes.engine().SetPriorKind(0, PriorKind::fromData));
        EXPECT_TRUE(bayes.engine().ComputeNaiveBayesStatistics());
        ExpectResults(bayes, plain, cases);
        if (done) {
          EXPECT_GT(n, leastPlaces[stored ? 0 : 1][f]) << "a fault was kept quiet";
          break;
        }
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
}  // namespace qrvml::test
