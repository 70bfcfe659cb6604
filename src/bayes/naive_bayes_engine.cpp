#include "bayes/naive_bayes_engine.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "data/case_blocks.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

}  // namespace

// --- Distributions -------------------------------------------------------------------------------

void NaiveBayesEngine::AssignDefaultDistributions() { EnterDistributions({}); }

void NaiveBayesEngine::SetDistributionLists(std::span<const std::vector<int>> lists) {
  EnterDistributions(lists);
}

void NaiveBayesEngine::EnterDistributions(std::span<const std::vector<int>> lists) {
  const VariableRoles& roles = data_.roles();
  distributions.clear();
  for (const int variable : roles.continuousPredictors)
    distributions[variable] = Distribution::normal;
  for (std::size_t code = 0; code < lists.size(); ++code) {
    for (const int variable : lists[code]) {
      const auto found = distributions.find(variable);
      if (found != distributions.end()) found->second = static_cast<Distribution>(code);
    }
  }
  for (const int variable : roles.categoricalPredictors)
    distributions.try_emplace(variable, Distribution::discrete);
  distributionCount = {};
  distributionInputs = {};
  for (std::size_t k = 0; k < roles.predictors.size(); ++k) {
    const auto code = static_cast<std::size_t>(DistributionOf(k));
    ++distributionCount[code];
    distributionInputs[code].push_back(roles.predictors[k]);
  }
  model_.Release();
}

bool NaiveBayesEngine::CheckDistributions() const {
  const CaseStatistics& used =
      data_.statistics(data_.sampling.apply ? Subset::both : Subset::training);
  const auto& variables = data_.roles().continuousPredictors;
  for (std::size_t k = 0; k < variables.size(); ++k) {
    const double least = std::min(used.Minimum(k), used.Maximum(k));
    int message = 0;
    switch (DistributionOf(k)) {
      case Distribution::lognormal:
        message = IsLessOrEqual(least, 0.0) ? 200 : 0;
        break;
      case Distribution::gamma:
        message = IsLess(least, 0.0) ? 201 : 0;
        break;
      case Distribution::poisson:
        message = IsLess(least, 0.0) ? 202 : data_.IsIntegralInput(k) ? 0 : 203;
        break;
      case Distribution::normal:
      case Distribution::discrete:
        break;
    }
    if (message != 0) return Refuse(message, VariableName(*Host().file, variables[k]));
  }
  return true;
}

// --- Priors and threshold ------------------------------------------------------------------------

void NaiveBayesEngine::ResetPriorKinds() { priorKind.assign(dependents(), PriorKind::fromData); }

template <class Prior>
bool NaiveBayesEngine::FillPriors(std::span<const std::size_t> filled, Prior prior) {
  model_.Release();
  try {
    priors.resize(dependents());
    for (const std::size_t d : filled) {
      HostArray<double> fresh(Classes(d));
      for (std::size_t c = 0; c < fresh.size(); ++c) fresh[c] = prior(d, c);
      priors[d] = std::move(fresh);
    }
    return true;
  } catch (const std::bad_alloc&) {
    return Refuse(104);
  }
}

bool NaiveBayesEngine::ComputeDefaultPriors(std::span<const std::size_t> filled) {
  const ClassStatistics& statistics = data_.classStatistics();
  return FillPriors(filled, [&](std::size_t d, std::size_t c) {
    std::int64_t total = 0;
    for (std::size_t i = 0; i < Classes(d); ++i) total += statistics.classCount(d, i);
    return total == 0
               ? 0.0
               : static_cast<double>(statistics.classCount(d, c)) / static_cast<double>(total);
  });
}

bool NaiveBayesEngine::ComputeEqualPriors(std::span<const std::size_t> filled) {
  return FillPriors(
      filled, [&](std::size_t d, std::size_t) { return 1.0 / static_cast<double>(Classes(d)); });
}

bool NaiveBayesEngine::SetPriorKind(std::size_t dependent, PriorKind kind) {
  const std::size_t filled[] = {dependent};
  if (kind == PriorKind::fromData && !ComputeDefaultPriors(filled)) return false;
  if (kind == PriorKind::equal && !ComputeEqualPriors(filled)) return false;
  priorKind[dependent] = kind;
  return true;
}

bool NaiveBayesEngine::SetCustomPriors(std::size_t dependent, std::span<const double> values) {
  double sum = 0;
  for (const double value : values) {
    if (!IsGreaterOrEqual(value, 0.0) || !IsLessOrEqual(value, 1.0))
      return RefuseText("Les probas a priori doivent être comprises entre 0 et 1,0");
    sum += value;
  }
  const std::size_t filled[] = {dependent};
  return FillPriors(filled, [&](std::size_t d, std::size_t c) {
    if (IsEqual(sum, 1.0)) return values[c];
    return IsEqual(sum, 0.0) ? 1.0 / static_cast<double>(Classes(d)) : values[c] / sum;
  });
}

void NaiveBayesEngine::SetThreshold(double value) {
  threshold = value;
  data_.classStatistics().ReplaceZeroPairCounts(static_cast<std::int32_t>(value));
  model_.Release();
}

// --- Prediction ----------------------------------------------------------------------------------

void NaiveBayesEngine::ResetNaiveBayesEngine() {
  trainingConfusion.clear();
  testConfusion.clear();
  overallConfusion.clear();
  caseInputs.Release();
  caseDependents.Release();
  predictedCode.Release();
  misclassified.Release();
  posterior.clear();
  priors.clear();
  model_.Release();
  block_ = {};
}

void NaiveBayesEngine::PrepareModel() {
  if (!model_.empty()) return;
  std::vector<Distribution> perInput;
  perInput.reserve(data_.roles().predictors.size());
  for (std::size_t k = 0; k < data_.roles().predictors.size(); ++k)
    perInput.push_back(DistributionOf(k));
  std::vector<double> perRow;
  for (const auto& own : priors) perRow.insert(perRow.end(), own.begin(), own.end());
  try {
    model_.Build(data_, perInput, perRow, threshold);
  } catch (...) {
    model_.Release();
    throw;
  }
}

void NaiveBayesEngine::AllocateOutputs() {
  predictedCode.Assign(dependents(), kMissingOutput);
  misclassified.Assign(dependents(), kMissingOutput);
  posterior.resize(dependents());
  for (std::size_t d = 0; d < dependents(); ++d) posterior[d].Assign(Classes(d), kMissingOutput);
}

bool NaiveBayesEngine::LoadNaiveBayesCase(Sample sample, std::int32_t indexInSample,
                                          bool withLabel) {
  caseInputs.Resize(data_.roles().predictors.size());
  caseDependents.Resize(dependents());
  if (!data_.ReadStoredCase(sample, indexInSample, caseInputs, caseDependents)) return false;
  if (withLabel) {
    const std::int32_t number = data_.CaseNumberOf(sample, indexInSample);
    const std::string label = Host().file->getlab(number);
    caseLabel = Trim(label);
    if (caseLabel.empty()) caseLabel = std::to_string(number);
  }
  return true;
}

void NaiveBayesEngine::ComputePosterior(std::span<const double> inputs,
                                        std::span<const double> observed) {
  PrepareModel();
  AllocateOutputs();
  if (single_ == nullptr) single_ = std::make_unique<WorkerTeam>(1);
  model_.Classify(inputs.data(), 1, true, *single_, block_);
  numericFault_ = block_.numericFault;
  TakeOutputs(0, observed);
}

void NaiveBayesEngine::TakeOutputs(std::size_t row, std::span<const double> observed) {
  const double* found = block_.posteriors.data() + row * data_.classStatistics().classRows();
  for (std::size_t d = 0; d < dependents(); ++d) {
    std::copy_n(found, posterior[d].size(), posterior[d].begin());
    found += posterior[d].size();
    const std::int32_t chosen = block_.predictedClass[row * dependents() + d];
    predictedCode[d] = misclassified[d] = kMissingOutput;
    if (chosen < 0) continue;
    const CategoryTable& categories = data_.dependentCategories(d);
    predictedCode[d] =
        static_cast<double>(categories.classes()[static_cast<std::size_t>(chosen)].code);
    const int variable = data_.roles().categoricalDependents[d];
    if (observed.empty() || IsEqual(observed[d], data_.MissingDataCode(variable))) continue;
    misclassified[d] = categories.ClassIndex(TruncateToCode(observed[d])) == chosen ? 0.0 : 1.0;
  }
}

void NaiveBayesEngine::PredictCases(Subset subset,
                                    const std::function<void(const LoadedCase&)>& visit) {
  PrepareModel();
  AllocateOutputs();
  const std::size_t inputs = data_.roles().predictors.size();
  WorkerTeam team(Host().compute->WorkerThreads());
  numericFault_ = false;
  CaseBlocks cases(data_, subset, model_.RowsTogether());
  while (cases.Next()) {
    if (Host().progress->pcancel() != 0) throw Cancelled();
    model_.Classify(cases.predictors(), cases.rows(), true, team, block_);
    numericFault_ = numericFault_ || block_.numericFault;
    for (std::size_t row = 0; row < cases.rows(); ++row) {
      const LoadedCase loaded{cases.caseNumbers()[row],
                              {cases.predictors() + row * inputs, inputs},
                              {cases.dependents() + row * dependents(), dependents()}};
      TakeOutputs(row, loaded.observed);
      visit(loaded);
    }
  }
}

double NaiveBayesEngine::LogDensity(double mean, double variance, double x,
                                    Distribution distribution) {
  const DistributionParameters p = ParametersOf(mean, variance, distribution);
  switch (distribution) {
    case Distribution::normal:
      return LogNormalHeight(p.std) - (x - p.mean) * (x - p.mean) * (1.0 / (2.0 * p.std));
    case Distribution::lognormal:
      return LogLognormal(x, p.scale, p.shape);
    case Distribution::gamma:
      return LogGamma(x / p.scale, p.shape);
    case Distribution::poisson:
      return LogPoisson(x, p.lambda);
    case Distribution::discrete:
      break;
  }
  return 0.0;
}

bool NaiveBayesEngine::LogDiscreteFrequency(std::size_t k, std::size_t d, std::size_t c, double x,
                                            double& term) {
  PrepareModel();
  return model_.Term(data_.classStatistics().ClassRow(d, c), k, x, term);
}

// --- Statistics ----------------------------------------------------------------------------------

bool NaiveBayesEngine::ComputeNaiveBayesStatistics() {
  const auto release = [this] {
    trainingConfusion.clear();
    testConfusion.clear();
    overallConfusion.clear();
  };
  release();
  try {
    trainingConfusion = EmptyCounts();
    if (data_.sampling.apply) {
      testConfusion = EmptyCounts();
      overallConfusion = EmptyCounts();
    }
    AllocateOutputs();
    PrepareModel();
    numericFault_ = false;
    WorkerTeam team(Host().compute->WorkerThreads());
    // Counts do not depend on the order of the cases: stored samples are counted where they lie.
    if (data_.storeValues) {
      CountCases(Subset::training, team);
      if (data_.sampling.apply) CountCases(Subset::test, team);
    } else {
      CountCases(data_.sampling.apply ? Subset::both : Subset::training, team);
    }
    for (std::size_t d = 0; d < overallConfusion.size(); ++d) {
      overallConfusion[d].Add(trainingConfusion[d]);
      overallConfusion[d].Add(testConfusion[d]);
    }
    return true;
  } catch (const Cancelled&) {
    release();
    return false;
  } catch (const std::bad_alloc&) {
    release();
    return Refuse(104);
  }
}

std::vector<ConfusionCounts> NaiveBayesEngine::EmptyCounts() const {
  std::vector<ConfusionCounts> counts(dependents());
  for (std::size_t d = 0; d < counts.size(); ++d) counts[d].Start(Classes(d));
  return counts;
}

void NaiveBayesEngine::CountRows(const CaseBlocks& cases, std::size_t d, std::size_t first,
                                 std::size_t last, const CodeLookup& lookup,
                                 SampleCounts& share) const {
  const std::size_t m = dependents();
  const std::int32_t* numbers = cases.caseNumbers().data();
  const std::int32_t* predicted = block_.predictedClass.data() + d;
  const double* observed = cases.dependents() + d;
  for (std::size_t row = first; row < last; ++row) {
    const std::size_t sample = data_.Flag(numbers[row]) == kTraining ? 0 : 1;
    share[sample][d].Add(predicted[row * m], lookup.ClassOf(observed[row * m]),
                         data_.Weight(numbers[row]));
  }
}

void NaiveBayesEngine::CountCases(Subset subset, WorkerTeam& team) {
  std::vector<CodeLookup> lookups;
  lookups.reserve(dependents());
  for (std::size_t d = 0; d < dependents(); ++d) lookups.emplace_back(data_.dependentCategories(d));
  // Of every thread and sample, per dependent. Whole numbers have the same sum in any order.
  std::vector<SampleCounts> shares(team.size());
  for (auto& share : shares) {
    if (subset != Subset::test) share[0] = EmptyCounts();
    if (subset != Subset::training) share[1] = EmptyCounts();
  }
  CaseBlocks cases(data_, subset, model_.RowsTogether());
  while (cases.Next()) {
    if (Host().progress->pcancel() != 0) throw Cancelled();
    model_.Classify(cases.predictors(), cases.rows(), false, team, block_,
                    [&](std::size_t part, std::size_t first, std::size_t last) {
                      for (std::size_t d = 0; d < dependents(); ++d)
                        CountRows(cases, d, first, last, lookups[d], shares[part]);
                    });
    numericFault_ = numericFault_ || block_.numericFault;
  }
  for (const auto& share : shares) {
    for (std::size_t d = 0; d < share[0].size(); ++d) trainingConfusion[d].Add(share[0][d]);
    for (std::size_t d = 0; d < share[1].size(); ++d) testConfusion[d].Add(share[1][d]);
  }
}

}  // namespace qrvml
