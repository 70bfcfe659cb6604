// The cases of a nearest-neighbour analysis with their predictions. Prototypes are not predicted.
#pragma once

#include "knn/knn_engine.h"
#include "results/case_result.h"

namespace qrvml {

class KnnCaseSource final : public CaseSource {
 public:
  KnnCaseSource(const AnalysisDataSet& data, KNNEngine& engine) : data_(data), engine_(engine) {}

  void Visit(Subset subset, bool predict,
             const std::function<void(const CaseResult&)>& visit) override;
  CaseResult Predict(std::span<const double> inputs) override;
  const PredictionRanges& Ranges(std::size_t j, Subset) const override { return engine_.ranges(j); }
  bool HasSpreads() const override { return engine_.k > 1; }
  bool Predicts(Subset subset) const override { return subset != Subset::training; }

 private:
  /// The stored case without predictions.
  CaseResult Stored(Sample sample, std::int32_t row) const;
  CaseResult WithPredictions(CaseResult result) const;

  const AnalysisDataSet& data_;
  KNNEngine& engine_;
};

}  // namespace qrvml
