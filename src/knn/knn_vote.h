// The vote of the nearest prototypes: predicted values and classes of one case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/memory.h"

namespace qrvml {

/// Dependents of the prototypes in the form that votes need: the class of every categorical value
/// looked up once.
class PrototypeVotes {
 public:
  /// Takes over the dependents of the training sample. Throws MemoryRefused.
  void Build(const AnalysisDataSet& data);
  void Release() { classes_.Release(); }

  std::size_t continuous() const { return continuous_; }
  std::size_t categorical() const { return categorical_; }
  /// Classes of categorical dependent c.
  std::size_t classCount(std::size_t c) const { return classCounts_[c]; }
  /// Code of a class.
  double ClassCode(std::size_t c, int classIndex) const {
    return classCodes_[c][static_cast<std::size_t>(classIndex)];
  }
  /// Value of continuous dependent j of a prototype.
  double Value(std::int32_t prototype, std::size_t j) const {
    return rows_[static_cast<std::size_t>(prototype) * (continuous_ + categorical_) + j];
  }
  /// Class of categorical dependent c of a prototype.
  std::int32_t Class(std::int32_t prototype, std::size_t c) const {
    return classes_[static_cast<std::size_t>(prototype) * categorical_ + c];
  }

 private:
  std::span<const double> rows_;  // the data set's dependents, row-major
  std::size_t continuous_ = 0;
  std::size_t categorical_ = 0;
  std::vector<std::size_t> classCounts_;
  std::vector<std::vector<double>> classCodes_;
  HostArray<std::int32_t> classes_;  // prototypes x categorical dependents
};

/// Adds neighbours one by one, nearest first. After each, the predictions from those added so far
/// can be read, so one pass over an ordered list serves every K up to its length, with the sums in
/// the same order as for each K alone.
class KnnVote {
 public:
  /// Throws MemoryRefused.
  void Start(const PrototypeVotes& prototypes, bool weighted);
  void Clear();
  void Add(std::int32_t prototype, double weight);

  /// Prediction of a continuous dependent: the weighted sum of the neighbours' values, or their
  /// mean in a uniform vote; 0 without neighbours.
  double Value(std::size_t j) const;
  /// Predicted class of a categorical dependent: the highest score; a tie takes the first class in
  /// text order.
  int Class(std::size_t c) const;
  /// Scores of the classes of a categorical dependent, in text order, not normalised.
  std::span<const double> Scores(std::size_t c) const {
    return scores_.subspan(firstScore_[c], prototypes_->classCount(c));
  }

 private:
  const PrototypeVotes* prototypes_ = nullptr;
  bool weighted_ = false;
  std::int32_t added_ = 0;
  HostArray<double> sums_;               // per continuous dependent
  HostArray<double> scores_;             // per class of each categorical dependent
  std::vector<std::size_t> firstScore_;  // per categorical dependent
};

}  // namespace qrvml
