// The model that a generated text prints: values scanned from the text's own lines, and the loops
// that define a prediction. Nothing here is shared with what applies texts, so that each can be
// checked with the other.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace qrvml {

enum class CodeDialect { c, qvb, pmml };

struct PrintedPrediction {
  double value = 0;
  double rounding = 0;  // of a number: how far the sums of a text may be off
  /// Classes that share the top within rounding, where there are several: rounding decides between
  /// them.
  std::vector<double> tied;
  bool isArbitrary = false;  // no class has a top: the first was taken
};

class PrintedModel {
 public:
  virtual ~PrintedModel() = default;

  std::size_t Inputs() const { return continuousInputs + categoricalInputs; }
  std::size_t Dependents() const { return continuousDependents + classes.size(); }

  /// One case: a raw value or code per input, a prediction per dependent.
  virtual void Predict(std::span<const double> values,
                       std::span<PrintedPrediction> predictions) const = 0;

  std::size_t continuousInputs = 0, categoricalInputs = 0, continuousDependents = 0;
  std::vector<std::vector<double>> classes;  // per categorical dependent: codes as listed
};

}  // namespace qrvml
