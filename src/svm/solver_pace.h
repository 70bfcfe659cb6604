// When the solver asks whether it was cancelled.
#pragma once

#include <cstdint>

#include "host/string_table.h"
#include "svm/svm_types.h"

namespace qrvml {

/// Asks state.poll after every state.workBetweenPolls of work, on the calling thread.
class SolverPace {
 public:
  explicit SolverPace(const SVMSolverState& state) : state_(state) {}

  /// True: cancelled; stays so. `work` is about the multiplications done since the last call.
  bool Spend(std::int64_t work) {
    pending_ += work;
    if (pending_ < state_.workBetweenPolls || cancelled_) return cancelled_;
    pending_ = 0;
    cancelled_ = state_.poll && state_.poll();
    return cancelled_;
  }
  /// The same; throws Cancelled.
  void Check(std::int64_t work) {
    if (Spend(work)) throw Cancelled();
  }

 private:
  const SVMSolverState& state_;
  std::int64_t pending_ = 0;
  bool cancelled_ = false;
};

}  // namespace qrvml
