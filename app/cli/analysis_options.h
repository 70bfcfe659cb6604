// What the command line of one analysis asks for.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_line.h"
#include "cli/control_options.h"
#include "cli/open_analysis.h"
#include "cli/steps.h"
#include "datafile/open_options.h"

namespace qrvml {

struct AnalysisOptions {
  OpenOptions open;
  /// Controls and their values in the order of application.
  std::vector<std::pair<std::string, std::string>> puts;
  std::vector<Step> steps;
  RunOptions run;
  bool dryRun = false;
  bool helpControls = false;
};

/// The options of every command that runs an analysis; `formats` is to be read by ReadFormats.
void AddRunOptions(CommandLine& line, RunOptions& options, std::string& formats);

/// Reads the arguments behind the command's name. `controls` is the specification dialog's table.
/// help: `text` is the help text; wrong: `text` says what is wrong.
ParseOutcome ParseAnalysisOptions(const AnalysisCommand& kind, std::span<const Control> controls,
                                  std::span<const std::string> arguments, AnalysisOptions& options,
                                  std::string& text);

}  // namespace qrvml
