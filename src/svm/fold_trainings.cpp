#include "svm/fold_trainings.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host/string_table.h"
#include "svm/case_predictor.h"
#include "svm/pair_optimiser.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_solver.h"

namespace qrvml {

/// A thread's own state and arrays. All that the thread needs of the host it asks for.
class FoldTrainings::Worker {
 public:
  Worker(FoldTrainings& search, int threads)
      : search_(search), asking_(*this, CurrentMemory()), memory_(asking_) {
    const auto l = std::size_t(search.problem_.l);
    inputs_.Resize(l);
    targets_.Resize(l);
    places_.Resize(l);
    state_.maxIterations = search.state_.maxIterations;
    state_.workBetweenPolls = search.state_.workBetweenPolls;
    state_.level = search.state_.level;
    state_.threads = threads;
    state_.poll = [this] { return Poll(); };
  }

  void Train(std::int64_t task, Outcome& outcome) {
    task_ = task;
    outcome.texts.clear();
    state_.print = [&](std::string_view text) { Print(outcome, PrintDiagnostic, text); };
    state_.warn = [&](std::string_view text) { Print(outcome, WarnDiagnostic, text); };
    const MemoryScope scope(&memory_);
    const SVMProblem& all = search_.problem_;
    const std::size_t begin = search_.Begin(task % search_.folds_);
    const std::size_t end = search_.Begin(task % search_.folds_ + 1);
    std::size_t kept = 0;
    for (std::size_t t = 0; t < std::size_t(all.l); ++t) {
      if (t >= begin && t < end) continue;
      inputs_[kept] = all.x[t];
      targets_[kept] = all.y[t];
      places_[kept++] = std::int32_t(t);
    }
    if (kept == 0)
      throw NumericFault{
          "VValue = 1 holds out all cases and leaves none to train on; take 2 or more"};
    const Point point = search_.pointAt_(task / search_.folds_);
    SVMParameters parameters = search_.parameters_;
    parameters.C = point.C;
    parameters.epsilon = point.epsilon;
    const SVMProblem fold{std::int32_t(kept), targets_.data(), inputs_.data()};
    const SharedKernel shared{search_.store_.get(), places_.subspan(0, kept)};
    const std::unique_ptr<SVMModel> model = SvmTrain(fold, parameters, state_, shared);
    outcome.count = end - begin;
    SolverPace pace(state_);
    CasePredictor(*model, state_.threads, state_.level)
        .Predict({all.x + begin, outcome.count}, outcome.errors, {}, pace);
    for (std::size_t t = begin; t < end; ++t) outcome.errors[t - begin] -= all.y[t];
    outcome.iterationCount = state_.iterationCount;
    outcome.boundedSupportVectorCount = state_.boundedSupportVectorCount;
    outcome.objective = state_.objective;
    outcome.counts = state_.counts;
  }

 private:
  /// The host's memory, asked for on its own thread.
  class AskingMemory final : public MemoryService {
   public:
    AskingMemory(Worker& worker, MemoryService& host) : worker_(worker), host_(host) {}
    int AllocMem(void** address, std::size_t bytes) override {
      int result = 1;
      worker_.Ask([&] { result = host_.AllocMem(address, bytes); });
      return result;
    }
    void FreeMem(void* address) override { host_.FreeMem(address); }  // by the pool's destructor

   private:
    Worker& worker_;
    MemoryService& host_;
  };

  /// False: the search ends.
  bool Ask(const std::function<void()>& request) {
    try {
      search_.tasks_.Ask([&] {
        const MemoryScope scope(nullptr);
        request();
      });
    } catch (const Cancelled&) {
      return false;
    }
    return true;
  }

  bool Poll() {
    return !Ask([&] {
      SVMSolverState& published = search_.state_;
      if (search_.tasks_.awaited() == task_) published.iterationCount = state_.iterationCount;
      if (published.poll && published.poll()) throw Cancelled();
    });
  }

  void Print(Outcome& outcome, void (*write)(const SVMSolverState&, std::string_view),
             std::string_view text) {
    if (search_.tasks_.IsParallel()) {
      outcome.texts.push_back({write, std::string(text)});
    } else {
      const MemoryScope scope(nullptr);
      write(search_.state_, text);
    }
  }

  FoldTrainings& search_;
  AskingMemory asking_;
  PooledMemory memory_;
  std::int64_t task_ = 0;
  SVMSolverState state_;
  HostArray<SVMNodeList> inputs_;
  HostArray<double> targets_;
  HostArray<std::int32_t> places_;
};

FoldTrainings::FoldTrainings(const SVMProblem& problem, const SVMParameters& parameters,
                             std::int32_t folds, std::int64_t points,
                             std::function<Point(std::int64_t)> pointAt, SVMSolverState& state)
    : problem_(problem),
      parameters_(parameters),
      folds_(folds),
      pointAt_(std::move(pointAt)),
      state_(state),
      trainings_(double(points) * folds < 9e18 ? points * folds
                                               : std::numeric_limits<std::int64_t>::max()),
      window_(ShareKernel() && state.threads > 1 ? 2 * state.threads : 1),
      outcomes_(std::size_t(window_)),
      tasks_(trainings_, window_) {
  const int workers = window_ > 1 ? state.threads : 1;
  if (workers > 1) parameters_.cacheSize /= workers;
  for (int number = 0; number < workers; ++number) {
    workers_.push_back(std::make_unique<Worker>(*this, workers > 1 ? 1 : state.threads));
  }
  const auto l = std::int64_t(problem.l);
  for (Outcome& outcome : outcomes_) outcome.errors.Resize(std::size_t((l + folds - 1) / folds));
  tasks_.Start(workers, [this](std::int64_t task, int thread) {
    workers_[std::size_t(thread)]->Train(task, OutcomeOf(task));
  });
}

FoldTrainings::~FoldTrainings() = default;

// The values are worth storing where the trainings would together compute at least as many.
bool FoldTrainings::ShareKernel() {
  const double megabytes = KernelStore::Megabytes(problem_.l);
  const double columns = 2.0 * state_.maxIterations * double(trainings_);
  if (!(megabytes <= parameters_.cacheSize) || columns < problem_.l) return false;
  SolverTeam team(state_.threads);
  SolverPace pace(state_);
  store_ = std::make_unique<KernelStore>(std::span(problem_.x, std::size_t(problem_.l)),
                                         parameters_, state_, team, pace);
  parameters_.cacheSize -= megabytes;
  return true;
}

std::span<const double> FoldTrainings::Next() {
  Outcome& outcome = OutcomeOf(tasks_.awaited() + 1);
  const auto write = [&] {
    for (const Outcome::Text& text : outcome.texts) text.write(state_, text.text);
    outcome.texts.clear();
  };
  try {
    tasks_.Await();
  } catch (const NumericFault&) {
    write();
    throw;
  }
  write();
  state_.iterationCount = outcome.iterationCount;
  state_.boundedSupportVectorCount = outcome.boundedSupportVectorCount;
  state_.objective = outcome.objective;
  state_.counts = outcome.counts;
  return outcome.errors.subspan(0, outcome.count);
}

}  // namespace qrvml
