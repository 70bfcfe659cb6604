// The nearest-neighbour part of the generated texts. The model is the prototypes themselves; the
// code searches and votes as the engine does.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "deploy/method_code.h"
#include "knn/knn_engine.h"

namespace qrvml {

/// Reads every prototype through KNNEngine::LoadCase, which leaves the last one in the engine's
/// current case; throws Cancelled and MemoryRefused.
///
/// Values are "%g", and category codes "%d": "%g" would round a code of seven digits away. A
/// dependent's code is that of its class, since one class may have several codes. The C text lists
/// classes by code, so exact ties of votes fall to the smallest code there; the other two texts
/// list them as the engine does, by text.
class KnnCode final : public MethodCode {
 public:
  /// All three outlive it.
  KnnCode(const DeployedVariables& variables, const AnalysisDataSet& data, KNNEngine& engine);

  void CModel(CodeWriter& out) override;
  void CFunctions(CodeWriter& out) override;
  void CHarnessVariables(CodeWriter& out) override;
  void CHarnessPrediction(CodeWriter& out) override;

  void QvbDeclarations(CodeWriter& out) override;
  void QvbInitialisation(CodeWriter& out) override;
  void QvbCase(CodeWriter& out) override;
  void QvbFunctions(CodeWriter& out) override;

  void PmmlModel(CodeWriter& out, std::size_t dependent) override;

 private:
  using PrototypeVisitor = std::function<void(
      std::size_t number, std::span<const double> dependents, std::span<const double> inputs)>;
  /// Visits the prototypes in their order, numbered from 1. A dependent's code is that of its
  /// class.
  void ForEachPrototype(const PrototypeVisitor& visit);
  static void PutValue(CodeWriter& out, const DeployedVariable& variable, double value);

  std::size_t prototypes() const {
    return static_cast<std::size_t>(data_.StoredRows(Sample::training));
  }
  std::span<const double> shifts() const { return data_.offsets().first(variables_.inputs.size()); }
  std::span<const double> scales() const { return data_.slopes().first(variables_.inputs.size()); }

  const DeployedVariables& variables_;
  const AnalysisDataSet& data_;
  KNNEngine& engine_;
};

}  // namespace qrvml
