// The choice of K by v-fold cross-validation: every prototype is predicted from the prototypes
// outside its fold, for every K of the grid from one ordered list of neighbours.

#include <algorithm>
#include <vector>

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "knn/knn_engine.h"

namespace qrvml {
namespace {

constexpr std::int32_t kDrawsPerPoll = 4096;

ProgressServices& Progress() { return *CAnalysisContext::Current()->services().progress; }

void PollCancel() {
  if (Progress().pcancel() != 0) throw Cancelled();
}

}  // namespace

/// Working storage of one search over the grid.
struct KNNEngine::CrossValidation {
  std::vector<std::int32_t> gridK;  // K of each grid point, ascending
  HostArray<std::int32_t> fold;     // fold of each prototype
  HostArray<double> queries;        // inputs of the prototypes of one batch, row-major
  HostArray<Neighbour> neighbours;  // of these queries, slots each
  HostArray<std::int32_t> found;    // neighbours found per query
  std::int32_t slots = 0;           // searched per query
  std::int32_t batch = 0;           // queries searched together
  bool isFirstCase = true;

  CrossValidation(std::int32_t prototypes, std::size_t inputs, std::int32_t slotsPerQuery)
      : slots(slotsPerQuery), batch(std::min(prototypes, BatchSize(slotsPerQuery))) {
    const auto n = static_cast<std::size_t>(batch);
    fold.Assign(static_cast<std::size_t>(prototypes), -1);
    queries.Resize(n * inputs);
    neighbours.Resize(n * static_cast<std::size_t>(slots));
    found.Resize(n);
  }
};

HostArray<std::int32_t> KNNEngine::ShufflePrototypes() const {
  // A random pairing: prototype i and prototype r change places, so the shuffle is its own inverse.
  // Every position consumes a draw, also one that is already paired.
  RandomServices& random = *CAnalysisContext::Current()->services().random;
  const std::int32_t count = prototypes();
  HostArray<std::int32_t> shuffled(static_cast<std::size_t>(count), -1);
  std::int32_t draws = 0;
  const auto draw = [&] {
    if (++draws % kDrawsPerPoll == 0) PollCancel();
    return static_cast<std::size_t>(random.rnd_(crossValidationSeed) * count);
  };
  PollCancel();
  for (std::size_t i = 0; i < shuffled.size(); ++i) {
    std::size_t partner = draw();
    if (shuffled[i] >= 0) continue;
    while (shuffled[partner] >= 0) partner = draw();
    shuffled[i] = static_cast<std::int32_t>(partner);
    shuffled[partner] = static_cast<std::int32_t>(i);
  }
  return shuffled;
}

void KNNEngine::SelectKByCrossValidation(bool silent) {
  const auto show = [&](std::string_view text) {
    if (!silent) ShowStatus(text);
  };
  const std::int32_t count = prototypes();
  gridPoints = static_cast<std::int32_t>((maximumK - minimumK) / deltaK + 1.0);
  k = static_cast<std::int32_t>(maximumK);
  AllocateSlots(k);
  PrepareSearch();

  show("Shuffling data for corss validation...");
  const HostArray<std::int32_t> shuffled = ShufflePrototypes();
  show("Data shuffling is complete");

  crossValidationErrors.Assign(static_cast<std::size_t>(gridPoints), 0.0);
  CrossValidation run(count, inputs(), k);
  for (std::int32_t g = 0; g < gridPoints; ++g) run.gridK.push_back(GridK(g));
  const auto foldStart = [&](std::int32_t f) {
    return static_cast<std::int32_t>(static_cast<std::int64_t>(count) * f / folds);
  };
  for (std::int32_t f = 0; f < folds; ++f) {
    for (std::int32_t c = foldStart(f); c < foldStart(f + 1); ++c)
      run.fold[static_cast<std::size_t>(shuffled[static_cast<std::size_t>(c)])] = f;
  }

  show("Applying crossvalidation...");
  vote_.Start(votes_, weighted);
  for (std::int32_t f = 0; f < folds; ++f) {
    if (!silent && display != nullptr)
      display->ShowDetail("Corss validation fold " + std::to_string(f + 1));
    const std::int32_t end = foldStart(f + 1);
    for (std::int32_t c = foldStart(f); c < end; c += run.batch) {
      const std::span<const std::int32_t> cases(
          shuffled.data() + c, static_cast<std::size_t>(std::min(run.batch, end - c)));
      CrossValidate(run, cases, f);
    }
  }
  ChooseK();
  AllocateSlots(k);
}

void KNNEngine::CrossValidate(CrossValidation& run, std::span<const std::int32_t> cases,
                              std::int32_t fold) {
  const auto rows = data_.PredictorRows(Sample::training);
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const auto row = static_cast<std::size_t>(cases[i]);
    std::copy_n(rows.begin() + static_cast<std::ptrdiff_t>(row * inputs()), inputs(),
                run.queries.begin() + i * inputs());
  }
  PollCancel();
  const auto slots = static_cast<std::size_t>(run.slots);
  if (!search_.Find(run.queries.data(), static_cast<std::int32_t>(cases.size()), run.slots,
                    {run.fold.data(), fold},
                    CAnalysisContext::Current()->services().compute->WorkerThreads(),
                    run.neighbours.subspan(0, cases.size() * slots),
                    run.found.subspan(0, cases.size()), [] { return Progress().pcancel() != 0; }))
    throw Cancelled();

  for (std::size_t i = 0; i < cases.size(); ++i) {
    // The first case searched fills the slots of the largest K, every later one those of the last
    // grid point; the weights are normalised over what was filled, and not again for a smaller K.
    const std::int32_t filled =
        std::min(run.found[i], run.isFirstCase ? run.slots : run.gridK.back());
    run.isFirstCase = false;
    TakeNeighbours(run.neighbours.subspan(i * slots, static_cast<std::size_t>(filled)));
    AddToGrid(run, cases[i], filled);
  }
}

void KNNEngine::AddToGrid(const CrossValidation& run, std::int32_t prototype, std::int32_t filled) {
  vote_.Clear();
  std::int32_t added = 0;
  for (std::size_t g = 0; g < run.gridK.size(); ++g) {
    for (; added < std::min(run.gridK[g], filled); ++added) {
      const auto slot = static_cast<std::size_t>(added);
      vote_.Add(neighbourIndex[slot], neighbourWeight[slot]);
    }
    double squares = 0;
    for (std::size_t j = 0; j < votes_.continuous(); ++j) {
      const double residual = votes_.Value(prototype, j) - vote_.Value(j);
      squares += residual * residual;
    }
    crossValidationErrors[g] += squares;
    for (std::size_t c = 0; c < votes_.categorical(); ++c)
      crossValidationErrors[g] += vote_.Class(c) == votes_.Class(prototype, c) ? 1.0 : 0.0;
  }
}

void KNNEngine::ChooseK() {
  const double cases = prototypes();
  const bool classification = IsClassification();
  for (double& value : crossValidationErrors) {
    value = classification ? value * 100 / (static_cast<double>(votes_.categorical()) * cases)
                           : value / (cases * static_cast<double>(votes_.continuous()));
  }
  // A tie keeps the smaller K.
  std::size_t best = 0;
  for (std::size_t g = 1; g < crossValidationErrors.size(); ++g) {
    const double value = crossValidationErrors[g], reached = crossValidationErrors[best];
    if (classification ? IsGreater(value, reached) : IsLess(value, reached)) best = g;
  }
  (classification ? bestAccuracy : bestError) = crossValidationErrors[best];
  k = GridK(static_cast<std::int32_t>(best));
}

}  // namespace qrvml
