// A few queries searched together: they share passes over the packed prototypes.
//
// Each query keeps the prototypes that may be among its K nearest (candidates) and an upper bound
// of the K-th distance (reach), which falls while chunks are visited; the filter value that goes
// with it decides which chunks, blocks and prototypes are looked at. Distances are computed in
// double for the few candidates left at the end, or earlier where ties leave too many.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>

#include "host/memory.h"
#include "knn/neighbour_search_packed.h"

namespace qrvml {

/// Says when to stop. The thread that holds `poll` asks it after a bounded amount of work.
class SearchPace {
 public:
  SearchPace(std::atomic<bool>& stop, const std::function<bool()>* poll)
      : stop_(stop), poll_(poll) {}
  /// True: stop. `work` is about the number of inputs compared since the last call.
  bool Spend(std::int64_t work);

 private:
  std::atomic<bool>& stop_;
  const std::function<bool()>* poll_;
  std::int64_t pending_ = 0;
};

class QueryGroup {
 public:
  /// Memory of a group, per query, grows with `slots`.
  static std::size_t BytesPerQuery(const PackedPrototypes& packed, std::int32_t slots);

  /// Room for `width` <= kTile queries. Throws MemoryRefused; nothing after this allocates.
  QueryGroup(const PackedPrototypes& packed, std::int32_t slots, Exclusion exclusion,
             std::int32_t width);

  /// Takes queries in and visits the chunks nearest to them, and all others worth a visit where
  /// these are few. False: stopped.
  bool Start(const double* queries, std::span<const std::int32_t> chosen, SearchPace& pace);
  /// Start has left chunks to be visited by Visit, in any order.
  bool unfinished() const { return unfinished_; }
  bool Visit(std::int32_t chunk, SearchPace& pace);
  /// Writes the neighbours of the group's queries. False: stopped.
  bool Finish(std::span<Neighbour> neighbours, std::span<std::int32_t> found, SearchPace& pace);

 private:
  /// A candidate whose distance is known.
  struct Settled {
    double distance;
    std::int32_t stored;
    std::int32_t position;
    float value;
  };
  static bool Nearer(const Settled& a, const Settled& b);
  struct Query {
    std::int32_t index = 0;    // among the caller's queries
    bool regular = false;      // has a place in filter space
    double error = 0;          // E of the query
    double reach = 0;          // upper bound of the K-th distance in filter space
    std::int32_t checked = 0;  // candidates known to be prototypes that take part
    std::int32_t settled = 0;  // the first candidates, whose distances are known
  };
  struct Seat {
    float bound;
    std::int32_t chunk;
  };

  void BoundChunks(std::int32_t q);
  std::int32_t NearestChunk(std::int32_t q) const;
  bool WorthVisiting(std::int32_t chunk) const;
  float LimitAt(std::int32_t q, double chunkError) const;
  void Check(std::int32_t q);
  void Tighten(std::int32_t q, std::int32_t slack);
  double ErrorUpTo(std::int32_t q, float value) const;
  std::int32_t Rank(std::int32_t q);
  void Settle(std::int32_t q);
  void ComputeDistances(std::int32_t q);
  bool AddUnfiltered(std::int32_t q, std::int32_t from, SearchPace& pace);
  bool Excluded(std::int32_t stored) const {
    return exclusion_.group != nullptr && exclusion_.group[stored] == exclusion_.excluded;
  }
  double* DistancesOf(std::int32_t q) { return &distances_[std::size_t(q) * room_]; }
  float* BoundsOf(std::int32_t q) { return &bounds_[std::size_t(q) * boundRoom_]; }
  const float* BoundsOf(std::int32_t q) const { return &bounds_[std::size_t(q) * boundRoom_]; }

  const PackedPrototypes* packed_;
  Exclusion exclusion_;
  std::int32_t inputs_;
  std::int32_t slots_;    // of the caller
  std::int32_t nearest_;  // K: slots, at most all prototypes
  std::size_t room_;      // candidates of a query
  std::size_t boundRoom_;
  std::int32_t count_ = 0;  // queries taken in
  bool unfinished_ = false;
  std::int64_t tested_ = 0;    // pairs of query and block whose boxes were compared
  std::int64_t wanted_ = 0;    // those that were computed all the same
  std::int32_t untested_ = 0;  // visits since boxes were last compared

  Query queries_[kTile];
  FilterQuery filters_[kTile];
  HostArray<double> scaled_;           // width x inputs
  HostArray<float> centred_;           // width x inputs
  HostArray<std::int32_t> pairs_;      // width x pairs, on a grid
  HostArray<float> bounds_;            // width x chunks
  HostArray<float> values_;            // width x candidates
  HostArray<std::int32_t> positions_;  // width x candidates
  HostArray<double> distances_;        // width x candidates
  HostArray<Settled> ranking_;         // candidates of one query
  HostArray<Seat> seats_;              // chunks worth a visit
};

}  // namespace qrvml
