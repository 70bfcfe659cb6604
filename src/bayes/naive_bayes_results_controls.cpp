// The control table of the results dialog of naive Bayes.

#include <vector>

#include "bayes/naive_bayes_results_dialog.h"
#include "bayes/naive_bayes_texts.h"
#include "dialogs/specification_rows.h"
#include "host/list_text.h"
#include "results/results_rows.h"

namespace qrvml {
namespace {

using Dialog = NaiveBayesResultsDialog;
using Of = On<Dialog>;

constexpr std::string_view kPriorTab = "Probas a priori";
constexpr std::string_view kPosteriorTab = "Distrib. a posteriori";

constexpr auto never = When<Dialog>([](const Dialog&) { return false; });
constexpr auto hasCategoricalInputs =
    When<Dialog>([](const Dialog& d) { return !d.data().roles().categoricalPredictors.empty(); });
constexpr auto hasDependents =
    When<Dialog>([](const Dialog& d) { return d.items().dependents() > 1; });
constexpr auto hasContinuousInputs =
    When<Dialog>([](const Dialog& d) { return d.data().roles().continuousPredictors.size() > 1; });
constexpr auto hasInputs = When<Dialog>([](const Dialog& d) { return d.items().inputs() > 1; });
constexpr auto hasColumns = When<Dialog>([](const Dialog& d) { return d.HasColumns(); });
constexpr auto variesContinuous =
    When<Dialog>([](const Dialog& d) { return d.VariesContinuousInput(); });
constexpr auto hasCustomPriors = When<Dialog>(
    [](const Dialog& d) { return d.engine().priorKind[d.priorDependent] == PriorKind::custom; });

/// A button that the automation interface lacks.
template <class Act>
Control Button(std::string_view name, std::string_view label, std::string_view tab, Act act,
               Rule enabled = nullptr) {
  return {.name = name,
          .kind = ControlKind::button,
          .label = label,
          .tab = tab,
          .enabled = enabled,
          .bind = {.press = Of::Press(act)}};
}

template <PriorKind kind>
Control PriorRadio(std::string_view name, std::string_view label, int identifier) {
  return {.name = name,
          .kind = ControlKind::radio,
          .label = label,
          .tab = kPriorTab,
          .row = {.identifier = identifier, .kind = 2, .type = 1},
          .bind = {.number = Of::Number([](const Dialog& d) {
                     return d.engine().priorKind[d.priorDependent] == kind;
                   }),
                   .assign = Of::Assign([](Dialog& d, double) { return d.SetPriorKind(kind); })}};
}

template <class Shown, class Taken, class Offered>
Control ListChoice(std::string_view name, std::string_view label, std::string_view tab,
                   int identifier, Rule enabled, Shown shown, Taken taken, Offered) {
  return {.name = name,
          .kind = ControlKind::text,
          .label = label,
          .tab = tab,
          .row = {.identifier = identifier, .kind = 2, .type = 5},
          .enabled = enabled,
          .bind = {.text = Of::Text(shown),
                   .enter = Of::Enter(taken),
                   .offered = [](const CAnalysisDialog& d) {
                     return Offered{}(static_cast<const Dialog&>(d));
                   }}};
}

template <class Value>
Control RangeField(std::string_view name, std::string_view label, int identifier, Value value) {
  return {.name = name,
          .kind = ControlKind::real,
          .label = label,
          .tab = kPosteriorTab,
          .range = {.lowest = -9999,
                    .highest = 9999,
                    .from =
                        [](const CAnalysisDialog& d) {
                          return static_cast<const Dialog&>(d).LowestOfRange();
                        }},
          .decimals = 3,
          .row = {.identifier = identifier, .kind = 2, .type = 2},
          .enabled = variesContinuous,
          .bind = {.number = Of::Number(value)}};
}

std::vector<Control> PriorRows() {
  return {
      ListChoice(
          "SelectedOutputForPriorAssignment", rows::kDependentLabel, kPriorTab, 50427,
          hasDependents,
          [](const Dialog& d) { return MemberText(d.items().DependentName(d.priorDependent)); },
          [](Dialog& d, std::string_view text) { return d.SelectPriorDependent(text); },
          [](const Dialog& d) { return d.OfferedDependents(d.priorDependent); }),
      PriorRadio<PriorKind::fromData>(
          "UseDefaultPrior", "Probabilités a priori par dé&faut (calculées à partir des données)",
          50448),
      PriorRadio<PriorKind::equal>("UseEqualPrior", "&Utiliser des probabilités a priori égales",
                                   50449),
      PriorRadio<PriorKind::custom>("UseCustomPrior",
                                    "Pro&babilités a priori personnalisées :", 50451),
      {.name = "Threshold",
       .kind = ControlKind::real,
       .label = "Seuil a pr&iori :",
       .tab = kPriorTab,
       .range = {0, 1},
       .decimals = 3,
       .row = {.identifier = 50423, .kind = 2, .type = 2},
       .enabled = hasCategoricalInputs,
       .bind = {.number = Of::Number([](const Dialog& d) { return d.engine().threshold; })}},
  };
}

std::vector<Control> PosteriorRows() {
  return {
      ListChoice(
          "OutputForPosteriorPlot", rows::kDependentLabel, kPosteriorTab, 50452, hasDependents,
          [](const Dialog& d) {
            return MemberText(d.items().DependentName(d.posterior.dependent));
          },
          [](Dialog& d, std::string_view text) { return d.SelectPosteriorDependent(text); },
          [](const Dialog& d) { return d.OfferedDependents(d.posterior.dependent); }),
      ListChoice(
          "InputForPosteriorPlot", "Variable &indépendante :", kPosteriorTab, 50453,
          hasContinuousInputs,
          [](const Dialog& d) { return MemberText(d.items().InputName(d.posterior.input)); },
          [](Dialog& d, std::string_view text) { return d.SelectPosteriorInput(text); },
          [](const Dialog& d) { return d.OfferedInputs(); }),
      RangeField("MinimumRange", "Etendue &minimum :", 50454,
                 [](const Dialog& d) { return d.InputMinimum(); }),
      RangeField("MaximumRange", "Etendue ma&ximum :", 50455,
                 [](const Dialog& d) { return d.InputMaximum(); }),
      {.name = "FixedIndependents",
       .kind = ControlKind::pick,
       .label = "Variables indépendantes &fixes",
       .tab = kPosteriorTab,
       .row = {.identifier = 50460, .kind = 2, .type = 5},
       .enabled = hasInputs,
       .bind = {.text = Of::Text([](const Dialog& d) { return d.InputsText(d.posterior.fixed); }),
                .enter = Of::Enter(
                    [](Dialog& d, std::string_view text) { return d.SetFixedInputs(text); }),
                .press = Of::Press([](Dialog& d) { return d.EnterFixedInputs(); }),
                .answer = AnswerMember::values}},
      rows::DocumentButton<Dialog>("PosteriorSpreadsheet", "Formulaire des val. a poste&rirori",
                                   kPosteriorTab, 50461,
                                   [](Dialog& d) { return d.ShowPosteriorTable(); }),
      rows::DocumentButton<Dialog>(
          "PosteriorPlot", "Tracé &a posteriori", kPosteriorTab, 50462,
          [](Dialog& d) { return d.ShowPosteriorPlot(); }, nullptr, 6),
  };
}

std::vector<Control> MakeTable() {
  using namespace rows;
  return ResultsTable({
      .subsetLabels = bayes::kResultsProfile.subsetLabels,
      .summary = DocumentButton<Dialog>("Summary", "Synt&hèse", kBaseTab, 50429,
                                        [](Dialog& d) { return d.ShowModelSummary(); }),
      .model = DocumentButton<Dialog>("Model", "&Modèle", kBaseTab, 50430,
                                      [](Dialog& d) { return d.ShowModelSpecification(); }),
      .statistics =
          DocumentButton<Dialog>("DescriptiveStat", "Statistiques &descriptives", kBaseTab, 50431,
                                 [](Dialog& d) { return d.ShowStatistics(); }),
      .crossValidation = DocumentButton<Dialog>(
          "CrossVPlot", kCrossValidationLabel, kBaseTab, 50432, [](Dialog&) { return false; },
          never),
      .plotDependent = SelectOutputForPlotting(),
      .beforeTypedCases = PriorRows(),
      .afterTypedCases = PosteriorRows(),
      .last = {Button(
                   "Priors.Select", "Sé&lectionner", kPriorTab,
                   [](Dialog& d) { return d.EnterCustomPriors(); }, hasCustomPriors),
               Note<Dialog>("Priors.List", {}, kPriorTab,
                            [](const Dialog& d) { return d.PriorList(); }),
               Button("Priors.DescriptiveStat", "Statistiques descripti&ves", kPriorTab,
                      [](Dialog& d) { return d.ShowStatistics(); }),
               Button(
                   "Priors.PrintPredictions", "P&révisions", kPriorTab,
                   [](Dialog& d) { return d.ShowPredictions(); }, hasColumns),
               Note<Dialog>("Posterior.List", {}, kPosteriorTab,
                            [](const Dialog& d) { return d.FixedInputList(); }),
               Button("Main.Summary", "&Synthèse", {},
                      [](Dialog& d) { return d.ShowModelSummary(); })},
  });
}

}  // namespace

std::span<const Control> NaiveBayesResultsDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
