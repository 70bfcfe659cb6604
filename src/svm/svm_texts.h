// Progress texts that only the support vector engine shows.
#pragma once

#include <string_view>

namespace qrvml {

inline constexpr std::string_view kTrainingBegins = "Initialisation de l'apprentissage...";
inline constexpr std::string_view kTrainingEnds = "Apprentissage terminé";
inline constexpr std::string_view kShuffleBegins =
    "Mélange des données pour la validation croisée...";
inline constexpr std::string_view kShuffleEnds = "Mélange des données terminé";
inline constexpr std::string_view kCrossValidationBegins =
    "Application de la validation croisée...";
inline constexpr std::string_view kCrossValidationSet = "Ensemble validation croisée";

}  // namespace qrvml
