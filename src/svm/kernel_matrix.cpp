#include "svm/kernel_matrix.h"

#include <algorithm>
#include <atomic>
#include <optional>

namespace qrvml {

KernelMatrix::KernelMatrix(std::span<const SVMNodeList> cases, const SharedKernel& shared,
                           const SVMParameters& parameters, SVMSolverState& state, SolverPace& pace)
    : rows_(cases, shared, parameters, state.level, pace),
      counts_(state.counts),
      cache_(std::int32_t(cases.size()), shared.store == nullptr ? parameters.cacheSize : 0),
      padded_(std::size_t(PackedCases::Padded(std::int32_t(cases.size())))),
      diagonal_(rows_.Diagonal()),
      scratch_(shared.store == nullptr ? 2 * padded_ : 0) {}

KernelMatrix::Column KernelMatrix::Request(std::int32_t at, std::int32_t length, int side) {
  Column column;
  column.at = at;
  column.length = length;
  if (places() != nullptr) {
    column.known = length;
    column.values = rows_.Open(at, side).source;
    counts_.elementsRead += length;
    ++counts_.columnsHit;
    return column;
  }
  const ColumnCache::Column cached = cache_.Request(at, length);
  column.known = std::min(cached.known, length);
  column.values = column.room = cached.values != nullptr ? cached.values : Scratch(side);
  counts_.elementsRead += column.known;
  counts_.elementsComputed += length - column.known;
  if (column.known == length) {
    ++counts_.columnsHit;
    return column;
  }
  ++counts_.columnsComputed;
  column.row = rows_.Open(at, side);
  return column;
}

double KernelMatrix::Between(const Column& a, const Column& b) const {
  if (places() == nullptr) {
    if (a.known > b.at) return a.values[b.at];
    if (b.known > a.at) return b.values[a.at];
  }
  return rows_.Value(a.at, b.at);
}

std::int64_t KernelMatrix::Fill(std::span<const Column> columns, std::int32_t begin,
                                std::int32_t end, std::int32_t origin) const {
  KernelRows::Row rows[kDotQueries];
  double* out[kDotQueries];
  std::size_t count = 0;
  for (const Column& column : columns) {
    if (column.known >= end) continue;
    rows[count] = column.row;
    out[count++] = column.room + (begin - origin);
  }
  return count == 0 ? 0 : rows_.Fill(std::span(rows, count), begin, end, out);
}

void KernelMatrix::Complete(const Column& column) {
  if (column.known < column.length && column.room != Scratch(0) && column.room != Scratch(1)) {
    cache_.SetKnown(column.at, column.length);
  }
}

void KernelMatrix::AddColumns(std::span<const std::int32_t> listed, std::span<const double> factors,
                              std::int32_t begin, double* sums, SolverTeam& team,
                              SolverPace& pace) {
  std::fill(sums + begin, sums + cases(), 0.0);
  const std::int32_t passes = (cases() - begin + kPassCases - 1) / kPassCases;
  HostArray<double> values(std::size_t(team.threads()) * kDotQueries * kPassCases);
  for (std::size_t first = 0; first < listed.size(); first += kDotQueries) {
    const int count = int(std::min<std::size_t>(kDotQueries, listed.size() - first));
    Column columns[kDotQueries];
    for (int q = 0; q < count; ++q) {
      columns[q].row = rows_.Open(listed[first + std::size_t(q)], q);
    }
    std::atomic<bool> stop{false};
    team.Run(passes, true, [&](std::int32_t pass, int thread) {
      if (stop.load(std::memory_order_relaxed)) return;
      const std::int32_t from = begin + pass * kPassCases;
      const std::int32_t to = std::min(cases(), from + kPassCases);
      Column mine[kDotQueries];
      for (int q = 0; q < count; ++q) {
        mine[q] = columns[q];
        mine[q].room =
            values.data() + (std::size_t(thread) * kDotQueries + std::size_t(q)) * kPassCases;
      }
      const std::int64_t work = Fill(std::span(mine, std::size_t(count)), from, to, from);
      for (int q = 0; q < count; ++q) {
        const double factor = factors[first + std::size_t(q)];
        for (std::int32_t t = from; t < to; ++t) sums[t] += factor * mine[q].room[t - from];
      }
      if (thread == 0 && pace.Spend(work)) stop = true;
    });
    if (stop) throw Cancelled();
    counts_.elementsComputed += std::int64_t(cases() - begin) * count;
  }
}

void KernelMatrix::Swap(std::int32_t a, std::int32_t b, SolverPace& pace) {
  pace.Check(rows_.Swap(a, b));
  std::swap(diagonal_[std::size_t(a)], diagonal_[std::size_t(b)]);
  cache_.Swap(a, b);
}

void KernelMatrix::FollowSwaps(std::span<const std::int32_t> source, std::int32_t length,
                               SolverPace& pace) {
  HostArray<std::int32_t> moved{std::size_t(length)};
  std::size_t count = 0;
  for (std::int32_t p = 0; p < length; ++p) {
    if (source[std::size_t(p)] != p) moved[count++] = p;
  }
  const std::span<const std::int32_t> places(moved.data(), count);
  std::optional<KernelRows> arrived;  // the cases at those places, when a column does not know them
  HostArray<double> values;

  cache_.ForEach([&](std::int32_t at, double* column, std::int32_t known) {
    const std::int32_t left = std::min(known, length);
    bool missing = false;
    pace.Check(std::int64_t(count));
    for (const std::int32_t p : places) {
      if (p >= left) break;
      const std::int32_t from = source[std::size_t(p)];
      if (from < known) {
        column[p] = column[from];
      } else {
        missing = true;
      }
    }
    if (!missing) return left;
    // Where much of a column would have to be computed, that can wait until it is asked for.
    if (count * 4 > std::size_t(left)) return 0;
    if (!arrived) {
      arrived.emplace(rows_, places);
      values.Resize(std::size_t(PackedCases::Padded(arrived->cases())));
    }
    const KernelRows::Row row = rows_.Open(at, 0);
    double* out[] = {values.data()};
    pace.Check(arrived->Fill({&row, 1}, 0, arrived->cases(), out));
    counts_.elementsComputed += std::int64_t(count);
    for (std::size_t m = 0; m < count && places[m] < left; ++m) column[places[m]] = values[m];
    return left;
  });
}

}  // namespace qrvml
