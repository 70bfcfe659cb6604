#include "bayes/naive_bayes_case_source.h"

#include "data/case_blocks.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::size_t kRowsTogether = 1024;

CaseResult Without(const LoadedCase& loaded) {
  CaseResult result;
  result.caseNumber = loaded.caseNumber;
  result.inputs = loaded.inputs;
  result.observed = loaded.observed;
  return result;
}

}  // namespace

CaseResult NaiveBayesCaseSource::WithPredictions(CaseResult result) const {
  result.isPredicted = !IsEqual(engine_.predictedCode[0], kMissingOutput);
  result.predictions = engine_.predictedCode;
  result.residuals = engine_.misclassified;
  result.confidences = engine_.posterior;
  return result;
}

void NaiveBayesCaseSource::Visit(Subset subset, bool predict,
                                 const std::function<void(const CaseResult&)>& visit) {
  // Without sampling every case is a training case.
  if (!data_.sampling.apply && subset == Subset::both) subset = Subset::training;
  if (predict) {
    engine_.PredictCases(
        subset, [&](const LoadedCase& loaded) { visit(WithPredictions(Without(loaded))); });
    return;
  }
  const std::size_t inputs = data_.roles().predictors.size();
  const std::size_t dependents = data_.roles().dependents.size();
  for (CaseBlocks cases(data_, subset, kRowsTogether); cases.Next();) {
    for (std::size_t row = 0; row < cases.rows(); ++row)
      visit(Without({cases.caseNumbers()[row],
                     {cases.predictors() + row * inputs, inputs},
                     {cases.dependents() + row * dependents, dependents}}));
  }
}

CaseResult NaiveBayesCaseSource::Predict(std::span<const double> inputs) {
  engine_.ComputePosterior(inputs);
  CaseResult result;
  result.inputs = inputs;
  return WithPredictions(result);
}

}  // namespace qrvml
