#include "qvb/lexer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <utility>

#include "qvb/script_error.h"
#include "qvb/script_object.h"

namespace qrvml {
namespace {

// As messages write them, in the order of the enumeration.
constexpr std::array<std::string_view, kKeywordCount> kKeywords = {
    "And",     "As",   "ByRef",  "ByVal",    "Call",     "Case",     "Const",   "Dim",
    "Do",      "Each", "Else",   "ElseIf",   "End",      "EndIf",    "Enum",    "Erase",
    "Error",   "Exit", "False",  "For",      "Function", "GoTo",     "If",      "In",
    "Is",      "Let",  "Like",   "Loop",     "Mod",      "New",      "Next",    "Not",
    "Nothing", "On",   "Option", "Optional", "Or",       "Preserve", "Private", "Public",
    "ReDim",   "Rem",  "Resume", "Select",   "Set",      "Static",   "Step",    "Sub",
    "Then",    "To",   "True",   "Until",    "Wend",     "While",    "With",    "Xor"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) {
  // Bytes of other alphabets are letters.
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (static_cast<unsigned char>(c) & 0x80);
}
bool IsNamePart(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

char LowerLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

Type SuffixType(char c) {
  switch (c) {
    case '%':
      return Type::integer;
    case '#':
    case '!':
      return Type::real;
    case '$':
      return Type::text;
    default:
      return Type::variant;
  }
}

}  // namespace

int NameTable::Number(std::string_view name) {
  // Nearly all names are known and short.
  char buffer[64];
  const bool isShort = name.size() <= sizeof buffer;
  const std::string copy = isShort ? std::string() : LowerCase(name);
  if (isShort) std::transform(name.begin(), name.end(), buffer, LowerLetter);
  const std::string_view lower = isShort ? std::string_view(buffer, name.size()) : copy;
  const auto found = numbers_.find(lower);
  if (found != numbers_.end()) return found->second;
  names_.emplace_back(lower);
  const int number = static_cast<int>(names_.size()) - 1;
  numbers_.emplace(names_.back(), number);
  return number;
}

std::string_view KeywordText(int keyword) { return kKeywords[static_cast<std::size_t>(keyword)]; }

void AddKeywords(NameTable& names) {
  for (const std::string_view keyword : kKeywords) names.Number(keyword);
}

Lexer::Lexer(std::string scriptName, std::string_view source, NameTable& names)
    : script_(std::move(scriptName)), source_(source), names_(names) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (source_.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    source_.remove_prefix(kByteOrderMark.size());
  }
}

void Lexer::Fail(int line, const std::string& reason) const {
  throw ScriptError(ScriptError::Kind::compile, script_, line, reason);
}

bool Lexer::EndOfLine() const { return place_.at >= source_.size() || source_[place_.at] == '\n'; }

void Lexer::TakeLineEnd() {
  if (place_.at < source_.size()) ++place_.at;
  ++place_.line;
}

bool Lexer::SkipBlanks() {
  const std::size_t start = place_.at;
  for (;;) {
    while (place_.at < source_.size() && IsBlank(source_[place_.at])) ++place_.at;
    if (At(0) != '_' || IsNamePart(At(1))) break;
    std::size_t after = place_.at + 1;
    while (after < source_.size() && IsBlank(source_[after])) ++after;
    if (after < source_.size() && source_[after] != '\n') break;
    place_.at = after;
    TakeLineEnd();
    if (place_.at >= source_.size()) break;
  }
  return place_.at != start;
}

void Lexer::ReadComment(bool first) {
  const std::size_t end = std::min(source_.find('\n', place_.at), source_.size());
  const std::string_view comment = source_.substr(place_.at, end - place_.at);
  place_.at = end;
  if (!first || comment.substr(0, 2) != "'#") return;
  const std::size_t open = comment.find('"');
  const std::size_t close = open == std::string_view::npos ? open : comment.find('"', open + 1);
  if (close == std::string_view::npos) return;
  std::string directive = LowerCase(comment.substr(2, open - 2));
  while (!directive.empty() && IsBlank(directive.back())) directive.pop_back();
  if (directive != "uses" && directive != "include") return;
  includes_.push_back({std::string(comment.substr(open + 1, close - open - 1)), place_.line});
}

void Lexer::ReadName(Token& token) {
  std::size_t length = 1;
  while (IsNamePart(At(length))) ++length;
  token.kind = Token::Kind::name;
  token.text = source_.substr(place_.at, length);
  token.name = names_.Number(token.text);
  place_.at += length;
  token.suffix = SuffixType(At(0));
  if (token.suffix != Type::variant) ++place_.at;
}

int Lexer::BaseHere() const {
  const char kind = At(0) == '&' ? At(1) : ' ';
  const int base = kind == 'h' || kind == 'H' ? 16 : kind == 'o' || kind == 'O' ? 8 : 0;
  if (base == 0 || !IsNamePart(At(2))) return 0;
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (std::size_t at = 2; IsNamePart(At(at)); ++at) {
    const char digit = At(at);
    const std::size_t value = kDigits.find(LowerCase(std::string_view(&digit, 1)));
    if (value >= static_cast<std::size_t>(base)) return 0;
  }
  return base;
}

void Lexer::ReadBasedNumber(Token& token, int base) {
  const char* const first = source_.data() + place_.at + 2;
  const char* const last = source_.data() + source_.size();
  std::uint32_t bits = 0;
  const auto read = std::from_chars(first, last, bits, base);
  if (read.ec != std::errc()) Fail(token.line, "the number does not fit 32 bits");
  token.kind = Token::Kind::integer;
  token.number = static_cast<std::int32_t>(bits);
  token.text = source_.substr(place_.at, static_cast<std::size_t>(read.ptr - first) + 2);
  place_.at += token.text.size();
  if (At(0) == '&') ++place_.at;
}

void Lexer::ReadNumber(Token& token) {
  std::size_t length = 0;
  bool whole = true;
  std::int64_t digitsValue = 0;
  for (; IsDigit(At(length)); ++length) {
    if (length < 9) digitsValue = digitsValue * 10 + (At(length) - '0');
  }
  const char behind = At(length);
  if (length < 10 && length > 0 && (behind == ')' || behind == ',' || behind == '\n')) {
    token.kind = Token::Kind::integer;
    token.number = static_cast<double>(digitsValue);
    token.text = source_.substr(place_.at, length);
    place_.at += length;
    return;
  }
  if (At(length) == '.') {
    whole = false;
    ++length;
    while (IsDigit(At(length))) ++length;
  }
  const char mark = At(length);
  if (mark == 'e' || mark == 'E' || mark == 'd' || mark == 'D') {
    const std::size_t sign = At(length + 1) == '+' || At(length + 1) == '-' ? 1 : 0;
    if (IsDigit(At(length + 1 + sign))) {
      whole = false;
      length += 1 + sign;
      while (IsDigit(At(length))) ++length;
    }
  }
  token.text = source_.substr(place_.at, length);
  place_.at += length;
  std::string digits = LowerCase(token.text);
  std::replace(digits.begin(), digits.end(), 'd', 'e');
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), token.number);
  // What is too small for a Double is 0, what is too large an error.
  if (read.ec != std::errc() && digits.find("e-") == std::string::npos) {
    Fail(token.line, "the number " + digits + " does not fit a Double");
  }
  const Type suffix = SuffixType(At(0));
  if (suffix == Type::integer || suffix == Type::real) {
    whole = whole && suffix == Type::integer;
    ++place_.at;
  } else if (At(0) == '&' && !IsNamePart(At(1)) && At(1) != ' ' && At(1) != '"') {
    ++place_.at;  // a long integer, not the joining operator
  }
  const bool fits = token.number <= std::numeric_limits<std::int32_t>::max();
  token.kind = whole && fits ? Token::Kind::integer : Token::Kind::real;
  if (IsNamePart(At(0))) Fail(token.line, "expected a blank or an operator behind a number");
}

void Lexer::ReadText(Token& token) {
  const std::size_t start = ++place_.at;
  for (;; ++place_.at) {
    if (EndOfLine()) Fail(token.line, "expected a closing quote before the end of the line");
    if (At(0) != '"') continue;
    if (At(1) != '"') break;
    ++place_.at;
  }
  token.kind = Token::Kind::text;
  token.text = source_.substr(start, place_.at - start);
  ++place_.at;
}

void Lexer::ReadSymbol(Token& token) {
  constexpr std::string_view kPairs[] = {"<>", "<=", ">=", "=<", "=>", ":="};
  constexpr std::string_view kSingles = "()=<>+-*/\\^&,.:;!";
  std::size_t length = 0;
  const char second = At(1);
  if (second == '>' || second == '=' || second == '<') {
    for (const std::string_view pair : kPairs) {
      if (source_.substr(place_.at, 2) == pair) length = 2;
    }
  }
  if (length == 0 && kSingles.find(At(0)) != std::string_view::npos) length = 1;
  if (length == 0) {
    const bool printable = At(0) > ' ' && At(0) < 127;
    Fail(token.line, printable ? std::string("unexpected character ") + At(0)
                               : std::string("unexpected character (code ") +
                                     std::to_string(static_cast<unsigned char>(At(0))) + ')');
  }
  token.kind = Token::Kind::symbol;
  token.text = source_.substr(place_.at, length);
  place_.at += length;
}

void Lexer::SkipPlainLines(std::string_view first) {
  while (place_.at < source_.size()) {
    const std::size_t end = std::min(source_.find('\n', place_.at), source_.size());
    const std::string_view line = source_.substr(place_.at, end - place_.at);
    const std::size_t word = line.find_first_not_of(" \t");
    if (word != std::string_view::npos) {
      const bool may = first.find(LowerLetter(line[word])) != std::string_view::npos;
      if (may || line.find(':') != std::string_view::npos) return;
    }
    place_.at = end;
    TakeLineEnd();
  }
}

bool Lexer::NextLine(std::vector<Token>& tokens) {
  tokens.clear();
  for (;;) {
    const bool blank = SkipBlanks();
    if (EndOfLine()) {
      const bool more = place_.at < source_.size();
      const int line = place_.line;
      if (more) TakeLineEnd();
      if (tokens.empty() && more) continue;
      Token end;
      end.line = tokens.empty() ? line : tokens.back().line;
      tokens.push_back(end);
      return tokens.size() > 1;
    }
    if (At(0) == '\'') {
      ReadComment(tokens.empty());
      continue;
    }
    Token token;
    token.line = place_.line;
    token.blankBefore = blank;
    if (IsLetter(At(0)) || (At(0) == '_' && IsNamePart(At(1)))) {
      ReadName(token);
      const bool starts = tokens.empty() || tokens.back().Is(":");
      if (token.Is(kRem) && starts) {
        place_.at = std::min(source_.find('\n', place_.at), source_.size());
        continue;
      }
    } else if (IsDigit(At(0)) || (At(0) == '.' && IsDigit(At(1)))) {
      ReadNumber(token);
    } else if (At(0) == '"') {
      ReadText(token);
    } else {
      const int base = BaseHere();
      if (base != 0) {
        ReadBasedNumber(token, base);
      } else {
        ReadSymbol(token);
      }
    }
    tokens.push_back(token);
  }
}

}  // namespace qrvml
