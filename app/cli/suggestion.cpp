#include "cli/suggestion.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace qrvml {
namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t substituted = diagonal + (Lower(a[i]) == Lower(b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({substituted, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

std::string Nearest(std::string_view name, std::span<const std::string> candidates) {
  std::string nearest;
  std::size_t least = std::string_view::npos;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = EditDistance(name, candidate);
    if (distance <= std::max<std::size_t>(2, candidate.size() / 3) && distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

std::string DidYouMean(std::string_view name, std::span<const std::string> candidates) {
  const std::string nearest = Nearest(name, candidates);
  return nearest.empty() ? std::string() : "; did you mean " + nearest + '?';
}

}  // namespace qrvml
