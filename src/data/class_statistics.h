// What naive Bayes learns from the training cases: for every class of every categorical dependent
// the moments of every input and the counts of the categories of every categorical input.
//
// A class row is a class of a dependent; the rows of the first dependent come first, classes in
// text order. Inputs are the predictors list (continuous first), categorical input m is input
// m + number of continuous inputs. A missing value of an input is left out of that input's figures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "data/category_table.h"
#include "data/code_lookup.h"
#include "data/kernels/moments_kernel.h"
#include "data/worker_team.h"
#include "host/memory.h"

namespace qrvml {

/// Training cases as row-major matrices, in file order.
struct ClassifiedRows {
  std::size_t count = 0;
  const double* inputs = nullptr;         // count x inputs
  const double* dependents = nullptr;     // count x dependents
  const std::int32_t* weights = nullptr;  // per row; null: all 1
};

class ClassStatistics {
 public:
  /// All sums 0. `missing`: missing-data codes per input, then per dependent. The tables are sealed
  /// and live as long as cases are added. Throws MemoryRefused.
  void Start(const std::vector<const CategoryTable*>& dependentTables,
             const std::vector<const CategoryTable*>& inputTables, std::size_t inputs,
             std::span<const double> missing);
  void Release();
  bool empty() const { return sums_.empty(); }

  /// Adds cases. The threads share the inputs, never a sum: their number changes nothing. Throws
  /// MemoryRefused.
  void AddCases(const ClassifiedRows& rows, WorkerTeam& team);
  /// The same on the other threads of the team, without waiting for them: the rows stay as they are
  /// until team.End() or the next call, which waits for this one. Throws MemoryRefused.
  void BeginCases(const ClassifiedRows& rows, WorkerTeam& team);
  /// Makes the sums of squares variances: over the class count less 1, where that is above 0.
  void Finish();

  std::size_t inputs() const { return inputs_; }
  /// Position of class c of dependent d among the class rows.
  std::size_t ClassRow(std::size_t d, std::size_t c) const { return firstRow_[d] + c; }
  std::size_t classes(std::size_t d) const { return firstRow_[d + 1] - firstRow_[d]; }
  std::size_t dependents() const { return firstRow_.empty() ? 0 : firstRow_.size() - 1; }
  std::size_t classRows() const { return firstRow_.empty() ? 0 : firstRow_.back(); }

  /// Weighted training cases of the class; also those whose value of an input is missing.
  std::int64_t classCount(std::size_t d, std::size_t c) const {
    return classCount_[ClassRow(d, c)];
  }
  double condMean(std::size_t d, std::size_t c, std::size_t k) const {
    return Sum(MomentSum::mean, ClassRow(d, c), k);
  }
  /// The variance, which every output calls the standard deviation.
  double condStd(std::size_t d, std::size_t c, std::size_t k) const {
    return Sum(MomentSum::squares, ClassRow(d, c), k);
  }
  /// Weighted cases of the class with a valid value of input k.
  double condWeight(std::size_t d, std::size_t c, std::size_t k) const {
    return Sum(MomentSum::weight, ClassRow(d, c), k);
  }
  /// Training cases of the class, whatever their weight, with category v of categorical input m.
  std::int32_t pairCount(std::size_t d, std::size_t c, std::size_t m, std::size_t v) const {
    return pairs_[PairIndex(ClassRow(d, c), m, v)];
  }
  std::size_t categories(std::size_t m) const { return firstPair_[m + 1] - firstPair_[m]; }

  /// Every pair count that is 0 becomes `count`; stays so until cases are read again.
  void ReplaceZeroPairCounts(std::int32_t count);

 private:
  /// How threads share the inputs.
  struct Parts {
    std::size_t count;
    std::size_t room;  // of each part in evenWeights_
  };
  Parts PartsFor(std::size_t threads);
  void AddPart(const ClassifiedRows& rows, const Parts& parts, std::size_t part);
  std::size_t LaneGroups() const { return (inputs_ + kMomentLanes - 1) / kMomentLanes; }
  double Sum(MomentSum sum, std::size_t row, std::size_t k) const {
    return sums_[MomentSums::Place(sum, classRows(), row, k)];
  }
  std::size_t PairIndex(std::size_t row, std::size_t m, std::size_t v) const {
    return row * firstPair_.back() + firstPair_[m] + v;
  }
  /// The class row of each dependent of each case, -1: none.
  void FindClasses(const ClassifiedRows& rows, WorkerTeam& team);
  void AddPairs(const ClassifiedRows& rows);

  std::size_t inputs_ = 0;
  std::vector<std::size_t> firstRow_;   // per dependent, and one behind the last
  std::vector<std::size_t> firstPair_;  // per categorical input, and one behind the last
  std::vector<CodeLookup> dependentLookups_, inputLookups_;
  std::vector<std::int64_t> classCount_;           // per class row
  HostArray<double> inputCodes_, dependentCodes_;  // of missing data; whole lanes of inputs
  HostArray<double> sums_;                         // as the kernel wants them
  HostArray<std::int32_t> pairs_;        // per class row, category of each categorical input
  HostArray<std::int32_t> caseClasses_;  // scratch: per case and dependent
  HostArray<double> evenWeights_;        // scratch: per thread and class row
};

}  // namespace qrvml
