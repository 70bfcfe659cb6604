// Alternating runs: every contender runs once a round, so that a busy machine disturbs all alike;
// what counts is the median of each and the ratio of the medians.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace bench {

inline constexpr int kRounds = 5;

struct Contender {
  std::string name;
  std::function<void()> run;
  double share = 1;  // part of the work that `run` does; its time is divided by it
};

inline double Seconds(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// Runs the contenders in turn and prints all figures, the medians and the ratios of the first
/// contender's median to the others'. Returns the medians. One round before them is not counted.
inline std::vector<double> Compare(const std::string& title,
                                   const std::vector<Contender>& contenders, int rounds = kRounds) {
  std::vector<std::vector<double>> figures(contenders.size());
  for (int round = -1; round < rounds; ++round) {
    for (std::size_t c = 0; c < contenders.size(); ++c) {
      const double seconds = Seconds(contenders[c].run) / contenders[c].share;
      if (round >= 0) figures[c].push_back(seconds);
    }
  }
  std::printf("%s\n", title.c_str());
  std::vector<double> medians;
  for (std::size_t c = 0; c < contenders.size(); ++c) {
    medians.push_back(Median(figures[c]));
    std::printf("  %-28s", contenders[c].name.c_str());
    for (const double seconds : figures[c]) std::printf(" %9.4f", seconds);
    std::printf("  median %9.4f s", medians[c]);
    if (c > 0) std::printf("  ratio %.3f", medians[0] / medians[c]);
    std::printf("\n");
  }
  std::fflush(stdout);
  return medians;
}

}  // namespace bench
