// The nearest-neighbour model of a PMML document: the examples are searched one by one, as the
// element defines it.
#pragma once

#include <vector>

#include "score/deployed_model.h"

namespace qrvml {

class NeighbourModel final : public DeployedModel {
 public:
  bool Predict(std::span<const double> values, std::span<double> predictions,
               std::string& error) override;

  int metric = 0;  // 0 Euclidean, 1 squared Euclidean, 2 city-block, 3 Chebychev
  bool weighted = false;
  std::size_t neighbours = 0;         // at least 1, at most the number of examples
  std::vector<double> shift, scale;   // per input: scaled = shift + scale * value
  std::vector<double> exampleValues;  // per example: value or code of the dependent
  std::vector<double> exampleInputs;  // per example: one value per input, unscaled

 private:
  struct Neighbour {
    double distance;
    std::size_t example;
  };
  double Distance(const double* example) const;
  void Search();
  double Value() const;
  double Class() const;

  std::vector<double> query_;       // scaled
  std::vector<Neighbour> nearest_;  // nearest first; of equally near ones the earlier first
  std::vector<double> weights_;     // of nearest_
};

}  // namespace qrvml
