// The control rows that every results dialog has. A method lists them in its own table, between its
// own rows.
#pragma once

#include <string_view>

#include "host/control.h"

namespace qrvml::rows {

inline constexpr std::string_view kPlotTab = "Tracés";
inline constexpr std::string_view kCrossValidationLabel = "Erreur de &validation croisée";
inline constexpr std::string_view kDependentLabel = "Variable &dépendante :";
inline constexpr std::string_view kCustomTab = "Prévisions perso.";

Control TrainSubset(std::string_view label);
Control TestSubset(std::string_view label);
Control Overall();
Control SavePredictionsAndResiduals();
Control IncludeInputs();
Control IncludeOutputs();
Control IncludePredictions();
Control IncludeResiduals();
Control IncludeConfidence();
Control PrintPredictions();
Control Histograms();
Control SelectOutputForPlotting();
Control SelectedItemX();
Control SelectedItemsY();
Control SelectedItemZ();
Control PlotHistogramsOfX();
Control Plot2DGraphOfXAndY();
Control Plot3DGraphOfXYZ();
Control IncludeCaseNames();
Control CustomPredictions();
Control PrintCustomPredictions();
Control CodeGenerator();
Control CodeGeneratorCLang();
Control CodeGeneratorQVB();
Control CodeGeneratorPMML();

/// Members of the interface that a method's results lack, with the reason that a call is given.
Control NoCrossVPlot(std::string_view reason);
Control NoSelectOutputForPlotting(std::string_view reason);

}  // namespace qrvml::rows
