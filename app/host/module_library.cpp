#include "host/module_library.h"

#include <dlfcn.h>

namespace qrvml {
namespace {

constexpr const char* kLibraryName = "libQRVMachineLearning.so";

}  // namespace

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

AnalysisFactory ModuleLibrary::Load(const std::filesystem::path& folder, std::string& error) {
  const std::filesystem::path file = folder / kLibraryName;
  if (!std::filesystem::exists(file)) {
    error = "the analysis module is missing: " + std::string(kLibraryName) + " is expected in " +
            folder.string();
    return nullptr;
  }
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    error = std::string("the analysis module cannot be loaded: ") + dlerror();
    return nullptr;
  }
  void* factory = dlsym(library, kAnalysisFactoryName);
  if (factory == nullptr) {
    error = file.string() + " is no analysis module: it has no " + kAnalysisFactoryName;
    dlclose(library);
    return nullptr;
  }
  return reinterpret_cast<AnalysisFactory>(factory);
}

AnalysisFactory ModuleLibrary::Load(std::string& error) { return Load(ProgramFolder(), error); }

}  // namespace qrvml
