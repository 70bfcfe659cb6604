#include "svm/svm_dialog.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "svm/penalty_dialog.h"
#include "svm/penalty_list.h"
#include "svm/svm_dialog_texts.h"

namespace qrvml {
namespace {

constexpr SpecificationProfile kProfile = {
    .method = Method::svm,
    .interfaceName = "MachineLearningSVM",
    .title = "Support Vector Machines",
    .resultsStep = 105,
    .alwaysSplits = false,
    .percentageProperty = "SizeOfTrainingSample",
    .percentageRange = "Size of training sample must lay in the range 0-100",
    .unreadableSampling = 296,
    .firstCasesReserve = 1,
};

constexpr std::int32_t kStandardFolds = 10;

/// An edit field and where OK stores its number.
struct StoredField {
  std::string_view name;
  void (*store)(SVMEngine& engine, double value);
};

constexpr StoredField kTypeFields[] = {
    {"CParameter", [](SVMEngine& e, double value) { e.parameters.C = value; }},
    {"NuParameter", [](SVMEngine& e, double value) { e.parameters.nu = value; }},
    {"EpsilonParameter", [](SVMEngine& e, double value) { e.parameters.epsilon = value; }},
};
constexpr StoredField kKernelFields[] = {
    {"Degree", [](SVMEngine& e, double value) { e.parameters.degree = value; }},
    {"Gam", [](SVMEngine& e, double value) { e.parameters.gamma = value; }},
    {"Bias", [](SVMEngine& e, double value) { e.parameters.coef0 = value; }},
};
constexpr StoredField kSearchFields[] = {
    {"VValue", [](SVMEngine& e, double value) { e.folds = static_cast<std::int32_t>(value); }},
    {"CrossVSeed",
     [](SVMEngine& e, double value) { e.crossValidationSeed = static_cast<std::int32_t>(value); }},
    {"MinimumC", [](SVMEngine& e, double value) { e.minimumC = value; }},
    {"MaximumC", [](SVMEngine& e, double value) { e.maximumC = value; }},
    {"DeltaC", [](SVMEngine& e, double value) { e.deltaC = value; }},
    {"MinimumEpsilon", [](SVMEngine& e, double value) { e.minimumEpsilon = value; }},
    {"MaximumEpsilon", [](SVMEngine& e, double value) { e.maximumEpsilon = value; }},
    {"DeltaEpsilon", [](SVMEngine& e, double value) { e.deltaEpsilon = value; }},
    {"MinimumNu", [](SVMEngine& e, double value) { e.minimumNu = value; }},
    {"MaximumNu", [](SVMEngine& e, double value) { e.maximumNu = value; }},
    {"DeltaNu", [](SVMEngine& e, double value) { e.deltaNu = value; }},
};
constexpr StoredField kLearningFields[] = {
    {"MaxNoOfIterations",
     [](SVMEngine& e, double value) { e.solver.maxIterations = static_cast<std::int32_t>(value); }},
    {"StoppingAccuracy", [](SVMEngine& e, double value) { e.parameters.stoppingAccuracy = value; }},
    {"CacheSize", [](SVMEngine& e, double value) { e.parameters.cacheSize = value; }},
};

}  // namespace

SVMDialog::SVMDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, SVMEngine& engine)
    : SpecificationDialog(analysis, data, kProfile),
      engine_(engine),
      choices_{engine.parameters.svmType, engine.parameters.kernelType, engine.applyCrossValidation,
               engine.parameters.shrinking != 0} {}

bool SVMDialog::IsTabHidden(std::string_view tab) const {
  return tab == svm::kKernelTab && HasVariables() && !HasDependents();
}

void SVMDialog::TabShown(std::string_view tab) {
  // What a tab sets when it is shown is recorded, since a macro shows none.
  const auto refresh = [this](std::string_view field) {
    const Control& control = *FindControl(field);
    const std::string before = FieldText(control);
    RefreshField(field);
    if (const std::string now = FieldText(control); now != before)
      analysis().services().automation->RecordControlValue(*this, control, now, 0);
  };
  if (tab == svm::kSelectionTab) {
    engine_.folds = kStandardFolds;
    refresh("VValue");
  }
  double gamma = 0;
  const std::int32_t variables = analysis().services().file->NumberOfVariables();
  if (tab != svm::kKernelTab || variables < 2 || !ReadField("Gam", gamma) || gamma != 0) return;
  engine_.parameters.gamma = 1.0 / (variables - 1);
  refresh("Gam");
}

bool SVMDialog::ChooseType(SVMType type) {
  const bool forClasses = type == kCClassification || type == kNuClassification;
  if (!(forClasses ? HasCategoricalDependents() : HasContinuousDependents()))
    return RefuseText(forClasses ? "A type for classification needs a categorical dependent."
                                 : "A type for regression needs a continuous dependent.");
  choices_.svmType = type;
  return true;
}

void SVMDialog::SetCrossValidation(bool apply) {
  if (apply == choices_.applyCrossValidation) return;
  choices_.applyCrossValidation = apply;
  engine_.folds = kStandardFolds;
  RefreshField("VValue");
}

void SVMDialog::VariablesChanged() {
  const bool forClasses = HasCategoricalDependents() || !HasVariables();
  choices_.svmType = forClasses        ? kCClassification
                     : HasDependents() ? kEpsilonRegression
                                       : kOneClass;
  engine_.parameters.svmType = choices_.svmType;
  const std::size_t predictors = data().roles().predictors.size();
  engine_.parameters.gamma =
      predictors == 0 ? SVMParameters{}.gamma : 1.0 / static_cast<double>(predictors);
  RefreshField("Gam");
}

bool SVMDialog::OnOK() {
  if (!HasDependents()) {
    ChooseVariables();
    return false;
  }
  if (!(SampleVariableIsNoAnalysisVariable()  // 315
        && DrawSample()                       // 296, percentage text, 207, 104
        && ReadScalingRanges()                // 125
        && ReadCases(&engine_)))              // 104, 116, 218 to 221
    return false;
  engine_.ScaleSvmProblem();
  if (!(ReadSettings()      // 125
        && TakePenalties()  // no message box: the penalty list says what is wrong
        && TrainModel()))   // texts of the parameter check, 104, 155
    return false;
  TellAboutModel();
  ExitToResults();
  return true;
}

bool SVMDialog::TrainModel() {
  if (Train([this](bool silent) { return engine_.TrainSvm(silent); }, engine_.display)) return true;
  Explain(engine_.faultReason());
  return false;
}

void SVMDialog::TellAboutModel() const {
  const HostServices& services = analysis().services();
  const auto note = [&services](const std::string& text) {
    services.messages->DspMessageBox(BoxType::note, 0, text);
  };
  if (const std::int64_t limited = engine_.solver.counts.limited; limited > 0)
    note("training stopped at the iteration limit (MaxNoOfIterations = " +
         std::to_string(engine_.solver.maxIterations) + ") in " + std::to_string(limited) + " of " +
         std::to_string(engine_.model->constants.size()) +
         " decision functions, short of the stopping accuracy");
  const auto& dependents = data().roles().dependents;
  if (dependents.size() > 1)
    note("the model predicts " + services.file->getvn5(dependents[0]) + ", the first of " +
         std::to_string(dependents.size()) + " dependents, alone");
}

bool SVMDialog::ReadScalingRanges() {
  return (!data().scaleInputs ||
          ReadScalingRange("Learning.InputLow", "Learning.InputHigh", data().inputRange)) &&
         (!data().scaleOutputs ||
          ReadScalingRange("Learning.OutputLow", "Learning.OutputHigh", data().outputRange));
}

bool SVMDialog::ReadScalingRange(std::string_view low, std::string_view high, ScalingRange& range) {
  ScalingRange read{};
  if (!ReadSetting(low, read.lowest) || !ReadSetting(high, read.highest)) return false;
  if (read.lowest >= read.highest) {
    Explain(std::string(low) + " must be below " + std::string(high));
    return Refuse(125);
  }
  range = read;
  return true;
}

bool SVMDialog::SetPenaltyList(std::string_view text) {
  if (text.size() > kLongestPenaltyList) {
    Explain("PenaltyList is at most " + std::to_string(kLongestPenaltyList) + " characters long");
    return false;
  }
  engine_.penaltyList = text;
  return true;
}

bool SVMDialog::TakePenalties() {
  if (!engine_.usePenalty || !HasCategoricalDependents()) {
    engine_.DiscardClassWeights();
    return true;
  }
  if (!analysis().services().automation->IsOleAutomation()) return AskForPenalties();
  std::string error;
  if (engine_.TakePenaltyList(error)) return true;
  Explain("PenaltyList: " + error);
  return false;
}

bool SVMDialog::AskForPenalties() {
  const auto classes = data().dependentCategories(0).classes();
  const SVMParameters& parameters = engine_.parameters;
  // Those of an earlier OK, if they belong to these classes.
  const bool known = std::ranges::equal(
      classes, parameters.classWeightLabels,
      [](const CategoryTable::Class& entry, std::int32_t label) { return entry.code == label; });
  PenaltyDialog dialog(
      analysis(), classes,
      known ? std::span<const double>(parameters.classWeights) : std::span<const double>());
  if (!analysis().services().dialogs->RunModalDialog(PenaltyDialog::kTemplate, dialog)) {
    engine_.DiscardClassWeights();
    return false;
  }
  // A macro has nobody to ask.
  const std::string list = dialog.ListText();
  std::vector<double> given;
  std::string error;
  if (!ReadPenaltyList(engine_.penaltyList, classes, given, error) || given != dialog.penalties())
    analysis().services().automation->RecordControlValue(*this, *FindControl("PenaltyList"), list,
                                                         0);
  engine_.SetClassWeights(dialog.penalties());
  engine_.penaltyList = list;
  return true;
}

bool SVMDialog::ReadSettings() {
  const auto read = [this](std::span<const StoredField> fields) {
    for (const StoredField& field : fields) {
      double value = 0;
      if (!ReadSetting(field.name, value)) return false;
      field.store(engine_, value);
    }
    return true;
  };
  // What cannot be read ends the reading; what follows keeps its old value.
  engine_.parameters.svmType = choices_.svmType;
  if (!read(kTypeFields)) return false;
  engine_.parameters.kernelType = choices_.kernelType;
  if (!read(kKernelFields)) return false;
  engine_.applyCrossValidation = choices_.applyCrossValidation;
  if (!read(kSearchFields) || !read(kLearningFields)) return false;
  // The two scaling boxes have stored theirs.
  engine_.parameters.shrinking = choices_.shrinking ? 1 : 0;
  return true;
}

}  // namespace qrvml
