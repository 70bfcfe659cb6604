#include "score/neighbour_model.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/numerics.h"

namespace qrvml {

double NeighbourModel::Distance(const double* example) const {
  double sum = 0.0;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const double scaled = shift[i] + scale[i] * example[i];
    const double term =
        inputs[i].isCategorical ? (query_[i] == scaled ? 0.0 : 1.0) : std::fabs(query_[i] - scaled);
    if (metric <= 1) {
      sum += term * term;
    } else {
      sum = metric == 2 ? sum + term : std::max(sum, term);
    }
  }
  return metric == 0 ? std::sqrt(sum) : sum;
}

void NeighbourModel::Search() {
  nearest_.clear();
  for (std::size_t e = 0; e < exampleValues.size(); ++e) {
    const double distance = Distance(exampleInputs.data() + e * inputs.size());
    if (!(distance < std::numeric_limits<double>::max())) continue;
    if (nearest_.size() == neighbours) {
      if (!(distance < nearest_.back().distance)) continue;
      nearest_.pop_back();
    }
    nearest_.insert(std::ranges::upper_bound(nearest_, distance, {}, &Neighbour::distance),
                    {distance, e});
  }
  weights_.clear();
  double sum = 0.0;
  for (const Neighbour& neighbour : nearest_) {
    weights_.push_back(weighted ? PortableExp(-neighbour.distance) : 1.0);
    sum += weights_.back();
  }
  if (!weighted || sum == 0.0) return;
  for (double& weight : weights_) weight /= sum;
}

double NeighbourModel::Value() const {
  double sum = 0.0;
  for (std::size_t n = 0; n < nearest_.size(); ++n) {
    const double value = exampleValues[nearest_[n].example];
    sum += weighted ? weights_[n] * value : value;
  }
  return weighted || nearest_.empty() ? sum : sum / static_cast<double>(nearest_.size());
}

double NeighbourModel::Class() const {
  double best = -1.0, chosen = 0.0;
  for (const DeployedCategory& category : dependents[0].categories) {
    double score = 0.0;
    for (std::size_t n = 0; n < nearest_.size(); ++n)
      if (exampleValues[nearest_[n].example] == category.code) score += weights_[n];
    if (!(score > best)) continue;
    best = score;
    chosen = category.code;
  }
  return chosen;
}

bool NeighbourModel::Predict(std::span<const double> values, std::span<double> predictions,
                             std::string&) {
  query_.clear();
  for (std::size_t i = 0; i < inputs.size(); ++i) query_.push_back(shift[i] + scale[i] * values[i]);
  Search();
  predictions[0] = dependents[0].isCategorical ? Class() : Value();
  return true;
}

}  // namespace qrvml
