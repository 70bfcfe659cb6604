#include "deploy/number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace qrvml {
namespace {

constexpr int kDigits = 6;  // significant digits of "%g", decimals of "%f"

constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

/// The integer nearest to `scaled`, a product of one rounding below 1e12. False where that rounding
/// could decide: the exact conversion must then be asked.
bool NearestInteger(double scaled, std::uint64_t& nearest) {
  nearest = static_cast<std::uint64_t>(scaled);
  const double fraction = scaled - static_cast<double>(nearest);
  if (std::fabs(fraction - 0.5) < 1e-3) return false;
  if (fraction > 0.5) ++nearest;
  return true;
}

/// "00" to "99".
constexpr auto kPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

/// The six digits of a number below 1000000.
void WriteSixDigits(char* out, std::uint32_t value) {
  std::memcpy(out, &kPairs[value / 10000 * 2], 2);
  std::memcpy(out + 2, &kPairs[value / 100 % 100 * 2], 2);
  std::memcpy(out + 4, &kPairs[value % 100 * 2], 2);
}

char* WriteExactly(char* out, double value, std::chars_format format) {
  return std::to_chars(out, out + kLongestNumber, value, format, kDigits).ptr;
}

/// Decimals that give a number of [1e-4, 1e6) six significant digits, without a branch. The doubles
/// next to the negative powers of ten lie above them, so that comparing with them is exact.
int DecimalsOf(double magnitude) {
  int decimals = 9;
  for (const double power : {1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5})
    decimals -= static_cast<int>(magnitude >= power);
  return decimals;
}

/// Zeros at the end of two digits: 2 for "00".
constexpr auto kZerosOfPair = [] {
  std::array<int, 100> zeros{};
  for (std::size_t i = 0; i < 100; ++i) zeros[i] = i == 0 ? 2 : i % 10 == 0 ? 1 : 0;
  return zeros;
}();

/// Zeros at the end of six digits that begin with none, without a branch.
int TrailingZeros(std::uint32_t value) {
  const std::uint32_t first = value / 10000, second = value / 100 % 100, third = value % 100;
  return kZerosOfPair[third] +
         static_cast<int>(third == 0) *
             (kZerosOfPair[second] + static_cast<int>(second == 0) * kZerosOfPair[first]);
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
  *out = '-';
  out += static_cast<int>(std::signbit(value));
  // Whole groups are copied, since their size is known, and what is too much is written over.
  char digits[2 * kDigits] = {};
  WriteSixDigits(digits, static_cast<std::uint32_t>(nearest));
  const int shown = kDigits - TrailingZeros(static_cast<std::uint32_t>(nearest));
  const int whole = kDigits - decimals;  // digits before the point; not positive: zeros after it
  if (whole <= 0) {
    constexpr std::array<char, 5> kZeros = {'0', '.', '0', '0', '0'};
    std::memcpy(out, kZeros.data(), kZeros.size());
    out += 2 - whole;
    std::memcpy(out, digits, kDigits);
    return out + shown;
  }
  std::memcpy(out, digits, kDigits);
  if (shown <= whole) return out + whole;
  out[whole] = '.';
  std::memcpy(out + whole + 1, digits + whole, kDigits);
  return out + shown + 1;
}

char* WriteFixed(char* out, double value) {
  const double magnitude = std::fabs(value);
  std::uint64_t nearest = 0;
  if (!(magnitude < 1e6) || !NearestInteger(magnitude * kPowers[kDigits], nearest))
    return WriteExactly(out, value, std::chars_format::fixed);
  if (std::signbit(value)) *out++ = '-';
  const auto whole = static_cast<std::uint32_t>(nearest / 1000000);
  if (whole < 10) {
    *out++ = static_cast<char>('0' + whole);
  } else {
    out = std::to_chars(out, out + kLongestNumber, whole).ptr;
  }
  *out++ = '.';
  WriteSixDigits(out, static_cast<std::uint32_t>(nearest % 1000000));
  return out + kDigits;
}

std::string GeneralText(double value) {
  char text[kLongestNumber];
  return {text, WriteGeneral(text, value)};
}

}  // namespace qrvml
