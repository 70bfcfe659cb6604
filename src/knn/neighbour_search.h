// Exact search of the nearest prototypes, ahead of the plain scan in speed and equal to it in
// every bit: neighbours, their order, ties and distances.
//
// The defining scan. Inputs are scaled first: s_i = shift_i + scale_i * x_i (one multiplication,
// one addition, each rounded). The distance of a query and a prototype starts an accumulator at
// 0.0 and adds one term per input in order, continuous inputs first: t = query_i - prototype_i for
// a continuous input, t = 0.0 (equal codes) or 1.0 for a categorical one.
//   euclidean         acc += t * t, distance = sqrt(acc)
//   squaredEuclidean  acc += t * t, distance = acc
//   cityBlock         acc += |t|,   distance = acc
//   chebychev         acc = |t| where |t| >= acc, distance = acc
// The nearest prototypes are those with the smallest distances; equal distances (after the root)
// keep the stored order. A distance that is not below the largest double (also NaN) is never near.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "host/memory.h"

namespace qrvml {

enum class Metric : std::int16_t {
  euclidean = 0,
  squaredEuclidean = 1,
  cityBlock = 2,
  chebychev = 3
};

struct Neighbour {
  double distance;
  std::int32_t prototype;  // position in stored order, from 0
};

/// Row-major cases and how their inputs are scaled. Nothing is owned; the arrays outlive the
/// search.
struct PrototypeRows {
  const double* rows = nullptr;   // count x (continuous + categorical), unscaled
  std::int32_t count = 0;         // prototypes
  std::int32_t continuous = 0;    // continuous inputs, first in a row
  std::int32_t categorical = 0;   // categorical inputs (codes), after them
  const double* scale = nullptr;  // per input; categorical inputs: 1
  const double* shift = nullptr;  // per input; categorical inputs: 0
};

/// Prototypes that take no part in one search: those whose group equals `excluded`.
struct Exclusion {
  const std::int32_t* group = nullptr;  // per prototype; null: none is excluded
  std::int32_t excluded = -1;
};

class PackedPrototypes;

class NeighbourSearch {
 public:
  NeighbourSearch();
  ~NeighbourSearch();
  NeighbourSearch(NeighbourSearch&&) noexcept;
  NeighbourSearch& operator=(NeighbourSearch&&) noexcept;

  /// Packs the prototypes for searching: about half the size of the rows.
  ///
  /// poll      called at least every 100 ms of work; true stops the packing, which then returns
  ///           false. May be empty.
  /// Throws MemoryRefused. After a failure there is nothing to search.
  bool Build(const PrototypeRows& prototypes, Metric metric,
             const std::function<bool()>& poll = {});
  void Release();

  /// The nearest prototypes of each query, nearest first: min(slots, those that are eligible).
  ///
  /// requires  Build; queries row-major count x inputs, unscaled; slots >= 1;
  ///           neighbours.size() == count * slots; found.size() == count
  /// gives     neighbours[q * slots + s], s < found[q]; the rest of a query's slots is untouched
  /// threads   threads that may share the queries, the calling one included (1: none is started);
  ///           the result does not depend on it
  /// poll      called on the calling thread only, at least every 100 ms of work; true stops the
  ///           search, which then returns false with undefined contents. May be empty.
  /// Throws MemoryRefused.
  bool Find(const double* queries, std::int32_t count, std::int32_t slots, Exclusion exclusion,
            int threads, std::span<Neighbour> neighbours, std::span<std::int32_t> found,
            const std::function<bool()>& poll) const;

  /// Lets the next Build use kernels of this level at most. The result does not depend on it.
  void LimitLevel(int level);

 private:
  int level_;
  std::unique_ptr<PackedPrototypes> packed_;
};

}  // namespace qrvml
