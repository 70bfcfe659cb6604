#include "datafile/saved_names.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_set>

#include "datafile/whole_file.h"

namespace qrvml {
namespace {

constexpr std::size_t kLongestSavName = 64;  // bytes
constexpr std::string_view kSavPunctuation = "._@#$";
constexpr std::string_view kSavWords[] = {"ALL", "AND", "BY",  "EQ", "GE", "GT",  "LE",
                                          "LT",  "NE",  "NOT", "OR", "TO", "WITH"};
// U+00A0, U+1680, U+2000 to U+200B, U+2028, U+2029, U+202F, U+205F, U+3000, U+FEFF
constexpr std::string_view kBlanks[] = {"\u00A0", "\u1680", "\u2000", "\u2001", "\u2002",
                                        "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
                                        "\u2008", "\u2009", "\u200A", "\u200B", "\u2028",
                                        "\u2029", "\u202F", "\u205F", "\u3000", "\uFEFF"};

bool IsAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

std::string UpperAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

bool IsSavCharacter(char c) {
  return !IsAscii(c) || IsAsciiLetter(c) || (c >= '0' && c <= '9') ||
         kSavPunctuation.find(c) != std::string_view::npos;
}

std::string LegalSavName(std::string name) {
  for (const std::string_view blank : kBlanks) {
    for (std::size_t at; (at = name.find(blank)) != std::string::npos;)
      name.replace(at, blank.size(), "_");
  }
  for (char& c : name) {
    if (!IsSavCharacter(c)) c = '_';
  }
  if (name.empty() || (IsAscii(name[0]) && !IsAsciiLetter(name[0]) && name[0] != '@'))
    name.insert(0, "V_");
  name = CutToBytes(name, kLongestSavName);
  if (name.back() == '.') name.back() = '_';
  if (std::ranges::find(kSavWords, UpperAscii(name)) != std::end(kSavWords)) name += '_';
  return name;
}

}  // namespace

std::vector<std::string> DistinctNames(std::span<const std::string> names, bool ignoreCase) {
  const auto key = [ignoreCase](const std::string& name) {
    return ignoreCase ? UpperAscii(name) : name;
  };
  // A numbered name must not be one that a variable has of its own.
  std::unordered_set<std::string> own, taken;
  for (const std::string& name : names) own.insert(key(name));
  std::vector<std::string> distinct;
  for (const std::string& name : names) {
    std::string made = name;
    const bool isFirst = !taken.contains(key(name));
    for (int number = 2; !isFirst && (taken.contains(key(made)) || own.contains(key(made)));)
      made = name + " (" + std::to_string(number++) + ')';
    taken.insert(key(made));
    distinct.push_back(std::move(made));
  }
  return distinct;
}

std::vector<std::string> SavNames(std::span<const SavedVariable> variables) {
  std::unordered_set<std::string> taken;
  std::vector<std::string> names(variables.size());
  for (const bool legal : {true, false}) {
    for (std::size_t v = 0; v < variables.size(); ++v) {
      if (!names[v].empty()) continue;
      const std::string name = LegalSavName(variables[v].about.name);
      if (legal && name != variables[v].about.name) continue;
      if (legal && taken.contains(UpperAscii(name))) continue;
      std::string made = name;
      for (int number = 2; taken.contains(UpperAscii(made)); ++number) {
        const std::string suffix = '_' + std::to_string(number);
        made = std::string(CutToBytes(name, kLongestSavName - suffix.size())) + suffix;
      }
      taken.insert(UpperAscii(made));
      names[v] = std::move(made);
    }
  }
  return names;
}

void NoteRenamed(std::span<const SavedVariable> variables, std::span<const std::string> names,
                 std::vector<std::string>& changes) {
  constexpr std::size_t kTold = 5;
  std::string text;
  std::size_t renamed = 0;
  for (std::size_t v = 0; v < names.size(); ++v) {
    if (names[v] == variables[v].about.name) continue;
    if (++renamed > kTold) continue;
    text += (renamed > 1 ? ", \"" : "\"") + variables[v].about.name + "\" is " + names[v];
  }
  if (renamed == 0) return;
  if (renamed > kTold) text += " and " + std::to_string(renamed - kTold) + " more";
  changes.push_back("names were made fit for the format: " + text);
}

}  // namespace qrvml
