#include "frame/module_entry.h"

#include <new>

#include "frame/machine_learning.h"

namespace qrvml {

void* ModuleInstance() {
  static int instance = 0;
  return &instance;
}

}  // namespace qrvml

/// The library's only export: a new analysis without a document, null when memory runs out.
extern "C" __attribute__((visibility("default"))) qrvml::CAnalysisSupport* Tvx6NewAnalysis() {
  return new (std::nothrow) qrvml::MachineLearning(nullptr);
}
