// `qrvml verify METHOD FILE ...`: whether the generated texts of an analysis predict what they say.
#pragma once

#include <span>
#include <string>

namespace qrvml {

/// Runs the command with the arguments behind its name; returns the exit status: 1 when a text says
/// something else than the engine, or predicts something else than it says.
int RunVerifyCommand(std::span<const std::string> arguments);

}  // namespace qrvml
