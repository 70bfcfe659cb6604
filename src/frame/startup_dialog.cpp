#include "frame/startup_dialog.h"

#include <vector>

#include "dialogs/specification_dialog.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

using Of = On<StartupDialog>;
constexpr std::string_view kBaseTab = "Base";

std::span<const std::string_view> KindNames() {
  static const std::string_view names[] = {kAnalysisKinds[0].constantName,
                                           kAnalysisKinds[1].constantName,
                                           kAnalysisKinds[2].constantName};
  return names;
}

const Control kControls[] = {
    {.name = "TypeOfAnalysis",
     .kind = ControlKind::choice,
     .label = "Type of analysis",
     .tab = kBaseTab,
     .row = {.identifier = 50363, .kind = 2, .type = 1},
     .bind = {.number = Of::Number(
                  [](const StartupDialog& d) { return d.machineLearning().analysisKind; }),
              .text = Of::Text([](const StartupDialog& d) { return std::string(d.Description()); }),
              .assign = Of::Assign([](StartupDialog& d, double row) { return d.Select(row); }),
              .items = KindNames,
              .constant =
                  [](const CAnalysisDialog& d) {
                    const auto& dialog = static_cast<const StartupDialog&>(d);
                    return kAnalysisKinds[dialog.machineLearning().analysisKind].constant;
                  }}},
    {.name = "DoubleClick",
     .kind = ControlKind::button,
     .label = {},
     .tab = kBaseTab,
     .bind = {.press = Of::Press([](StartupDialog& d) { return d.OnOK(); })}},
    {.name = "Open",
     .kind = ControlKind::button,
     .label = "O&uvrir",
     .bind = {.press = Of::Press(
                  [](StartupDialog& d) { return d.analysis().services().dialogs->OpenTvxFile(); })},
     .isRecordedByHost = true},
    {.name = "SelectionConditions",
     .kind = ControlKind::button,
     .label = {},
     .bind = {.press = Of::Press([](StartupDialog& d) {
                return d.analysis().services().dialogs->DefineSelCond();
              })},
     .isRecordedByHost = true},
    {.name = "CaseWeights",
     .kind = ControlKind::button,
     .label = {},
     .bind = {.press = Of::Press([](StartupDialog& d) {
                return d.analysis().services().dialogs->DefineWeight();
              })},
     .isRecordedByHost = true},
};

}  // namespace

StartupDialog::StartupDialog(MachineLearning& analysis)
    : CAnalysisDialog(analysis), machineLearning_(analysis) {}

std::span<const Control> StartupDialog::Table() { return kControls; }

bool StartupDialog::Select(double row) {
  for (const AnalysisKind& kind : kAnalysisKinds) {
    if (row != static_cast<double>(static_cast<int>(kind.kind))) continue;
    machineLearning_.analysisKind = kind.kind;
    return true;
  }
  return false;
}

std::string_view StartupDialog::Description() const {
  const int kind = machineLearning_.analysisKind;
  if (kind < 0 || kind >= static_cast<int>(std::size(kAnalysisKinds))) return " ";
  return GetResourceString(kAnalysisKinds[kind].descriptionText);
}

bool StartupDialog::OnOK() {
  if (!machineLearning_.GetAnalysis()) return false;
  analysis().services().dialogs->ExitDialog(kAnalysisKinds[machineLearning_.analysisKind].step,
                                            kGoForward);
  return true;
}

bool StartupDialog::OnCancel() {
  analysis().services().dialogs->ExitDialog(0, kGoBack);
  return true;
}

}  // namespace qrvml
