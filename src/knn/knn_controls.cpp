// The control table of the neighbours' specification dialog.

#include <vector>

#include "dialogs/specification_rows.h"
#include "knn/knn_dialog.h"
#include "knn/knn_options_rows.h"

namespace qrvml {
namespace {

using Of = On<KNNDialog>;

constexpr double kMost = 999999999;
constexpr std::string_view kSelectionTab = "Sélection du modèle";

constexpr rows::SamplingLabels kSampling = {
    .tab = "Prototypes",
    .randomSampling = "&Utiliser l'échantillonnage aléatoire :",
    .identifierVariable = "Utiliser la &variable d'échantillon :",
    .firstCases = "Utiliser les &N premières observations :",
    .percentage = "Taille éch. du p&rototype (%) :",
    .seed = "Amorc&e :",
    .firstN = "N premiè&res observations :",
};

constexpr knn::OptionsNames kOptions = {
    .neighbours = "KNearestNeighbors",
    .metrics = {"Euclidean", "SquaredEuclidean", "CityBlock", "Chebychev"},
    .standardize = "StandardizeDistances",
    .weighted = "UseWeightedAverage",
    .note = "Options.Note",
    .automated = true,
};

constexpr auto hasDependents =
    When<KNNDialog>([](const KNNDialog& d) { return d.HasDependents(); });
constexpr auto crossValidating =
    When<KNNDialog>([](const KNNDialog& d) { return d.engine().applyCrossValidation; });

double Prototypes(const CAnalysisDialog& dialog) {
  const auto& data = static_cast<const KNNDialog&>(dialog).data();
  const std::int32_t count = data.StoredRows(Sample::training);
  return count == 0 ? kMost : count;
}
double PrototypesLessOne(const CAnalysisDialog& dialog) {
  const double count = Prototypes(dialog);
  return count == kMost ? kMost : count - 1;
}
double MinimumPlusMaximum(const CAnalysisDialog& dialog) {
  const auto& engine = static_cast<const KNNDialog&>(dialog).engine();
  return engine.minimumK + engine.maximumK;
}

constexpr Range kUpToPrototypesLessOne = {1, kMost, PrototypesLessOne,
                                          "the number of prototypes less one"};

constexpr DescriptionRow OptionRow(int identifier) {
  return {.identifier = identifier, .kind = 2, .type = 1};
}

/// An integer field of the tab that searches K.
template <class Show>
constexpr Control SearchField(std::string_view name, std::string_view label, Range range,
                              int identifier, Show show) {
  return {.name = name,
          .kind = ControlKind::integer,
          .label = label,
          .tab = kSelectionTab,
          .range = range,
          .row = OptionRow(identifier),
          .enabled = crossValidating,
          .bind = {.number = Of::Number(show)}};
}

std::vector<Control> MakeTable() {
  using Dialog = KNNDialog;
  std::vector<Control> table = {
      rows::CasewiseDeletion(),
      rows::MeanSubstitution("Remplacement par la moyenne"),
      rows::Variables(),
      rows::ResponseCodes(),
      rows::PredictorCodes(),
      rows::UseRandomSampling(kSampling),
      rows::UseSubsetvariable(kSampling),
      rows::UseFirstNCases(kSampling),
      rows::Percentage(kSampling, "SizeOfPrototypeSample", 50426),
      rows::Seed(kSampling),
      rows::FirstN(kSampling),
  };
  const auto options =
      knn::OptionsRows<Dialog>(kOptions, hasDependents && !crossValidating, Prototypes);
  table.insert(table.end(), options.begin(), options.end());
  const Control search[] = {
      {.name = "ApplyCrossV",
       .kind = ControlKind::check,
       .label = "Appliquer la validation croisée par &v-ensembles :",
       .tab = kSelectionTab,
       .row = OptionRow(50394),
       .bind = {.number =
                    Of::Number([](const Dialog& d) { return d.engine().applyCrossValidation; }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.engine().applyCrossValidation = value != 0;
                  return true;
                })}},
      SearchField("VValue", "Va&leur de V :", kUpToPrototypesLessOne, 50395,
                  [](const Dialog& d) { return d.engine().folds; }),
      SearchField("CrossVSeed", "Amorc&e :", {0, kHighestSeed}, 50396,
                  [](const Dialog& d) { return d.engine().crossValidationSeed; }),
      SearchField("MinimumK", "M&inimum :", kUpToPrototypesLessOne, 50420,
                  [](const Dialog& d) { return d.engine().minimumK; }),
      SearchField("MaximumK", "Ma&ximum :", kUpToPrototypesLessOne, 50421,
                  [](const Dialog& d) { return d.engine().maximumK; }),
      SearchField("DeltaK", "&Incrément :", {1, kMost, MinimumPlusMaximum, "minimum plus maximum"},
                  50422, [](const Dialog& d) { return d.engine().deltaK; }),
  };
  table.insert(table.end(), std::begin(search), std::end(search));
  table.push_back(rows::SampleCodeProperty(
      kSampling, "CodeForPrototypeSample",
      {.identifier = 50428, .role = 0, .kind = 2, .type = 5, .after = 50378}));
  for (const auto& row :
       {rows::SampleButton(kSampling), rows::SampleVariable(kSampling), rows::SampleCode(kSampling),
        rows::SampleActive(kSampling), rows::SampleState(kSampling), rows::SelectionConditions(),
        rows::CaseWeights()})
    table.push_back(row);
  return table;
}

}  // namespace

std::span<const Control> KNNDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
