// Predictions of a printed nearest-neighbour model.

#include <algorithm>
#include <cmath>
#include <limits>

#include "score/neighbour_verification.h"

namespace qrvml {

double PrintedNeighbours::Distance(std::span<const double> query, std::size_t prototype) const {
  double distance = 0;
  for (std::size_t i = 0; i < Inputs(); ++i) {
    const double raw = inputs[prototype * Inputs() + i];
    double difference = query[i] == raw ? 0 : 1;
    if (i < continuousInputs)
      difference = std::fabs(shift[i] + scale[i] * query[i] - (shift[i] + scale[i] * raw));
    if (metric < 2) distance += difference * difference;
    if (metric == 2) distance += difference;
    if (metric == 3) distance = std::max(distance, difference);
  }
  return metric == 0 ? std::sqrt(distance) : distance;
}

void PrintedNeighbours::Classify(std::size_t dependent, std::span<const std::size_t> nearest,
                                 std::span<const double> weights,
                                 PrintedPrediction& prediction) const {
  constexpr double kTie = 1e-12;
  const std::vector<double>& codes = classes[dependent - continuousDependents];
  std::vector<double> votes(codes.size(), 0.0);
  for (std::size_t c = 0; c < codes.size(); ++c)
    for (std::size_t n = 0; n < nearest.size(); ++n)
      if (outputs[nearest[n] * Dependents() + dependent] == codes[c]) votes[c] += weights[n];
  const auto top = std::ranges::max_element(votes);
  prediction.value = codes[static_cast<std::size_t>(top - votes.begin())];
  for (std::size_t c = 0; c < codes.size(); ++c)
    if (votes[c] >= *top * (1 - kTie)) prediction.tied.push_back(codes[c]);
  if (prediction.tied.size() == 1) prediction.tied.clear();
}

void PrintedNeighbours::Predict(std::span<const double> values,
                                std::span<PrintedPrediction> predictions) const {
  std::vector<double> distances;
  distances.reserve(Prototypes());
  for (std::size_t p = 0; p < Prototypes(); ++p) distances.push_back(Distance(values, p));
  std::vector<std::size_t> nearest;
  std::vector<double> weights;
  double sum = 0;
  while (nearest.size() < neighbours) {
    // Of equally near prototypes the first; one that was found is out.
    const auto next = std::ranges::min_element(distances);
    nearest.push_back(static_cast<std::size_t>(next - distances.begin()));
    weights.push_back(weighted ? std::exp(-*next) : 1);
    sum += weights.back();
    *next = std::numeric_limits<double>::infinity();
  }
  if (weighted && sum != 0)
    for (double& weight : weights) weight /= sum;
  for (std::size_t d = 0; d < Dependents(); ++d) {
    predictions[d] = {};
    if (d >= continuousDependents) {
      Classify(d, nearest, weights, predictions[d]);
      continue;
    }
    double& value = predictions[d].value;
    for (std::size_t n = 0; n < nearest.size(); ++n)
      value += weights[n] * outputs[nearest[n] * Dependents() + d];
    if (!weighted) value /= static_cast<double>(neighbours);
  }
}

}  // namespace qrvml
