// Data that every machine and language draws alike: splitmix64 and exact double arithmetic.
// (Steele, Lea, Flood, Fast splittable pseudorandom number generators, OOPSLA 2014.)
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

class SplitMix {
 public:
  explicit SplitMix(std::uint64_t seed) : state_(seed) {}
  std::uint64_t Draw() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
  }
  /// In [0, 1).
  double Unit() { return double(Draw() >> 11) * 0x1p-53; }
  /// The sum of four units, centred: bell-shaped in [-2, 2), variance 1/3.
  double Bell() {
    const double a = Unit();
    const double b = Unit();
    const double c = Unit();
    const double d = Unit();
    return ((a + b) + (c + d)) - 2.0;
  }

 private:
  std::uint64_t state_;
};

/// Cases of two overlapping classes (y = +1, -1) or of a noisy smooth function: take(y, inputs) for
/// each.
template <class Take>
void DrawSolverRows(std::uint64_t seed, int cases, int inputs, bool regression, Take take) {
  SplitMix random(seed);
  const auto normal = [&random] { return random.Bell() * 1.7320508075688772; };
  std::vector<double> x(static_cast<std::size_t>(inputs));
  for (int t = 0; t < cases; ++t) {
    for (double& value : x) value = normal();
    const double e = normal();
    const double flip = random.Unit();
    const double a = x[0] * x[1];
    const double b = x[2] * x[2];
    const double c = 0.5 * x[3];
    if (regression) {
      take(((a + 0.5 * b) - c) + 0.1 * e, x);
    } else {
      const double f = ((a + (b - 1.0)) + c) + 0.3 * e;
      const double y = f >= 0 ? 1 : -1;
      take(flip < 0.05 ? -y : y, x);
    }
  }
}

/// Rows of `inputs` values: prototypes, then queries, from one stream.
struct NeighbourData {
  int inputs = 0;
  std::vector<double> prototypes;
  std::vector<double> queries;
};

/// Uniform in the unit cube, or around 50 centres in it.
inline NeighbourData DrawNeighbourData(std::uint64_t seed, int prototypes, int queries, int inputs,
                                       bool clustered) {
  constexpr int kCentres = 50;
  SplitMix random(seed);
  std::vector<double> centres;
  for (int i = 0; clustered && i < kCentres * inputs; ++i) centres.push_back(random.Unit());
  const auto rows = [&](int count) {
    std::vector<double> values(std::size_t(count) * inputs);
    for (std::size_t at = 0; at < values.size(); at += inputs) {
      const std::size_t centre = clustered ? random.Draw() % kCentres * inputs : 0;
      for (int i = 0; i < inputs; ++i) {
        values[at + i] = clustered ? centres[centre + i] + 0.05 * random.Bell() : random.Unit();
      }
    }
    return values;
  };
  NeighbourData data;
  data.inputs = inputs;
  data.prototypes = rows(prototypes);
  data.queries = rows(queries);
  return data;
}

}  // namespace bench
