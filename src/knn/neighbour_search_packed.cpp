#include "knn/neighbour_search_packed.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace qrvml {
namespace {

constexpr double kFarOut = 0x1p40;           // filter coordinates beyond this have no bound
constexpr std::int64_t kPollWork = 1 << 18;  // inputs handled between two polls: a few ms
constexpr std::int32_t kFrameSample = 1024;  // prototypes that show typical values

constexpr double kHalfUlp = 0x1p-24 * (1 + 0x1p-20);  // relative error of packing into float
constexpr double kLeastError = 0x1p-149;              // the same near zero
constexpr std::int32_t kGridInputs = 8;          // continuous inputs from which a grid is worth it
constexpr double kGridSquare = 0x1p30 - 0x1p20;  // greatest squared length: see PackPairs
constexpr double kGridSteps = 8;           // neighbours are this many packing errors apart at least
constexpr std::int32_t kNearSample = 512;  // prototypes that show how near neighbours are

FilterTerm TermOf(Metric metric) {
  switch (metric) {
    case Metric::cityBlock:
      return FilterTerm::absolute;
    case Metric::chebychev:
      return FilterTerm::maximum;
    default:
      return FilterTerm::square;
  }
}

/// Two 16-bit whole numbers in a word.
std::int32_t Pair(std::int32_t first, std::int32_t second) {
  return std::int32_t(std::uint32_t(second) << 16 | (std::uint32_t(first) & 0xFFFFU));
}

bool Squares(FilterTerm term) { return term == FilterTerm::square || term == FilterTerm::grid; }

/// One coordinate joins the length of the others.
double Join(FilterTerm term, double sum, double t) {
  if (Squares(term)) return sum + t * t;
  return term == FilterTerm::absolute ? sum + t : std::max(sum, t);
}

/// The accumulator of the defining scan for `width` prototypes side by side: independent sums hide
/// the latency of addition, each keeps its own order.
template <FilterTerm term, int width>
void Accumulate(const PrototypeRows& source, const double* query, const double* const* rows,
                double* sums) {
  double sum[width] = {};
  std::int32_t i = 0;
  for (; i < source.continuous; ++i) {
    for (int w = 0; w < width; ++w) {
      const double t = query[i] - (source.shift[i] + source.scale[i] * rows[w][i]);
      if constexpr (term == FilterTerm::square) {
        sum[w] += t * t;
      } else if constexpr (term == FilterTerm::absolute) {
        sum[w] += std::fabs(t);
      } else {
        sum[w] = std::fabs(t) >= sum[w] ? std::fabs(t) : sum[w];
      }
    }
  }
  for (; i < source.continuous + source.categorical; ++i) {
    for (int w = 0; w < width; ++w) {
      const double t = query[i] == source.shift[i] + source.scale[i] * rows[w][i] ? 0.0 : 1.0;
      if constexpr (term == FilterTerm::maximum) {
        sum[w] = t >= sum[w] ? t : sum[w];
      } else {
        sum[w] += t;
      }
    }
  }
  for (int w = 0; w < width; ++w) sums[w] = sum[w];
}

template <FilterTerm term>
void AccumulateAll(const PrototypeRows& source, const double* query, const std::int32_t* stored,
                   int count, double* sums) {
  constexpr int kSideBySide = 4;
  const std::size_t inputs = source.continuous + source.categorical;
  int done = 0;
  for (; done + kSideBySide <= count; done += kSideBySide) {
    const double* rows[kSideBySide];
    for (int w = 0; w < kSideBySide; ++w) rows[w] = source.rows + stored[done + w] * inputs;
    Accumulate<term, kSideBySide>(source, query, rows, sums + done);
  }
  for (; done < count; ++done) {
    const double* row = source.rows + stored[done] * inputs;
    Accumulate<term, 1>(source, query, &row, sums + done);
  }
}

}  // namespace

bool PackedPrototypes::Build(const PrototypeRows& prototypes, Metric metric,
                             const NeighbourKernel& kernel, const std::function<bool()>& poll) {
  source_ = prototypes;
  metric_ = metric;
  term_ = TermOf(metric);
  kernel_ = &kernel;
  poll_ = poll ? &poll : nullptr;
  g_ = (inputs() + 8) * 0x1p-23;
  h_ = (inputs() + 8) * 0x1p-50;
  const bool done = ChooseFrame() && GrowTree() && Arrange() && Fill();
  poll_ = nullptr;
  return done;
}

bool PackedPrototypes::Pause(std::int64_t work) {
  pendingWork_ += work;
  if (pendingWork_ < kPollWork) return false;
  pendingWork_ = 0;
  return poll_ != nullptr && (*poll_)();
}

bool PackedPrototypes::ChooseFrame() {
  // Medians, so that a few outliers do not cost the others their precision.
  const std::int32_t step = std::max(1, source_.count / kFrameSample);
  centre_.Assign(source_.continuous, 0.0);
  HostArray<double> values(std::size_t(source_.count / step) + 1);
  double typical = 0;
  for (std::int32_t i = 0; i < source_.continuous; ++i) {
    std::int32_t known = 0;
    for (std::int32_t p = 0; p < source_.count; p += step) {
      const double s =
          source_.shift[i] + source_.scale[i] * source_.rows[std::size_t(p) * inputs() + i];
      if (std::isfinite(s)) values[known++] = s;
    }
    if (known == 0) continue;
    std::nth_element(values.begin(), values.begin() + known / 2, values.begin() + known);
    centre_[i] = values[known / 2];
    for (std::int32_t v = 0; v < known; ++v) {
      const double t = std::fabs(values[v] - centre_[i]);
      if (std::isfinite(t)) typical = std::max(typical, t);
    }
  }
  if (source_.categorical > 0 || typical == 0) typical = std::max(typical, 1.0);
  // The exponent's limits keep the rounding of the smallest doubles below `tiny`.
  unit_ = std::ldexp(1.0, std::clamp(-std::ilogb(typical), -1000, 400));
  if (term_ == FilterTerm::square && source_.continuous >= kGridInputs && !ChooseGrid(typical)) {
    return false;
  }
  const double mismatch = Squares(term_) ? unit_ * unit_ : unit_;
  shape_ = {source_.continuous, source_.categorical, float(mismatch),
            onGrid() ? std::int32_t(mismatch / 2) : 0,
            onGrid() ? 1 + pairs() + source_.categorical : inputs()};
  tiny_ = onGrid() ? inputs() + 4.0 : (inputs() + 8) * 0x1p-140;
  return true;
}

double PackedPrototypes::TypicalNearest() const {
  constexpr std::int32_t kAsked = 16;
  const std::int32_t sample = std::min(source_.count, kNearSample);
  const auto stored = [&](std::int32_t s) {
    return std::int32_t(std::int64_t(s) * source_.count / sample);
  };
  HostArray<std::int32_t> others(sample);
  for (std::int32_t s = 0; s < sample; ++s) others[s] = stored(s);
  HostArray<double> scaled(inputs());
  HostArray<double> distances(sample);
  double nearest[kAsked];
  for (std::int32_t a = 0; a < kAsked; ++a) {
    const std::int32_t asked = a * sample / kAsked;
    const double* row = source_.rows + std::size_t(stored(asked)) * inputs();
    for (std::int32_t i = 0; i < inputs(); ++i) {
      scaled[i] = source_.shift[i] + source_.scale[i] * row[i];
    }
    Distances(scaled.data(), others.data(), sample, distances.data());
    nearest[a] = std::numeric_limits<double>::infinity();
    for (std::int32_t s = 0; s < sample; ++s) {
      if (s != asked && distances[s] < nearest[a]) nearest[a] = distances[s];
    }
  }
  std::nth_element(nearest, nearest + kAsked / 2, nearest + kAsked);
  return metric_ == Metric::euclidean ? nearest[kAsked / 2] : std::sqrt(nearest[kAsked / 2]);
}

bool PackedPrototypes::GreatestDeviation(double* farthest) {
  for (std::int32_t p = 0; p < source_.count; ++p) {
    const double* row = source_.rows + std::size_t(p) * inputs();
    for (std::int32_t i = 0; i < source_.continuous; ++i) {
      const double t = std::fabs((source_.shift[i] + source_.scale[i] * row[i]) - centre_[i]);
      if (t > *farthest && std::isfinite(t)) *farthest = t;
    }
    if (Pause(inputs())) return false;
  }
  return true;
}

bool PackedPrototypes::ChooseGrid(double typical) {
  const double end = std::floor(std::sqrt(kGridSquare / inputs()));
  // As if the data had two dimensions: among more prototypes neighbours are nearer.
  const double denser = std::sqrt(std::max(1.0, double(source_.count) / kNearSample));
  const double wanted = kGridSteps * denser * std::sqrt(double(source_.continuous));
  const double nearest = TypicalNearest();
  if (!(nearest < std::numeric_limits<double>::max()) || nearest * end < wanted * typical) {
    return true;
  }
  double farthest = typical;
  if (!GreatestDeviation(&farthest)) return false;
  const double unit = end / farthest;
  if (nearest * unit < wanted || unit < 0x1p-1000 || unit > 0x1p400) return true;
  term_ = FilterTerm::grid;
  unit_ = unit;
  gridEnd_ = end;
  return true;
}

double PackedPrototypes::ToFilter(double scaled, std::int32_t input) const {
  return unit_ * (scaled - centre_[input]);
}

float PackedPrototypes::Coordinate(double exact) const {
  if (!onGrid()) return float(exact);
  constexpr double kRounder = 0x1.8p52;  // adding it leaves no room for fractions
  return float((std::clamp(exact, -gridEnd_, gridEnd_) + kRounder) - kRounder);
}

double PackedPrototypes::ErrorOf(const double* scaled, const float* packed) const {
  double sum = 0;
  for (std::int32_t i = 0; i < source_.continuous; ++i) {
    const double exact = ToFilter(scaled[i], i);
    sum = Join(term_, sum, std::fabs(exact - packed[i]) + 0x1p-50 * std::fabs(exact));
  }
  return (Squares(term_) ? std::sqrt(sum) : sum) * (1 + h_);
}

bool PackedPrototypes::PackPrototype(const double* row, float* packed) const {
  bool regular = true;
  std::int32_t i = 0;
  for (; i < source_.continuous; ++i) {
    const double x = ToFilter(source_.shift[i] + source_.scale[i] * row[i], i);
    regular &= std::fabs(x) <= kFarOut;
    packed[i] = Coordinate(x);
  }
  for (; i < inputs(); ++i) {
    const double code = source_.shift[i] + source_.scale[i] * row[i];
    packed[i] = float(code);
    regular &= double(packed[i]) == code;
  }
  return regular;
}

bool PackedPrototypes::PackQuery(const double* row, double* scaled, float* packed) const {
  bool regular = true;
  for (std::int32_t i = 0; i < inputs(); ++i) {
    scaled[i] = source_.shift[i] + source_.scale[i] * row[i];
    if (i < source_.continuous) {
      const double x = ToFilter(scaled[i], i);
      regular &= std::fabs(x) <= kFarOut;
      packed[i] = Coordinate(x);
    } else {
      packed[i] = float(scaled[i]);
      if (double(packed[i]) != scaled[i]) packed[i] = std::numeric_limits<float>::quiet_NaN();
    }
  }
  return regular;
}

std::int32_t PackedPrototypes::PackPairs(const float* packed, std::int32_t* pairs) const {
  // All sums stay below 2^31: with |p|^2, |q|^2 <= S, S = kGridSquare, a product is at most S, its
  // difference to |p|^2 / 2 at most 3/2 S, and |p - q|^2 / 2 with all mismatches at most 2 S.
  if (!onGrid()) return 0;
  std::int32_t square = 0;
  for (std::int32_t i = 0; i < source_.continuous; i += 2) {
    const auto first = std::int32_t(packed[i]);
    const auto second = i + 1 < source_.continuous ? std::int32_t(packed[i + 1]) : 0;
    square += first * first + second * second;
    pairs[i / 2] = Pair(first, second);
  }
  return square / 2;
}

double PackedPrototypes::Farthest(float value) const {
  const double bound = double(value) * (1 + g_) + tiny_;
  return Squares(term_) ? std::sqrt(bound) : bound;
}

double PackedPrototypes::Reach(double distance) const {
  if (metric_ == Metric::squaredEuclidean) distance = std::sqrt(distance);
  return unit_ * distance * (1 + h_) + std::sqrt(tiny_);
}

float PackedPrototypes::Limit(double reach, double errors) const {
  constexpr double kGreatest = std::numeric_limits<float>::max();
  const double length = reach * (1 + h_) + errors;
  const double value = Squares(term_) ? length * length : length;
  return float(std::min(kGreatest, (value + tiny_) / (1 - g_) * (1 + 0x1p-20)));
}

void PackedPrototypes::Distances(const double* scaledQuery, const std::int32_t* stored, int count,
                                 double* distances) const {
  switch (term_) {
    case FilterTerm::square:
    case FilterTerm::grid:
      AccumulateAll<FilterTerm::square>(source_, scaledQuery, stored, count, distances);
      break;
    case FilterTerm::absolute:
      AccumulateAll<FilterTerm::absolute>(source_, scaledQuery, stored, count, distances);
      break;
    case FilterTerm::maximum:
      AccumulateAll<FilterTerm::maximum>(source_, scaledQuery, stored, count, distances);
      break;
  }
  if (metric_ != Metric::euclidean) return;
  for (int d = 0; d < count; ++d) distances[d] = std::sqrt(distances[d]);
}

bool PackedPrototypes::GrowTree() {
  constexpr std::int32_t kPerLeaf = 2;  // sampled prototypes that place a split
  int levels = 0;
  while (levels < 20 && (std::int64_t{kLanes} << levels) < source_.count) ++levels;
  const std::int32_t wanted = std::min(source_.count, kPerLeaf << levels);
  HostArray<float> sample(std::size_t(wanted) * inputs());
  std::int32_t taken = 0;
  for (std::int32_t s = 0; s < wanted; ++s) {
    const std::size_t p = std::size_t(std::int64_t(s) * source_.count / wanted);
    float* packed = &sample[std::size_t(taken) * inputs()];
    if (PackPrototype(source_.rows + p * inputs(), packed)) ++taken;
    if (Pause(inputs())) return false;
  }
  tree_.Grow(shape_, sample.data(), taken, levels);
  return true;
}

bool PackedPrototypes::Arrange() {
  constexpr std::int32_t kTogether = 16;
  HostArray<float> packed(std::size_t(kTogether) * inputs());
  HostArray<std::int32_t> leaf(source_.count);  // the irregular ones after the last leaf
  HostArray<std::int32_t> start(std::size_t(tree_.LeafCount()) + 2, 0);
  for (std::int32_t p = 0; p < source_.count; p += kTogether) {
    const std::int32_t count = std::min(kTogether, source_.count - p);
    bool regular[kTogether];
    for (std::int32_t r = 0; r < count; ++r) {
      regular[r] = PackPrototype(source_.rows + std::size_t(p + r) * inputs(),
                                 &packed[std::size_t(r) * inputs()]);
    }
    tree_.Leaves(packed.data(), inputs(), count, &leaf[p]);
    for (std::int32_t r = 0; r < count; ++r) {
      if (!regular[r]) leaf[p + r] = tree_.LeafCount();
      ++start[leaf[p + r] + 1];
    }
    if (Pause(std::int64_t(count) * inputs())) return false;
  }
  for (std::int32_t l = 0; l <= tree_.LeafCount(); ++l) start[l + 1] += start[l];
  regular_ = start[tree_.LeafCount()];
  order_.Resize(source_.count);
  for (std::int32_t p = 0; p < source_.count; ++p) order_[start[leaf[p]]++] = p;
  return true;
}

bool PackedPrototypes::Fill() {
  const std::size_t width = inputs();
  const std::int32_t blocks = (regular_ + kLanes - 1) / kLanes;
  chunks_ = (blocks + kChunkBlocks - 1) / kChunkBlocks;
  const std::size_t groups = (std::size_t(chunks_) + kBoxGroup - 1) / kBoxGroup;
  blocks_.Resize(std::size_t(blocks) * kLanes * shape_.blockRows);
  blockBoxes_.Assign(std::size_t(chunks_) * 2 * kBoxGroup * width, 0.0F);
  chunkBoxes_.Assign(groups * 2 * kBoxGroup * width, 0.0F);
  chunkError_.Assign(chunks_, 0.0);
  HostArray<float> packed(width);
  HostArray<double> scaled(width);
  HostArray<float> lanes(width * kLanes);
  HostArray<float> box(2 * width);
  constexpr std::int32_t kAhead = 12;  // rows fetched ahead: they lie anywhere
  constexpr std::size_t kLine = 8;     // doubles of a cache line
  for (std::int32_t b = 0; b < blocks; ++b) {
    double& error = chunkError_[b / kChunkBlocks];
    for (int lane = 0; lane < kLanes; ++lane) {
      // Lanes past the end repeat the last prototype, which keeps the box small.
      const std::int32_t ahead = order_[std::min(b * kLanes + lane + kAhead, regular_ - 1)];
      for (std::size_t i = 0; i < width; i += kLine) {
        __builtin_prefetch(source_.rows + ahead * width + i);
      }
      const std::int32_t p = order_[std::min(b * kLanes + lane, regular_ - 1)];
      const double* row = source_.rows + p * width;
      if (onGrid()) {
        PackQuery(row, scaled.data(), packed.data());
        error = std::max(error, ErrorOf(scaled.data(), packed.data()));
      } else {
        PackPrototype(row, packed.data());
      }
      for (std::size_t i = 0; i < width; ++i) lanes[i * kLanes + lane] = packed[i];
    }
    StoreBlock(b, lanes);
    kernel_->enclose(std::int32_t(width), lanes.data(), box.data(), box.data() + width);
    float* group = &blockBoxes_[std::size_t(b / kChunkBlocks) * 2 * kBoxGroup * width];
    for (std::size_t i = 0; i < width; ++i) {
      group[2 * i * kBoxGroup + b % kChunkBlocks] = box[i];
      group[(2 * i + 1) * kBoxGroup + b % kChunkBlocks] = box[width + i];
    }
    if (!onGrid()) error = std::max(error, FloatError(box));
    if ((b + 1) % kChunkBlocks == 0 || b + 1 == blocks) {
      EncloseChunk(b / kChunkBlocks, b % kChunkBlocks + 1);
    }
    if (Pause(std::int64_t(width) * kLanes)) return false;
  }
  greatestError_ = 0;
  double leastError = std::numeric_limits<double>::infinity();
  for (const double error : chunkError_) {
    greatestError_ = std::max(greatestError_, error);
    leastError = std::min(leastError, error);
  }
  errorsAlike_ = greatestError_ <= 2 * leastError;
  return true;
}

double PackedPrototypes::FloatError(const HostArray<float>& box) const {
  double sum = 0;
  for (std::int32_t i = 0; i < source_.continuous; ++i) {
    const double most = std::max(std::fabs(box[i]), std::fabs(box[inputs() + i]));
    sum = Join(term_, sum, kHalfUlp * most + kLeastError);
  }
  return (Squares(term_) ? std::sqrt(sum) : sum) * (1 + h_);
}

void PackedPrototypes::StoreBlock(std::int32_t b, const HostArray<float>& lanes) {
  float* block = &blocks_[std::size_t(b) * kLanes * shape_.blockRows];
  if (!onGrid()) {
    std::copy(lanes.begin(), lanes.end(), block);
    return;
  }
  const auto first = [&](std::int32_t i, int lane) {
    return std::int32_t(lanes[std::size_t(i) * kLanes + lane]);
  };
  for (int lane = 0; lane < kLanes; ++lane) {
    std::int32_t square = 0;
    for (std::int32_t i = 0; i < source_.continuous; ++i) square += first(i, lane) * first(i, lane);
    block[lane] = std::bit_cast<float>(square / 2);
  }
  for (std::int32_t i = 0; i < source_.continuous; i += 2) {
    block += kLanes;
    for (int lane = 0; lane < kLanes; ++lane) {
      const std::int32_t second = i + 1 < source_.continuous ? first(i + 1, lane) : 0;
      block[lane] = std::bit_cast<float>(Pair(first(i, lane), second));
    }
  }
  std::copy(lanes.begin() + std::size_t(source_.continuous) * kLanes, lanes.end(), block + kLanes);
}

void PackedPrototypes::EncloseChunk(std::int32_t chunk, std::int32_t blocks) {
  const std::size_t width = inputs();
  const float* group = &blockBoxes_[std::size_t(chunk) * 2 * kBoxGroup * width];
  float* groupOfChunks = &chunkBoxes_[std::size_t(chunk / kBoxGroup) * 2 * kBoxGroup * width];
  for (std::size_t i = 0; i < width; ++i) {
    const float* smallest = group + 2 * i * kBoxGroup;
    const float* largest = smallest + kBoxGroup;
    const float low = *std::min_element(smallest, smallest + blocks);
    const float high = *std::max_element(largest, largest + blocks);
    groupOfChunks[2 * i * kBoxGroup + chunk % kBoxGroup] = low;
    groupOfChunks[(2 * i + 1) * kBoxGroup + chunk % kBoxGroup] = high;
  }
}

FilterChunk PackedPrototypes::Chunk(std::int32_t chunk, bool boxes) const {
  const std::size_t width = inputs();
  const std::int32_t blocks = (regular_ + kLanes - 1) / kLanes;
  return {&blocks_[std::size_t(chunk) * kChunkLanes * shape_.blockRows],
          boxes ? &blockBoxes_[std::size_t(chunk) * 2 * kBoxGroup * width] : nullptr,
          chunk * kChunkLanes, std::min(kChunkBlocks, blocks - chunk * kChunkBlocks)};
}

}  // namespace qrvml
