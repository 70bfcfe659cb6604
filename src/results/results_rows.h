// The control rows that every results dialog has, and the order in which a method's own rows stand
// between them.
#pragma once

#include <string_view>
#include <vector>

#include "host/control.h"

namespace qrvml::rows {

inline constexpr std::string_view kPlotTab = "Tracés";
inline constexpr std::string_view kCrossValidationLabel = "Erreur de &validation croisée";
inline constexpr std::string_view kDependentLabel = "Variable &dépendante :";
inline constexpr std::string_view kCustomTab = "Prévisions perso.";

/// A method's own rows, in the places where they stand between the shared ones.
struct OwnResultsRows {
  const std::string_view (&subsetLabels)[3];
  Control summary, model, statistics, crossValidation, plotDependent;
  std::vector<Control> beforeTypedCases, afterTypedCases;
  std::vector<Control> last;  // outside the automation interface
};
std::vector<Control> ResultsTable(const OwnResultsRows& own);

Control SelectOutputForPlotting();
/// Members of the interface that a method's results lack, with the reason that a call is given.
Control NoCrossVPlot(std::string_view reason);
Control NoSelectOutputForPlotting(std::string_view reason);

/// A button that shows what `act` makes: tables (role 4) or graphs (6).
template <class Dialog, class Act>
Control DocumentButton(std::string_view name, std::string_view label, std::string_view tab,
                       int identifier, Act act, Rule enabled = nullptr, int role = 4) {
  return {.name = name,
          .kind = ControlKind::action,
          .label = label,
          .tab = tab,
          .row = {.identifier = identifier, .role = role, .kind = 1, .type = 1},
          .enabled = enabled,
          .bind = {.press = On<Dialog>::Press(act)}};
}

template <class Dialog, class Text>
Control Note(std::string_view name, std::string_view label, std::string_view tab, Text text) {
  return {.name = name,
          .kind = ControlKind::note,
          .label = label,
          .tab = tab,
          .bind = {.text = On<Dialog>::Text(text)}};
}

}  // namespace qrvml::rows
