// The one object through which every method reads the open data file: variable roles, missing-data
// rule, sampling, one flag and weight per case, category tables, statistics and the stored rows.
//
// Conventions. Variables are 1-based numbers of the file; case numbers are 1-based where they name
// a case of the file, stored rows are 0-based. A value is missing when it equals its variable's
// missing-data code. A category is an integer code, kept as a double in rows. A row of predictors
// holds the predictors list in order (continuous first), a row of dependents the dependents list.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "data/case_statistics.h"
#include "data/category_table.h"
#include "data/class_statistics.h"
#include "data/reading_rules.h"
#include "data/sampling.h"
#include "data/variable_roles.h"
#include "host/data_file.h"
#include "host/memory.h"

namespace qrvml {

class CaseReader;

enum class MissingDataRule : std::int32_t {
  casewiseDeletion = 0,
  meanSubstitution = 1,
  usePartlyMissing = 2,  // naive Bayes only
};

/// 0 training, 1 test, 2 both.
enum class Subset : int { training = 0, test = 1, both = 2 };
inline constexpr int kSubsets = 3;

/// 0 the training (prototype) sample, 1 the test sample.
enum class Sample : int { training = 0, test = 1 };

enum class VariableKind : int { predictor = 0, dependent = 1 };

/// Receives the training rows of an engine that keeps its own problem.
class TrainingRowSink {
 public:
  virtual ~TrainingRowSink() = default;
  /// Makes room for `rows` rows of `width` inputs. Throws MemoryRefused.
  virtual void AllocateRows(std::int32_t rows, std::int32_t width) = 0;
  /// Row rowIndex (from 0, ascending): continuous predictors, then one indicator per category of
  /// each categorical predictor in ascending code order; and the dependents.
  virtual void AddTrainingRow(std::int32_t rowIndex, std::span<const double> inputs,
                              std::span<const double> dependents) = 0;
};

/// Where a range of values is mapped by scaling.
struct ScalingRange {
  double lowest, highest;
};

class AnalysisDataSet {
 public:
  AnalysisDataSet();

  /// All settings to their defaults; lists, tables and arrays emptied.
  void ResetDefaults();

  // --- Settings ----------------------------------------------------------------------------------
  SamplingSettings sampling;
  SampleChoice sampleChoice;
  MissingDataRule missingDataRule = MissingDataRule::casewiseDeletion;
  bool storeValues = true;  // false: LoadCases keeps case numbers, cases are read again when needed
  bool rereadNeeded = true;
  bool predictorCategoriesFixed = false;
  bool dependentCategoriesFixed = false;
  bool scaleInputs = false;
  bool scaleOutputs = false;
  ScalingRange inputRange{0.0, 1.0};
  ScalingRange outputRange{-1.0, 1.0};
  /// The slope of a scaled variable whose minimum equals its maximum (its offset is 0): 1 keeps the
  /// value, 0 makes the variable contribute nothing.
  double slopeWithoutRange = 1.0;

  // --- Variables ---------------------------------------------------------------------------------
  /// Takes over the file's numbers of variables and cases. False: message 105 or 103.
  bool CheckDataFile();
  std::int32_t numberOfVariables() const { return numberOfVariables_; }
  std::int32_t numberOfCases() const { return numberOfCases_; }

  const VariableRoles& roles() const { return roles_; }
  /// Accepts the four lists of `roles` as the user chose them: derives the other lists, lets go of
  /// fixed categories and tables. False (message 117), and nothing changed: no predictor.
  bool SetRoles(VariableRoles roles);
  /// As before the first choice.
  void ClearRoles();
  double MissingDataCode(int variable) const;

  /// Replaces the tables of the categorical predictors (dependents) by chosen codes, one list per
  /// variable in list order; an empty list leaves its table to be collected. The codes are
  /// integral.
  void FixPredictorCategories(std::span<const std::vector<double>> codes);
  void FixDependentCategories(std::span<const std::vector<double>> codes);

  /// Tables of categorical predictor (dependent) i, in list order.
  const CategoryTable& predictorCategories(std::size_t i) const {
    return predictorTables_[i].table;
  }
  const CategoryTable& dependentCategories(std::size_t i) const {
    return dependentTables_[i].table;
  }
  /// Whether the user fixed the categories of this one.
  bool IsPredictorFixed(std::size_t i) const { return predictorTables_[i].fixed; }
  bool IsDependentFixed(std::size_t i) const { return dependentTables_[i].fixed; }

  // --- Reading -----------------------------------------------------------------------------------
  /// The splits; see data/sampling.h.
  bool DrawRandomSample() { return qrvml::DrawRandomSample(sampling, numberOfCases_, flags_); }
  bool TakeFirstCases() { return qrvml::TakeFirstCases(sampling, numberOfCases_, flags_); }

  /// First pass: flags, weights, categories, sums. False: a message was shown (104, 116, 218 to
  /// 221), or the host stopped the pass; statistics and storage are then released.
  bool ScanCases(Method method);
  /// Second pass: stores the cases for the engine, final means and ranges, scaling coefficients.
  /// `sink` is needed by methods that store indicator rows. False as above (104, or stopped).
  bool LoadCases(Method method, TrainingRowSink* sink = nullptr);
  /// Lets go of statistics, weights and stored rows; settings, roles and fixed categories stay.
  void ReleaseCases();

  /// Weighted counts of the last pass.
  std::int64_t trainingCount() const { return trainingCount_; }
  std::int64_t testCount() const { return testCount_; }
  std::int64_t totalCount() const { return trainingCount_ + testCount_; }
  /// The longest case name of the used cases plus one, in bytes.
  std::size_t caseNameWidth() const { return caseNameWidth_; }
  /// Continuous predictors plus all categories of the categorical ones.
  std::int32_t svmInputWidth() const { return svmInputWidth_; }

  /// A case's flag; kExcluded for a case that the host skipped in the last pass, whatever flag it
  /// had kept.
  std::uint8_t Flag(std::int32_t caseNumber) const {
    const auto index = static_cast<std::size_t>(caseNumber) - 1;
    return delivered_[index] != 0 ? flags_[index] : std::uint8_t{kExcluded};
  }
  /// Its rounded weight; 1 while no weights are in force.
  std::int32_t Weight(std::int32_t caseNumber) const {
    return weights_.empty() ? 1 : weights_[static_cast<std::size_t>(caseNumber) - 1];
  }

  const CaseStatistics& statistics(Subset subset) const {
    return statistics_[static_cast<std::size_t>(subset)];
  }

  /// What naive Bayes learns from the training cases; empty after reading for another method.
  const ClassStatistics& classStatistics() const { return classStatistics_; }
  ClassStatistics& classStatistics() { return classStatistics_; }
  /// Weighted training cases with a valid value of predictor k.
  double InputCount(std::size_t k) const { return statistics(Subset::training).ValidWeight(k); }
  /// Whether every value of continuous predictor k that the used cases have in the file is an
  /// integer. Known after reading for naive Bayes.
  bool IsIntegralInput(std::size_t k) const { return fractionSeen_[k] == 0; }

  /// Stored rows of a sample (naive Bayes: cases).
  std::int32_t StoredRows(Sample sample) const {
    return static_cast<std::int32_t>(caseNumbers_[static_cast<std::size_t>(sample)].size());
  }
  /// The case that a stored row came from.
  std::int32_t CaseNumberOf(Sample sample, std::int32_t row) const {
    return caseNumbers_[static_cast<std::size_t>(sample)][static_cast<std::size_t>(row)];
  }
  /// The stored rows as row-major matrices; empty while values are not stored.
  std::span<const double> PredictorRows(Sample sample) const {
    return predictorRows_[static_cast<std::size_t>(sample)];
  }
  std::span<const double> DependentRows(Sample sample) const {
    return dependentRows_[static_cast<std::size_t>(sample)];
  }
  /// One stored case, also when values are not stored (it is then read again and missing values
  /// are substituted as when it was loaded). False: the host stopped.
  bool ReadStoredCase(Sample sample, std::int32_t row, std::span<double> predictors,
                      std::span<double> dependents);
  /// Makes a case that was read again what it was in the last pass.
  void SubstituteMissing(CaseReader& reader, std::uint8_t flag) const;

  // --- Scaling -----------------------------------------------------------------------------------
  /// Coefficients per predictor and dependent: scaled = slope * value + offset.
  void ComputeScaling();
  double ScaleValue(VariableKind kind, std::size_t index, double value) const;
  double UnscaleValue(VariableKind kind, std::size_t index, double value) const;
  std::span<const double> slopes() const { return slope_; }    // per slot
  std::span<const double> offsets() const { return offset_; }  // per slot

 private:
  friend class CaseScan;
  friend class CaseLoad;
  friend class CaseBlocks;

  struct Categories {
    CategoryTable table;
    bool fixed = false;
  };

  void EmptyCategoryTables();
  void Fix(std::vector<Categories>& tables, const std::vector<int>& variables,
           std::span<const std::vector<double>> codes);
  bool IsScaled(VariableKind kind, std::size_t index) const;
  /// What takes the place of a missing value in stored rows.
  double Substitute(std::size_t slot, std::uint8_t flag, const ReadingRules& rules) const;
  std::size_t SlotOf(VariableKind kind, std::size_t index) const {
    return kind == VariableKind::predictor ? index : roles_.predictors.size() + index;
  }

  std::int32_t numberOfVariables_ = 0;
  std::int32_t numberOfCases_ = 0;
  VariableRoles roles_;
  std::vector<Categories> predictorTables_;  // per categorical predictor
  std::vector<Categories> dependentTables_;  // per categorical dependent

  HostArray<std::uint8_t> flags_;      // per case of the file: CaseFlag
  HostArray<std::uint8_t> delivered_;  // per case: 1 when the host delivered it in the last scan
  HostArray<std::int32_t> weights_;    // per case, while weights are in force; else empty
  std::int64_t trainingCount_ = 0;
  std::int64_t testCount_ = 0;
  std::size_t caseNameWidth_ = 0;
  std::int32_t svmInputWidth_ = 0;
  std::int32_t storedCounts_[2] = {0, 0};  // used cases per sample, unweighted

  std::array<CaseStatistics, kSubsets> statistics_;      // means of the last finished pass
  std::array<HostArray<double>, kSubsets> substitutes_;  // first-pass means per slot

  ClassStatistics classStatistics_;
  std::vector<std::uint8_t> fractionSeen_;  // per continuous predictor

  std::array<HostArray<double>, 2> predictorRows_;
  std::array<HostArray<double>, 2> dependentRows_;
  std::array<HostArray<std::int32_t>, 2> caseNumbers_;
  Method loadedFor_ = Method::knn;

  HostArray<double> slope_, offset_;  // per slot
};

}  // namespace qrvml
