#include "score/c_header.h"

#include <algorithm>
#include <cstdint>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kSeparator = ", ";

/// The lines of a text, one after the other.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}
  bool Next(std::string_view& line) {
    if (rest_.empty()) return false;
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    return true;
  }
  /// Goes to the line that begins with a text and gives what follows it. The header ends with the
  /// first line that is no comment and not empty.
  bool Find(std::string_view begin, std::string_view& rest) {
    for (std::string_view line; Next(line);) {
      if (line.starts_with(begin)) {
        rest = line.substr(begin.size());
        return true;
      }
      if (!line.empty() && !line.starts_with("//")) return false;
    }
    return false;
  }

 private:
  std::string_view rest_;
};

/// Names with commas between them; the longest run that is a name of the data is one.
bool SplitNames(std::string_view text, std::int32_t count,
                const std::function<bool(const std::string&)>& isName,
                std::vector<DeployedField>& fields) {
  std::vector<std::string_view> pieces;
  for (std::size_t end = 0; end != text.npos;
       text.remove_prefix(end == text.npos ? text.size() : end + kSeparator.size())) {
    end = text.find(kSeparator);
    pieces.push_back(text.substr(0, end));
  }
  for (std::size_t first = 0; first < pieces.size();) {
    std::string name(pieces[first]);
    std::size_t next = first + 1;
    std::string longer = name;
    for (std::size_t last = next; last < pieces.size(); ++last) {
      longer += std::string(kSeparator) + std::string(pieces[last]);
      if (!isName(longer)) continue;
      name = longer;
      next = last + 1;
    }
    fields.push_back({name, false, {}});
    first = next;
  }
  return fields.size() == static_cast<std::size_t>(count);
}

/// "(text, code), (text, code)"
bool ReadCategories(std::string_view text, std::vector<DeployedCategory>& categories) {
  while (true) {
    // A text may hold what ends a category elsewhere: the first end with a code before it counts.
    std::size_t close = 0;
    DeployedCategory category;
    while (true) {
      close = text.find(')', close + 1);
      if (!text.starts_with('(') || close == text.npos) return false;
      const std::string_view inside = text.substr(1, close - 1);
      const std::size_t comma = inside.rfind(kSeparator);
      const bool ends = close + 1 == text.size() || text.substr(close + 1).starts_with(", (");
      if (!ends || comma == inside.npos ||
          !TextToDouble(inside.substr(comma + kSeparator.size()), category.code))
        continue;
      category.text = inside.substr(0, comma);
      break;
    }
    categories.push_back(std::move(category));
    text.remove_prefix(close + 1);
    if (text.empty()) return true;
    text.remove_prefix(kSeparator.size());
  }
}

/// The line of a categorical variable: its name, which begins one of the fields, and its
/// categories.
bool ReadVariable(std::string_view line, std::vector<DeployedField>& fields) {
  for (DeployedField& field : fields) {
    const std::string begin = field.name + ": ";
    if (field.isCategorical || !line.starts_with(begin)) continue;
    std::vector<DeployedCategory> categories;
    if (!ReadCategories(line.substr(begin.size()), categories)) continue;
    field.isCategorical = true;
    field.categories = std::move(categories);
    return true;
  }
  return false;
}

}  // namespace

bool ReadCHeader(std::string_view text, const std::function<bool(const std::string&)>& isName,
                 CHeader& header, std::string& error) {
  header = {};
  Lines lines(text);
  std::string_view dependentCount, inputCount, dependents, inputs, rest;
  std::int32_t dependentNumber = 0, inputNumber = 0;
  if (!lines.Find("//  Number of dependents (output) variables = ", dependentCount) ||
      !lines.Find("//  Number of predictors (input) variables = ", inputCount) ||
      !lines.Find("//  Dependents: ", dependents) || !lines.Find("//  Independents: ", inputs) ||
      !lines.Find("//  Categorical variables: ", rest) ||
      !TextToInt(dependentCount, dependentNumber) || !TextToInt(inputCount, inputNumber)) {
    error = "it has no header comment that names its variables, as generated programs have";
    return false;
  }
  if (!SplitNames(dependents, dependentNumber, isName, header.dependents) ||
      !SplitNames(inputs, inputNumber, isName, header.inputs)) {
    error =
        "its header comment names other numbers of variables than it says (a name with a comma in "
        "it is known only where the data have it)";
    return false;
  }
  constexpr std::string_view kComment = "//  ";
  for (std::string_view line; lines.Next(line) && line.starts_with(kComment);) {
    line.remove_prefix(kComment.size());
    if (!ReadVariable(line, header.dependents) && !ReadVariable(line, header.inputs)) {
      error =
          "its header comment has a line of categories that cannot be read: " + std::string(line);
      return false;
    }
  }
  return true;
}

}  // namespace qrvml
