#include "svm/packed_cases.h"

#include <algorithm>
#include <limits>

namespace qrvml {
namespace {

constexpr std::int64_t kCollectWork = 4;  // cost of looking at a node, in multiplications

std::int64_t Length(const SVMNode* list) {
  const SVMNode* node = list;
  while (node->index != -1) ++node;
  return node - list;
}

}  // namespace

HostArray<std::int32_t> CollectIndices(std::span<const SVMNodeList> cases, SolverPace& pace) {
  // Most problems have the same indices in every case: those of the longest list.
  const SVMNode* longest = nullptr;
  std::int64_t most = 0;
  std::int64_t nodes = 0;
  for (const SVMNodeList list : cases) {
    const std::int64_t length = Length(list);
    if (length > most) {
      longest = list;
      most = length;
    }
    nodes += length;
    pace.Check(length * kCollectWork);
  }
  HostArray<std::int32_t> indices{std::size_t(most)};
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = longest[i].index;

  bool covered = true;
  for (const SVMNodeList list : cases) {
    covered = covered && Covers(indices, list);
    pace.Check(most * kCollectWork);
  }
  if (covered) return indices;

  HostArray<std::int32_t> all{std::size_t(nodes)};
  std::int32_t* to = all.data();
  for (const SVMNodeList list : cases) {
    for (const SVMNode* node = list; node->index != -1; ++node) *to++ = node->index;
  }
  std::sort(all.begin(), all.end());
  indices.Resize(std::size_t(std::unique(all.begin(), all.end()) - all.begin()));
  std::copy_n(all.begin(), indices.size(), indices.begin());
  return indices;
}

bool Covers(std::span<const std::int32_t> indices, const SVMNode* list) {
  auto at = indices.begin();
  for (const SVMNode* node = list; node->index != -1; ++node, ++at) {
    while (at != indices.end() && *at < node->index) ++at;
    if (at == indices.end() || *at != node->index) return false;
  }
  return true;
}

void CopyInputs(std::span<const std::int32_t> indices, const SVMNode* list, double* out,
                std::ptrdiff_t stride) {
  const SVMNode* node = list;
  for (const std::int32_t index : indices) {
    while (node->index != -1 && node->index < index) ++node;
    *out = node->index == index ? node->value : 0.0;
    out += stride;
  }
}

void PackedCases::Allocate() {
  const std::size_t lanes = std::size_t(Padded(count_));
  if (columns_ > 0 &&
      lanes > std::numeric_limits<std::size_t>::max() / sizeof(double) / std::size_t(columns_)) {
    throw MemoryRefused();
  }
  blocks_.Resize(lanes * std::size_t(columns_));
}

void PackedCases::Build(std::span<const SVMNodeList> cases, std::span<const std::int32_t> indices,
                        SolverPace& pace) {
  count_ = std::int32_t(cases.size());
  // Without any input there is a column of zeros all the same, so that there are blocks.
  columns_ = std::max(1, std::int32_t(indices.size()));
  Allocate();
  for (std::int32_t b = 0; b * kCaseLanes < count_; ++b) {
    const std::int32_t end = std::min(count_, (b + 1) * kCaseLanes);
    if (end % kCaseLanes != 0 || indices.empty()) {
      double* block = blocks_.data() + std::size_t(b) * std::size_t(columns_) * kCaseLanes;
      std::fill_n(block, std::size_t(columns_) * kCaseLanes, 0.0);
    }
    for (std::int32_t t = b * kCaseLanes; t < end; ++t) {
      CopyInputs(indices, cases[std::size_t(t)], &At(t, 0), kCaseLanes);
    }
    pace.Check(std::int64_t(columns_) * kCaseLanes * kCollectWork);
  }
}

void PackedCases::Build(const PackedCases& source, std::span<const std::int32_t> cases) {
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
