// The control rows that every specification dialog has, as functions of what differs in them: a
// dialog's table lists them beside its own rows.
#pragma once

#include <string_view>

#include "host/control.h"

namespace qrvml::rows {

inline constexpr std::string_view kBaseTab = "Base";

Control CasewiseDeletion();
Control MeanSubstitution(std::string_view label);
/// Naive Bayes alone.
Control PartlyMissing();
Control Variables();
Control ResponseCodes();
Control PredictorCodes();

/// The sampling controls of one dialog: the tab that they stand on and the labels that differ.
struct SamplingLabels {
  std::string_view tab;
  std::string_view randomSampling;
  std::string_view identifierVariable;
  std::string_view firstCases;
  std::string_view percentage;
  std::string_view seed;
  std::string_view firstN;
};

/// Those of the dialogs that need not split.
inline constexpr SamplingLabels kTrainingSample = {
    .tab = "Echantillonnage",
    .randomSampling = "&Utiliser l'échantillonnage aléatoire :",
    .identifierVariable = "Utiliser une &variable d'échantillon :",
    .firstCases = "Utiliser les &N premières obs. :",
    .percentage = "Taille de l'éch. d'app&rentissage (%) :",
    .seed = "&Amorce :",
    .firstN = "N premières observations :",
};

/// Of dialogs that need not split.
Control ApplySampling(const SamplingLabels& labels);
Control UseRandomSampling(const SamplingLabels& labels);
Control UseSubsetvariable(const SamplingLabels& labels);
Control UseFirstNCases(const SamplingLabels& labels);
Control Percentage(const SamplingLabels& labels, std::string_view name, int identifier);
Control Seed(const SamplingLabels& labels);
Control FirstN(const SamplingLabels& labels);
/// The learning code of the sample identifier dialog as a property of the specification dialog.
Control SampleCodeProperty(const SamplingLabels& labels, std::string_view name, DescriptionRow row);
/// The variable of that dialog and its choice Actif as properties.
Control SampleVariableProperty(const SamplingLabels& labels, std::string_view name,
                               DescriptionRow row);
Control SampleActiveProperty(const SamplingLabels& labels, std::string_view name,
                             DescriptionRow row);

/// Outside the automation interface: the sample button, its dialog's controls, the state text.
Control SampleButton(const SamplingLabels& labels);
Control SampleVariable(const SamplingLabels& labels);
Control SampleCode(const SamplingLabels& labels);
Control SampleActive(const SamplingLabels& labels);
Control SampleState(const SamplingLabels& labels);

/// Outside the automation interface: the host's dialogs for selection conditions and case weights.
Control SelectionConditions();
Control CaseWeights();

}  // namespace qrvml::rows
