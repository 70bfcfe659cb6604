#include "knn/knn_vote.h"

#include "host/numerics.h"

namespace qrvml {

void PrototypeVotes::Build(const AnalysisDataSet& data) {
  const VariableRoles& roles = data.roles();
  continuous_ = roles.continuousDependents.size();
  categorical_ = roles.categoricalDependents.size();
  rows_ = data.DependentRows(Sample::training);
  classCounts_.clear();
  classCodes_.clear();
  for (std::size_t c = 0; c < categorical_; ++c) {
    const auto classes = data.dependentCategories(c).classes();
    classCounts_.push_back(classes.size());
    auto& codes = classCodes_.emplace_back();
    for (const auto& entry : classes) codes.push_back(static_cast<double>(entry.code));
  }
  const auto prototypes = static_cast<std::size_t>(data.StoredRows(Sample::training));
  const std::size_t width = continuous_ + categorical_;
  classes_.Resize(prototypes * categorical_);
  for (std::size_t row = 0; row < prototypes; ++row) {
    for (std::size_t c = 0; c < categorical_; ++c) {
      const std::int64_t code = TruncateToCode(rows_[row * width + continuous_ + c]);
      classes_[row * categorical_ + c] = data.dependentCategories(c).ClassIndex(code);
    }
  }
}

void KnnVote::Start(const PrototypeVotes& prototypes, bool weighted) {
  prototypes_ = &prototypes;
  weighted_ = weighted;
  firstScore_.clear();
  std::size_t scores = 0;
  for (std::size_t c = 0; c < prototypes.categorical(); ++c) {
    firstScore_.push_back(scores);
    scores += prototypes.classCount(c);
  }
  sums_.Resize(prototypes.continuous());
  scores_.Resize(scores);
  Clear();
}

void KnnVote::Clear() {
  sums_.Fill(0.0);
  scores_.Fill(0.0);
  added_ = 0;
}

void KnnVote::Add(std::int32_t prototype, double weight) {
  ++added_;
  for (std::size_t j = 0; j < sums_.size(); ++j) {
    const double value = prototypes_->Value(prototype, j);
    sums_[j] += weighted_ ? weight * value : value;
  }
  for (std::size_t c = 0; c < firstScore_.size(); ++c)
    scores_[firstScore_[c] + static_cast<std::size_t>(prototypes_->Class(prototype, c))] += weight;
}

double KnnVote::Value(std::size_t j) const {
  if (weighted_) return sums_[j];
  return added_ == 0 ? 0.0 : sums_[j] / added_;
}

int KnnVote::Class(std::size_t c) const {
  const std::span<const double> scores = Scores(c);
  double best = -1.0;
  int chosen = 0;
  for (std::size_t i = 0; i < scores.size(); ++i) {
    if (!IsGreater(scores[i], best)) continue;
    best = scores[i];
    chosen = static_cast<int>(i);
  }
  return chosen;
}

}  // namespace qrvml
