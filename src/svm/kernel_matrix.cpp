#include "svm/kernel_matrix.h"

#include <algorithm>
#include <atomic>

namespace qrvml {
namespace {

constexpr std::int64_t kFinishWork = 16;  // cost of a kernel function, in multiplications

/// The kernel itself takes that many multiplications a value.
std::int64_t WorkOf(std::int64_t values, std::int32_t inputs) {
  return values * (inputs + kFinishWork);
}

}  // namespace

KernelMatrix::KernelMatrix(std::span<const SVMNodeList> cases, const SVMParameters& parameters,
                           SVMSolverState& state, SolverPace& pace)
    : function_(parameters, state.level),
      counts_(state.counts),
      cache_(std::int32_t(cases.size()), parameters.cacheSize),
      padded_(std::size_t(PackedCases::Padded(std::int32_t(cases.size())))) {
  cases_.Build(cases, false, pace);
  squares_.Assign(padded_, 0.0);
  for (std::int32_t t = 0; t < cases_.count(); ++t) {
    const double* input = cases_.Block(t / kCaseLanes) + t % kCaseLanes;
    double sum = 0;
    for (std::int32_t c = 0; c < cases_.columns(); ++c, input += kCaseLanes) {
      sum = sum + *input * *input;
    }
    squares_[std::size_t(t)] = sum;
    pace.Check(cases_.columns());
  }
  diagonal_.Resize(padded_);
  for (std::size_t t = 0; t < padded_; ++t) {
    const double square = squares_[t];
    diagonal_[t] = function_.IsRadial() ? (square + square) - 2.0 * square : square;
  }
  function_.Finish(0, nullptr, diagonal_.data(), std::int32_t(padded_));
  queries_.Resize(std::size_t(kDotQueries) * std::size_t(cases_.columns()));
  scratch_.Resize(2 * padded_);
}

double KernelMatrix::Value(std::int32_t a, std::int32_t b) {
  const double* x = cases_.Block(a / kCaseLanes) + a % kCaseLanes;
  const double* z = cases_.Block(b / kCaseLanes) + b % kCaseLanes;
  alignas(64) double values[kCaseLanes] = {};
  alignas(64) double squares[kCaseLanes] = {};
  for (std::int32_t c = 0; c < cases_.columns(); ++c, x += kCaseLanes, z += kCaseLanes) {
    values[0] = values[0] + *x * *z;
  }
  squares[0] = squares_[std::size_t(b)];
  function_.Finish(squares_[std::size_t(a)], squares, values, kCaseLanes);
  return values[0];
}

KernelMatrix::Column KernelMatrix::Request(std::int32_t at, std::int32_t length, int side) {
  const ColumnCache::Column cached = cache_.Request(at, length);
  Column column;
  column.at = at;
  column.length = length;
  column.known = std::min(cached.known, length);
  column.values = cached.values != nullptr ? cached.values : Scratch(side);
  column.square = squares_[std::size_t(at)];
  counts_.elementsRead += column.known;
  counts_.elementsComputed += length - column.known;
  if (column.known == length) {
    ++counts_.columnsHit;
    return column;
  }
  ++counts_.columnsComputed;
  double* query = queries_.data() + std::size_t(side) * std::size_t(cases_.columns());
  cases_.CopyCase(at, query);
  column.query = query;
  return column;
}

std::int64_t KernelMatrix::Fill(std::span<const Column> columns, std::int32_t begin,
                                std::int32_t end, std::int32_t origin) const {
  const double* query[kDotQueries];
  double* out[kDotQueries];
  const Column* missing[kDotQueries];
  int count = 0;
  for (const Column& column : columns) {
    if (column.known >= end) continue;
    missing[count] = &column;
    query[count] = column.query;
    out[count] = column.values + (begin - origin);
    ++count;
  }
  if (count == 0) return 0;
  const std::int32_t values = PackedCases::Padded(end - begin);
  function_.kernel().dots(cases_.Block(begin / kCaseLanes), cases_.columns(), values / kCaseLanes,
                          query, count, out);
  for (int q = 0; q < count; ++q) {
    function_.Finish(missing[q]->square, squares_.data() + begin, out[q], values);
  }
  return WorkOf(std::int64_t(values) * count, cases_.columns());
}

void KernelMatrix::Complete(const Column& column) {
  if (column.known < column.length && column.values != Scratch(0) && column.values != Scratch(1)) {
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
      double* query = queries_.data() + std::size_t(q) * std::size_t(cases_.columns());
      columns[q].at = listed[first + std::size_t(q)];
      columns[q].square = squares_[std::size_t(columns[q].at)];
      columns[q].query = query;
      cases_.CopyCase(columns[q].at, query);
    }
    std::atomic<bool> stop{false};
    team.Run(passes, true, [&](std::int32_t pass, int thread) {
      if (stop.load(std::memory_order_relaxed)) return;
      const std::int32_t from = begin + pass * kPassCases;
      const std::int32_t to = std::min(cases(), from + kPassCases);
      Column mine[kDotQueries];
      for (int q = 0; q < count; ++q) {
        mine[q] = columns[q];
        mine[q].values =
            values.data() + (std::size_t(thread) * kDotQueries + std::size_t(q)) * kPassCases;
      }
      const std::int64_t work = Fill(std::span(mine, std::size_t(count)), from, to, from);
      for (int q = 0; q < count; ++q) {
        const double factor = factors[first + std::size_t(q)];
        for (std::int32_t t = from; t < to; ++t) sums[t] += factor * mine[q].values[t - from];
      }
      if (thread == 0 && pace.Spend(work)) stop = true;
    });
    if (stop) throw Cancelled();
    counts_.elementsComputed += std::int64_t(cases() - begin) * count;
  }
}

void KernelMatrix::Swap(std::int32_t a, std::int32_t b) {
  cases_.Swap(a, b);
  std::swap(squares_[std::size_t(a)], squares_[std::size_t(b)]);
  std::swap(diagonal_[std::size_t(a)], diagonal_[std::size_t(b)]);
  cache_.Swap(a, b);
}

void KernelMatrix::FollowSwaps(std::span<const std::int32_t> source, std::int32_t length) {
  HostArray<std::int32_t> moved{std::size_t(length)};
  std::size_t count = 0;
  for (std::int32_t p = 0; p < length; ++p) {
    if (source[std::size_t(p)] != p) moved[count++] = p;
  }
  const std::span<const std::int32_t> places(moved.data(), count);
  const auto lanes = std::size_t(PackedCases::Padded(std::int32_t(count)));
  PackedCases arrived;  // the cases at those places, when a column does not know them
  HostArray<double> squares;
  HostArray<double> values;
  HostArray<double> query;

  cache_.ForEach([&](std::int32_t at, double* column, std::int32_t known) {
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
    if (!missing) return left;
    // Where much of a column would have to be computed, that can wait until it is asked for.
    if (count * 4 > std::size_t(left)) return 0;
    if (values.empty()) {
      arrived.Build(cases_, places);
      squares.Assign(lanes, 0.0);
      for (std::size_t m = 0; m < count; ++m) squares[m] = squares_[std::size_t(places[m])];
      values.Resize(lanes);
      query.Resize(std::size_t(cases_.columns()));
    }
    cases_.CopyCase(at, query.data());
    const double* queries[] = {query.data()};
    double* out[] = {values.data()};
    function_.kernel().dots(arrived.Block(0), cases_.columns(), std::int32_t(lanes) / kCaseLanes,
                            queries, 1, out);
    function_.Finish(squares_[std::size_t(at)], squares.data(), values.data(), std::int32_t(lanes));
    counts_.elementsComputed += std::int64_t(count);
    for (std::size_t m = 0; m < count && places[m] < left; ++m) column[places[m]] = values[m];
    return left;
  });
}

}  // namespace qrvml
