#include "svm/decision_function.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "host/numerics.h"
#include "svm/pair_optimiser.h"

namespace qrvml {
namespace {

std::string SixDecimals(double value) { return FixedText(value, 6); }

/// What a solver type makes of its cases and of the solution.
struct TypeRules {
  void (*prepare)(const DecisionProblem&, const SVMParameters&, OptimisationProblem&);
  /// Turns the solution into coefficients; may scale result and bounds.
  void (*finish)(const DecisionProblem&, const SVMParameters&, OptimisationProblem&,
                 OptimisationResult&, std::span<double> coefficients, const SVMSolverState&);
};

void Allocate(OptimisationProblem& to, std::size_t variables, double bound) {
  to.alpha.Assign(variables, 0.0);
  to.b.Assign(variables, 0.0);
  to.y.Assign(variables, 1);
  to.positiveBound = to.negativeBound = bound;
}

void SetClasses(const DecisionProblem& from, OptimisationProblem& to) {
  for (std::size_t t = 0; t < from.targets.size(); ++t) {
    to.y[t] = from.targets[t] > 0 ? 1 : -1;
  }
}

double SumOfSizes(std::span<const double> values) {
  double sum = 0;
  for (const double value : values) sum += std::fabs(value);
  return sum;
}

// --- Classification -----------------------------------------------------------------------------

void PrepareC(const DecisionProblem& from, const SVMParameters&, OptimisationProblem& to) {
  Allocate(to, from.cases.size(), 0);
  to.b.Fill(-1.0);
  to.positiveBound = from.positiveC;
  to.negativeBound = from.negativeC;
  SetClasses(from, to);
}

void FinishC(const DecisionProblem& from, const SVMParameters& parameters, OptimisationProblem& to,
             OptimisationResult&, std::span<double> coefficients, const SVMSolverState& state) {
  const double sum = SumOfSizes(to.alpha);
  PrintDiagnostic(state, "nu = " + SixDecimals(sum / (parameters.C * from.cases.size())) + "\n");
  for (std::size_t t = 0; t < coefficients.size(); ++t) coefficients[t] = to.alpha[t] * to.y[t];
}

void PrepareNu(const DecisionProblem& from, const SVMParameters& parameters,
               OptimisationProblem& to) {
  Allocate(to, from.cases.size(), 1);
  to.nu = true;
  SetClasses(from, to);
  double positive = parameters.nu * double(from.cases.size()) / 2;
  double negative = positive;
  for (std::size_t t = 0; t < from.cases.size(); ++t) {
    double& remaining = to.y[t] > 0 ? positive : negative;
    to.alpha[t] = std::min(1.0, remaining);
    remaining -= to.alpha[t];
  }
}

void FinishNu(const DecisionProblem&, const SVMParameters&, OptimisationProblem& to,
              OptimisationResult& result, std::span<double> coefficients, const SVMSolverState&) {
  const double r = result.r;
  for (std::size_t t = 0; t < coefficients.size(); ++t) {
    coefficients[t] = to.alpha[t] * (to.y[t] / r);
  }
  result.rho /= r;
  result.objective /= r * r;
  to.positiveBound = to.negativeBound = 1 / r;
}

// --- One-class ----------------------------------------------------------------------------------

void PrepareOneClass(const DecisionProblem& from, const SVMParameters& parameters,
                     OptimisationProblem& to) {
  const std::size_t l = from.cases.size();
  Allocate(to, l, 1);
  const double wanted = parameters.nu * double(l);
  const auto whole = std::size_t(wanted);
  for (std::size_t t = 0; t < whole; ++t) to.alpha[t] = 1;
  if (whole < l) to.alpha[whole] = wanted - double(whole);
}

void FinishOneClass(const DecisionProblem&, const SVMParameters&, OptimisationProblem& to,
                    OptimisationResult&, std::span<double> coefficients, const SVMSolverState&) {
  std::copy(to.alpha.begin(), to.alpha.end(), coefficients.begin());
}

// --- Regression ---------------------------------------------------------------------------------

void PrepareRegression(const DecisionProblem& from, double bound, double epsilon,
                       OptimisationProblem& to) {
  const std::size_t l = from.cases.size();
  if (2 * l > std::size_t(std::numeric_limits<std::int32_t>::max())) throw MemoryRefused();
  Allocate(to, 2 * l, bound);
  to.twoPerCase = true;
  for (std::size_t t = 0; t < l; ++t) {
    to.b[t] = epsilon - from.targets[t];
    to.b[t + l] = epsilon + from.targets[t];
    to.y[t + l] = -1;
  }
}

void PrepareEpsilon(const DecisionProblem& from, const SVMParameters& parameters,
                    OptimisationProblem& to) {
  PrepareRegression(from, parameters.C, parameters.epsilon, to);
}

void PrepareNuRegression(const DecisionProblem& from, const SVMParameters& parameters,
                         OptimisationProblem& to) {
  PrepareRegression(from, parameters.C, 0, to);
  to.nu = true;
  const std::size_t l = from.cases.size();
  double remaining = parameters.C * parameters.nu * double(l) / 2;
  for (std::size_t t = 0; t < l; ++t) {
    to.alpha[t] = to.alpha[t + l] = std::min(remaining, parameters.C);
    remaining -= to.alpha[t];
  }
}

void Subtract(const OptimisationProblem& to, std::span<double> coefficients) {
  const std::size_t l = coefficients.size();
  for (std::size_t t = 0; t < l; ++t) coefficients[t] = to.alpha[t] - to.alpha[t + l];
}

void FinishEpsilon(const DecisionProblem& from, const SVMParameters& parameters,
                   OptimisationProblem& to, OptimisationResult&, std::span<double> coefficients,
                   const SVMSolverState& state) {
  Subtract(to, coefficients);
  const double sum = SumOfSizes(coefficients);
  PrintDiagnostic(state, "nu = " + SixDecimals(sum / (parameters.C * from.cases.size())) + "\n");
}

void FinishNuRegression(const DecisionProblem&, const SVMParameters&, OptimisationProblem& to,
                        OptimisationResult& result, std::span<double> coefficients,
                        const SVMSolverState& state) {
  Subtract(to, coefficients);
  PrintDiagnostic(state, "epsilon = " + SixDecimals(-result.r) + "\n");
}

constexpr TypeRules kTypes[] = {
    {PrepareC, FinishC},
    {PrepareNu, FinishNu},
    {PrepareOneClass, FinishOneClass},
    {PrepareEpsilon, FinishEpsilon},
    {PrepareNuRegression, FinishNuRegression},
};

}  // namespace

DecisionFunction TrainDecisionFunction(const DecisionProblem& problem,
                                       const SVMParameters& parameters, SVMSolverState& state,
                                       SolverTeam& team, SolverPace& pace) {
  const TypeRules& type = kTypes[parameters.svmType];
  OptimisationProblem optimisation;
  type.prepare(problem, parameters, optimisation);
  KernelMatrix matrix(problem.cases, problem.shared, parameters, state, pace);
  PairOptimiser optimiser(optimisation, parameters, matrix, state, team, pace);
  OptimisationResult result = optimiser.Solve();

  DecisionFunction function;
  function.coefficients.Resize(problem.cases.size());
  type.finish(problem, parameters, optimisation, result, function.coefficients, state);
  function.rho = result.rho;

  std::int32_t support = 0;
  std::int32_t bounded = 0;
  bool finite = std::isfinite(result.rho) && std::isfinite(result.objective);
  for (std::size_t t = 0; t < function.coefficients.size(); ++t) {
    const double coefficient = function.coefficients[t];
    finite = finite && std::isfinite(coefficient);
    if (coefficient == 0) continue;
    ++support;
    const double bound =
        optimisation.y[t] > 0 ? optimisation.positiveBound : optimisation.negativeBound;
    if (std::fabs(coefficient) >= bound) ++bounded;
  }
  if (!finite) throw NumericFault();
  PrintDiagnostic(state, "obj = " + SixDecimals(result.objective) +
                             ", rho = " + SixDecimals(result.rho) + "\n");
  PrintDiagnostic(
      state, "nSV = " + std::to_string(support) + ", nBSV = " + std::to_string(bounded) + "\n");
  state.objective = result.objective;
  state.boundedSupportVectorCount = bounded;
  return function;
}

}  // namespace qrvml
