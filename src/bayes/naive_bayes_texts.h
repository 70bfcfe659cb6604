// Names and texts of naive Bayes that more than one of its dialogs shows, and how its results
// deviate from the shared ones.
#pragma once

#include <string_view>

#include "bayes/densities.h"
#include "results/results_profile.h"
#include "stats/summary_tables.h"

namespace qrvml::bayes {

/// Of each distribution, by its number.
inline constexpr std::string_view kDistributionNames[kDistributions] = {
    "Normale", "Lognormale", "Gamma", "Poisson", "Discrète"};
constexpr std::string_view NameOf(Distribution distribution) {
  return kDistributionNames[static_cast<int>(distribution)];
}

inline constexpr std::string_view kThresholdRange = "Threshold must lay between 0 and 1.";

inline constexpr SummaryTexts kSummaryTexts = {
    .classificationTitle = "Synthèse de la classification",
    .confusionHeader = "Prévues (lignes) x Observées (colonnes)",
    .regressionTitle = {},
    .regressionSecond = {},
    .regressionRows = {},
    .classificationSeparator = ",  ",
};

inline constexpr ResultsProfile kResultsProfile = {
    .interfaceName = "MachineLearningResultsNB",
    .methodName = {},
    .specificationStep = 103,
    .tableRows = RowPolicy::once,
    .graphRows = RowPolicy::once,
    .inputItems = InputItems::last,
    .columnOrder = ColumnOrder::byDependent,
    .histogramEdges = HistogramEdges::lastClosed,
    .subsetLabels = {"&Apprentissage", "T&est", "Les 2 sous-ens."},
    .tableSubsets = {},
    .savedSeparator = ", ",
    .savedClassSeparator = ", ",
    .savedWordFirst = true,
    .savesAll = true,
    .savesClassResiduals = true,
    .hidesMissingAccuracy = true,
    .codeTitles = {"Naive Bayes C/C++ deployment code",
                   "QUORVANTIS Naive Bayes QVB deployment code",
                   "Naive Bayes PMML deployment code for "},
    .items = {
        // heading, saved name, its long name, list, axis
        /* input */ {"Indépendante", "", "", "", ""},
        /* observed */ {"Dépendante", "", "", "Observées", "(Observées)"},
        /* predicted */
        {"Prévues", "Prévisions", "Prévisions calculées", "Prévues", "(Prévisions)"},
        /* spread */ {"", "", "", "", ""},
        /* residual */ {"", "Résidus", "Résidus calculés", "", ""},
        /* absolute */ {"", "", "", "", ""},
        /* squared */ {"", "", "", "", ""},
        /* accuracy */
        {"Précision", "Précision", "Précision calculée", "Précision", "(Précision)"},
        /* confidence */
        {" Niv. de confiance", "Confiance", "Confiance calculée", " (Conf.)", "(Confiance)"},
    },
};

}  // namespace qrvml::bayes
