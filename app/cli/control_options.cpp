#include "cli/control_options.h"

#include <algorithm>
#include <array>

#include "documents/display_width.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }

// Controls that others depend on, first things first; all other controls follow in table order.
constexpr std::array<std::string_view, 14> kFirstApplied = {
    "Variables",      "ResponseCodes",           "PredictorCodes",
    "ApplySampling",  "UseRandomSampling",       "UseSubsetvariable",
    "UseFirstNCases", "Sample.Variable",         "AnalysisAndCrossValidationSamples",
    "Sample.Code",    "CodeForLearningSample",   "CodeForPrototypeSample",
    "Sample.Active",  "UseCrossvalidationSample"};

struct KindName {
  ControlKind kind;
  std::string_view text;
};
constexpr KindName kKindNames[] = {
    {ControlKind::check, "check box"}, {ControlKind::radio, "radio button"},
    {ControlKind::integer, "integer"}, {ControlKind::real, "number"},
    {ControlKind::text, "text"},       {ControlKind::choice, "list position from 0"},
    {ControlKind::pick, "list text"},  {ControlKind::button, "button"},
    {ControlKind::action, "action"},   {ControlKind::note, "shown text"},
};

std::string LabelInGroup(const Control& control) {
  const std::string label = PlainLabel(control.label);
  return control.group.empty() ? label : std::string(control.group) + ": " + label;
}

}  // namespace

std::string KebabCase(std::string_view name) {
  std::string kebab;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const char before = i > 0 ? name[i - 1] : '\0';
    const char after = i + 1 < name.size() ? name[i + 1] : '\0';
    if (c == '.') {
      kebab += '-';
      continue;
    }
    const bool startsWord =
        IsUpper(c) && i > 0 && before != '.' && (!IsUpper(before) || IsLower(after));
    if (startsWord) kebab += '-';
    kebab += IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return kebab;
}

std::string PlainLabel(std::string_view label) {
  std::string plain;
  for (const char c : label) {
    if (c != '&') plain += c;
  }
  plain.erase(plain.find_last_not_of(" :") + 1);
  return plain;
}

std::string RangeText(const Control& control) {
  const Range& range = control.range;
  if (range.lowest == 0 && range.highest == 0 && range.upToText.empty()) return {};
  return ShortestText(range.lowest) + " to " +
         (range.upToText.empty() ? ShortestText(range.highest) : std::string(range.upToText));
}

std::string_view KindText(ControlKind kind) {
  return std::ranges::find(kKindNames, kind, &KindName::kind)->text;
}

std::vector<ControlOption> ControlOptions(std::span<const Control> controls) {
  std::vector<ControlOption> options;
  for (const Control& control : controls) {
    if (!HoldsValue(control.kind)) continue;
    std::string help = LabelInGroup(control);
    if (const std::string range = RangeText(control); !range.empty()) help += " (" + range + ')';
    options.push_back({std::string(control.name), KebabCase(control.name), control.kind, help});
  }
  return options;
}

bool CheckOptionValue(const ControlOption& option, std::string_view value, std::string& error) {
  double number = 0;
  switch (option.kind) {
    case ControlKind::check:
    case ControlKind::radio:
      if (value == "0" || value == "1") return true;
      error = "takes 0 or 1, alone it means 1; not \"" + std::string(value) + '"';
      return false;
    case ControlKind::integer:
    case ControlKind::real:
      if (TextToDouble(value, number)) return true;
      error = "takes a number, not \"" + std::string(value) + '"';
      return false;
    default:
      return true;
  }
}

std::vector<std::pair<std::string, std::string>> InOrderOfApplication(
    const std::map<std::string, std::string>& given, std::span<const ControlOption> options) {
  std::vector<std::pair<std::string, std::string>> ordered;
  const auto apply = [&](std::string_view name) {
    const auto found = given.find(std::string(name));
    if (found != given.end()) ordered.emplace_back(*found);
  };
  for (const std::string_view name : kFirstApplied) apply(name);
  for (const ControlOption& option : options) {
    if (std::ranges::find(kFirstApplied, option.name) == kFirstApplied.end()) apply(option.name);
  }
  return ordered;
}

std::string ControlsText(std::string_view dialog, std::span<const Control> controls) {
  std::vector<std::array<std::string, 4>> rows{{"Name", "Kind", "Range", "Label"}};
  for (const Control& control : controls) {
    std::string label = LabelInGroup(control);
    if (!control.tab.empty()) label = std::string(control.tab) + ": " + label;
    if (!control.IsAutomated()) label += " (outside the automation interface)";
    if (!control.refusal.empty()) label += " (fails: " + std::string(control.refusal) + ')';
    rows.push_back({std::string(control.name), std::string(KindText(control.kind)),
                    RangeText(control), label});
  }
  std::array<std::size_t, 3> widths{};
  for (const auto& row : rows) {
    for (std::size_t c = 0; c < widths.size(); ++c)
      widths[c] = std::max(widths[c], DisplayWidth(row[c]));
  }
  std::string text = std::string(dialog) + '\n';
  for (const auto& row : rows) {
    text += "  ";
    for (std::size_t c = 0; c < widths.size(); ++c)
      text += row[c] + std::string(widths[c] - DisplayWidth(row[c]) + 2, ' ');
    text += row[3] + '\n';
  }
  return text;
}

}  // namespace qrvml
