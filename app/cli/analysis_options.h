// What the command line of one analysis asks for.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_line.h"
#include "cli/control_options.h"
#include "cli/steps.h"
#include "datafile/open_options.h"
#include "documents/document_files.h"

namespace qrvml {

/// One of the methods as the shell knows it.
struct AnalysisKind {
  const char* command;    // "knn"
  const char* title;      // for help texts
  int position;           // in the startup dialog's list
  int specificationStep;  // of the sequence table
  int resultsStep;
};

struct AnalysisOptions {
  OpenOptions open;
  /// Controls and their values in the order of application.
  std::vector<std::pair<std::string, std::string>> puts;
  std::vector<Step> steps;
  std::string out;  // folder; empty: documents go to standard output
  std::vector<const DocumentFormat*> formats;
  int threads = 0;  // 0: all cores
  bool interactive = true;
  bool overwrite = false;  // saved data files may replace existing ones
  bool dryRun = false;
  bool helpControls = false;
};

/// Reads the arguments behind the command's name. `controls` is the specification dialog's table.
/// help: `text` is the help text; wrong: `text` says what is wrong.
ParseOutcome ParseAnalysisOptions(const AnalysisKind& kind, std::span<const Control> controls,
                                  std::span<const std::string> arguments, AnalysisOptions& options,
                                  std::string& text);

}  // namespace qrvml
