// The memory of this process, as the kernel counts it.
#pragma once

#include <fstream>
#include <string>

namespace bench {

/// The largest resident set since the last reset, in MB.
inline double PeakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word == "VmHWM:") {
      double kilobytes = 0;
      status >> kilobytes;
      return kilobytes / 1024;
    }
  }
  return 0;
}
inline void ResetPeakMemory() { std::ofstream("/proc/self/clear_refs") << 5; }

}  // namespace bench
