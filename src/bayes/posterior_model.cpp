#include "bayes/posterior_model.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "data/processor_level.h"
#include "host/documents.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const PosteriorKernel& Kernel() {
  const int level = ProcessorLevel();
  if (level >= 4) return kPosteriorKernelV4;
  return level == 3 ? kPosteriorKernelV3 : kPosteriorKernelV2;
}

constexpr std::size_t kTilesTogether = 64;
constexpr std::size_t kCacheLine = 64;  // bytes

bool IsPositiveNumber(double x) { return x > 0 && std::isfinite(x); }

/// Of lognormal and gamma parameters.
bool HasShape(const DistributionParameters& parameters) {
  return IsPositiveNumber(parameters.scale) && IsPositiveNumber(parameters.shape);
}

}  // namespace

double NormalVariance(const AnalysisDataSet& data, std::size_t d, std::size_t c, std::size_t k) {
  const double variance = data.classStatistics().condStd(d, c, k);
  if (std::isfinite(1.0 / (2.0 * variance))) return variance;
  constexpr double kShareOfRange = 1e-9;
  const CaseStatistics& training = data.statistics(Subset::training);
  const double range = training.Maximum(k) - training.Minimum(k);
  const double standIn = range * range * kShareOfRange;
  return IsPositiveNumber(standIn) ? standIn : 1.0;
}

double UsedVariance(const AnalysisDataSet& data, Distribution distribution, std::size_t d,
                    std::size_t c, std::size_t k) {
  if (distribution == Distribution::normal) return NormalVariance(data, d, c, k);
  const double mean = data.classStatistics().condMean(d, c, k);
  const double variance = data.classStatistics().condStd(d, c, k);
  if (distribution != Distribution::lognormal ||
      HasShape(ParametersOf(mean, variance, distribution)))
    return variance;
  // Beside the mean no smaller one has a shape with enough digits.
  constexpr double kShareOfRange = 3.2e-5, kShareOfMean = 1e-6;
  const CaseStatistics& training = data.statistics(Subset::training);
  const double range = training.Maximum(k) - training.Minimum(k);
  const double standIn = std::max(range * kShareOfRange, std::fabs(mean) * kShareOfMean);
  return IsPositiveNumber(standIn) ? standIn : 1.0;
}

void PosteriorModel::Release() { *this = {}; }

void PosteriorModel::Build(const AnalysisDataSet& data, std::span<const Distribution> distributions,
                           std::span<const double> priors, double threshold) {
  const ClassStatistics& statistics = data.classStatistics();
  const VariableRoles& roles = data.roles();
  Release();
  inputs_ = roles.predictors.size();
  continuous_ = roles.continuousPredictors.size();
  firstRow_.assign(1, 0);
  for (std::size_t d = 0; d < statistics.dependents(); ++d)
    firstRow_.push_back(firstRow_.back() + statistics.classes(d));
  const std::size_t rows = firstRow_.back();
  missing_.Resize(inputs_);
  for (std::size_t k = 0; k < inputs_; ++k) missing_[k] = data.MissingDataCode(roles.predictors[k]);
  priors_.Resize(rows);
  logPriors_.Resize(rows);
  for (std::size_t row = 0; row < rows; ++row) {
    priors_[row] = priors[row];
    logPriors_[row] = PortableLog(priors[row]);
  }
  height_.Assign(rows * continuous_, 0.0);
  mean_.Assign(rows * continuous_, 0.0);
  rate_.Assign(rows * continuous_, 0.0);
  rule_.Assign(rows * continuous_, Rule::normal);
  for (std::size_t k = 0; k < continuous_; ++k) {
    for (std::size_t d = 0; d < statistics.dependents(); ++d) {
      for (std::size_t c = 0; c < statistics.classes(d); ++c)
        SetTerm(statistics.ClassRow(d, c) * continuous_ + k, distributions[k],
                statistics.condMean(d, c, k), UsedVariance(data, distributions[k], d, c, k),
                statistics.condWeight(d, c, k), NormalVariance(data, d, c, k));
    }
  }
  BuildFrequencies(data, threshold);
  BuildRuns(distributions);
  BuildRanking();
}

void PosteriorModel::SetTerm(std::size_t at, Distribution distribution, double mean,
                             double variance, double weight, double normalVariance) {
  const DistributionParameters parameters = ParametersOf(mean, variance, distribution);
  if (IsEqual(weight, 0.0)) {
    rule_[at] = Rule::impossible;
  } else if (distribution == Distribution::poisson) {
    rule_[at] = Rule::poisson;
    mean_[at] = parameters.lambda;
  } else if (distribution != Distribution::normal && HasShape(parameters)) {
    rule_[at] = distribution == Distribution::gamma ? Rule::gamma : Rule::lognormal;
    mean_[at] = parameters.scale;
    rate_[at] = parameters.shape;
  } else {
    // Normal, or a class whose values are too close together for a gamma distribution.
    height_[at] = LogNormalHeight(normalVariance);
    mean_[at] = mean;
    rate_[at] = 1.0 / (2.0 * normalVariance);
  }
}

void PosteriorModel::BuildFrequencies(const AnalysisDataSet& data, double threshold) {
  const ClassStatistics& statistics = data.classStatistics();
  const double logThreshold = PortableLog(threshold);
  firstPair_.assign(1, 0);
  lookups_.clear();
  for (std::size_t m = 0; continuous_ + m < inputs_; ++m) {
    firstPair_.push_back(firstPair_.back() + statistics.categories(m));
    lookups_.emplace_back(data.predictorCategories(m));
  }
  const std::size_t pairs = firstPair_.back();
  logFrequency_.Resize(firstRow_.back() * pairs);
  for (std::size_t m = 0; m + 1 < firstPair_.size(); ++m) {
    const double cases = data.InputCount(continuous_ + m);
    for (std::size_t d = 0; d < statistics.dependents(); ++d) {
      for (std::size_t c = 0; c < statistics.classes(d); ++c) {
        for (std::size_t v = 0; v < statistics.categories(m); ++v) {
          const std::int32_t count = statistics.pairCount(d, c, m, v);
          logFrequency_[(firstRow_[d] + c) * pairs + firstPair_[m] + v] =
              count != 0 && !IsEqual(cases, 0.0) ? PortableLog(count / cases) : logThreshold;
        }
      }
    }
  }
}

void PosteriorModel::BuildRuns(std::span<const Distribution> distributions) {
  runs_.clear();
  bool allFast = true;
  for (std::size_t k = 0; k < inputs_; ++k) {
    bool fast = k < continuous_ && distributions[k] == Distribution::normal;
    for (std::size_t row = 0; row < firstRow_.back() && fast; ++row)
      fast = rule_[row * continuous_ + k] == Rule::normal;
    allFast = allFast && (fast || k >= continuous_);
    if (!runs_.empty() && runs_.back().fast == fast) {
      ++runs_.back().last;
    } else {
      runs_.push_back({k, k + 1, fast});
    }
  }
  const std::size_t terms = std::max(inputs_ * firstRow_.back(), std::size_t{1});
  const std::size_t together = std::size_t{1} << (allFast ? 24 : 18);
  lines_ = inputs_ * kPosteriorLanes * sizeof(double) / kCacheLine;
  linesPerRow_ = lines_ / std::max(firstRow_.back(), std::size_t{1}) + 1;
  rowsTogether_ = std::clamp(together / terms, std::size_t{1}, kRowsAtMost);
}

void PosteriorModel::BuildRanking() {
  constexpr double kSmallestPrior = 1e-30;
  const bool allFast =
      continuous_ == 0 || (runs_.front().fast && runs_.front().last == continuous_);
  if (!allFast || !std::ranges::all_of(priors_, [](double p) { return p >= kSmallestPrior; }))
    return;
  // Both ways of adding up are off by less than a rounding of the summed sizes per input; doubled.
  rankSlackRate_ = static_cast<double>(inputs_ + 16) * 0x1p-50;
  rankConstant_.Resize(firstRow_.back());
  rankSlack_.Resize(firstRow_.back());
  for (std::size_t row = 0; row < firstRow_.back(); ++row) {
    double size = std::fabs(logPriors_[row]);
    rankConstant_[row] = logPriors_[row];
    for (const double height : height_.subspan(row * continuous_, continuous_)) {
      rankConstant_[row] += height;
      size += std::fabs(height);
    }
    rankSlack_[row] = size * rankSlackRate_;
  }
}

double PosteriorModel::TermOf(std::size_t at, double x) const {
  switch (rule_[at]) {
    case Rule::normal: {
      const double difference = x - mean_[at];
      return height_[at] - difference * difference * rate_[at];
    }
    case Rule::lognormal:
      return LogLognormal(x, mean_[at], rate_[at]);
    case Rule::gamma:
      return LogGamma(x / mean_[at], rate_[at]);
    case Rule::poisson:
      return LogPoisson(x, mean_[at]);
    case Rule::impossible:
      break;
  }
  return -kInfinity;
}

bool PosteriorModel::Term(std::size_t classRow, std::size_t k, double x, double& term) const {
  if (k < continuous_) {
    term = TermOf(classRow * continuous_ + k, x);
    return true;
  }
  const std::size_t m = k - continuous_;
  const int v = lookups_[m].ClassOf(x);
  if (v < 0) return false;
  term = logFrequency_[classRow * firstPair_.back() + firstPair_[m] + static_cast<std::size_t>(v)];
  return true;
}

void PosteriorModel::Classify(const double* rows, std::size_t count, bool keepsPosteriors,
                              WorkerTeam& team, ClassifiedBlock& block, const RowVisit& visit) {
  const std::size_t classRows = firstRow_.back(), dependents = firstRow_.size() - 1;
  block.posteriors.Resize(keepsPosteriors ? count * classRows : 0);
  block.predictedClass.Resize(count * dependents);
  const std::size_t tiles = (count + kPosteriorLanes - 1) / kPosteriorLanes;
  const std::size_t parts = std::min(team.size(), tiles);
  if (scratch_.size() < parts) scratch_.resize(parts);
  for (std::size_t part = 0; part < parts; ++part) {
    Scratch& scratch = scratch_[part];
    scratch.lanes.Resize(inputs_ * kPosteriorLanes);
    scratch.sums.Resize(classRows * kPosteriorLanes);
    scratch.products.Resize(classRows * kPosteriorLanes);
    scratch.categories.Resize(lookups_.size() * kPosteriorLanes);
    if (count % kPosteriorLanes != 0) scratch.rows.Resize(inputs_ * kPosteriorLanes);
  }
  for (Scratch& scratch : scratch_) scratch.numericFault = false;
  // A thread takes some tiles at a time, so that one that is held up leaves its share to others.
  std::atomic<std::size_t> taken = 0;
  team.Run([&](std::size_t part) {
    if (part >= parts) return;
    for (std::size_t from; (from = taken.fetch_add(kTilesTogether)) < tiles;) {
      const std::size_t to = std::min(from + kTilesTogether, tiles);
      for (std::size_t tile = from; tile < to; ++tile) {
        const std::size_t first = tile * kPosteriorLanes;
        const double* own = rows + first * inputs_;
        const bool followed = first + 2 * kPosteriorLanes <= count;
        ClassifyTile(own, std::min(kPosteriorLanes, count - first),
                     followed ? own + kPosteriorLanes * inputs_ : nullptr,
                     keepsPosteriors ? block.posteriors.data() + first * classRows : nullptr,
                     block.predictedClass.data() + first * dependents, scratch_[part]);
      }
      if (visit) visit(part, from * kPosteriorLanes, std::min(to * kPosteriorLanes, count));
    }
  });
  block.numericFault = std::ranges::any_of(scratch_, &Scratch::numericFault);
}

void PosteriorModel::ClassifyTile(const double* rows, std::size_t count, const double* next,
                                  double* posteriors, std::int32_t* predicted,
                                  Scratch& scratch) const {
  alignas(64) double noPrediction[kPosteriorLanes];
  if (count < kPosteriorLanes) {
    // The lanes that are left over repeat the last row.
    for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane)
      std::copy_n(rows + std::min(lane, count - 1) * inputs_, inputs_,
                  scratch.rows.data() + lane * inputs_);
    rows = scratch.rows.data();
  }
  Kernel().transpose(rows, inputs_, scratch.lanes.data());
  Kernel().markMissing(inputs_, scratch.lanes.data(), missing_.data(), noPrediction);
  FindCategories(scratch, noPrediction);
  if (posteriors == nullptr && RankTile(count, noPrediction, next, predicted, scratch)) return;
  scratch.sums.Fill(0.0);
  for (std::size_t row = 0; row < firstRow_.back(); ++row) AddTerms(row, scratch);
  for (std::size_t d = 0; d + 1 < firstRow_.size(); ++d)
    Conclude(d, count, noPrediction, posteriors, predicted, scratch);
}

void PosteriorModel::FindCategories(Scratch& scratch, double* noPrediction) const {
  for (std::size_t m = 0; m < lookups_.size(); ++m) {
    const double* values = scratch.lanes.data() + (continuous_ + m) * kPosteriorLanes;
    std::int32_t* categories = scratch.categories.data() + m * kPosteriorLanes;
    for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane) {
      const int v = lookups_[m].ClassOf(values[lane]);
      if (v < 0) noPrediction[lane] = 1.0;
      categories[lane] = std::max(v, 0);
    }
  }
}

void PosteriorModel::AddTerms(std::size_t row, Scratch& scratch) const {
  double* sums = scratch.sums.data() + row * kPosteriorLanes;
  alignas(64) double terms[kPosteriorLanes];
  for (const Run& run : runs_) {
    const std::size_t at = row * continuous_ + run.first;
    if (run.fast) {
      Kernel().addNormal(run.last - run.first, scratch.lanes.data() + run.first * kPosteriorLanes,
                         {height_.data() + at, mean_.data() + at, rate_.data() + at}, sums);
      continue;
    }
    for (std::size_t k = run.first; k < run.last; ++k) {
      if (k >= continuous_) {
        AddFrequencies(row, k - continuous_, scratch);
        continue;
      }
      const double* values = scratch.lanes.data() + k * kPosteriorLanes;
      for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane)
        terms[lane] = TermOf(row * continuous_ + k, values[lane]);
      Kernel().add(terms, sums);
    }
  }
}

void PosteriorModel::AddFrequencies(std::size_t row, std::size_t m, Scratch& scratch) const {
  const double* frequencies = logFrequency_.data() + row * firstPair_.back() + firstPair_[m];
  const std::int32_t* categories = scratch.categories.data() + m * kPosteriorLanes;
  alignas(64) double terms[kPosteriorLanes];
  for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane)
    terms[lane] = frequencies[categories[lane]];
  Kernel().add(terms, scratch.sums.data() + row * kPosteriorLanes);
}

Ahead PosteriorModel::AheadOf(std::size_t row, const double* next) const {
  if (next == nullptr) return {nullptr, 0};
  const std::size_t first = std::min(row * linesPerRow_, lines_);
  return {next + first * (kCacheLine / sizeof(double)), std::min(linesPerRow_, lines_ - first)};
}

bool PosteriorModel::RankTile(std::size_t count, const double* noPrediction, const double* next,
                              std::int32_t* predicted, Scratch& scratch) const {
  if (rankConstant_.empty()) return false;
  const PosteriorKernel& kernel = Kernel();
  const std::size_t dependents = firstRow_.size() - 1;
  scratch.sums.Fill(0.0);
  for (std::size_t row = 0; row < firstRow_.back(); ++row) {
    const std::size_t at = row * continuous_;
    if (continuous_ > 0)
      kernel.addSquares(continuous_, scratch.lanes.data(),
                        {nullptr, mean_.data() + at, rate_.data() + at},
                        scratch.sums.data() + row * kPosteriorLanes, AheadOf(row, next));
    for (std::size_t m = 0; m < lookups_.size(); ++m) AddFrequencies(row, m, scratch);
  }
  for (std::size_t d = 0; d < dependents; ++d) {
    const std::size_t first = firstRow_[d];
    alignas(64) double largest[kPosteriorLanes];
    if (!kernel.rank(firstRow_[d + 1] - first, scratch.sums.data() + first * kPosteriorLanes,
                     {rankConstant_.data() + first, rankSlack_.data() + first, rankSlackRate_},
                     noPrediction, largest))
      return false;
    for (std::size_t lane = 0; lane < count; ++lane)
      predicted[lane * dependents + d] =
          noPrediction[lane] == 0 ? static_cast<std::int32_t>(largest[lane]) : -1;
  }
  return true;
}

void PosteriorModel::Conclude(std::size_t d, std::size_t count, const double* noPrediction,
                              double* posteriors, std::int32_t* predicted, Scratch& scratch) const {
  const std::size_t first = firstRow_[d], last = firstRow_[d + 1];
  const std::size_t classRows = firstRow_.back(), dependents = firstRow_.size() - 1;
  double* products = scratch.products.data() + first * kPosteriorLanes;
  alignas(64) double slow[kPosteriorLanes], total[kPosteriorLanes], largest[kPosteriorLanes],
      bad[kPosteriorLanes];
  for (std::size_t row = first; row < last; ++row) {
    const double* sums = scratch.sums.data() + row * kPosteriorLanes;
    double* own = products + (row - first) * kPosteriorLanes;
    const bool anySlow = Kernel().exponential(sums, priors_[row], own, slow);
    for (std::size_t lane = 0; lane < kPosteriorLanes && anySlow; ++lane) {
      if (slow[lane] != 0) own[lane] = PortableExp(sums[lane]) * priors_[row];
    }
  }
  const bool anyBad = Kernel().conclude(last - first, products, total, largest, bad);
  for (std::size_t lane = 0; lane < count && anyBad; ++lane) {
    if (bad[lane] == 0 || noPrediction[lane] != 0) continue;
    // Not the product with the prior: infinity times 0 is settled by the logarithms.
    for (std::size_t row = first; row < last && !scratch.numericFault; ++row)
      scratch.numericFault = std::isnan(scratch.sums[row * kPosteriorLanes + lane]);
    largest[lane] = RankByLogarithm(d, lane, scratch.sums.data(), products);
  }
  for (std::size_t lane = 0; lane < count; ++lane) {
    const bool isPredicted = noPrediction[lane] == 0;
    predicted[lane * dependents + d] = isPredicted ? static_cast<std::int32_t>(largest[lane]) : -1;
    if (posteriors == nullptr) continue;
    double* own = posteriors + lane * classRows;
    for (std::size_t row = first; row < last; ++row)
      own[row] = isPredicted ? products[(row - first) * kPosteriorLanes + lane] : kMissingOutput;
  }
}

double PosteriorModel::RankByLogarithm(std::size_t d, std::size_t lane, const double* sums,
                                       double* shares) const {
  const std::size_t first = firstRow_[d], classes = firstRow_[d + 1] - first;
  const auto logarithm = [&](std::size_t c) {
    const double value = sums[(first + c) * kPosteriorLanes + lane] + logPriors_[first + c];
    return std::isnan(value) ? -kInfinity : value;
  };
  double maximum = -kInfinity;
  for (std::size_t c = 0; c < classes; ++c) maximum = std::max(maximum, logarithm(c));
  const auto fill = [&](auto value) {
    double total = 0;
    for (std::size_t c = 0; c < classes; ++c)
      total += shares[c * kPosteriorLanes + lane] = value(c);
    for (std::size_t c = 0; c < classes && total != 0; ++c)
      shares[c * kPosteriorLanes + lane] /= total;
    return total != 0;
  };
  const bool ranked = maximum == -kInfinity
                          ? fill([&](std::size_t c) { return priors_[first + c]; })
                          : fill([&](std::size_t c) {
                              const double value = logarithm(c);
                              return value == maximum ? 1.0 : PortableExp(value - maximum);
                            });
  if (!ranked) fill([](std::size_t) { return 1.0; });
  std::size_t chosen = 0;
  for (std::size_t c = 1; c < classes; ++c) {
    if (IsGreater(shares[c * kPosteriorLanes + lane], shares[chosen * kPosteriorLanes + lane]))
      chosen = c;
  }
  return static_cast<double>(chosen);
}

}  // namespace qrvml
