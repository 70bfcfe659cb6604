// Cells of a table's chunk from numbers.
#pragma once

#include <algorithm>
#include <initializer_list>

#include "datafile/cell_store.h"

namespace qrvml {

/// Variable after variable.
inline CellBlock BlockOf(std::initializer_list<double> cells) {
  CellStore store;
  CellBlock block = store.Take(cells.size());
  std::ranges::copy(cells, block.Cells());
  return block;
}

}  // namespace qrvml
