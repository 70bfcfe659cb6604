// One decision function: sum over cases of coefficient * K(x, x_case) - rho.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/kernel_store.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_types.h"

namespace qrvml {

struct DecisionFunction {
  HostArray<double> coefficients;  // per case
  double rho = 0;
};

/// The part of a problem that one decision function separates or fits.
struct DecisionProblem {
  std::span<const SVMNodeList> cases;
  std::span<const double> targets;  // of a classification: > 0 for the first class
  double positiveC = 0;             // C classification: the weighted C of the two classes
  double negativeC = 0;
  SharedKernel shared;
};

/// Trains it as parameters.svmType says, prints its figures and publishes them in `state`. Throws
/// MemoryRefused, Cancelled, NumericFault.
DecisionFunction TrainDecisionFunction(const DecisionProblem& problem,
                                       const SVMParameters& parameters, SVMSolverState& state,
                                       SolverTeam& team, SolverPace& pace);

}  // namespace qrvml
