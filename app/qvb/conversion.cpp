#include "qvb/conversion.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "host/numerics.h"
#include "qvb/script_error.h"
#include "qvb/script_object.h"

namespace qrvml {
namespace {

[[noreturn]] void Mismatch(const Value& value, std::string_view wanted) {
  constexpr std::string_view kKinds[] = {"Empty",       "an Integer", "a Double",  "a Boolean",
                                         "a reference", "a text",     "an object", "an array"};
  std::string detail(kKinds[static_cast<std::size_t>(value.tag)]);
  if (value.tag == Tag::text) detail = '"' + std::string(value.text().substr(0, 60)) + '"';
  throw ScriptFault(FaultNumber::typeMismatch, detail.append(" is no ").append(wanted));
}

const Value& Resolved(const Value& value) {
  return value.tag == Tag::reference ? *value.target : value;
}

bool IsWhole(const Value& value) {
  return value.tag == Tag::integer || value.tag == Tag::boolean || value.tag == Tag::empty;
}

double NumberOf(const Value& text) {
  double number = 0;
  if (!ReadNumber(text.text(), number)) Mismatch(text, "number");
  return number;
}

Value WholeOrReal(std::int64_t number) {
  if (number >= std::numeric_limits<std::int32_t>::min() &&
      number <= std::numeric_limits<std::int32_t>::max()) {
    return Value::Integer(static_cast<std::int32_t>(number));
  }
  return Value::Real(static_cast<double>(number));
}

Value Numeric(Operator op, const Value& left, const Value& right) {
  if (IsWhole(left) && IsWhole(right)) {
    const std::int64_t a = ToInteger(left);
    const std::int64_t b = ToInteger(right);
    return WholeOrReal(op == Operator::add ? a + b : op == Operator::subtract ? a - b : a * b);
  }
  const double a = ToReal(left);
  const double b = ToReal(right);
  return Value::Real(op == Operator::add ? a + b : op == Operator::subtract ? a - b : a * b);
}

Value WholeDivision(Operator op, std::int32_t left, std::int32_t right) {
  if (right == 0) throw ScriptFault(FaultNumber::divisionByZero);
  const std::int64_t a = left;
  return WholeOrReal(op == Operator::integerDivide ? a / right : a % right);
}

Value Bitwise(Operator op, const Value& left, const Value& right) {
  const bool logical = left.tag == Tag::boolean && right.tag == Tag::boolean;
  const auto combine = [op](auto a, auto b) {
    return op == Operator::both ? a & b : op == Operator::either ? a | b : a ^ b;
  };
  if (logical) return Value::Boolean(combine(int{left.boolean}, int{right.boolean}) != 0);
  return Value::Integer(combine(ToInteger(left), ToInteger(right)));
}

bool IsSame(const Value& left, const Value& right) {
  if (left.tag != Tag::object) Mismatch(left, "object");
  if (right.tag != Tag::object) Mismatch(right, "object");
  return left.block == right.block;
}

}  // namespace

double ToReal(const Value& value) {
  switch (value.tag) {
    case Tag::real:
      return value.real;
    case Tag::integer:
      return value.integer;
    case Tag::boolean:
      return value.boolean ? -1 : 0;
    case Tag::empty:
      return 0;
    case Tag::text:
      return NumberOf(value);
    case Tag::reference:
      return ToReal(*value.target);
    default:
      Mismatch(value, "number");
  }
}

std::int32_t RoundToInteger(double number) {
  const double whole = std::nearbyint(number);
  if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
        whole <= std::numeric_limits<std::int32_t>::max())) {
    throw ScriptFault(FaultNumber::overflow);
  }
  return static_cast<std::int32_t>(whole);
}

std::int32_t ToInteger(const Value& value) {
  switch (value.tag) {
    case Tag::integer:
      return value.integer;
    case Tag::boolean:
      return value.boolean ? -1 : 0;
    case Tag::empty:
      return 0;
    case Tag::reference:
      return ToInteger(*value.target);
    default:
      return RoundToInteger(ToReal(value));
  }
}

bool ToBoolean(const Value& value) {
  switch (value.tag) {
    case Tag::boolean:
      return value.boolean;
    case Tag::integer:
      return value.integer != 0;
    case Tag::reference:
      return ToBoolean(*value.target);
    case Tag::text: {
      const std::string lower = LowerCase(value.text());
      if (lower == "true" || lower == "false") return lower == "true";
      return NumberOf(value) != 0;
    }
    default:
      return ToReal(value) != 0;
  }
}

std::string ToText(const Value& value) {
  switch (value.tag) {
    case Tag::text:
      return std::string(value.text());
    case Tag::integer:
      return std::to_string(value.integer);
    case Tag::real:
      return NumberText(value.real);
    case Tag::boolean:
      return value.boolean ? "True" : "False";
    case Tag::empty:
      return {};
    case Tag::reference:
      return ToText(*value.target);
    default:
      Mismatch(value, "text");
  }
}

Value Converted(const Value& given, Type type) {
  const Value& value = Resolved(given);
  switch (type) {
    case Type::integer:
      return Value::Integer(ToInteger(value));
    case Type::real:
      return Value::Real(ToReal(value));
    case Type::boolean:
      return Value::Boolean(ToBoolean(value));
    case Type::text:
      return value.tag == Tag::text ? value : Value::Text(ToText(value));
    case Type::object:
      if (value.tag != Tag::object) Mismatch(value, "object");
      return value;
    case Type::variant:
      break;
  }
  return value;
}

double Divide(double left, double right) {
  if (right == 0) throw ScriptFault(FaultNumber::divisionByZero);
  return left / right;
}

std::int32_t IntegerResult(Operator op, std::int32_t left, std::int32_t right) {
  const Value result = Numeric(op, Value::Integer(left), Value::Integer(right));
  if (result.tag != Tag::integer) throw ScriptFault(FaultNumber::overflow);
  return result.integer;
}

Value Apply(Operator op, const Value& givenLeft, const Value& givenRight) {
  const Value& left = Resolved(givenLeft);
  const Value& right = Resolved(givenRight);
  switch (op) {
    case Operator::add:
      if (left.tag == Tag::text && right.tag == Tag::text) {
        return Value::Text(ToText(left) + ToText(right));
      }
      return Numeric(op, left, right);
    case Operator::subtract:
    case Operator::multiply:
      return Numeric(op, left, right);
    case Operator::divide:
      return Value::Real(Divide(ToReal(left), ToReal(right)));
    case Operator::integerDivide:
    case Operator::modulo:
      return WholeDivision(op, ToInteger(left), ToInteger(right));
    case Operator::power:
      return Value::Real(std::pow(ToReal(left), ToReal(right)));
    case Operator::join:
      return Value::Text(ToText(left).append(ToText(right)));
    case Operator::both:
    case Operator::either:
    case Operator::differ:
      return Bitwise(op, left, right);
    case Operator::is:
      return Value::Boolean(IsSame(left, right));
    case Operator::like:
      return Value::Boolean(IsLike(ToText(left), ToText(right)));
    default:
      return Value::Boolean(Compare(op, left, right));
  }
}

bool Compare(Operator op, const Value& givenLeft, const Value& givenRight) {
  const Value& left = Resolved(givenLeft);
  const Value& right = Resolved(givenRight);
  const bool leftText = left.tag == Tag::text;
  const bool rightText = right.tag == Tag::text;
  if ((leftText && (rightText || right.tag == Tag::empty)) ||
      (rightText && left.tag == Tag::empty)) {
    const std::string_view a = leftText ? left.text() : std::string_view();
    const std::string_view b = rightText ? right.text() : std::string_view();
    return CompareNumbers(op, a.compare(b), 0);
  }
  if (left.tag == Tag::integer && right.tag == Tag::integer) {
    return CompareNumbers(op, left.integer, right.integer);
  }
  return CompareNumbers(op, ToReal(left), ToReal(right));
}

Value Negative(const Value& given) {
  const Value& value = Resolved(given);
  if (IsWhole(value)) return WholeOrReal(-static_cast<std::int64_t>(ToInteger(value)));
  return Value::Real(-ToReal(value));
}

Value Inverse(const Value& given) {
  const Value& value = Resolved(given);
  if (value.tag == Tag::boolean) return Value::Boolean(!value.boolean);
  return Value::Integer(~ToInteger(value));
}

std::string NumberText(double number) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
  char digits[40];
  const auto end = std::to_chars(digits, digits + sizeof digits, number == 0 ? 0.0 : number,
                                 std::chars_format::general, 15);
  std::string text(digits, end.ptr);
  if (const std::size_t exponent = text.find('e'); exponent != std::string::npos) {
    text[exponent] = 'E';
  }
  return text;
}

bool ReadNumber(std::string_view text, double& number) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  if (text.size() > 2 && text[0] == '&') {
    const char kind = LowerCase(text.substr(1, 1))[0];
    if (kind != 'h' && kind != 'o') return false;
    std::uint32_t bits = 0;
    const char* const last = text.data() + text.size();
    const auto read = std::from_chars(text.data() + 2, last, bits, kind == 'h' ? 16 : 8);
    if (read.ec != std::errc() || read.ptr != last) return false;
    number = static_cast<std::int32_t>(bits);
    return true;
  }
  return TextToDouble(text, number);
}

bool IsLike(std::string_view text, std::string_view pattern) {
  constexpr std::size_t kLongestPattern = 1000;
  if (pattern.size() > kLongestPattern) {
    throw ScriptFault(FaultNumber::invalidCall, "a pattern of more than 1000 characters");
  }
  // One place to return to is enough: a later star takes over all that an earlier one could try.
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t starPattern = std::string_view::npos;
  std::size_t starText = 0;
  const auto matchOne = [&](std::size_t at, std::size_t& next) {
    const char c = text[t];
    if (pattern[at] == '[') {
      const std::size_t close = pattern.find(']', at + 1);
      if (close == std::string_view::npos)
        throw ScriptFault(FaultNumber::invalidCall, "[ without ]");
      std::string_view set = pattern.substr(at + 1, close - at - 1);
      const bool none = !set.empty() && set[0] == '!';
      if (none) set.remove_prefix(1);
      bool in = false;
      for (std::size_t s = 0; s < set.size(); ++s) {
        if (s + 2 < set.size() && set[s + 1] == '-') {
          in = in || (c >= set[s] && c <= set[s + 2]);
          s += 2;
        } else {
          in = in || c == set[s];
        }
      }
      next = close + 1;
      return in != none;
    }
    next = at + 1;
    return pattern[at] == '?' || (pattern[at] == '#' ? c >= '0' && c <= '9' : c == pattern[at]);
  };
  while (t < text.size()) {
    std::size_t next = p;
    if (p < pattern.size() && pattern[p] == '*') {
      starPattern = ++p;
      starText = t;
    } else if (p < pattern.size() && matchOne(p, next)) {
      const bool character = pattern[p] == '?';
      p = next;
      ++t;
      while (character && t < text.size() && (static_cast<unsigned char>(text[t]) & 0xC0) == 0x80)
        ++t;
    } else if (starPattern != std::string_view::npos) {
      p = starPattern;
      t = ++starText;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace qrvml
