#include "svm/pair_optimiser.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace qrvml {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t kSharedWork = 30000;  // multiplications of a pass worth a second thread
constexpr std::int32_t kUpdateWork = 4;      // cost of a variable's update, in multiplications

/// The earliest of the least and of the greatest values.
void Merge(PairEnds& ends, const PairEnds& other) {
  if (other.leastUp < ends.leastUp || (other.leastUp == ends.leastUp && other.upAt < ends.upAt)) {
    ends.leastUp = other.leastUp;
    ends.upAt = other.upAt;
  }
  if (other.mostDown > ends.mostDown ||
      (other.mostDown == ends.mostDown && other.downAt < ends.downAt)) {
    ends.mostDown = other.mostDown;
    ends.downAt = other.downAt;
  }
}

constexpr PairEnds kNoEnds = {kInfinity, -kInfinity, -1, -1};

/// Whole blocks of at most kPassCases, as many pieces for each thread.
std::int32_t PieceLength(std::int32_t count, std::int32_t threads) {
  const std::int32_t rounds = (PassesOf(count) + threads - 1) / threads;
  const std::int32_t pieces = std::max(rounds, 1) * threads;
  return PackedCases::Padded((count + pieces - 1) / pieces);
}

}  // namespace

void PrintDiagnostic(const SVMSolverState& state, std::string_view text) {
  if (state.print) return state.print(text);
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (text == "." || text == "*") std::fflush(stdout);
}

void WarnDiagnostic(const SVMSolverState& state, std::string_view text) {
  if (state.warn) return state.warn(text);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

PairOptimiser::PairOptimiser(OptimisationProblem& problem, const SVMParameters& parameters,
                             KernelMatrix& matrix, SVMSolverState& state, SolverTeam& team,
                             SolverPace& pace)
    : problem_(problem),
      accuracy_(parameters.stoppingAccuracy),
      shrinking_(parameters.shrinking != 0),
      matrix_(matrix),
      state_(state),
      team_(team),
      pace_(pace),
      variables_(std::int32_t(problem.alpha.size())),
      active_(variables_) {
  const auto size = std::size_t(PackedCases::Padded(variables_));
  const auto cases = std::size_t(PackedCases::Padded(matrix.cases()));
  f_.Assign(size, 0.0);
  status_.Assign(size, 0);
  order_.Resize(std::size_t(variables_));
  if (shrinking_ && !problem.twoPerCase) source_.Resize(std::size_t(variables_));
  if (problem.twoPerCase) {
    case_.Assign(size, 0);
    matrix.places() != nullptr ? place_.Assign(size, 0) : change_.Resize(cases);
  }
  found_.Resize(std::size_t(team.threads()));
  sums_.Resize(cases);
  listed_.Resize(std::size_t(matrix.cases()));
  factors_.Resize(std::size_t(matrix.cases()));
}

OptimisationResult PairOptimiser::Solve() {
  Start();
  std::int32_t counter = std::min(variables_, 1000) + 1;
  state_.iterationCount = 0;
  do {
    if (--counter == 0) {
      counter = std::min(variables_, 1000);
      CheckFinite(active_);
      if (shrinking_) Shrink();
      Print(".");
    }
    std::int32_t i = 0;
    std::int32_t j = 0;
    if (!SelectPair(&i, &j)) {
      Rebuild();
      active_ = variables_;
      Choose();
      Print("*");
      if (!SelectPair(&i, &j)) break;
      counter = 1;
    }
    ++state_.iterationCount;
    Optimise(i, j);
  } while (state_.iterationCount < state_.maxIterations);
  state_.counts.iterations += state_.iterationCount;
  if (state_.iterationCount >= state_.maxIterations) ++state_.counts.limited;
  return Result();
}

void PairOptimiser::Start() {
  for (std::int32_t t = 0; t < variables_; ++t) {
    order_[std::size_t(t)] = t;
    if (problem_.twoPerCase) case_[std::size_t(t)] = t % matrix_.cases();
    if (!place_.empty()) place_[std::size_t(t)] = matrix_.places()[t % matrix_.cases()];
    status_[std::size_t(t)] = problem_.y[std::size_t(t)] < 0 ? kNegativeClass : 0;
    MoveStatus(t);
  }
  active_ = 0;
  Rebuild();
  active_ = variables_;
  Choose();
}

void PairOptimiser::MoveStatus(std::int32_t t) {
  const bool grows = Alpha(t) < Bound(t);
  const bool falls = Alpha(t) > 0;
  const bool up = y(t) > 0 ? grows : falls;
  const bool down = y(t) > 0 ? falls : grows;
  status_[std::size_t(t)] = std::uint8_t((status_[std::size_t(t)] & kNegativeClass) |
                                         (up ? kMayGoUp : 0) | (down ? kMayGoDown : 0));
}

void PairOptimiser::CheckFinite(std::int32_t count) const {
  for (std::int32_t t = 0; t < count; ++t) {
    if (!std::isfinite(f_[std::size_t(t)])) throw NumericFault();
  }
}

// --- The pair -----------------------------------------------------------------------------------

// Gmax1 + Gmax2 of a set whose ends these are.
double PairOptimiser::Violation() const {
  double most = ends_[0].mostDown - ends_[0].leastUp;
  if (problem_.nu) most = std::max(most, ends_[1].mostDown - ends_[1].leastUp);
  return most;
}

bool PairOptimiser::SelectPair(std::int32_t* i, std::int32_t* j) const {
  const double first = ends_[0].mostDown - ends_[0].leastUp;
  if (!problem_.nu) {
    *i = ends_[0].upAt;
    *j = ends_[0].downAt;
    return *i >= 0 && *j >= 0 && !(first < accuracy_);
  }
  const double second = ends_[1].mostDown - ends_[1].leastUp;
  if (std::max(first, second) < accuracy_) return false;
  // In the class y = -1 the gradient has the other sign, so the ends change places.
  const bool positive = first > second;
  *i = positive ? ends_[0].upAt : ends_[1].downAt;
  *j = positive ? ends_[0].downAt : ends_[1].upAt;
  return *i >= 0 && *j >= 0;
}

void PairOptimiser::Choose() {
  matrix_.kernel().choose(f_.data(), status_.data(), 0, active_, problem_.nu, ends_);
}

void PairOptimiser::Optimise(std::int32_t i, std::int32_t j) {
  Step step;
  const std::int32_t length = problem_.twoPerCase ? matrix_.cases() : active_;
  const std::int32_t iCase = CaseOf(i);
  const std::int32_t jCase = CaseOf(j);
  step.first = matrix_.Request(iCase, length, 0);
  step.second = jCase == iCase ? step.first : matrix_.Request(jCase, length, 1);
  const double kernel = matrix_.Between(step.first, step.second);

  double& alphaI = problem_.alpha[std::size_t(i)];
  double& alphaJ = problem_.alpha[std::size_t(j)];
  const double oldI = alphaI;
  const double oldJ = alphaJ;
  const double boundI = Bound(i);
  const double boundJ = Bound(j);
  const double both = matrix_.Diagonal(iCase) + matrix_.Diagonal(jCase);
  if (y(i) != y(j)) {
    // Q_ij = -K_ij.
    const double delta = (-G(i) - G(j)) / (both + 2 * -kernel);
    if (std::isnan(delta)) throw NumericFault();
    const double difference = alphaI - alphaJ;
    alphaI += delta;
    alphaJ += delta;
    if (difference > 0) {
      if (alphaJ < 0) {
        alphaJ = 0;
        alphaI = difference;
      }
    } else if (alphaI < 0) {
      alphaI = 0;
      alphaJ = -difference;
    }
    if (difference > boundI - boundJ) {
      if (alphaI > boundI) {
        alphaI = boundI;
        alphaJ = boundI - difference;
      }
    } else if (alphaJ > boundJ) {
      alphaJ = boundJ;
      alphaI = boundJ + difference;
    }
  } else {
    const double delta = (G(i) - G(j)) / (both - 2 * kernel);
    if (std::isnan(delta)) throw NumericFault();
    const double sum = alphaI + alphaJ;
    alphaI -= delta;
    alphaJ += delta;
    if (sum > boundI) {
      if (alphaI > boundI) {
        alphaI = boundI;
        alphaJ = sum - boundI;
      }
    } else if (alphaJ < 0) {
      alphaJ = 0;
      alphaI = sum;
    }
    if (sum > boundJ) {
      if (alphaJ > boundJ) {
        alphaJ = boundJ;
        alphaI = sum - boundJ;
      }
    } else if (alphaI < 0) {
      alphaI = 0;
      alphaJ = sum;
    }
  }
  step.firstChange = (alphaI - oldI) * y(i);
  step.secondChange = (alphaJ - oldJ) * y(j);
  MoveStatus(i);
  MoveStatus(j);
  Apply(step);
}

void PairOptimiser::Apply(const Step& step) {
  const SvmKernel& kernel = matrix_.kernel();
  const KernelMatrix::Column columns[] = {step.first, step.second};
  const bool same = step.first.at == step.second.at;
  const std::span<const KernelMatrix::Column> used(columns, same ? 1 : 2);
  const std::int32_t cases = step.first.length;

  std::int64_t missing = 0;
  for (const KernelMatrix::Column& column : used) missing += column.length - column.known;
  const std::int64_t work = std::int64_t(active_) * kUpdateWork + missing * kCaseLanes;
  const bool shared = work >= 2 * kSharedWork;
  for (PartEnds& found : found_) found = {{kNoEnds, kNoEnds}};
  const auto keep = [&](int thread, const PairEnds* found) {
    for (int c = 0; c < ends(); ++c) Merge(found_[std::size_t(thread)].ends[c], found[c]);
  };
  const auto run = [&](std::int32_t count, const auto& pass) {
    const std::int32_t length = PieceLength(count, team_.threads());
    const std::int32_t pieces = (count + length - 1) / length;
    RunPaced(team_, pieces, shared, pace_, [&](std::int32_t number, int thread) {
      const std::int32_t begin = number * length;
      return pass(begin, std::min(count, begin + length), thread);
    });
  };

  const std::int32_t* places = problem_.twoPerCase ? place_.data() : matrix_.places();
  if (matrix_.places() != nullptr) {
    run(active_, [&](std::int32_t from, std::int32_t to, int thread) {
      PairEnds found[2];
      kernel.updatePlaced(f_.data(), status_.data(), step.first.values, step.second.values, places,
                          step.firstChange, step.secondChange, from, to, problem_.nu, found);
      keep(thread, found);
      return std::int64_t(to - from) * kUpdateWork;
    });
  } else if (problem_.twoPerCase) {
    run(cases, [&](std::int32_t from, std::int32_t to, int) {
      const std::int64_t done = matrix_.Fill(used, from, to) + (to - from) * kUpdateWork;
      kernel.combine(step.first.values, step.second.values, step.firstChange, step.secondChange,
                     from, to, change_.data());
      return done;
    });
    run(active_, [&](std::int32_t from, std::int32_t to, int thread) {
      PairEnds found[2];
      kernel.updateListed(f_.data(), status_.data(), change_.data(), case_.data(), from, to,
                          problem_.nu, found);
      keep(thread, found);
      return std::int64_t(to - from);
    });
  } else {
    run(cases, [&](std::int32_t from, std::int32_t to, int thread) {
      const std::int64_t done = matrix_.Fill(used, from, to) + (to - from) * kUpdateWork;
      PairEnds found[2];
      kernel.update(f_.data(), status_.data(), step.first.values, step.second.values,
                    step.firstChange, step.secondChange, from, to, problem_.nu, found);
      keep(thread, found);
      return done;
    });
  }
  for (const KernelMatrix::Column& column : used) matrix_.Complete(column);
  for (int c = 0; c < ends(); ++c) {
    ends_[c] = kNoEnds;
    for (const PartEnds& found : found_) Merge(ends_[c], found.ends[c]);
  }
}

// --- Shrinking ----------------------------------------------------------------------------------

/// Whether a variable at a bound would rather stay there than any that could go the other way.
bool PairOptimiser::Leaves(std::int32_t t, const PairEnds* thresholds) const {
  const int status = status_[std::size_t(t)];
  const bool up = (status & kMayGoUp) != 0;
  const bool down = (status & kMayGoDown) != 0;
  if (up && down) return false;
  const PairEnds& ends = thresholds[(status & kNegativeClass) != 0 ? 1 : 0];
  const double f = f_[std::size_t(t)];
  if (up) return f > ends.mostDown;
  if (down) return f < ends.leastUp;
  return true;  // its bound is 0: it never moves
}

void PairOptimiser::Shrink() {
  std::int32_t i = 0;
  std::int32_t j = 0;
  if (!problem_.nu && !SelectPair(&i, &j)) return;
  const PairEnds thresholds[] = {ends_[0], ends_[problem_.nu ? 1 : 0]};
  const bool nearlySolved = Violation() <= 10 * accuracy_;
  CutActiveSet(thresholds);
  if (!hasReturned_ && nearlySolved) {
    hasReturned_ = true;
    Rebuild();
    ReturnVariables(thresholds);
  }
  if (!problem_.twoPerCase) matrix_.Fit(active_, pace_);
  Choose();
}

void PairOptimiser::CutActiveSet(const PairEnds* thresholds) {
  for (std::size_t t = 0; t < source_.size(); ++t) source_[t] = std::int32_t(t);
  for (std::int32_t t = 0; t < active_; ++t) {
    if (!Leaves(t, thresholds)) continue;
    SwapVariables(t, --active_);
    --t;
  }
  pace_.Check(std::int64_t(variables_) * kUpdateWork);
  if (!problem_.twoPerCase) matrix_.FollowSwaps(source_, active_, team_, pace_);
}

void PairOptimiser::ReturnVariables(const PairEnds* thresholds) {
  for (std::int32_t t = variables_ - 1; t >= active_; --t) {
    if (IsFree(t) || Leaves(t, thresholds)) continue;
    SwapVariables(t, active_++);
    ++t;
  }
}

void PairOptimiser::SwapVariables(std::int32_t a, std::int32_t b) {
  if (a == b) return;
  const auto first = std::size_t(a);
  const auto second = std::size_t(b);
  std::swap(problem_.alpha[first], problem_.alpha[second]);
  std::swap(problem_.b[first], problem_.b[second]);
  std::swap(f_[first], f_[second]);
  std::swap(status_[first], status_[second]);
  std::swap(order_[first], order_[second]);
  if (problem_.twoPerCase) {
    std::swap(case_[first], case_[second]);
    if (!place_.empty()) std::swap(place_[first], place_[second]);
  } else {
    std::swap(source_[first], source_[second]);
    matrix_.Swap(a, b, pace_);
  }
}

// f_t = y_t b_t + sum of (y_s alpha_s) K_ts. The sum is made when it is needed instead of carrying
// the part of the variables at their upper bound along.
void PairOptimiser::Rebuild() {
  if (active_ == variables_) return;
  const std::int32_t cases = matrix_.cases();
  double* factors = factors_.data();
  if (problem_.twoPerCase) {
    // The two variables of a case have one column: their factors add up before they meet it.
    std::fill(sums_.begin(), sums_.end(), 0.0);
    for (std::int32_t t = 0; t < variables_; ++t) sums_[std::size_t(CaseOf(t))] += y(t) * Alpha(t);
  } else {
    for (std::int32_t t = 0; t < cases; ++t) sums_[std::size_t(t)] = y(t) * Alpha(t);
  }
  std::size_t count = 0;
  for (std::int32_t t = 0; t < cases; ++t) {
    if (sums_[std::size_t(t)] == 0.0) continue;
    listed_[count] = t;
    factors[count++] = sums_[std::size_t(t)];
  }
  const std::int32_t begin = problem_.twoPerCase ? 0 : active_ / kCaseLanes * kCaseLanes;
  matrix_.AddColumns(std::span(listed_.data(), count), std::span(factors, count), begin,
                     sums_.data(), team_, pace_);
  for (std::int32_t t = active_; t < variables_; ++t) {
    f_[std::size_t(t)] = y(t) * problem_.b[std::size_t(t)] + sums_[std::size_t(CaseOf(t))];
  }
}

// --- The result ---------------------------------------------------------------------------------

// The average of f over free variables, else the middle of what the variables at bounds allow.
double PairOptimiser::GenericRho() const {
  double upper = kInfinity;
  double lower = -kInfinity;
  double sum = 0;
  std::int32_t free = 0;
  for (std::int32_t t = 0; t < active_; ++t) {
    const double f = f_[std::size_t(t)];
    if (IsFree(t)) {
      sum += f;
      ++free;
    } else if ((Alpha(t) <= 0) == (y(t) > 0)) {
      upper = std::min(upper, f);
    } else {
      lower = std::max(lower, f);
    }
  }
  return free > 0 ? sum / free : (upper + lower) / 2;
}

// The same of G within one class.
double PairOptimiser::ClassLevel(bool negative) const {
  double upper = kInfinity;
  double lower = -kInfinity;
  double sum = 0;
  std::int32_t free = 0;
  for (std::int32_t t = 0; t < active_; ++t) {
    if ((y(t) < 0) != negative) continue;
    if (IsFree(t)) {
      sum += G(t);
      ++free;
    } else if (Alpha(t) <= 0) {
      upper = std::min(upper, G(t));
    } else {
      lower = std::max(lower, G(t));
    }
  }
  return free > 0 ? sum / free : (upper + lower) / 2;
}

OptimisationResult PairOptimiser::Result() {
  CheckFinite(variables_);
  OptimisationResult result;
  if (problem_.nu) {
    const double positive = ClassLevel(false);
    const double negative = ClassLevel(true);
    result.r = (positive + negative) / 2;
    result.rho = (positive - negative) / 2;
  } else {
    result.rho = GenericRho();
  }
  double sum = 0;
  for (std::int32_t t = 0; t < variables_; ++t) {
    sum += Alpha(t) * (G(t) + problem_.b[std::size_t(t)]);
  }
  result.objective = sum / 2;
  if (!std::isfinite(result.objective)) throw NumericFault();
  if (!std::isfinite(result.rho) || !std::isfinite(result.r)) {
    throw NumericFault{problem_.nu ? "this nu holds all cases of a class at one bound, where the "
                                     "constants of the model are undefined; take another"
                                   : ""};
  }

  HostArray<double> solution{std::size_t(variables_)};
  for (std::int32_t t = 0; t < variables_; ++t) {
    solution[std::size_t(order_[std::size_t(t)])] = Alpha(t);
  }
  problem_.alpha.Swap(solution);
  Print("\noptimization finished, #iter = " + std::to_string(state_.iterationCount) + "\n");
  return result;
}

void PairOptimiser::Print(std::string_view text) const { PrintDiagnostic(state_, text); }

}  // namespace qrvml
