#include "data/value_text.h"

namespace qrvml {
namespace {
constexpr double kLargestLabelled = 2147483648.0;
constexpr std::size_t kLongestText = 20;
}  // namespace

ValueTextResult ValueText(const DataFile& file, int variable, double value) {
  ValueTextResult result;
  const double rounded = RoundHalfAwayFromZero(value);
  if (IsEqual(rounded, value) && !IsGreater(std::fabs(value), kLargestLabelled)) {
    if (file.vvlcod(variable, static_cast<float>(value), result.text) == 0) {
      result.isLabel = true;
    } else if (file.IsSpecialFormatVariable(variable)) {
      result.text = file.WriteSpecialFormatVariable(variable, value, 8);
    } else {
      result.text = IntToText(rounded, 8);
    }
  } else {
    result.text = RealToText(value, 12, 12, 14);
  }
  const std::string cleaned = CleanName(result.text);
  result.text = FirstCharacters(Trim(cleaned), kLongestText);
  return result;
}

std::string CleanName(std::string_view text) {
  std::string cleaned;
  cleaned.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7f) cleaned.push_back(c);
  }
  return cleaned;
}

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string_view FirstCharacters(std::string_view text, std::size_t characters) {
  std::size_t end = 0;
  while (end < text.size() && characters > 0) {
    ++end;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) ++end;
    --characters;
  }
  return text.substr(0, end);
}

std::string VariableName(const DataFile& file, int variable) {
  return CleanName(Trim(file.getvn5(variable)));
}

}  // namespace qrvml
