#include <cmath>
#include <limits>

#include "knn_peers.h"

namespace bench {

void ScalarSearch(const double* prototypes, int count, int inputs, const double* queries,
                  int queryCount, int slots, const std::int32_t* group, std::int32_t excluded,
                  std::vector<double>& distances, std::vector<std::int32_t>& neighbours) {
  distances.assign(std::size_t(queryCount) * slots, std::numeric_limits<double>::max());
  neighbours.assign(std::size_t(queryCount) * slots, -1);
  for (int q = 0; q < queryCount; ++q) {
    const double* query = queries + std::size_t(q) * inputs;
    double* best = &distances[std::size_t(q) * slots];
    std::int32_t* which = &neighbours[std::size_t(q) * slots];
    for (int p = 0; p < count; ++p) {
      if (group != nullptr && group[p] == excluded) continue;
      const double* prototype = prototypes + std::size_t(p) * inputs;
      double sum = 0.0;
      for (int i = 0; i < inputs; ++i) {
        const double t = query[i] - prototype[i];
        sum += t * t;
      }
      const double distance = std::sqrt(sum);
      if (!(distance < best[slots - 1])) continue;
      int s = slots - 1;
      for (; s > 0 && distance < best[s - 1]; --s) {
        best[s] = best[s - 1];
        which[s] = which[s - 1];
      }
      best[s] = distance;
      which[s] = p;
    }
  }
}

}  // namespace bench
