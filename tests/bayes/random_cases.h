// Cases of naive Bayes made at random, over the shapes that a model can have.
#pragma once

#include <vector>

#include "bayes/plain_bayes.h"
#include "support/scripted_host.h"

namespace qrvml::test {

struct BayesShape {
  const char* name;
  int continuous, categorical, dependents;
  std::vector<int> distributions;
};
inline const std::vector<BayesShape>& BayesShapes() {
  static const std::vector<BayesShape> shapes = {
      {"one normal input", 1, 0, 1, {}},
      {"many normal inputs", 19, 0, 1, {}},
      {"only categorical inputs", 0, 3, 2, {}},
      {"every distribution", 9, 2, 2, {0, 1, 2, 3, 0, 0, 3, 1, 2}},
  };
  return shapes;
}

/// Positive values; every third input holds small counts.
inline PlainCases RandomCases(const BayesShape& shape, int count, int training, bool weighted,
                              bool gaps, std::int32_t seed) {
  ScriptedHost random;
  const auto below = [&](int n) { return int(random.rnd_(seed) * n); };
  PlainCases cases{shape.continuous, shape.categorical, shape.dependents, {}, {}, training, {}};
  for (int i = 0; i < count; ++i) {
    auto& row = cases.rows.emplace_back();
    const int kind = i < 4 ? i : below(4);
    for (int k = 0; k < shape.continuous; ++k) {
      const bool isCount = !shape.distributions.empty() && shape.distributions[k] == 3;
      row.push_back(isCount ? below(5 + 3 * kind) : 1 + kind * 0.3 + below(1000) * 0.004);
    }
    for (int m = 0; m < shape.categorical; ++m) row.push_back(i < 3 ? i + 1 : 1 + below(3));
    for (int d = 0; d < shape.dependents; ++d) row.push_back(d == 0 ? kind + 1 : 1 + i % 2);
    if (gaps && i >= 4 && below(3) == 0) row[below(int(row.size()))] = kGap;
    if (weighted) cases.weights.push_back(i < 4 ? 1 + i % 2 : below(4));
  }
  // Text order is another than the order of the codes, and two codes share a text.
  cases.labels.resize(shape.categorical + shape.dependents);
  cases.labels[0] = {{1, "oui"}, {2, "non"}};
  cases.labels[shape.categorical] = {{1, "Homme"}, {2, "Femme"}, {4, "Homme"}};
  return cases;
}

}  // namespace qrvml::test
