// The texts of the nearest-neighbour method that stand outside the string table.
#pragma once

#include <string_view>

#include "knn/neighbour_search.h"
#include "results/results_profile.h"
#include "stats/summary_tables.h"

namespace qrvml::knn {

/// One row per distance measure: its control's property, label, identifier and name in results.
struct MetricTexts {
  Metric metric;
  std::string_view property;
  std::string_view label;
  int identifier;
  std::string_view name;
};

inline constexpr MetricTexts kMetrics[] = {
    {Metric::euclidean, "Euclidean", "&Euclidienne", 50414, "Euclidienne"},
    {Metric::squaredEuclidean, "SquaredEuclidean", "Eu&clidienne au carré", 50415,
     "Euclidienne au carré"},
    {Metric::cityBlock, "CityBlock", "City-&block (Manhattan)", 50416, "City-&block (Manhattan)"},
    {Metric::chebychev, "Chebychev", "C&hebychev", 50417, "Chebychev"},
};

constexpr std::string_view NameOf(Metric metric) { return kMetrics[static_cast<int>(metric)].name; }

constexpr std::string_view YesNo(bool value) { return value ? "Oui" : "Non"; }

inline constexpr std::string_view kNeighboursLabel = "&Nombre des plus proches voisins :";
inline constexpr std::string_view kStandardizeLabel = "Dist&ances standardisées";
inline constexpr std::string_view kWeightedLabel =
    "&Utiliser le vote moyen pondéré pour les prévisions";
/// Below the controls of the options tab.
inline constexpr std::string_view kOptionsNote =
    "Si vous modifiez les options de cet onglet à d'autres paramétrages que ceux utilisés pour "
    "estimer K en utilisant la validation croisée, la valeur estimée de K peut être optimale.";
inline constexpr std::string_view kNeighboursRange =
    "Number of nearest neighbors for the specified analysis must lay in the range 1-";

inline constexpr SummaryTexts kSummaryTexts = {
    .classificationTitle = "Synthèse de la classification",
    .confusionHeader = "Prévues (lignes) x Observées (colonnes)",
    .regressionTitle = "Synthèse de la régression",
    .regressionSecond = "regression summary",
    .regressionRows = {"Moy. observée", "Moy. prévues", "Ec-Type Obs.", "Ecarts-types prév.",
                       "Somme erreur au carré", "Erreur moy.", "Ec-T. Erreurr", "Erreur abs. moy.",
                       "Ratio Ec-T.", "Corrélation"},
};

inline constexpr ResultsProfile kResultsProfile = {
    .interfaceName = "MachineLearningResultsKNN",
    .methodName = "K Plus Proches Voisins",
    .specificationStep = 104,
    .tableRows = RowPolicy::perWeight,
    .graphRows = RowPolicy::once,
    .inputItems = InputItems::first,
    .columnOrder = ColumnOrder::byKind,
    .histogramEdges = HistogramEdges::lastClosed,
    .subsetLabels = {"Prototypes", "Test", "Les 2 sous-ens."},
    .tableSubsets = {"Prototypes sous-ens.", "Test sous-ens.", "Les 2 sous-ens. sous-ens."},
    .savedSeparator = " , ",
    .savedClassSeparator = ", ",
    .codeTitles = {"KNN C/C++ deployment code", "KNN QVB deployment code",
                   "KNN PMML deployment code for "},
    .items = {
        // heading, saved name, its long name, list, axis
        /* input */ {"Indépendante", "", "", "", ""},
        /* observed */ {"Dépendante", "", "", "Observées", "(Observées)"},
        /* predicted */
        {"Prévues", "Prévisions", "Prévisions calculées", "Prévues", "(Prévisions)"},
        /* spread */ {"K écarts-types", "", "", "", "(K écarts-types)"},
        /* residual */ {"Residus", "Résidus", "Résidus calculés", "Residus", "(Résidus)"},
        /* absolute */ {"", "", "", "Résidus abs.", "(Résidus absolus)"},
        /* squared */ {"", "", "", "Résidus carrés", "(Résidus au carré)"},
        /* accuracy */
        {"Précision", "Précision", "Précision calculée", "Précision", "(Précision)"},
        /* confidence */
        {" Niv. de confiance", "Confiance", "Confiance calculée", " (Conf.)", "(Confiance)"},
    },
};

}  // namespace qrvml::knn
