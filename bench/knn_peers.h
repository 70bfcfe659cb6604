// The peers of the neighbour search, each in a file of its own and with its own compile flags.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace bench {

/// Neighbours of all queries, `slots` a query, nearest first.
struct PeerAnswer {
  std::vector<std::int64_t> prototypes;
};

/// The defining loops, compiled like the rest of the module (-O3), on one thread.
void ScalarSearch(const double* prototypes, int count, int inputs, const double* queries,
                  int queryCount, int slots, const std::int32_t* group, std::int32_t excluded,
                  std::vector<double>& distances, std::vector<std::int32_t>& neighbours);

/// Brute force in float by an expansion into matrix products (BLAS), or directly.
class FaissPeer {
 public:
  FaissPeer(const std::vector<double>& prototypes, const std::vector<double>& queries, int inputs,
            int slots);
  ~FaissPeer();
  void Search(int threads, bool blas);
  /// Finds out which of the two ways is faster here; true: BLAS.
  bool FasterWithBlas(int threads);
  const PeerAnswer& answer() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// A tree over points in float, for kInputs inputs.
class NanoflannPeer {
 public:
  static constexpr int kInputs = 8;

  NanoflannPeer(const std::vector<double>& prototypes, const std::vector<double>& queries,
                int slots);
  ~NanoflannPeer();
  void Build();
  void Search(int threads);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace bench
