#include <atomic>
#include <nanoflann.hpp>
#include <thread>

#include "knn_peers.h"

namespace bench {

constexpr int kInputs = NanoflannPeer::kInputs;

struct Points {
  std::vector<float> values;
  std::size_t kdtree_get_point_count() const { return values.size() / kInputs; }
  float kdtree_get_pt(std::size_t point, std::size_t input) const {
    return values[point * kInputs + input];
  }
  template <class Box>
  bool kdtree_get_bbox(Box&) const {
    return false;
  }
};

using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Points>,
                                                 Points, kInputs, std::uint32_t>;

struct NanoflannPeer::State {
  Points points;
  std::vector<float> queries;
  std::unique_ptr<Tree> tree;
  std::size_t slots;
  std::vector<std::uint32_t> neighbours;
  std::vector<float> distances;
};

NanoflannPeer::NanoflannPeer(const std::vector<double>& prototypes,
                             const std::vector<double>& queries, int slots)
    : state_(std::make_unique<State>()) {
  state_->points.values.assign(prototypes.begin(), prototypes.end());
  state_->queries.assign(queries.begin(), queries.end());
  state_->slots = std::size_t(slots);
  state_->neighbours.resize(queries.size() / kInputs * slots);
  state_->distances.resize(state_->neighbours.size());
}

NanoflannPeer::~NanoflannPeer() = default;

void NanoflannPeer::Build() {
  state_->tree = std::make_unique<Tree>(kInputs, state_->points,
                                        nanoflann::KDTreeSingleIndexAdaptorParams(10));
  state_->tree->buildIndex();
}

void NanoflannPeer::Search(int threads) {
  std::atomic<std::size_t> next{0};
  const std::size_t count = state_->queries.size() / kInputs;
  const auto work = [&] {
    constexpr std::size_t kBatch = 50;
    for (std::size_t first; (first = next.fetch_add(kBatch)) < count;) {
      for (std::size_t q = first; q < first + kBatch && q < count; ++q) {
        state_->tree->knnSearch(&state_->queries[q * kInputs], state_->slots,
                                &state_->neighbours[q * state_->slots],
                                &state_->distances[q * state_->slots]);
      }
    }
  };
  std::vector<std::thread> others;
  for (int thread = 1; thread < threads; ++thread) others.emplace_back(work);
  work();
  for (std::thread& thread : others) thread.join();
}

}  // namespace bench
