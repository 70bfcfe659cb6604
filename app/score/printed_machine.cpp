#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "score/machine_verification.h"

namespace qrvml {
namespace {

/// Of a sum, in parts of the sum of its terms' sizes.
constexpr double kRounding = 1e-13;

}  // namespace

std::size_t PrintedMachine::Columns() const {
  return std::accumulate(categories.begin(), categories.end(), continuousInputs,
                         [](std::size_t sum, const auto& codes) { return sum + codes.size(); });
}

std::vector<double> PrintedMachine::Coded(std::span<const double> values) const {
  std::vector<double> coded;
  coded.reserve(Columns());
  for (std::size_t i = 0; i < continuousInputs; ++i)
    coded.push_back(shift[i] + scale[i] * values[i]);
  for (std::size_t m = 0; m < categories.size(); ++m)
    for (const double code : categories[m])
      coded.push_back(values[continuousInputs + m] == code ? 1 : 0);
  return coded;
}

std::vector<PrintedMachine::Sum> PrintedMachine::Kernels(std::span<const double> values) const {
  const std::vector<double> x = Coded(values);
  std::vector<Sum> kernels;
  for (std::size_t at = 0; at < own.vectors.size(); at += x.size()) {
    double sum = 0, size = 0;
    for (std::size_t c = 0; c < x.size(); ++c) {
      const double z = own.vectors[at + c];
      const double term = own.kernel == 2 ? (x[c] - z) * (x[c] - z) : x[c] * z;
      sum += term;
      size += std::fabs(term);
    }
    const double inner = own.gamma * sum + own.coef0;
    const double off = own.gamma * size + std::fabs(own.coef0);  // times the rounding
    switch (own.kernel) {
      case 0:
        kernels.push_back({sum, size * kRounding});
        break;
      case 1: {
        const double value = std::pow(inner, own.degree);
        const double slope = own.degree * std::pow(std::fabs(inner), own.degree - 1);
        kernels.push_back({value, (std::fabs(slope) * off + std::fabs(value)) * kRounding});
        break;
      }
      case 2: {
        const double value = std::exp(-own.gamma * sum);
        kernels.push_back({value, value * (1 + own.gamma * sum) * kRounding});
        break;
      }
      default:
        kernels.push_back({std::tanh(inner), (1 + off) * kRounding});
    }
  }
  return kernels;
}

PrintedMachine::Sum PrintedMachine::Decision(std::span<const Sum> kernels, std::size_t i,
                                             std::size_t j, std::size_t pair) const {
  const std::size_t rows = own.Rows();
  Sum sum;
  std::size_t first = 0;
  for (std::size_t k = 0; k <= j; ++k) {
    const std::size_t end = first + static_cast<std::size_t>(own.counts[k]);
    if (k == i || k == j) {
      for (std::size_t s = first; s < end; ++s) {
        const double coefficient = own.coefficients[s * rows + (k == i ? j - 1 : i)];
        sum.value += coefficient * kernels[s].value;
        sum.rounding += std::fabs(coefficient) *
                        (std::fabs(kernels[s].value) * kRounding + kernels[s].rounding);
      }
    }
    first = end;
  }
  sum.value -= own.constants[pair];
  sum.rounding += std::fabs(own.constants[pair]) * kRounding;
  return sum;
}

void PrintedMachine::Vote(std::span<const Sum> kernels, PrintedPrediction& prediction) const {
  const std::size_t labels = own.labels.size();
  std::vector<int> votes(labels, 0);
  struct Pair {
    std::size_t won, lost;
  };
  std::vector<Pair> open;  // that rounding decides
  for (std::size_t i = 0, pair = 0; i < labels; ++i) {
    for (std::size_t j = i + 1; j < labels; ++j, ++pair) {
      const Sum sum = Decision(kernels, i, j, pair);
      const bool isFirst = sum.value > 0;
      ++votes[isFirst ? i : j];
      if (std::fabs(sum.value) <= sum.rounding) open.push_back(isFirst ? Pair{i, j} : Pair{j, i});
    }
  }
  const auto winner = [&] {
    return own.labels[static_cast<std::size_t>(std::ranges::max_element(votes) - votes.begin())];
  };
  prediction.value = winner();
  prediction.isArbitrary = std::ranges::count(votes, *std::ranges::max_element(votes)) > 1;
  // Every way in which the open pairs can fall; more of them than that do not occur.
  constexpr std::size_t kMostOpen = 10;
  open.resize(std::min(open.size(), kMostOpen));
  for (unsigned way = 0; way < (1U << open.size()); ++way) {
    for (std::size_t p = 0; p < open.size(); ++p) {
      if ((way >> p & 1U) == 0) continue;
      --votes[open[p].won];
      ++votes[open[p].lost];
    }
    const double other = winner();
    if (std::ranges::find(prediction.tied, other) == prediction.tied.end())
      prediction.tied.push_back(other);
    for (std::size_t p = 0; p < open.size(); ++p) {
      if ((way >> p & 1U) == 0) continue;
      ++votes[open[p].won];
      --votes[open[p].lost];
    }
  }
  if (prediction.tied.size() == 1) prediction.tied.clear();
}

void PrintedMachine::Predict(std::span<const double> values,
                             std::span<PrintedPrediction> predictions) const {
  const std::vector<Sum> kernels = Kernels(values);
  PrintedPrediction& prediction = predictions[0];
  prediction = {};
  if (own.Classifies()) return Vote(kernels, prediction);
  double sum = 0, rounding = 0;
  for (std::size_t s = 0; s < kernels.size(); ++s) {
    sum += own.coefficients[s] * kernels[s].value;
    rounding += std::fabs(own.coefficients[s]) *
                (std::fabs(kernels[s].value) * kRounding + kernels[s].rounding);
  }
  prediction.value = (sum - own.constants[0] - outputShift) / outputScale;
  prediction.rounding =
      (rounding + (std::fabs(own.constants[0]) + std::fabs(outputShift)) * kRounding) /
      std::fabs(outputScale);
}

}  // namespace qrvml
