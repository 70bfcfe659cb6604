#include "data/analysis_data_set.h"

#include <ctime>
#include <utility>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

DataFile& File() { return *CAnalysisContext::Current()->services().file; }

}  // namespace

AnalysisDataSet::AnalysisDataSet() { ResetDefaults(); }

void AnalysisDataSet::ResetDefaults() {
  const CAnalysisSupport* analysis = CAnalysisContext::Current();
  const DataFile* file = analysis == nullptr ? nullptr : analysis->services().file;
  numberOfVariables_ = file == nullptr ? 0 : file->NumberOfVariables();
  numberOfCases_ = file == nullptr ? 0 : file->NumberOfCases();

  sampling = {};
  sampleChoice = {};
  sampling.seed = static_cast<std::int32_t>(std::time(nullptr) / 1000);
  sampling.firstN = static_cast<std::int32_t>(numberOfCases_ * 0.75);
  missingDataRule = MissingDataRule::casewiseDeletion;
  storeValues = rereadNeeded = true;
  scaleInputs = scaleOutputs = false;
  inputRange = {0.0, 1.0};
  outputRange = {-1.0, 1.0};
  slopeWithoutRange = 1.0;
  roles_ = {};
  EmptyCategoryTables();
  flags_.Release();
  ReleaseCases();
}

bool AnalysisDataSet::CheckDataFile() {
  numberOfVariables_ = File().NumberOfVariables();
  numberOfCases_ = File().NumberOfCases();
  if (numberOfVariables_ == 0) return Refuse(105);
  if (numberOfCases_ == 0) return Refuse(103);
  return true;
}

bool AnalysisDataSet::SetRoles(VariableRoles roles) {
  roles.Build();
  if (roles.predictors.empty()) return Refuse(117);
  roles_ = std::move(roles);
  EmptyCategoryTables();
  rereadNeeded = true;
  ReleaseCases();
  return true;
}

void AnalysisDataSet::ClearRoles() {
  roles_ = {};
  EmptyCategoryTables();
  rereadNeeded = true;
  ReleaseCases();
}

double AnalysisDataSet::MissingDataCode(int variable) const { return File().getmd5(variable); }

void AnalysisDataSet::EmptyCategoryTables() {
  predictorCategoriesFixed = dependentCategoriesFixed = false;
  predictorTables_.assign(roles_.categoricalPredictors.size(), {});
  dependentTables_.assign(roles_.categoricalDependents.size(), {});
}

void AnalysisDataSet::Fix(std::vector<Categories>& tables, const std::vector<int>& variables,
                          std::span<const std::vector<double>> codes) {
  for (std::size_t i = 0; i < tables.size(); ++i) {
    tables[i] = {};
    for (const double code : codes[i])
      tables[i].table.Collect(TruncateToCode(code), ValueText(File(), variables[i], code).text);
    tables[i].table.Seal();
    tables[i].fixed = !codes[i].empty();
  }
  rereadNeeded = true;
}

void AnalysisDataSet::FixPredictorCategories(std::span<const std::vector<double>> codes) {
  Fix(predictorTables_, roles_.categoricalPredictors, codes);
  predictorCategoriesFixed = true;
}

void AnalysisDataSet::FixDependentCategories(std::span<const std::vector<double>> codes) {
  Fix(dependentTables_, roles_.categoricalDependents, codes);
  dependentCategoriesFixed = true;
}

void AnalysisDataSet::ReleaseCases() {
  delivered_.Release();
  weights_.Release();
  trainingCount_ = testCount_ = 0;
  storedCounts_[0] = storedCounts_[1] = 0;
  caseNameWidth_ = 0;
  svmInputWidth_ = 0;
  for (auto& statistics : statistics_) statistics.Release();
  for (auto& means : substitutes_) means.Release();
  classStatistics_.Release();
  fractionSeen_.clear();
  for (auto* arrays : {&predictorRows_, &dependentRows_}) {
    for (auto& rows : *arrays) rows.Release();
  }
  for (auto& numbers : caseNumbers_) numbers.Release();
  slope_.Release();
  offset_.Release();
}

bool AnalysisDataSet::IsScaled(VariableKind kind, std::size_t index) const {
  return kind == VariableKind::predictor
             ? scaleInputs && index < roles_.continuousPredictors.size()
             : scaleOutputs && index < roles_.continuousDependents.size();
}

void AnalysisDataSet::ComputeScaling() {
  slope_.Assign(roles_.all.size(), 1.0);
  offset_.Assign(roles_.all.size(), 0.0);
  const CaseStatistics& used = statistics(sampling.apply ? Subset::both : Subset::training);
  const auto scale = [&](VariableKind kind, std::size_t count, ScalingRange target) {
    for (std::size_t index = 0; index < count; ++index) {
      if (!IsScaled(kind, index)) continue;
      const std::size_t slot = SlotOf(kind, index);
      const double minimum = used.Minimum(slot), maximum = used.Maximum(slot);
      if (!IsLess(minimum, maximum)) {
        slope_[slot] = slopeWithoutRange;
        continue;
      }
      slope_[slot] = (target.highest - target.lowest) / (maximum - minimum);
      offset_[slot] = (target.lowest * maximum - minimum * target.highest) / (maximum - minimum);
    }
  };
  scale(VariableKind::predictor, roles_.continuousPredictors.size(), inputRange);
  scale(VariableKind::dependent, roles_.continuousDependents.size(), outputRange);
}

double AnalysisDataSet::ScaleValue(VariableKind kind, std::size_t index, double value) const {
  if (!IsScaled(kind, index)) return value;
  const std::size_t slot = SlotOf(kind, index);
  return slope_[slot] * value + offset_[slot];
}

double AnalysisDataSet::UnscaleValue(VariableKind kind, std::size_t index, double value) const {
  if (!IsScaled(kind, index)) return value;
  const std::size_t slot = SlotOf(kind, index);
  return (value - offset_[slot]) / slope_[slot];
}

}  // namespace qrvml
