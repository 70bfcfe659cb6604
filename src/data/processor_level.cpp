#include "data/processor_level.h"

#include <algorithm>

namespace qrvml {

int ProcessorLevel() {
  // The features a level added last; no processor has them without the level's others.
  static const int level = [] {
    const bool v3[] = {__builtin_cpu_supports("avx2") != 0, __builtin_cpu_supports("fma") != 0,
                       __builtin_cpu_supports("bmi") != 0, __builtin_cpu_supports("bmi2") != 0};
    const bool v4[] = {
        __builtin_cpu_supports("avx512f") != 0, __builtin_cpu_supports("avx512bw") != 0,
        __builtin_cpu_supports("avx512cd") != 0, __builtin_cpu_supports("avx512dq") != 0,
        __builtin_cpu_supports("avx512vl") != 0};
    const auto hasAll = [](const auto& features) {
      return std::ranges::all_of(features, [](bool has) { return has; });
    };
    if (!hasAll(v3)) return 2;
    return hasAll(v4) ? 4 : 3;
  }();
  return level;
}

}  // namespace qrvml
