#include "svm/class_groups.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "host/numerics.h"

namespace qrvml {
namespace {

std::int32_t LabelOf(double target) {
  constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  return std::int32_t(std::clamp(TruncateToCode(target), kLeast, kMost));
}

}  // namespace

ClassGroups::ClassGroups(const SVMProblem& problem) {
  const auto l = std::size_t(problem.l);
  HostArray<std::int32_t> classOf{l};
  HostArray<std::int32_t> labels{l};
  std::unordered_map<std::int32_t, std::int32_t> positions;
  for (std::size_t t = 0; t < l; ++t) {
    const std::int32_t label = LabelOf(problem.y[t]);
    const auto [found, isNew] = positions.try_emplace(label, count_);
    if (isNew) labels[std::size_t(count_++)] = label;
    classOf[t] = found->second;
  }
  labels_.Resize(std::size_t(count_));
  std::copy(labels.begin(), labels.begin() + count_, labels_.begin());

  begins_.Assign(std::size_t(count_) + 1, 0);
  for (std::size_t t = 0; t < l; ++t) ++begins_[std::size_t(classOf[t]) + 1];
  for (std::size_t k = 0; k < std::size_t(count_); ++k) begins_[k + 1] += begins_[k];
  HostArray<std::int32_t> next{std::size_t(count_)};
  std::copy(begins_.begin(), begins_.begin() + count_, next.begin());
  cases_.Resize(l);
  for (std::size_t t = 0; t < l; ++t) {
    cases_[std::size_t(next[std::size_t(classOf[t])]++)] = std::int32_t(t);
  }
}

}  // namespace qrvml
