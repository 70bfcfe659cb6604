// `qrvml knn FILE ...`: one analysis from start to results.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qrvml {

struct AnalysisCommand;

/// The method that a command runs; null when it is none, or none that this version has.
const AnalysisCommand* FindAnalysisCommand(std::string_view command);

/// Runs an analysis with the arguments behind the command's name; returns the exit status.
int RunAnalysisCommand(const AnalysisCommand& kind, std::span<const std::string> arguments);

}  // namespace qrvml
