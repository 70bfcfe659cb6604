// `qrvml knn FILE ...`: one analysis from start to results.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace qrvml {

struct AnalysisCommand;
class DialogCalls;
class OpenAnalysis;

/// What a command does once the results dialog stands and the steps that were given are done.
struct ResultsTask {
  std::string command;  // in front of the method: "verify"
  std::string help;     // goes before the analysis's own
  /// Returns the exit status.
  std::function<int(OpenAnalysis& analysis, DialogCalls& calls)> run;
};

/// The method that a command runs; null when it is none, or none that this version has.
const AnalysisCommand* FindAnalysisCommand(std::string_view command);

/// Runs an analysis with the arguments behind the command's name; returns the exit status.
/// With a task no document is printed, and no step is done that was not given.
int RunAnalysisCommand(const AnalysisCommand& kind, std::span<const std::string> arguments,
                       const ResultsTask* task = nullptr);

}  // namespace qrvml
