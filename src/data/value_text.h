// The text of a value and the tests and clean-ups of values that everything else shares.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/data_file.h"
#include "host/numerics.h"

namespace qrvml {

/// Whether a value is a whole number (halves rounded away from zero give the value back).
inline bool IsIntegral(double value) { return IsEqual(RoundHalfAwayFromZero(value), value); }

struct ValueTextResult {
  std::string text;
  bool isLabel = false;  // the text is a text label of the variable
};

/// The text of a value of a variable (1-based): its label, else its special rendering, else the
/// number; cleaned, trimmed and cut to 20 characters (code points).
ValueTextResult ValueText(const DataFile& file, int variable, double value);

/// The host's clean-up of names: style codes and control characters taken out. Empty stays empty.
std::string CleanName(std::string_view text);

/// Without the blanks (and tabs) on both sides.
std::string_view Trim(std::string_view text);

/// The first `characters` code points of a UTF-8 text.
std::string_view FirstCharacters(std::string_view text, std::size_t characters);

/// A name for people: read from the file, trimmed and cleaned.
std::string VariableName(const DataFile& file, int variable);

}  // namespace qrvml
