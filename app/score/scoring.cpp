#include "score/scoring.h"

#include <algorithm>
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

void Scoring::Add(int caseNumber, std::span<const double> values, Batch& batch) {
  const auto valueOf = [&](int variable) { return values[static_cast<std::size_t>(variable)]; };
  const std::size_t before = batch.inputs.size();
  Reading worst = Reading::value;
  for (std::size_t i = 0; i < inputs_.size(); ++i) {
    worst = std::max(worst, Read(model_.inputs[i], inputs_[i], valueOf(inputs_[i]),
                                 batch.inputs.emplace_back()));
  }
  if (worst != Reading::value) batch.inputs.resize(before);
  for (std::size_t d = 0; d < dependents_.size(); ++d) {
    double value = kNone;
    const int variable = dependents_[d];
    const bool known = variable != 0 && Read(model_.dependents[d], variable, valueOf(variable),
                                             value) == Reading::value;
    batch.observed.push_back(known ? value : kNone);
  }
  batch.rows.push_back({caseNumber, worst});
}

void Scoring::Count(const ScoredCase& scored, ScoringSummary& summary) const {
  for (std::size_t d = 0; d < dependents_.size(); ++d) {
    if (!scored.isPredicted || std::isnan(scored.observed[d])) continue;
    const bool categorical = model_.dependents[d].isCategorical;
    const double residual = scored.observed[d] - scored.predictions[d];
    ScoredDependent& found = summary.dependents[d];
    ++found.compared;
    found.correct += categorical && residual == 0;
    if (!categorical) found.squares += residual * residual;
  }
}

bool Scoring::Finish(Batch& batch, const Visitor& visit, ScoringSummary& summary,
                     std::string& error) {
  const std::size_t width = dependents_.size();
  const auto asked =
      static_cast<std::size_t>(std::ranges::count(batch.rows, Reading::value, &Batch::Row::worst));
  batch.predictions.resize(asked * width);
  const std::size_t done =
      asked == 0 ? 0 : model_.PredictBatch(batch.inputs, batch.predictions, error);
  const std::vector<double> none(width, kNone);
  std::size_t next = 0;
  for (std::size_t r = 0; r < batch.rows.size(); ++r) {
    const Batch::Row& row = batch.rows[r];
    const bool predicted = row.worst == Reading::value;
    if (predicted && next == done) {
      error = "case " + std::to_string(row.caseNumber) + ": " + error;
      return false;
    }
    const std::span<const double> predictions =
        predicted ? std::span<const double>(batch.predictions).subspan(next++ * width, width)
                  : std::span<const double>(none);
    const ScoredCase scored{row.caseNumber, predicted, predictions,
                            std::span<const double>(batch.observed).subspan(r * width, width)};
    ++(predicted                       ? summary.scored
       : row.worst == Reading::missing ? summary.missing
                                       : summary.unknown);
    Count(scored, summary);
    visit(scored);
  }
  batch = {};
  return true;
}

ScoringOutcome Scoring::Run(const std::function<void(const ScoredCase&)>& visit,
                            ScoringSummary& summary, std::string& error) {
  constexpr std::size_t kBatch = 4096;
  summary = {};
  summary.dependents.resize(model_.dependents.size());
  std::vector<double> values(static_cast<std::size_t>(file_.NumberOfVariables()) + 1);
  Batch batch;
  for (int number = 1; number <= file_.NumberOfCases(); ++number) {
    const CaseStatus status = file_.cstart(number, values.data());
    if (status == CaseStatus::stop) return ScoringOutcome::stopped;
    if (status == CaseStatus::skip) continue;
    Add(number, values, batch);
    if (batch.rows.size() == kBatch && !Finish(batch, visit, summary, error))
      return ScoringOutcome::failed;
  }
  return Finish(batch, visit, summary, error) ? ScoringOutcome::done : ScoringOutcome::failed;
}

}  // namespace qrvml
