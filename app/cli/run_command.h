// The command that replays a macro.
#pragma once

#include <span>
#include <string>

namespace qrvml {

/// Runs "qrvml run" with the arguments behind "run"; the exit status.
int RunMacroCommand(std::span<const std::string> arguments);

}  // namespace qrvml
