// How fast a text is made, and in how much memory.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "harness.h"

namespace bench {

/// A number of the process's own status, in MiB.
inline double StatusMegabytes(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::atof(line.c_str() + std::strlen(field) + 1) / 1024;
  }
  return 0;
}

/// Makes a text several times; prints times, speed, and memory against the text's size.
inline void MeasureText(const char* name, const std::function<std::string()>& make) {
  std::vector<double> seconds;
  double megabytes = 0, peak = 0;
  for (int round = -1; round < kRounds; ++round) {
    std::ofstream("/proc/self/clear_refs") << '5';  // the high-water mark starts anew
    const double before = StatusMegabytes("VmRSS:");
    std::string text;
    const double taken = Seconds([&] { text = make(); });
    megabytes = double(text.size()) / 1e6;
    peak = std::max(peak, (StatusMegabytes("VmHWM:") - before) * 1.048576);
    if (round >= 0) seconds.push_back(taken);
  }
  std::printf("  %-5s", name);
  for (const double s : seconds) std::printf(" %7.4f", s);
  std::printf("  median %.4f s, %.1f MB of text, %.0f MB/s; peak %.2f times the text\n",
              Median(seconds), megabytes, megabytes / Median(seconds), peak / megabytes);
}

}  // namespace bench
