// The naive Bayes engine: distributions, priors and threshold, the posteriors and the prediction of
// one case, the confusion tables of all cases. What is learned from the training cases is in the
// data set (ClassStatistics).
//
// Inputs are the predictors list: continuous first, then categorical ones as codes. Classes go by
// the byte order of their texts.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bayes/densities.h"
#include "bayes/posterior_model.h"
#include "data/analysis_data_set.h"
#include "data/case_blocks.h"
#include "data/code_lookup.h"
#include "data/worker_team.h"
#include "host/memory.h"
#include "stats/confusion_counts.h"

namespace qrvml {

/// Where a dependent's priors come from.
enum class PriorKind : std::uint16_t { fromData = 0, equal = 1, custom = 2 };

/// A case of the file with what is in it; the engine's fields hold what was found for it.
struct LoadedCase {
  std::int32_t caseNumber = 0;
  std::span<const double> inputs, observed;
};

class NaiveBayesEngine {
 public:
  /// The data set outlives it.
  explicit NaiveBayesEngine(AnalysisDataSet& data) : data_(data) {}

  // --- Distributions -----------------------------------------------------------------------------
  std::array<std::uint16_t, kDistributions> distributionCount{};      // inputs of each kind
  std::array<std::vector<int>, kDistributions> distributionInputs{};  // their variables
  // By variable number; of a variable that is both a continuous and a categorical input, the
  // former.
  std::map<int, Distribution> distributions;

  /// Every continuous input normal, every categorical one discrete.
  void AssignDefaultDistributions();
  /// Takes the lists of the continuous inputs that are normal, lognormal, gamma and Poisson. An
  /// input in none of them is normal, one in several takes the last; other variables are ignored.
  void SetDistributionLists(std::span<const std::vector<int>> lists);
  /// Whether every input's values fit its distribution. False: message 200, 201, 202 or 203 for the
  /// first that do not.
  bool CheckDistributions() const;
  Distribution DistributionOf(std::size_t k) const {
    return k < data_.roles().continuousPredictors.size()
               ? distributions.at(data_.roles().predictors[k])
               : Distribution::discrete;
  }

  // --- Priors and threshold ----------------------------------------------------------------------
  std::vector<PriorKind> priorKind;       // per dependent
  std::vector<HostArray<double>> priors;  // per dependent and class
  double threshold = kDefaultThreshold;   // probability of a category never seen with a class
  static constexpr double kDefaultThreshold = 0.0001;

  /// One entry per dependent, all from the data. For new variables.
  void ResetPriorKinds();
  /// Fill the priors of the given dependents. False: message 104.
  bool ComputeDefaultPriors(std::span<const std::size_t> dependents);
  bool ComputeEqualPriors(std::span<const std::size_t> dependents);
  /// Stores the choice for a dependent and, but for custom priors, fills its priors. False: message
  /// 104.
  bool SetPriorKind(std::size_t dependent, PriorKind kind);
  /// Custom priors, one per class: as they are where their sum is 1, all equal where it is 0, else
  /// rescaled. False, and nothing changed: one is below 0 or above 1, which is told.
  bool SetCustomPriors(std::size_t dependent, std::span<const double> values);
  /// Takes a threshold from 0 to 1. Pair counts that are 0 become its integer part.
  void SetThreshold(double value);

  // --- Statistics --------------------------------------------------------------------------------
  // Weighted counts [predicted][observed] per dependent; the last two only with sampling.
  std::vector<ConfusionCounts> trainingConfusion, testConfusion, overallConfusion;

  /// Classifies every used case and fills the confusion tables. False: cancelled (no message), or
  /// message 104; there are then none.
  bool ComputeNaiveBayesStatistics();
  /// Whether a likelihood of the last pass was not a number.
  bool numericFault() const { return numericFault_; }
  /// Frees every array of the engine; distributions, kinds of priors and threshold stay.
  void ResetNaiveBayesEngine();
  /// The data were read anew.
  void DataChanged() { model_.Release(); }

  // --- Prediction --------------------------------------------------------------------------------
  std::string caseLabel;                     // of the case last loaded with its label
  HostArray<double> caseInputs;              // of the case last loaded
  HostArray<double> caseDependents;          // its observed classes
  HostArray<double> predictedCode;           // per dependent: code of the class; -9999: none
  HostArray<double> misclassified;           // 0 correct, 1 wrong; -9999: not predicted or observed
  std::vector<HostArray<double>> posterior;  // per dependent and class; -9999: none

  /// Loads a stored case into caseInputs and caseDependents. With a label, caseLabel becomes the
  /// case's label, or its number where that is empty. False: the host stopped. Throws
  /// MemoryRefused.
  bool LoadNaiveBayesCase(Sample sample, std::int32_t indexInSample, bool withLabel);
  /// Fills the last three for given inputs. Without observed values (empty) `misclassified` is
  /// -9999. Throws MemoryRefused.
  void ComputePosterior(std::span<const double> inputs, std::span<const double> observed = {});
  /// Predicts the used cases of a subset in file order and calls `visit` after each, with the last
  /// three filled. Throws MemoryRefused, Cancelled.
  void PredictCases(Subset subset, const std::function<void(const LoadedCase&)>& visit);

  /// ln of the density of x in a class with that mean and variance, for distributions other than
  /// discrete.
  static double LogDensity(double mean, double variance, double x, Distribution distribution);
  /// The term of categorical input k for class c of dependent d. False: x is no category that a
  /// training case has. Throws MemoryRefused.
  bool LogDiscreteFrequency(std::size_t k, std::size_t d, std::size_t c, double x, double& term);

 private:
  std::size_t dependents() const { return data_.roles().categoricalDependents.size(); }
  std::size_t Classes(std::size_t d) const { return data_.dependentCategories(d).classes().size(); }
  void EnterDistributions(std::span<const std::vector<int>> lists);
  template <class Prior>
  bool FillPriors(std::span<const std::size_t> dependents, Prior prior);
  /// Makes the model anew where something that it is made of has changed. Throws MemoryRefused.
  void PrepareModel();
  void AllocateOutputs();
  /// Takes the outputs of row `row` of block_ into the fields.
  void TakeOutputs(std::size_t row, std::span<const double> observed);
  /// One table per dependent. Throws MemoryRefused.
  std::vector<ConfusionCounts> EmptyCounts() const;
  /// Per sample and dependent.
  using SampleCounts = std::array<std::vector<ConfusionCounts>, 2>;
  /// Counts rows first to last - 1 of a block that was classified, for dependent d.
  void CountRows(const CaseBlocks& cases, std::size_t d, std::size_t first, std::size_t last,
                 const CodeLookup& lookup, SampleCounts& share) const;
  /// Adds the cases of a subset to the confusion tables. Throws MemoryRefused, Cancelled.
  void CountCases(Subset subset, WorkerTeam& team);

  AnalysisDataSet& data_;
  PosteriorModel model_;  // empty: to be made
  ClassifiedBlock block_;
  std::unique_ptr<WorkerTeam> single_;  // for one case at a time
  bool numericFault_ = false;
};

}  // namespace qrvml
