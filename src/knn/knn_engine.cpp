#include "knn/knn_engine.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <new>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

bool UserCancels() { return Host().progress->pcancel() != 0; }

}  // namespace

KNNEngine::KNNEngine(AnalysisDataSet& data)
    : crossValidationSeed(static_cast<std::int32_t>(std::time(nullptr) / 1000)), data_(data) {
  data.inputRange = {0.0, 1.0};
  data.outputRange = {-1.0, 1.0};
  data.slopeWithoutRange = 0.0;
}

bool KNNEngine::Allocate() {
  Reset();
  try {
    AllocateSlots(k);
    currentInputs.Assign(inputs(), 0.0);
    currentDependents.Assign(dependents(), 0.0);
    predictions.Assign(dependents(), 0.0);
    residuals.Assign(dependents(), 0.0);
    spreads.Assign(data_.roles().continuousDependents.size(), 0.0);
    for (std::size_t c = 0; c < data_.roles().categoricalDependents.size(); ++c)
      classScores.emplace_back(data_.dependentCategories(c).classes().size(), 0.0);
    if (applyCrossValidation) {
      gridPoints = static_cast<std::int32_t>((maximumK - minimumK) / deltaK + 1.0);
      crossValidationErrors.Assign(static_cast<std::size_t>(gridPoints), 0.0);
    }
    votes_.Build(data_);
    vote_.Start(votes_, weighted);
    return true;
  } catch (const std::bad_alloc&) {
    Reset();
    return Refuse(104);
  }
}

bool KNNEngine::SetNeighbours(std::int32_t neighbours) {
  try {
    k = neighbours;
    AllocateSlots(k);
    return true;
  } catch (const std::bad_alloc&) {
    return Refuse(104);
  }
}

void KNNEngine::AllocateSlots(std::int32_t slots) {
  found_.Clear();  // last to be made: its size tells that all slots are there
  neighbourIndex.Assign(static_cast<std::size_t>(slots), -1);
  neighbourWeight.Assign(static_cast<std::size_t>(slots), 0.0);
  found_.Resize(static_cast<std::size_t>(slots));
}

void KNNEngine::Reset() {
  neighbourIndex.Release();
  neighbourWeight.Release();
  currentInputs.Release();
  currentDependents.Release();
  predictions.Release();
  residuals.Release();
  spreads.Release();
  classScores.clear();
  crossValidationErrors.Release();
  gridPoints = 0;
  votes_.Release();
  found_.Release();
  search_.Release();
  searchReady_ = false;
  ReleaseStatistics();
}

bool KNNEngine::TrainKnn(bool silent) {
  const std::int32_t chosen = k;
  const auto fail = [&] {
    k = chosen;  // the search works with other numbers
    Reset();
    return false;
  };
  try {
    if (applyCrossValidation) {
      if (!silent) ShowStatus(GetResourceString(309));
      // The search shows its texts wherever there is a display, also in a silent run.
      SelectKByCrossValidation(false);
      if (!silent) ShowStatus(GetResourceString(310));
    }
    if (!silent) ShowStatus(GetResourceString(IsClassification() ? 311 : 312));
    return ComputeKnnStatistics(silent) || fail();
  } catch (const Cancelled&) {
    return fail();
  } catch (const std::bad_alloc&) {
    fail();
    return Refuse(104);
  }
}

void KNNEngine::ShowStatus(std::string_view text) const {
  if (display != nullptr) display->ShowStatus(text);
}

bool KNNEngine::LoadCase(Sample sample, std::int32_t index, Load what, bool withLabel) {
  const auto ni = inputs();
  const auto m = dependents();
  if (what == Load::both) {
    if (!data_.ReadStoredCase(sample, index, currentInputs, currentDependents)) return false;
  } else {
    HostArray<double> predictorValues(ni), dependentValues(m);
    if (!data_.ReadStoredCase(sample, index, predictorValues, dependentValues)) return false;
    if (what == Load::inputs) std::copy_n(predictorValues.begin(), ni, currentInputs.begin());
    if (what == Load::dependents)
      std::copy_n(dependentValues.begin(), m, currentDependents.begin());
  }
  if (withLabel) {
    const std::int32_t number = data_.CaseNumberOf(sample, index);
    const std::string label = Host().file->getlab(number);
    caseLabel = Trim(label);
    if (caseLabel.empty()) caseLabel = std::to_string(number);
  }
  return true;
}

std::int32_t KNNEngine::BatchSize(std::int32_t slots) {
  // Enough queries to share the prototypes' way through the caches, in at most 32 MiB of
  // neighbours.
  constexpr std::int32_t kQueries = 1024;
  constexpr auto kNeighbours = std::int32_t{1} << 21;
  return std::clamp(kNeighbours / slots, std::int32_t{1}, kQueries);
}

void KNNEngine::PrepareSearch() {
  // A refused change of K leaves no slots.
  if (found_.size() != static_cast<std::size_t>(k)) AllocateSlots(k);
  if (searchReady_ && searchMetric_ == metric && searchScaled_ == data_.scaleInputs) return;
  searchReady_ = false;
  PrototypeRows rows;
  rows.rows = data_.PredictorRows(Sample::training).data();
  rows.count = prototypes();
  rows.continuous = static_cast<std::int32_t>(data_.roles().continuousPredictors.size());
  rows.categorical = static_cast<std::int32_t>(data_.roles().categoricalPredictors.size());
  rows.scale = data_.slopes().data();
  rows.shift = data_.offsets().data();
  if (!search_.Build(rows, metric, UserCancels)) throw Cancelled();
  searchMetric_ = metric;
  searchScaled_ = data_.scaleInputs;
  searchReady_ = true;
}

void KNNEngine::FindNearestPrototypes(std::span<const double> query, Exclusion excluded) {
  PrepareSearch();
  const auto slots = static_cast<std::int32_t>(neighbourIndex.size());
  std::int32_t found = 0;
  if (!search_.Find(query.data(), 1, slots, excluded, 1, found_, {&found, 1}, UserCancels))
    throw Cancelled();
  TakeNeighbours(found_.subspan(0, static_cast<std::size_t>(found)));
}

void KNNEngine::TakeNeighbours(std::span<const Neighbour> found) {
  neighbourIndex.Fill(-1);
  neighbourWeight.Fill(0.0);
  double sum = 0;
  for (std::size_t slot = 0; slot < found.size(); ++slot) {
    neighbourIndex[slot] = found[slot].prototype;
    neighbourWeight[slot] = weighted ? PortableExp(-found[slot].distance) : 1.0;
    sum += neighbourWeight[slot];
  }
  if (!weighted || IsEqual(sum, 0.0)) return;
  for (std::size_t slot = 0; slot < found.size(); ++slot) neighbourWeight[slot] /= sum;
}

void KNNEngine::PredictCase(std::span<const double> inputValues, std::span<const double> observed,
                            bool search) {
  if (search) FindNearestPrototypes(inputValues);
  std::ranges::copy(inputValues, currentInputs.begin());
  if (!observed.empty()) std::ranges::copy(observed, currentDependents.begin());

  vote_.Start(votes_, weighted);
  const auto slots = std::min(static_cast<std::size_t>(k), neighbourIndex.size());
  std::size_t filled = 0;
  while (filled < slots && neighbourIndex[filled] >= 0) {
    vote_.Add(neighbourIndex[filled], neighbourWeight[filled]);
    ++filled;
  }
  const std::size_t continuous = votes_.continuous();
  for (std::size_t j = 0; j < continuous; ++j) {
    predictions[j] = vote_.Value(j);
    residuals[j] = observed.empty() ? kMissingOutput : observed[j] - predictions[j];
    spreads[j] = 0.0;
    if (filled < 2) continue;
    double squares = 0;
    for (std::size_t slot = 0; slot < filled; ++slot) {
      const double deviation = predictions[j] - votes_.Value(neighbourIndex[slot], j);
      squares += deviation * deviation;
    }
    spreads[j] = std::sqrt(squares / static_cast<double>(filled - 1));
  }
  for (std::size_t c = 0; c < votes_.categorical(); ++c) {
    const std::size_t d = continuous + c;
    const int chosen = vote_.Class(c);
    predictions[d] = votes_.ClassCode(c, chosen);
    residuals[d] = kMissingOutput;
    if (!observed.empty()) {
      const int actual = data_.dependentCategories(c).ClassIndex(TruncateToCode(observed[d]));
      residuals[d] = actual == chosen ? 0.0 : 1.0;
    }
    const std::span<const double> scores = vote_.Scores(c);
    double sum = 0;
    for (const double score : scores) sum += score;
    for (std::size_t i = 0; i < scores.size(); ++i)
      classScores[c][i] = IsEqual(sum, 0.0) ? scores[i] : scores[i] / sum;
  }
}

void KNNEngine::PredictSample(Sample sample, const std::function<void(std::int32_t)>& visit) {
  PrepareSearch();
  const auto slots = static_cast<std::int32_t>(neighbourIndex.size());
  const std::int32_t rows = data_.StoredRows(sample);
  const std::int32_t batch = std::min(rows, BatchSize(slots));
  HostArray<Neighbour> neighbours(static_cast<std::size_t>(batch) * neighbourIndex.size());
  HostArray<std::int32_t> found(static_cast<std::size_t>(batch));
  const auto predictorRows = data_.PredictorRows(sample);
  const auto dependentRows = data_.DependentRows(sample);
  for (std::int32_t first = 0; first < rows; first += batch) {
    const std::int32_t count = std::min(batch, rows - first);
    const auto n = static_cast<std::size_t>(count);
    if (UserCancels() ||
        !search_.Find(predictorRows.data() + static_cast<std::size_t>(first) * inputs(), count,
                      slots, {}, Host().compute->WorkerThreads(),
                      neighbours.subspan(0, n * neighbourIndex.size()), found.subspan(0, n),
                      UserCancels))
      throw Cancelled();
    for (std::int32_t i = 0; i < count; ++i) {
      const auto row = static_cast<std::size_t>(first + i);
      TakeNeighbours(
          neighbours.subspan(static_cast<std::size_t>(i) * neighbourIndex.size(),
                             static_cast<std::size_t>(found[static_cast<std::size_t>(i)])));
      PredictCase(predictorRows.subspan(row * inputs(), inputs()),
                  dependentRows.subspan(row * dependents(), dependents()), false);
      visit(first + i);
    }
  }
}

}  // namespace qrvml
