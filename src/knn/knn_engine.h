// The nearest-neighbour engine: settings, neighbours and predictions of one case, the choice of K
// by cross-validation, the statistics of the test sample.
//
// The model is the training sample itself, called the prototypes. An input vector holds the
// continuous inputs first, then the category codes of the categorical ones; a dependent vector
// likewise. Classes go by the byte order of their texts.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/documents.h"
#include "host/memory.h"
#include "host/training_display.h"
#include "knn/knn_vote.h"
#include "knn/neighbour_search.h"
#include "stats/confusion_counts.h"
#include "stats/regression_summary.h"

namespace qrvml {

class KNNEngine {
 public:
  /// Sets the settings' defaults and the data set's scaling bounds. The data set outlives it.
  explicit KNNEngine(AnalysisDataSet& data);

  // --- Settings ----------------------------------------------------------------------------------
  bool weighted = false;              // distance-weighted vote
  bool applyCrossValidation = false;  // choose k by cross-validation
  double minimumK = 1.0;              // grid of the search: minimumK, + deltaK, … maximumK
  double maximumK = 5.0;
  double deltaK = 1.0;
  std::int32_t k = 1;  // neighbours used for prediction
  Metric metric = Metric::euclidean;
  std::int32_t folds = 10;             // v of the cross-validation
  std::int32_t crossValidationSeed;    // of its shuffle; default: seconds since 1970 / 1000
  TrainingDisplay* display = nullptr;  // where progress texts go; null: nowhere

  // --- Results of the K search -------------------------------------------------------------------
  std::int32_t gridPoints = 0;
  double bestError = 0;                     // regression: smallest mean squared error
  double bestAccuracy = 0;                  // classification: highest percentage correct
  HostArray<double> crossValidationErrors;  // per grid point: error, or accuracy in percent

  /// K of grid point g.
  std::int32_t GridK(std::int32_t g) const {
    return static_cast<std::int32_t>(minimumK + g * deltaK);
  }

  // --- Training ----------------------------------------------------------------------------------
  /// (Re)allocates the working arrays for the data set's current cases and, with cross-validation,
  /// the grid. False: message 104; everything is then freed.
  bool Allocate();
  /// Another number of neighbours after training. False: message 104.
  bool SetNeighbours(std::int32_t neighbours);
  /// Frees all working arrays and results; the settings stay.
  void Reset();
  /// The training run: K search where it is asked for, then the statistics of the test sample.
  /// False: cancelled (no message), or message 104 or 155; the arrays of the run are then freed and
  /// k is as it was.
  bool TrainKnn(bool silent);
  /// Statistics over the test sample with the current settings. Fails as TrainKnn.
  bool ComputeKnnStatistics(bool silent);

  const ConfusionCounts& confusion(std::size_t c) const { return confusion_[c]; }  // [pred][obs]
  const RegressionStatistics& regressionStatistics(std::size_t j) const {
    return regression_[j].statistics();
  }
  /// Empty ranges while there are no statistics.
  const PredictionRanges& ranges(std::size_t j) const {
    static const PredictionRanges none;
    return j < regression_.size() ? regression_[j].ranges() : none;
  }
  bool IsClassification() const { return !data_.roles().categoricalDependents.empty(); }

  // --- Prediction --------------------------------------------------------------------------------
  /// Loads a stored case into currentInputs, currentDependents or both. With a label, caseLabel
  /// becomes the case's label, or its number where that is empty. False: the host stopped.
  enum class Load { inputs = 0, dependents = 1, both = 2 };
  bool LoadCase(Sample sample, std::int32_t index, Load what, bool withLabel);
  /// The nearest prototypes of a query (unscaled), nearest first, without those of the excluded
  /// group: neighbourIndex (-1: an empty slot) and neighbourWeight. Throws MemoryRefused,
  /// Cancelled.
  void FindNearestPrototypes(std::span<const double> query, Exclusion excluded = {});
  /// Predictions, residuals, spreads and class scores from the first k neighbours; `search` finds
  /// these first. Without observed values (empty) the residuals are -9999. Throws as above.
  void PredictCase(std::span<const double> inputs, std::span<const double> observed, bool search);
  /// Predicts every case of a sample in stored order and calls `visit(row)` after each, with the
  /// predictions below filled. Searches run many cases at a time. Throws as above.
  void PredictSample(Sample sample, const std::function<void(std::int32_t)>& visit);

  HostArray<std::int32_t> neighbourIndex;  // per slot: prototype, -1: empty
  HostArray<double> neighbourWeight;       // per slot
  HostArray<double> currentInputs;         // of the case last loaded or predicted
  HostArray<double> currentDependents;
  HostArray<double> predictions;  // per dependent: value, or code of the class
  HostArray<double> residuals;    // observed - predicted; of a class 0 correct, 1 wrong
  HostArray<double> spreads;      // per continuous dependent; 0 while k is 1
  std::vector<HostArray<double>> classScores;  // per categorical dependent: share of each class
  std::string caseLabel;

 private:
  struct CrossValidation;

  std::size_t inputs() const { return data_.roles().predictors.size(); }
  std::size_t dependents() const { return data_.roles().dependents.size(); }
  std::int32_t prototypes() const { return data_.StoredRows(Sample::training); }

  void AllocateSlots(std::int32_t slots);
  void PrepareSearch();
  void TakeNeighbours(std::span<const Neighbour> found);
  /// Queries to search at a time for that many neighbours each.
  static std::int32_t BatchSize(std::int32_t slots);
  void ReleaseStatistics();
  /// The K search; sets k, the errors per grid point and the best of them. Throws MemoryRefused,
  /// Cancelled.
  void SelectKByCrossValidation(bool silent);
  /// A random self-inverse permutation of the prototypes. Throws Cancelled, MemoryRefused.
  HostArray<std::int32_t> ShufflePrototypes() const;
  /// Predicts the cases of a fold, at most one batch, for every K of the grid. Throws as above.
  void CrossValidate(CrossValidation& run, std::span<const std::int32_t> cases, std::int32_t fold);
  void AddToGrid(const CrossValidation& run, std::int32_t prototype, std::int32_t filled);
  void ChooseK();
  bool ClassificationStatistics();
  bool RegressionStatisticsPass(bool silent);
  void ShowStatus(std::string_view text) const;

  AnalysisDataSet& data_;
  NeighbourSearch search_;
  bool searchReady_ = false;
  Metric searchMetric_ = Metric::euclidean;  // what search_ was built for
  bool searchScaled_ = false;
  PrototypeVotes votes_;
  KnnVote vote_;
  HostArray<Neighbour> found_;                 // of the query searched last
  std::vector<ConfusionCounts> confusion_;     // per categorical dependent
  std::vector<RegressionSummary> regression_;  // per continuous dependent
};

}  // namespace qrvml
