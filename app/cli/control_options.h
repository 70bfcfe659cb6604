// A dialog's table of controls as options of the shell, help texts and the order in which what was
// given is applied.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/control.h"

namespace qrvml {

/// A control with a value, as an option.
struct ControlOption {
  std::string name;   // of the control
  std::string kebab;  // the same in kebab-case
  ControlKind kind = ControlKind::check;
  std::string help;  // label and range
};

/// "KNearestNeighbors" -> "k-nearest-neighbors", "Sample.Code" -> "sample-code".
std::string KebabCase(std::string_view name);

/// A label without access key and colon.
std::string PlainLabel(std::string_view label);
/// "1 to N", "0.001 to 99.999"; empty for a control without a range.
std::string RangeText(const Control& control);
/// "check box", "number", ...
std::string_view KindText(ControlKind kind);

/// The controls that hold a value, in table order.
std::vector<ControlOption> ControlOptions(std::span<const Control> controls);

/// Whether `value` can be put into a control of that kind at all; false: `error` says what it
/// takes.
bool CheckOptionValue(const ControlOption& option, std::string_view value, std::string& error);

/// The values given by control name, in the order in which they are applied: variables, codes,
/// sampling mode, sample, then the rest in table order.
std::vector<std::pair<std::string, std::string>> InOrderOfApplication(
    const std::map<std::string, std::string>& given, std::span<const ControlOption> options);

/// Every control with name, kind, range and label, as a table for a terminal.
std::string ControlsText(std::string_view dialog, std::span<const Control> controls);

}  // namespace qrvml
