// The graphs of the results dialog: histograms, scatterplots, response surfaces.

#include <algorithm>
#include <limits>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/axis_scaling.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "results/results_dialog.h"

namespace qrvml {
namespace {

constexpr double kNoPoint = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kWidestPadding = 40;

std::size_t Characters(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// The bin of a value among ascending edges; -1 outside.
int BinOf(double value, const std::vector<double>& edges, HistogramEdges policy) {
  const auto bins = static_cast<int>(edges.size()) - 1;
  if (policy == HistogramEdges::clamped) value = std::clamp(value, edges.front(), edges.back());
  if (!(value >= edges.front()) || value > edges.back()) return -1;
  const auto above = std::ranges::upper_bound(edges, value);
  return std::min(static_cast<int>(above - edges.begin()) - 1, bins - 1);
}

}  // namespace

ResultsDialog::Points ResultsDialog::CollectPoints(std::span<const ResultItem> wanted) {
  Points points;
  points.values.resize(wanted.size());
  const std::size_t continuous = items_.continuousDependents();
  const bool predict = std::ranges::any_of(wanted, &ResultItem::NeedsPrediction);
  VisitRows(profile_.graphRows, predict, [&](const CaseResult& result) {
    points.cases.push_back(result.caseNumber);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      const double value = ValueOf(wanted[i], result, continuous);
      const bool isMissing = (wanted[i].NeedsPrediction() && !result.isPredicted) ||
                             items_.IsMissing(wanted[i], value);
      points.values[i].push_back(isMissing ? kNoPoint : value);
    }
  });
  return points;
}

ValueRange ResultsDialog::RangeOf(const ResultItem& item, const std::vector<double>& values) const {
  const auto slotRange = [&](std::size_t slot) {
    const CaseStatistics& statistics = data_.statistics(subset);
    ValueRange range;
    range.minimum = statistics.Minimum(slot);
    range.maximum = statistics.Maximum(slot);
    return range;
  };
  const bool isContinuous = item.index < items_.continuousDependents();
  switch (item.kind) {
    case ItemKind::input:
      return slotRange(item.index);
    case ItemKind::observed:
      return slotRange(items_.inputs() + item.index);
    case ItemKind::predicted:
      if (isContinuous) return cases_->Ranges(item.index, subset).predicted;
      return slotRange(items_.inputs() + item.index);
    case ItemKind::residual:
      return cases_->Ranges(item.index, subset).residual;
    case ItemKind::absoluteResidual:
      return cases_->Ranges(item.index, subset).absoluteResidual;
    case ItemKind::squaredResidual:
      return cases_->Ranges(item.index, subset).squaredResidual;
    case ItemKind::accuracy:
    case ItemKind::confidence:
      return {0.0, 1.0};
    case ItemKind::spread:
      break;
  }
  ValueRange range;
  for (const double value : values) range.Include(value);
  return range;
}

GraphAxis ResultsDialog::AxisOf(const ResultItem& item, const std::vector<double>& values) const {
  const ValueRange range = RangeOf(item, values);
  const AxisScale scale = scling_double_QUA(range.minimum, range.maximum, 50, 20);
  return {items_.AxisText(item), scale.lower, scale.upper, scale.step};
}

Graph ResultsDialog::MakeHistogram(const ResultItem& item, const std::vector<double>& values,
                                   std::string_view titleEnd) const {
  Graph graph;
  graph.type = GraphType::histogram;
  graph.title =
      std::string(GetResourceString(160)) + ' ' + items_.AxisText(item) + std::string(titleEnd);
  if (items_.IsCategorical(item)) {
    graph.edges = items_.Codes(item);
    graph.edgeLabels = items_.Labels(item);
    if (!graph.edges.empty()) {
      graph.edges.insert(graph.edges.begin(), graph.edges.front() - 1);
      graph.edges.push_back(graph.edges.back() + 1);
    }
  } else {
    const ValueRange range = RangeOf(item, values);
    const AxisScale scale = scling_double_QUA(range.minimum, range.maximum, 50, 20);
    const bool isPoint = IsEqual(scale.lower, scale.upper);
    const int bins = isPoint ? 1 : static_cast<int>((scale.upper - scale.lower) / scale.step);
    const double width = isPoint ? 1.0 : scale.step;
    for (int bin = 0; bin <= bins; ++bin) graph.edges.push_back(scale.lower + bin * width);
  }
  graph.counts.assign(graph.edges.empty() ? 0 : graph.edges.size() - 1, 0.0);
  for (const double value : values) {
    const int bin = graph.edges.empty() ? -1 : BinOf(value, graph.edges, profile_.histogramEdges);
    if (bin >= 0) graph.counts[static_cast<std::size_t>(bin)] += 1;
  }
  const double highest = graph.counts.empty() ? 0.0 : std::ranges::max(graph.counts);
  graph.axes = {{items_.AxisText(item), graph.edges.empty() ? 0.0 : graph.edges.front(),
                 graph.edges.empty() ? 0.0 : graph.edges.back(), 0},
                {"Nbre d'observations", 0, highest, 0}};
  return graph;
}

bool ResultsDialog::ShowHistograms() {
  if (!IsReady()) return false;
  const std::vector<ResultItem> columns = TableColumns();
  Points points = CollectPoints(columns);
  const std::string titleEnd = ' ' + std::string(GraphSubset());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!Show(MakeHistogram(columns[i], points.values[i], titleEnd))) return false;
  }
  return true;
}

bool ResultsDialog::ShowHistogramOfX() {
  if (!IsReady()) return false;
  const ResultItem item = PlotItems()[static_cast<std::size_t>(plot.x)];
  const Points points = CollectPoints({&item, 1});
  return Show(MakeHistogram(item, points.values[0], {}));
}

bool ResultsDialog::ShowScatter() {
  if (!IsReady()) return false;
  const std::vector<ResultItem> offered = PlotItems();
  std::vector<ResultItem> wanted = {offered[static_cast<std::size_t>(plot.x)]};
  for (const int y : plot.y) wanted.push_back(offered[static_cast<std::size_t>(y)]);
  Points points = CollectPoints(wanted);

  Graph graph;
  graph.type = GraphType::scatter;
  const std::string fileText = ' ' + FileText();
  const bool single = plot.y.size() == 1;
  graph.axes = {AxisOf(wanted[0], points.values[0]), AxisOf(wanted[1], points.values[1])};
  if (single) {
    graph.fit = true;
    graph.title = items_.AxisText(wanted[0]) + ' ' + std::string(GetResourceString(322)) + ' ' +
                  items_.AxisText(wanted[1]) + std::string(GraphSubset()) + fileText;
  } else {
    graph.title = std::string(GetResourceString(342)) + fileText;
    for (std::size_t i = 2; i < wanted.size(); ++i) {
      const GraphAxis other = AxisOf(wanted[i], points.values[i]);
      graph.axes[1].minimum = std::min(graph.axes[1].minimum, other.minimum);
      graph.axes[1].maximum = std::max(graph.axes[1].maximum, other.maximum);
    }
    graph.axes[1].title = " ";
    graph.axes[1].step = 0;
  }
  std::size_t longest = 0;
  for (std::size_t i = 1; i < wanted.size(); ++i)
    longest = std::max(longest, Characters(items_.AxisText(wanted[i])));
  for (std::size_t i = 1; i < wanted.size(); ++i) {
    GraphSeries& series = graph.series.emplace_back();
    if (!single) {
      series.name = items_.AxisText(wanted[i]);
      const std::size_t width = std::min(longest, kWidestPadding);
      const std::size_t length = Characters(series.name);
      if (length < width) series.name.append(width - length, ' ');
    }
    series.x = points.values[0];
    series.y = std::move(points.values[i]);
    if (includeCaseNames) series.cases = points.cases;
  }
  return Show(std::move(graph));
}

bool ResultsDialog::ShowSurfaces() {
  if (!IsReady()) return false;
  const std::vector<ResultItem> offered = PlotItems();
  std::vector<ResultItem> wanted = {offered[static_cast<std::size_t>(plot.x)],
                                    offered[static_cast<std::size_t>(plot.z)]};
  for (const int y : plot.y) wanted.push_back(offered[static_cast<std::size_t>(y)]);
  Points points = CollectPoints(wanted);
  for (std::size_t i = 2; i < wanted.size(); ++i) {
    Graph graph;
    graph.type = GraphType::surface;
    graph.title = std::string(GetResourceString(343)) + ' ' + FileText();
    graph.axes = {AxisOf(wanted[0], points.values[0]), AxisOf(wanted[1], points.values[1]),
                  AxisOf(wanted[i], points.values[i])};
    GraphSeries& series = graph.series.emplace_back();
    series.x = points.values[0];
    series.y = points.values[1];
    series.z = std::move(points.values[i]);
    if (includeCaseNames) series.cases = points.cases;
    if (!Show(std::move(graph))) return false;
  }
  return true;
}

}  // namespace qrvml
