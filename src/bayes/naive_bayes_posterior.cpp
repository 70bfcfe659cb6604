// The posterior class distribution of one input: the other inputs at fixed values, this one varied
// over a range.

#include <algorithm>
#include <utility>

#include "bayes/naive_bayes_results_dialog.h"
#include "host/axis_scaling.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

constexpr std::size_t kPoints = 200;

}  // namespace

double NaiveBayesResultsDialog::InputMinimum() const {
  return data()
      .statistics(data().sampling.apply ? Subset::both : Subset::training)
      .Minimum(posterior.input);
}

double NaiveBayesResultsDialog::InputMaximum() const {
  return data()
      .statistics(data().sampling.apply ? Subset::both : Subset::training)
      .Maximum(posterior.input);
}

double NaiveBayesResultsDialog::LowestOfRange() const {
  switch (engine_.DistributionOf(posterior.input)) {
    case Distribution::lognormal:
      return 1e-6;
    case Distribution::gamma:
      return 0;
    default:
      return -9999;
  }
}

bool NaiveBayesResultsDialog::ReadBound(std::string_view field, std::string_view name,
                                        double& value) {
  if (!ReadField(field, value)) return Refuse(208);
  const Distribution distribution = engine_.DistributionOf(posterior.input);
  if (distribution == Distribution::lognormal && IsLessOrEqual(value, 0.0))
    return RefuseText(std::string(name) + " range must be larger than zero.");
  if ((distribution == Distribution::gamma || distribution == Distribution::poisson) &&
      IsLess(value, 0.0))
    return RefuseText(std::string(name) + " range must be positive.");
  return true;
}

bool NaiveBayesResultsDialog::ReadRange(double& minimum, double& maximum) {
  if (!ReadBound("MinimumRange", "Minimum", minimum) ||
      !ReadBound("MaximumRange", "Maximum", maximum))
    return false;
  return IsGreater(maximum, minimum) ||
         RefuseText("Maximum range must larger than the minimum range.");
}

NaiveBayesResultsDialog::Curves NaiveBayesResultsDialog::Vary(double minimum, double maximum) {
  Curves curves;
  curves.posteriors.resize(data().dependentCategories(posterior.dependent).classes().size());
  const double step = (maximum - minimum) / static_cast<double>(kPoints);
  std::vector<double> inputs = posterior.fixed;
  for (std::size_t point = 0; point < kPoints; ++point) {
    inputs[posterior.input] = minimum + static_cast<double>(point) * step;
    engine_.ComputePosterior(inputs);
    curves.inputs.push_back(inputs[posterior.input]);
    for (std::size_t c = 0; c < curves.posteriors.size(); ++c)
      curves.posteriors[c].push_back(engine_.posterior[posterior.dependent][c]);
  }
  return curves;
}

bool NaiveBayesResultsDialog::ShowPosteriorTable() {
  double minimum = 0, maximum = 0;
  if (!ReadRange(minimum, maximum)) return false;
  Curves curves = Vary(minimum, maximum);
  Spreadsheet table;
  table.title = items().DependentName(posterior.dependent) + " posterior class distributions";
  for (std::size_t point = 1; point <= kPoints; ++point)
    table.rowNames.push_back(std::to_string(point));
  SpreadsheetColumn& varied = table.columns.emplace_back();
  varied.first = items().InputName(posterior.input);
  varied.values = std::move(curves.inputs);
  const auto& classes = data().dependentCategories(posterior.dependent).classes();
  for (std::size_t c = 0; c < classes.size(); ++c) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = classes[c].text;
    column.values = std::move(curves.posteriors[c]);
  }
  return Show(std::move(table));
}

bool NaiveBayesResultsDialog::ShowPosteriorPlot() {
  double minimum = 0, maximum = 0;
  if (!ReadRange(minimum, maximum)) return false;
  Curves curves = Vary(minimum, maximum);
  const std::string dependent = items().DependentName(posterior.dependent);
  const std::string input = items().InputName(posterior.input);
  Graph graph;
  graph.type = GraphType::line;
  graph.title = dependent + " posterior class" + std::string(GetResourceString(322)) + input;
  const AxisScale scale = scling_double_QUA(minimum, maximum, 50, 20);
  graph.axes = {{input, scale.lower, scale.upper, scale.step},
                {"P(" + dependent + '|' + input + ')', 0, 1, 0}};
  const auto& classes = data().dependentCategories(posterior.dependent).classes();
  for (std::size_t c = 0; c < classes.size(); ++c) {
    GraphSeries& series = graph.series.emplace_back();
    series.name = classes[c].text;
    series.x = curves.inputs;
    series.y = std::move(curves.posteriors[c]);
    // A point without a posterior is no point.
    std::ranges::replace(series.y, kMissingOutput, kEmptyCell);
  }
  return Show(std::move(graph));
}

}  // namespace qrvml
