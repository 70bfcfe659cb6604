// Class statistics of many cases: whoever takes them in, the sums are those of exact arithmetic.
#include "data/class_statistics.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qrvml::test {
namespace {

constexpr std::size_t kCases = 300000, kInputs = 18, kClasses[] = {3, 2}, kCategories = 4;
constexpr double kGap = -1;

/// Of a class row, in whole numbers.
struct Exact {
  std::int64_t cases = 0, count[kInputs] = {}, sum[kInputs] = {}, squares[kInputs] = {};
  std::int32_t pairs[kCategories] = {};
};

/// Codes 1 to `codes`, in text order; of the classes the first is the largest, one may be empty.
CategoryTable Table(std::size_t codes, const Exact* exact) {
  CategoryTable table;
  for (std::size_t c = 0; c < codes; ++c) {
    auto* entry = table.Collect(std::int64_t(c) + 1, std::string(1, char('a' + c)));
    if (exact != nullptr) entry->trainingWeight = exact[c].cases;
  }
  table.Seal();
  return table;
}

TEST(ClassStatistics, AreTheExactSumsForAnyThreadsAndLots) {
  std::vector<double> inputs, dependents;
  Exact exact[kClasses[0] + kClasses[1]];
  std::uint32_t state = 1;
  const auto below = [&](std::uint32_t n) {
    state = state * 1664525 + 1013904223;
    return double((state >> 8) % n);
  };
  for (std::size_t i = 0; i < kCases; ++i) {
    const double c = below(8) < 5 ? 1 : 2, other = below(2) + 1;  // no case of class 3
    dependents.insert(dependents.end(), {below(50) == 0 ? kGap : c, other});
    for (std::size_t k = 0; k < kInputs; ++k)
      inputs.push_back(below(400) == 0    ? kGap
                       : k + 1 == kInputs ? 1 + below(kCategories)
                                          : below(1 << 16));
    for (const std::size_t row : {std::size_t(c) - 1, kClasses[0] + std::size_t(other) - 1}) {
      if (row < kClasses[0] && dependents[2 * i] == kGap) continue;
      Exact& own = exact[row];
      ++own.cases;
      for (std::size_t k = 0; k < kInputs; ++k) {
        const auto x = std::int64_t(inputs[i * kInputs + k]);
        if (x == kGap) continue;
        ++own.count[k];
        own.sum[k] += x;
        own.squares[k] += x * x;
        if (k + 1 == kInputs) ++own.pairs[x - 1];
      }
    }
  }
  const CategoryTable one = Table(kClasses[0], exact),
                      other = Table(kClasses[1], exact + kClasses[0]),
                      category = Table(kCategories, nullptr);
  const std::vector<double> missing(kInputs + 2, kGap);
  std::vector<double> first;
  for (const int threads : {1, 2, 3, 7}) {
    for (const std::size_t lot : {kCases, kCases / 3}) {
      SCOPED_TRACE(std::to_string(threads) + " threads, " + std::to_string(lot) + " cases a call");
      WorkerTeam team(threads);
      ClassStatistics learned;
      learned.Start({&one, &other}, {&category}, kInputs, missing);
      for (std::size_t at = 0; at < kCases; at += lot)
        learned.AddCases({lot, inputs.data() + at * kInputs, dependents.data() + at * 2, nullptr},
                         team);
      learned.Finish();
      std::vector<double> found;
      for (const std::size_t d : {0, 1}) {
        for (std::size_t c = 0; c < kClasses[d]; ++c) {
          const Exact& own = exact[d * kClasses[0] + c];
          for (std::size_t k = 0; k < kInputs; ++k) {
            const auto n = (long double)(own.count[k]), sum = (long double)(own.sum[k]);
            const double mean = n == 0 ? 0 : double(sum / n), ours = learned.condMean(d, c, k);
            const double variance =
                n == 0 ? 0 : double((own.squares[k] - sum * sum / n) / (own.cases - 1));
            EXPECT_EQ(learned.condWeight(d, c, k), own.count[k]);
            EXPECT_NEAR(ours, mean, 1e-11 * mean);
            EXPECT_NEAR(learned.condStd(d, c, k), variance, 1e-10 * variance);
            found.insert(found.end(), {ours, learned.condStd(d, c, k)});
          }
          for (std::size_t v = 0; v < kCategories; ++v)
            EXPECT_EQ(learned.pairCount(d, c, 0, v), own.pairs[v]);
        }
      }
      if (first.empty()) first = found;
      EXPECT_EQ(found, first) << "to the last bit";
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace qrvml::test
