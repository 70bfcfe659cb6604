// The control rows of the neighbour options (K, distance, standardisation, weighting), which the
// specification dialog and the results dialog both show. D has engine(), data() and
// SetStandardized(bool).
#pragma once

#include <string_view>
#include <vector>

#include "host/control.h"
#include "knn/knn_texts.h"

namespace qrvml::knn {

inline constexpr std::string_view kOptionsTab = "Options";

/// Names of the rows as this dialog calls them, and whether they stand in its automation interface.
struct OptionsNames {
  std::string_view neighbours, metrics[4], standardize, weighted, note;
  bool automated;
};

template <class D, Metric metric>
Control MetricRow(const OptionsNames& names) {
  constexpr const MetricTexts& texts = kMetrics[static_cast<int>(metric)];
  return {.name = names.metrics[static_cast<int>(metric)],
          .kind = ControlKind::radio,
          .label = texts.label,
          .tab = kOptionsTab,
          .row = {.identifier = names.automated ? texts.identifier : 0, .kind = 2, .type = 1},
          .bind = {.number = On<D>::Number([](const D& d) { return d.engine().metric == metric; }),
                   .assign = On<D>::Assign([](D& d, double) {
                     d.engine().metric = metric;
                     return true;
                   })}};
}

/// The seven rows, in interface order, and the note below them. `neighboursEnabled`: rule of the K
/// field.
template <class D>
std::vector<Control> OptionsRows(const OptionsNames& names, Rule neighboursEnabled,
                                 Bound prototypes) {
  const auto identifier = [&](int id) { return names.automated ? id : 0; };
  constexpr auto hasContinuousInput =
      When<D>([](const D& d) { return !d.data().roles().continuousPredictors.empty(); });
  constexpr auto noInputs = When<D>([](const D& d) { return d.data().roles().predictors.empty(); });
  std::vector<Control> table = {
      {.name = names.neighbours,
       .kind = ControlKind::integer,
       .label = kNeighboursLabel,
       .tab = kOptionsTab,
       .range = {1, 999999999, prototypes, "the number of prototypes"},
       .row = {.identifier = identifier(50413), .kind = 2, .type = 1},
       .enabled = neighboursEnabled,
       .bind = {.number = On<D>::Number([](const D& d) { return d.engine().k; })}},
      MetricRow<D, Metric::euclidean>(names),
      MetricRow<D, Metric::squaredEuclidean>(names),
      MetricRow<D, Metric::cityBlock>(names),
      MetricRow<D, Metric::chebychev>(names),
      {.name = names.standardize,
       .kind = ControlKind::check,
       .label = kStandardizeLabel,
       .tab = kOptionsTab,
       .row = {.identifier = identifier(50418), .kind = 2, .type = 1},
       .enabled = noInputs || hasContinuousInput,
       .bind = {.number = On<D>::Number([](const D& d) { return d.data().scaleInputs; }),
                .assign = On<D>::Assign([](D& d, double value) {
                  d.SetStandardized(value != 0);
                  return true;
                })}},
      {.name = names.weighted,
       .kind = ControlKind::check,
       .label = kWeightedLabel,
       .tab = kOptionsTab,
       .row = {.identifier = identifier(50419), .kind = 2, .type = 1},
       .enabled = hasContinuousInput,
       .bind = {.number = On<D>::Number([](const D& d) { return d.engine().weighted; }),
                .assign = On<D>::Assign([](D& d, double value) {
                  d.engine().weighted = value != 0;
                  return true;
                })}},
      {.name = names.note, .kind = ControlKind::note, .label = kOptionsNote, .tab = kOptionsTab},
  };
  return table;
}

}  // namespace qrvml::knn
