#include <algorithm>
#include <cmath>
#include <vector>

#include "host/numerics.h"
#include "svm/class_groups.h"
#include "svm/svm_solver.h"

namespace qrvml {
namespace {

using Parameters = SVMParameters;

bool UsesC(const Parameters& p) {
  return p.svmType == kCClassification || p.svmType == kEpsilonRegression ||
         p.svmType == kNuRegression;
}
bool UsesNu(const Parameters& p) {
  return p.svmType == kNuClassification || p.svmType == kOneClass || p.svmType == kNuRegression;
}

/// Whether two classes are so unequal that no solution has that nu (Crisp and Burges, A geometric
/// interpretation of nu-SVM classifiers, 2000).
bool NuIsInfeasible(const SVMProblem& problem, const Parameters& p) {
  if (p.svmType != kNuClassification) return false;
  const ClassGroups groups(problem);
  for (std::int32_t i = 0; i < groups.count(); ++i) {
    for (std::int32_t j = i + 1; j < groups.count(); ++j) {
      const std::int32_t first = groups.Size(i);
      const std::int32_t second = groups.Size(j);
      if (p.nu * (double(first) + second) / 2 > std::min(first, second)) return true;
    }
  }
  return false;
}

/// The first test that fails gives its message. A value that is no number fails its test.
struct Test {
  bool (*fails)(const SVMProblem&, const Parameters&);
  const char* message;
};
constexpr Test kTests[] = {
    {[](const SVMProblem&, const Parameters& p) { return p.svmType < 0 || p.svmType > 4; },
     "Unknown SVM type"},
    {[](const SVMProblem&, const Parameters& p) { return p.kernelType < 0 || p.kernelType > 3; },
     "Unknown kernel type"},
    {[](const SVMProblem&, const Parameters& p) { return !(p.cacheSize > 0); },
     "Cache size must be larger than zero."},
    {[](const SVMProblem&, const Parameters& p) { return !(p.stoppingAccuracy > 0); },
     "Accuracy parameter for stopping criteria must be larger than zero."},
    {[](const SVMProblem&, const Parameters& p) { return UsesC(p) && !(p.C > 0); }, "C <= 0"},
    {[](const SVMProblem&, const Parameters& p) { return UsesNu(p) && !(p.nu >= 0 && p.nu <= 1); },
     "Nu parameter must lie in the range (0, 1)"},
    {[](const SVMProblem&, const Parameters& p) {
       return p.svmType == kEpsilonRegression && !(p.epsilon >= 0);
     },
     "Epsilon parameter must be positive."},
    {[](const SVMProblem&, const Parameters& p) { return p.shrinking != 0 && p.shrinking != 1; },
     "shrinking != 0 and shrinking != 1"},
    {NuIsInfeasible,
     "You have specified a value for the Nu parameter which is infeasible. Please carefully check "
     "your settings and try again."},
};

}  // namespace

const char* SvmCheckParameters(const SVMProblem& problem, const SVMParameters& parameters) {
  for (const Test& test : kTests) {
    if (test.fails(problem, parameters)) return test.message;
  }
  return nullptr;
}

}  // namespace qrvml
