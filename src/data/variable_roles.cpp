#include "data/variable_roles.h"

#include <algorithm>

namespace qrvml {
namespace {

std::vector<int> Joined(const std::vector<int>& first, const std::vector<int>& second) {
  std::vector<int> joined = first;
  joined.insert(joined.end(), second.begin(), second.end());
  return joined;
}

bool Contains(const std::vector<int>& list, int variable) {
  return std::ranges::find(list, variable) != list.end();
}

}  // namespace

void VariableRoles::Build() {
  predictors = Joined(continuousPredictors, categoricalPredictors);
  dependents = Joined(continuousDependents, categoricalDependents);
  all = Joined(predictors, dependents);
}

bool VariableRoles::IsAnalysisVariable(int variable) const { return Contains(all, variable); }
bool VariableRoles::IsCategoricalPredictor(int variable) const {
  return Contains(categoricalPredictors, variable);
}
bool VariableRoles::IsCategoricalDependent(int variable) const {
  return Contains(categoricalDependents, variable);
}

}  // namespace qrvml
