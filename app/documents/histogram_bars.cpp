#include "documents/histogram_bars.h"

#include <algorithm>
#include <cmath>

#include "documents/cell_text.h"

namespace qrvml {

HistogramBars BarsOf(const Graph& graph) {
  HistogramBars result;
  result.categories = !graph.edgeLabels.empty();
  for (std::size_t i = 0; i < graph.counts.size() && i + 1 < graph.edges.size(); ++i) {
    if (!std::isfinite(graph.counts[i])) continue;
    HistogramBar bar{graph.edges[i], graph.edges[i + 1], graph.counts[i], {}};
    if (result.categories) {
      const auto label = std::ranges::find(graph.edgeLabels, bar.from, &CellLabel::value);
      const bool named = label != graph.edgeLabels.end();
      if (named) bar.label = Trimmed(label->text);
      if (i == 0 && !named && bar.count == 0) continue;
      if (bar.label.empty()) AppendNumber(bar.label, bar.from);
    }
    result.bars.push_back(std::move(bar));
  }
  return result;
}

}  // namespace qrvml
