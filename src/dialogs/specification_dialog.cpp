#include "dialogs/specification_dialog.h"

#include <algorithm>
#include <utility>

#include "data/select_codes.h"
#include "data/value_text.h"
#include "dialogs/sample_identifier_dialog.h"
#include "dialogs/training_progress_dialog.h"
#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

/// Codes lists as text: one list per variable, "*" for an open one.
std::string CodesText(std::size_t variables, const auto& isFixed, const auto& table) {
  std::vector<std::vector<std::string>> lists(variables);
  for (std::size_t i = 0; i < variables; ++i) {
    if (!isFixed(i)) {
      lists[i].emplace_back("*");
      continue;
    }
    for (const auto& category : table(i).codes()) lists[i].push_back(std::to_string(category.code));
  }
  return ListText(lists);
}

/// The fixed codes of each variable, none of an open one.
std::vector<std::vector<double>> FixedCodes(std::size_t variables, const auto& isFixed,
                                            const auto& table) {
  std::vector<std::vector<double>> codes(variables);
  for (std::size_t i = 0; i < variables; ++i) {
    if (!isFixed(i)) continue;
    for (const auto& category : table(i).codes())
      codes[i].push_back(static_cast<double>(category.code));
  }
  return codes;
}

}  // namespace

/// A list of the variable dialog: the string number of its caption and where it goes.
struct SpecificationDialog::RoleList {
  int caption;
  std::vector<int> VariableRoles::*variables;
};

std::span<const SpecificationDialog::RoleList> SpecificationDialog::RoleLists() const {
  static constexpr RoleList kLists[] = {{120, &VariableRoles::continuousDependents},
                                        {121, &VariableRoles::categoricalDependents},
                                        {122, &VariableRoles::continuousPredictors},
                                        {123, &VariableRoles::categoricalPredictors}};
  return std::span<const RoleList>(kLists).subspan(profile_.takesContinuousDependents ? 0 : 1);
}

SpecificationDialog::SpecificationDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                         const SpecificationProfile& profile)
    : CAnalysisDialog(analysis), data_(data), profile_(profile) {}

bool SpecificationDialog::OnCancel() {
  analysis().services().dialogs->ExitDialog(kStartupStep, kGoBack);
  return true;
}

bool SpecificationDialog::ChooseVariables() {
  if (!data_.CheckDataFile()) return false;
  VariableRoles chosen = data_.roles();
  VariableListsRequest request;
  request.title = GetResourceString(119);
  for (const RoleList& list : RoleLists()) {
    request.captions.emplace_back(GetResourceString(list.caption));
    request.lists.push_back(chosen.*list.variables);
  }
  DialogServices& dialogs = *analysis().services().dialogs;
  do {
    if (!(profile_.takesContinuousDependents ? dialogs.FourVarListsDialog(request)
                                             : dialogs.ThreeVarListsDialog(request)))
      return false;
    for (std::size_t i = 0; i < RoleLists().size(); ++i)
      chosen.*RoleLists()[i].variables = request.lists[i];
    if (chosen.continuousDependents.empty() || chosen.categoricalDependents.empty()) {
      if (!data_.SetRoles(std::move(chosen))) return false;
      VariablesChanged();
      return true;
    }
  } while (Confirm(308));
  return false;
}

bool SpecificationDialog::SetVariables(std::string_view text) {
  if (text.empty() && HasVariables()) {
    data_.ClearRoles();
    VariablesChanged();
    return true;
  }
  AutomationServices& automation = *analysis().services().automation;
  automation.SetAnswer(AnswerMember::variables, text);
  const bool chosen = ChooseVariables();
  automation.SetAnswer(AnswerMember::variables, {});
  return chosen;
}

std::string SpecificationDialog::VariablesText() const {
  if (!HasVariables()) return {};
  const VariableRoles& roles = data_.roles();
  std::vector<std::vector<std::string>> lists;
  for (const RoleList& list : RoleLists()) {
    auto& names = lists.emplace_back();
    for (const int variable : roles.*list.variables)
      names.push_back(MemberText(analysis().services().file->getvn5(variable)));
  }
  return ListText(lists);
}

bool SpecificationDialog::ChooseCodes(int title, const std::vector<int>& variables,
                                      std::vector<std::vector<double>>& codes) {
  if (!SelectCodes(GetResourceString(title), variables, {}, codes)) return false;
  const bool integral = std::ranges::all_of(
      codes, [](const auto& list) { return std::ranges::all_of(list, IsIntegral); });
  return integral || Refuse(126);
}

bool SpecificationDialog::ChoosePredictorCodes() {
  const auto& variables = data_.roles().categoricalPredictors;
  auto codes = FixedCodes(
      variables.size(), [this](std::size_t i) { return data_.IsPredictorFixed(i); },
      [this](std::size_t i) -> const CategoryTable& { return data_.predictorCategories(i); });
  if (!ChooseCodes(124, variables, codes)) return false;
  data_.FixPredictorCategories(codes);
  return true;
}

bool SpecificationDialog::ChooseResponseCodes() {
  const auto& variables = data_.roles().categoricalDependents;
  auto codes = FixedCodes(
      variables.size(), [this](std::size_t i) { return data_.IsDependentFixed(i); },
      [this](std::size_t i) -> const CategoryTable& { return data_.dependentCategories(i); });
  if (!ChooseCodes(127, variables, codes)) return false;
  data_.FixDependentCategories(codes);
  return true;
}

std::string SpecificationDialog::PredictorCodesText() const {
  return CodesText(
      data_.roles().categoricalPredictors.size(),
      [this](std::size_t i) { return data_.IsPredictorFixed(i); },
      [this](std::size_t i) -> const CategoryTable& { return data_.predictorCategories(i); });
}

std::string SpecificationDialog::ResponseCodesText() const {
  return CodesText(
      data_.roles().categoricalDependents.size(),
      [this](std::size_t i) { return data_.IsDependentFixed(i); },
      [this](std::size_t i) -> const CategoryTable& { return data_.dependentCategories(i); });
}

void SpecificationDialog::SetSampling(bool apply) {
  data_.sampling.apply = apply;
  data_.rereadNeeded = true;
}

void SpecificationDialog::SetSamplingMode(SamplingMode mode) {
  data_.sampling.mode = mode;
  data_.sampling.defined = false;
  data_.rereadNeeded = true;
}

bool SpecificationDialog::DefineSelectionConditions() {
  if (!analysis().services().dialogs->DefineSelCond()) return false;
  data_.rereadNeeded = true;
  return true;
}

bool SpecificationDialog::DefineCaseWeights() {
  if (!analysis().services().dialogs->DefineWeight()) return false;
  data_.rereadNeeded = true;
  return true;
}

template <class Change>
bool SpecificationDialog::ChangeSample(Change change) {
  SampleIdentifierDialog dialog(analysis(), data_);
  const bool accepted = change(dialog);
  if (!accepted) dialog.OnCancel();
  dialog.ApplyChoice();
  data_.rereadNeeded = true;
  return accepted;
}

bool SpecificationDialog::ChooseSample() {
  return ChangeSample([this](SampleIdentifierDialog& dialog) {
    return analysis().services().dialogs->RunModalDialog(SampleIdentifierDialog::kTemplate, dialog);
  });
}

bool SpecificationDialog::SetSampleVariable(std::string_view text) {
  AutomationServices& automation = *analysis().services().automation;
  automation.SetAnswer(AnswerMember::variables, text);
  const bool picked = PickSampleVariable();
  automation.SetAnswer(AnswerMember::variables, {});
  return picked;
}

bool SpecificationDialog::PickSampleVariable() {
  return ChangeSample([](SampleIdentifierDialog& dialog) {
    dialog.SetActive(true);  // who chooses a variable means to use it
    return dialog.PickVariable() && dialog.OnOK();
  });
}

std::string SpecificationDialog::SampleVariableText() const {
  const int variable = data_.sampleChoice.variable;
  return variable == 0 ? std::string() : MemberText(analysis().services().file->getvn5(variable));
}

bool SpecificationDialog::SetSampleCode(std::string_view text) {
  return ChangeSample([&](SampleIdentifierDialog& dialog) {
    dialog.TypeCode(text);
    return dialog.OnOK();
  });
}

bool SpecificationDialog::SetSampleActive(bool active) {
  return ChangeSample([&](SampleIdentifierDialog& dialog) {
    dialog.SetActive(active);
    return dialog.OnOK();
  });
}

std::string_view SpecificationDialog::SampleState() const {
  return GetResourceString(IsMode(SamplingMode::identifier) && data_.sampling.defined ? 210 : 209);
}

bool SpecificationDialog::SampleVariableIsNoAnalysisVariable() {
  const SamplingSettings& sampling = data_.sampling;
  if (!IsMode(SamplingMode::identifier)) return true;
  return !data_.roles().IsAnalysisVariable(sampling.identifierVariable) || Refuse(315);
}

bool SpecificationDialog::DrawSample() {
  if (IsMode(SamplingMode::random)) return DrawRandomSample();
  if (IsMode(SamplingMode::firstCases)) return TakeFirstCases();
  return true;
}

bool SpecificationDialog::DrawRandomSample() {
  double percentage = 0;
  if (!ReadField(profile_.percentageProperty, percentage))
    return Refuse(profile_.unreadableSampling);
  if (!IsGreater(percentage, 0.0) || !IsLess(percentage, 100.0))
    return RefuseText(profile_.percentageRange);
  data_.sampling.trainingPercentage = percentage;
  std::int32_t seed = 0;
  if (!ReadField("SeedForRandomSampling", seed) || seed < 0 || seed > kHighestSeed)
    return Refuse(profile_.unreadableSampling);
  data_.sampling.seed = seed;
  data_.rereadNeeded = true;
  if (!data_.DrawRandomSample()) return false;
  RefreshField("NValue");
  return true;
}

bool SpecificationDialog::TakeFirstCases() {
  std::int32_t firstN = 0;
  if (!ReadField("NValue", firstN)) return Refuse(profile_.unreadableSampling);
  if (firstN < 2 || firstN >= data_.numberOfCases() - profile_.firstCasesReserve)
    return Refuse(207, data_.numberOfCases());
  data_.sampling.firstN = firstN;
  data_.rereadNeeded = true;
  return data_.TakeFirstCases();
}

bool SpecificationDialog::ReadCases(TrainingRowSink* sink) {
  return data_.ScanCases(profile_.method) && data_.LoadCases(profile_.method, sink);
}

bool SpecificationDialog::ReadSetting(std::string_view name, double& value) {
  if (ReadFieldInRange(name, value)) return true;
  const Control& control = *FindControl(name);
  Explain(std::string(name) +
          (control.kind == ControlKind::integer ? " takes a whole number from "
                                                : " takes a number from ") +
          ShortestText(LowestOf(control)) + " to " + ShortestText(HighestOf(control)) + ", not \"" +
          FieldText(control) + '"');
  return Refuse(125);
}

bool SpecificationDialog::Train(const std::function<bool(bool silent)>& train,
                                TrainingDisplay*& display) {
  const HostServices& services = analysis().services();
  if (services.automation->IsOleAutomation()) return train(true);
  TrainingProgressDialog progress(
      analysis(), [&train] { return train(false); }, display);
  return services.dialogs->RunModalDialog(TrainingProgressDialog::kTemplate, progress);
}

void SpecificationDialog::ExitToResults() {
  analysis().services().dialogs->ExitDialog(profile_.resultsStep, kGoForward);
}

}  // namespace qrvml
