// The choice of C and epsilon by cross-validation over a grid.

#include <algorithm>
#include <string>

#include "host/analysis_support.h"
#include "host/string_table.h"
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
  const GridUse use = kGridUses[parameters.svmType];
  double result = 0;
  for (std::int32_t a = 0; a < pointsC; ++a) {
    for (std::int32_t b = 0; b < pointsEpsilon; ++b) {
      parameters.C = a * deltaC + minimumC;
      parameters.epsilon = b * deltaEpsilon + minimumEpsilon;
      // A value that the type does not read would train the models of the point before again.
      const bool known = !use.epsilon && (b > 0 || (a > 0 && !use.C));
      if (known) {
        PassFolds(silent);
      } else {
        result = CrossValidateSvm(silent);
      }
      const bool better = IsClassification() ? result > bestAccuracy : result < bestError;
      if (!better) continue;
      (IsClassification() ? bestAccuracy : bestError) = result;
      chosenC = parameters.C;
      chosenEpsilon = parameters.epsilon;
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

double SVMEngine::CrossValidateSvm(bool silent) {
  const auto l = static_cast<std::int64_t>(lists_.size());
  HostArray<SVMNodeList> inputs{lists_.size()};
  HostArray<double> targets{lists_.size()};
  double errors = 0;
  std::int64_t correct = 0;
  for (std::int32_t f = 0; f < folds; ++f) {
    ShowFold(silent, f);
    const auto begin = static_cast<std::size_t>(f * l / folds);
    const auto end = static_cast<std::size_t>((std::int64_t(f) + 1) * l / folds);
    std::size_t kept = 0;
    for (std::size_t t = 0; t < lists_.size(); ++t) {
      if (t >= begin && t < end) continue;
      inputs[kept] = lists_[t];
      targets[kept++] = targets_[t];
    }
    // One fold holds all entries out: there is nothing to train on.
    if (kept == 0) throw NumericFault();
    const SVMProblem fold{static_cast<std::int32_t>(kept), targets.data(), inputs.data()};
    const std::unique_ptr<SVMModel> trained = SvmTrain(fold, parameters, solver);
    for (std::size_t t = begin; t < end; ++t) {
      const double p = SvmPredict(*trained, lists_[t], classVoteShares);
      const double error = p - targets_[t];
      errors += error * error;
      correct += error == 0 ? 1 : 0;
    }
    if (Host().progress->pcancel() != 0) throw Cancelled();
  }
  return IsClassification() ? 100.0 * static_cast<double>(correct) / static_cast<double>(l)
                            : errors / static_cast<double>(l);
}

}  // namespace qrvml
