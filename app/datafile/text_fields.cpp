#include "datafile/text_fields.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace qrvml {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

const char* Search(const char* first, const char* last, char wanted) {
  const void* at = std::memchr(first, wanted, static_cast<std::size_t>(last - first));
  return at ? static_cast<const char*>(at) : last;
}

// Whether a number in [first, last) that is no normal double is too large rather than too small:
// the decimal exponent of its first digit that is not zero decides, since both limits are far away.
bool IsHuge(const char* first, const char* last, char decimal) {
  std::int64_t exponent = 0, digitsBeforeMark = 0, leadingZeros = 0;
  bool markSeen = false, significant = false;
  const char* at = first;
  for (; at != last && *at != 'e' && *at != 'E'; ++at) {
    if (*at == decimal) markSeen = true;
    if (!IsDigit(*at)) continue;
    significant = significant || *at != '0';
    if (!significant) ++leadingZeros;
    if (!markSeen) ++digitsBeforeMark;
  }
  if (at != last) {
    ++at;
    const bool negative = *at == '-';
    if (*at == '-' || *at == '+') ++at;
    for (; at != last && exponent < 1'000'000'000; ++at) exponent = exponent * 10 + (*at - '0');
    if (negative) exponent = -exponent;
  }
  return exponent + digitsBeforeMark - leadingZeros > 0;
}

NumberForm ReadPointNumber(const char* first, const char* last, double& value, const char*& end) {
  const char* digits = first;
  if (digits != last && (*digits == '+' || *digits == '-')) ++digits;
  if (digits == last || !(IsDigit(*digits) || *digits == '.')) return NumberForm::none;
  const char* start = *first == '+' ? digits : first;
  const auto [stop, error] = std::from_chars(start, last, value);
  end = stop;
  if (error == std::errc::invalid_argument) return NumberForm::none;
  if (error == std::errc{}) return NumberForm::number;
  if (IsHuge(digits, stop, '.')) return NumberForm::outOfRange;
  value = *first == '-' ? -0.0 : 0.0;
  return NumberForm::number;
}

// With another decimal mark the number is read from a copy.
NumberForm ReadMarkedNumber(const char* first, const char* last, char decimal, double& value,
                            const char*& end) {
  const auto belongs = [&](char c) {
    return IsDigit(c) || c == '+' || c == '-' || c == 'e' || c == 'E' || c == decimal;
  };
  const char* stop = std::find_if_not(first, last, belongs);
  const auto length = static_cast<std::size_t>(stop - first);
  char local[64];
  std::string large;
  char* copy = local;
  if (length > sizeof local) {
    large.resize(length);
    copy = large.data();
  }
  std::replace_copy(first, stop, copy, decimal, '.');
  const char* copyEnd = copy;
  const NumberForm form = ReadPointNumber(copy, copy + length, value, copyEnd);
  end = first + (copyEnd - copy);
  return form;
}

// Whether a quote opens a field: only blanks stand between it and the start of the field.
bool OpensField(const char* begin, const char* quote, char delimiter) {
  while (quote != begin && IsBlank(quote[-1], delimiter)) --quote;
  return quote == begin || quote[-1] == delimiter || quote[-1] == '\n';
}

// Behind the quote that closes the one before `at`; null: it is not closed.
const char* SkipQuoted(const char* at, const char* end) {
  for (;;) {
    at = Search(at, end, '"');
    if (at == end) return nullptr;
    if (at + 1 == end || at[1] != '"') return at + 1;
    at += 2;
  }
}

}  // namespace

std::string_view TrimBlanks(std::string_view text) {
  const auto isSpace = [](char c) { return IsBlank(c, '\0') || c == '\n'; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

NumberForm ReadNumber(const char* first, const char* last, char decimal, double& value,
                      const char*& end) {
  end = first;
  return decimal == '.' ? ReadPointNumber(first, last, value, end)
                        : ReadMarkedNumber(first, last, decimal, value, end);
}

NumberForm ReadWholeNumber(std::string_view text, char decimal, double& value) {
  text = TrimBlanks(text);
  const char* end = nullptr;
  double read = 0;
  const NumberForm form = ReadNumber(text.data(), text.data() + text.size(), decimal, read, end);
  if (form == NumberForm::none || end != text.data() + text.size()) return NumberForm::none;
  value = read;
  return form;
}

bool ReadQuoted(const char*& at, const char* end, std::string_view& text, std::string& unescaped,
                int& lines) {
  const char* start = at;
  const char* behind = SkipQuoted(at, end);
  if (!behind) return false;
  at = behind;
  text = {start, static_cast<std::size_t>(behind - 1 - start)};
  lines += static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  if (text.find('"') == std::string_view::npos) return true;
  unescaped.clear();
  for (std::size_t i = 0; i < text.size(); ++i) {
    unescaped += text[i];
    if (text[i] == '"') ++i;
  }
  text = unescaped;
  return true;
}

RecordState ReadRecord(const char*& at, const char* end, char delimiter,
                       std::vector<std::string>& fields, int& lines) {
  fields.clear();
  std::string unescaped;
  for (;;) {
    const char* start = at;
    while (at != end && IsBlank(*at, delimiter)) ++at;
    std::string_view text;
    if (at != end && *at == '"') {
      const char* quote = at++;
      if (!ReadQuoted(at, end, text, unescaped, lines)) {
        at = quote;
        return RecordState::unclosedQuote;
      }
      while (at != end && IsBlank(*at, delimiter)) ++at;
      if (at != end && *at != delimiter && *at != '\n') return RecordState::afterQuote;
    } else {
      while (at != end && *at != delimiter && *at != '\n') ++at;
      text = {start, static_cast<std::size_t>(at - start)};
    }
    fields.emplace_back(TrimBlanks(text));
    if (at == end) return RecordState::complete;
    if (*at++ == '\n') {
      ++lines;
      return RecordState::complete;
    }
  }
}

std::size_t EndOfLastRecord(std::string_view text, char delimiter) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  const char* lastBreak = nullptr;
  const char* gap = begin;  // start of the text between two quoted fields
  while (gap) {
    const char* quote = Search(gap, end, '"');
    while (quote != end && !OpensField(begin, quote, delimiter))
      quote = Search(quote + 1, end, '"');
    const void* found = ::memrchr(gap, '\n', static_cast<std::size_t>(quote - gap));
    if (found) lastBreak = static_cast<const char*>(found);
    gap = quote == end ? nullptr : SkipQuoted(quote + 1, end);
  }
  return lastBreak ? static_cast<std::size_t>(lastBreak - begin) + 1 : 0;
}

}  // namespace qrvml
