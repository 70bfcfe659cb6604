#include "svm/kernels/svm_kernel.h"

#include <algorithm>

#include "data/processor_level.h"

namespace qrvml {

const SvmKernel& SvmKernelFor(int level) {
  level = std::min(level, ProcessorLevel());
  if (level >= 4) return kSvmKernelV4;
  return level == 3 ? kSvmKernelV3 : kSvmKernelV2;
}

}  // namespace qrvml
