// Numbers as generated texts write them: printf's formats in the C locale, whatever locale the
// process has, and fast enough for texts of a hundred megabytes.
#pragma once

#include <string>

namespace qrvml {

/// Room that any number needs in any of the formats.
inline constexpr std::size_t kLongestNumber = 328;

/// "%g": at most six significant digits, exactly rounded. Writes to `out`, returns the end.
char* WriteGeneral(char* out, double value);
/// "%f": six decimals, exactly rounded.
char* WriteFixed(char* out, double value);

std::string GeneralText(double value);

}  // namespace qrvml
