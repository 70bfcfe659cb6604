// The search against the defining scan, written here as plainly as it can be. Distances are
// compared with ==: every bit counts.
#include "knn/neighbour_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "data/processor_level.h"
#include "support/scripted_host.h"

namespace qrvml {
namespace {

constexpr Metric kMetrics[] = {Metric::euclidean, Metric::squaredEuclidean, Metric::cityBlock,
                               Metric::chebychev};

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t Draw() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
  }
  double Unit() { return double(Draw() >> 11) * 0x1p-53; }
  int Below(int n) { return int(Draw() % std::uint64_t(n)); }

 private:
  std::uint64_t state_;
};

/// Prototypes, queries and how they are searched.
struct Problem {
  int continuous = 0;
  int categorical = 0;
  std::vector<double> prototypes;
  std::vector<double> queries;
  std::vector<double> scale;
  std::vector<double> shift;
  std::vector<std::int32_t> group;  // empty: no exclusion
  std::int32_t excluded = -1;
  int slots = 1;

  int inputs() const { return continuous + categorical; }
  int count() const { return int(prototypes.size()) / inputs(); }
  int queryCount() const { return int(queries.size()) / inputs(); }
  PrototypeRows rows() const {
    return {prototypes.data(), count(), continuous, categorical, scale.data(), shift.data()};
  }
  Exclusion exclusion() const { return {group.empty() ? nullptr : group.data(), excluded}; }
};

using Answer = std::vector<std::vector<Neighbour>>;  // per query

double DefiningDistance(const Problem& problem, const double* query, const double* prototype,
                        Metric metric) {
  double acc = 0.0;
  for (int i = 0; i < problem.inputs(); ++i) {
    const double a = problem.shift[i] + problem.scale[i] * query[i];
    const double b = problem.shift[i] + problem.scale[i] * prototype[i];
    double t = a - b;
    if (i >= problem.continuous) t = a == b ? 0.0 : 1.0;
    if (metric == Metric::euclidean || metric == Metric::squaredEuclidean) {
      acc += t * t;
    } else if (metric == Metric::cityBlock) {
      acc += std::fabs(t);
    } else if (std::fabs(t) >= acc) {
      acc = std::fabs(t);
    }
  }
  return metric == Metric::euclidean ? std::sqrt(acc) : acc;
}

Answer DefiningScan(const Problem& problem, Metric metric) {
  Answer answer;
  for (int q = 0; q < problem.queryCount(); ++q) {
    std::vector<Neighbour> all;
    for (int p = 0; p < problem.count(); ++p) {
      if (!problem.group.empty() && problem.group[p] == problem.excluded) continue;
      const double distance = DefiningDistance(problem, &problem.queries[q * problem.inputs()],
                                               &problem.prototypes[p * problem.inputs()], metric);
      if (distance < std::numeric_limits<double>::max()) all.push_back({distance, p});
    }
    std::stable_sort(all.begin(), all.end(), [](const Neighbour& a, const Neighbour& b) {
      return a.distance < b.distance;
    });
    all.resize(std::min(all.size(), std::size_t(problem.slots)));
    answer.push_back(all);
  }
  return answer;
}

Answer Find(const NeighbourSearch& search, const Problem& problem, int threads) {
  const int count = problem.queryCount();
  std::vector<Neighbour> neighbours(std::size_t(count) * problem.slots, Neighbour{-7.0, -7});
  std::vector<std::int32_t> found(count, -7);
  EXPECT_TRUE(search.Find(problem.queries.data(), count, problem.slots, problem.exclusion(),
                          threads, neighbours, found, {}));
  Answer answer;
  for (int q = 0; q < count; ++q) {
    const auto* first = &neighbours[std::size_t(q) * problem.slots];
    EXPECT_LE(found[q], problem.slots);
    answer.emplace_back(first, first + found[q]);
    for (int s = found[q]; s < problem.slots; ++s) {
      EXPECT_EQ(first[s].prototype, -7) << "slot " << s << " was written";
    }
  }
  return answer;
}

/// The first difference in words, or nothing.
std::string Difference(const Answer& expected, const Answer& actual) {
  for (std::size_t q = 0; q < expected.size(); ++q) {
    const std::string where = "query " + std::to_string(q);
    if (expected[q].size() != actual[q].size()) {
      return where + ": " + std::to_string(actual[q].size()) + " neighbours for " +
             std::to_string(expected[q].size());
    }
    for (std::size_t s = 0; s < expected[q].size(); ++s) {
      const Neighbour& e = expected[q][s];
      const Neighbour& a = actual[q][s];
      if (e.prototype != a.prototype ||
          std::memcmp(&e.distance, &a.distance, sizeof(double)) != 0) {
        return where + ", slot " + std::to_string(s) + ": prototype " +
               std::to_string(a.prototype) + " for " + std::to_string(e.prototype);
      }
    }
  }
  return "";
}

/// All metrics, processor levels and numbers of threads.
void ExpectTheDefiningAnswer(const Problem& problem, const std::string& name) {
  for (const Metric metric : kMetrics) {
    const Answer expected = DefiningScan(problem, metric);
    for (int level = 2; level <= ProcessorLevel(); ++level) {
      NeighbourSearch search;
      search.LimitLevel(level);
      ASSERT_TRUE(search.Build(problem.rows(), metric));
      for (const int threads : {1, 2}) {
        EXPECT_EQ(Difference(expected, Find(search, problem, threads)), "")
            << name << ", metric " << int(metric) << ", level " << level << ", threads " << threads;
      }
    }
  }
}

Problem Shape(int continuous, int categorical, int slots) {
  Problem problem;
  problem.continuous = continuous;
  problem.categorical = categorical;
  problem.slots = slots;
  problem.scale.assign(continuous + categorical, 1.0);
  problem.shift.assign(continuous + categorical, 0.0);
  return problem;
}

/// Fills prototypes and queries; `value` gives one continuous input, codes are 1 to 3.
template <class Value>
void FillRows(Problem& problem, Random& random, int prototypes, int queries, Value value) {
  const auto rows = [&](std::vector<double>& target, int count) {
    for (int r = 0; r < count; ++r) {
      for (int i = 0; i < problem.continuous; ++i) target.push_back(value());
      for (int i = 0; i < problem.categorical; ++i) target.push_back(1.0 + random.Below(3));
    }
  };
  rows(problem.prototypes, prototypes);
  rows(problem.queries, queries);
}

TEST(NeighbourSearch, AgreesWithTheDefiningScanOnAllShapes) {
  struct Row {
    int prototypes, continuous, categorical, slots;
  };
  const Row table[] = {
      {1, 1, 0, 1},     {1, 0, 1, 3},     {2, 1, 0, 5},     {47, 2, 0, 47},   {48, 3, 1, 5},
      {49, 1, 0, 1},    {100, 0, 4, 10},  {100, 7, 2, 100}, {767, 2, 0, 3},   {769, 5, 0, 1000},
      {900, 33, 0, 20}, {900, 10, 5, 60}, {2000, 8, 0, 5},  {1500, 21, 3, 9}, {5000, 1, 0, 7},
      {5000, 2, 0, 10}, {5000, 8, 1, 4},  {3000, 3, 0, 1},
  };
  Random random(7);
  for (const Row& row : table) {
    for (const bool scaled : {false, true}) {
      for (const bool exclusion : {false, true}) {
        Problem problem = Shape(row.continuous, row.categorical, row.slots);
        FillRows(problem, random, row.prototypes, 29, [&] { return random.Unit(); });
        for (int i = 0; scaled && i < row.continuous; ++i) {
          problem.scale[i] = 0.1 + 3.0 * random.Unit();
          problem.shift[i] = random.Unit() - 5.0;
        }
        for (int p = 0; exclusion && p < row.prototypes; ++p) {
          problem.group.push_back(random.Below(3));
        }
        problem.excluded = 1;
        ExpectTheDefiningAnswer(problem, std::to_string(row.prototypes) + " x " +
                                             std::to_string(row.continuous) + "+" +
                                             std::to_string(row.categorical));
      }
    }
  }
}

TEST(NeighbourSearch, EqualDistancesKeepTheStoredOrder) {
  Random random(11);
  for (const int values : {1, 2, 5}) {
    Problem problem = Shape(3, 1, 40);
    FillRows(problem, random, 2500, 20, [&] { return double(random.Below(values)); });
    ExpectTheDefiningAnswer(problem, std::to_string(values) + " values");
  }
}

TEST(NeighbourSearch, SumsWithTheSameRootTie) {
  // Two neighbouring doubles as sums of squares whose square roots are equal: only the stored order
  // may decide under the Euclidean metric, only the sum under the squared one.
  const double below = 1.0 + 0x1p-52;  // as a difference: its square rounds to 1 + 2^-51
  Problem problem = Shape(2, 0, 2);
  const double tiny = 0x1p-26;  // its square moves the sum by one unit
  problem.prototypes = {below, tiny, below, 0.0};
  problem.queries = {0.0, 0.0};
  const Answer rooted = DefiningScan(problem, Metric::euclidean);
  const Answer squared = DefiningScan(problem, Metric::squaredEuclidean);
  ASSERT_EQ(rooted[0][0].distance, rooted[0][1].distance);
  ASSERT_LT(squared[0][0].distance, squared[0][1].distance);
  EXPECT_EQ(rooted[0][0].prototype, 0);
  EXPECT_EQ(squared[0][0].prototype, 1);
  ExpectTheDefiningAnswer(problem, "two prototypes");

  for (int p = 0; p < 3000; ++p) {
    problem.prototypes.push_back(below);
    problem.prototypes.push_back(p % 3 == 0 ? tiny : 0.0);
  }
  problem.slots = 25;
  ExpectTheDefiningAnswer(problem, "many prototypes");
}

TEST(NeighbourSearch, KeepsTheOrderThatFloatsCannotSee) {
  // Data whose differences lie below the precision of float in one way or another.
  Random random(13);
  struct Row {
    const char* name;
    double offset, spread;
    int values;  // 0: continuous
  };
  const Row table[] = {
      {"far from the origin", 1e9, 1e-3, 0},
      {"near ties", 1.0, 0x1p-50, 16},
      {"smallest normal numbers", 0.0, 1e-307, 0},
      {"denormal numbers", 0.0, 5e-323, 10},
      {"squares that vanish", 0.0, 1e-162, 0},
      {"squares that are denormal", 0.0, 1e-160, 0},
      {"large numbers", 0.0, 1e150, 0},
      {"squares that overflow", 0.0, 1e155, 0},
      {"differences that overflow", -1.7e308, 1.7e308, 0},
  };
  for (const Row& row : table) {
    for (const int categorical : {0, 2}) {
      Problem problem = Shape(row.values == 0 ? 9 : 4, categorical, 12);
      FillRows(problem, random, 1700, 15, [&] {
        const double u = row.values == 0 ? random.Unit() : double(random.Below(row.values));
        return row.offset + row.spread * u + row.spread * u;
      });
      ExpectTheDefiningAnswer(problem, row.name);
    }
  }
}

TEST(NeighbourSearch, ClustersAndOutliersDoNotChangeTheAnswer) {
  Random random(17);
  Problem problem = Shape(6, 0, 9);
  FillRows(problem, random, 0, 0, [] { return 0.0; });
  const double scales[] = {1e-6, 1.0, 1e5, 1e12, 1e30};
  for (int r = 0; r < 4000; ++r) {
    const double scale = r % 500 == 499 ? scales[random.Below(5)] : 1.0;
    const int cluster = random.Below(8);
    for (int i = 0; i < 6; ++i) {
      const double x = scale * (100.0 * cluster * (i % 2) + 1e-4 * random.Unit());
      (r < 3960 ? problem.prototypes : problem.queries).push_back(x);
    }
  }
  ExpectTheDefiningAnswer(problem, "clusters");
}

TEST(NeighbourSearch, ValuesThatAreNotFiniteFollowTheDefinition) {
  const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                        std::numeric_limits<double>::infinity(),
                        -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::max(),
                        -std::numeric_limits<double>::max(),
                        -0.0,
                        1e40,
                        std::numeric_limits<double>::denorm_min()};
  Random random(19);
  for (const int rarity : {3, 400}) {
    Problem problem = Shape(3, 2, 8);
    FillRows(problem, random, 1200, 40,
             [&] { return random.Below(rarity) == 0 ? odd[random.Below(8)] : random.Unit(); });
    for (std::size_t i = 3; i < problem.prototypes.size(); i += 5 * 11) {
      problem.prototypes[i] = odd[random.Below(8)];  // codes
    }
    for (std::size_t i = 4; i < problem.queries.size(); i += 5 * 3) {
      problem.queries[i] = i % 2 == 0 ? odd[random.Below(8)] : 1.0 + 1e-12;
    }
    ExpectTheDefiningAnswer(problem, "rarity " + std::to_string(rarity));
  }
}

TEST(NeighbourSearch, AnExclusionMayLeaveFewOrNone) {
  Random random(23);
  Problem problem = Shape(3, 0, 30);
  FillRows(problem, random, 400, 10, [&] { return random.Unit(); });
  for (int p = 0; p < 400; ++p) problem.group.push_back(p < 388 ? 4 : 9);
  problem.excluded = 4;
  ExpectTheDefiningAnswer(problem, "twelve left");
  problem.group.assign(400, 4);
  ExpectTheDefiningAnswer(problem, "none left");
}

TEST(NeighbourSearch, QueriesFarFromAllPrototypesAreAnswered) {
  Random random(29);
  for (const int inputs : {5, 20}) {
    Problem problem = Shape(inputs, 0, 6);
    FillRows(problem, random, 2000, 24, [&] { return random.Unit(); });
    for (int q = 0; q < 24; ++q) {
      const double factor = q < 12 ? 1.0 + 0.1 * q : std::pow(10.0, 3 * (q - 12));
      for (int i = 0; i < inputs; ++i) problem.queries[q * inputs + i] *= factor;
    }
    ExpectTheDefiningAnswer(problem, "far queries");
  }
}

TEST(NeighbourSearch, ManyPrototypesAtNearlyTheSameDistanceKeepTheirOrder) {
  // Around each query a shell whose distances differ in the last bits only, far below what a packed
  // prototype can show, in few and in many inputs, with the origin near and far.
  Random random(43);
  for (const int inputs : {4, 9, 30}) {
    for (const int categorical : {0, 3}) {
      for (const double offset : {0.0, 1e6}) {
        Problem problem = Shape(inputs, categorical, 25);
        FillRows(problem, random, 2500, 10, [&] { return offset + random.Unit(); });
        const int width = problem.inputs();
        for (int p = 0; p < 600; ++p) {
          const int q = p % 10;
          const double radius = 0.2 * (1.0 + 1e-15 * random.Below(20)) + (p % 7 == 0 ? 1e-9 : 0.0);
          double* row = &problem.prototypes[std::size_t(random.Below(2500)) * width];
          for (int i = 0; i < width; ++i) row[i] = problem.queries[q * width + i];
          row[random.Below(inputs)] += (random.Below(2) == 0 ? -1.0 : 1.0) * radius;
        }
        ExpectTheDefiningAnswer(problem, std::to_string(inputs) + " inputs");
      }
    }
  }
}

TEST(NeighbourSearch, AnyRefusedAllocationThrowsAndLeavesTheSearchUsable) {
  Random random(41);
  Problem problem = Shape(4, 1, 6);
  FillRows(problem, random, 900, 40, [&] { return random.Unit(); });
  const Answer expected = DefiningScan(problem, Metric::euclidean);
  test::AnalysisSession session(
      test::TableFile("x", {"1"}));  // fails the test if a block is not given back
  NeighbourSearch search;
  std::vector<Neighbour> neighbours(40 * 6);
  std::vector<std::int32_t> found(40);
  const std::function<bool()> calls[] = {
      [&] { return search.Build(problem.rows(), Metric::euclidean); },
      [&] { return search.Find(problem.queries.data(), 40, 6, {}, 2, neighbours, found, {}); }};
  for (const auto& call : calls) {
    int refusals = 0;
    for (bool done = false; !done; ++refusals) {
      session.host.refuseAllocation = session.host.allocations + refusals + 1;
      try {
        done = call();
      } catch (const MemoryRefused&) {
      }
    }
    EXPECT_GT(refusals, 8);
    session.host.refuseAllocation = 0;
  }
  EXPECT_EQ(Difference(expected, Find(search, problem, 2)), "");
}

TEST(NeighbourSearch, APollThatReturnsTrueStops) {
  Random random(31);
  Problem problem = Shape(20, 0, 5);
  FillRows(problem, random, 20000, 600, [&] { return random.Unit(); });
  NeighbourSearch search;
  ASSERT_TRUE(search.Build(problem.rows(), Metric::euclidean));
  Problem few = problem;
  few.queries.resize(20 * 20);
  const Answer expected = DefiningScan(few, Metric::euclidean);
  std::vector<Neighbour> neighbours(600 * 5);
  std::vector<std::int32_t> found(600);
  for (const int threads : {1, 2}) {
    int polls = 0;
    EXPECT_FALSE(search.Find(problem.queries.data(), 600, 5, {}, threads, neighbours, found,
                             [&] { return ++polls == 2; }));
    EXPECT_EQ(polls, 2);
    EXPECT_EQ(Difference(expected, Find(search, few, threads)), "");
  }
  int polls = 0;
  EXPECT_FALSE(search.Build(problem.rows(), Metric::euclidean, [&] { return ++polls == 1; }));
  EXPECT_EQ(polls, 1);
}

TEST(NeighbourSearch, APollThatThrowsLeavesTheSearchUsable) {
  Random random(37);
  Problem problem = Shape(20, 0, 5);
  FillRows(problem, random, 20000, 300, [&] { return random.Unit(); });
  NeighbourSearch search;
  ASSERT_TRUE(search.Build(problem.rows(), Metric::cityBlock));
  std::vector<Neighbour> neighbours(300 * 5);
  std::vector<std::int32_t> found(300);
  EXPECT_THROW(search.Find(problem.queries.data(), 300, 5, {}, 2, neighbours, found,
                           []() -> bool { throw std::runtime_error("cancelled"); }),
               std::runtime_error);
  problem.queries.resize(20 * 20);
  EXPECT_EQ(Difference(DefiningScan(problem, Metric::cityBlock), Find(search, problem, 2)), "");
}

}  // namespace
}  // namespace qrvml
