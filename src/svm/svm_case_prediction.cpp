// The prediction of one case of the file, and the statistics over all of them.

#include <algorithm>
#include <cmath>
#include <new>

#include "data/case_reader.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "svm/svm_engine.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

constexpr std::int64_t kPollWork = INT64_C(1) << 22;  // kernel terms between two polls

}  // namespace

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

void SVMEngine::PredictNodes(const SVMNode* nodes) {
  predicted = SvmPredict(*model, nodes, classVoteShares);
  if (!IsClassification() && HasDependent()) {
    predicted = data_.UnscaleValue(VariableKind::dependent, 0, predicted);
  }
}

void SVMEngine::PredictFetched() {
  if (caseNodes_ == nullptr) return;
  PredictNodes(caseNodes_);
  residual = observed - predicted;
  if (IsClassification()) residual = IsEqual(observed, predicted) ? 0.0 : 1.0;
}

bool SVMEngine::PredictSvmCase(std::int32_t caseNumber, std::int32_t problemSlot) {
  CaseReader reader(*Host().file, data_.roles());
  if (!FetchSvmCase(caseNumber, problemSlot, reader)) return false;
  PredictFetched();
  return true;
}

void SVMEngine::PredictInputs(std::span<const double> inputs) {
  std::copy(inputs.begin(), inputs.end(), currentInputs.begin());
  BuildSingleCase();
  PredictNodes(singleCase_.data());
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
  if (data_.missingDataRule == MissingDataRule::meanSubstitution && reader.HasMissing()) {
    if (substitutes_.empty()) FindSubstitutes();
    for (std::size_t slot = 0; slot < reader.slots(); ++slot) {
      if (reader.IsMissing(slot)) reader.values()[slot] = substitutes_[slot];
    }
  }
  std::copy_n(reader.values(), currentInputs.size(), currentInputs.begin());
  std::copy_n(reader.values() + currentInputs.size(), dependents_.size(), dependents_.begin());
  return true;
}

// The means of both samples as the first pass made them: sums over valid values in file order by
// the weight of all used cases.
void SVMEngine::FindSubstitutes() {
  CaseReader reader(*Host().file, data_.roles());
  substitutes_.Assign(reader.slots(), 0.0);
  for (std::int32_t number = 1; number <= data_.numberOfCases(); ++number) {
    const std::uint8_t flag = data_.Flag(number);
    if (flag != kTraining && flag != kTest) continue;
    if (reader.ReadValues(number) != CaseStatus::delivered) continue;
    for (std::size_t slot = 0; slot < reader.slots(); ++slot) {
      if (!reader.IsMissing(slot)) {
        substitutes_[slot] += static_cast<double>(data_.Weight(number)) * reader.values()[slot];
      }
    }
  }
  for (double& mean : substitutes_) mean /= static_cast<double>(data_.totalCount());
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
    substitutes_.Release();
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
  std::int32_t slot = 0;
  std::int64_t work = 0;
  const std::int64_t columns = std::int64_t(data_.svmInputWidth()) + 16;
  for (std::int32_t number = 1; number <= data_.numberOfCases(); ++number) {
    const std::uint8_t flag = data_.Flag(number);
    if (flag != kTraining && flag != kTest) continue;
    const std::int32_t weight = data_.Weight(number);
    const std::int32_t first = slot;
    if (flag == kTraining) slot += weight;
    if (subset != Subset::both && flag != std::uint8_t(subset)) continue;
    if (!FetchSvmCase(number, first, reader)) return false;
    if (predict) PredictFetched();
    visit({number, weight, flag});
    work += columns * (predict ? model->supportVectorCount + 16 : 16);
    if (work < kPollWork) continue;
    work = 0;
    if (Host().progress->pcancel() != 0) throw Cancelled();
  }
  return true;
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
