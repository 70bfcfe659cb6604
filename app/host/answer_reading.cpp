#include "host/answer_reading.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "host/numerics.h"

namespace qrvml {
namespace {

using Kind = ListMember::Kind;

constexpr int kNamesShown = 20;        // of the variables in an error text
constexpr double kLongestRange = 1e6;  // codes of one range

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string VariableNames(const DataFile& file) {
  const int count = file.NumberOfVariables();
  std::string text;
  for (int v = 1; v <= std::min(count, kNamesShown); ++v) {
    if (v > 1) text += ", ";
    text += file.getvn5(v);
  }
  if (count > kNamesShown) text += ", ... (" + std::to_string(count) + " in all)";
  return text;
}

/// Resolves members of variable lists; names are hashed once per answer.
class VariableReader {
 public:
  explicit VariableReader(const DataFile& file) : file_(file) {
    for (int v = file.NumberOfVariables(); v >= 1; --v) numbers_[file.getvn5(v)] = v;
  }

  /// Appends what a name, number or range stands for.
  bool Append(const ListMember& member, std::vector<int>& list, std::string& error) const {
    if (member.kind == Kind::name) {
      const auto found = numbers_.find(member.name);
      if (found == numbers_.end()) {
        error =
            "unknown variable " + Quoted(member.name) + "; the file has " + VariableNames(file_);
        return false;
      }
      AddOnce(found->second, list);
      return true;
    }
    const double last = member.kind == Kind::range ? member.upper : member.number;
    for (const double number : {member.number, last}) {
      if (number != std::floor(number) || number < 1 || number > file_.NumberOfVariables()) {
        error = "there is no variable number " + ShortestText(number) + "; the file has 1 to " +
                std::to_string(file_.NumberOfVariables()) +
                " (a name that reads as a number stands in double quotes)";
        return false;
      }
    }
    for (int v = static_cast<int>(member.number); v <= last; ++v) AddOnce(v, list);
    return true;
  }

  static void AddOnce(int variable, std::vector<int>& list) {
    if (std::ranges::find(list, variable) == list.end()) list.push_back(variable);
  }

 private:
  const DataFile& file_;
  std::unordered_map<std::string, int> numbers_;  // of two equal names the first variable's
};

bool StandsAlone(std::span<const ListMember> members, Kind kind, bool& found, std::string& error) {
  found = std::ranges::any_of(members, [kind](const ListMember& m) { return m.kind == kind; });
  if (!found || members.size() == 1) return true;
  error = std::string(kind == Kind::all ? "*" : "None") +
          " stands alone in its list (as a name it stands in double quotes)";
  return false;
}

std::string Captions(std::span<const std::string> captions) {
  std::string text;
  for (const std::string& caption : captions) {
    if (!text.empty()) text += " | ";
    const std::size_t end = caption.find_last_not_of(" :");
    text += caption.substr(0, end == std::string::npos ? 0 : end + 1);
  }
  return text;
}

}  // namespace

bool ReadVariableLists(std::string_view text, std::span<const std::string> captions,
                       bool leadingEmpty, const AnswerNames& names,
                       std::vector<std::vector<int>>& lists, std::string& error) {
  std::vector<std::vector<ListMember>> parsed;
  if (!ParseListText(text, parsed, error)) return false;
  if (leadingEmpty && parsed.size() == captions.size() + 1) {
    bool none = false;
    if (!StandsAlone(parsed.front(), Kind::none, none, error)) return false;
    if (!none && !parsed.front().empty()) {
      error = "the first list must be empty here; the others are " + Captions(captions);
      return false;
    }
    parsed.erase(parsed.begin());
  }
  if (parsed.size() != captions.size()) {
    error = "has " + std::to_string(parsed.size()) + " lists where " +
            std::to_string(captions.size()) + " are needed: " + Captions(captions);
    return false;
  }

  const VariableReader reader(*names.file);
  std::vector<std::vector<int>> read(parsed.size());
  std::vector<std::size_t> takeAll;
  for (std::size_t list = 0; list < parsed.size(); ++list) {
    bool none = false, all = false;
    if (!StandsAlone(parsed[list], Kind::none, none, error) ||
        !StandsAlone(parsed[list], Kind::all, all, error))
      return false;
    if (all) takeAll.push_back(list);
    if (all || none) continue;
    for (const ListMember& member : parsed[list]) {
      if (!reader.Append(member, read[list], error)) return false;
    }
  }
  if (!takeAll.empty()) {
    std::vector<char> named(static_cast<std::size_t>(names.file->NumberOfVariables()) + 1, 0);
    for (const std::vector<int>& list : read) {
      for (const int v : list) named[static_cast<std::size_t>(v)] = 1;
    }
    for (const std::size_t list : takeAll) {
      for (int v = 1; v <= names.file->NumberOfVariables(); ++v) {
        if (!named[static_cast<std::size_t>(v)]) read[list].push_back(v);
      }
    }
  }
  lists = std::move(read);
  return true;
}

bool ReadVariable(std::string_view text, const AnswerNames& names, int& variable,
                  std::string& error) {
  std::vector<std::vector<ListMember>> parsed;
  if (!ParseListText(text, parsed, error)) return false;
  if (parsed.size() != 1 || parsed[0].size() != 1 ||
      (parsed[0][0].kind != Kind::name && parsed[0][0].kind != Kind::number)) {
    error = "one variable is needed, by name or number; the file has " + VariableNames(*names.file);
    return false;
  }
  std::vector<int> list;
  if (!VariableReader(*names.file).Append(parsed[0][0], list, error)) return false;
  variable = list[0];
  return true;
}

bool ReadCodes(std::span<const ListMember> members, int variable, const CodeBounds& bounds,
               const AnswerNames& names, std::vector<double>& codes, std::string& error) {
  bool all = false;
  if (!StandsAlone(members, Kind::all, all, error)) return false;
  if (all) return true;
  const std::string of = " of " + names.file->getvn5(variable);
  std::vector<double> read;
  const auto addOnce = [&read](double code) {
    if (std::ranges::find(read, code) == read.end()) read.push_back(code);
  };
  for (const ListMember& member : members) {
    double first = member.number, last = member.number;
    if (member.kind == Kind::none) {
      error = "None is no code" + of;
      return false;
    }
    if (member.kind == Kind::name) {
      if (!names.codeOfLabel || !names.codeOfLabel(variable, member.name, first)) {
        error = Quoted(member.name) + " is no label" + of;
        return false;
      }
      last = first;
    } else if (member.kind == Kind::range) {
      last = member.upper;
    }
    if (first < bounds.lowest || last > bounds.highest || last - first > kLongestRange) {
      error = "a code" + of + " lies between " + ShortestText(bounds.lowest) + " and " +
              ShortestText(bounds.highest);
      return false;
    }
    for (double code = first; code <= last; code += 1) addOnce(code);
  }
  if (read.size() < bounds.minimum || read.size() > bounds.maximum) {
    error = std::to_string(read.size()) + " codes" + of + "; " + std::to_string(bounds.minimum) +
            " to " + std::to_string(bounds.maximum) + " are needed (* takes them as they stand)";
    return false;
  }
  codes = std::move(read);
  return true;
}

namespace {

std::string OnePerRow(std::string_view what, std::span<const std::string> rows) {
  std::string text =
      std::to_string(rows.size()) + ' ' + std::string(what) + " are needed, one for each of: ";
  for (std::size_t i = 0; i < rows.size(); ++i) text += (i > 0 ? ", " : "") + rows[i];
  return text;
}

}  // namespace

bool ReadTexts(std::string_view text, std::span<const std::string> rows,
               std::vector<std::string>& texts, std::string& error) {
  std::vector<std::vector<ListMember>> parsed;
  if (!ParseListText(text, parsed, error)) return false;
  const bool values = parsed.size() == 1 && std::ranges::all_of(parsed[0], [](const auto& m) {
                        return m.kind == Kind::number || m.kind == Kind::name;
                      });
  if (!values || parsed[0].size() != rows.size()) {
    error = OnePerRow("values", rows);
    return false;
  }
  texts.clear();
  for (const ListMember& member : parsed[0])
    texts.push_back(member.kind == Kind::number ? ShortestText(member.number) : member.name);
  return true;
}

bool ReadValues(std::string_view text, std::span<const std::string> rows, std::span<double> values,
                std::string& error) {
  std::vector<std::vector<ListMember>> parsed;
  if (!ParseListText(text, parsed, error)) return false;
  const bool numbers = parsed.size() == 1 && std::ranges::all_of(parsed[0], [](const auto& m) {
                         return m.kind == Kind::number;
                       });
  if (!numbers || parsed[0].size() != rows.size()) {
    error = OnePerRow("numbers", rows);
    return false;
  }
  for (std::size_t i = 0; i < rows.size(); ++i) values[i] = parsed[0][i].number;
  return true;
}

bool ReadValue(std::string_view text, int variable, double lowest, double highest,
               const AnswerNames& names, double& value, std::string& error) {
  std::vector<std::vector<ListMember>> parsed;
  std::string ignored;
  const bool quoted = ParseListText(text, parsed, ignored) && parsed.size() == 1 &&
                      parsed[0].size() == 1 && parsed[0][0].quoted;
  double number = 0;
  const bool isNumber = !quoted && TextToDouble(text, number);
  if (isNumber && number >= lowest && number <= highest) {
    value = number;
    return true;
  }
  std::string_view label = quoted ? std::string_view(parsed[0][0].name) : text;
  while (!label.empty() && label.front() == ' ') label.remove_prefix(1);
  while (!label.empty() && label.back() == ' ') label.remove_suffix(1);
  if (variable >= 1 && names.codeOfLabel && names.codeOfLabel(variable, label, value)) return true;
  error = Quoted(text) + " is neither a number from " + ShortestText(lowest) + " to " +
          ShortestText(highest) +
          (variable >= 1 ? " nor a label of " + names.file->getvn5(variable) : std::string());
  return false;
}

}  // namespace qrvml
