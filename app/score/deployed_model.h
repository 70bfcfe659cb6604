// A generated text, read back and ready to predict: what it says of its variables, and its
// predictions case by case.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

struct DeployedCategory {
  std::string text;
  double code = 0;
};

struct DeployedField {
  std::string name;
  bool isCategorical = false;
  std::vector<DeployedCategory> categories;  // in the order of the text

  /// Null: the field has no such code, or text.
  const DeployedCategory* FindCode(double code) const;
  const DeployedCategory* FindText(std::string_view text) const;
};

class DeployedModel {
 public:
  DeployedModel() = default;
  DeployedModel(const DeployedModel&) = delete;
  DeployedModel& operator=(const DeployedModel&) = delete;
  virtual ~DeployedModel() = default;

  /// Predicts one case: a value or code per input, a value or code per dependent. False: `error`
  /// says why, a clause; no further case can be predicted.
  virtual bool Predict(std::span<const double> values, std::span<double> predictions,
                       std::string& error) = 0;
  /// Predicts several cases, one after the other in both lists; at least one. Gives how many were
  /// predicted; fewer than were asked for: `error` says why the next one could not be.
  virtual std::size_t PredictBatch(std::span<const double> values, std::span<double> predictions,
                                   std::string& error);

  std::vector<DeployedField> dependents, inputs;
};

}  // namespace qrvml
