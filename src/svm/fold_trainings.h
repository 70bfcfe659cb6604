// The trainings of a parameter search: each point of a grid on each fold of the problem.
//
// They share kernel values within the cache's memory, and run on several threads where these values
// fit. Texts, counters and results come in the order of the folds, and the same to the last bit,
// whatever is shared.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/memory.h"
#include "host/pooled_memory.h"
#include "svm/kernel_store.h"
#include "svm/ordered_tasks.h"
#include "svm/svm_types.h"

namespace qrvml {

class FoldTrainings {
 public:
  struct Point {
    double C;
    double epsilon;
  };
  /// Fold f holds out the problem's cases from f * l / folds on, up to those of fold f + 1. Problem
  /// and state outlive it. Throws MemoryRefused, Cancelled.
  FoldTrainings(const SVMProblem& problem, const SVMParameters& parameters, std::int32_t folds,
                std::int64_t points, std::function<Point(std::int64_t)> pointAt,
                SVMSolverState& state);
  ~FoldTrainings();

  /// The next fold of a point, or the first of the next point: predicted - target of the cases held
  /// out, valid until the next call. Publishes in the state what its training published. Throws
  /// MemoryRefused, Cancelled, NumericFault; then only the destructor may follow.
  std::span<const double> Next();

 private:
  /// What a training leaves until it is its turn.
  struct Outcome {
    HostArray<double> errors;
    std::size_t count = 0;
    std::int32_t iterationCount = 0;
    std::int32_t boundedSupportVectorCount = 0;
    double objective = 0;
    SVMCounts counts;
    struct Text {
      void (*write)(const SVMSolverState&, std::string_view);
      std::string text;
    };
    std::vector<Text> texts;
  };
  class Worker;

  std::size_t Begin(std::int64_t fold) const {
    return std::size_t(fold * std::int64_t(problem_.l) / folds_);
  }
  bool ShareKernel();
  Outcome& OutcomeOf(std::int64_t task) { return outcomes_[std::size_t(task % window_)]; }

  const SVMProblem problem_;
  SVMParameters parameters_;  // with the cache of one training
  const std::int32_t folds_;
  const std::function<Point(std::int64_t)> pointAt_;
  SVMSolverState& state_;
  const std::int64_t trainings_;
  std::unique_ptr<KernelStore> store_;  // null: every training computes its values
  const std::int64_t window_;           // trainings under way at most
  std::vector<Outcome> outcomes_;
  std::vector<std::unique_ptr<Worker>> workers_;
  OrderedTasks tasks_;
};

}  // namespace qrvml
