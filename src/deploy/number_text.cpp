#include "deploy/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace qrvml {
namespace {

constexpr int kDigits = 6;  // significant digits of "%g", decimals of "%f"

constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr std::uint32_t kIntegerPowers[] = {1,      10,      100,      1000,      10000,
                                            100000, 1000000, 10000000, 100000000, 1000000000};

/// The integer nearest to `scaled`, a product of one rounding below 1e12. False where that rounding
/// could decide: the exact conversion must then be asked.
bool NearestInteger(double scaled, std::uint64_t& nearest) {
  nearest = static_cast<std::uint64_t>(scaled);
  const double fraction = scaled - static_cast<double>(nearest);
  if (std::fabs(fraction - 0.5) < 1e-3) return false;
  if (fraction > 0.5) ++nearest;
  return true;
}

char* WriteDigits(char* out, std::uint32_t value, int digits) {
  for (int place = digits - 1; place >= 0; --place) {
    out[place] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  return out + digits;
}

char* WriteExactly(char* out, double value, std::chars_format format) {
  return std::to_chars(out, out + kLongestNumber, value, format, kDigits).ptr;
}

/// Decimals that give a number of [1e-4, 1e6) six significant digits. The doubles next to the
/// negative powers of ten lie above them, so that comparing with them is exact.
int DecimalsOf(double magnitude) {
  if (magnitude >= 1.0) {
    int decimals = kDigits - 1;
    while (magnitude >= kPowers[kDigits - decimals]) --decimals;
    return decimals;
  }
  return magnitude >= 1e-1 ? 6 : magnitude >= 1e-2 ? 7 : magnitude >= 1e-3 ? 8 : 9;
}

}  // namespace

char* WriteGeneral(char* out, double value) {
  const double magnitude = std::fabs(value);
  if (magnitude == 0.0 || !(magnitude >= 1e-4 && magnitude < 1e6))
    return WriteExactly(out, value, std::chars_format::general);
  const int decimals = DecimalsOf(magnitude);
  std::uint64_t nearest = 0;
  if (!NearestInteger(magnitude * kPowers[decimals], nearest) || nearest >= 1000000)
    return WriteExactly(out, value, std::chars_format::general);
  if (std::signbit(value)) *out++ = '-';
  const auto digits = static_cast<std::uint32_t>(nearest);
  out = std::to_chars(out, out + kLongestNumber, digits / kIntegerPowers[decimals]).ptr;
  const std::uint32_t fraction = digits % kIntegerPowers[decimals];
  if (fraction == 0) return out;
  *out++ = '.';
  out = WriteDigits(out, fraction, decimals);
  while (out[-1] == '0') --out;
  return out;
}

char* WriteFixed(char* out, double value) {
  const double magnitude = std::fabs(value);
  std::uint64_t nearest = 0;
  if (!(magnitude < 1e6) || !NearestInteger(magnitude * kPowers[kDigits], nearest))
    return WriteExactly(out, value, std::chars_format::fixed);
  if (std::signbit(value)) *out++ = '-';
  out = std::to_chars(out, out + kLongestNumber,
                      static_cast<std::uint32_t>(nearest / kIntegerPowers[kDigits]))
            .ptr;
  *out++ = '.';
  return WriteDigits(out, static_cast<std::uint32_t>(nearest % kIntegerPowers[kDigits]), kDigits);
}

std::string GeneralText(double value) {
  char text[kLongestNumber];
  return {text, WriteGeneral(text, value)};
}

}  // namespace qrvml
