#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
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

constexpr std::string_view kBlank = " ";

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Positions and lengths count characters, which are code points.
std::size_t Characters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuation(c); }));
}

/// The byte where character `count` (from 0) begins; the size when there are not so many.
std::size_t ByteOf(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (!IsContinuation(text[at])) {
      if (count == 0) break;
      --count;
    }
    ++at;
  }
  return at;
}

std::string TextArgument(Arguments arguments, std::size_t place, BuiltInContext& context) {
  std::string text = ToText(arguments[place]);
  context.work += static_cast<std::int64_t>(text.size());
  return text;
}

std::size_t CountArgument(Arguments arguments, std::size_t place, std::string_view function) {
  const std::int32_t count = ToInteger(arguments[place]);
  if (count < 0) {
    throw ScriptFault(FaultNumber::invalidCall, std::string(function) + " of a negative length");
  }
  return static_cast<std::size_t>(count);
}

std::size_t StartArgument(const Value& value) {
  const std::int32_t start = ToInteger(value);
  if (start < 1) throw ScriptFault(FaultNumber::invalidCall, "positions begin at 1");
  return static_cast<std::size_t>(start - 1);
}

Value Length(Arguments arguments, BuiltInContext& context) {
  return Value::Integer(static_cast<std::int32_t>(Characters(TextArgument(arguments, 0, context))));
}

Value Left(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  return Value::Text(text.substr(0, ByteOf(text, CountArgument(arguments, 1, "Left"))));
}

Value Right(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const std::size_t count = CountArgument(arguments, 1, "Right");
  const std::size_t all = Characters(text);
  return Value::Text(count >= all ? text : text.substr(ByteOf(text, all - count)));
}

Value Middle(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const std::string rest = text.substr(ByteOf(text, StartArgument(arguments[1])));
  if (arguments.size() < 3) return Value::Text(rest);
  return Value::Text(rest.substr(0, ByteOf(rest, CountArgument(arguments, 2, "Mid"))));
}

/// The byte where `wanted` begins at or behind `from`, in linear time for long texts too.
std::size_t FindText(std::string_view text, std::string_view wanted, std::size_t from) {
  constexpr std::size_t kShort = 64;
  if (from > text.size()) return std::string_view::npos;
  if (wanted.size() < kShort) return text.find(wanted, from);
  const auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(),
                                 std::boyer_moore_searcher(wanted.begin(), wanted.end()));
  return found == text.end() ? std::string_view::npos
                             : static_cast<std::size_t>(found - text.begin());
}

/// InStr([start, ] text, wanted)
Value Position(Arguments arguments, BuiltInContext& context) {
  const std::size_t first = arguments.size() > 2 ? 1 : 0;
  const std::string text = TextArgument(arguments, first, context);
  const std::string wanted = TextArgument(arguments, first + 1, context);
  const std::size_t start = first == 1 ? StartArgument(arguments[0]) : 0;
  const std::size_t from = ByteOf(text, start);
  if (start > Characters(text)) return Value::Integer(0);
  const std::size_t found = FindText(text, wanted, from);
  if (found == std::string_view::npos) return Value::Integer(0);
  return Value::Integer(
      static_cast<std::int32_t>(Characters(std::string_view(text).substr(0, found)) + 1));
}

Value LastPosition(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const std::string wanted = TextArgument(arguments, 1, context);
  const std::string backText(text.rbegin(), text.rend());
  const std::size_t found = FindText(backText, std::string(wanted.rbegin(), wanted.rend()), 0);
  if (found == std::string::npos) return Value::Integer(0);
  const std::size_t begin = text.size() - found - wanted.size();
  return Value::Integer(
      static_cast<std::int32_t>(Characters(std::string_view(text).substr(0, begin)) + 1));
}

template <bool left, bool right>
Value Trim(Arguments arguments, BuiltInContext& context) {
  std::string text = TextArgument(arguments, 0, context);
  if (right) text.erase(text.find_last_not_of(kBlank) + 1);
  if (left) text.erase(0, std::min(text.find_first_not_of(kBlank), text.size()));
  return Value::Text(std::move(text));
}

/// ASCII and the letters U+00C0 to U+00DE with their small forms, and the French ligature.
template <bool upper>
Value ChangeCase(Arguments arguments, BuiltInContext& context) {
  std::string text = TextArgument(arguments, 0, context);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0u;
    if (upper ? c >= 'a' && c <= 'z' : c >= 'A' && c <= 'Z') {
      text[i] = static_cast<char>(c ^ 0x20);
    } else if (c == '\xC3' && (upper ? next >= 0xA0 && next <= 0xBE && next != 0xB7
                                     : next >= 0x80 && next <= 0x9E && next != 0x97)) {
      text[i + 1] = static_cast<char>(next ^ 0x20);
    } else if (c == '\xC5' && next == (upper ? 0x93 : 0x92)) {
      text[i + 1] = static_cast<char>(next ^ 0x01);
    }
  }
  return Value::Text(std::move(text));
}

/// A number begins with its sign or a blank.
Value SignedText(Arguments arguments, BuiltInContext&) {
  const double number = ToReal(arguments[0]);
  const std::string text = NumberText(number);
  return Value::Text(number >= 0 ? ' ' + text : text);
}

/// The number that a text begins with, 0 without one.
Value LeadingNumber(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const char* first = text.data();
  const char* const last = first + text.size();
  while (first != last && (*first == ' ' || *first == '\t')) ++first;
  if (first != last && *first == '+') ++first;
  double number = 0;
  const char* const digits = first != last && *first == '-' ? first + 1 : first;
  const bool begins = digits != last && ((*digits >= '0' && *digits <= '9') || *digits == '.');
  if (begins) std::from_chars(first, last, number);
  return Value::Real(number);
}

Value Character(Arguments arguments, BuiltInContext&) {
  const std::int32_t code = ToInteger(arguments[0]);
  if (code < 1 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    throw ScriptFault(FaultNumber::invalidCall, std::to_string(code) + " is no character");
  }
  std::string text;
  const auto add = [&text](int bits) { text += static_cast<char>(bits); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  } else {
    add(0xF0 | code >> 18);
    add(0x80 | (code >> 12 & 0x3F));
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
  return Value::Text(std::move(text));
}

Value CharacterCode(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  if (text.empty()) throw ScriptFault(FaultNumber::invalidCall, "Asc of an empty text");
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
  std::int32_t code = more == 0 ? lead : lead & (0x3F >> more);
  for (std::size_t i = 1; i <= more && i < text.size(); ++i) {
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  return Value::Integer(code);
}

/// `text` so many times, in pieces, so that a limit of memory stops it before it is made.
Value Repeated(std::string_view text, std::size_t count, BuiltInContext& context) {
  constexpr std::size_t kPiece = 4096;
  std::string piece;
  for (std::size_t i = 0; i < std::min(count, kPiece); ++i) piece += text;
  const auto whole = MakeRef<TextData>(std::string());
  for (std::size_t left = count; left > 0; left -= std::min(left, kPiece)) {
    const std::size_t now = std::min(left, kPiece);
    whole->Append(std::string_view(piece).substr(0, now * text.size()));
  }
  context.work += static_cast<std::int64_t>(whole->text.size());
  return Value::Text(whole.get());
}

Value Blanks(Arguments arguments, BuiltInContext& context) {
  return Repeated(kBlank, CountArgument(arguments, 0, "Space"), context);
}

/// String(count, text): the text's first character, or the character of a code.
Value Filled(Arguments arguments, BuiltInContext& context) {
  const std::size_t count = CountArgument(arguments, 0, "String");
  const std::string text = arguments[1].tag == Tag::text
                               ? ToText(arguments[1])
                               : ToText(Character(arguments.subspan(1, 1), context));
  if (text.empty()) throw ScriptFault(FaultNumber::invalidCall, "String of an empty text");
  return Repeated(text.substr(0, ByteOf(text, 1)), count, context);
}

Value Replace(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const std::string wanted = TextArgument(arguments, 1, context);
  const std::string other = TextArgument(arguments, 2, context);
  if (wanted.empty()) return Value::Text(text);
  const auto whole = MakeRef<TextData>(std::string());
  std::size_t at = 0;
  for (;;) {
    const std::size_t found = FindText(text, wanted, at);
    whole->Append(
        std::string_view(text).substr(at, found == std::string::npos ? found : found - at));
    if (found == std::string::npos) return Value::Text(whole.get());
    whole->Append(other);
    at = found + wanted.size();
    context.work += static_cast<std::int64_t>(wanted.size() + other.size());
  }
}

/// Split(text[, separator]): an array from 0.
Value Split(Arguments arguments, BuiltInContext& context) {
  const std::string text = TextArgument(arguments, 0, context);
  const std::string separator =
      arguments.size() > 1 ? TextArgument(arguments, 1, context) : std::string(kBlank);
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (!text.empty()) {
    const std::size_t found = separator.empty() ? std::string::npos : FindText(text, separator, at);
    parts.push_back(text.substr(at, found == std::string::npos ? found : found - at));
    if (found == std::string::npos) break;
    at = found + separator.size();
  }
  auto array = MakeRef<ArrayData>(Type::text, false);
  array->Dimension({{0, static_cast<std::uint32_t>(parts.size())}}, false);
  for (std::size_t i = 0; i < parts.size(); ++i) array->Put(i, Value::Text(std::move(parts[i])));
  return Value::Array(array.get());
}

Value Join(Arguments arguments, BuiltInContext& context) {
  if (arguments[0].tag != Tag::array) throw ScriptFault(FaultNumber::typeMismatch, "no array");
  const ArrayData& array = *arguments[0].array();
  const std::string separator =
      arguments.size() > 1 ? TextArgument(arguments, 1, context) : std::string(kBlank);
  const auto whole = MakeRef<TextData>(std::string());
  for (std::size_t i = 0; i < array.count; ++i) {
    if (i > 0) whole->Append(separator);
    whole->Append(ToText(array.Get(i)));
  }
  context.work += static_cast<std::int64_t>(whole->text.size());
  return Value::Text(whole.get());
}

Value CompareTexts(Arguments arguments, BuiltInContext& context) {
  const int order =
      TextArgument(arguments, 0, context).compare(TextArgument(arguments, 1, context));
  return Value::Integer(order < 0 ? -1 : order > 0 ? 1 : 0);
}

template <int base>
Value Based(Arguments arguments, BuiltInContext&) {
  char digits[16];
  const auto bits = static_cast<std::uint32_t>(ToInteger(arguments[0]));
  const auto end = std::to_chars(digits, digits + sizeof digits, bits, base);
  std::string text(digits, end.ptr);
  for (char& c : text) {
    if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
  }
  return Value::Text(std::move(text));
}

/// Format(number, picture): 0 digits that are always shown, # digits that need not be, one point,
/// `,` between them for groups of three, % for a hundredfold; other characters stand around the
/// number.
Value Format(Arguments arguments, BuiltInContext&) {
  if (arguments.size() < 2 || arguments[0].tag == Tag::text)
    return Value::Text(ToText(arguments[0]));
  const std::string picture = ToText(arguments[1]);
  constexpr std::string_view kDigits = "0#.,";
  const std::size_t first = picture.find_first_of(kDigits);
  if (first == std::string::npos) return Value::Text(picture);
  const std::size_t last = picture.find_last_of(kDigits);
  const std::string_view digits = std::string_view(picture).substr(first, last - first + 1);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::string_view before = digits.substr(0, point);
  const std::string_view behind = digits.substr(std::min(point + 1, digits.size()));
  const bool percent = picture.find('%') != std::string::npos;

  const double number = ToReal(arguments[0]) * (percent ? 100 : 1);
  if (!std::isfinite(number)) return Value::Text(NumberText(number));
  const auto decimals = static_cast<std::size_t>(
      std::count_if(behind.begin(), behind.end(), [](char c) { return c == '0' || c == '#'; }));
  const std::string fixed =
      FixedText(std::abs(number), static_cast<int>(std::min<std::size_t>(decimals, 60)));
  std::string whole = fixed.substr(0, fixed.find('.'));
  std::string fraction = decimals == 0 ? std::string() : fixed.substr(fixed.find('.') + 1);
  const std::size_t kept = behind.rfind('0') == std::string_view::npos ? 0 : behind.rfind('0') + 1;
  while (fraction.size() > kept && fraction.back() == '0') fraction.pop_back();
  if (whole == "0") whole.clear();
  const auto wanted = static_cast<std::size_t>(std::count(before.begin(), before.end(), '0'));
  if (whole.size() < wanted) whole.insert(0, wanted - whole.size(), '0');
  if (before.find(',') != std::string_view::npos) {
    for (std::size_t at = whole.size(); at > 3; at -= 3) whole.insert(at - 3, 1, ',');
  }
  const bool zero = std::string(whole + fraction).find_first_not_of("0,") == std::string::npos;
  std::string text = picture.substr(0, first);
  if (number < 0 && !zero) text.insert(0, 1, '-');
  text += whole;
  if (!fraction.empty()) text.append(1, '.').append(fraction);
  return Value::Text(text + picture.substr(last + 1));
}

constexpr std::array kText = {
    BuiltIn{"asc", 1, 1, Type::integer, CharacterCode, nullptr},
    BuiltIn{"chr", 1, 1, Type::text, Character, nullptr},
    BuiltIn{"format", 1, 2, Type::text, Format, nullptr},
    BuiltIn{"hex", 1, 1, Type::text, Based<16>, nullptr},
    BuiltIn{"instr", 2, 3, Type::integer, Position, nullptr},
    BuiltIn{"instrrev", 2, 2, Type::integer, LastPosition, nullptr},
    BuiltIn{"join", 1, 2, Type::text, Join, nullptr},
    BuiltIn{"lcase", 1, 1, Type::text, ChangeCase<false>, nullptr},
    BuiltIn{"left", 2, 2, Type::text, Left, nullptr},
    BuiltIn{"len", 1, 1, Type::integer, Length, nullptr},
    BuiltIn{"ltrim", 1, 1, Type::text, Trim<true, false>, nullptr},
    BuiltIn{"mid", 2, 3, Type::text, Middle, nullptr},
    BuiltIn{"oct", 1, 1, Type::text, Based<8>, nullptr},
    BuiltIn{"replace", 3, 3, Type::text, Replace, nullptr},
    BuiltIn{"right", 2, 2, Type::text, Right, nullptr},
    BuiltIn{"rtrim", 1, 1, Type::text, Trim<false, true>, nullptr},
    BuiltIn{"space", 1, 1, Type::text, Blanks, nullptr},
    BuiltIn{"split", 1, 2, Type::variant, Split, nullptr},
    BuiltIn{"str", 1, 1, Type::text, SignedText, nullptr},
    BuiltIn{"strcomp", 2, 2, Type::integer, CompareTexts, nullptr},
    BuiltIn{"string", 2, 2, Type::text, Filled, nullptr},
    BuiltIn{"trim", 1, 1, Type::text, Trim<true, true>, nullptr},
    BuiltIn{"ucase", 1, 1, Type::text, ChangeCase<true>, nullptr},
    BuiltIn{"val", 1, 1, Type::real, LeadingNumber, nullptr},
};

}  // namespace

std::span<const BuiltIn> TextBuiltIns() { return kText; }

}  // namespace qrvml
