// Which variables take part in an analysis, and as what.
#pragma once

#include <cstdint>
#include <vector>

namespace qrvml {

/// The four lists that the user chooses, as 1-based variable numbers, and what is derived from
/// them. "Predictors" means continuous then categorical, likewise "dependents"; "all" is predictors
/// then dependents. A position in `all` is called a slot.
struct VariableRoles {
  std::vector<int> continuousDependents;
  std::vector<int> categoricalDependents;
  std::vector<int> continuousPredictors;
  std::vector<int> categoricalPredictors;

  std::vector<int> predictors;
  std::vector<int> dependents;
  std::vector<int> all;

  /// Derives the last three lists from the first four.
  void Build();
  bool IsEmpty() const { return all.empty(); }
  bool IsAnalysisVariable(int variable) const;
  bool IsCategoricalPredictor(int variable) const;
  bool IsCategoricalDependent(int variable) const;
  bool IsCategorical(int variable) const {
    return IsCategoricalPredictor(variable) || IsCategoricalDependent(variable);
  }
};

}  // namespace qrvml
