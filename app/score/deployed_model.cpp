#include "score/deployed_model.h"

#include <algorithm>

namespace qrvml {
namespace {

const DeployedCategory* Found(const std::vector<DeployedCategory>& categories,
                              std::vector<DeployedCategory>::const_iterator place) {
  return place == categories.end() ? nullptr : &*place;
}

}  // namespace

const DeployedCategory* DeployedField::FindCode(double code) const {
  return Found(categories, std::ranges::find(categories, code, &DeployedCategory::code));
}

const DeployedCategory* DeployedField::FindText(std::string_view text) const {
  return Found(categories, std::ranges::find(categories, text, &DeployedCategory::text));
}

std::size_t DeployedModel::PredictBatch(std::span<const double> values,
                                        std::span<double> predictions, std::string& error) {
  const std::size_t cases = values.size() / inputs.size();
  for (std::size_t c = 0; c < cases; ++c) {
    if (!Predict(values.subspan(c * inputs.size(), inputs.size()),
                 predictions.subspan(c * dependents.size(), dependents.size()), error))
      return c;
  }
  return cases;
}

}  // namespace qrvml
