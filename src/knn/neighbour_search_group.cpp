#include "knn/neighbour_search_group.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qrvml {
namespace {

constexpr double kUnknown = -1;
constexpr std::int64_t kPollWork = 1 << 25;  // inputs compared between two polls: some 10 ms
constexpr std::int64_t kExactWork = 16;      // cost of an input in double, in inputs of the filter
constexpr std::int32_t kFewSurvivors = 32;
constexpr int kSideBySide = 16;                 // distances computed at once
constexpr std::int32_t kBoxTrialInterval = 16;  // visits after which useless boxes are tried again
constexpr double kUselessBoxes = 0.93;  // share of blocks wanted, from which boxes cost more

std::int32_t FullAt(std::int32_t nearest) { return std::max(kFewSurvivors, nearest); }

std::int32_t TieRoom(std::int32_t nearest) { return std::max(kFewSurvivors, nearest / 2); }

std::size_t SurvivorRoom(std::int32_t nearest) {
  return std::size_t(FullAt(nearest)) + kLanes + kSurvivorPadding;
}

std::size_t CandidateRoom(std::int32_t nearest) {
  return std::size_t(nearest) + TieRoom(nearest) + SurvivorRoom(nearest);
}

}  // namespace

bool SearchPace::Spend(std::int64_t work) {
  pending_ += work;
  if (pending_ >= kPollWork) {
    pending_ = 0;
    if (poll_ != nullptr && (*poll_)()) stop_ = true;
  }
  return stop_.load(std::memory_order_relaxed);
}

std::size_t QueryGroup::BytesPerQuery(const PackedPrototypes& packed, std::int32_t slots) {
  const std::int32_t nearest = std::min(slots, packed.source().count);
  return CandidateRoom(nearest) * sizeof(Candidate) +
         SurvivorRoom(nearest) * (sizeof(float) + sizeof(std::int32_t)) +
         std::size_t(packed.inputs()) * (sizeof(double) + sizeof(float)) +
         std::size_t(packed.chunks()) * sizeof(float);
}

QueryGroup::QueryGroup(const PackedPrototypes& packed, std::int32_t slots, Exclusion exclusion,
                       std::int32_t width)
    : packed_(&packed),
      exclusion_(exclusion),
      inputs_(packed.inputs()),
      slots_(slots),
      nearest_(std::min(slots, packed.source().count)),
      full_(FullAt(nearest_)),
      room_(CandidateRoom(nearest_)),
      boundRoom_((std::size_t(packed.chunks()) + kBoxGroup - 1) / kBoxGroup * kBoxGroup),
      scaled_(std::size_t(width) * inputs_),
      centred_(std::size_t(width) * inputs_),
      bounds_(width * boundRoom_),
      values_(width * SurvivorRoom(nearest_)),
      positions_(width * SurvivorRoom(nearest_)),
      candidates_(width * room_),
      seats_(packed.chunks()) {
  for (std::int32_t q = 0; q < kTile; ++q)
    filters_[q] = {nullptr, -1.0F, nullptr, nullptr, 0, full_};
  for (std::int32_t q = 0; q < width; ++q) {
    filters_[q].inputs = &centred_[std::size_t(q) * inputs_];
    filters_[q].value = &values_[q * SurvivorRoom(nearest_)];
    filters_[q].position = &positions_[q * SurvivorRoom(nearest_)];
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
    query.error = query.regular ? packed_->PackingError(centred) : 0;
    query.reach = std::numeric_limits<double>::infinity();
    query.candidates = 0;
    filters_[q].survivors = 0;
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
      if (filters_[q].survivors < full_) continue;
      TakeSurvivors(q);
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

void QueryGroup::TakeSurvivors(std::int32_t q) {
  FilterQuery& filter = filters_[q];
  Candidate* candidates = CandidatesOf(q);
  std::int32_t& count = queries_[q].candidates;
  for (std::int32_t s = 0; s < filter.survivors; ++s) {
    const std::int32_t position = filter.position[s];
    if (position >= packed_->regular() || Excluded(packed_->order()[position])) continue;
    candidates[count++] = {kUnknown, filter.value[s], position};
  }
  filter.survivors = 0;
  Tighten(q);
}

void QueryGroup::Tighten(std::int32_t q) {
  Query& query = queries_[q];
  if (query.candidates < nearest_) return;
  Candidate* first = CandidatesOf(q);
  Candidate* last = first + query.candidates;
  std::nth_element(first, first + nearest_ - 1, last,
                   [](const Candidate& a, const Candidate& b) { return a.value < b.value; });
  double error = 0;
  for (std::int32_t c = 0; c < nearest_; ++c) {
    error = std::max(error, packed_->chunkError(first[c].position / kChunkLanes));
  }
  query.reach =
      std::min(query.reach, packed_->Farthest(first[nearest_ - 1].value) + query.error + error);
  const float limit = LimitAt(q, packed_->greatestError());
  last = std::remove_if(first + nearest_, last,
                        [limit](const Candidate& c) { return c.value > limit; });
  query.candidates = std::int32_t(last - first);
  if (query.candidates > nearest_ + TieRoom(nearest_)) Settle(q);
}

void QueryGroup::ComputeDistances(std::int32_t q) {
  Candidate* candidates = CandidatesOf(q);
  const std::int32_t count = queries_[q].candidates;
  std::int32_t which[kSideBySide];
  std::int32_t stored[kSideBySide];
  double distances[kSideBySide];
  int pending = 0;
  for (std::int32_t c = 0; c <= count; ++c) {
    if (pending == kSideBySide || (c == count && pending > 0)) {
      packed_->Distances(ScaledOf(q), stored, pending, distances);
      for (int d = 0; d < pending; ++d) candidates[which[d]].distance = distances[d];
      pending = 0;
    }
    if (c == count || candidates[c].distance != kUnknown) continue;
    which[pending] = c;
    stored[pending++] = packed_->order()[candidates[c].position];
  }
}

void QueryGroup::Settle(std::int32_t q) {
  Query& query = queries_[q];
  ComputeDistances(q);
  Candidate* first = CandidatesOf(q);
  // A distance that never is near (NaN, infinite) is out before distances are ordered.
  Candidate* last = std::remove_if(first, first + query.candidates, [](const Candidate& c) {
    return !(c.distance < std::numeric_limits<double>::max());
  });
  query.candidates = std::int32_t(last - first);
  if (query.candidates <= nearest_) return;
  const std::int32_t* order = packed_->order();
  std::nth_element(first, first + nearest_ - 1, last,
                   [order](const Candidate& a, const Candidate& b) {
                     return a.distance != b.distance ? a.distance < b.distance
                                                     : order[a.position] < order[b.position];
                   });
  query.candidates = nearest_;
  query.reach = std::min(query.reach, packed_->Reach(first[nearest_ - 1].distance));
}

bool QueryGroup::AddUnfiltered(std::int32_t q, std::int32_t from, SearchPace& pace) {
  Query& query = queries_[q];
  for (std::int32_t position = from; position < packed_->source().count; ++position) {
    if (Excluded(packed_->order()[position])) continue;
    CandidatesOf(q)[query.candidates++] = {kUnknown, 0.0F, position};
    if (query.candidates == std::int32_t(room_)) Settle(q);
    if (pace.Spend(inputs_ * kExactWork)) return false;
  }
  return true;
}

bool QueryGroup::Finish(std::span<Neighbour> neighbours, std::span<std::int32_t> found,
                        SearchPace& pace) {
  for (std::int32_t q = 0; q < count_; ++q) {
    Query& query = queries_[q];
    if (query.regular) TakeSurvivors(q);
    if (!AddUnfiltered(q, query.regular ? packed_->regular() : 0, pace)) return false;
    if (pace.Spend(query.candidates * inputs_ * kExactWork)) return false;
    Settle(q);
    const Candidate* candidates = CandidatesOf(q);
    Neighbour* nearest = neighbours.data() + std::size_t(query.index) * slots_;
    for (std::int32_t c = 0; c < query.candidates; ++c) {
      nearest[c] = {candidates[c].distance, packed_->order()[candidates[c].position]};
    }
    std::sort(nearest, nearest + query.candidates, [](const Neighbour& a, const Neighbour& b) {
      return a.distance != b.distance ? a.distance < b.distance : a.prototype < b.prototype;
    });
    found[query.index] = query.candidates;
  }
  return true;
}

}  // namespace qrvml
