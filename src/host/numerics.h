// The host's function and utility library: comparisons of doubles, rounding, text conversions,
// axis scaling, densities. Everything here is exact or portable: the same bits on every machine.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace qrvml {

// Comparisons of data values. They are exact; a not-a-number compares false.
inline bool IsEqual(double a, double b) { return a == b; }
inline bool IsLess(double a, double b) { return a < b; }
inline bool IsGreater(double a, double b) { return a > b; }
inline bool IsLessOrEqual(double a, double b) { return a <= b; }
inline bool IsGreaterOrEqual(double a, double b) { return a >= b; }

/// Halves go away from zero: x >= 0: floor(x + 0.5); x < 0: ceil(x - 0.5); 0 stays 0.
inline double RoundHalfAwayFromZero(double x) {
  if (IsGreaterOrEqual(x, 0.0)) return IsEqual(x, 0.0) ? 0.0 : std::floor(x + 0.5);
  return std::ceil(x - 0.5);
}

/// The integer code of a categorical value: truncated toward zero; saturates, not-a-number gives 0.
std::int64_t TruncateToCode(double value);

/// Reads a whole text as a decimal number (optional sign, digits, point, exponent; surrounding
/// blanks allowed). False, and `number` untouched, for anything else: also for "inf", "nan" and
/// for a number that fits no double.
bool TextToDouble(std::string_view text, double& number);
/// TextToDouble, and the number must be integral and fit 32 bits.
bool TextToInt(std::string_view text, std::int32_t& number);

/// The integer nearest to `value` in decimal digits, right-aligned to at least `width` characters.
std::string IntToText(double value, int width);
/// The value in at most `width` significant positions: fixed notation with at most `decimals`
/// decimals where that keeps every digit shown, else exponent notation; trailing zeros dropped;
/// at most `buffer` characters.
std::string RealToText(double value, int width, int decimals, int buffer);
/// printf's "%.*f" without a locale.
std::string FixedText(double value, int decimals);
/// The shortest text that reads back as the same double.
std::string ShortestText(double value);

/// The text as it stands in an XML document, also in quotes: the five predefined entities, line
/// ends and tabs as character references; characters that XML does not have are left out.
std::string XMLEncode(std::string_view text);

/// e^x in the same bits on every machine (error below 1 ulp); no library function is used.
double PortableExp(double x);

}  // namespace qrvml
