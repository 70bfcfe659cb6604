#include "deploy/deployed_variables.h"

#include <algorithm>
#include <limits>

#include "data/value_text.h"

namespace qrvml {
namespace {

DeployedVariable Describe(const DataFile& file, int variable, const CategoryTable* categories) {
  DeployedVariable described;
  described.name = CommentText(VariableName(file, variable));
  described.number = variable;
  if (categories == nullptr) return described;
  described.isCategorical = true;
  for (const auto& entry : categories->classes())
    described.texts.push_back({CommentText(entry.text), entry.code});
  for (const auto& entry : categories->codes())
    described.codes.push_back({CommentText(entry.text), entry.code});
  return described;
}

}  // namespace

std::size_t DeployedVariables::Continuous(const std::vector<DeployedVariable>& variables) {
  return static_cast<std::size_t>(
      std::ranges::count(variables, false, &DeployedVariable::isCategorical));
}

DeployedVariables DescribeVariables(const DataFile& file, const AnalysisDataSet& data) {
  const VariableRoles& roles = data.roles();
  DeployedVariables described;
  described.fileName = CommentText(file.DataFileText());
  for (const int variable : roles.continuousDependents)
    described.dependents.push_back(Describe(file, variable, nullptr));
  for (std::size_t c = 0; c < roles.categoricalDependents.size(); ++c)
    described.dependents.push_back(
        Describe(file, roles.categoricalDependents[c], &data.dependentCategories(c)));
  for (const int variable : roles.continuousPredictors)
    described.inputs.push_back(Describe(file, variable, nullptr));
  for (std::size_t c = 0; c < roles.categoricalPredictors.size(); ++c)
    described.inputs.push_back(
        Describe(file, roles.categoricalPredictors[c], &data.predictorCategories(c)));
  return described;
}

std::size_t TotalTexts(const std::vector<DeployedVariable>& variables) {
  std::size_t total = 0;
  for (const DeployedVariable& variable : variables) total += variable.texts.size();
  return total;
}

std::size_t TotalCodes(const std::vector<DeployedVariable>& variables) {
  std::size_t total = 0;
  for (const DeployedVariable& variable : variables) total += variable.codes.size();
  return total;
}

const DeployedVariable* FindCodeBeyondInteger(const DeployedVariables& variables) {
  using Integer = std::numeric_limits<std::int32_t>;
  for (const auto* list : {&variables.dependents, &variables.inputs}) {
    for (const DeployedVariable& variable : *list) {
      if (variable.codes.empty()) continue;
      if (variable.codes.front().code < Integer::min() ||
          variable.codes.back().code > Integer::max())
        return &variable;
    }
  }
  return nullptr;
}

std::string BeyondIntegerText(const DeployedVariable& variable) {
  using Integer = std::numeric_limits<std::int32_t>;
  return "The codes of " + variable.name + " must lay in the range " +
         std::to_string(Integer::min()) + " to " + std::to_string(Integer::max()) +
         " to be written as integers of C and QVB.";
}

std::string CommentText(std::string_view text) {
  constexpr std::string_view kLineEnds[] = {"\u0085", "\u2028", "\u2029"};
  std::string kept = CleanName(text);
  for (const std::string_view lineEnd : kLineEnds) {
    for (std::size_t at = kept.find(lineEnd); at != std::string::npos; at = kept.find(lineEnd, at))
      kept.erase(at, lineEnd.size());
  }
  return kept;
}

}  // namespace qrvml
