// Ctrl-C as a flag.
#pragma once

#include <atomic>

namespace qrvml {

/// From now on the first interrupt sets the flag that is returned; a second one ends the program.
const std::atomic<bool>& CatchInterrupts();

}  // namespace qrvml
