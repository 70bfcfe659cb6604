#include "data/class_statistics.h"

#include <algorithm>

#include "data/kernels/moments_kernel.h"
#include "data/processor_level.h"

namespace qrvml {
namespace {

const MomentsKernel& Kernel() {
  const int level = ProcessorLevel();
  if (level >= 4) return kMomentsKernelV4;
  return level == 3 ? kMomentsKernelV3 : kMomentsKernelV2;
}

/// Inputs a thread takes at least; its part of a row then begins at a cache line of the sums.
constexpr std::size_t kInputsTogether = 8;

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
  missing_.Resize(missing.size());
  std::copy(missing.begin(), missing.end(), missing_.begin());
  const std::size_t rows = firstRow_.back();
  weight_.Assign(rows * inputs, 0.0);
  mean_.Assign(rows * inputs, 0.0);
  squares_.Assign(rows * inputs, 0.0);
  pairs_.Assign(rows * firstPair_.back(), 0);
}

void ClassStatistics::Release() { *this = {}; }

void ClassStatistics::AddCases(const ClassifiedRows& rows, WorkerTeam& team) {
  if (rows.count == 0 || classRows() == 0) return;
  FindClasses(rows);
  const std::size_t groups = (inputs_ + kInputsTogether - 1) / kInputsTogether;
  const std::size_t parts = std::min(team.size(), groups);
  team.Run([&](std::size_t part) {
    if (part >= parts) return;
    const std::size_t first = groups * part / parts * kInputsTogether;
    const std::size_t last = groups * (part + 1) / parts * kInputsTogether;
    Kernel().add({rows.count, inputs_, dependents(), rows.inputs, caseClasses_.data(), rows.weights,
                  missing_.data()},
                 first, std::min(last, inputs_), {weight_.data(), mean_.data(), squares_.data()});
  });
  AddPairs(rows);
}

void ClassStatistics::FindClasses(const ClassifiedRows& rows) {
  const std::size_t m = dependents();
  caseClasses_.Resize(rows.count * m);
  const double* codes = missing_.data() + inputs_;
  for (std::size_t i = 0; i < rows.count; ++i) {
    for (std::size_t d = 0; d < m; ++d) {
      const double value = rows.dependents[i * m + d];
      const int c = value == codes[d] ? -1 : dependentLookups_[d].ClassOf(value);
      caseClasses_[i * m + d] = c < 0 ? -1 : static_cast<std::int32_t>(firstRow_[d]) + c;
    }
  }
}

void ClassStatistics::AddPairs(const ClassifiedRows& rows) {
  const std::size_t m = dependents();
  const std::size_t categorical = inputLookups_.size();
  const std::size_t continuous = inputs_ - categorical;
  for (std::size_t i = 0; i < rows.count && categorical > 0; ++i) {
    const double* values = rows.inputs + i * inputs_ + continuous;
    for (std::size_t j = 0; j < categorical; ++j) {
      if (values[j] == missing_[continuous + j]) continue;
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
    for (double& squares : squares_.subspan(row * inputs_, inputs_)) squares /= divisor;
  }
  caseClasses_.Release();
}

void ClassStatistics::ReplaceZeroPairCounts(std::int32_t count) {
  for (std::int32_t& pairs : pairs_) pairs = pairs == 0 ? count : pairs;
}

}  // namespace qrvml
