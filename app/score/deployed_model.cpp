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

}  // namespace qrvml
