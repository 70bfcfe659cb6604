#include "svm/kernel_matrix.h"

#include <algorithm>
#include <optional>

namespace qrvml {
namespace {

constexpr std::int64_t kSharedMoves = 100000;  // elements of columns worth a second thread

}  // namespace

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
  const std::int32_t passes = PassesOf(cases() - begin);
  HostArray<double> values(std::size_t(team.threads()) * kDotQueries * kPassCases);
  for (std::size_t first = 0; first < listed.size(); first += kDotQueries) {
    const int count = int(std::min<std::size_t>(kDotQueries, listed.size() - first));
    Column columns[kDotQueries];
    for (int q = 0; q < count; ++q) {
      columns[q].row = rows_.Open(listed[first + std::size_t(q)], q);
    }
    RunPaced(team, passes, true, pace, [&](std::int32_t pass, int thread) {
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
      return work;
    });
    counts_.elementsComputed += std::int64_t(cases() - begin) * count;
  }
}

void KernelMatrix::Swap(std::int32_t a, std::int32_t b, SolverPace& pace) {
  pace.Check(rows_.Swap(a, b));
  std::swap(diagonal_[std::size_t(a)], diagonal_[std::size_t(b)]);
  cache_.Swap(a, b);
}

void KernelMatrix::FollowSwaps(std::span<const std::int32_t> source, std::int32_t length,
                               SolverTeam& team, SolverPace& pace) {
  HostArray<std::int32_t> moved{std::size_t(length)};
  std::size_t count = 0;
  for (std::int32_t p = 0; p < length; ++p) {
    if (source[std::size_t(p)] != p) moved[count++] = p;
  }
  const std::span<const std::int32_t> places(moved.data(), count);
  const std::int32_t slots = cache_.slots();
  HostArray<std::uint8_t> lacking(std::size_t(slots), 0);  // some element has to be computed
  const bool isShared = std::int64_t(slots) * std::int64_t(count) >= kSharedMoves;
  RunPaced(team, slots, isShared, pace, [&](std::int32_t slot, int) {
    cache_.Visit(slot, [&](std::int32_t, double* column, std::int32_t known) {
      const std::int32_t left = std::min(known, length);
      bool missing = false;
      for (const std::int32_t p : places) {
        if (p >= left) break;
        const std::int32_t from = source[std::size_t(p)];
        if (from < known) {
          column[p] = column[from];
        } else {
          missing = true;
        }
      }
      // Where much of a column would have to be computed, that can wait until it is asked for.
      if (missing && count * 4 > std::size_t(left)) return 0;
      lacking[std::size_t(slot)] = missing ? 1 : 0;
      return left;
    });
    return std::int64_t(count);
  });
  ComputeMoved(places, lacking, team, pace);
}

void KernelMatrix::ComputeMoved(std::span<const std::int32_t> places,
                                std::span<const std::uint8_t> lacking, SolverTeam& team,
                                SolverPace& pace) {
  std::optional<KernelRows> moved;  // the cases at those places
  HostArray<double> values;
  const auto count = std::int32_t(places.size());
  const auto padded = std::size_t(PackedCases::Padded(count));
  for (std::int32_t slot = 0; slot < std::int32_t(lacking.size());) {
    struct {
      double* values;
      std::int32_t known;
    } columns[kDotQueries];
    KernelRows::Row rows[kDotQueries];
    int open = 0;
    for (; slot < std::int32_t(lacking.size()) && open < kDotQueries; ++slot) {
      if (lacking[std::size_t(slot)] == 0) continue;
      cache_.Visit(slot, [&](std::int32_t at, double* column, std::int32_t known) {
        columns[open] = {column, known};
        rows[open] = rows_.Open(at, open);
        ++open;
        return known;
      });
    }
    if (open == 0) return;
    if (!moved) {
      moved.emplace(rows_, places);
      values.Resize(kDotQueries * padded);
    }
    RunPaced(team, PassesOf(count), true, pace, [&](std::int32_t pass, int) {
      const std::int32_t begin = pass * kPassCases;
      const std::int32_t end = std::min(count, begin + kPassCases);
      double* out[kDotQueries];
      for (int q = 0; q < open; ++q) out[q] = values.data() + std::size_t(q) * padded + begin;
      const std::int64_t work = moved->Fill(std::span(rows, std::size_t(open)), begin, end, out);
      for (int q = 0; q < open; ++q) {
        for (std::int32_t m = begin; m < end && places[std::size_t(m)] < columns[q].known; ++m) {
          columns[q].values[places[std::size_t(m)]] = out[q][m - begin];
        }
      }
      return work;
    });
    counts_.elementsComputed += std::int64_t(count) * open;
  }
}

}  // namespace qrvml
