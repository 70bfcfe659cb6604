// Predictions of many input vectors by one model.
//
// Lanes go over the cases and support vectors follow one another, so the sums of a case are those
// of the definition, in its order, whatever is predicted beside it and on how many threads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/memory.h"
#include "svm/kernel_function.h"
#include "svm/packed_cases.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_types.h"

namespace qrvml {

class CasePredictor {
 public:
  /// The model outlives it. Throws MemoryRefused.
  CasePredictor(const SVMModel& model, int threads, int level = 4);

  /// What SvmPredict gives, for each case, and of a classification classCount vote shares for each,
  /// unless voteShares is empty. Memory stays for the next call. Throws MemoryRefused, Cancelled.
  void Predict(std::span<const SVMNodeList> cases, std::span<double> predicted,
               std::span<double> voteShares, SolverPace& pace);

  /// Cases of a call that keep all threads busy and their data near.
  std::size_t portion() const {
    return std::size_t(kGroupsPerThread) * std::size_t(team_.threads()) *
           std::size_t(groupBlocks_) * kCaseLanes;
  }

 private:
  static constexpr int kGroupsPerThread = 4;

  void PredictPortion(std::span<const SVMNodeList> cases, std::span<double> predicted,
                      std::span<double> voteShares, SolverPace& pace);
  /// Chooses the input columns of a portion, and where its support vectors stand with them.
  void ChooseColumns(std::span<const SVMNodeList> cases, SolverPace& pace);
  /// Adds what support vectors of [first, last) contribute to a block's decision functions.
  void AddSupport(std::int32_t first, std::int32_t last, const double* values, double* sums) const;
  /// The value of a case, whose sums stand kCaseLanes apart, and its vote shares.
  double Decide(const double* sums, std::span<double> shares) const;

  const SVMModel& model_;
  KernelFunction function_;
  SolverTeam team_;
  std::vector<std::int32_t> classBegins_;  // of support vectors; of a regression only one class
  std::int32_t functions_;                 // decision functions
  std::int32_t groupBlocks_;               // blocks of cases that a piece of work predicts
  PackedCases cases_;
  std::span<const std::int32_t> indices_;  // of the input columns: the model's, or
  HostArray<std::int32_t> union_;          // with those that only cases have
  std::span<const double> vectors_;        // dense with these columns: the model's, or
  HostArray<double> spread_;
  HostArray<double> values_;  // per thread: kernel values of some support vectors with a block
  HostArray<double> sums_;    // per block, decision function and lane
  HostArray<double> shares_;  // of a case whose shares are not asked for
};

/// Fills denseIndices and denseVectors of a model that has its support vectors. Throws
/// MemoryRefused, Cancelled.
void SpreadSupportVectors(SVMModel& model, SolverPace& pace);

}  // namespace qrvml
