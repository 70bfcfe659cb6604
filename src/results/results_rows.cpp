#include "results/results_rows.h"

#include "dialogs/specification_rows.h"
#include "host/string_table.h"
#include "results/results_dialog.h"

namespace qrvml::rows {
namespace {

using Dialog = ResultsDialog;
using Of = On<Dialog>;

constexpr DescriptionRow OptionRow(int identifier) {
  return {.identifier = identifier, .kind = 2, .type = 1};
}
constexpr DescriptionRow TextRow(int identifier) {
  return {.identifier = identifier, .kind = 2, .type = 5};
}
constexpr DescriptionRow TableButtonRow(int identifier) {
  return {.identifier = identifier, .role = 4, .kind = 1, .type = 1};
}
constexpr DescriptionRow GraphButtonRow(int identifier) {
  return {.identifier = identifier, .role = 6, .kind = 1, .type = 1};
}

/// Two of these rows share their identifier.
constexpr DescriptionRow CodeRow(int identifier, int after = 0) {
  return {.identifier = identifier, .role = 7, .kind = 1, .type = 1, .after = after};
}
template <CodeKind kind>
constexpr auto GeneratesCode = [](Dialog& d) {
  constexpr CodeKind kKinds[] = {kind};
  return d.GenerateCode(kKinds);
};
constexpr int kCodeButton = 26364, kCEntry = 26363, kQvbEntry = 26364, kPmmlEntry = 26365;

constexpr auto predicts = When<Dialog>([](const Dialog& d) { return d.Predicts(); });
constexpr auto splits = When<Dialog>([](const Dialog& d) { return d.data().sampling.apply; });
constexpr auto hasDependent =
    When<Dialog>([](const Dialog& d) { return d.items().dependents() > 0; });
constexpr auto classifies = When<Dialog>([](const Dialog& d) { return d.IsClassification(); });
constexpr auto hasColumns = When<Dialog>([](const Dialog& d) { return d.HasColumns(); });
constexpr auto hasSavable = When<Dialog>([](const Dialog& d) { return d.HasSavable(); });
constexpr auto hasX = When<Dialog>([](const Dialog& d) { return d.plot.x >= 0; });
constexpr auto hasY = When<Dialog>([](const Dialog& d) { return !d.plot.y.empty(); });
constexpr auto hasZ = When<Dialog>([](const Dialog& d) { return d.plot.z >= 0; });
constexpr auto hasCustomCase = When<Dialog>([](const Dialog& d) { return d.custom.isEntered; });

template <Subset choice>
Control SubsetRadio(std::string_view name, std::string_view label, int identifier,
                    Rule enabled = nullptr) {
  return {.name = name,
          .kind = ControlKind::radio,
          .label = label,
          .row = OptionRow(identifier),
          .enabled = enabled,
          .bind = {.number = Of::Number([](const Dialog& d) { return d.subset == choice; }),
                   .assign = Of::Assign([](Dialog& d, double) {
                     d.subset = choice;
                     return true;
                   })}};
}

template <bool Includes::*flag>
Control IncludeBox(std::string_view name, std::string_view label, int identifier,
                   Rule enabled = nullptr) {
  return {.name = name,
          .kind = ControlKind::check,
          .label = label,
          .tab = kBaseTab,
          .row = OptionRow(identifier),
          .enabled = enabled,
          .bind = {.number = Of::Number([](const Dialog& d) { return d.includes.*flag; }),
                   .assign = Of::Assign([](Dialog& d, double value) {
                     d.includes.*flag = value != 0;
                     return true;
                   })}};
}

template <class Act>
Control Action(std::string_view name, std::string_view label, std::string_view tab,
               DescriptionRow row, Rule enabled, Act act) {
  return {.name = name,
          .kind = ControlKind::action,
          .label = label,
          .tab = tab,
          .row = row,
          .enabled = enabled,
          .bind = {.press = Of::Press(act)}};
}

/// X and Z hold one position, kept as a list while it is read.
template <int PlotChoice::*axis>
Control OneItem(std::string_view name, std::string_view label, int identifier) {
  return {.name = name,
          .kind = ControlKind::text,
          .label = label,
          .tab = kPlotTab,
          .row = TextRow(identifier),
          .bind = {.text = Of::Text([](const Dialog& d) {
                     const int chosen = d.plot.*axis;
                     return d.OfferedText({&chosen, 1});
                   }),
                   .enter = Of::Enter([](Dialog& d, std::string_view text) {
                     std::vector<int> chosen;
                     if (!d.SelectItems(text, false, chosen)) return false;
                     d.plot.*axis = chosen.empty() ? -1 : chosen.front();
                     return true;
                   }),
                   .offered = [](const CAnalysisDialog& d) {
                     const auto& dialog = static_cast<const Dialog&>(d);
                     const int chosen = dialog.plot.*axis;
                     return dialog.OfferedPlotItems(chosen < 0 ? std::vector<int>()
                                                               : std::vector<int>{chosen});
                   }}};
}

Control TrainSubset(std::string_view label) {
  return SubsetRadio<Subset::training>("TrainSubset", label, 50456);
}
Control TestSubset(std::string_view label) {
  return SubsetRadio<Subset::test>("TestSubset", label, 50457, splits);
}
Control Overall() { return SubsetRadio<Subset::both>("Overall", "Les 2 sous-ens.", 50458, splits); }

Control SavePredictionsAndResiduals() {
  return Action("SavePredictionsAndResiduals", "Enre&gistrer", kBaseTab, TableButtonRow(50459),
                hasSavable, [](Dialog& d) { return d.SavePredictions(); });
}

Control IncludeInputs() {
  return IncludeBox<&Includes::inputs>("IncludeInputs", "Vars &indépendantes", 50433);
}
Control IncludeOutputs() {
  return IncludeBox<&Includes::outputs>("IncludeOutputs", "Vars dépe&ndantes", 50434, hasDependent);
}
Control IncludePredictions() {
  return IncludeBox<&Includes::predictions>("IncludePredictions", "Prév&isions", 50435,
                                            hasDependent && predicts);
}
Control IncludeResiduals() {
  return IncludeBox<&Includes::residuals>("IncludeResiduals", "Résid&us", 50436,
                                          hasDependent && predicts);
}
Control IncludeConfidence() {
  return IncludeBox<&Includes::confidence>("IncludeConfidence", "Niv. de con&fiance", 50437,
                                           predicts && classifies);
}

Control PrintPredictions() {
  return Action("PrintPredictions", "P&révisions", kBaseTab, TableButtonRow(50438), hasColumns,
                [](Dialog& d) { return d.ShowPredictions(); });
}
Control Histograms() {
  return Action("Histograms", "&Histogrammes", kBaseTab, GraphButtonRow(50439), hasColumns,
                [](Dialog& d) { return d.ShowHistograms(); });
}

Control SelectedItemX() { return OneItem<&PlotChoice::x>("SelectedItemX", "Axe X", 50441); }
Control SelectedItemZ() { return OneItem<&PlotChoice::z>("SelectedItemZ", "Axe Z", 50443); }

Control SelectedItemsY() {
  return {.name = "SelectedItemsY",
          .kind = ControlKind::text,
          .label = "Axe Y",
          .tab = kPlotTab,
          .row = TextRow(50442),
          .bind = {.text = Of::Text([](const Dialog& d) { return d.OfferedText(d.plot.y); }),
                   .enter = Of::Enter([](Dialog& d, std::string_view text) {
                     return d.SelectItems(text, true, d.plot.y);
                   }),
                   .offered = [](const CAnalysisDialog& d) {
                     const auto& dialog = static_cast<const Dialog&>(d);
                     return dialog.OfferedPlotItems(dialog.plot.y);
                   }}};
}

Control PlotHistogramsOfX() {
  return Action("PlotHistogramsOfX", "Histogrammes de &X", kPlotTab, GraphButtonRow(50444), hasX,
                [](Dialog& d) { return d.ShowHistogramOfX(); });
}
Control Plot2DGraphOfXAndY() {
  return Action("Plot2DGraphOfXAndY", "Graphiques de X et &Y", kPlotTab, GraphButtonRow(50445),
                hasX && hasY, [](Dialog& d) { return d.ShowScatter(); });
}
Control Plot3DGraphOfXYZ() {
  return Action("Plot3DGraphOfXYZ", "Graphiques de X, Y et &Z", kPlotTab, GraphButtonRow(50446),
                hasX && hasY && hasZ, [](Dialog& d) { return d.ShowSurfaces(); });
}

Control IncludeCaseNames() {
  return {.name = "IncludeCaseNames",
          .kind = ControlKind::check,
          .label = "&Inclure les noms d'observations",
          .tab = kPlotTab,
          .row = OptionRow(50447),
          .bind = {.number = Of::Number([](const Dialog& d) { return d.includeCaseNames; }),
                   .assign = Of::Assign([](Dialog& d, double value) {
                     d.includeCaseNames = value != 0;
                     return true;
                   })}};
}

Control CustomPredictions() {
  return {.name = "CustomPredictions",
          .kind = ControlKind::pick,
          .label = "O&bservation personnalisée",
          .tab = kCustomTab,
          .row = TextRow(41181),
          .bind = {.text = Of::Text([](const Dialog& d) { return d.CustomCaseText(); }),
                   .enter = Of::Enter(
                       [](Dialog& d, std::string_view text) { return d.SetCustomCase(text); }),
                   .press = Of::Press([](Dialog& d) { return d.AskCustomCase(); }),
                   .answer = AnswerMember::values}};
}
Control PrintCustomPredictions() {
  return Action("PrintCustomPredictions", "P&révisions", kCustomTab, TableButtonRow(41180),
                hasCustomCase, [](Dialog& d) { return d.ShowCustomPredictions(); });
}

Control CodeGenerator() {
  return Action("CodeGenerator", "&Générateur code", {}, CodeRow(kCodeButton), nullptr,
                [](Dialog& d) { return d.ChooseCode(); });
}
Control CodeGeneratorCLang() {
  return Action("CodeGeneratorCLang", GetResourceString(1062), {}, CodeRow(kCEntry), nullptr,
                GeneratesCode<CodeKind::c>);
}
Control CodeGeneratorQVB() {
  return Action("CodeGeneratorQVB", GetResourceString(1063), {}, CodeRow(kQvbEntry, kCodeButton),
                nullptr, GeneratesCode<CodeKind::qvb>);
}
Control CodeGeneratorPMML() {
  return Action("CodeGeneratorPMML", GetResourceString(1064), {}, CodeRow(kPmmlEntry), nullptr,
                GeneratesCode<CodeKind::pmml>);
}

}  // namespace

Control SelectOutputForPlotting() {
  return {.name = "SelectOutputForPlotting",
          .kind = ControlKind::text,
          .label = kDependentLabel,
          .tab = kPlotTab,
          .row = TextRow(50440),
          .bind = {.text = Of::Text([](const Dialog& d) { return d.SelectedDependentText(); }),
                   .enter = Of::Enter(
                       [](Dialog& d, std::string_view text) { return d.SelectDependent(text); }),
                   .offered = [](const CAnalysisDialog& d) {
                     return static_cast<const Dialog&>(d).OfferedDependents();
                   }}};
}

std::vector<Control> ResultsTable(const OwnResultsRows& own) {
  std::vector<Control> table = {
      TrainSubset(own.subsetLabels[0]),
      TestSubset(own.subsetLabels[1]),
      Overall(),
      SavePredictionsAndResiduals(),
      own.summary,
      own.model,
      own.statistics,
      own.crossValidation,
      IncludeInputs(),
      IncludeOutputs(),
      IncludePredictions(),
      IncludeResiduals(),
      IncludeConfidence(),
      PrintPredictions(),
      Histograms(),
      own.plotDependent,
      SelectedItemX(),
      SelectedItemsY(),
      SelectedItemZ(),
      PlotHistogramsOfX(),
      Plot2DGraphOfXAndY(),
      Plot3DGraphOfXYZ(),
      IncludeCaseNames(),
  };
  const auto add = [&table](const std::vector<Control>& rows) {
    table.insert(table.end(), rows.begin(), rows.end());
  };
  add(own.beforeTypedCases);
  add({CustomPredictions(), PrintCustomPredictions()});
  add(own.afterTypedCases);
  add({CodeGenerator(), CodeGeneratorCLang(), CodeGeneratorQVB(), CodeGeneratorPMML()});
  add(own.last);
  return table;
}

Control NoCrossVPlot(std::string_view reason) {
  return {.name = "CrossVPlot",
          .kind = ControlKind::action,
          .label = kCrossValidationLabel,
          .tab = kBaseTab,
          .refusal = reason};
}
Control NoSelectOutputForPlotting(std::string_view reason) {
  return {.name = "SelectOutputForPlotting",
          .kind = ControlKind::text,
          .label = kDependentLabel,
          .tab = kPlotTab,
          .refusal = reason};
}

}  // namespace qrvml::rows
