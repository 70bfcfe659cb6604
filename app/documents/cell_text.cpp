#include "documents/cell_text.h"

#include <charconv>
#include <cmath>

namespace qrvml {
namespace {

constexpr double kLargestInFull = 9007199254740992.0;  // 2^53

}  // namespace

std::string CaseName(int caseNumber, const CaseNamer& caseName) {
  if (caseName) {
    const std::string label = caseName(caseNumber);
    const std::string_view name = Trimmed(label);
    if (!name.empty()) return std::string(name);
  }
  return std::to_string(caseNumber);
}

std::string JoinedHeading(std::string_view first, std::string_view second) {
  std::string heading(first);
  if (!first.empty() && !second.empty()) heading += ' ';
  return heading += second;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

void AppendNumber(std::string& out, double value) {
  if (std::isnan(value)) return;
  char buffer[32];
  const bool inFull = value == std::floor(value) && std::abs(value) <= kLargestInFull;
  const auto end =
      inFull ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr
             : std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  out.append(buffer, end);
}

}  // namespace qrvml
