// From a script's text to its compact form.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "qvb/program.h"
#include "qvb/script_object.h"

namespace qrvml {

/// Compiles a script with the files that it includes. `name` is what errors call it. Names of the
/// host are bound now. Throws ScriptError for the first fault of the text.
std::shared_ptr<const Program> CompileScript(const std::string& name, std::string_view text,
                                             const HostNames& host);

}  // namespace qrvml
