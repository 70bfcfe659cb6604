#include "svm/kernel_store.h"

#include <algorithm>
#include <limits>

#include "svm/kernel_rows.h"

namespace qrvml {

double KernelStore::Megabytes(std::int32_t cases) {
  return 8.0 * double(PackedCases::Padded(cases)) * cases / 1048576.0;
}

KernelStore::KernelStore(std::span<const SVMNodeList> cases, const SVMParameters& parameters,
                         SVMSolverState& state, SolverTeam& team, SolverPace& pace)
    : cases_(std::int32_t(cases.size())), padded_(std::size_t(PackedCases::Padded(cases_))) {
  KernelRows rows(cases, {}, parameters, state.level, pace);
  if (cases_ > 0 && padded_ > std::numeric_limits<std::size_t>::max() / cases.size()) {
    throw MemoryRefused();
  }
  values_.Resize(padded_ * cases.size());
  for (std::int32_t first = 0; first < cases_; first += kDotQueries) {
    const int count = std::min(kDotQueries, cases_ - first);
    KernelRows::Row opened[kDotQueries];
    for (int q = 0; q < count; ++q) opened[q] = rows.Open(first + q, q);
    RunPaced(team, PassesOf(cases_), true, pace, [&](std::int32_t pass, int) {
      const std::int32_t begin = pass * kPassCases;
      double* out[kDotQueries];
      for (int q = 0; q < count; ++q) {
        out[q] = values_.data() + std::size_t(first + q) * padded_ + std::size_t(begin);
      }
      return rows.Fill(std::span(opened, std::size_t(count)), begin,
                       std::min(cases_, begin + kPassCases), out);
    });
  }
}

}  // namespace qrvml
