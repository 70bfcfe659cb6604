// The cases of a naive Bayes analysis with their predictions, each once whatever its weight.
#pragma once

#include "bayes/naive_bayes_engine.h"
#include "results/case_result.h"

namespace qrvml {

class NaiveBayesCaseSource final : public CaseSource {
 public:
  NaiveBayesCaseSource(AnalysisDataSet& data, NaiveBayesEngine& engine)
      : data_(data), engine_(engine) {}

  void Visit(Subset subset, bool predict,
             const std::function<void(const CaseResult&)>& visit) override;
  CaseResult Predict(std::span<const double> inputs) override;
  /// There are no continuous dependents.
  const PredictionRanges& Ranges(std::size_t, Subset) const override {
    static const PredictionRanges none;
    return none;
  }
  bool HasSpreads() const override { return false; }
  bool Predicts(Subset) const override { return true; }
  bool HasNumericFault() const override { return engine_.numericFault(); }

 private:
  CaseResult WithPredictions(CaseResult result) const;

  AnalysisDataSet& data_;
  NaiveBayesEngine& engine_;
};

}  // namespace qrvml
