#include "knn/knn_case_source.h"

namespace qrvml {

CaseResult KnnCaseSource::Stored(Sample sample, std::int32_t row) const {
  const std::size_t inputs = data_.roles().predictors.size();
  const std::size_t dependents = data_.roles().dependents.size();
  const auto r = static_cast<std::size_t>(row);
  CaseResult result;
  result.caseNumber = data_.CaseNumberOf(sample, row);
  result.inputs = data_.PredictorRows(sample).subspan(r * inputs, inputs);
  result.observed = data_.DependentRows(sample).subspan(r * dependents, dependents);
  return result;
}

CaseResult KnnCaseSource::WithPredictions(CaseResult result) const {
  result.isPredicted = true;
  result.predictions = engine_.predictions;
  result.residuals = engine_.residuals;
  result.spreads = engine_.spreads;
  result.confidences = engine_.classScores;
  return result;
}

void KnnCaseSource::Visit(Subset subset, bool predict,
                          const std::function<void(const CaseResult&)>& visit) {
  const std::int32_t prototypes = subset == Subset::test ? 0 : data_.StoredRows(Sample::training);
  std::int32_t next = 0;
  // Both samples are stored in file order, so merging them by case number restores the file's.
  const auto visitPrototypesBefore = [&](std::int32_t caseNumber) {
    for (; next < prototypes && data_.CaseNumberOf(Sample::training, next) < caseNumber; ++next)
      visit(Stored(Sample::training, next));
  };
  if (subset != Subset::training) {
    const auto visitTest = [&](std::int32_t row) {
      const CaseResult result = Stored(Sample::test, row);
      visitPrototypesBefore(result.caseNumber);
      visit(predict ? WithPredictions(result) : result);
    };
    if (predict) {
      engine_.PredictSample(Sample::test, visitTest);
    } else {
      for (std::int32_t row = 0; row < data_.StoredRows(Sample::test); ++row) visitTest(row);
    }
  }
  visitPrototypesBefore(data_.numberOfCases() + 1);
}

CaseResult KnnCaseSource::Predict(std::span<const double> inputs) {
  engine_.PredictCase(inputs, {}, true);
  CaseResult result;
  result.inputs = inputs;
  return WithPredictions(result);
}

}  // namespace qrvml
