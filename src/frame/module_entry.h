// What the library is while it is loaded.
#pragma once

#include <string_view>

namespace qrvml {

/// The type library that names the module's automation interfaces.
inline constexpr std::string_view kTypeLibrary = "QRVMachineLearning";

/// The handle of the module's instance: the same for every analysis, never null.
void* ModuleInstance();

}  // namespace qrvml
