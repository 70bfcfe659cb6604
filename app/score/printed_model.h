// The nearest-neighbour model that a generated text prints: values scanned from the text's own
// lines, and the loops that define a prediction. Nothing here is shared with what applies texts, so
// that each can be checked with the other.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

enum class CodeDialect { c, qvb, pmml };

struct PrintedPrediction {
  double value = 0;
  /// Classes that share the top vote, within a relative difference of 1e-12, where there are
  /// several: rounding decides between them.
  std::vector<double> tied;
};

class PrintedModel {
 public:
  /// The text outlives the object. False: `error` says which line is missing or does not read.
  static bool Read(CodeDialect dialect, std::string_view text, PrintedModel& model,
                   std::string& error);

  std::size_t Inputs() const { return continuousInputs + categoricalInputs; }
  std::size_t Dependents() const { return continuousDependents + classes.size(); }
  std::size_t Prototypes() const { return inputs.size() / Inputs(); }

  /// One case: a raw value or code per input, a prediction per dependent.
  void Predict(std::span<const double> values, std::span<PrintedPrediction> predictions) const;

  std::size_t continuousInputs = 0, categoricalInputs = 0, continuousDependents = 0;
  int metric = 0;  // 0 Euclidean, 1 squared Euclidean, 2 city-block, 3 Chebychev
  bool weighted = false;
  std::size_t neighbours = 0;
  std::vector<double> shift, scale;          // per input
  std::vector<std::vector<double>> classes;  // per categorical dependent: codes as listed

  // Prototype after prototype.
  std::vector<double> inputs, outputs;
  std::vector<std::string_view> inputTexts, outputTexts;  // the same as they are printed

 private:
  double Distance(std::span<const double> query, std::size_t prototype) const;
  void Classify(std::size_t dependent, std::span<const std::size_t> nearest,
                std::span<const double> weights, PrintedPrediction& prediction) const;
};

}  // namespace qrvml
