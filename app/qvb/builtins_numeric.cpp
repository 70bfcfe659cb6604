#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "host/numerics.h"
#include "qvb/builtins.h"
#include "qvb/conversion.h"
#include "qvb/script_error.h"
#include "qvb/script_object.h"

namespace qrvml {
namespace {

using Arguments = std::span<const Value>;

// Plain functions: std's are overloaded and cannot be named in a table.
double Root(double x) { return std::sqrt(x); }
double Exponential(double x) { return PortableExp(x); }
double Logarithm(double x) { return std::log(x); }
double Sine(double x) { return std::sin(x); }
double Cosine(double x) { return std::cos(x); }
double Tangent(double x) { return std::tan(x); }
double ArcTangent(double x) { return std::atan(x); }
double HyperbolicTangent(double x) { return std::tanh(x); }

template <double (*function)(double)>
Value OfReal(Arguments arguments, BuiltInContext&) {
  return Value::Real(function(ToReal(arguments[0])));
}

bool IsWhole(const Value& value) {
  return value.tag == Tag::integer || value.tag == Tag::boolean || value.tag == Tag::empty;
}

Value Absolute(Arguments arguments, BuiltInContext&) {
  if (!IsWhole(arguments[0])) return Value::Real(std::abs(ToReal(arguments[0])));
  const std::int32_t number = ToInteger(arguments[0]);
  return number < 0 ? Negative(Value::Integer(number)) : Value::Integer(number);
}

Value Floor(Arguments arguments, BuiltInContext&) {
  if (IsWhole(arguments[0])) return Value::Integer(ToInteger(arguments[0]));
  return Value::Real(std::floor(ToReal(arguments[0])));
}

Value Truncate(Arguments arguments, BuiltInContext&) {
  if (IsWhole(arguments[0])) return Value::Integer(ToInteger(arguments[0]));
  return Value::Real(std::trunc(ToReal(arguments[0])));
}

Value Sign(Arguments arguments, BuiltInContext&) {
  const double number = ToReal(arguments[0]);
  return Value::Integer(number > 0 ? 1 : number < 0 ? -1 : 0);
}

/// Half to even, as conversions round.
Value Round(Arguments arguments, BuiltInContext&) {
  const int decimals = arguments.size() > 1 ? ToInteger(arguments[1]) : 0;
  if (decimals < 0 || decimals > 22) {
    throw ScriptFault(FaultNumber::invalidCall, "Round keeps 0 to 22 decimals");
  }
  const double number = ToReal(arguments[0]);
  const double power = std::pow(10.0, decimals);
  const double scaled = number * power;
  if (!std::isfinite(scaled) || std::abs(scaled) >= 0x1p53) return Value::Real(number);
  return Value::Real(std::nearbyint(scaled) / power);
}

/// Rnd() and Rnd(x > 0): the next number; Rnd(0): the last one again; Rnd(x < 0): begins a stream.
Value Random(Arguments arguments, BuiltInContext& context) {
  const double wish = arguments.empty() ? 1 : ToReal(arguments[0]);
  if (wish < 0) {
    context.random = SplitMix64(static_cast<std::uint64_t>(static_cast<std::int64_t>(
        std::max(wish, static_cast<double>(std::numeric_limits<std::int64_t>::min())))));
  }
  if (wish != 0) context.lastRandom = static_cast<double>(context.random.Next() >> 11) * 0x1p-53;
  return Value::Real(context.lastRandom);
}

Value Randomize(Arguments arguments, BuiltInContext& context) {
  const std::int32_t seed = arguments.empty() ? 0 : ToInteger(arguments[0]);
  context.random = SplitMix64(static_cast<std::uint64_t>(static_cast<std::int64_t>(seed)));
  return {};
}

template <Type type>
Value As(Arguments arguments, BuiltInContext&) {
  return Converted(arguments[0], type);
}

const ArrayData& ArrayOf(const Value& value) {
  if (value.tag != Tag::array) throw ScriptFault(FaultNumber::typeMismatch, "no array");
  return *value.array();
}

const Bounds& BoundsOf(Arguments arguments) {
  const ArrayData& array = ArrayOf(arguments[0]);
  const std::int32_t dimension = arguments.size() > 1 ? ToInteger(arguments[1]) : 1;
  if (dimension < 1 || dimension > array.rank) {
    throw ScriptFault(FaultNumber::subscript,
                      "the array has " + std::to_string(array.rank) + " dimensions");
  }
  return array.bounds[dimension - 1];
}

Value LowerBound(Arguments arguments, BuiltInContext&) {
  return Value::Integer(BoundsOf(arguments).lower);
}
Value UpperBound(Arguments arguments, BuiltInContext&) {
  return Value::Integer(BoundsOf(arguments).upper());
}

Value MakeArray(Arguments arguments, BuiltInContext&) {
  auto array = MakeRef<ArrayData>(Type::variant, false);
  array->Dimension({{0, static_cast<std::uint32_t>(arguments.size())}}, false);
  for (std::size_t i = 0; i < arguments.size(); ++i) array->Put(i, arguments[i]);
  return Value::Array(array.get());
}

Value IsNumeric(Arguments arguments, BuiltInContext&) {
  const Value& value = arguments[0];
  double number = 0;
  return Value::Boolean(value.tag <= Tag::boolean ||
                        (value.tag == Tag::text && ReadNumber(value.text(), number)));
}

template <Tag tag>
Value HasTag(Arguments arguments, BuiltInContext&) {
  return Value::Boolean(arguments[0].tag == tag);
}

Value KindName(Arguments arguments, BuiltInContext&) {
  const Value& value = arguments[0];
  switch (value.tag) {
    case Tag::object:
      return Value::Text(value.block ? std::string(value.object()->ClassName()) : "Nothing");
    case Tag::array:
      return Value::Text(std::string(TypeName(value.array()->element)) + "()");
    case Tag::integer:
      return Value::Text("Integer");
    case Tag::real:
      return Value::Text("Double");
    case Tag::boolean:
      return Value::Text("Boolean");
    case Tag::text:
      return Value::Text("String");
    default:
      return Value::Text("Empty");
  }
}

Value Choose(Arguments arguments, BuiltInContext&) {
  return ToBoolean(arguments[0]) ? arguments[1] : arguments[2];
}

constexpr int kMany = 60;
constexpr std::array kNumeric = {
    BuiltIn{"abs", 1, 1, Type::variant, Absolute, nullptr},
    BuiltIn{"array", 0, kMany, Type::variant, MakeArray, nullptr},
    BuiltIn{"atn", 1, 1, Type::real, OfReal<ArcTangent>, ArcTangent},
    BuiltIn{"cbool", 1, 1, Type::boolean, As<Type::boolean>, nullptr},
    BuiltIn{"cdbl", 1, 1, Type::real, As<Type::real>, nullptr},
    BuiltIn{"cint", 1, 1, Type::integer, As<Type::integer>, nullptr},
    BuiltIn{"clng", 1, 1, Type::integer, As<Type::integer>, nullptr},
    BuiltIn{"cos", 1, 1, Type::real, OfReal<Cosine>, Cosine},
    BuiltIn{"csng", 1, 1, Type::real, As<Type::real>, nullptr},
    BuiltIn{"cstr", 1, 1, Type::text, As<Type::text>, nullptr},
    BuiltIn{"exp", 1, 1, Type::real, OfReal<Exponential>, Exponential},
    BuiltIn{"fix", 1, 1, Type::variant, Truncate, nullptr},
    BuiltIn{"iif", 3, 3, Type::variant, Choose, nullptr},
    BuiltIn{"int", 1, 1, Type::variant, Floor, nullptr},
    BuiltIn{"isarray", 1, 1, Type::boolean, HasTag<Tag::array>, nullptr},
    BuiltIn{"isempty", 1, 1, Type::boolean, HasTag<Tag::empty>, nullptr},
    BuiltIn{"isnumeric", 1, 1, Type::boolean, IsNumeric, nullptr},
    BuiltIn{"isobject", 1, 1, Type::boolean, HasTag<Tag::object>, nullptr},
    BuiltIn{"lbound", 1, 2, Type::integer, LowerBound, nullptr},
    BuiltIn{"log", 1, 1, Type::real, OfReal<Logarithm>, Logarithm},
    BuiltIn{"randomize", 0, 1, Type::variant, Randomize, nullptr},
    BuiltIn{"rnd", 0, 1, Type::real, Random, nullptr},
    BuiltIn{"round", 1, 2, Type::real, Round, nullptr},
    BuiltIn{"sgn", 1, 1, Type::integer, Sign, nullptr},
    BuiltIn{"sin", 1, 1, Type::real, OfReal<Sine>, Sine},
    BuiltIn{"sqr", 1, 1, Type::real, OfReal<Root>, Root},
    BuiltIn{"tan", 1, 1, Type::real, OfReal<Tangent>, Tangent},
    BuiltIn{"tanh", 1, 1, Type::real, OfReal<HyperbolicTangent>, HyperbolicTangent},
    BuiltIn{"typename", 1, 1, Type::text, KindName, nullptr},
    BuiltIn{"ubound", 1, 2, Type::integer, UpperBound, nullptr},
};

}  // namespace

std::span<const BuiltIn> NumericBuiltIns() { return kNumeric; }

int FindBuiltIn(std::string_view name) {
  int base = 0;
  for (const auto table : {NumericBuiltIns(), TextBuiltIns()}) {
    for (std::size_t row = 0; row < table.size(); ++row) {
      if (table[row].name == name) return base + static_cast<int>(row);
    }
    base += static_cast<int>(table.size());
  }
  return -1;
}

const BuiltIn& BuiltInAt(int number) {
  const auto place = static_cast<std::size_t>(number);
  return place < kNumeric.size() ? kNumeric[place] : TextBuiltIns()[place - kNumeric.size()];
}

}  // namespace qrvml
