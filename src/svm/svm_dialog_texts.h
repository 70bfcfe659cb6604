// Texts of the specification dialog of support vector machines that more than one file needs.
#pragma once

#include <string_view>

namespace qrvml::svm {

inline constexpr std::string_view kTypeTab = "SVM";
inline constexpr std::string_view kKernelTab = "Noyau";
inline constexpr std::string_view kSelectionTab = "Sélection du modèle";
inline constexpr std::string_view kLearningTab = "Apprentissage";

}  // namespace qrvml::svm
