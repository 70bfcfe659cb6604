// How results name a model: its type and kernel with their parameters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "svm/svm_types.h"

namespace qrvml::svm {

/// Instead of the result of a search that chose no point of its grid.
inline constexpr std::string_view kNothingFound =
    "aucun point de la grille retenu ; C et epsilon inchangés";

std::string_view TypeName(const SVMParameters& parameters);
std::string_view KernelName(const SVMParameters& parameters);

/// "Classification type 1 (C=10.000)", "Sigmoïde (Gamma=0.250, Bias=0.000)", as in the results
/// text.
std::string TypeLine(const SVMParameters& parameters);
std::string KernelLine(const SVMParameters& parameters);

/// "SVM: …" and "Kernel: …", the lines below the titles of the model's tables.
std::vector<std::string> ModelHeader(const SVMParameters& parameters);

}  // namespace qrvml::svm
