// The control table of the results dialog of support vector machines.

#include <vector>

#include "dialogs/specification_rows.h"
#include "host/string_table.h"
#include "results/results_rows.h"
#include "svm/svm_results_dialog.h"
#include "svm/svm_results_texts.h"

namespace qrvml {
namespace {

using Dialog = SVMResultsDialog;

template <class Act>
Control TableButton(std::string_view name, std::string_view label, std::string_view tab,
                    int identifier, Act act) {
  return {.name = name,
          .kind = ControlKind::action,
          .label = label,
          .tab = tab,
          .row = {.identifier = identifier, .role = 4, .kind = 1, .type = 1},
          .bind = {.press = On<Dialog>::Press(act)}};
}

template <class Text>
Control Note(std::string_view name, std::string_view label, std::string_view tab, Text text) {
  return {.name = name,
          .kind = ControlKind::note,
          .label = label,
          .tab = tab,
          .bind = {.text = On<Dialog>::Text(text)}};
}

std::vector<Control> MakeTable() {
  const auto& subsets = svm::kResultsProfile.subsetLabels;
  return {
      rows::TrainSubset(subsets[0]),
      rows::TestSubset(subsets[1]),
      rows::Overall(),
      rows::SavePredictionsAndResiduals(),
      TableButton("Summary", "&Synthèse", {}, 50429,
                  [](Dialog& d) { return d.ShowModelSummary(); }),
      TableButton("Model", "&Modèle", rows::kBaseTab, 50430,
                  [](Dialog& d) { return d.ShowModelSpecification(); }),
      TableButton("DescriptiveStat", "Statistiques &descriptives", rows::kBaseTab, 50431,
                  [](Dialog& d) { return d.ShowStatistics(); }),
      rows::NoCrossVPlot("support vector machines keep no result per point of the grid; the "
                         "results text has the best one"),
      rows::IncludeInputs(),
      rows::IncludeOutputs(),
      rows::IncludePredictions(),
      rows::IncludeResiduals(),
      rows::IncludeConfidence(),
      rows::PrintPredictions(),
      rows::Histograms(),
      rows::NoSelectOutputForPlotting("support vector machines have one dependent variable, and "
                                      "the plot lists offer its items"),
      rows::SelectedItemX(),
      rows::SelectedItemsY(),
      rows::SelectedItemZ(),
      rows::PlotHistogramsOfX(),
      rows::Plot2DGraphOfXAndY(),
      rows::Plot3DGraphOfXYZ(),
      rows::IncludeCaseNames(),
      rows::CustomPredictions(),
      rows::PrintCustomPredictions(),
      TableButton("ClassPenalty", "Pé&nalité", Dialog::kPenaltyTab, 50450,
                  [](Dialog& d) { return d.ShowPenalties(); }),
      rows::CodeGenerator(),
      rows::CodeGeneratorCLang(),
      rows::CodeGeneratorQVB(),
      rows::CodeGeneratorPMML(),
      // Outside the automation interface.
      Note("Plot.Dependent", rows::kDependentLabel, rows::kPlotTab,
           [](const Dialog& d) { return d.items().DependentName(0); }),
      Note("Penalties.List", {}, Dialog::kPenaltyTab,
           [](const Dialog& d) { return d.HasPenalties() ? d.PenaltyLines() : std::string(); }),
  };
}

}  // namespace

std::span<const Control> SVMResultsDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
