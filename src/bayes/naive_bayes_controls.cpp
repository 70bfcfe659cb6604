// The control table of the specification dialog of naive Bayes.

#include <vector>

#include "bayes/naive_bayes_dialog.h"
#include "dialogs/specification_rows.h"

namespace qrvml {
namespace {

using Of = On<NaiveBayesDialog>;

constexpr std::string_view kDistributionsTab = "Distributions";

constexpr const rows::SamplingLabels& kSampling = rows::kTrainingSample;

constexpr auto hasInputs = When<NaiveBayesDialog>(
    [](const NaiveBayesDialog& d) { return !d.data().roles().predictors.empty(); });
constexpr auto hasCategoricalInputs =
    When<NaiveBayesDialog>([](const NaiveBayesDialog& d) { return d.HasCategoricalPredictors(); });

std::vector<Control> MakeTable() {
  using Dialog = NaiveBayesDialog;
  return {
      rows::CasewiseDeletion(),
      rows::MeanSubstitution("Remplacement par la mo&yenne"),
      rows::PartlyMissing(),
      rows::Variables(),
      rows::ResponseCodes(),
      rows::PredictorCodes(),
      rows::ApplySampling(kSampling),
      rows::UseRandomSampling(kSampling),
      rows::UseSubsetvariable(kSampling),
      rows::UseFirstNCases(kSampling),
      rows::Percentage(kSampling, "SizeOfTrainingSample", 50377),
      rows::Seed(kSampling),
      rows::FirstN(kSampling),
      {.name = "Threshold",
       .kind = ControlKind::real,
       .label = "Seu&il :",
       .tab = kDistributionsTab,
       .range = {0, 1},
       .decimals = 3,
       .row = {.identifier = 50423, .kind = 2, .type = 2},
       .enabled = hasCategoricalInputs,
       .bind = {.number = Of::Number([](const Dialog& d) { return d.engine().threshold; })}},
      {.name = "InputDistributions",
       .kind = ControlKind::pick,
       .label = "Sél&ectionnez les distributions",
       .tab = kDistributionsTab,
       .row = {.identifier = 50425, .role = 1, .kind = 2, .type = 1},
       .enabled = hasInputs,
       .bind = {.text = Of::Text([](const Dialog& d) { return d.DistributionsText(); }),
                .enter = Of::Enter(
                    [](Dialog& d, std::string_view text) { return d.SetDistributions(text); }),
                .press = Of::Press([](Dialog& d) { return d.ChooseDistributions(); }),
                .answer = AnswerMember::variables}},
      {.name = "Distributions.List",
       .kind = ControlKind::note,
       .label = {},
       .tab = kDistributionsTab,
       .bind = {.text = Of::Text([](const Dialog& d) { return d.DistributionList(); })}},
      rows::SampleButton(kSampling),
      rows::SampleVariable(kSampling),
      rows::SampleCode(kSampling),
      rows::SampleActive(kSampling),
      rows::SampleState(kSampling),
      rows::SelectionConditions(),
      rows::CaseWeights(),
  };
}

}  // namespace

std::span<const Control> NaiveBayesDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
