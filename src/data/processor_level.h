// Which of the kernels, compiled for several processor levels, runs on this machine.
#pragma once

namespace qrvml {

/// The x86-64 level of this processor as far as kernels exist for it: 2, 3 or 4.
int ProcessorLevel();

}  // namespace qrvml
