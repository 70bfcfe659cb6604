#include "knn/neighbour_search_group.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qrvml {
namespace {

constexpr std::int64_t kPollWork = 1 << 23;  // inputs compared between two polls: a few ms
constexpr std::int64_t kExactWork = 16;      // cost of an input in double, in inputs of the filter
constexpr std::int32_t kFewCandidates = 32;
constexpr std::int32_t kFewToSort = 16;
constexpr std::int32_t kSideBySide = 16;        // distances computed at once
constexpr std::int32_t kBoxTrialInterval = 16;  // visits after which useless boxes are tried again
constexpr double kUselessBoxes = 0.93;  // share of blocks wanted, from which boxes cost more

/// Candidates beyond the nearest at which ties are settled.
std::int32_t TieRoom(std::int32_t nearest) { return std::max(2 * kFewCandidates, nearest / 2); }

/// Candidates that are added before the reach is tightened again.
std::int32_t Intake(std::int32_t nearest) { return std::max(kFewCandidates, nearest); }

std::size_t Room(std::int32_t nearest) {
  return std::size_t(nearest) + TieRoom(nearest) + Intake(nearest) + kLanes + kCandidatePadding;
}

}  // namespace

bool SearchPace::Spend(std::int64_t work) {
  pending_ += work;
  if (pending_ >= kPollWork && !stop_) {
    pending_ = 0;
    if (poll_ != nullptr && (*poll_)()) stop_ = true;
  }
  return stop_.load(std::memory_order_relaxed);
}

std::size_t QueryGroup::BytesPerQuery(const PackedPrototypes& packed, std::int32_t slots) {
  const std::int32_t nearest = std::min(slots, packed.source().count);
  return Room(nearest) * (sizeof(double) + sizeof(float) + sizeof(std::int32_t)) +
         std::size_t(packed.inputs()) * (sizeof(double) + sizeof(float)) +
         std::size_t(packed.chunks()) * sizeof(float);
}

bool QueryGroup::Nearer(const Settled& a, const Settled& b) {
  return a.distance != b.distance ? a.distance < b.distance : a.stored < b.stored;
}

QueryGroup::QueryGroup(const PackedPrototypes& packed, std::int32_t slots, Exclusion exclusion,
                       std::int32_t width)
    : packed_(&packed),
      exclusion_(exclusion),
      inputs_(packed.inputs()),
      slots_(slots),
      nearest_(std::min(slots, packed.source().count)),
      room_(Room(nearest_)),
      boundRoom_((std::size_t(packed.chunks()) + kBoxGroup - 1) / kBoxGroup * kBoxGroup),
      scaled_(std::size_t(width) * inputs_),
      centred_(std::size_t(width) * inputs_),
      pairs_(std::size_t(width) * packed.pairs()),
      bounds_(width * boundRoom_),
      values_(width * room_),
      positions_(width * room_),
      distances_(width * room_),
      ranking_(room_),
      seats_(packed.chunks()) {
  for (std::int32_t q = 0; q < width; ++q) {
    filters_[q].inputs = &centred_[std::size_t(q) * inputs_];
    filters_[q].pairs = pairs_.data() + std::size_t(q) * packed.pairs();
    filters_[q].value = &values_[q * room_];
    filters_[q].position = &positions_[q * room_];
  }
}

bool QueryGroup::Start(const double* queries, std::span<const std::int32_t> chosen,
                       SearchPace& pace) {
  count_ = std::int32_t(chosen.size());
  unfinished_ = false;
  for (std::int32_t q = 0; q < kTile; ++q) filters_[q].limit = -1.0F;
  bool any = false;
  for (std::int32_t q = 0; q < count_; ++q) {
    float* centred = &centred_[std::size_t(q) * inputs_];
    Query& query = queries_[q];
    query.index = chosen[q];
    query.regular = packed_->PackQuery(queries + std::size_t(chosen[q]) * inputs_,
                                       &scaled_[std::size_t(q) * inputs_], centred);
    query.error = 0;
    if (query.regular) {
      query.error = packed_->ErrorOf(&scaled_[std::size_t(q) * inputs_], centred);
      filters_[q].halfSquare =
          packed_->PackPairs(centred, pairs_.data() + std::size_t(q) * packed_->pairs());
    }
    query.reach = std::numeric_limits<double>::infinity();
    query.checked = query.settled = 0;
    filters_[q].candidates = 0;
    filters_[q].full = Intake(nearest_);
    if (query.regular) BoundChunks(q);
    any |= query.regular;
  }
  if (!any || packed_->chunks() == 0) return true;

  for (std::int32_t q = 0; q < count_; ++q) {
    if (queries_[q].regular && !Visit(NearestChunk(q), pace)) return false;
  }
  std::int32_t seats = 0;
  for (std::int32_t c = 0; c < packed_->chunks(); ++c) {
    float bound = std::numeric_limits<float>::infinity();
    for (std::int32_t q = 0; q < count_; ++q) {
      if (queries_[q].regular) bound = std::min(bound, BoundsOf(q)[c]);
    }
    if (WorthVisiting(c)) seats_[seats++] = {bound, c};
  }
  unfinished_ = seats > packed_->chunks() / 2;
  if (unfinished_) return true;
  std::sort(seats_.begin(), seats_.begin() + seats,
            [](const Seat& a, const Seat& b) { return a.bound < b.bound; });
  for (std::int32_t s = 0; s < seats; ++s) {
    if (!Visit(seats_[s].chunk, pace)) return false;
  }
  return true;
}

void QueryGroup::BoundChunks(std::int32_t q) {
  const auto bound = packed_->kernel().bound[int(packed_->term())];
  const std::size_t groupSize = std::size_t(inputs_) * 2 * kBoxGroup;
  for (std::size_t c = 0; c < boundRoom_; c += kBoxGroup) {
    bound(packed_->shape(), packed_->chunkBoxes() + c / kBoxGroup * groupSize, filters_[q].inputs,
          BoundsOf(q) + c);
  }
}

std::int32_t QueryGroup::NearestChunk(std::int32_t q) const {
  const float* bounds = BoundsOf(q);
  return std::int32_t(std::min_element(bounds, bounds + packed_->chunks()) - bounds);
}

bool QueryGroup::WorthVisiting(std::int32_t chunk) const {
  for (std::int32_t q = 0; q < count_; ++q) {
    if (queries_[q].regular && BoundsOf(q)[chunk] <= LimitAt(q, packed_->greatestError())) {
      return true;
    }
  }
  return false;
}

float QueryGroup::LimitAt(std::int32_t q, double chunkError) const {
  return packed_->Limit(queries_[q].reach, queries_[q].error + chunkError);
}

bool QueryGroup::Visit(std::int32_t chunk, SearchPace& pace) {
  const double error = packed_->chunkError(chunk);
  std::int32_t active = 0;
  for (std::int32_t q = 0; q < count_; ++q) {
    filters_[q].limit = -1.0F;
    float& bound = BoundsOf(q)[chunk];
    if (!queries_[q].regular) continue;
    const float limit = LimitAt(q, error);
    if (bound > limit) continue;
    filters_[q].limit = limit;
    bound = std::numeric_limits<float>::infinity();  // visited
    ++active;
  }
  if (active == 0) return true;

  const bool boxes =
      wanted_ < kUselessBoxes * double(tested_) || ++untested_ >= kBoxTrialInterval || tested_ == 0;
  if (boxes) untested_ = 0;
  const FilterChunk blocks = packed_->Chunk(chunk, boxes);
  const auto scan = packed_->kernel().scan[int(packed_->term())];
  std::int64_t wanted = 0;
  int done = 0;
  while (true) {
    done = scan(packed_->shape(), blocks, filters_, done, &wanted);
    for (std::int32_t q = 0; q < count_; ++q) {
      if (filters_[q].candidates < filters_[q].full) continue;
      Check(q);
      Tighten(q, nearest_ / 8);
      if (filters_[q].limit >= 0) filters_[q].limit = LimitAt(q, error);
    }
    if (done == blocks.blockCount) break;
  }
  if (boxes) {
    tested_ = tested_ / 2 + std::int64_t(active) * blocks.blockCount;
    wanted_ = wanted_ / 2 + wanted;
  }
  return !pace.Spend(wanted * kLanes * inputs_);
}

void QueryGroup::Check(std::int32_t q) {
  FilterQuery& filter = filters_[q];
  std::int32_t& checked = queries_[q].checked;
  for (std::int32_t c = checked; c < filter.candidates; ++c) {
    const std::int32_t position = filter.position[c];
    if (position >= packed_->regular() || Excluded(packed_->order()[position])) continue;
    filter.value[checked] = filter.value[c];
    filter.position[checked++] = position;
  }
  filter.candidates = checked;
}

double QueryGroup::ErrorUpTo(std::int32_t q, float value) const {
  const double greatest = packed_->greatestError();
  // Looking closer would make no difference.
  if (packed_->errorsAlike() || greatest < 0x1p-16 * packed_->Farthest(value)) return greatest;
  double error = 0;
  for (std::int32_t c = 0; c < filters_[q].candidates; ++c) {
    if (filters_[q].value[c] > value) continue;
    error = std::max(error, packed_->chunkError(filters_[q].position[c] / kChunkLanes));
  }
  return error;
}

void QueryGroup::Tighten(std::int32_t q, std::int32_t slack) {
  Query& query = queries_[q];
  FilterQuery& filter = filters_[q];
  if (filter.candidates >= nearest_) {
    const NeighbourKernel& kernel = packed_->kernel();
    const float kth = kernel.select(filter.value, filter.candidates, nearest_, slack);
    query.reach = std::min(query.reach, packed_->Farthest(kth) + query.error + ErrorUpTo(q, kth));
    const float limit = LimitAt(q, packed_->greatestError());
    std::int32_t kept = 0;
    for (std::int32_t c = 0; c < query.settled; ++c) {
      filter.value[kept] = filter.value[c];
      filter.position[kept] = filter.position[c];
      DistancesOf(q)[kept] = DistancesOf(q)[c];
      kept += filter.value[c] <= limit ? 1 : 0;
    }
    kernel.keep(filter, kept, query.settled, limit);
    query.settled = kept;
    query.checked = filter.candidates;
    if (filter.candidates > nearest_ + TieRoom(nearest_)) Settle(q);
  }
  filter.full = filter.candidates + Intake(nearest_);
}

void QueryGroup::ComputeDistances(std::int32_t q) {
  std::int32_t& settled = queries_[q].settled;
  while (settled < filters_[q].candidates) {
    std::int32_t stored[kSideBySide];
    const std::int32_t count = std::min(kSideBySide, filters_[q].candidates - settled);
    for (std::int32_t c = 0; c < count; ++c) {
      stored[c] = packed_->order()[filters_[q].position[settled + c]];
    }
    packed_->Distances(&scaled_[std::size_t(q) * inputs_], stored, count, DistancesOf(q) + settled);
    settled += count;
  }
}

std::int32_t QueryGroup::Rank(std::int32_t q) {
  ComputeDistances(q);
  const FilterQuery& filter = filters_[q];
  const double* distances = DistancesOf(q);
  std::int32_t count = 0;
  for (std::int32_t c = 0; c < filter.candidates; ++c) {
    if (!(distances[c] < std::numeric_limits<double>::max())) continue;  // never near
    const std::int32_t position = filter.position[c];
    ranking_[count++] = {distances[c], packed_->order()[position], position, filter.value[c]};
  }
  if (count > nearest_ + nearest_ / 2 + kFewToSort) {
    std::nth_element(ranking_.begin(), ranking_.begin() + nearest_ - 1, ranking_.begin() + count,
                     Nearer);
    count = nearest_;
  }
  std::sort(ranking_.begin(), ranking_.begin() + count, Nearer);
  return std::min(count, nearest_);
}

void QueryGroup::Settle(std::int32_t q) {
  const std::int32_t count = Rank(q);
  FilterQuery& filter = filters_[q];
  for (std::int32_t c = 0; c < count; ++c) {
    DistancesOf(q)[c] = ranking_[c].distance;
    filter.position[c] = ranking_[c].position;
    filter.value[c] = ranking_[c].value;
  }
  filter.candidates = queries_[q].checked = queries_[q].settled = count;
  if (count < nearest_) return;
  queries_[q].reach = std::min(queries_[q].reach, packed_->Reach(ranking_[count - 1].distance));
}

bool QueryGroup::AddUnfiltered(std::int32_t q, std::int32_t from, SearchPace& pace) {
  FilterQuery& filter = filters_[q];
  for (std::int32_t position = from; position < packed_->source().count; ++position) {
    if (Excluded(packed_->order()[position])) continue;
    filter.value[filter.candidates] = 0;
    filter.position[filter.candidates++] = position;
    if (filter.candidates == std::int32_t(room_)) Settle(q);
    if (pace.Spend(inputs_ * kExactWork)) return false;
  }
  return true;
}

bool QueryGroup::Finish(std::span<Neighbour> neighbours, std::span<std::int32_t> found,
                        SearchPace& pace) {
  for (std::int32_t q = 0; q < count_; ++q) {
    const Query& query = queries_[q];
    if (query.regular) {
      Check(q);
      Tighten(q, 0);
    }
    if (!AddUnfiltered(q, query.regular ? packed_->regular() : 0, pace)) return false;
    if (pace.Spend(filters_[q].candidates * inputs_ * kExactWork)) return false;
    const std::int32_t count = Rank(q);
    Neighbour* nearest = neighbours.data() + std::size_t(query.index) * slots_;
    for (std::int32_t s = 0; s < count; ++s) {
      nearest[s] = {ranking_[s].distance, ranking_[s].stored};
    }
    found[query.index] = count;
  }
  return true;
}

}  // namespace qrvml
