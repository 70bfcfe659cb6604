// Numbers of generated texts against the C library's printf.
#include "deploy/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace qrvml::test {
namespace {

std::string Printed(const char* format, double value) {
  char text[400];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Fixed(double value) {
  char text[kLongestNumber];
  return {text, WriteFixed(text, value)};
}

void IsAsPrinted(double value) {
  for (const double signedValue : {value, -value}) {
    ASSERT_EQ(GeneralText(signedValue), Printed("%g", signedValue)) << Printed("%a", signedValue);
    ASSERT_EQ(Fixed(signedValue), Printed("%f", signedValue)) << Printed("%a", signedValue);
  }
}

TEST(NumberText, IsThatOfPrintfAtItsBorders) {
  for (const double value :
       {0.0,         1.0,           9.0,      10.0,      0.5,       100000.0,    999999.0, 999999.5,
        999999.4999, 1000000.0,     1e15,     1e16,      1e22,      1e23,        1e300,    1e-4,
        1e-5,        1e-300,        5e-324,   123456.5,  1234565.0, 0.1,         0.01,     0.001,
        0.0001,      0.00009999995, 99999.95, 0.0000005, 2.5,       2147483648.0}) {
    IsAsPrinted(value);
    IsAsPrinted(std::nextafter(value, 1e308));
    IsAsPrinted(std::nextafter(value, 0.0));
  }
  IsAsPrinted(std::numeric_limits<double>::max());
  IsAsPrinted(std::numeric_limits<double>::infinity());
}

TEST(NumberText, IsThatOfPrintfForManyNumbers) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> exponent(-8, 18), unit(0, 1);
  std::uniform_int_distribution<int> digits(0, 20000000);
  for (int i = 0; i < 200000; ++i) {
    IsAsPrinted(unit(random) * std::pow(10, exponent(random)));
    // Decimal fractions, among them halves of the last digit that is shown.
    IsAsPrinted(digits(random) * std::pow(10, -(i % 9)));
    IsAsPrinted(digits(random) / 64.0);
  }
}

}  // namespace
}  // namespace qrvml::test
