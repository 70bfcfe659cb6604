#include "svm/svm_engine.h"

#include <ctime>
#include <new>

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "svm/penalty_list.h"

namespace qrvml {
namespace {

const HostServices& Host() { return CAnalysisContext::Current()->services(); }

}  // namespace

SVMEngine::SVMEngine(AnalysisDataSet& data) : data_(data) { SetDefaults(); }

void SVMEngine::SetDefaults() {
  parameters = {};
  solver.maxIterations = 1000;
  usePenalty = applyCrossValidation = false;
  penaltyList.clear();
  folds = 10;
  crossValidationSeed = static_cast<std::int32_t>(std::time(nullptr) / 1000);
  minimumC = 1.0, maximumC = 10.0, deltaC = 1.0;
  minimumEpsilon = 0.1, maximumEpsilon = 0.5, deltaEpsilon = 0.1;
  minimumNu = 0.1, maximumNu = 0.5, deltaNu = 0.1;
  bestError = std::numeric_limits<double>::max();
  bestAccuracy = 0;
  observed = predicted = residual = 0;
  caseLabel.clear();
  data_.inputRange = {0.0, 1.0};
  data_.outputRange = {-1.0, 1.0};
  data_.slopeWithoutRange = 1.0;
}

void SVMEngine::ResetSvmEngine() {
  SvmFreeModel(model);
  problem = {};
  nodes_.Release();
  lists_.Release();
  targets_.Release();
  ReleaseStatistics();
  SetDefaults();
}

void SVMEngine::ReleaseStatistics() {
  classVoteShares.Release();
  currentInputs.Release();
  singleCase_.Release();
  dependents_.Release();
  confusion_ = {};
  regression_ = {};
  ranges_ = {};
}

// --- Class weights ------------------------------------------------------------------------------

void SVMEngine::SetUsePenalty(bool use) {
  if (use == usePenalty) return;
  if (use) DiscardClassWeights();
  penaltyList.clear();
  usePenalty = use;
}

void SVMEngine::DiscardClassWeights() {
  parameters.classWeightLabels.clear();
  parameters.classWeights.clear();
}

void SVMEngine::SetClassWeights(std::span<const double> penalties) {
  parameters.classWeightLabels.clear();
  parameters.classWeights.assign(penalties.begin(), penalties.end());
  for (const CategoryTable::Class& entry : data_.dependentCategories(0).classes()) {
    parameters.classWeightLabels.push_back(static_cast<std::int32_t>(entry.code));
  }
}

bool SVMEngine::TakePenaltyList(std::string& error) {
  std::vector<double> penalties;
  if (!ReadPenaltyList(penaltyList, data_.dependentCategories(0).classes(), penalties, error))
    return false;
  SetClassWeights(penalties);
  penaltyList = PenaltyListText(penalties);
  return true;
}

// --- The training problem -----------------------------------------------------------------------

void SVMEngine::AllocateRows(std::int32_t rows, std::int32_t width) {
  // The model points into the nodes.
  SvmFreeModel(model);
  problem = {};
  ReleaseStatistics();
  const auto entries = static_cast<std::size_t>(rows);
  nodes_.Resize(entries * (static_cast<std::size_t>(width) + 1));
  lists_.Resize(entries);
  targets_.Resize(entries);
  problem = {rows, targets_.data(), lists_.data()};
}

void SVMEngine::AddTrainingRow(std::int32_t rowIndex, std::span<const double> inputs,
                               std::span<const double> dependents) {
  const auto row = static_cast<std::size_t>(rowIndex);
  SVMNode* node = nodes_.data() + row * (inputs.size() + 1);
  lists_[row] = {node};
  std::int32_t index = 0;
  for (const double value : inputs) *node++ = {++index, value};
  *node = {-1, 0.0};
  const double target = dependents.empty() ? 0.0 : dependents[0];
  targets_[row] = IsClassification() ? ClassCode(target) : target;
}

double SVMEngine::ClassCode(double code) const {
  const CategoryTable& table = data_.dependentCategories(0);
  const int position = table.ClassIndex(TruncateToCode(code));
  if (position < 0) return code;
  return static_cast<double>(table.classes()[static_cast<std::size_t>(position)].code);
}

void SVMEngine::ScaleSvmProblem() {
  for (std::size_t row = 0; row < lists_.size(); ++row) {
    SVMNode* node = const_cast<SVMNode*>(lists_[row].nodes);  // into nodes_
    for (std::size_t i = 0; i < continuous(); ++i) {
      node[i].value = data_.ScaleValue(VariableKind::predictor, i, node[i].value);
    }
    if (HasDependent() && !IsClassification()) {
      targets_[row] = data_.ScaleValue(VariableKind::dependent, 0, targets_[row]);
    }
  }
}

// --- The training run ---------------------------------------------------------------------------

void SVMEngine::ShowStatus(std::string_view text) const {
  if (display != nullptr) display->ShowStatus(text);
}

void SVMEngine::PrepareRun(bool silent) {
  SvmFreeModel(model);
  ReleaseStatistics();
  faultReason_ = "";
  if (IsClassification()) {
    classVoteShares.Assign(data_.dependentCategories(0).classes().size(), 0.0);
  }
  if (!solver.print && Host().diagnostics != nullptr)
    solver.print = [](std::string_view text) { Host().diagnostics->Print(text); };
  solver.poll = [this, silent, shown = solver.iterationCount]() mutable {
    if (!silent && display != nullptr && shown != solver.iterationCount) {
      shown = solver.iterationCount;
      display->ShowDetail(GetResourceString(288, shown));
    }
    return Host().progress->pcancel() != 0;
  };
  solver.threads = Host().compute != nullptr ? Host().compute->WorkerThreads() : 1;
}

bool SVMEngine::TrainSvm(bool silent) {
  const double chosenC = parameters.C;
  const double chosenEpsilon = parameters.epsilon;
  const auto fail = [&] {
    parameters.C = chosenC;  // a search may have ended before the fault
    parameters.epsilon = chosenEpsilon;
    SvmFreeModel(model);
    ReleaseStatistics();
    return false;
  };
  const auto show = [&](std::string_view text) {
    if (!silent) ShowStatus(text);
  };
  try {
    PrepareRun(silent);
    if (const char* message = SvmCheckParameters(problem, parameters)) {
      RefuseText(message);
      return fail();
    }
    if (applyCrossValidation) {
      show(GetResourceString(309));
      SearchSvmParameters(silent);
      show(GetResourceString(310));
    }
    show(GetResourceString(313));
    model = SvmTrain(problem, parameters, solver);
    show(GetResourceString(314));
    show(GetResourceString(IsClassification() ? 311 : 312));
  } catch (const Cancelled&) {
    return fail();
  } catch (const NumericFault& fault) {
    faultReason_ = fault.reason;
    fail();
    return Refuse(155);
  } catch (const std::bad_alloc&) {
    fail();
    return Refuse(104);
  }
  return ComputeSvmStatistics() || fail();
}

}  // namespace qrvml
