#include "knn/neighbour_search.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qrvml {

struct NeighbourSearch::Packed {
  PrototypeRows source;
  Metric metric;
  HostArray<double> scaled;  // count x inputs
};

namespace {

double ScanDistance(const double* a, const double* b, const PrototypeRows& source, Metric metric) {
  double sum = 0.0;
  const std::int32_t inputs = source.continuous + source.categorical;
  for (std::int32_t i = 0; i < inputs; ++i) {
    const double t = i < source.continuous ? a[i] - b[i] : (a[i] == b[i] ? 0.0 : 1.0);
    if (metric == Metric::cityBlock) {
      sum += std::fabs(t);
    } else if (metric == Metric::chebychev) {
      if (std::fabs(t) >= sum) sum = std::fabs(t);
    } else {
      sum += t * t;
    }
  }
  return metric == Metric::euclidean ? std::sqrt(sum) : sum;
}

}  // namespace

NeighbourSearch::NeighbourSearch() = default;
NeighbourSearch::~NeighbourSearch() { Release(); }
NeighbourSearch::NeighbourSearch(NeighbourSearch&& other) noexcept { *this = std::move(other); }
NeighbourSearch& NeighbourSearch::operator=(NeighbourSearch&& other) noexcept {
  std::swap(packed_, other.packed_);
  return *this;
}

void NeighbourSearch::Build(const PrototypeRows& prototypes, Metric metric) {
  Release();
  const std::size_t inputs = prototypes.continuous + prototypes.categorical;
  packed_ = new Packed{prototypes, metric, {}};
  try {
    packed_->scaled.Resize(prototypes.count * inputs);
  } catch (...) {
    Release();
    throw;
  }
  for (std::size_t i = 0; i < packed_->scaled.size(); ++i) {
    packed_->scaled[i] =
        prototypes.shift[i % inputs] + prototypes.scale[i % inputs] * prototypes.rows[i];
  }
}

void NeighbourSearch::Release() {
  delete packed_;
  packed_ = nullptr;
}

bool NeighbourSearch::Find(const double* queries, std::int32_t count, std::int32_t slots,
                           Exclusion exclusion, int, std::span<Neighbour> neighbours,
                           std::span<std::int32_t> found, const std::function<bool()>& poll) const {
  const PrototypeRows& source = packed_->source;
  const std::size_t inputs = source.continuous + source.categorical;
  HostArray<double> query(inputs);
  for (std::int32_t q = 0; q < count; ++q) {
    for (std::size_t i = 0; i < inputs; ++i) {
      query[i] = source.shift[i] + source.scale[i] * queries[q * inputs + i];
    }
    Neighbour* best = neighbours.data() + std::size_t(q) * slots;
    std::int32_t filled = 0;
    for (std::int32_t p = 0; p < source.count; ++p) {
      if (exclusion.group != nullptr && exclusion.group[p] == exclusion.excluded) continue;
      const double d =
          ScanDistance(query.data(), &packed_->scaled[p * inputs], source, packed_->metric);
      const double worst =
          filled < slots ? std::numeric_limits<double>::max() : best[slots - 1].distance;
      if (!(d < worst)) continue;
      std::int32_t s = filled < slots ? filled++ : slots - 1;
      for (; s > 0 && d < best[s - 1].distance; --s) best[s] = best[s - 1];
      best[s] = {d, p};
    }
    found[q] = filled;
    if (poll && poll()) return false;
  }
  return true;
}

}  // namespace qrvml
