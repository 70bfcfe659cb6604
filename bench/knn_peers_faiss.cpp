#include <faiss/IndexFlat.h>
#include <faiss/utils/distances.h>
#include <omp.h>

#include <limits>

#include "harness.h"
#include "knn_peers.h"

extern "C" void openblas_set_num_threads(int);

namespace bench {

struct FaissPeer::State {
  State(int inputs, int k) : index(inputs), slots(k) {}

  faiss::IndexFlatL2 index;
  int slots;
  std::vector<float> queries;
  std::vector<float> distances;
  PeerAnswer answer;
};

FaissPeer::FaissPeer(const std::vector<double>& prototypes, const std::vector<double>& queries,
                     int inputs, int slots)
    : state_(std::make_unique<State>(inputs, slots)) {
  const std::vector<float> rows(prototypes.begin(), prototypes.end());
  state_->index.add(faiss::Index::idx_t(rows.size() / inputs), rows.data());
  state_->queries.assign(queries.begin(), queries.end());
  const std::size_t size = queries.size() / inputs * slots;
  state_->distances.resize(size);
  state_->answer.prototypes.resize(size);
}

FaissPeer::~FaissPeer() = default;

void FaissPeer::Search(int threads, bool blas) {
  const int usual = 20;  // queries from which the library uses BLAS
  faiss::distance_compute_blas_threshold = blas ? usual : std::numeric_limits<int>::max();
  omp_set_num_threads(threads);
  openblas_set_num_threads(threads);
  const std::size_t count = state_->answer.prototypes.size() / state_->slots;
  state_->index.search(faiss::Index::idx_t(count), state_->queries.data(), state_->slots,
                       state_->distances.data(), state_->answer.prototypes.data());
}

bool FaissPeer::FasterWithBlas(int threads) {
  Search(threads, true);
  const double with = Seconds([&] { Search(threads, true); });
  const double without = Seconds([&] { Search(threads, false); });
  return with <= without;
}

const PeerAnswer& FaissPeer::answer() const { return state_->answer; }

}  // namespace bench
