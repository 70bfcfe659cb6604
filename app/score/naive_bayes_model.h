// The naive Bayes model of a PMML document: densities and frequencies from what the element prints.
#pragma once

#include <vector>

#include "bayes/densities.h"
#include "score/deployed_model.h"

namespace qrvml {

/// The class with the largest likelihood times prior is predicted; of equal ones the first. What
/// the document does not have is taken from what it has: a class's prior is its share of the
/// training cases, and every input has a value in all of them.
class NaiveBayesModel final : public DeployedModel {
 public:
  struct ContinuousInput {
    Distribution distribution = Distribution::normal;
    std::vector<double> mean, variance;  // per class
  };
  using PairCounts = std::vector<std::vector<double>>;  // [category][class], as in the field

  /// `inputs` holds the continuous ones first.
  bool Predict(std::span<const double> values, std::span<double> predictions,
               std::string& error) override;
  /// To be called once all below is set: what does not depend on a case.
  void Prepare();

  double threshold = 0;
  std::vector<double> classCounts;  // as the dependent's categories
  std::vector<ContinuousInput> continuous;
  std::vector<PairCounts> categorical;

 private:
  double DensityTerm(std::size_t k, std::size_t c, double x) const;
  double FrequencyTerm(std::size_t m, std::size_t c, std::size_t v) const;

  double cases_ = 0;
  std::vector<double> leastVariance_;  // per continuous input: takes the place of 0
};

}  // namespace qrvml
