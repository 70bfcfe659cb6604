// Predictions of a printed naive Bayes model.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "score/bayes_verification.h"

namespace qrvml {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTie = 1e-12;

bool IsPositiveNumber(double x) { return x > 0 && x < kInfinity; }

/// ln(y^n e^-y / Gamma(n + 1)).
PrintedBayes::Term PowerTerm(double n, double y) {
  const double power = n * std::log(y), constant = std::lgamma(n + 1);
  return {power - y - constant, std::fabs(power) + y + std::fabs(constant)};
}

}  // namespace

/// What takes the place of a variance of 0 in a document: a billionth of that of all cases.
double PrintedBayes::LeastVariance(std::size_t d, std::size_t k) const {
  const std::vector<double>& counts = priors[d];
  const double all = std::accumulate(counts.begin(), counts.end(), 0.0);
  double mean = 0, square = 0, within = 0;
  for (std::size_t c = 0; c < counts.size(); ++c) mean += counts[c] * tables[d].mean[c][k] / all;
  for (std::size_t c = 0; c < counts.size(); ++c) {
    const double difference = tables[d].mean[c][k] - mean;
    square += counts[c] * difference * difference / all;
    within += counts[c] * tables[d].variance[c][k] / all;
  }
  const double least = (square + within) * 1e-9;
  return IsPositiveNumber(least) ? least : 1;
}

PrintedBayes::Term PrintedBayes::Share(std::size_t d, std::size_t c, std::size_t m,
                                       double code) const {
  double share = 0;
  const auto found = std::ranges::find(categories[m], code);
  if (found != categories[m].end())
    share = tables[d].pairs[c][m][static_cast<std::size_t>(found - categories[m].begin())];
  if (dialect == CodeDialect::pmml)
    share /= std::accumulate(priors[d].begin(), priors[d].end(), 0.0);
  const double term = std::log(share != 0 ? share : threshold);
  return {term, std::fabs(term)};
}

PrintedBayes::Term PrintedBayes::Density(std::size_t d, std::size_t c, std::size_t k,
                                         double x) const {
  const bool isDocument = dialect == CodeDialect::pmml;
  const double m = tables[d].mean[c][k];
  double s = tables[d].variance[c][k];
  if (distributions[k] == kPoisson) {
    if (!isDocument) return {};
    return m == 0 ? Term{x == 0 ? 0 : -kInfinity, 0} : PowerTerm(x, m);
  }
  if (distributions[k] == kGamma && !isDocument) return {};
  if (isDocument && distributions[k] == kLognormal && !HasBayesParameters(kLognormal, m, s))
    s = std::max(std::sqrt(LeastVariance(d, k)), 1e-6 * std::fabs(m));
  if (distributions[k] == kGamma) {
    const double scale = s * s / m, shape = m * m / (s * s);
    if (IsPositiveNumber(scale) && IsPositiveNumber(shape))
      return PowerTerm(shape - 1, std::max(x / scale, std::numeric_limits<double>::min()));
  }
  if (distributions[k] == kLognormal) {
    const double scale = (m * m) / std::sqrt((s * s) + (m * m));
    const double shape = std::sqrt(std::log(((s * s) + (m * m)) / (m * m)));
    const double z = std::log(x / scale);
    const double term =
        -0.472856811 - std::log(shape) - std::log(x) - z * z / (2 * (shape * shape));
    return {term, std::fabs(term)};
  }
  if (isDocument && !std::isfinite(1 / (2 * tables[d].variance[c][k]))) s = LeastVariance(d, k);
  const double rootTwoPi = dialect == CodeDialect::qvb ? 2.50662827 : 2.5066282746310002;
  const double term = -0.5 * std::log(rootTwoPi * s) - (x - m) * (x - m) / (2 * s);
  return {term, std::fabs(term)};
}

PrintedBayes::Term PrintedBayes::LogLikelihood(std::size_t d, std::size_t c,
                                               std::span<const double> values) const {
  Term sum;
  for (std::size_t k = 0; k < values.size(); ++k) {
    const Term term = k < continuousInputs ? Density(d, c, k, values[k])
                                           : Share(d, c, k - continuousInputs, values[k]);
    sum.value += term.value;
    if (std::isfinite(term.size)) sum.size += term.size;
  }
  return sum;
}

void PrintedBayes::Rank(std::size_t d, std::span<const Term> sums,
                        PrintedPrediction& prediction) const {
  std::vector<double> logarithms;
  double size = 0;
  for (std::size_t c = 0; c < sums.size(); ++c) {
    const double value = sums[c].value + std::log(priors[d][c]);
    logarithms.push_back(std::isnan(value) ? -kInfinity : value);
    size = std::max(size, sums[c].size);
  }
  double top = *std::ranges::max_element(logarithms);
  if (top == -kInfinity) {  // no class can have the case: the largest one
    logarithms = priors[d];
    top = *std::ranges::max_element(logarithms);
  }
  for (std::size_t c = sums.size(); c-- > 0;)
    if (logarithms[c] == top) prediction.value = classes[d][c];
  for (std::size_t c = 0; c < sums.size(); ++c)
    if (logarithms[c] >= top - kTie * (1 + size)) prediction.tied.push_back(classes[d][c]);
}

void PrintedBayes::Multiply(std::size_t d, std::span<const Term> sums,
                            PrintedPrediction& prediction) const {
  std::vector<double> products;
  double norm = 0, size = 0, top = 0;
  for (std::size_t c = 0; c < sums.size(); ++c) {
    products.push_back(priors[d][c] * std::exp(sums[c].value));
    norm += products.back();
    size = std::max(size, sums[c].size);
  }
  prediction.value = classes[d][0];
  for (std::size_t c = 0; c < sums.size(); ++c) {
    if (norm != 0) products[c] /= norm;
    if (!(products[c] > top)) continue;
    top = products[c];
    prediction.value = classes[d][c];
  }
  prediction.isArbitrary = top == 0;
  // Numbers below the smallest normal one have few digits, or are 0 in one of the languages.
  const bool anyClass = norm < 2 * std::numeric_limits<double>::min();
  for (std::size_t c = 0; c < sums.size() && top > 0; ++c)
    if (anyClass || products[c] >= top * (1 - kTie * (1 + size)))
      prediction.tied.push_back(classes[d][c]);
}

void PrintedBayes::Predict(std::span<const double> values,
                           std::span<PrintedPrediction> predictions) const {
  std::vector<Term> sums;
  for (std::size_t d = 0; d < classes.size(); ++d) {
    sums.clear();
    for (std::size_t c = 0; c < classes[d].size(); ++c)
      sums.push_back(LogLikelihood(d, c, values.first(Inputs())));
    predictions[d] = {};
    if (dialect == CodeDialect::pmml) {
      Rank(d, sums, predictions[d]);
    } else {
      Multiply(d, sums, predictions[d]);
    }
    if (predictions[d].tied.size() == 1) predictions[d].tied.clear();
  }
}

}  // namespace qrvml
