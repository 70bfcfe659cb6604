#include "datafile/text_dialect.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace qrvml {

namespace {

constexpr std::array kCandidates = {'\t', ';', ','};
constexpr std::size_t kSampleRecords = 1000;

bool IsBlankRecord(const std::vector<std::string>& fields) {
  return fields.size() == 1 && fields[0].empty();
}

// The header and the first records; a quoted field that the sample cuts off ends them.
std::vector<std::vector<std::string>> FirstRecords(std::string_view sample, char delimiter) {
  std::vector<std::vector<std::string>> records;
  std::vector<std::string> fields;
  int lines = 0;
  const char* at = sample.data();
  const char* end = at + sample.size();
  while (at != end && records.size() <= kSampleRecords) {
    if (ReadRecord(at, end, delimiter, fields, lines) != RecordState::complete) break;
    if (!IsBlankRecord(fields) || records.empty()) records.push_back(fields);
  }
  return records;
}

struct Fit {
  double share = 0;        // of the records after the header with as many fields as the header
  std::size_t fields = 0;  // of the header
};

Fit FitOf(std::string_view sample, char delimiter) {
  const auto records = FirstRecords(sample, delimiter);
  if (records.empty()) return {};
  Fit fit{1, records[0].size()};
  if (records.size() == 1) return fit;
  const auto fitting = std::count_if(records.begin() + 1, records.end(), [&](const auto& fields) {
    return fields.size() == fit.fields;
  });
  fit.share = static_cast<double>(fitting) / static_cast<double>(records.size() - 1);
  return fit;
}

// Whether a one-column sample holds commas and each of them is the mark of a decimal number.
bool CommasAreDecimal(std::string_view sample) {
  bool found = false;
  for (const auto& fields : FirstRecords(sample, ';')) {
    for (const std::string& field : fields) {
      double value = 0;
      if (field.find(',') == std::string::npos) continue;
      if (ReadWholeNumber(field, ',', value) == NumberForm::none) return false;
      found = true;
    }
  }
  return found;
}

// Whether a column's fields are numbers with this mark, and at least one of them has the mark.
bool IsNumericWith(const std::vector<std::vector<std::string>>& records, std::size_t column,
                   char decimal) {
  bool found = false;
  for (std::size_t i = 1; i < records.size(); ++i) {
    if (column >= records[i].size() || records[i][column].empty()) continue;
    double value = 0;
    if (ReadWholeNumber(records[i][column], decimal, value) == NumberForm::none) return false;
    found = found || records[i][column].find(decimal) != std::string::npos;
  }
  return found;
}

}  // namespace

char FindDelimiter(std::string_view sample) {
  char best = '\0';
  Fit bestFit;
  for (char candidate : kCandidates) {
    const Fit fit = FitOf(sample, candidate);
    if (fit.fields < 2) continue;
    if (best && (fit.share < bestFit.share ||
                 (fit.share == bestFit.share && fit.fields <= bestFit.fields))) {
      continue;
    }
    best = candidate;
    bestFit = fit;
  }
  if (best) return best;
  return CommasAreDecimal(sample) ? ';' : ',';
}

char FindDecimal(std::string_view sample, char delimiter) {
  const auto records = FirstRecords(sample, delimiter);
  if (records.empty()) return '.';
  int commas = 0, points = 0;
  for (std::size_t column = 0; column < records[0].size(); ++column) {
    commas += IsNumericWith(records, column, ',');
    points += IsNumericWith(records, column, '.');
  }
  return commas > points ? ',' : '.';
}

std::optional<char> DelimiterFromOption(std::string_view text) {
  if (text == "tab" || text == "\\t") return '\t';
  if (text.size() != 1) return std::nullopt;
  const char c = text[0];
  const bool printable = c > ' ' && c < 0x7F;
  const bool alphanumeric =
      (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  if (c == '\t' || c == ' ') return c;
  if (!printable || alphanumeric || c == '"' || c == '.' || c == '+' || c == '-') {
    return std::nullopt;
  }
  return c;
}

}  // namespace qrvml
