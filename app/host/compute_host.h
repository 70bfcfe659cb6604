// How many threads the module's pure arithmetic may use.
#pragma once

#include <algorithm>
#include <thread>

#include "host/services.h"

namespace qrvml {

class ComputeHost final : public ComputeServices {
 public:
  /// 0: all cores.
  explicit ComputeHost(int threads = 0)
      : threads_(threads > 0 ? threads : static_cast<int>(std::thread::hardware_concurrency())) {}

  int WorkerThreads() const override { return std::max(threads_, 1); }

 private:
  int threads_;
};

}  // namespace qrvml
