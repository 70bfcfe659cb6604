#include "score/scoring.h"

#include <cmath>
#include <limits>

#include "data/value_text.h"

namespace qrvml {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

}  // namespace

int Scoring::FindVariable(const DataFile& file, std::string_view name) {
  for (int variable = 1; variable <= file.NumberOfVariables(); ++variable) {
    if (VariableName(file, variable) == name) return variable;
  }
  return 0;
}

bool Scoring::FindVariables(std::string& error) {
  inputs_.clear();
  dependents_.clear();
  for (const DeployedField& input : model_.inputs) {
    inputs_.push_back(FindVariable(file_, input.name));
    if (inputs_.back() != 0) continue;
    error = "the data have no variable \"" + input.name + "\", which the model needs as input " +
            std::to_string(inputs_.size());
    return false;
  }
  for (const DeployedField& dependent : model_.dependents)
    dependents_.push_back(FindVariable(file_, dependent.name));
  return true;
}

Scoring::Reading Scoring::Read(const DeployedField& field, int variable, double value,
                               double& read) const {
  if (value == file_.getmd5(variable)) return Reading::missing;
  read = value;
  if (!field.isCategorical) return Reading::value;
  const ValueTextResult shown = ValueText(file_, variable, value);
  const DeployedCategory* category = field.FindCode(value);
  // Codes of texts are given anew in every file; several codes may share a text.
  if (category == nullptr || (shown.isLabel && category->text != shown.text))
    category = field.FindText(shown.text);
  if (category == nullptr) return Reading::unknown;
  read = category->code;
  return Reading::value;
}

ScoringOutcome Scoring::Run(const std::function<void(const ScoredCase&)>& visit,
                            ScoringSummary& summary, std::string& error) {
  summary = {};
  summary.dependents.resize(model_.dependents.size());
  std::vector<double> values(static_cast<std::size_t>(file_.NumberOfVariables()) + 1);
  std::vector<double> inputs(model_.inputs.size()), predictions(model_.dependents.size()),
      observed(model_.dependents.size());
  const auto valueOf = [&](int variable) { return values[static_cast<std::size_t>(variable)]; };
  for (int number = 1; number <= file_.NumberOfCases(); ++number) {
    const CaseStatus status = file_.cstart(number, values.data());
    if (status == CaseStatus::stop) return ScoringOutcome::stopped;
    if (status == CaseStatus::skip) continue;
    Reading worst = Reading::value;
    for (std::size_t i = 0; i < inputs.size(); ++i)
      worst = std::max(worst, Read(model_.inputs[i], inputs_[i], valueOf(inputs_[i]), inputs[i]));
    const bool predicted = worst == Reading::value;
    if (predicted && !model_.Predict(inputs, predictions, error)) {
      error = "case " + std::to_string(number) + ": " + error;
      return ScoringOutcome::failed;
    }
    ++(predicted ? summary.scored : worst == Reading::missing ? summary.missing : summary.unknown);
    for (std::size_t d = 0; d < observed.size(); ++d) {
      const DeployedField& dependent = model_.dependents[d];
      observed[d] = kNone;
      if (dependents_[d] == 0 ||
          Read(dependent, dependents_[d], valueOf(dependents_[d]), observed[d]) != Reading::value) {
        observed[d] = kNone;
      } else if (predicted) {
        ScoredDependent& found = summary.dependents[d];
        ++found.compared;
        found.correct += dependent.isCategorical && observed[d] == predictions[d];
        const double residual = observed[d] - predictions[d];
        if (!dependent.isCategorical) found.squares += residual * residual;
      }
    }
    visit({number, predicted, predictions, observed});
  }
  return ScoringOutcome::done;
}

}  // namespace qrvml
