// Sequential minimal optimisation of one decision function:
//
//     minimise 1/2 a'Qa + b'a   subject to   y'a = constant, 0 <= a_t <= bound of y_t,
//     Q_ts = y_t y_s K(x_t, x_s)
//
// Instead of the gradient G = Qa + b the solver keeps f_t = y_t G_t, in which both signs of y look
// alike: a step along y_i and against y_j changes f_t by K_ti d_i + K_tj d_j, the variable that
// most wants to go up has the least f, the one that most wants to go down the greatest, and the
// problem is solved when the second exceeds the first by less than the accuracy.
//
// Variables are known by position; shrinking moves those that are out of work behind the others.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/kernel_matrix.h"
#include "svm/kernels/svm_kernel.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_types.h"

namespace qrvml {

struct OptimisationProblem {
  HostArray<double> alpha;   // per variable: where to start; receives the solution
  HostArray<double> b;       // per variable: linear term
  HostArray<signed char> y;  // per variable: +1 or -1
  double positiveBound = 0;  // of a where y = +1
  double negativeBound = 0;
  bool nu = false;          // pairs are chosen within one class
  bool twoPerCase = false;  // variables t and t + cases share the case t: regression
};

struct OptimisationResult {
  double objective = 0;
  double rho = 0;
  double r = 0;  // nu variant
};

class PairOptimiser {
 public:
  PairOptimiser(OptimisationProblem& problem, const SVMParameters& parameters, KernelMatrix& matrix,
                SVMSolverState& state, SolverTeam& team, SolverPace& pace);

  /// Solves, or stops at state.maxIterations. Throws MemoryRefused, Cancelled, NumericFault.
  OptimisationResult Solve();

 private:
  struct Step {  // what a pair's new values add to f
    KernelMatrix::Column first;
    KernelMatrix::Column second;
    double firstChange = 0;
    double secondChange = 0;
  };

  /// The ends that one thread found, on a cache line of its own.
  struct alignas(64) PartEnds {
    PairEnds ends[2];
  };

  double y(std::int32_t t) const {
    return (status_[std::size_t(t)] & kNegativeClass) != 0 ? -1 : 1;
  }
  double Bound(std::int32_t t) const {
    return y(t) > 0 ? problem_.positiveBound : problem_.negativeBound;
  }
  double Alpha(std::int32_t t) const { return problem_.alpha[std::size_t(t)]; }
  double G(std::int32_t t) const { return y(t) * f_[std::size_t(t)]; }
  bool IsFree(std::int32_t t) const { return Alpha(t) > 0 && Alpha(t) < Bound(t); }
  std::int32_t CaseOf(std::int32_t t) const {
    return problem_.twoPerCase ? case_[std::size_t(t)] : t;
  }
  int ends() const { return problem_.nu ? 2 : 1; }

  void Start();
  void Shrink();
  bool Leaves(std::int32_t t, const PairEnds* thresholds) const;
  /// Brings f of the inactive variables up to date.
  void Rebuild();
  void CutActiveSet(const PairEnds* thresholds);
  void ReturnVariables(const PairEnds* thresholds);
  void SwapVariables(std::int32_t a, std::int32_t b);

  double Violation() const;
  bool SelectPair(std::int32_t* i, std::int32_t* j) const;
  void Choose();
  void Optimise(std::int32_t i, std::int32_t j);
  /// Adds the step to f of the active variables and chooses the next pair.
  void Apply(const Step& step);
  void MoveStatus(std::int32_t t);
  void CheckFinite(std::int32_t count) const;

  double GenericRho() const;
  double ClassLevel(bool negative) const;
  OptimisationResult Result();
  void Print(std::string_view text) const;

  OptimisationProblem& problem_;
  const double accuracy_;
  const bool shrinking_;
  KernelMatrix& matrix_;
  SVMSolverState& state_;
  SolverTeam& team_;
  SolverPace& pace_;

  std::int32_t variables_;
  std::int32_t active_;
  bool hasReturned_ = false;  // variables came back once: it is done once at most
  PairEnds ends_[2] = {};     // of the active variables; of y = +1 and -1 in the nu variant
  HostArray<double> f_;
  HostArray<std::uint8_t> status_;
  HostArray<std::int32_t> order_;   // per position: the caller's variable
  HostArray<std::int32_t> case_;    // per position, with two variables per case
  HostArray<std::int32_t> source_;  // per position, while swapping: where its variable came from
  HostArray<std::int32_t> place_;   // the same in the columns where they are rows of a store,
  HostArray<double> change_;        // else per case: what a step adds to f
  HostArray<PartEnds> found_;       // per thread
  HostArray<double> sums_;          // per case: used by Rebuild
  HostArray<std::int32_t> listed_;
  HostArray<double> factors_;
};

/// Writes a diagnostic text to state.print, or to standard output, which "." and "*" flush.
void PrintDiagnostic(const SVMSolverState& state, std::string_view text);
/// Writes a warning to state.warn, or to standard error.
void WarnDiagnostic(const SVMSolverState& state, std::string_view text);

}  // namespace qrvml
