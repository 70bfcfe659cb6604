// The module as the application reaches it: a library in the program's own folder, one factory.
#pragma once

#include <filesystem>
#include <string>

#include "host/analysis_support.h"

namespace qrvml {

/// Loads the library once per process; it stays loaded until the process ends, since automation
/// objects may outlive every analysis.
class ModuleLibrary {
 public:
  /// The factory of libQRVMachineLearning.so in `folder`; null with `error` when it cannot be
  /// loaded or is no such library.
  static AnalysisFactory Load(const std::filesystem::path& folder, std::string& error);
  /// The same in the folder of the running program.
  static AnalysisFactory Load(std::string& error);
};

/// The folder of the running program, links resolved.
std::filesystem::path ProgramFolder();

}  // namespace qrvml
