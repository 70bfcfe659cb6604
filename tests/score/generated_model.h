// A trained nearest-neighbour analysis and its generated texts, for tests of what reads them.
#pragma once

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "host/numerics.h"
#include "knn/knn_analysis.h"

namespace qrvml::test {

/// The texts that an action makes; one per dependent for PMML.
inline std::vector<std::string> GeneratedTexts(AnalysisSession& session, std::string_view action) {
  EXPECT_TRUE(session.Press(action).Succeeded()) << action;
  std::vector<std::string> texts;
  for (TextDocument& document : session.host.textDocuments)
    texts.push_back(std::move(document.text));
  session.host.textDocuments.clear();
  return texts;
}

/// The table with every value as a text prints it.
inline PlainTable PrintedTable(const Shape& shape, std::int32_t seed,
                               const std::function<double(double)>& printed) {
  PlainTable table = RandomTable(shape, 30, 20, seed);
  for (Row& row : table.rows)
    for (double& value : row) value = printed(value);
  return table;
}

/// What "%.6f" leaves of a number.
inline double SixDecimals(double value) {
  return std::strtod(FixedText(value, 6).c_str(), nullptr);
}

inline Row InputsOf(const PlainTable& table, int test) {
  const Row& row = table.rows[std::size_t(table.prototypes + test)];
  return {row.begin(), row.begin() + table.Inputs()};
}

/// Equal but for the last bits of an exponential.
inline bool IsClose(double expected, double actual) {
  return std::fabs(expected - actual) <= 1e-13 * std::fabs(expected) + 1e-300;
}

/// The text with the first occurrence of a part, which it has, replaced.
inline std::string Replaced(std::string text, std::string_view old, std::string_view by) {
  const std::size_t at = text.find(old);
  EXPECT_NE(at, std::string::npos) << old;
  return at == std::string::npos ? text : text.replace(at, old.size(), by);
}

}  // namespace qrvml::test
