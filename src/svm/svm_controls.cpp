// The control table of the specification dialog of support vector machines.

#include <vector>

#include "dialogs/specification_rows.h"
#include "svm/svm_dialog.h"
#include "svm/svm_dialog_texts.h"

namespace qrvml {
namespace {

using Dialog = SVMDialog;
using Of = On<Dialog>;

constexpr const rows::SamplingLabels& kSampling = rows::kTrainingSample;

constexpr double kMost = 999999999;
constexpr double kMostReal = 999999999.9;
constexpr Range kPositive = {1e-20, kMostReal};
constexpr Range kNotNegative = {0, kMostReal};
constexpr Range kShare = {0, 1};

double FoldsAtMost(const CAnalysisDialog& dialog) {
  const auto& svm = static_cast<const SVMDialog&>(dialog);
  const std::int64_t cases = svm.data().trainingCount();
  // Without cross-validation the default must not stop a small sample.
  return svm.choices().applyCrossValidation && cases > 0 ? static_cast<double>(cases) : kMost;
}

// --- Rules ---------------------------------------------------------------------------------------

constexpr auto classification =
    When<Dialog>([](const Dialog& d) { return d.HasCategoricalDependents(); });
constexpr auto regression =
    When<Dialog>([](const Dialog& d) { return d.HasContinuousDependents(); });
constexpr auto searching =
    When<Dialog>([](const Dialog& d) { return d.choices().applyCrossValidation; });
constexpr auto usesC = When<Dialog>([](const Dialog& d) {
  const std::int32_t type = d.choices().svmType;
  return type == kCClassification || type == kEpsilonRegression || type == kNuRegression;
});
constexpr auto usesNu = When<Dialog>([](const Dialog& d) {
  const std::int32_t type = d.choices().svmType;
  return type == kNuClassification || type == kOneClass || type == kNuRegression;
});
constexpr auto usesEpsilon =
    When<Dialog>([](const Dialog& d) { return d.choices().svmType == kEpsilonRegression; });
constexpr auto usesDegree =
    When<Dialog>([](const Dialog& d) { return d.choices().kernelType == kPolynomialKernel; });
constexpr auto usesGamma =
    When<Dialog>([](const Dialog& d) { return d.choices().kernelType != kLinearKernel; });
constexpr auto usesBias = When<Dialog>([](const Dialog& d) {
  return d.choices().kernelType == kPolynomialKernel || d.choices().kernelType == kSigmoidKernel;
});
constexpr auto penalising = When<Dialog>([](const Dialog& d) { return d.engine().usePenalty; });
constexpr auto hasContinuousInput =
    When<Dialog>([](const Dialog& d) { return d.HasContinuousPredictors(); });

// --- Rows ----------------------------------------------------------------------------------------

constexpr DescriptionRow OptionRow(int identifier, int type = 1, int after = 0) {
  return {.identifier = identifier, .kind = 2, .type = type, .after = after};
}

template <SVMType type>
Control TypeRow(std::string_view name, std::string_view label, int identifier) {
  return {
      .name = name,
      .kind = ControlKind::radio,
      .label = label,
      .tab = svm::kTypeTab,
      .group = type <= kNuClassification ? "SVM pour Classification" : "SVM pour Régression",
      .row = OptionRow(identifier),
      .enabled = type <= kNuClassification ? Rule(classification) : Rule(regression),
      .bind = {.number = Of::Number([](const Dialog& d) { return d.choices().svmType == type; }),
               .assign = Of::Assign([](Dialog& d, double) { return d.ChooseType(type); })}};
}

template <SVMKernelType kernel>
Control KernelRow(std::string_view name, std::string_view label, int identifier) {
  return {.name = name,
          .kind = ControlKind::radio,
          .label = label,
          .tab = svm::kKernelTab,
          .row = OptionRow(identifier),
          .bind = {.number =
                       Of::Number([](const Dialog& d) { return d.choices().kernelType == kernel; }),
                   .assign = Of::Assign([](Dialog& d, double) {
                     d.ChooseKernel(kernel);
                     return true;
                   })}};
}

using Number = double (*)(const CAnalysisDialog&);

Control RealField(std::string_view name, std::string_view label, std::string_view tab, Range range,
                  DescriptionRow row, Rule enabled, Number number) {
  return {.name = name,
          .kind = ControlKind::real,
          .label = label,
          .tab = tab,
          .range = range,
          .decimals = 3,
          .row = row,
          .enabled = enabled,
          .bind = {.number = number}};
}

Control IntegerField(std::string_view name, std::string_view label, std::string_view tab,
                     Range range, int identifier, Rule enabled, Number number) {
  return {.name = name,
          .kind = ControlKind::integer,
          .label = label,
          .tab = tab,
          .range = range,
          .row = OptionRow(identifier),
          .enabled = enabled,
          .bind = {.number = number}};
}

/// A field of the grid: its label names the row and the column.
Control GridField(std::string_view name, std::string_view label, Range range, int identifier,
                  Rule enabled, Number number) {
  Control control =
      RealField(name, label, svm::kSelectionTab, range, OptionRow(identifier, 2), enabled, number);
  control.group = "Définir la grille de recherche";
  return control;
}

void Append(std::vector<Control>& table, std::vector<Control> more) {
  table.insert(table.end(), more.begin(), more.end());
}

std::vector<Control> TypeRows() {
  constexpr std::string_view kTab = svm::kTypeTab;
  return {
      TypeRow<kCClassification>("ClassType1", "C-S&VM", 50380),
      TypeRow<kNuClassification>("ClassType2", "&nu-SVM", 50381),
      TypeRow<kEpsilonRegression>("RegressionType1", "&epsilon-SVM", 50382),
      TypeRow<kNuRegression>("RegressionType2", "n&u-SVM", 50383),
      RealField("CParameter", "Capac&ité :", kTab, kPositive, OptionRow(50391, 2, 50390),
                usesC && !searching,
                Of::Number([](const Dialog& d) { return d.engine().parameters.C; })),
      RealField("EpsilonParameter", "&Epsilon :", kTab, kNotNegative, OptionRow(50392, 2, 50391),
                usesEpsilon && !searching,
                Of::Number([](const Dialog& d) { return d.engine().parameters.epsilon; })),
      RealField("NuParameter", "&Nu :", kTab, kShare, OptionRow(50393, 2, 50392),
                usesNu && !searching,
                Of::Number([](const Dialog& d) { return d.engine().parameters.nu; })),
  };
}

std::vector<Control> KernelRows() {
  constexpr std::string_view kTab = svm::kKernelTab;
  return {
      KernelRow<kLinearKernel>("LinearKernel", "&Linéaire", 50384),
      KernelRow<kPolynomialKernel>("PolyKernel", "Po&lynominal", 50385),
      KernelRow<kRadialKernel>("RBFKernel", "Fonction &radiale de base", 50386),
      KernelRow<kSigmoidKernel>("SigmoidKernel", "S&igmoïde", 50387),
      IntegerField("Degree", "&Degré :", kTab, {1, kMost}, 50388, usesDegree,
                   Of::Number([](const Dialog& d) { return d.engine().parameters.degree; })),
      RealField("Gam", "&Gamma :", kTab, kNotNegative, OptionRow(50389, 2), usesGamma,
                Of::Number([](const Dialog& d) { return d.engine().parameters.gamma; })),
      RealField("Bias", "&Biais :", kTab, kNotNegative, OptionRow(50390, 2), usesBias,
                Of::Number([](const Dialog& d) { return d.engine().parameters.coef0; })),
  };
}

std::vector<Control> SearchRows() {
  constexpr std::string_view kTab = svm::kSelectionTab;
  return {
      {.name = "ApplyCrossV",
       .kind = ControlKind::check,
       .label = "Appliquer la validation croisée par v-ensembles :",
       .tab = kTab,
       .row = OptionRow(50394),
       .bind = {.number =
                    Of::Number([](const Dialog& d) { return d.choices().applyCrossValidation; }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.SetCrossValidation(value != 0);
                  return true;
                })}},
      IntegerField("VValue", "Va&leur de V :", kTab,
                   {1, kMost, FoldsAtMost, "the number of training cases"}, 50395, searching,
                   Of::Number([](const Dialog& d) { return d.engine().folds; })),
      IntegerField("CrossVSeed", "Amorc&e :", kTab, {0, kHighestSeed}, 50396, searching,
                   Of::Number([](const Dialog& d) { return d.engine().crossValidationSeed; })),
      GridField("MinimumC", "Capac&ité : Minimum", kPositive, 50397, usesC && searching,
                Of::Number([](const Dialog& d) { return d.engine().minimumC; })),
      GridField("MaximumC", "Capac&ité : Maximum", kPositive, 50398, usesC && searching,
                Of::Number([](const Dialog& d) { return d.engine().maximumC; })),
      GridField("DeltaC", "Capac&ité : Incrément", kNotNegative, 50399, usesC && searching,
                Of::Number([](const Dialog& d) { return d.engine().deltaC; })),
      GridField("MinimumEpsilon", "Epsilo&n : Minimum", kNotNegative, 50400,
                usesEpsilon && searching,
                Of::Number([](const Dialog& d) { return d.engine().minimumEpsilon; })),
      GridField("MaximumEpsilon", "Epsilo&n : Maximum", kNotNegative, 50401,
                usesEpsilon && searching,
                Of::Number([](const Dialog& d) { return d.engine().maximumEpsilon; })),
      GridField("DeltaEpsilon", "Epsilo&n : Incrément", kNotNegative, 50402,
                usesEpsilon && searching,
                Of::Number([](const Dialog& d) { return d.engine().deltaEpsilon; })),
      GridField("MinimumNu", "N&u : Minimum", kShare, 50403, usesNu && searching,
                Of::Number([](const Dialog& d) { return d.engine().minimumNu; })),
      GridField("MaximumNu", "N&u : Maximum", kShare, 50404, usesNu && searching,
                Of::Number([](const Dialog& d) { return d.engine().maximumNu; })),
      GridField("DeltaNu", "N&u : Incrément", kNotNegative, 50405, usesNu && searching,
                Of::Number([](const Dialog& d) { return d.engine().deltaNu; })),
  };
}

std::vector<Control> LearningRows() {
  constexpr std::string_view kTab = svm::kLearningTab;
  return {
      IntegerField("MaxNoOfIterations", "Nombre ma&ximum d'itérations :", kTab, {1, kMost}, 50406,
                   nullptr,
                   Of::Number([](const Dialog& d) { return d.engine().solver.maxIterations; })),
      RealField("StoppingAccuracy", "Arrê&ter à la précision :", kTab, kPositive,
                OptionRow(50407, 2), nullptr,
                Of::Number([](const Dialog& d) { return d.engine().parameters.stoppingAccuracy; })),
      IntegerField("CacheSize", "Taille du cac&he, en Mo :", kTab, {0, kMost}, 50408, nullptr,
                   Of::Number([](const Dialog& d) { return d.engine().parameters.cacheSize; })),
      {.name = "ShrinkData",
       .kind = ControlKind::check,
       .label = "Ré&duire les données",
       .tab = kTab,
       .row = OptionRow(50409),
       .bind = {.number = Of::Number([](const Dialog& d) { return d.choices().shrinking; }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.SetShrinking(value != 0);
                  return true;
                })}},
      {.name = "ScaleInputs",
       .kind = ControlKind::check,
       .label = "&Normer les vars indépendantes continues",
       .tab = kTab,
       .row = OptionRow(50410),
       .enabled = hasContinuousInput,
       .bind = {.number = Of::Number([](const Dialog& d) { return d.data().scaleInputs; }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.data().scaleInputs = value != 0;
                  return true;
                })}},
      {.name = "ScaleOutputs",
       .kind = ControlKind::check,
       .label = "No&rmer la variable dépendante continue",
       .tab = kTab,
       .row = OptionRow(50411),
       .enabled = regression,
       .bind = {.number = Of::Number([](const Dialog& d) { return d.data().scaleOutputs; }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.data().scaleOutputs = value != 0;
                  return true;
                })}},
      {.name = "UsePenalty",
       .kind = ControlKind::check,
       .label = "&Use penalty for unbalanced class labels",
       .tab = kTab,
       .row = OptionRow(50412),
       .enabled = !regression,
       .bind = {.number = Of::Number([](const Dialog& d) {
                  return d.engine().usePenalty && d.HasCategoricalDependents();
                }),
                .assign = Of::Assign([](Dialog& d, double value) {
                  d.engine().SetUsePenalty(value != 0);
                  return true;
                })}},
      {.name = "PenaltyList",
       .kind = ControlKind::text,
       .label = "Penalties in the order of the class texts",
       .tab = kTab,
       .row = OptionRow(50424, 5),
       .enabled = penalising && !regression,
       .bind = {.text = Of::Text([](const Dialog& d) { return d.engine().penaltyList; }),
                .enter = Of::Enter(
                    [](Dialog& d, std::string_view text) { return d.SetPenaltyList(text); })}},
  };
}

/// A bound of a scaling range, outside the automation interface.
Control RangeField(std::string_view name, std::string_view label, std::string_view group,
                   Number number) {
  Control control =
      RealField(name, label, svm::kLearningTab, {-1, 1}, {}, hasContinuousInput, number);
  control.group = group;
  return control;
}

std::vector<Control> ScalingRangeRows() {
  constexpr std::string_view kInputs = "Normer les vars indépendantes continues";
  constexpr std::string_view kOutput = "Normer la variable dépendante continue";
  return {
      RangeField("Learning.InputLow", "inférieur", kInputs,
                 Of::Number([](const Dialog& d) { return d.data().inputRange.lowest; })),
      RangeField("Learning.InputHigh", "supérieur", kInputs,
                 Of::Number([](const Dialog& d) { return d.data().inputRange.highest; })),
      RangeField("Learning.OutputLow", "inférieur", kOutput,
                 Of::Number([](const Dialog& d) { return d.data().outputRange.lowest; })),
      RangeField("Learning.OutputHigh", "supérieur", kOutput,
                 Of::Number([](const Dialog& d) { return d.data().outputRange.highest; })),
  };
}

std::vector<Control> MakeTable() {
  std::vector<Control> table = {
      rows::CasewiseDeletion(),
      rows::MeanSubstitution("Remplacement par la &moyenne"),
      rows::Variables(),
      rows::ResponseCodes(),
      rows::PredictorCodes(),
      rows::ApplySampling(kSampling),
      rows::UseRandomSampling(kSampling),
      rows::UseSubsetvariable(kSampling),
      rows::UseFirstNCases(kSampling),
      rows::Percentage(kSampling, "SizeOfTrainingSample", 50377),
      rows::Seed(kSampling),
      rows::FirstN(kSampling),
  };
  Append(table, TypeRows());
  Append(table, KernelRows());
  Append(table, SearchRows());
  Append(table, LearningRows());
  Append(table,
         {rows::SampleActiveProperty(kSampling, "UseCrossvalidationSample",
                                     {.identifier = 41206, .kind = 2, .type = 1, .after = 50379}),
          rows::SampleVariableProperty(
              kSampling, "AnalysisAndCrossValidationSamples",
              {.identifier = 41204, .role = 1, .kind = 2, .type = 1, .after = 50379}),
          rows::SampleCodeProperty(kSampling, "CodeForLearningSample",
                                   {.identifier = 41205, .kind = 2, .type = 5, .after = 41204})});
  Append(table, ScalingRangeRows());
  Append(table, {rows::SampleButton(kSampling), rows::SampleVariable(kSampling),
                 rows::SampleCode(kSampling), rows::SampleActive(kSampling),
                 rows::SampleState(kSampling), rows::SelectionConditions(), rows::CaseWeights()});
  return table;
}

}  // namespace

std::span<const Control> SVMDialog::Table() {
  static const std::vector<Control> table = MakeTable();
  return table;
}

}  // namespace qrvml
