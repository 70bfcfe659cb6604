// The support vector engine: the training problem, the solver's settings, the training run with its
// parameter search, the prediction of every case and the statistics of all samples.
//
// An entry of the problem is one unit of weight of a training case. Its inputs are the continuous
// predictors in list order, then one indicator per category of each categorical predictor in
// ascending code order; node indices count from 1. Its target is the first dependent: the value, or
// the code of the class. Statistics show classes by the byte order of their texts.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "data/analysis_data_set.h"
#include "host/memory.h"
#include "host/training_display.h"
#include "stats/confusion_counts.h"
#include "stats/regression_summary.h"
#include "svm/svm_solver.h"

namespace qrvml {

class FoldTrainings;

class SVMEngine final : public TrainingRowSink {
 public:
  /// Sets the defaults and the data set's scaling bounds. The data set outlives it.
  explicit SVMEngine(AnalysisDataSet& data);

  // --- Settings ----------------------------------------------------------------------------------
  SVMParameters parameters;
  /// Iteration limit, counters and diagnostics of the solver; poll, threads are set by each run.
  SVMSolverState solver;
  bool usePenalty = false;  // class weights; see SetUsePenalty
  bool applyCrossValidation = false;
  std::int32_t folds = 10;
  std::int32_t crossValidationSeed = 0;  // default: seconds since 1970 / 1000
  double minimumC = 1.0, maximumC = 10.0, deltaC = 1.0;
  double minimumEpsilon = 0.1, maximumEpsilon = 0.5, deltaEpsilon = 0.1;
  double minimumNu = 0.1, maximumNu = 0.5, deltaNu = 0.1;  // kept, not searched
  TrainingDisplay* display = nullptr;                      // where progress texts go; null: nowhere

  /// The penalties as a text in class order, as it was given or as OK made it.
  std::string penaltyList;

  /// A change empties the list; switching it on lets go of earlier class weights.
  void SetUsePenalty(bool use);
  /// One penalty per class of the dependent, in text order.
  void SetClassWeights(std::span<const double> penalties);
  /// The same from the list, which then holds just them. False, with what is wrong: a class has no
  /// number there.
  bool TakePenaltyList(std::string& error);
  void DiscardClassWeights();

  // --- The training problem ----------------------------------------------------------------------
  SVMProblem problem;
  void AllocateRows(std::int32_t rows, std::int32_t width) override;
  void AddTrainingRow(std::int32_t rowIndex, std::span<const double> inputs,
                      std::span<const double> dependents) override;
  /// Scales continuous inputs and a continuous target where the data set's settings say so. Once
  /// per problem.
  void ScaleSvmProblem();

  // --- Training ----------------------------------------------------------------------------------
  /// The training run. False: cancelled (no message), the parameter check's message, 104 or 155;
  /// there is then no model, and C and epsilon are as they were. The problem keeps its order.
  bool TrainSvm(bool silent);
  /// Which setting the message 155 of the last run is about; empty: none.
  const char* faultReason() const { return faultReason_; }
  /// Statistics of the training sample and, where the data are split, of the test sample and both.
  /// False as above, and the statistics are freed.
  bool ComputeSvmStatistics();
  /// Frees model, problem, class weights and statistics; then the defaults.
  void ResetSvmEngine();

  std::unique_ptr<SVMModel> model;
  double bestError = std::numeric_limits<double>::max();  // of the last search: regression
  double bestAccuracy = 0;                                // classification, in percent

  // --- Prediction --------------------------------------------------------------------------------
  /// Predicts a case of the file (from 1). `problemSlot`: of a training case, its first entry in
  /// the problem. Of a case in neither sample only the label is fetched. False: the host stopped.
  /// Throws MemoryRefused.
  bool PredictSvmCase(std::int32_t caseNumber, std::int32_t problemSlot);
  /// Predicts inputs that are no case of the file: the predictors in list order, unscaled, with
  /// codes of categories. Sets `predicted` and the vote shares. Throws MemoryRefused.
  void PredictInputs(std::span<const double> inputs);

  struct VisitedCase {
    std::int32_t number;  // from 1
    std::int32_t weight;
    std::uint8_t flag;
  };
  /// Visits the used cases of a subset in file order, each once. Its label, inputs and observed
  /// value stand in the fields below, and where `predict` asks for it what was predicted. False:
  /// the host stopped. Throws MemoryRefused, Cancelled.
  bool VisitSvmCases(Subset subset, bool predict,
                     const std::function<void(const VisitedCase&)>& visit);

  double observed = 0;
  double predicted = 0;
  double residual = 0;                // observed - predicted; of a class 0 correct, 1 wrong
  HostArray<double> currentInputs;    // predictors in list order, unscaled
  HostArray<double> classVoteShares;  // per class in the order of model->labels
  std::string caseLabel;

  bool IsClassification() const { return !data_.roles().categoricalDependents.empty(); }
  /// Counts [observed][predicted] by class text.
  const ConfusionCounts& confusion(Subset subset) const { return confusion_[std::size_t(subset)]; }
  const RegressionStatistics& regressionStatistics(Subset subset) const {
    return regression_[std::size_t(subset)].statistics();
  }
  const PredictionRanges& ranges(Subset subset) const { return ranges_[std::size_t(subset)]; }

 private:
  std::size_t continuous() const { return data_.roles().continuousPredictors.size(); }
  bool HasDependent() const { return !data_.roles().dependents.empty(); }
  void SetDefaults();
  void ReleaseStatistics();
  void PrepareRun(bool silent);
  void ShowStatus(std::string_view text) const;

  /// The parameter search; leaves the chosen C and epsilon in `parameters`. Throws MemoryRefused,
  /// Cancelled, NumericFault; the problem is then in its order again.
  void SearchSvmParameters(bool silent);
  void ShuffleProblem(bool silent, HostArray<std::int32_t>& permutation);
  void RestoreProblem(const HostArray<std::int32_t>& permutation);
  void SearchGrid(bool silent);
  /// Mean squared error, or percentage of correct entries. Throws as above.
  double CrossValidateSvm(FoldTrainings& trainings, bool silent);
  /// Texts and polls of a cross-validation whose result is known.
  void PassFolds(bool silent);
  void ShowFold(bool silent, std::int32_t fold) const;

  /// Label, inputs and observed value of a case, and its nodes in `caseNodes_` (null: in neither
  /// sample). False: the host stopped.
  bool FetchSvmCase(std::int32_t caseNumber, std::int32_t problemSlot, CaseReader& reader);
  double Unscaled(double prediction) const;
  /// Sets `predicted` and `residual` from what the model says.
  void TakePrediction(double prediction);
  struct CaseWindow;
  void KeepInWindow(CaseWindow& window, const VisitedCase& visited) const;
  void TakeFromWindow(const CaseWindow& window, std::size_t at);
  void TakeTrainingInputs(const SVMNode* entry);
  bool ReadTestCase(std::int32_t caseNumber, CaseReader& reader);
  void BuildSingleCase();
  double ClassCode(double code) const;
  bool ClassificationStatistics();
  bool RegressionStatisticsPass();

  AnalysisDataSet& data_;
  const char* faultReason_ = "";
  HostArray<SVMNode> nodes_;  // entries x (width + 1)
  HostArray<SVMNodeList> lists_;
  HostArray<double> targets_;
  HostArray<SVMNode> singleCase_;
  const SVMNode* caseNodes_ = nullptr;  // of the case last fetched
  HostArray<double> dependents_;        // of the test case last read

  std::array<ConfusionCounts, kSubsets> confusion_;
  std::array<RegressionSummary, kSubsets> regression_;
  std::array<PredictionRanges, kSubsets> ranges_;
};

}  // namespace qrvml
