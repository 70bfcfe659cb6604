// The bars of a histogram, as every renderer shows them.
#pragma once

#include <string>
#include <vector>

#include "host/documents.h"

namespace qrvml {

struct HistogramBar {
  double from, to;  // edges of the bin
  double count;
  std::string label;  // category: its label, else its code; otherwise empty
};

struct HistogramBars {
  std::vector<HistogramBar> bars;  // without those whose count is no finite number
  bool categories = false;         // the graph labels its edges
};

/// Bins of categories are named by their lower edge, which is the category's code; a first bin that
/// is empty and has no label is no category and left out.
HistogramBars BarsOf(const Graph& graph);

}  // namespace qrvml
