// The words of a command line before they are read: options checked against those that exist, each
// value a word of its own.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace qrvml {

struct OptionWord {
  enum class Takes {
    nothing,    // --dry-run
    value,      // --out DIR
    zeroOrOne,  // --ApplyCrossV: 0 or 1 as next word or behind "=", alone 1
  };
  std::string name;  // with its hyphens
  Takes takes = Takes::value;
};

/// Splits --name=value, gives every zero-or-one option its value. False: `error` names an unknown
/// option (with the nearest that exists), a missing value or a value too many.
bool SplitOptionWords(std::span<const std::string> arguments, std::span<const OptionWord> options,
                      std::vector<std::string>& words, std::string& error);

}  // namespace qrvml
