#include "host/numerics.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace qrvml {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

/// Whether the decimal number `text`, which is not 0, is below 1 by its digits and exponent.
bool IsBelowOne(std::string_view text) {
  const std::size_t mark = std::min(text.find_first_of("eE"), text.size());
  const std::string_view digits = text.substr(0, mark);
  const std::size_t first = std::min(digits.find_first_of("123456789"), digits.size());
  const std::size_t point = std::min(digits.find('.'), digits.size());
  long long exponent = 0;
  if (mark < text.size()) {
    std::string_view shown = text.substr(mark + 1);
    if (shown.front() == '+') shown.remove_prefix(1);
    const char* end = shown.data() + shown.size();
    // More digits than an exponent can have: its sign decides.
    if (std::from_chars(shown.data(), end, exponent).ec != std::errc()) return shown.front() == '-';
  }
  return exponent + static_cast<long long>(point) - static_cast<long long>(first) <= 0;
}

std::string GeneralText(double value, int digits) {
  char buffer[64];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits).ptr;
  return {buffer, end};
}

}  // namespace

std::int64_t TruncateToCode(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (std::isnan(value)) return 0;
  if (value >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (value < -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

bool TextToDouble(std::string_view text, double& number) {
  text = TrimBlanks(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) return false;
  }
  // from_chars also reads "inf" and "nan", which are no numbers here.
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return false;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || text.empty()) return false;
  if (error == std::errc::result_out_of_range) {
    // Too small reads as the nearest double, 0; too large fits no double.
    if (!IsBelowOne(text)) return false;
    value = text.front() == '-' ? -0.0 : 0.0;
  } else if (error != std::errc()) {
    return false;
  }
  number = value;
  return true;
}

bool TextToInt(std::string_view text, std::int32_t& number) {
  double value = 0;
  if (!TextToDouble(text, value)) return false;
  if (value != std::floor(value) || value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max())
    return false;
  number = static_cast<std::int32_t>(value);
  return true;
}

std::string IntToText(double value, int width) {
  std::string text = FixedText(RoundHalfAwayFromZero(value), 0);
  if (text == "-0") text = "0";
  if (text.size() < static_cast<std::size_t>(width))
    text.insert(0, static_cast<std::size_t>(width) - text.size(), ' ');
  return text;
}

std::string RealToText(double value, int width, int decimals, int buffer) {
  // The longest significant form that fits the buffer; `decimals` only bounds what is shown after
  // the point, so a tiny value keeps its digits in exponent notation.
  for (int digits = width; digits > 1; --digits) {
    std::string text = GeneralText(value, digits);
    const std::size_t point = text.find('.');
    const bool exponent = text.find('e') != std::string::npos;
    if (!exponent && point != std::string::npos &&
        text.size() - point - 1 > static_cast<std::size_t>(decimals))
      continue;
    if (text.size() <= static_cast<std::size_t>(buffer)) return text;
  }
  return GeneralText(value, 1);
}

std::string FixedText(double value, int decimals) {
  char buffer[512];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals).ptr;
  return {buffer, end};
}

std::string ShortestText(double value) {
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    std::string text = FixedText(value, 0);
    return text == "-0" ? "0" : text;
  }
  char buffer[64];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

std::string XMLEncode(std::string_view text) {
  // U+FFFE and U+FFFF in UTF-8, which are no characters of XML.
  constexpr std::string_view kNoCharacters[] = {"\xEF\xBF\xBE", "\xEF\xBF\xBF"};
  std::string encoded;
  encoded.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    switch (c) {
      case '&':
        encoded += "&amp;";
        break;
      case '<':
        encoded += "&lt;";
        break;
      case '>':
        encoded += "&gt;";
        break;
      case '"':
        encoded += "&quot;";
        break;
      case '\'':
        encoded += "&apos;";
        break;
      case '\t':
        encoded += "&#9;";
        break;
      case '\n':
        encoded += "&#10;";
        break;
      case '\r':
        encoded += "&#13;";
        break;
      default:
        if (std::ranges::find(kNoCharacters, text.substr(at, 3)) != std::end(kNoCharacters)) {
          at += 2;
        } else if (static_cast<unsigned char>(c) >= 0x20) {
          encoded += c;
        }
    }
  }
  return encoded;
}

double PortableExp(double x) {
  if (std::isnan(x)) return x;
  if (x > 709.782712893384) return std::numeric_limits<double>::infinity();
  if (x < -745.1332191019412) return 0.0;
  // e^x = 2^k e^r with |r| <= ln(2)/2; k ln(2) is taken in two parts, the first with trailing zero
  // bits so that k times it is exact (Cody and Waite, 1980).
  const double k = std::floor(x * 1.4426950408889634 + 0.5);
  const double r = (x - k * 0.693147180369123816490) - k * 1.90821492927058770002e-10;
  // Taylor's series; its remainder after r^14 is below 2^-60.
  double series = 1.0 / 87178291200.0;
  for (const double factorial : {6227020800.0, 479001600.0, 39916800.0, 3628800.0, 362880.0,
                                 40320.0, 5040.0, 720.0, 120.0, 24.0, 6.0, 2.0})
    series = series * r + 1.0 / factorial;
  return std::ldexp(1.0 + (r + r * r * series), static_cast<int>(k));
}

}  // namespace qrvml
