// The nearest-neighbour model as generated texts print it and as the engine's tables show it.
#pragma once

#include <string_view>
#include <vector>

#include "score/printed_model.h"
#include "score/verification.h"

namespace qrvml {

class PrintedNeighbours final : public PrintedModel {
 public:
  /// The text outlives the object. False: `error` says which line is missing or does not read.
  static bool Read(CodeDialect dialect, std::string_view text, PrintedNeighbours& model,
                   std::string& error);

  std::size_t Prototypes() const { return inputs.size() / Inputs(); }
  void Predict(std::span<const double> values,
               std::span<PrintedPrediction> predictions) const override;

  int metric = 0;  // 0 Euclidean, 1 squared Euclidean, 2 city-block, 3 Chebychev
  bool weighted = false;
  std::size_t neighbours = 0;
  std::vector<double> shift, scale;  // per input

  // Prototype after prototype.
  std::vector<double> inputs, outputs;
  std::vector<std::string_view> inputTexts, outputTexts;  // the same as they are printed

 private:
  double Distance(std::span<const double> query, std::size_t prototype) const;
  void Classify(std::size_t dependent, std::span<const std::size_t> nearest,
                std::span<const double> weights, PrintedPrediction& prediction) const;
};

/// Compared are settings, scaling and prototypes.
class EngineNeighbours final : public EngineModel {
 public:
  std::unique_ptr<PrintedModel> Read(CodeDialect dialect, std::string_view text,
                                     std::string& error) const override;
  void Compare(CodeDialect dialect, const PrintedModel& printed, std::size_t firstDependent,
               TextCheck& check) const override;
  /// By code in the C program, by text in the others.
  std::vector<double> ListedClasses(CodeDialect dialect, const EngineField& field) const override;
  std::string_view TiedWord() const override { return "votes"; }

  int metric = 0;
  bool weighted = false, standardized = false;
  std::size_t neighbours = 0;
  std::vector<double> prototypeInputs, prototypeOutputs;
  /// The range of the standardised inputs is that of the rows above and of the cases: without case
  /// weights, which can leave out a case that counts for the range.
  bool hasRange = true;

  std::size_t Prototypes() const { return prototypeInputs.size() / inputs.size(); }
};

}  // namespace qrvml
