#include "svm/packed_cases.h"

#include <algorithm>
#include <limits>

namespace qrvml {
namespace {

constexpr std::int64_t kCollectWork = 4;  // cost of looking at a node, in multiplications

/// Whether every node's index is among `indices`; *nodes grows by the number of nodes.
bool Covers(std::span<const std::int32_t> indices, const SVMNode* node, std::int64_t* nodes) {
  const std::int32_t* at = indices.data();
  const std::int32_t* end = at + indices.size();
  bool covered = true;
  for (; node->index != -1; ++node, ++*nodes) {
    while (at != end && *at < node->index) ++at;
    covered = covered && at != end && *at == node->index;
  }
  return covered;
}

}  // namespace

void PackedCases::CollectIndices(std::span<const SVMNodeList> cases, SolverPace& pace) {
  // Most problems have the same indices in every case: those of the longest list.
  const SVMNode* longest = nullptr;
  std::int64_t most = -1;
  for (const SVMNodeList list : cases) {
    std::int64_t nodes = 0;
    Covers({}, list, &nodes);
    if (nodes > most) {
      longest = list;
      most = nodes;
    }
    pace.Check(nodes * kCollectWork);
  }
  indices_.Resize(std::size_t(std::max<std::int64_t>(most, 0)));
  for (std::size_t i = 0; i < indices_.size(); ++i) indices_[i] = longest[i].index;

  std::int64_t nodes = 0;
  bool covered = true;
  for (const SVMNodeList list : cases) {
    const std::int64_t before = nodes;
    if (!Covers(indices_, list, &nodes)) covered = false;
    pace.Check((nodes - before) * kCollectWork);
  }
  if (covered) return;

  HostArray<std::int32_t> all{std::size_t(nodes)};
  std::int32_t* to = all.data();
  for (const SVMNodeList list : cases) {
    for (const SVMNode* node = list; node->index != -1; ++node) *to++ = node->index;
  }
  std::sort(all.begin(), all.end());
  const std::size_t distinct = std::size_t(std::unique(all.begin(), all.end()) - all.begin());
  indices_.Resize(distinct);
  std::copy(all.begin(), all.begin() + distinct, indices_.begin());
}

void PackedCases::Allocate() {
  const std::size_t lanes = std::size_t(Padded(count_));
  if (columns_ > 0 &&
      lanes > std::numeric_limits<std::size_t>::max() / sizeof(double) / std::size_t(columns_)) {
    throw MemoryRefused();
  }
  blocks_.Resize(lanes * std::size_t(columns_));
}

void PackedCases::Build(std::span<const SVMNodeList> cases, bool zeroColumn, SolverPace& pace) {
  CollectIndices(cases, pace);
  count_ = std::int32_t(cases.size());
  // Without any input there is a column of zeros all the same, so that there are blocks.
  columns_ = std::max(1, std::int32_t(indices_.size()) + (zeroColumn ? 1 : 0));
  Allocate();
  for (std::int32_t b = 0; b * kCaseLanes < count_; ++b) {
    double* block = blocks_.data() + std::size_t(b) * std::size_t(columns_) * kCaseLanes;
    std::fill(block, block + std::size_t(columns_) * kCaseLanes, 0.0);
    const std::int32_t end = std::min(count_, (b + 1) * kCaseLanes);
    for (std::int32_t t = b * kCaseLanes; t < end; ++t) {
      std::int32_t column = 0;
      for (const SVMNode* node = cases[std::size_t(t)]; node->index != -1; ++node) {
        while (indices_[std::size_t(column)] != node->index) ++column;
        At(t, column) = node->value;
      }
    }
    pace.Check(std::int64_t(columns_) * kCaseLanes);
  }
}

void PackedCases::Build(const PackedCases& source, std::span<const std::int32_t> cases) {
  indices_.Resize(source.indices_.size());
  std::copy(source.indices_.begin(), source.indices_.end(), indices_.begin());
  count_ = std::int32_t(cases.size());
  columns_ = source.columns_;
  Allocate();
  blocks_.Fill(0.0);
  for (std::int32_t t = 0; t < count_; ++t) {
    const std::int32_t from = cases[std::size_t(t)];
    const double* block = source.Block(from / kCaseLanes) + from % kCaseLanes;
    for (std::int32_t c = 0; c < columns_; ++c) At(t, c) = block[std::size_t(c) * kCaseLanes];
  }
}

void PackedCases::Swap(std::int32_t a, std::int32_t b) {
  for (std::int32_t c = 0; c < columns_; ++c) std::swap(At(a, c), At(b, c));
}

void PackedCases::CopyCase(std::int32_t at, double* inputs) const {
  const double* block = Block(at / kCaseLanes) + at % kCaseLanes;
  for (std::int32_t c = 0; c < columns_; ++c) inputs[c] = block[std::size_t(c) * kCaseLanes];
}

}  // namespace qrvml
