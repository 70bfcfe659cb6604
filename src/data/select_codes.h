// The choice of codes of categorical variables through the host's codes dialog.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace qrvml {

/// How many variables one codes dialog takes.
inline constexpr std::size_t kCodesPerDialog = 8;

struct CodesLimits {
  std::size_t fewest = 1;  // codes per variable
  std::size_t most = 500;
  double lowest = -999999999;
  double highest = 999999999;
};

/// Asks for the codes of each variable, in consecutive groups of eight. codes[i] are the codes of
/// variables[i], before and after; a list longer than the limit is cut to it first.
/// False: a group was cancelled; the groups before it keep what was chosen.
bool SelectCodes(std::string_view title, std::span<const int> variables, const CodesLimits& limits,
                 std::span<std::vector<double>> codes);

}  // namespace qrvml
