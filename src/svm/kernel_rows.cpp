#include "svm/kernel_rows.h"

#include <algorithm>

namespace qrvml {
namespace {

constexpr std::int64_t kFinishWork = 16;  // cost of a kernel function, in multiplications
constexpr std::int64_t kReadWork = 2;     // cost of reading a value from the store
constexpr std::int64_t kSwapWork = 32;    // cost of swapping an input of two cases far apart

}  // namespace

KernelRows::KernelRows(std::span<const SVMNodeList> cases, const SharedKernel& shared,
                       const SVMParameters& parameters, int level, SolverPace& pace)
    : function_(parameters, level), store_(shared.store), cases_(std::int32_t(cases.size())) {
  if (store_ != nullptr) {
    places_.Assign(std::size_t(PackedCases::Padded(cases_)), 0);
    std::copy(shared.places.begin(), shared.places.end(), places_.begin());
    return;
  }
  packed_.Build(cases, CollectIndices(cases, pace), pace);
  Square(pace);
  inputs_.Resize(std::size_t(kDotQueries) * std::size_t(packed_.columns()));
}

KernelRows::KernelRows(const KernelRows& source, std::span<const std::int32_t> picked)
    : function_(source.function_), store_(source.store_), cases_(std::int32_t(picked.size())) {
  const auto padded = std::size_t(PackedCases::Padded(cases_));
  if (store_ != nullptr) {
    places_.Assign(padded, 0);
    for (std::size_t t = 0; t < picked.size(); ++t) {
      places_[t] = source.places_[std::size_t(picked[t])];
    }
    return;
  }
  packed_.Build(source.packed_, picked);
  squares_.Assign(padded, 0.0);
  for (std::size_t t = 0; t < picked.size(); ++t) {
    squares_[t] = source.squares_[std::size_t(picked[t])];
  }
}

void KernelRows::Square(SolverPace& pace) {
  squares_.Assign(std::size_t(PackedCases::Padded(cases_)), 0.0);
  for (std::int32_t b = 0; b * kCaseLanes < cases_; ++b) {
    const double* input = packed_.Block(b);
    double* sums = squares_.data() + std::size_t(b) * kCaseLanes;
    for (std::int32_t c = 0; c < packed_.columns(); ++c, input += kCaseLanes) {
      for (int lane = 0; lane < kCaseLanes; ++lane) {
        sums[lane] = sums[lane] + input[lane] * input[lane];
      }
    }
    pace.Check(std::int64_t(packed_.columns()) * kCaseLanes);
  }
}

HostArray<double> KernelRows::Diagonal() const {
  const std::int32_t padded = PackedCases::Padded(cases_);
  HostArray<double> diagonal(std::size_t(padded), 0.0);
  if (store_ != nullptr) {
    for (std::int32_t t = 0; t < cases_; ++t) {
      const std::int32_t place = places_[std::size_t(t)];
      diagonal[std::size_t(t)] = store_->Row(place)[place];
    }
    return diagonal;
  }
  for (std::size_t t = 0; t < diagonal.size(); ++t) {
    const double square = squares_[t];
    diagonal[t] = function_.IsRadial() ? (square + square) - 2.0 * square : square;
  }
  function_.Finish(0, nullptr, diagonal.data(), padded);
  return diagonal;
}

double KernelRows::Value(std::int32_t a, std::int32_t b) const {
  if (store_ != nullptr) return store_->Row(places_[std::size_t(a)])[places_[std::size_t(b)]];
  const double* x = packed_.Block(a / kCaseLanes) + a % kCaseLanes;
  const double* z = packed_.Block(b / kCaseLanes) + b % kCaseLanes;
  alignas(64) double values[kCaseLanes] = {};
  alignas(64) double squares[kCaseLanes] = {};
  for (std::int32_t c = 0; c < packed_.columns(); ++c, x += kCaseLanes, z += kCaseLanes) {
    values[0] = values[0] + *x * *z;
  }
  squares[0] = squares_[std::size_t(b)];
  function_.Finish(squares_[std::size_t(a)], squares, values, kCaseLanes);
  return values[0];
}

KernelRows::Row KernelRows::Open(std::int32_t at, int buffer) {
  if (store_ != nullptr) return {store_->Row(places_[std::size_t(at)]), 0};
  double* inputs = inputs_.data() + std::size_t(buffer) * std::size_t(packed_.columns());
  packed_.CopyCase(at, inputs);
  return {inputs, squares_[std::size_t(at)]};
}

std::int64_t KernelRows::Fill(std::span<const Row> rows, std::int32_t begin, std::int32_t end,
                              double* const* out) const {
  const std::int32_t values = PackedCases::Padded(end - begin);
  const auto count = std::int64_t(rows.size());
  if (store_ != nullptr) {
    for (std::size_t r = 0; r < rows.size(); ++r) {
      kernel().gather(rows[r].source, places_.data() + begin, values, out[r]);
    }
    return kReadWork * values * count;
  }
  const double* inputs[kDotQueries] = {};
  for (std::size_t r = 0; r < rows.size(); ++r) inputs[r] = rows[r].source;
  kernel().dots(packed_.Block(begin / kCaseLanes), packed_.columns(), values / kCaseLanes, inputs,
                int(count), out);
  for (std::size_t r = 0; r < rows.size(); ++r) {
    function_.Finish(rows[r].square, squares_.data() + begin, out[r], values);
  }
  return (packed_.columns() + kFinishWork) * values * count;
}

std::int64_t KernelRows::Swap(std::int32_t a, std::int32_t b) {
  if (store_ != nullptr) {
    std::swap(places_[std::size_t(a)], places_[std::size_t(b)]);
    return kReadWork;
  }
  packed_.Swap(a, b);
  std::swap(squares_[std::size_t(a)], squares_[std::size_t(b)]);
  return kSwapWork * packed_.columns();
}

}  // namespace qrvml
