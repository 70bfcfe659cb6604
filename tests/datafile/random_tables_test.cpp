// Random tables, written as text in many ways and read again by an independent reader: character
// by character, with regular expressions and the C library's conversion.
#include <algorithm>
#include <cstdlib>
#include <random>
#include <regex>
#include <set>

#include "datafile/text_files.h"

namespace qrvml {
namespace {

struct Style {
  char delimiter;
  char decimal;
  const char* lineEnd;
};

using Grid = std::vector<std::vector<std::string>>;  // rows of raw, trimmed fields

std::string Trimmed(const std::string& text) {
  const char* blanks = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(blanks);
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

class Writer {
 public:
  Writer(unsigned seed, const Style& style) : random_(seed), style_(style) {}

  std::size_t Below(std::size_t count) { return random_() % count; }

  std::string Number() {
    std::string digits;
    const std::size_t before = Below(9), after = before == 0 ? 1 + Below(12) : Below(12);
    for (std::size_t i = 0; i < before; ++i) digits += static_cast<char>('0' + Below(10));
    if (after > 0 || Below(4) == 0) digits += style_.decimal;
    for (std::size_t i = 0; i < after; ++i) digits += static_cast<char>('0' + Below(10));
    if (Below(5) == 0) digits += (Below(2) ? "e" : "E-") + std::to_string(Below(40));
    return (Below(3) == 0 ? "-" : "") + digits;
  }
  std::string Text() {
    static const std::vector<std::string> kParts = {
        "a", "B", "é", "€", " ", "\"", ",", ";", "\t", "\n", "\r\n", ".", "1", "-9999", "nan", "x"};
    std::string text;
    for (std::size_t i = Below(6); i-- > 0;) text += kParts[Below(kParts.size())];
    return text;
  }
  // The field as it goes into the file: quoted where it must be, sometimes where it need not be.
  std::string Field(const std::string& text) {
    const bool mustQuote =
        text.find_first_of(std::string("\"\n\r") + style_.delimiter) != std::string::npos;
    const std::string blanks = Below(6) == 0 ? " " : "";
    if (!mustQuote && Below(3) != 0) return blanks + text + blanks;
    std::string quoted = "\"";
    for (char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return blanks + quoted + "\"" + blanks;
  }

 private:
  std::mt19937_64 random_;
  const Style style_;
};

bool LooksLikeNumber(const std::string& text, char decimal) {
  static const std::regex kPoint(R"([+-]?(\d+(\.\d*)?|\.\d+)([eE][+-]?\d+)?)");
  static const std::regex kComma(R"([+-]?(\d+(,\d*)?|,\d+)([eE][+-]?\d+)?)");
  return std::regex_match(text, decimal == '.' ? kPoint : kComma);
}

double Converted(std::string text, char decimal) {
  const std::size_t mark = text.find(decimal);
  if (mark != std::string::npos) text[mark] = '.';
  return std::strtod(text.c_str(), nullptr);
}

void ExpectTable(const DataTable& table, const Grid& rows, const Style& style) {
  ASSERT_EQ(table.NumberOfCases(), static_cast<int>(rows.size()));
  for (int variable = 1; variable <= table.NumberOfVariables(); ++variable) {
    const auto column = static_cast<std::size_t>(variable - 1);
    std::set<std::string> texts;
    bool isText = false;
    for (const auto& row : rows) {
      if (row[column].empty()) continue;
      texts.insert(row[column]);
      isText = isText || !LooksLikeNumber(row[column], style.decimal);
    }
    ASSERT_EQ(table.At(variable).wasText, isText);
    const std::vector<std::string> sorted(texts.begin(), texts.end());
    ASSERT_EQ(Labels(table, variable), isText ? sorted : std::vector<std::string>{});
    const double missing = table.At(variable).missingCode;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::string& field = rows[i][column];
      const double cell = table.Value(static_cast<int>(i) + 1, variable);
      double wanted = missing;
      if (isText && !field.empty()) {
        const auto place = std::lower_bound(sorted.begin(), sorted.end(), field);
        wanted = static_cast<double>(place - sorted.begin()) + 1;
      } else if (!field.empty()) {
        wanted = Converted(field, style.decimal);
        ASSERT_NE(wanted, missing);
      }
      ASSERT_EQ(cell, wanted) << "case " << i + 1 << ", " << table.At(variable).name << ": "
                              << field;
    }
  }
}

void WriteAndRead(unsigned seed, std::size_t cases, const Style& style, int threads) {
  SCOPED_TRACE("seed " + std::to_string(seed) + ", delimiter " + style.delimiter);
  Writer writer(seed, style);
  const std::size_t columns = 2 + writer.Below(5);
  std::vector<std::size_t> kinds;  // 0: numbers; 1: texts; 2: numbers, and a text at the end
  std::string content;
  for (std::size_t j = 0; j < columns; ++j) {
    kinds.push_back(writer.Below(3));
    content += (j ? std::string(1, style.delimiter) : "") + "v" + std::to_string(j + 1);
  }
  content += style.lineEnd;
  Grid rows;
  for (std::size_t i = 0; i < cases; ++i) {
    auto& row = rows.emplace_back();
    std::string line;
    for (std::size_t j = 0; j < columns; ++j) {
      std::string text = kinds[j] == 1 ? writer.Text() : writer.Number();
      if (kinds[j] == 2 && i + 1 == cases) text = "late text";
      if (writer.Below(10) == 0) text.clear();
      row.push_back(Trimmed(text));
      line += (j ? std::string(1, style.delimiter) : "") + writer.Field(text);
    }
    content += line + style.lineEnd;
  }
  const ReadOptions options{
      .delimiter = style.delimiter, .decimal = style.decimal, .threads = threads};
  const Reading read = ReadText(content, options);
  ASSERT_TRUE(read.ok) << read.error.Text();
  ASSERT_EQ(read.table.NumberOfVariables(), static_cast<int>(columns));
  ExpectTable(read.table, rows, style);
}

constexpr Style kStyles[] = {
    {',', '.', "\n"}, {';', ',', "\r\n"}, {'\t', '.', "\r\n"}, {',', ',', "\n"}, {';', '.', "\n"}};

TEST(RandomTables, AreReadAsAnIndependentReaderReadsThem) {
  for (unsigned seed = 1; seed <= 300 && !testing::Test::HasFatalFailure(); ++seed) {
    WriteAndRead(seed, 1 + seed % 12, kStyles[seed % std::size(kStyles)], 1);
  }
}

// Several blocks of the reader, with quoted line breaks across their ends.
TEST(RandomTables, OfSeveralMegabytesAreReadAlikeByAnyNumberOfThreads) {
  WriteAndRead(1001, 40000, kStyles[0], 1);
  WriteAndRead(1002, 40000, kStyles[1], 3);
}

}  // namespace
}  // namespace qrvml
