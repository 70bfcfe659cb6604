// A trained nearest-neighbour analysis and its generated texts, for tests of what reads them.
#pragma once

#include <cmath>
#include <functional>

#include "deploy/sample_text.h"
#include "knn/knn_analysis.h"

namespace qrvml::test {

/// Every distance with and without weights and scaling: options 0 to 15.
inline PlainSettings SettingsOf(int option, int k) {
  return {.metric = option % 4,
          .weighted = (option & 4) != 0,
          .standardized = (option & 8) != 0,
          .k = k};
}

/// The table with every value as a text prints it.
inline PlainTable PrintedTable(const Shape& shape, std::int32_t seed,
                               const std::function<double(double)>& printed) {
  PlainTable table = RandomTable(shape, 30, 20, seed);
  for (Row& row : table.rows)
    for (double& value : row) value = printed(value);
  return table;
}

/// Equal but for the last bits of an exponential.
inline bool IsClose(double expected, double actual) {
  return std::fabs(expected - actual) <= 1e-13 * std::fabs(expected) + 1e-300;
}

}  // namespace qrvml::test
