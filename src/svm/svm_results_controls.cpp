// The control table of the results dialog of support vector machines.

#include <vector>

#include "dialogs/specification_rows.h"
#include "results/results_rows.h"
#include "svm/svm_results_dialog.h"
#include "svm/svm_results_texts.h"

namespace qrvml {
namespace {

using Dialog = SVMResultsDialog;

std::vector<Control> MakeTable() {
  using namespace rows;
  return ResultsTable({
      .subsetLabels = svm::kResultsProfile.subsetLabels,
      .summary = DocumentButton<Dialog>("Summary", "&Synthèse", {}, 50429,
                                        [](Dialog& d) { return d.ShowModelSummary(); }),
      .model = DocumentButton<Dialog>("Model", "&Modèle", kBaseTab, 50430,
                                      [](Dialog& d) { return d.ShowModelSpecification(); }),
      .statistics =
          DocumentButton<Dialog>("DescriptiveStat", "Statistiques &descriptives", kBaseTab, 50431,
                                 [](Dialog& d) { return d.ShowStatistics(); }),
      .crossValidation = NoCrossVPlot("support vector machines keep no result per point of the "
                                      "grid; the results text has the best one"),
      .plotDependent = NoSelectOutputForPlotting("support vector machines have one dependent "
                                                 "variable, and the plot lists offer its items"),
      .beforeTypedCases = {},
      .afterTypedCases = {DocumentButton<Dialog>("ClassPenalty", "Pé&nalité", Dialog::kPenaltyTab,
                                                 50450,
                                                 [](Dialog& d) { return d.ShowPenalties(); })},
      .last = {Note<Dialog>("Plot.Dependent", kDependentLabel, kPlotTab,
                            [](const Dialog& d) { return d.items().DependentName(0); }),
               Note<Dialog>("Penalties.List", {}, Dialog::kPenaltyTab,
                            [](const Dialog& d) {
                              return d.HasPenalties() ? d.PenaltyLines() : std::string();
                            })},
  });
}

}  // namespace

std::span<const Control> SVMResultsDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
