// Applies a model that was read back to the cases of a data file.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/host_data_file.h"
#include "score/deployed_model.h"

namespace qrvml {

/// What was found about one dependent over the cases that have an observed value.
struct ScoredDependent {
  std::int64_t compared = 0;
  std::int64_t correct = 0;  // categorical
  double squares = 0;        // continuous: sum of squared residuals
};

struct ScoringSummary {
  std::int64_t scored = 0;
  std::int64_t missing = 0;  // cases without a prediction: an input is missing
  std::int64_t unknown = 0;  // the same: a category that the model does not have
  std::vector<ScoredDependent> dependents;
};

/// One case as it is scored: values or codes as the model has them.
struct ScoredCase {
  int caseNumber = 0;
  bool isPredicted = false;
  std::span<const double> predictions;
  std::span<const double> observed;  // not-a-number: none
};

enum class ScoringOutcome { done, failed, stopped };

class Scoring {
 public:
  /// Both outlive it.
  Scoring(HostDataFile& file, DeployedModel& model) : file_(file), model_(model) {}

  /// Finds the model's variables by their names; dependents may be absent. False: `error` names an
  /// input that the data do not have.
  bool FindVariables(std::string& error);
  bool HasDependent(std::size_t d) const { return dependents_[d] != 0; }

  /// Scores every selected case in order, some thousands at a time. A category is the one with the
  /// case's text, so that data whose codes were given anew can be scored; without a text, the one
  /// with its code. A case with a missing input, or with a category that the model does not have,
  /// is not predicted. failed: the model cannot go on, `error` says why.
  ScoringOutcome Run(const std::function<void(const ScoredCase&)>& visit, ScoringSummary& summary,
                     std::string& error);

  /// The first variable with this name as generated texts write it; 0: none.
  static int FindVariable(const DataFile& file, std::string_view name);

 private:
  enum class Reading { value, missing, unknown };
  using Visitor = std::function<void(const ScoredCase&)>;
  /// Cases that wait for their predictions.
  struct Batch {
    struct Row {
      int caseNumber;
      Reading worst;  // of its inputs
    };
    std::vector<Row> rows;
    std::vector<double> inputs;    // of the rows whose inputs are all values
    std::vector<double> observed;  // of all rows
    std::vector<double> predictions;
  };
  void Add(int caseNumber, std::span<const double> values, Batch& batch);
  /// Predicts, counts, visits and forgets them. False: as failed of Run.
  bool Finish(Batch& batch, const Visitor& visit, ScoringSummary& summary, std::string& error);
  void Count(const ScoredCase& scored, ScoringSummary& summary) const;
  /// The value of a field as the model has it.
  Reading Read(const DeployedField& field, int variable, double value, double& read) const;

  HostDataFile& file_;
  DeployedModel& model_;
  std::vector<int> inputs_, dependents_;  // variable numbers; dependents: 0 where absent
};

}  // namespace qrvml
