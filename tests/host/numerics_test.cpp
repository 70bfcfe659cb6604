// Texts to numbers and back, codes, rounding, the exponential.
#include "host/numerics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <random>

namespace qrvml {
namespace {

using Limits = std::numeric_limits<double>;

TEST(TextToDouble, ReadsDecimalNumbersAndNothingElse) {
  const std::string zeros(400, '0');
  const struct {
    std::string text;
    std::optional<double> number;
  } rows[] = {
      {"1", 1},
      {" \t-2.5e1 \t", -25},
      {"+3", 3},
      {".5", 0.5},
      {"5.", 5},
      {"1E+5", 1e5},
      {"0.1", 0.1},
      {"9007199254740993", 9007199254740992.0},  // halfway: to even
      {"1.7976931348623157e308", Limits::max()},
      {"4.9e-324", Limits::denorm_min()},
      {"1e-999", 0},
      {"-1e-99999999999999999999", -0.0},
      {"0." + zeros + "1", 0},
      {"0." + zeros + "1e5", 0},
      {"1" + zeros + "e-400", 1},
      {"0e999", 0},
      // Too large for a double, whatever the sign of the exponent.
      {"1e999", {}},
      {"-1e999", {}},
      {"1e99999999999999999999", {}},
      {"1" + zeros, {}},
      {"1" + zeros + "e-9", {}},
      // No number.
      {"", {}},
      {" \t ", {}},
      {"+-1", {}},
      {"-+1", {}},
      {"++1", {}},
      {"--1", {}},
      {"+", {}},
      {".", {}},
      {"e5", {}},
      {"1e", {}},
      {"1e+", {}},
      {"1.2.3", {}},
      {"1 2", {}},
      {"1,5", {}},
      {"0x10", {}},
      {"1f", {}},
      {"inf", {}},
      {"-Infinity", {}},
      {"nan", {}},
      {"1\n", {}},
      {std::string("1\0", 2), {}},
  };
  for (const auto& row : rows) {
    double number = 77;
    EXPECT_EQ(TextToDouble(row.text, number), row.number.has_value()) << '"' << row.text << '"';
    EXPECT_EQ(number, row.number.value_or(77)) << '"' << row.text << '"';
    EXPECT_EQ(std::signbit(number), std::signbit(row.number.value_or(77))) << row.text;
  }
}

TEST(TextToInt, TakesWholeNumbersOf32Bits) {
  const struct {
    const char* text;
    std::optional<std::int32_t> number;
  } rows[] = {{"42", 42},
              {"2.0", 2},
              {"1e3", 1000},
              {"-2147483648", INT32_MIN},
              {"2147483647", INT32_MAX},
              {"2147483648", {}},
              {"2.5", {}},
              {"x", {}}};
  for (const auto& row : rows) {
    std::int32_t number = 77;
    EXPECT_EQ(TextToInt(row.text, number), row.number.has_value()) << row.text;
    EXPECT_EQ(number, row.number.value_or(77)) << row.text;
  }
}

TEST(NumbersAsText, KeepWhatTheirFormatPromises) {
  EXPECT_EQ(IntToText(3, 8), "       3");
  EXPECT_EQ(IntToText(-0.4, 0), "0");
  EXPECT_EQ(IntToText(2.5, 0), "3");
  EXPECT_EQ(IntToText(-2147483648.0, 8), "-2147483648");

  // Twelve digits, twelve decimals, fourteen characters; worked out by hand.
  const struct {
    double value;
    const char* text;
  } rows[] = {{3.5, "3.5"},
              {0.1, "0.1"},
              {3000000000.0, "3000000000"},
              {1.0 / 3, "0.333333333333"},
              {-1.0 / 3, "-0.33333333333"},
              {0.000123456789012345, "0.000123456789"},
              {2.5e-7, "2.5e-07"},
              {1e15, "1e+15"},
              {1234567890123456.0, "1.23456789e+15"},
              {-1.23456789012345e-100, "-1.234568e-100"}};
  for (const auto& row : rows) {
    const std::string text = RealToText(row.value, 12, 12, 14);
    EXPECT_EQ(text, row.text);
    EXPECT_LE(text.size(), 14u) << text;
  }

  EXPECT_EQ(FixedText(0.125, 2), "0.12");  // an exact tie goes to the even digit, as with printf
  EXPECT_EQ(FixedText(1e22, 1), "10000000000000000000000.0");
  EXPECT_EQ(ShortestText(-0.0), "0");
  EXPECT_EQ(ShortestText(0.1), "0.1");
  for (const double value : {1.0 / 3, 1e15, -2.5e-300, 123456789.125, Limits::max()}) {
    double read = 0;
    EXPECT_TRUE(TextToDouble(ShortestText(value), read));
    EXPECT_EQ(read, value);
  }
}

TEST(RoundHalfAwayFromZero, SendsHalvesAway) {
  const double rows[][2] = {{0.5, 1}, {-0.5, -1}, {2.5, 3}, {-2.5, -3},
                            {2.4, 2}, {-0.2, 0},  {0, 0}};
  for (const auto& [value, rounded] : rows) EXPECT_EQ(RoundHalfAwayFromZero(value), rounded);
}

TEST(TruncateToCode, CutsTowardsZeroAndSaturates) {
  const struct {
    double value;
    std::int64_t code;
  } rows[] = {{2.9, 2},
              {-2.9, -2},
              {1e300, INT64_MAX},
              {-1e300, INT64_MIN},
              {0x1p63, INT64_MAX},
              {-0x1p63, INT64_MIN},
              {Limits::infinity(), INT64_MAX},
              {Limits::quiet_NaN(), 0}};
  for (const auto& row : rows) EXPECT_EQ(TruncateToCode(row.value), row.code) << row.value;
}

/// The error of PortableExp in units of the last place of the true value, as the 64-bit mantissa of
/// long double knows it.
double ExpErrorInUlps(double x) {
  const long double exact = std::exp(static_cast<long double>(x));
  int exponent = 0;
  std::frexp(exact, &exponent);
  const long double ulp = std::ldexp(1.0L, std::max(exponent - 53, -1074));
  return static_cast<double>(std::fabs(static_cast<long double>(PortableExp(x)) - exact) / ulp);
}

TEST(PortableExp, IsWithinOneUlpOfTheExponential) {
  static_assert(std::numeric_limits<long double>::digits >= 64);
  std::mt19937_64 random(1);
  const double spans[][2] = {{-745, 709.78}, {-708, 0}, {-50, 50}, {-1, 1}, {-1e-8, 1e-8}};
  for (const auto& [from, to] : spans) {
    double worst = 0, at = 0;
    for (int i = 0; i < 200000; ++i) {
      const double x = from + (to - from) * (static_cast<double>(random() >> 11) * 0x1p-53);
      if (const double error = ExpErrorInUlps(x); error > worst) {
        worst = error;
        at = x;
      }
    }
    EXPECT_LE(worst, 1.0) << "at " << at;
  }
  // Where the power of two changes.
  for (int k = -1070; k <= 1022; ++k) {
    const double edge = (k + 0.5) * 0.69314718055994531;
    for (const double x : {std::nextafter(edge, -1e9), edge, std::nextafter(edge, 1e9)})
      EXPECT_LE(ExpErrorInUlps(x), 1.0) << x;
  }
}

TEST(XMLEncode, EscapesWhatXmlReadsAndLeavesOutWhatItDoesNotHave) {
  EXPECT_EQ(XMLEncode("l'été <a> & \"b\""), "l&apos;été &lt;a&gt; &amp; &quot;b&quot;");
  EXPECT_EQ(XMLEncode("&amp;"), "&amp;amp;");
  EXPECT_EQ(XMLEncode("a\tb\nc\rd\x01\x1f"), "a&#9;b&#10;c&#13;d");
  EXPECT_EQ(XMLEncode("\uFFFD\uFFFE\uFFFF\uFFFC"), "\uFFFD\uFFFC");
}

TEST(PortableExp, HasTheValuesOfTheTables) {
  const double rows[][2] = {{0, 1},
                            {1, 2.718281828459045235},
                            {-1, 0.367879441171442322},
                            {10, 22026.46579480671652},
                            {-1e-300, 1},
                            {0x1p-60, 1}};
  for (const auto& [x, value] : rows) EXPECT_NEAR(PortableExp(x), value, value * 0x1p-52) << x;
  EXPECT_EQ(PortableExp(Limits::infinity()), Limits::infinity());
  EXPECT_EQ(PortableExp(710), Limits::infinity());
  EXPECT_EQ(PortableExp(-Limits::infinity()), 0);
  EXPECT_EQ(PortableExp(-746), 0);
  EXPECT_GT(PortableExp(709.782712893383973), 1.797e308);
  EXPECT_LT(PortableExp(709.782712893383973), Limits::infinity());
  EXPECT_TRUE(std::isnan(PortableExp(Limits::quiet_NaN())));
}

}  // namespace
}  // namespace qrvml
