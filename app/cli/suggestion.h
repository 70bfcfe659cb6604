// The known name that is nearest to a misspelt one.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qrvml {

/// Insertions, deletions and substitutions between two texts (Levenshtein 1966), upper and lower
/// case alike.
std::size_t EditDistance(std::string_view a, std::string_view b);

/// The nearest candidate when it is near enough to be meant (a third of its characters, at least
/// 2), the first of equally near ones; empty otherwise.
std::string Nearest(std::string_view name, std::span<const std::string> candidates);

/// "; did you mean X?" or nothing.
std::string DidYouMean(std::string_view name, std::span<const std::string> candidates);

}  // namespace qrvml
