#include "cli/steps.h"

namespace qrvml {
namespace {

constexpr std::string_view kPress = "press:";
constexpr std::string_view kNameCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

/// Cuts at commas and semicolons outside double quotes.
std::vector<std::string_view> Cut(std::string_view text) {
  std::vector<std::string_view> pieces;
  bool quoted = false;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') quoted = !quoted;
    if (quoted || (text[at] != ',' && text[at] != ';')) continue;
    pieces.push_back(text.substr(begin, at - begin));
    begin = at + 1;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

/// The value behind "=", its quotes taken off.
bool ReadStepValue(std::string_view text, std::string& value, std::string& error) {
  if (text.empty() || text.front() != '"') {
    if (text.find_first_of(" \t\"") == std::string_view::npos) {
      value = text;
      return true;
    }
    error = "a value with blanks stands in double quotes";
    return false;
  }
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] != '"') {
      value += text[at];
    } else if (at + 1 < text.size() && text[at + 1] == '"') {
      value += '"';
      ++at;
    } else if (at + 1 == text.size()) {
      return true;
    } else {
      error = "something follows the value's closing quote";
      return false;
    }
  }
  error = "the double quote is not closed";
  return false;
}

bool ReadStep(std::string_view text, Step& step, std::string& error) {
  step.text = text;
  std::string_view name = text;
  if (const std::size_t equals = text.find('='); equals != std::string_view::npos) {
    step.kind = Step::Kind::put;
    name = Trim(text.substr(0, equals));
    if (!ReadStepValue(Trim(text.substr(equals + 1)), step.value, error)) return false;
  } else if (text.ends_with('?')) {
    step.kind = Step::Kind::print;
    name = Trim(text.substr(0, text.size() - 1));
  } else if (text.starts_with(kPress)) {
    step.kind = Step::Kind::press;
    name = Trim(text.substr(kPress.size()));
  }
  step.name = name;
  if (!name.empty() && name.find_first_not_of(kNameCharacters) == std::string_view::npos)
    return true;
  error = "a step is Action, Property=value, Property? or press:NAME";
  return false;
}

}  // namespace

bool ParseSteps(std::string_view text, std::vector<Step>& steps, std::string& error) {
  if (Trim(text).empty()) return true;
  std::vector<Step> parsed;
  for (const std::string_view piece : Cut(text)) {
    Step step;
    if (!ReadStep(Trim(piece), step, error)) {
      error = '"' + std::string(Trim(piece)) + "\": " + error;
      return false;
    }
    parsed.push_back(std::move(step));
  }
  steps.insert(steps.end(), parsed.begin(), parsed.end());
  return true;
}

}  // namespace qrvml
