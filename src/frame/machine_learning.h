// The analysis object: owns the data set and the engines, and runs the sequence of dialogs.
#pragma once

#include <cstdint>
#include <memory>

#include "bayes/naive_bayes_engine.h"
#include "data/analysis_data_set.h"
#include "host/analysis_support.h"
#include "knn/knn_engine.h"
#include "svm/svm_engine.h"

namespace qrvml {

/// Kinds of analysis, as the automation interface numbers them.
enum MLTypeOfAnalysis : std::int32_t { scMLSVM = 0, scMLNB = 1, scMLKNN = 2 };

/// Steps of the sequence.
enum Step : int {
  kInitStep = 100,
  kStartStep = 101,
  kSvmStep = 102,
  kNaiveBayesStep = 103,
  kKnnStep = 104,
  kSvmResultsStep = 105,
  kNaiveBayesResultsStep = 106,
  kKnnResultsStep = 107,
};

class MachineLearning final : public CAnalysisSupport {
 public:
  explicit MachineLearning(void* document);
  ~MachineLearning() override;

  int InitializeAfterFileChanged() override { return Init(); }
  int Initialize() override;
  void DataSettingsChanged() override { data_->rereadNeeded = true; }
  void* GetLibInstance() const override;
  int GetAnalysisID() const override { return 3731; }
  std::string GetAnalysisName() const override;
  int RunStep(int step) override;
  std::span<const Control> ControlsOf(int step) const override;
  /// Weighted training and test cases of the last read.
  std::vector<std::pair<std::string, double>> Figures() const override;

  MLTypeOfAnalysis analysisKind = scMLSVM;
  /// Naive Bayes keeps case values in memory only below this many bytes.
  std::int32_t dataMatrixLimit = 30000000;

  AnalysisDataSet& data() { return *data_; }
  /// Null until the kind is chosen.
  SVMEngine* svmEngine() { return svmEngine_.get(); }
  KNNEngine* knnEngine() { return knnEngine_.get(); }
  NaiveBayesEngine* naiveBayesEngine() { return naiveBayesEngine_.get(); }

  /// Starts the chosen kind afresh: the data set's settings and lists go back to their defaults and
  /// the kind's engine is new; engines of other kinds stay. False: no such kind.
  bool GetAnalysis();

 private:
  int Init();
  void InitializeVariables();
  void InitializePointers();
  void AllocateMemoryForPointers();
  void DeletePointers();

  int StartAnalysis();
  int StartSVM();
  int StartNB();
  int StartKNN();
  int StartResultsSVM();
  int StartResultsNB();
  int StartResultsKNN();
  template <class Dialog, class... Arguments>
  int StartDialog(Arguments&... arguments);

  std::unique_ptr<AnalysisDataSet> data_;
  std::unique_ptr<SVMEngine> svmEngine_;
  std::unique_ptr<NaiveBayesEngine> naiveBayesEngine_;
  std::unique_ptr<KNNEngine> knnEngine_;
};

}  // namespace qrvml
