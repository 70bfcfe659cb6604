// Conversions between values, operators on values of any kind, and what texts look like.
//
// Rules: numbers are rounded to integers half to even; what does not fit 32 bits is an Overflow.
// True is -1. Doubles follow IEEE 754 (no Overflow); only division by zero is an error. Texts
// convert to numbers when they are one as a whole. Texts compare in the byte order of UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "qvb/value.h"

namespace qrvml {

enum class Operator : std::uint8_t {
  add,
  subtract,
  multiply,
  divide,
  integerDivide,
  modulo,
  power,
  join,  // &
  equal,
  notEqual,
  less,
  lessOrEqual,
  greater,
  greaterOrEqual,
  both,    // And
  either,  // Or
  differ,  // Xor
  is,
  like,
};

inline bool IsComparison(Operator op) {
  return op >= Operator::equal && op <= Operator::greaterOrEqual;
}

// Of a value that a variable holds; a reference stands for its target. All throw typeMismatch for
// what does not convert.
double ToReal(const Value& value);
std::int32_t ToInteger(const Value& value);  // also throws overflow
bool ToBoolean(const Value& value);
std::string ToText(const Value& value);

/// Throws overflow.
std::int32_t RoundToInteger(double number);

/// A value of the type; variant leaves it as it is.
Value Converted(const Value& value, Type type);

/// Any operator on any two values. Integers whose result does not fit become a Double here; where
/// both sides are declared Integer, IntegerResult is used instead.
Value Apply(Operator op, const Value& left, const Value& right);
/// add, subtract or multiply; throws overflow.
std::int32_t IntegerResult(Operator op, std::int32_t left, std::int32_t right);
double Divide(double left, double right);
/// `op` is a comparison.
bool Compare(Operator op, const Value& left, const Value& right);
Value Negative(const Value& value);
Value Inverse(const Value& value);  // Not

template <typename T>
bool CompareNumbers(Operator op, T left, T right) {
  switch (op) {
    case Operator::equal:
      return left == right;
    case Operator::notEqual:
      return left != right;
    case Operator::less:
      return left < right;
    case Operator::lessOrEqual:
      return left <= right;
    case Operator::greater:
      return left > right;
    default:
      return left >= right;
  }
}

/// Up to 15 significant digits, "1E+20" for large and small ones.
std::string NumberText(double number);
/// The whole text as a number: decimal, or &H and &O.
bool ReadNumber(std::string_view text, double& number);
/// `*` any characters, `?` one, `#` a digit, `[a-z]`, `[!a-z]`.
bool IsLike(std::string_view text, std::string_view pattern);

}  // namespace qrvml
