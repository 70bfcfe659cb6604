#include "data/class_statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "data/kernels/moments_kernel.h"
#include "data/processor_level.h"

namespace qrvml {
namespace {

const MomentsKernel& Kernel() {
  const int level = ProcessorLevel();
  if (level >= 4) return kMomentsKernelV4;
  return level == 3 ? kMomentsKernelV3 : kMomentsKernelV2;
}

/// Sums on a cache line: no two threads write to one.
constexpr std::size_t kSumsTogether = 8;
/// Cases whose entries a thread lists at a time.
constexpr std::size_t kCasesListed = 1024;

/// What one thread takes in of each class row: a stretch of the sums.
struct Share {
  std::vector<InputRange> ranges;   // per class row
  std::vector<std::uint8_t> takes;  // per class row + 1: whether its range is not empty
  std::vector<MomentEntry> entries;
};

/// Where the part of the sums with that number begins, so that all parts have about as many cases
/// times inputs.
std::size_t FirstSum(std::span<const std::int64_t> counts, std::size_t inputs, std::size_t part,
                     std::size_t parts) {
  const std::size_t sums = counts.size() * inputs;
  if (part == parts) return sums;
  const double cases = std::accumulate(counts.begin(), counts.end(), 0.0);
  double left = cases * static_cast<double>(part) / static_cast<double>(parts), first = 0;
  for (const std::int64_t count : counts) {
    const double own = static_cast<double>(count);
    first += own <= left ? 1 : left / own;
    if (own > left) break;
    left -= own;
  }
  const double lines = std::round(first * static_cast<double>(inputs) / kSumsTogether);
  return std::min(static_cast<std::size_t>(lines) * kSumsTogether, sums);
}

std::vector<Share> DealOut(std::span<const std::int64_t> counts, std::size_t inputs,
                           std::size_t dependents, std::size_t parts) {
  std::vector<Share> shares(parts);
  for (std::size_t part = 0; part < parts; ++part) {
    const std::size_t first = FirstSum(counts, inputs, part, parts);
    const std::size_t last = FirstSum(counts, inputs, part + 1, parts);
    shares[part].entries.resize(kCasesListed * dependents);
    shares[part].takes.push_back(0);
    for (std::size_t row = 0; row < counts.size(); ++row) {
      const auto within = [&](std::size_t sum) {
        return std::clamp(sum, row * inputs, (row + 1) * inputs) - row * inputs;
      };
      shares[part].ranges.push_back({within(first), within(last)});
      shares[part].takes.push_back(within(first) < within(last) ? 1 : 0);
    }
  }
  return shares;
}

/// The entries of cases first to last - 1 that a thread takes; how many there are.
std::size_t ListEntries(std::span<const std::int32_t> classes, std::size_t dependents,
                        std::size_t first, std::size_t last, Share& share) {
  std::size_t count = 0;
  for (std::size_t i = first; i < last; ++i) {
    for (std::size_t d = 0; d < dependents; ++d) {
      // Written in any case: classes come in an order that no processor foresees.
      const std::int32_t row = classes[i * dependents + d];
      share.entries[count] = {static_cast<std::int32_t>(i), row};
      count += share.takes[static_cast<std::size_t>(row + 1)];
    }
  }
  return count;
}

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
  std::vector<Share> shares = DealOut(classCount_, inputs_, dependents(), team.size());
  team.Run([&](std::size_t part) {
    Share& share = shares[part];
    for (std::size_t first = 0; first < rows.count; first += kCasesListed) {
      const std::size_t last = std::min(first + kCasesListed, rows.count);
      const std::size_t count = ListEntries(caseClasses_, dependents(), first, last, share);
      Kernel().add(
          {inputs_, rows.inputs, rows.weights, missing_.data(), share.entries.data(), count},
          share.ranges.data(), {inputs_, weight_.data(), mean_.data(), squares_.data()});
    }
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
