// What a workbench is started with.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "server/analysis_thread.h"

namespace qrvml {

struct WorkbenchSettings {
  std::vector<std::filesystem::path> folders;  // that the person named
  AnalysisFactory factory = nullptr;
  std::vector<OfferedKind> kinds;
  int threads = 0;     // 0: all cores
  std::string memory;  // for data; see OpenOptions
  std::string version;
};

}  // namespace qrvml
