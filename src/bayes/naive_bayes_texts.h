// Names and texts of naive Bayes that more than one of its dialogs shows.
#pragma once

#include <string_view>

#include "bayes/densities.h"

namespace qrvml::bayes {

/// Of each distribution, by its number.
inline constexpr std::string_view kDistributionNames[kDistributions] = {
    "Normale", "Lognormale", "Gamma", "Poisson", "Discrète"};
inline constexpr std::string_view NameOf(Distribution distribution) {
  return kDistributionNames[static_cast<int>(distribution)];
}

inline constexpr std::string_view kThresholdRange = "Threshold must lay between 0 and 1.";

}  // namespace qrvml::bayes
