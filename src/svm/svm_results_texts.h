// Orders, policies and texts of the results of support vector machines.
#pragma once

#include <string_view>

#include "results/results_profile.h"
#include "stats/summary_tables.h"

namespace qrvml::svm {

inline constexpr SummaryTexts kSummaryTexts = {
    .classificationTitle = "Classification summary",
    .confusionHeader = "Predicted (rows) x Observed (columns)",
    .regressionTitle = "Regression summary",
    .regressionSecond = "regression summary",
    // The fifth is the mean squared error, whatever its label.
    .regressionRows = {"Moy. observée", "Moy. prévues", "Observed S.D.", "Predictions S.D.",
                       "Sum of squared error", "Error mean", "Error S.D.", "Abs. error mean",
                       "S.D. ratio", "Correlation"},
};

/// First corner label of the regression summary, by subset.
inline constexpr std::string_view kSubsetCases[kSubsets] = {"Training cases", "Test cases",
                                                            "All cases"};

inline constexpr ResultsProfile kResultsProfile = {
    .interfaceName = "MachineLearningResultsSVM",
    .methodName = {},
    .specificationStep = 102,
    .tableRows = RowPolicy::perWeight,
    .graphRows = RowPolicy::perWeight,
    .inputItems = InputItems::lastOfContinuous,
    .columnOrder = ColumnOrder::byKind,
    .histogramEdges = HistogramEdges::clamped,
    .subsetLabels = {"&Apprentissage", "T&est", "Les 2 sous-ens."},
    .tableSubsets = {"Apprentissage", "Test", "Les 2 sous-ens."},
    .savedSeparator = ", ",
    .savedClassSeparator = ", ",
    .hidesMissingAccuracy = true,
    .picksKept = true,
    .customBlankRow = true,
    .onlyFirstDependent = true,
    .codeTitles = {"SVM C/C++ deployment code",
                   "QUORVANTIS Support Vector Machine QVB deployment code",
                   "Support vector machine PMML deployment code for "},
    .items = {
        // heading, saved name, its long name, list (the axis text), axis
        /* input */ {"Indépendante", "", "", "", ""},
        /* observed */ {"Dépendante", "", "", "", "(Observées)"},
        /* predicted */ {"Prévues", "Predictions", "Calculated predictions", "", "(Prévisions)"},
        /* spread */ {"", "", "", "", ""},
        /* residual */ {"Residus", "Residuals", "Calculated residuals", "", "(Résidus)"},
        /* absolute */ {"", "", "", "", "(Résidus absolus)"},
        /* squared */ {"", "", "", "", "(Résidus au carré)"},
        /* accuracy */ {"Précision", "Accuracy", "Calculated accuracy", "", "(Précision)"},
        /* confidence */ {"Confiance", "Confidence", "Calculated confidence", "", "(Confiance)"},
    },
};

}  // namespace qrvml::svm
