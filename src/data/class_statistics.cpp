#include "data/class_statistics.h"

#include <algorithm>
#include <limits>

#include "data/kernels/moments_kernel.h"
#include "data/processor_level.h"

namespace qrvml {
namespace {

const MomentsKernel& Kernel() {
  const int level = ProcessorLevel();
  if (level >= 4) return kMomentsKernelV4;
  return level == 3 ? kMomentsKernelV3 : kMomentsKernelV2;
}

/// Numbers between what two threads write, so that neither fetches a line beside its own from the
/// other.
constexpr std::size_t kApart = 512;

}  // namespace

void ClassStatistics::Start(const std::vector<const CategoryTable*>& dependentTables,
                            const std::vector<const CategoryTable*>& inputTables,
                            std::size_t inputs, std::span<const double> missing) {
  inputs_ = inputs;
  firstRow_.assign(1, 0);
  firstPair_.assign(1, 0);
  classCount_.clear();
  dependentLookups_.clear();
  inputLookups_.clear();
  for (const CategoryTable* table : dependentTables) {
    dependentLookups_.emplace_back(*table);
    firstRow_.push_back(firstRow_.back() + table->classes().size());
    for (const auto& entry : table->classes()) classCount_.push_back(entry.trainingWeight);
  }
  for (const CategoryTable* table : inputTables) {
    inputLookups_.emplace_back(*table);
    firstPair_.push_back(firstPair_.back() + table->classes().size());
  }
  inputCodes_.Assign(LaneGroups() * kMomentLanes, std::numeric_limits<double>::quiet_NaN());
  std::copy_n(missing.begin(), inputs, inputCodes_.begin());
  dependentCodes_.Resize(missing.size() - inputs);
  std::copy(missing.begin() + std::ptrdiff_t(inputs), missing.end(), dependentCodes_.begin());
  const std::size_t rows = firstRow_.back();
  sums_.Assign(LaneGroups() * kMomentSums * rows * kMomentLanes, 0.0);
  pairs_.Assign(rows * firstPair_.back(), 0);
}

void ClassStatistics::Release() { *this = {}; }

void ClassStatistics::AddCases(const ClassifiedRows& rows, WorkerTeam& team) {
  if (rows.count == 0 || classRows() == 0) return;
  FindClasses(rows, team);
  const Parts parts = PartsFor(team.size());
  team.Run([&](std::size_t part) { AddPart(rows, parts, part); });
}

void ClassStatistics::BeginCases(const ClassifiedRows& rows, WorkerTeam& team) {
  team.End();
  if (team.size() == 1) return AddCases(rows, team);
  if (rows.count == 0 || classRows() == 0) return;
  WorkerTeam alone(1);
  FindClasses(rows, alone);
  const Parts parts = PartsFor(team.size() - 1);
  team.Begin([this, rows, parts](std::size_t part) { AddPart(rows, parts, part - 1); });
}

ClassStatistics::Parts ClassStatistics::PartsFor(std::size_t threads) {
  const Parts parts{std::min(threads, LaneGroups()), classRows() + kApart};
  evenWeights_.Resize(parts.count * parts.room);
  return parts;
}

void ClassStatistics::AddPart(const ClassifiedRows& rows, const Parts& parts, std::size_t part) {
  if (part >= parts.count) return;
  const std::size_t first = LaneGroups() * part / parts.count * kMomentLanes;
  const std::size_t last = LaneGroups() * (part + 1) / parts.count * kMomentLanes;
  Kernel().add({rows.count, inputs_, dependents(), rows.inputs, caseClasses_.data(), rows.weights,
                inputCodes_.data()},
               first, std::min(last, inputs_),
               {classRows(), sums_.data(), evenWeights_.data() + part * parts.room});
  if (part + 1 == parts.count) AddPairs(rows);
}

void ClassStatistics::FindClasses(const ClassifiedRows& rows, WorkerTeam& team) {
  const std::size_t m = dependents();
  caseClasses_.Resize(rows.count * m);
  team.Run([&](std::size_t part) {
    const std::size_t end = rows.count * (part + 1) / team.size();
    for (std::size_t i = rows.count * part / team.size(); i < end; ++i) {
      for (std::size_t d = 0; d < m; ++d) {
        const double value = rows.dependents[i * m + d];
        const int c = value == dependentCodes_[d] ? -1 : dependentLookups_[d].ClassOf(value);
        caseClasses_[i * m + d] = c < 0 ? -1 : static_cast<std::int32_t>(firstRow_[d]) + c;
      }
    }
  });
}

void ClassStatistics::AddPairs(const ClassifiedRows& rows) {
  const std::size_t m = dependents();
  const std::size_t categorical = inputLookups_.size();
  const std::size_t continuous = inputs_ - categorical;
  for (std::size_t i = 0; i < rows.count && categorical > 0; ++i) {
    const double* values = rows.inputs + i * inputs_ + continuous;
    for (std::size_t j = 0; j < categorical; ++j) {
      if (values[j] == inputCodes_[continuous + j]) continue;
      const int v = inputLookups_[j].ClassOf(values[j]);
      if (v < 0) continue;
      for (std::size_t d = 0; d < m; ++d) {
        const std::int32_t row = caseClasses_[i * m + d];
        if (row < 0) continue;
        ++pairs_[PairIndex(static_cast<std::size_t>(row), j, static_cast<std::size_t>(v))];
      }
    }
  }
}

void ClassStatistics::Finish() {
  for (std::size_t row = 0; row < classRows(); ++row) {
    const auto divisor = static_cast<double>(classCount_[row] - 1);
    if (divisor <= 0) continue;
    for (std::size_t k = 0; k < inputs_; ++k)
      sums_[MomentSums::Place(MomentSum::squares, classRows(), row, k)] /= divisor;
  }
  caseClasses_.Release();
  evenWeights_.Release();
}

void ClassStatistics::ReplaceZeroPairCounts(std::int32_t count) {
  for (std::int32_t& pairs : pairs_) pairs = pairs == 0 ? count : pairs;
}

}  // namespace qrvml
