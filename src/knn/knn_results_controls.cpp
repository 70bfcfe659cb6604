// The control table of the neighbours' results dialog.

#include <vector>

#include "dialogs/specification_rows.h"
#include "knn/knn_options_rows.h"
#include "knn/knn_results_dialog.h"
#include "results/results_rows.h"

namespace qrvml {
namespace {

using Dialog = KNNResultsDialog;

constexpr knn::OptionsNames kOptions = {
    .neighbours = "Options.KNearestNeighbors",
    .metrics = {"Options.Euclidean", "Options.SquaredEuclidean", "Options.CityBlock",
                "Options.Chebychev"},
    .standardize = "Options.StandardizeDistances",
    .weighted = "Options.UseWeightedAverage",
    .note = "Options.Note",
    .automated = false,
};

constexpr auto crossValidated =
    When<Dialog>([](const Dialog& d) { return d.HasCrossValidation(); });

double Prototypes(const CAnalysisDialog& dialog) {
  return static_cast<const Dialog&>(dialog).data().StoredRows(Sample::training);
}

std::vector<Control> MakeTable() {
  using namespace rows;
  return ResultsTable({
      .subsetLabels = knn::kResultsProfile.subsetLabels,
      .summary = DocumentButton<Dialog>("Summary", "&Synthèse", {}, 50429,
                                        [](Dialog& d) { return d.ShowModelSummary(); }),
      .model = DocumentButton<Dialog>("Model", "&Modèle", kBaseTab, 50430,
                                      [](Dialog& d) { return d.ShowPrototypes(); }),
      .statistics =
          DocumentButton<Dialog>("DescriptiveStat", "Statistiques &descriptives", kBaseTab, 50431,
                                 [](Dialog& d) { return d.ShowStatistics(); }),
      .crossValidation = DocumentButton<Dialog>(
          "CrossVPlot", kCrossValidationLabel, kBaseTab, 50432,
          [](Dialog& d) { return d.ShowCrossValidation(); }, crossValidated),
      .plotDependent = SelectOutputForPlotting(),
      .beforeTypedCases = {},
      .afterTypedCases = {},
      .last = knn::OptionsRows<Dialog>(kOptions, nullptr, Prototypes),
  });
}

}  // namespace

std::span<const Control> KNNResultsDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
