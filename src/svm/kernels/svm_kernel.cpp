#include "svm/kernels/svm_kernel.h"

#include <algorithm>
#include <iterator>

namespace qrvml {
namespace {

int ProcessorLevel() {
  // The features a level added last; no processor has them without the level's others.
  const bool v3[] = {__builtin_cpu_supports("avx2") != 0, __builtin_cpu_supports("fma") != 0,
                     __builtin_cpu_supports("bmi") != 0, __builtin_cpu_supports("bmi2") != 0};
  const bool v4[] = {
      __builtin_cpu_supports("avx512f") != 0, __builtin_cpu_supports("avx512bw") != 0,
      __builtin_cpu_supports("avx512cd") != 0, __builtin_cpu_supports("avx512dq") != 0,
      __builtin_cpu_supports("avx512vl") != 0};
  const auto all = [](const auto& features) {
    return std::all_of(std::begin(features), std::end(features), [](bool has) { return has; });
  };
  if (!all(v3)) return 2;
  return all(v4) ? 4 : 3;
}

}  // namespace

const SvmKernel& SvmKernelFor(int level) {
  static const int processor = ProcessorLevel();
  level = std::min(level, processor);
  if (level >= 4) return kSvmKernelV4;
  return level == 3 ? kSvmKernelV3 : kSvmKernelV2;
}

}  // namespace qrvml
