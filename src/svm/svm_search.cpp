// The choice of C and epsilon by cross-validation over a grid.

#include <algorithm>
#include <string>

#include "host/analysis_support.h"
#include "host/string_table.h"
#include "svm/fold_trainings.h"
#include "svm/svm_engine.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

/// Points of a grid from minimum on; its maximum is not one of them.
std::int32_t GridPoints(double minimum, double maximum, double delta) {
  if (delta == 0) return 1;
  const double points = (maximum - minimum) / delta;
  return points >= 1.0 ? static_cast<std::int32_t>(std::min(points, 2147483647.0)) : 0;
}

/// Which values of the grid a solver type reads, by SVMType.
struct GridUse {
  bool C;
  bool epsilon;
};
constexpr GridUse kGridUses[] = {
    {true, false}, {false, false}, {false, false}, {true, true}, {true, false}};

}  // namespace

void SVMEngine::SearchSvmParameters(bool silent) {
  HostArray<std::int32_t> permutation(lists_.size(), -1);
  try {
    ShuffleProblem(silent, permutation);
    SearchGrid(silent);
  } catch (...) {
    RestoreProblem(permutation);
    throw;
  }
  RestoreProblem(permutation);
}

void SVMEngine::ShuffleProblem(bool silent, HostArray<std::int32_t>& permutation) {
  if (!silent) ShowStatus(GetResourceString(352));
  const auto l = static_cast<std::int32_t>(lists_.size());
  for (std::int32_t i = 0; i < l;) {
    const double draw = Host().random->rnd_(crossValidationSeed);
    const std::int32_t r = std::min(l - 1, static_cast<std::int32_t>(draw * l));
    const auto first = static_cast<std::size_t>(i);
    const auto second = static_cast<std::size_t>(r);
    if (permutation[first] != -1) {
      ++i;
      continue;
    }
    // r is an element of the permutation exactly when r has been exchanged.
    if (permutation[second] != -1) continue;
    std::swap(lists_[first], lists_[second]);
    std::swap(targets_[first], targets_[second]);
    permutation[first] = r;
    permutation[second] = i;
    if (!silent && Host().progress->pcancel() != 0) throw Cancelled();
    ++i;
  }
  if (!silent) ShowStatus(GetResourceString(353));
}

void SVMEngine::RestoreProblem(const HostArray<std::int32_t>& permutation) {
  for (std::size_t i = 0; i < permutation.size(); ++i) {
    const std::int32_t r = permutation[i];
    if (r <= static_cast<std::int32_t>(i)) continue;  // the other of the two, or none
    std::swap(lists_[i], lists_[static_cast<std::size_t>(r)]);
    std::swap(targets_[i], targets_[static_cast<std::size_t>(r)]);
  }
}

void SVMEngine::SearchGrid(bool silent) {
  double chosenC = parameters.C;
  double chosenEpsilon = parameters.epsilon;
  bestError = std::numeric_limits<double>::max();
  bestAccuracy = 0;
  if (!silent) ShowStatus(GetResourceString(354));
  const std::int32_t pointsC = GridPoints(minimumC, maximumC, deltaC);
  const std::int32_t pointsEpsilon = GridPoints(minimumEpsilon, maximumEpsilon, deltaEpsilon);
  if (pointsC == 0 || pointsEpsilon == 0) return;
  // A value that the type does not read would train the models of the point before again.
  const GridUse use = kGridUses[parameters.svmType];
  const std::int64_t trainedC = use.C ? pointsC : 1;
  const std::int64_t trainedEpsilon = use.epsilon ? pointsEpsilon : 1;
  FoldTrainings trainings(
      problem, parameters, folds, trainedC * trainedEpsilon,
      [&](std::int64_t point) {
        const std::int64_t a = point / trainedEpsilon;
        const std::int64_t b = point % trainedEpsilon;
        return FoldTrainings::Point{static_cast<double>(a) * deltaC + minimumC,
                                    static_cast<double>(b) * deltaEpsilon + minimumEpsilon};
      },
      solver);
  double result = 0;
  for (std::int32_t a = 0; a < pointsC; ++a) {
    for (std::int32_t b = 0; b < pointsEpsilon; ++b) {
      if (a < trainedC && b < trainedEpsilon) {
        result = CrossValidateSvm(trainings, silent);
      } else {
        PassFolds(silent);
      }
      const bool better = IsClassification() ? result > bestAccuracy : result < bestError;
      if (!better) continue;
      (IsClassification() ? bestAccuracy : bestError) = result;
      chosenC = a * deltaC + minimumC;
      chosenEpsilon = b * deltaEpsilon + minimumEpsilon;
    }
  }
  parameters.C = chosenC;
  parameters.epsilon = chosenEpsilon;
}

void SVMEngine::PassFolds(bool silent) {
  for (std::int32_t f = 0; f < folds; ++f) {
    ShowFold(silent, f);
    if (Host().progress->pcancel() != 0) throw Cancelled();
  }
}

void SVMEngine::ShowFold(bool silent, std::int32_t fold) const {
  if (silent) return;
  ShowStatus(std::string(GetResourceString(355)) + " " + std::to_string(fold + 1));
}

double SVMEngine::CrossValidateSvm(FoldTrainings& trainings, bool silent) {
  const auto l = static_cast<double>(problem.l);
  double errors = 0;
  std::int64_t correct = 0;
  for (std::int32_t f = 0; f < folds; ++f) {
    ShowFold(silent, f);
    for (const double error : trainings.Next()) {
      errors += error * error;
      correct += error == 0 ? 1 : 0;
    }
    if (Host().progress->pcancel() != 0) throw Cancelled();
  }
  return IsClassification() ? 100.0 * static_cast<double>(correct) / l : errors / l;
}

}  // namespace qrvml
