#include "score/naive_bayes_model.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr double kImpossible = -std::numeric_limits<double>::infinity();

bool IsPositiveNumber(double x) { return x > 0 && std::isfinite(x); }

}  // namespace

void NaiveBayesModel::Prepare() {
  cases_ = std::accumulate(classCounts.begin(), classCounts.end(), 0.0);
  leastVariance_.clear();
  for (const ContinuousInput& input : continuous) {
    // The variance of all cases, from those of the classes.
    double mean = 0, variance = 0;
    for (std::size_t c = 0; c < classCounts.size(); ++c)
      mean += classCounts[c] / cases_ * input.mean[c];
    for (std::size_t c = 0; c < classCounts.size(); ++c)
      variance += classCounts[c] / cases_ *
                  (input.variance[c] + (input.mean[c] - mean) * (input.mean[c] - mean));
    constexpr double kSmall = 1e-9;
    leastVariance_.push_back(IsPositiveNumber(variance * kSmall) ? variance * kSmall : 1.0);
  }
}

double NaiveBayesModel::DensityTerm(std::size_t k, std::size_t c, double x) const {
  const ContinuousInput& input = continuous[k];
  const double mean = input.mean[c], variance = input.variance[c];
  const auto isShape = [](const DistributionParameters& own) {
    return IsPositiveNumber(own.scale) && IsPositiveNumber(own.shape);
  };
  DistributionParameters p = ParametersOf(mean, variance, input.distribution);
  if (input.distribution == Distribution::lognormal && !isShape(p)) {
    constexpr double kShareOfMean = 1e-6;
    const double least = std::max(std::sqrt(leastVariance_[k]), std::fabs(mean) * kShareOfMean);
    p = ParametersOf(mean, least, input.distribution);
  }
  const bool hasShape = isShape(p);
  if (input.distribution == Distribution::poisson) return LogPoisson(x, p.lambda);
  if (input.distribution == Distribution::lognormal && hasShape)
    return LogLognormal(x, p.scale, p.shape);
  if (input.distribution == Distribution::gamma && hasShape) return LogGamma(x / p.scale, p.shape);
  const double used = std::isfinite(1.0 / (2.0 * variance)) ? variance : leastVariance_[k];
  return LogNormalHeight(used) - (x - mean) * (x - mean) / (2.0 * used);
}

double NaiveBayesModel::FrequencyTerm(std::size_t m, std::size_t c, std::size_t v) const {
  const double count = categorical[m][v][c];
  return PortableLog(count != 0 ? count / cases_ : threshold);
}

bool NaiveBayesModel::Predict(std::span<const double> values, std::span<double> predictions,
                              std::string& error) {
  const auto& classes = dependents[0].categories;
  std::vector<std::size_t> found;
  for (std::size_t m = 0; m < categorical.size(); ++m) {
    const std::size_t k = continuous.size() + m;
    const DeployedCategory* category = inputs[k].FindCode(values[k]);
    if (category == nullptr) {
      error =
          "the model has no category " + ShortestText(values[k]) + " of \"" + inputs[k].name + '"';
      return false;
    }
    found.push_back(static_cast<std::size_t>(category - inputs[k].categories.data()));
  }
  std::vector<double> logarithms;
  for (std::size_t c = 0; c < classes.size(); ++c) {
    double sum = PortableLog(classCounts[c] / cases_);
    for (std::size_t k = 0; k < continuous.size(); ++k) sum += DensityTerm(k, c, values[k]);
    for (std::size_t m = 0; m < found.size(); ++m) sum += FrequencyTerm(m, c, found[m]);
    logarithms.push_back(std::isnan(sum) ? kImpossible : sum);
  }
  const bool anyPossible = *std::ranges::max_element(logarithms) > kImpossible;
  const auto& ranked = anyPossible ? logarithms : classCounts;
  predictions[0] =
      classes[static_cast<std::size_t>(std::ranges::max_element(ranked) - ranked.begin())].code;
  return true;
}

}  // namespace qrvml
