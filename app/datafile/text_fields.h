// The grammar of delimited text: fields, quotes, line ends, numbers.
//
// A record is a line, or several where a quoted field holds line breaks. Fields are separated by
// the delimiter and trimmed of blanks; a field whose first character is a double quote ends at the
// closing quote, and a quote inside it is doubled. A quote further on in a field is a character
// like any other. Lines end in LF or CR LF.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

struct TextDialect {
  char delimiter = ',';
  char decimal = '.';
};

/// What surrounds a field without belonging to it.
inline bool IsBlank(char c, char delimiter) {
  return (c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f') && c != delimiter;
}

std::string_view TrimBlanks(std::string_view text);

enum class NumberForm {
  number,      // value is the nearest double; a number too small for a double is zero
  none,        // not a number: also "inf", "nan", hexadecimal, digit groups
  outOfRange,  // a number too large for a double
};

/// Reads the number at the start of [first, last): optional sign, digits with at most one decimal
/// mark (a digit on at least one side), optional exponent. `end` is set behind it. Whether the
/// field ends there is the caller's to see.
NumberForm ReadNumber(const char* first, const char* last, char decimal, double& value,
                      const char*& end);
/// The same for a whole text, blanks around it allowed.
NumberForm ReadWholeNumber(std::string_view text, char decimal, double& value);

/// A quoted field. `at` stands behind the opening quote and is moved behind the closing one; `text`
/// is what is inside, in [at, end) or in `unescaped` where quotes were doubled; `lines` grows by
/// the line breaks inside. False: there is no closing quote before `end`.
bool ReadQuoted(const char*& at, const char* end, std::string_view& text, std::string& unescaped,
                int& lines);

enum class RecordState {
  complete,
  unclosedQuote,  // the text ends inside a quoted field: at `at` stands its opening quote
  afterQuote,     // text follows a closing quote: `at` stands on it
};

/// The fields of the record at `at`, which is moved to the next record. A record ends at a line
/// break or at `end`. Quotes are taken off, blanks trimmed; `lines` grows by the line breaks
/// passed.
RecordState ReadRecord(const char*& at, const char* end, char delimiter,
                       std::vector<std::string>& fields, int& lines);

/// The position behind the last record of `text` that ends in a line break within it; `text` begins
/// with a record. 0: no record ends there.
std::size_t EndOfLastRecord(std::string_view text, char delimiter);

}  // namespace qrvml
