// `qrvml workbench [DATA]`: the page in a browser.
#pragma once

#include <span>
#include <string>

namespace qrvml {

/// Serves the page until an interrupt; `version` is the program's. The page's address is the first
/// line of the standard output. Returns the exit status: 0 after an interrupt.
int RunWorkbenchCommand(std::span<const std::string> arguments, const std::string& version);

}  // namespace qrvml
