// A generated QVB script: run as a node of a workflow, on a table of the cases that are asked for.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/data_file.h"
#include "qvb/interpreter.h"
#include "score/deployed_model.h"

namespace qrvml {

/// The script writes the prediction of dependent k into column k of the node's sheet and its
/// residual into column k + 1, so that a later dependent's prediction takes the place of the
/// residual before it: column k is read as the prediction of dependent k.
class QvbScript final : public DeployedModel {
 public:
  /// The script knows its variables by their numbers and its categories by their codes; names and
  /// texts are those that `file` has for them. A script that names only the first of several
  /// dependents needs the variables of all. The limits' flag outlives the object. Null: `error`
  /// says why, a clause.
  static std::unique_ptr<QvbScript> Read(std::string name, std::string text, const DataFile& file,
                                         const ScriptLimits& limits, std::string& error,
                                         std::span<const int> dependentVariables = {});

  bool Predict(std::span<const double> values, std::span<double> predictions,
               std::string& error) override;
  /// All cases in one run, or none.
  std::size_t PredictBatch(std::span<const double> values, std::span<double> predictions,
                           std::string& error) override;

 private:
  QvbScript(std::string name, std::string text, const ScriptLimits& limits)
      : name_(std::move(name)), text_(std::move(text)), limits_(limits) {}

  const std::string name_, text_;
  const ScriptLimits limits_;
};

}  // namespace qrvml
