#include "knn/knn_dialog.h"

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "knn/knn_texts.h"

namespace qrvml {
namespace {

constexpr SpecificationProfile kProfile = {
    .method = Method::knn,
    .interfaceName = "MachineLearningKNN",
    .title = "K Plus Proches Voisins ",
    .resultsStep = 107,
    .alwaysSplits = true,
    .percentageProperty = "SizeOfPrototypeSample",
    .percentageRange = "Size of training sample must lay in the range 1-100",
    .unreadableSampling = 208,
    .firstCasesReserve = 0,
};

/// A range message: the text, the bound and a full stop.
bool RefuseRange(std::string_view text, std::int64_t bound) {
  return RefuseText(std::string(text) + std::to_string(bound) + '.');
}

}  // namespace

KNNDialog::KNNDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, KNNEngine& engine)
    : SpecificationDialog(analysis, data, kProfile), engine_(engine) {}

void KNNDialog::SetStandardized(bool on) {
  data().scaleInputs = on;
  data().scaleOutputs = false;
}

bool KNNDialog::OnOK() {
  if (!HasDependents()) {
    ChooseVariables();
    return false;
  }
  if (!(SampleVariableIsNoAnalysisVariable()  // 315
        && DrawSample()                       // 208, percentage text, 207, 104
        && HasTestSample()                    // 205
        && ReadCases()                        // 104, 116, 218 to 221
        && ReadSettings()                     // 125, range texts, 211, 214
        && engine_.Allocate()                 // 104
        && Train([this](bool silent) { return engine_.TrainKnn(silent); },
                 engine_.display)))  // 104, 155
    return false;
  ExitToResults();
  return true;
}

bool KNNDialog::HasTestSample() { return data().sampling.defined || Refuse(205); }

bool KNNDialog::ReadUpTo(std::string_view field, std::int32_t most, std::string_view rangeText,
                         std::int32_t& value) {
  if (!ReadField(field, value)) return Refuse(125);
  return (value >= 1 && value <= most) || RefuseRange(rangeText, most);
}

bool KNNDialog::ReadSettings() {
  engine_.Reset();
  const std::int32_t prototypes = data().StoredRows(Sample::training);
  std::int32_t value = 0;
  if (!ReadUpTo("KNearestNeighbors", prototypes, knn::kNeighboursRange, value)) return false;
  engine_.k = value;
  std::int32_t seed = 0;
  if (!ReadField("CrossVSeed", seed) || seed > kHighestSeed) return Refuse(125);
  if (seed < 0) return Refuse(211);
  engine_.crossValidationSeed = seed;
  return !engine_.applyCrossValidation || ReadCrossValidation(prototypes - 1);
}

bool KNNDialog::ReadCrossValidation(std::int32_t most) {
  std::int32_t value = 0;
  if (!ReadUpTo("VValue", most,
                "The size of the cross-validation sample for the specific analysis must lay in the "
                "range 1-",
                value))
    return false;
  engine_.folds = value;
  if (!ReadUpTo("MinimumK", most,
                "Minimum number of nearest neighbors for the specific analysis must be lay in the "
                "range 1-",
                value))
    return false;
  engine_.minimumK = value;
  if (!ReadUpTo("MaximumK", most,
                "Maximum number of nearest neighbors for the specified analysis must lay in the "
                "range 1-",
                value))
    return false;
  if (!IsGreater(value, engine_.minimumK)) return Refuse(214);
  engine_.maximumK = value;
  // An increment below 1 would make no grid; no range text speaks of it.
  if (!ReadField("DeltaK", value) || value < 1) return Refuse(125);
  const auto sum = static_cast<std::int64_t>(engine_.minimumK + engine_.maximumK);
  if (value > sum)
    return RefuseRange(
        "Nearest neighbor increment for the specified analysis must be smaller or equal ", sum);
  engine_.deltaK = value;
  return true;
}

}  // namespace qrvml
