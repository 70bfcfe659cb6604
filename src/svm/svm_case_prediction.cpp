// The prediction of one case of the file, and the statistics over all of them.

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <vector>

#include "data/case_reader.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "svm/case_predictor.h"
#include "svm/svm_engine.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

constexpr std::int64_t kFetchWork = 16;  // cost of reading an input, in multiplications

}  // namespace

/// Cases that were fetched, to be predicted together and then visited one by one.
struct SVMEngine::CaseWindow {
  CaseWindow(std::size_t size, const SVMEngine& engine)
      : inputs(size * engine.currentInputs.size()),
        nodes(size * engine.singleCase_.size()),
        lists(size),
        predicted(size),
        shares(size * engine.classVoteShares.size()) {}

  bool IsFull() const { return cases.size() == lists.size(); }

  struct Case {
    VisitedCase visited;
    double observed;
    std::string label;
  };
  std::vector<Case> cases;
  HostArray<double> inputs;
  HostArray<SVMNode> nodes;  // of test cases
  HostArray<SVMNodeList> lists;
  HostArray<double> predicted;
  HostArray<double> shares;
};

bool SVMEngine::FetchSvmCase(std::int32_t caseNumber, std::int32_t problemSlot,
                             CaseReader& reader) {
  const std::string label = Host().file->getlab(caseNumber);
  caseLabel = Trim(label);
  if (caseLabel.empty()) caseLabel = std::to_string(caseNumber);

  caseNodes_ = nullptr;
  const std::uint8_t flag = data_.Flag(caseNumber);
  if (flag == kTraining) {
    const auto slot = static_cast<std::size_t>(problemSlot);
    caseNodes_ = lists_[slot];
    TakeTrainingInputs(caseNodes_);
    observed = targets_[slot];
    if (!IsClassification() && HasDependent()) {
      observed = data_.UnscaleValue(VariableKind::dependent, 0, observed);
    }
  } else if (flag == kTest) {
    if (!ReadTestCase(caseNumber, reader)) return false;
    BuildSingleCase();
    caseNodes_ = singleCase_.data();
    observed = HasDependent() ? dependents_[0] : 0.0;
    if (IsClassification()) observed = ClassCode(observed);
  }
  return true;
}

double SVMEngine::Unscaled(double prediction) const {
  if (IsClassification() || !HasDependent()) return prediction;
  return data_.UnscaleValue(VariableKind::dependent, 0, prediction);
}

void SVMEngine::TakePrediction(double prediction) {
  predicted = Unscaled(prediction);
  residual = observed - predicted;
  if (IsClassification()) residual = IsEqual(observed, predicted) ? 0.0 : 1.0;
}

bool SVMEngine::PredictSvmCase(std::int32_t caseNumber, std::int32_t problemSlot) {
  CaseReader reader(*Host().file, data_.roles());
  if (!FetchSvmCase(caseNumber, problemSlot, reader)) return false;
  if (caseNodes_ != nullptr) TakePrediction(SvmPredict(*model, caseNodes_, classVoteShares));
  return true;
}

void SVMEngine::PredictInputs(std::span<const double> inputs) {
  std::copy(inputs.begin(), inputs.end(), currentInputs.begin());
  BuildSingleCase();
  predicted = Unscaled(SvmPredict(*model, singleCase_.data(), classVoteShares));
}

void SVMEngine::TakeTrainingInputs(const SVMNode* entry) {
  for (std::size_t i = 0; i < continuous(); ++i, ++entry) {
    currentInputs[i] = data_.UnscaleValue(VariableKind::predictor, i, entry->value);
  }
  for (std::size_t c = 0; c < data_.roles().categoricalPredictors.size(); ++c) {
    bool found = false;
    for (const auto& category : data_.predictorCategories(c).codes()) {
      if (!found && IsEqual(entry->value, 1.0)) {
        currentInputs[continuous() + c] = static_cast<double>(category.code);
        found = true;
      }
      ++entry;
    }
  }
}

bool SVMEngine::ReadTestCase(std::int32_t caseNumber, CaseReader& reader) {
  if (reader.ReadValues(caseNumber) != CaseStatus::delivered) return false;
  if (reader.HasMissing()) data_.SubstituteMissing(reader, kTest);
  std::copy_n(reader.values(), currentInputs.size(), currentInputs.begin());
  std::copy_n(reader.values() + currentInputs.size(), dependents_.size(), dependents_.begin());
  return true;
}

void SVMEngine::BuildSingleCase() {
  SVMNode* node = singleCase_.data();
  std::int32_t index = 0;
  for (std::size_t i = 0; i < continuous(); ++i) {
    *node++ = {++index, data_.ScaleValue(VariableKind::predictor, i, currentInputs[i])};
  }
  for (std::size_t c = 0; c < data_.roles().categoricalPredictors.size(); ++c) {
    const double value = currentInputs[continuous() + c];
    for (const auto& category : data_.predictorCategories(c).codes()) {
      *node++ = {++index, IsEqual(value, static_cast<double>(category.code)) ? 1.0 : 0.0};
    }
  }
  *node = {-1, 0.0};
}

// --- Statistics ---------------------------------------------------------------------------------

bool SVMEngine::ComputeSvmStatistics() {
  try {
    confusion_ = {};
    regression_ = {};
    ranges_ = {};
    singleCase_.Resize(static_cast<std::size_t>(data_.svmInputWidth()) + 1);
    currentInputs.Assign(data_.roles().predictors.size(), 0.0);
    dependents_.Assign(data_.roles().dependents.size(), 0.0);
    if (IsClassification()) {
      classVoteShares.Assign(data_.dependentCategories(0).classes().size(), 0.0);
      return ClassificationStatistics();
    }
    return !HasDependent() || RegressionStatisticsPass();
  } catch (const Cancelled&) {
    ReleaseStatistics();
    return false;
  } catch (const std::bad_alloc&) {
    ReleaseStatistics();
    return Refuse(104);
  }
}

bool SVMEngine::VisitSvmCases(Subset subset, bool predict,
                              const std::function<void(const VisitedCase&)>& visit) {
  CaseReader reader(*Host().file, data_.roles());
  SolverPace pace(solver);
  CasePredictor predictor(*model, predict ? solver.threads : 1);
  const auto cases = static_cast<std::size_t>(data_.numberOfCases());
  CaseWindow window(predict ? std::min(predictor.portion(), cases) : 0, *this);
  const auto visitWindow = [&] {
    predictor.Predict(window.lists.subspan(0, window.cases.size()), window.predicted, window.shares,
                      pace);
    for (std::size_t at = 0; at < window.cases.size(); ++at) {
      TakeFromWindow(window, at);
      visit(window.cases[at].visited);
    }
    window.cases.clear();
  };
  std::int32_t slot = 0;
  for (std::int32_t number = 1; number <= data_.numberOfCases(); ++number) {
    const std::uint8_t flag = data_.Flag(number);
    if (flag != kTraining && flag != kTest) continue;
    const std::int32_t weight = data_.Weight(number);
    const std::int32_t first = slot;
    if (flag == kTraining) slot += weight;
    if (subset != Subset::both && flag != std::uint8_t(subset)) continue;
    if (!FetchSvmCase(number, first, reader)) return false;
    pace.Check((data_.svmInputWidth() + 16) * kFetchWork);
    if (!predict) {
      visit({number, weight, flag});
      continue;
    }
    KeepInWindow(window, {number, weight, flag});
    if (window.IsFull()) visitWindow();
  }
  visitWindow();
  return true;
}

void SVMEngine::KeepInWindow(CaseWindow& window, const VisitedCase& visited) const {
  const std::size_t at = window.cases.size();
  window.cases.push_back({visited, observed, caseLabel});
  std::copy_n(currentInputs.begin(), currentInputs.size(),
              window.inputs.data() + at * currentInputs.size());
  window.lists[at] = {caseNodes_};
  if (visited.flag == kTraining) return;
  // The next test case takes the place of this one.
  SVMNode* nodes = window.nodes.data() + at * singleCase_.size();
  std::copy_n(caseNodes_, singleCase_.size(), nodes);
  window.lists[at] = {nodes};
}

void SVMEngine::TakeFromWindow(const CaseWindow& window, std::size_t at) {
  observed = window.cases[at].observed;
  caseLabel = window.cases[at].label;
  std::copy_n(window.inputs.data() + at * currentInputs.size(), currentInputs.size(),
              currentInputs.begin());
  const auto classes = static_cast<std::size_t>(IsClassification() ? model->classCount : 0);
  std::copy_n(window.shares.data() + at * classes, classes, classVoteShares.begin());
  TakePrediction(window.predicted[at]);
}

bool SVMEngine::ClassificationStatistics() {
  const CategoryTable& categories = data_.dependentCategories(0);
  for (ConfusionCounts& counts : confusion_) counts.Start(categories.classes().size());
  const auto add = [&](std::size_t subset, std::int32_t weight) {
    confusion_[subset].Add(categories.ClassIndex(TruncateToCode(observed)),
                           categories.ClassIndex(TruncateToCode(predicted)), weight);
    ranges_[subset].predicted.Include(predicted);
    ranges_[subset].residual.Include(residual);
    ranges_[subset].absoluteResidual.Include(std::fabs(residual));
    ranges_[subset].squaredResidual.Include(residual * residual);
  };
  return VisitSvmCases(Subset::both, true, [&](const VisitedCase& visited) {
    add(visited.flag, visited.weight);
    if (data_.sampling.apply) add(std::size_t(Subset::both), visited.weight);
  });
}

bool SVMEngine::RegressionStatisticsPass() {
  // Both passes need the same predictions: they are kept.
  struct Predicted {
    double observed, predicted;
    std::int32_t weight;
    std::uint8_t flag;
  };
  HostArray<Predicted> cases(static_cast<std::size_t>(data_.numberOfCases()));
  std::size_t count = 0;
  const bool finished = VisitSvmCases(Subset::both, true, [&](const VisitedCase& visited) {
    cases[count++] = {observed, predicted, visited.weight, visited.flag};
    regression_[visited.flag].Add(observed, predicted, visited.weight);
    if (data_.sampling.apply) regression_[2].Add(observed, predicted, visited.weight);
  });
  if (!finished) return false;
  const std::size_t subsets = data_.sampling.apply ? kSubsets : 1;
  bool sound = true;
  for (std::size_t s = 0; s < subsets; ++s) {
    regression_[s].EndMeans();
    for (std::size_t n = 0; n < count; ++n) {
      const Predicted& one = cases[n];
      if (s < 2 && one.flag != s) continue;
      regression_[s].AddDeviations(one.observed, one.predicted, one.weight);
    }
    sound = regression_[s].Finish(0.0) && sound;
    ranges_[s] = regression_[s].ranges();
  }
  if (sound) return true;
  ReleaseStatistics();
  return Refuse(155);
}

}  // namespace qrvml
