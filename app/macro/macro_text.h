// What was done to an analysis, as a script that does it again.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "datafile/open_options.h"
#include "host/automation_host.h"

namespace qrvml {

/// The macro that opens the file as it was opened and then does what was done, in order.
std::string MacroText(const OpenOptions& file, std::span<const RecordedChange> changes);

/// A text as an expression of a script: "say ""yes""", control characters as Chr(n).
std::string TextLiteral(std::string_view text);

}  // namespace qrvml
