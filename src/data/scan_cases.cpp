// The first pass over the file: which cases take part, in which sample, with what weight; the
// categories; the sums whose means stand in for missing values.

#include <algorithm>
#include <limits>
#include <new>

#include "data/analysis_data_set.h"
#include "data/case_reader.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

/// A case-weight as a number of cases: halves away from zero, at most what 32 bits hold. A negative
/// weight counts no more than a zero one.
std::int32_t RoundedWeight(double weight) {
  if (!IsGreater(weight, 0.0)) return 0;
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(RoundHalfAwayFromZero(weight), kMost));
}

std::size_t Digits(int number) { return std::to_string(number).size(); }

}  // namespace

class CaseScan {
 public:
  CaseScan(AnalysisDataSet& data, Method method)
      : data_(data),
        rules_(RulesOf(method)),
        file_(*CAnalysisContext::Current()->services().file),
        reader_(file_, data.roles_) {}

  bool Run() {
    Start();
    ProgressPass progress(data_.numberOfCases_, 102);
    for (std::int32_t number = 1; number <= data_.numberOfCases_; ++number) {
      switch (reader_.Read(number)) {
        case CaseStatus::stop:
          return false;
        case CaseStatus::skip:
          data_.delivered_[Index(number)] = 0;
          break;
        case CaseStatus::delivered:
          data_.delivered_[Index(number)] = 1;
          if (!TakeCase(number)) {
            progress.Close();
            return Refuse(116);
          }
      }
    }
    progress.Close();
    return Finish();
  }

 private:
  /// A categorical variable as the scan meets it.
  struct Categorical {
    std::size_t slot;
    int variable;
    bool isDependent;
    AnalysisDataSet::Categories* categories;
    // The category met last: neighbouring cases often share it.
    std::int64_t lastCode = 0;
    CategoryTable::Collected* last = nullptr;
  };

  static std::size_t Index(std::int32_t caseNumber) {
    return static_cast<std::size_t>(caseNumber) - 1;
  }

  void Start() {
    const auto cases = static_cast<std::size_t>(data_.numberOfCases_);
    const std::size_t slots = data_.roles_.all.size();
    for (int s = 0; s < 2; ++s) {
      data_.predictorRows_[static_cast<std::size_t>(s)].Clear();
      data_.dependentRows_[static_cast<std::size_t>(s)].Clear();
      data_.caseNumbers_[static_cast<std::size_t>(s)].Clear();
      data_.storedCounts_[s] = 0;
    }
    if (data_.flags_.size() != cases) data_.flags_.Assign(cases, kTraining);
    data_.delivered_.Assign(cases, 0);
    weighted_ = file_.IsWeightInForce();
    if (weighted_) {
      data_.weights_.Assign(cases, 0);
    } else {
      data_.weights_.Release();
    }
    for (int s = 0; s < SubsetsKept(); ++s)
      data_.statistics_[static_cast<std::size_t>(s)].Start(slots);
    data_.trainingCount_ = data_.testCount_ = 0;
    data_.caseNameWidth_ = 0;
    CollectCategoricals(data_.roles_.categoricalPredictors,
                        data_.roles_.continuousPredictors.size(), false, data_.predictorTables_);
    CollectCategoricals(data_.roles_.categoricalDependents,
                        data_.roles_.predictors.size() + data_.roles_.continuousDependents.size(),
                        true, data_.dependentTables_);
  }

  int SubsetsKept() const { return data_.sampling.apply ? kSubsets : 1; }

  void CollectCategoricals(const std::vector<int>& variables, std::size_t firstSlot,
                           bool areDependents, std::vector<AnalysisDataSet::Categories>& tables) {
    for (std::size_t i = 0; i < variables.size(); ++i) {
      if (tables[i].fixed) {
        tables[i].table.ClearTrainingWeights();
      } else {
        tables[i].table.Clear();
      }
      categoricals_.push_back({firstSlot + i, variables[i], areDependents, &tables[i]});
    }
  }

  /// Takes in a delivered case. False: a categorical value is no integer.
  bool TakeCase(std::int32_t number) {
    const std::int32_t weight = weighted_ ? RoundedWeight(reader_.weight()) : 1;
    if (weighted_) data_.weights_[Index(number)] = weight;
    std::uint8_t& flag = data_.flags_[Index(number)];
    if (weight == 0) {
      flag = kExcluded;
      return true;
    }
    bool used = true;
    if (!CheckCategories(used)) return false;
    const bool hasMissing = reader_.HasMissing();
    if (!used || (hasMissing && MissingExcludes())) {
      flag = kExcluded;
      return true;
    }
    AssignSample(flag);
    if (flag != kTraining && flag != kTest) return true;
    Count(flag, weight);
    if (flag == kTraining) EnterCategories(weight);
    AddSums(flag, weight, hasMissing);
    WidenNames(number);
    return true;
  }

  /// Fixed categories: a code that is not among them takes the case out. Open ones: the value must
  /// be an integer, also where it is the missing-data code.
  bool CheckCategories(bool& used) {
    for (Categorical& categorical : categoricals_) {
      const double value = reader_.values()[categorical.slot];
      if (categorical.categories->fixed) {
        used = used && categorical.categories->table.HasCode(TruncateToCode(value));
      } else if (!IsIntegral(value)) {
        return false;
      }
    }
    return true;
  }

  /// Whether the missing values of the current case take it out.
  bool MissingExcludes() const {
    const std::size_t predictors = data_.roles_.predictors.size();
    bool predictorMissing = false, dependentMissing = false, categoricalMissing = false;
    for (std::size_t slot = 0; slot < reader_.slots(); ++slot) {
      if (reader_.IsMissing(slot)) (slot < predictors ? predictorMissing : dependentMissing) = true;
    }
    for (const Categorical& categorical : categoricals_)
      categoricalMissing = categoricalMissing || reader_.IsMissing(categorical.slot);
    if (dependentMissing && rules_.missingDependentExcludes) return true;
    switch (data_.missingDataRule) {
      case MissingDataRule::meanSubstitution:
        return categoricalMissing;
      case MissingDataRule::usePartlyMissing:
        if (rules_.allowsPartlyMissing) return false;
        [[fallthrough]];
      case MissingDataRule::casewiseDeletion:
        return predictorMissing || dependentMissing;
    }
    return true;
  }

  void AssignSample(std::uint8_t& flag) const {
    const SamplingSettings& sampling = data_.sampling;
    if (!sampling.apply) {
      flag = kTraining;
    } else if (sampling.mode == SamplingMode::identifier) {
      // Without a chosen variable there is no value that could mark a training case.
      const bool training =
          sampling.identifierVariable > 0 &&
          IsEqual(reader_.ValueOf(sampling.identifierVariable), sampling.learningCode);
      flag = training ? kTraining : kTest;
    }
  }

  void Count(std::uint8_t flag, std::int32_t weight) {
    (flag == kTraining ? data_.trainingCount_ : data_.testCount_) += weight;
    ++data_.storedCounts_[flag];
  }

  /// A missing value, which only naive Bayes meets here, is no category.
  void EnterCategories(std::int32_t weight) {
    for (Categorical& categorical : categoricals_) {
      if (reader_.IsMissing(categorical.slot)) continue;
      const std::int64_t code = TruncateToCode(reader_.values()[categorical.slot]);
      if (categorical.last == nullptr || categorical.lastCode != code) {
        CategoryTable& table = categorical.categories->table;
        categorical.last = table.FindCollected(code);
        categorical.lastCode = code;
        if (categorical.last == nullptr) {
          const double value = reader_.values()[categorical.slot];
          categorical.last =
              table.Collect(code, ValueText(file_, categorical.variable, value).text);
        }
      }
      if (categorical.isDependent) categorical.last->trainingWeight += weight;
    }
  }

  void AddSums(std::uint8_t flag, std::int32_t weight, bool hasMissing) {
    AddSums(data_.statistics_[flag], weight, hasMissing);
    if (data_.sampling.apply)
      AddSums(data_.statistics_[static_cast<std::size_t>(Subset::both)], weight, hasMissing);
  }

  void AddSums(CaseStatistics& statistics, std::int32_t weight, bool hasMissing) {
    if (!hasMissing) {
      statistics.AddSums(reader_.values(), weight);
      return;
    }
    for (std::size_t slot = 0; slot < reader_.slots(); ++slot) {
      if (!reader_.IsMissing(slot)) statistics.AddSum(slot, reader_.values()[slot], weight);
    }
  }

  void WidenNames(std::int32_t number) {
    const std::string_view name = Trim(reader_.name());
    const std::size_t width = name.empty() ? Digits(number) : name.size();
    data_.caseNameWidth_ = std::max(data_.caseNameWidth_, width + 1);
  }

  bool Finish() {
    for (Categorical& categorical : categoricals_) categorical.categories->table.Seal();
    if (data_.trainingCount_ < 2) return Refuse(218);
    const bool testRequired = rules_.testAlwaysRequired || data_.sampling.apply;
    if (testRequired && data_.testCount_ < 1) return Refuse(219);
    MakeMeans();
    data_.svmInputWidth_ = static_cast<std::int32_t>(data_.roles_.continuousPredictors.size());
    for (const auto& categories : data_.predictorTables_)
      data_.svmInputWidth_ += static_cast<std::int32_t>(categories.table.codes().size());
    for (const bool dependents : {false, true}) {
      for (const Categorical& categorical : categoricals_) {
        if (categorical.isDependent == dependents &&
            categorical.categories->table.classes().size() < 2)
          return Refuse(dependents ? 221 : 220);
      }
    }
    return true;
  }

  /// Sums of valid values over the count of all cases of the subset, those with missing values
  /// included. They are kept apart from the statistics, which the second pass starts anew.
  void MakeMeans() {
    const std::int64_t counts[kSubsets] = {data_.trainingCount_, data_.testCount_,
                                           data_.totalCount()};
    for (int s = 0; s < SubsetsKept(); ++s) {
      const auto subset = static_cast<std::size_t>(s);
      data_.statistics_[subset].MakeMeans(counts[s]);
      data_.substitutes_[subset].Resize(reader_.slots());
      for (std::size_t slot = 0; slot < reader_.slots(); ++slot)
        data_.substitutes_[subset][slot] = data_.statistics_[subset].Mean(slot);
    }
  }

  AnalysisDataSet& data_;
  const ReadingRules& rules_;
  DataFile& file_;
  CaseReader reader_;
  bool weighted_ = false;
  std::vector<Categorical> categoricals_;
};

bool AnalysisDataSet::ScanCases(Method method) {
  try {
    if (CaseScan(*this, method).Run()) return true;
  } catch (const std::bad_alloc&) {
    Refuse(104);
  }
  ReleaseCases();
  return false;
}

}  // namespace qrvml
