// Where the classes of a dependent stand in a model, whose labels are in the order in which they
// first appeared in the training problem.
#pragma once

#include <vector>

#include "data/category_table.h"
#include "svm/svm_types.h"

namespace qrvml {

/// Per class in text order: its position in model.labels; -1: no training case had it.
inline std::vector<int> LabelPositions(const SVMModel& model, const CategoryTable& classes) {
  std::vector<int> positions(classes.classes().size(), -1);
  for (std::size_t k = 0; k < model.labels.size(); ++k) {
    const int position = classes.ClassIndex(model.labels[k]);
    if (position >= 0) positions[static_cast<std::size_t>(position)] = static_cast<int>(k);
  }
  return positions;
}

}  // namespace qrvml
