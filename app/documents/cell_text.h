// Texts of tables and graphs that every renderer writes alike.
#pragma once

#include <string>
#include <string_view>

#include "documents/cells.h"

namespace qrvml {

/// Both lines of a heading as one text, joined by a blank.
std::string JoinedHeading(std::string_view first, std::string_view second);

/// Without blanks, tabs and line ends at both ends.
std::string_view Trimmed(std::string_view text);

/// Appends the shortest digits that read back as the same double; whole numbers up to 2^53 without
/// an exponent, infinities as inf and -inf, nothing for a not-a-number.
void AppendNumber(std::string& out, double value);

}  // namespace qrvml
