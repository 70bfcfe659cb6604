#include "svm/svm_case_source.h"

#include <algorithm>

#include "host/string_table.h"
#include "svm/model_classes.h"

namespace qrvml {

SvmCaseSource::SvmCaseSource(const AnalysisDataSet& data, SVMEngine& engine) : engine_(engine) {
  if (!engine.IsClassification()) return;
  labelOfClass_ = LabelPositions(*engine.model, data.dependentCategories(0));
  confidences_.Assign(labelOfClass_.size(), 0.0);
}

void SvmCaseSource::AddPredictions(CaseResult& result) {
  for (std::size_t c = 0; c < labelOfClass_.size(); ++c) {
    const int position = labelOfClass_[c];
    confidences_[c] =
        position < 0 ? 0.0 : engine_.classVoteShares[static_cast<std::size_t>(position)];
  }
  numericFault_ = numericFault_ || !std::isfinite(engine_.predicted);
  result.isPredicted = true;
  result.predictions = {&engine_.predicted, 1};
  result.residuals = {&residual_, 1};
  if (!confidences_.empty()) result.confidences = {&confidences_, 1};
}

void SvmCaseSource::Visit(Subset subset, bool predict,
                          const std::function<void(const CaseResult&)>& visit) {
  numericFault_ = false;
  const bool finished =
      engine_.VisitSvmCases(subset, predict, [&](const SVMEngine::VisitedCase& visited) {
        CaseResult result;
        result.caseNumber = visited.number;
        result.inputs = engine_.currentInputs;
        result.observed = {&engine_.observed, 1};
        residual_ = engine_.residual;
        if (predict) AddPredictions(result);
        for (std::int32_t copy = 0; copy < visited.weight; ++copy) visit(result);
      });
  // The host has said why.
  if (!finished) throw Cancelled();
}

CaseResult SvmCaseSource::Predict(std::span<const double> inputs) {
  numericFault_ = false;
  engine_.PredictInputs(inputs);
  CaseResult result;
  result.inputs = inputs;
  residual_ = kMissingOutput;
  AddPredictions(result);
  return result;
}

}  // namespace qrvml
