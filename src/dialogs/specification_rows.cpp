#include "dialogs/specification_rows.h"

#include "dialogs/specification_dialog.h"

namespace qrvml::rows {
namespace {

using Dialog = SpecificationDialog;
using Of = On<Dialog>;

constexpr DescriptionRow ChoiceRow(int identifier) {
  return {.identifier = identifier, .kind = 2, .type = 1};
}

constexpr double kMost = 999999999;

constexpr auto hasCategoricalDependents =
    When<Dialog>([](const Dialog& d) { return d.HasCategoricalDependents(); });
constexpr auto hasCategoricalPredictors =
    When<Dialog>([](const Dialog& d) { return d.HasCategoricalPredictors(); });
constexpr auto splits = When<Dialog>(
    [](const Dialog& d) { return d.profile().alwaysSplits || d.data().sampling.apply; });
constexpr auto random =
    When<Dialog>([](const Dialog& d) { return d.IsMode(SamplingMode::random); });
constexpr auto identifier =
    When<Dialog>([](const Dialog& d) { return d.IsMode(SamplingMode::identifier); });
constexpr auto firstCases =
    When<Dialog>([](const Dialog& d) { return d.IsMode(SamplingMode::firstCases); });

template <MissingDataRule rule>
constexpr Binding MissingDataBinding() {
  return {.number = Of::Number([](const Dialog& d) { return d.data().missingDataRule == rule; }),
          .assign = Of::Assign([](Dialog& d, double) {
            d.data().missingDataRule = rule;
            d.data().rereadNeeded = true;
            return true;
          })};
}

template <SamplingMode mode>
constexpr Binding ModeBinding() {
  return {.number = Of::Number([](const Dialog& d) { return d.data().sampling.mode == mode; }),
          .assign = Of::Assign([](Dialog& d, double) {
            d.SetSamplingMode(mode);
            return true;
          })};
}

constexpr Binding kSampleCodeBinding = {
    .text = Of::Text([](const Dialog& d) { return d.data().sampleChoice.codeText; }),
    .enter = Of::Enter([](Dialog& d, std::string_view text) { return d.SetSampleCode(text); })};

constexpr Binding kSampleVariableBinding = {
    .text = Of::Text([](const Dialog& d) { return d.SampleVariableText(); }),
    .enter = Of::Enter([](Dialog& d, std::string_view text) { return d.SetSampleVariable(text); })};

constexpr Binding kSampleActiveBinding = {
    .number = Of::Number([](const Dialog& d) { return d.data().sampleChoice.state == 1; }),
    .assign = Of::Assign([](Dialog& d, double value) { return d.SetSampleActive(value != 0); })};

/// The controls that hold what the sample button's dialog has chosen.
constexpr std::string_view kSampleControls[] = {"Sample.Variable", "Sample.Code", "Sample.Active"};

constexpr std::string_view kSampleActiveLabel = "&Actif";
constexpr std::string_view kSampleCodeLabel = "&Code de l'échantillon d'analyse :";

}  // namespace

Control CasewiseDeletion() {
  return {.name = "CasewiseDeletionOfMD",
          .kind = ControlKind::radio,
          .label = "Ignorer o&bs. à VM",
          .row = ChoiceRow(50367),
          .bind = MissingDataBinding<MissingDataRule::casewiseDeletion>()};
}

Control MeanSubstitution(std::string_view label) {
  return {.name = "MeanSubstitutionOfMD",
          .kind = ControlKind::radio,
          .label = label,
          .row = ChoiceRow(50368),
          .bind = MissingDataBinding<MissingDataRule::meanSubstitution>()};
}

Control PartlyMissing() {
  return {.name = "UseMissingCasesIfPossible",
          .kind = ControlKind::radio,
          .label = "U&tiliser les VM",
          .row = ChoiceRow(50369),
          .bind = MissingDataBinding<MissingDataRule::usePartlyMissing>()};
}

Control Variables() {
  return {.name = "Variables",
          .kind = ControlKind::pick,
          .label = "&Variables",
          .tab = kBaseTab,
          .row = {.identifier = 50370, .role = 1, .kind = 2, .type = 1},
          .bind = {.text = Of::Text([](const Dialog& d) { return d.VariablesText(); }),
                   .enter = Of::Enter(
                       [](Dialog& d, std::string_view text) { return d.SetVariables(text); }),
                   .press = Of::Press([](Dialog& d) { return d.ChooseVariables(); }),
                   .answer = AnswerMember::variables}};
}

Control ResponseCodes() {
  return {.name = "ResponseCodes",
          .kind = ControlKind::pick,
          .label = "Codes des &réponses :",
          .tab = kBaseTab,
          .row = {.identifier = 50371, .role = 2, .kind = 1, .type = 6},
          .enabled = hasCategoricalDependents,
          .bind = {.text = Of::Text([](const Dialog& d) { return d.ResponseCodesText(); }),
                   .press = Of::Press([](Dialog& d) { return d.ChooseResponseCodes(); }),
                   .answer = AnswerMember::codes}};
}

Control PredictorCodes() {
  return {.name = "PredictorCodes",
          .kind = ControlKind::pick,
          .label = "Cod&es des prédicteurs :",
          .tab = kBaseTab,
          .row = {.identifier = 50372, .role = 2, .kind = 1, .type = 6},
          .enabled = hasCategoricalPredictors,
          .bind = {.text = Of::Text([](const Dialog& d) { return d.PredictorCodesText(); }),
                   .press = Of::Press([](Dialog& d) { return d.ChoosePredictorCodes(); }),
                   .answer = AnswerMember::codes}};
}

Control ApplySampling(const SamplingLabels& labels) {
  return {.name = "ApplySampling",
          .kind = ControlKind::check,
          .label = "&Répartir les données en échantillons d'apprentissage et de test",
          .tab = labels.tab,
          .row = ChoiceRow(50373),
          .bind = {.number = Of::Number([](const Dialog& d) { return d.data().sampling.apply; }),
                   .assign = Of::Assign([](Dialog& d, double value) {
                     d.SetSampling(value != 0);
                     return true;
                   })}};
}

Control UseRandomSampling(const SamplingLabels& labels) {
  return {.name = "UseRandomSampling",
          .kind = ControlKind::radio,
          .label = labels.randomSampling,
          .tab = labels.tab,
          .row = ChoiceRow(50374),
          .enabled = splits,
          .bind = ModeBinding<SamplingMode::random>()};
}

Control UseSubsetvariable(const SamplingLabels& labels) {
  return {.name = "UseSubsetvariable",
          .kind = ControlKind::radio,
          .label = labels.identifierVariable,
          .tab = labels.tab,
          .row = ChoiceRow(50375),
          .enabled = splits,
          .bind = ModeBinding<SamplingMode::identifier>()};
}

Control UseFirstNCases(const SamplingLabels& labels) {
  return {.name = "UseFirstNCases",
          .kind = ControlKind::radio,
          .label = labels.firstCases,
          .tab = labels.tab,
          .row = ChoiceRow(50376),
          .enabled = splits,
          .bind = ModeBinding<SamplingMode::firstCases>()};
}

Control Percentage(const SamplingLabels& labels, std::string_view name, int identifierOfRow) {
  return {.name = name,
          .kind = ControlKind::real,
          .label = labels.percentage,
          .tab = labels.tab,
          .range = {0.001, 99.999},
          .decimals = 3,
          .row = {.identifier = identifierOfRow, .kind = 2, .type = 2},
          .enabled = random,
          .bind = {.number = Of::Number(
                       [](const Dialog& d) { return d.data().sampling.trainingPercentage; })}};
}

Control Seed(const SamplingLabels& labels) {
  return {.name = "SeedForRandomSampling",
          .kind = ControlKind::integer,
          .label = labels.seed,
          .tab = labels.tab,
          .range = {0, kHighestSeed},
          .row = ChoiceRow(50378),
          .enabled = random,
          .bind = {.number = Of::Number([](const Dialog& d) { return d.data().sampling.seed; })}};
}

Control FirstN(const SamplingLabels& labels) {
  return {.name = "NValue",
          .kind = ControlKind::integer,
          .label = labels.firstN,
          .tab = labels.tab,
          .range = {1, kMost},
          .row = ChoiceRow(50379),
          .enabled = firstCases,
          .bind = {.number = Of::Number([](const Dialog& d) { return d.data().sampling.firstN; })}};
}

Control SampleCodeProperty(const SamplingLabels& labels, std::string_view name,
                           DescriptionRow row) {
  return {.name = name,
          .kind = ControlKind::text,
          .label = kSampleCodeLabel,
          .tab = labels.tab,
          .row = row,
          .enabled = identifier,
          .bind = kSampleCodeBinding};
}

Control SampleVariableProperty(const SamplingLabels& labels, std::string_view name,
                               DescriptionRow row) {
  Control control = {.name = name,
                     .kind = ControlKind::pick,
                     .label = "hID é&ch.",
                     .tab = labels.tab,
                     .row = row,
                     .enabled = identifier,
                     .bind = kSampleVariableBinding};
  control.bind.press = Of::Press([](Dialog& d) { return d.PickSampleVariable(); });
  return control;
}

Control SampleActiveProperty(const SamplingLabels& labels, std::string_view name,
                             DescriptionRow row) {
  return {.name = name,
          .kind = ControlKind::check,
          .label = kSampleActiveLabel,
          .tab = labels.tab,
          .row = row,
          .enabled = identifier,
          .bind = kSampleActiveBinding};
}

Control SampleButton(const SamplingLabels& labels) {
  return {.name = "Sample",
          .kind = ControlKind::button,
          .label = "Echantillon",
          .tab = labels.tab,
          .enabled = identifier,
          .bind = {.press = Of::Press([](Dialog& d) { return d.ChooseSample(); })},
          .recordedAs = kSampleControls};
}

Control SampleVariable(const SamplingLabels& labels) {
  return {.name = "Sample.Variable",
          .kind = ControlKind::text,
          .label = "Variable avec Identifiants d'&Echantillons",
          .tab = labels.tab,
          .enabled = identifier,
          .bind = kSampleVariableBinding};
}

Control SampleCode(const SamplingLabels& labels) {
  return {.name = "Sample.Code",
          .kind = ControlKind::text,
          .label = kSampleCodeLabel,
          .tab = labels.tab,
          .enabled = identifier,
          .bind = kSampleCodeBinding};
}

Control SampleActive(const SamplingLabels& labels) {
  return {.name = "Sample.Active",
          .kind = ControlKind::check,
          .label = kSampleActiveLabel,
          .tab = labels.tab,
          .enabled = identifier,
          .bind = kSampleActiveBinding};
}

Control SampleState(const SamplingLabels& labels) {
  return {.name = "Sample.State",
          .kind = ControlKind::note,
          .label = {},
          .tab = labels.tab,
          .bind = {.text = Of::Text([](const Dialog& d) { return std::string(d.SampleState()); })}};
}

Control SelectionConditions() {
  return {.name = "SelectionConditions",
          .kind = ControlKind::button,
          .label = {},
          .bind = {.press = Of::Press([](Dialog& d) { return d.DefineSelectionConditions(); })},
          .isRecordedByHost = true};
}

Control CaseWeights() {
  return {.name = "CaseWeights",
          .kind = ControlKind::button,
          .label = {},
          .bind = {.press = Of::Press([](Dialog& d) { return d.DefineCaseWeights(); })},
          .isRecordedByHost = true};
}

}  // namespace qrvml::rows
