#include "knn/neighbour_search_tree.h"

#include <algorithm>

namespace qrvml {

void SpaceTree::Release() {
  levels_ = 0;
  splits_.Release();
}

void SpaceTree::Leaves(const float* rows, std::int32_t inputs, std::int32_t count,
                       std::int32_t* leaves) const {
  // Level by level for all rows: the waits of one row's way down overlap with the others'.
  for (std::int32_t r = 0; r < count; ++r) leaves[r] = 1;
  for (int level = 0; level < levels_; ++level) {
    for (std::int32_t r = 0; r < count; ++r) {
      const Split& split = splits_[leaves[r]];
      const float value = rows[std::size_t(r) * inputs + split.input];
      leaves[r] = 2 * leaves[r] + (value >= split.value ? 1 : 0);
    }
  }
  for (std::int32_t r = 0; r < count; ++r) leaves[r] -= LeafCount();
}

std::int32_t SpaceTree::WidestInput(const FilterShape& shape, const float* sample,
                                    const Keyed* cases, std::int32_t count) const {
  constexpr std::int32_t kEnough = 48;  // cases that show which input varies most
  const std::int32_t inputs = shape.continuous + shape.categorical;
  const std::int32_t step = std::max(1, count / kEnough);
  std::int32_t widest = 0;
  float greatest = 0;
  for (std::int32_t i = 0; i < inputs; ++i) {
    float sum = 0;
    float squares = 0;
    float used = 0;
    const float origin = sample[std::size_t(cases[0].sample) * inputs + i];
    for (std::int32_t c = 0; c < count; c += step) {
      const float x = sample[std::size_t(cases[c].sample) * inputs + i] - origin;
      sum += x;
      squares += x * x;
      used += 1;
    }
    float variance = squares / used - (sum / used) * (sum / used);
    if (i >= shape.continuous) variance = squares > 0 ? shape.mismatch * shape.mismatch / 4 : 0;
    if (variance > greatest) {
      greatest = variance;
      widest = i;
    }
  }
  return widest;
}

void SpaceTree::Grow(const FilterShape& shape, const float* sample, std::int32_t count,
                     int levels) {
  const std::int32_t inputs = shape.continuous + shape.categorical;
  const std::int32_t leaves = std::int32_t{1} << levels;
  splits_.Assign(leaves, Split{0, 0.0F});
  levels_ = levels;
  if (levels == 0 || count == 0) return;

  HostArray<Keyed> cases(count);
  for (std::int32_t c = 0; c < count; ++c) cases[c] = {0.0F, c};
  HostArray<std::int32_t> start(2 * std::size_t(leaves) + 1);  // first case of a node
  HostArray<std::int32_t> end(2 * std::size_t(leaves) + 1);
  start[1] = 0;
  end[1] = count;
  for (std::int32_t node = 1; node < leaves; ++node) {
    Keyed* first = cases.data() + start[node];
    const std::int32_t size = end[node] - start[node];
    const std::int32_t half = size / 2;
    if (size > 1) {
      const std::int32_t input = WidestInput(shape, sample, first, size);
      for (std::int32_t c = 0; c < size; ++c) {
        first[c].value = sample[std::size_t(first[c].sample) * inputs + input];
      }
      std::nth_element(first, first + half, first + size,
                       [](const Keyed& a, const Keyed& b) { return a.value < b.value; });
      splits_[node] = {input, first[half].value};
    }
    start[2 * node] = start[node];
    end[2 * node] = start[2 * node + 1] = start[node] + half;
    end[2 * node + 1] = end[node];
  }
}

}  // namespace qrvml
