// The second pass over the file: missing values substituted, final means and ranges, and the used
// cases in the layout that the method's engine takes.

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "data/analysis_data_set.h"
#include "data/case_reader.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {

class CaseLoad {
 public:
  CaseLoad(AnalysisDataSet& data, Method method, TrainingRowSink* sink)
      : data_(data),
        rules_(RulesOf(method)),
        sink_(sink),
        reader_(*CAnalysisContext::Current()->services().file, data.roles_),
        team_(rules_.classStatistics
                  ? CAnalysisContext::Current()->services().compute->WorkerThreads()
                  : 1) {}

  bool Run() {
    Start();
    ProgressPass progress(data_.numberOfCases_, 102);
    for (std::int32_t number = 1; number <= data_.numberOfCases_; ++number) {
      const CaseStatus status = reader_.Read(number);
      if (status == CaseStatus::stop) return false;
      const std::uint8_t flag = data_.Flag(number);
      if (status == CaseStatus::skip || (flag != kTraining && flag != kTest)) continue;
      if (!TakeCase(number, flag)) return false;
    }
    progress.Close();
    Finish();
    return true;
  }

 private:
  /// The values of the training cases that enter the class statistics at a time: on one thread as
  /// many as its cache holds, else enough to be worth a thread's waking.
  static constexpr std::size_t kValuesAlone = std::size_t{1} << 14;
  static constexpr std::size_t kValuesShared = std::size_t{1} << 20;

  /// Training cases on their way into the class statistics. There are two lots: the threads work on
  /// one while the other is read.
  struct Lot {
    std::size_t firstRow = 0;  // among the stored rows, where there are such
    std::vector<std::int32_t> weights;
    HostArray<double> inputs, dependents;  // where rows are not stored
  };

  bool HasSink() const { return rules_.storedAs == StoredAs::indicatorRows; }
  int SubsetsKept() const { return data_.sampling.apply ? kSubsets : 1; }

  void Start() {
    for (int s = 0; s < SubsetsKept(); ++s)
      data_.statistics_[static_cast<std::size_t>(s)].Start(reader_.slots());
    const std::int64_t weighted[2] = {data_.trainingCount_, data_.testCount_};
    for (int s = 0; s < (data_.sampling.apply ? 2 : 1); ++s) {
      const std::int64_t rows =
          rules_.storedAs == StoredAs::rowsPerCase ? data_.storedCounts_[s] : weighted[s];
      if (rows > std::numeric_limits<std::int32_t>::max()) throw MemoryRefused();
      rows_[s] = static_cast<std::int32_t>(rows);
      if (HasSink() || rows == 0) continue;
      const auto sample = static_cast<std::size_t>(s);
      const auto count = static_cast<std::size_t>(rows);
      data_.caseNumbers_[sample].Resize(count);
      if (!data_.storeValues) continue;
      data_.predictorRows_[sample].Resize(count * data_.roles_.predictors.size());
      data_.dependentRows_[sample].Resize(count * data_.roles_.dependents.size());
    }
    if (rules_.classStatistics) StartClassStatistics();
    if (HasSink()) {
      indicatorRow_.Resize(static_cast<std::size_t>(data_.svmInputWidth_));
      sink_->AllocateRows(rows_[0], data_.svmInputWidth_);
    }
  }

  void StartClassStatistics() {
    std::vector<const CategoryTable*> dependents, inputs;
    for (const auto& categories : data_.dependentTables_) dependents.push_back(&categories.table);
    for (const auto& categories : data_.predictorTables_) inputs.push_back(&categories.table);
    const std::size_t slots = reader_.slots();
    data_.classStatistics_.Start(dependents, inputs, data_.roles_.predictors.size(),
                                 reader_.missingCodes());
    data_.fractionSeen_.assign(data_.roles_.continuousPredictors.size(), 0);
    for (std::size_t k = 0; k < data_.fractionSeen_.size(); ++k) integralSoFar_.push_back(k);
    const std::size_t values = team_.size() == 1 ? kValuesAlone : kValuesShared;
    const std::size_t most = std::max(values / slots, std::size_t{1});
    lotRows_ = std::min(most, static_cast<std::size_t>(rows_[kTraining]));
    for (Lot& lot : lots_) {
      if (data_.storeValues) continue;
      lot.inputs.Resize(lotRows_ * data_.roles_.predictors.size());
      lot.dependents.Resize(lotRows_ * data_.roles_.dependents.size());
    }
  }

  /// Before missing values are substituted.
  void NoteFractions() {
    std::erase_if(integralSoFar_, [&](std::size_t k) {
      const bool isFraction = !IsIntegral(reader_.values()[k]) && !reader_.IsMissing(k);
      if (isFraction) data_.fractionSeen_[k] = 1;
      return isFraction;
    });
  }

  /// A training case enters the class statistics with its lot.
  void Gather(std::int32_t weight) {
    Lot& lot = lots_[filling_];
    const std::size_t row = lot.weights.size();
    lot.weights.push_back(weight);
    if (!data_.storeValues) {
      const std::size_t predictors = data_.roles_.predictors.size();
      const std::size_t dependents = data_.roles_.dependents.size();
      std::copy_n(reader_.values(), predictors, lot.inputs.data() + row * predictors);
      std::copy_n(reader_.values() + predictors, dependents,
                  lot.dependents.data() + row * dependents);
    }
    if (lot.weights.size() == lotRows_) TakeLot();
  }

  void TakeLot() {
    Lot& lot = lots_[filling_];
    const double* inputs = lot.inputs.data();
    const double* dependents = lot.dependents.data();
    if (data_.storeValues) {
      inputs =
          data_.predictorRows_[kTraining].data() + lot.firstRow * data_.roles_.predictors.size();
      dependents =
          data_.dependentRows_[kTraining].data() + lot.firstRow * data_.roles_.dependents.size();
    }
    const std::size_t rows = lot.weights.size();
    data_.classStatistics_.BeginCases({rows, inputs, dependents, lot.weights.data()}, team_);
    filling_ = 1 - filling_;
    lots_[filling_].firstRow = lot.firstRow + rows;
    lots_[filling_].weights.clear();
  }

  void FinishClassStatistics() {
    if (!lots_[filling_].weights.empty()) TakeLot();
    team_.End();
    data_.classStatistics_.Finish();
  }

  /// False: the host delivers other cases than in the first pass, as if it had stopped.
  bool TakeCase(std::int32_t number, std::uint8_t flag) {
    const std::int32_t weight = data_.Weight(number);
    if (!integralSoFar_.empty()) NoteFractions();
    if (reader_.HasMissing()) {
      AddWithMissing(flag, weight);
    } else {
      data_.statistics_[flag].AddCase(reader_.values(), weight);
      if (data_.sampling.apply) Both().AddCase(reader_.values(), weight);
    }
    const std::int32_t copies = rules_.storedAs == StoredAs::rowsPerCase ? 1 : weight;
    if (copies > rows_[flag] - next_[flag]) return false;
    if (HasSink()) {
      if (flag == kTraining) HandOver(copies);
    } else {
      Store(number, flag, copies);
      if (rules_.classStatistics && flag == kTraining) Gather(weight);
    }
    next_[flag] += copies;
    return true;
  }

  CaseStatistics& Both() { return data_.statistics_[static_cast<std::size_t>(Subset::both)]; }

  /// A missing value is replaced by the mean of the case's own sample in that sample's statistics,
  /// and, where the method says so, by the mean of both samples in everything else.
  void AddWithMissing(std::uint8_t flag, std::int32_t weight) {
    const bool substitutes = data_.missingDataRule == MissingDataRule::meanSubstitution;
    for (std::size_t slot = 0; slot < reader_.slots(); ++slot) {
      double& value = reader_.values()[slot];
      double own = value;
      if (reader_.IsMissing(slot)) {
        if (!substitutes) continue;
        own = data_.substitutes_[flag][slot];
        value = data_.Substitute(slot, flag, rules_);
      }
      data_.statistics_[flag].Add(slot, own, weight);
      if (data_.sampling.apply) Both().Add(slot, value, weight);
    }
  }

  void Store(std::int32_t number, std::uint8_t flag, std::int32_t copies) {
    const std::size_t predictors = data_.roles_.predictors.size();
    const std::size_t dependents = data_.roles_.dependents.size();
    for (std::int32_t copy = 0; copy < copies; ++copy) {
      const auto row = static_cast<std::size_t>(next_[flag] + copy);
      data_.caseNumbers_[flag][row] = number;
      if (!data_.storeValues) continue;
      std::memcpy(data_.predictorRows_[flag].data() + row * predictors, reader_.values(),
                  predictors * sizeof(double));
      std::memcpy(data_.dependentRows_[flag].data() + row * dependents,
                  reader_.values() + predictors, dependents * sizeof(double));
    }
  }

  void HandOver(std::int32_t copies) {
    const std::size_t continuous = data_.roles_.continuousPredictors.size();
    double* column = std::copy_n(reader_.values(), continuous, indicatorRow_.data());
    for (std::size_t i = 0; i < data_.roles_.categoricalPredictors.size(); ++i) {
      const double value = reader_.values()[continuous + i];
      for (const auto& category : data_.predictorTables_[i].table.codes())
        *column++ = IsEqual(value, static_cast<double>(category.code)) ? 1.0 : 0.0;
    }
    const std::span<const double> dependents(reader_.values() + data_.roles_.predictors.size(),
                                             data_.roles_.dependents.size());
    for (std::int32_t copy = 0; copy < copies; ++copy)
      sink_->AddTrainingRow(next_[kTraining] + copy, indicatorRow_, dependents);
  }

  void Finish() {
    const std::int64_t counts[kSubsets] = {data_.trainingCount_, data_.testCount_,
                                           data_.totalCount()};
    for (int s = 0; s < SubsetsKept(); ++s) {
      CaseStatistics& statistics = data_.statistics_[static_cast<std::size_t>(s)];
      if (rules_.meansOverValidOnly) {
        statistics.MakeMeansOfValid();
      } else {
        statistics.MakeMeans(counts[s]);
      }
    }
    if (rules_.classStatistics) FinishClassStatistics();
    data_.ComputeScaling();
  }

  AnalysisDataSet& data_;
  const ReadingRules& rules_;
  TrainingRowSink* sink_;
  CaseReader reader_;
  HostArray<double> indicatorRow_;
  std::int32_t rows_[2] = {0, 0};           // rows there is room for, per sample
  std::int32_t next_[2] = {0, 0};           // rows stored
  std::vector<std::size_t> integralSoFar_;  // continuous predictors without a fraction yet
  std::size_t lotRows_ = 0;
  Lot lots_[2];
  std::size_t filling_ = 0;  // the lot that cases go to
  WorkerTeam team_;          // last: its threads end before what they work on
};

bool AnalysisDataSet::LoadCases(Method method, TrainingRowSink* sink) {
  loadedFor_ = method;
  try {
    if (CaseLoad(*this, method, sink).Run()) return true;
  } catch (const std::bad_alloc&) {
    Refuse(104);
  }
  ReleaseCases();
  return false;
}

double AnalysisDataSet::Substitute(std::size_t slot, std::uint8_t flag,
                                   const ReadingRules& rules) const {
  const bool both = rules.substitutesBothMean && sampling.apply;
  return substitutes_[both ? static_cast<std::size_t>(Subset::both) : flag][slot];
}

void AnalysisDataSet::SubstituteMissing(CaseReader& reader, std::uint8_t flag) const {
  if (missingDataRule != MissingDataRule::meanSubstitution) return;
  for (std::size_t slot = 0; slot < reader.slots(); ++slot) {
    if (reader.IsMissing(slot)) reader.values()[slot] = Substitute(slot, flag, RulesOf(loadedFor_));
  }
}

bool AnalysisDataSet::ReadStoredCase(Sample sample, std::int32_t row, std::span<double> predictors,
                                     std::span<double> dependents) {
  const auto s = static_cast<std::size_t>(sample);
  if (storeValues) {
    const auto r = static_cast<std::size_t>(row);
    std::ranges::copy(predictorRows_[s].subspan(r * predictors.size(), predictors.size()),
                      predictors.begin());
    std::ranges::copy(dependentRows_[s].subspan(r * dependents.size(), dependents.size()),
                      dependents.begin());
    return true;
  }
  CaseReader reader(*CAnalysisContext::Current()->services().file, roles_);
  if (reader.ReadValues(CaseNumberOf(sample, row)) != CaseStatus::delivered) return false;
  SubstituteMissing(reader, static_cast<std::uint8_t>(s));
  std::copy_n(reader.values(), predictors.size(), predictors.begin());
  std::copy_n(reader.values() + predictors.size(), dependents.size(), dependents.begin());
  return true;
}

}  // namespace qrvml
