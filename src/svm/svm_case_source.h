// The cases of a support vector analysis with their predictions, a weighted case once per unit of
// its weight. Confidences are the vote shares, by the byte order of the classes' texts.
#pragma once

#include <vector>

#include "results/case_result.h"
#include "svm/svm_engine.h"

namespace qrvml {

class SvmCaseSource final : public CaseSource {
 public:
  /// The engine has a model, which stays. Throws MemoryRefused.
  SvmCaseSource(const AnalysisDataSet& data, SVMEngine& engine);

  void Visit(Subset subset, bool predict,
             const std::function<void(const CaseResult&)>& visit) override;
  CaseResult Predict(std::span<const double> inputs) override;
  const PredictionRanges& Ranges(std::size_t, Subset subset) const override {
    return engine_.ranges(subset);
  }
  bool HasSpreads() const override { return false; }
  bool Predicts(Subset) const override { return true; }
  bool HasNumericFault() const override { return numericFault_; }

 private:
  void AddPredictions(CaseResult& result);

  SVMEngine& engine_;
  std::vector<int> labelOfClass_;  // per class: its position in the model's labels; -1: none
  HostArray<double> confidences_;  // per class
  double residual_ = 0;
  bool numericFault_ = false;
};

}  // namespace qrvml
