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

template <class Act>
Control TableButton(std::string_view name, std::string_view label, std::string_view tab,
                    int identifier, Act act, Rule enabled = nullptr) {
  return {.name = name,
          .kind = ControlKind::action,
          .label = label,
          .tab = tab,
          .row = {.identifier = identifier, .role = 4, .kind = 1, .type = 1},
          .enabled = enabled,
          .bind = {.press = On<Dialog>::Press(act)}};
}

std::vector<Control> MakeTable() {
  const auto& subsets = knn::kResultsProfile.subsetLabels;
  std::vector<Control> table = {
      rows::TrainSubset(subsets[0]),
      rows::TestSubset(subsets[1]),
      rows::Overall(),
      rows::SavePredictionsAndResiduals(),
      TableButton("Summary", "&Synthèse", {}, 50429,
                  [](Dialog& d) { return d.ShowModelSummary(); }),
      TableButton("Model", "&Modèle", rows::kBaseTab, 50430,
                  [](Dialog& d) { return d.ShowPrototypes(); }),
      TableButton("DescriptiveStat", "Statistiques &descriptives", rows::kBaseTab, 50431,
                  [](Dialog& d) { return d.ShowStatistics(); }),
      TableButton(
          "CrossVPlot", rows::kCrossValidationLabel, rows::kBaseTab, 50432,
          [](Dialog& d) { return d.ShowCrossValidation(); }, crossValidated),
      rows::IncludeInputs(),
      rows::IncludeOutputs(),
      rows::IncludePredictions(),
      rows::IncludeResiduals(),
      rows::IncludeConfidence(),
      rows::PrintPredictions(),
      rows::Histograms(),
      rows::SelectOutputForPlotting(),
      rows::SelectedItemX(),
      rows::SelectedItemsY(),
      rows::SelectedItemZ(),
      rows::PlotHistogramsOfX(),
      rows::Plot2DGraphOfXAndY(),
      rows::Plot3DGraphOfXYZ(),
      rows::IncludeCaseNames(),
      rows::CustomPredictions(),
      rows::PrintCustomPredictions(),
      rows::CodeGenerator(),
      rows::CodeGeneratorCLang(),
      rows::CodeGeneratorQVB(),
      rows::CodeGeneratorPMML(),
  };
  const auto options = knn::OptionsRows<Dialog>(kOptions, nullptr, Prototypes);
  table.insert(table.end(), options.begin(), options.end());
  return table;
}

}  // namespace

std::span<const Control> KNNResultsDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
