#include "frame/machine_learning.h"

#include <new>

#include "bayes/naive_bayes_dialog.h"
#include "bayes/naive_bayes_results_dialog.h"
#include "frame/module_entry.h"
#include "frame/startup_dialog.h"
#include "host/string_table.h"
#include "knn/knn_dialog.h"
#include "knn/knn_results_dialog.h"
#include "svm/svm_dialog.h"
#include "svm/svm_results_dialog.h"

namespace qrvml {

MachineLearning::MachineLearning(void* document) : CAnalysisSupport(document) {
  const auto entry = [](int step, int (MachineLearning::*operation)(), int following = 0) {
    return SequenceEntry{step, static_cast<int (CAnalysisSupport::*)()>(operation), following};
  };
  sequence_.Register({
      entry(kInitStep, &MachineLearning::Init, kStartStep),
      entry(kStartStep, &MachineLearning::StartAnalysis),
      entry(kSvmStep, &MachineLearning::StartSVM),
      entry(kNaiveBayesStep, &MachineLearning::StartNB),
      entry(kKnnStep, &MachineLearning::StartKNN),
      entry(kKnnResultsStep, &MachineLearning::StartResultsKNN),
      entry(kNaiveBayesResultsStep, &MachineLearning::StartResultsNB),
      entry(kSvmResultsStep, &MachineLearning::StartResultsSVM),
  });
}

MachineLearning::~MachineLearning() { DeletePointers(); }

void* MachineLearning::GetLibInstance() const { return ModuleInstance(); }

std::string MachineLearning::GetAnalysisName() const { return std::string(GetResourceString(100)); }

int MachineLearning::RunStep(int step) {
  CAnalysisContext::Scope scope(this);
  const SequenceEntry* entry = sequence_.Find(step);
  if (entry == nullptr) return -1;
  try {
    return (this->*entry->operation)();
  } catch (const std::bad_alloc&) {
    Refuse(104);
    return -1;
  }
}

std::span<const Control> MachineLearning::ControlsOf(int step) const {
  switch (step) {
    case kStartStep:
      return StartupDialog::Table();
    case kSvmStep:
      return SVMDialog::Table();
    case kSvmResultsStep:
      return SVMResultsDialog::Table();
    case kNaiveBayesStep:
      return NaiveBayesDialog::Table();
    case kNaiveBayesResultsStep:
      return NaiveBayesResultsDialog::Table();
    case kKnnStep:
      return KNNDialog::Table();
    case kKnnResultsStep:
      return KNNResultsDialog::Table();
    default:
      return {};
  }
}

std::vector<std::pair<std::string, double>> MachineLearning::Figures() const {
  if (data_ == nullptr) return {};
  return {{"training", static_cast<double>(data_->trainingCount())},
          {"test", static_cast<double>(data_->testCount())}};
}

int MachineLearning::Init() {
  CAnalysisContext::Scope scope(this);
  DeletePointers();
  return Initialize();
}

int MachineLearning::Initialize() {
  CAnalysisContext::Scope scope(this);
  InitializeVariables();
  InitializePointers();
  AllocateMemoryForPointers();
  data_->ResetDefaults();
  return 1;
}

void MachineLearning::InitializeVariables() {
  analysisKind = scMLSVM;
  dataMatrixLimit = 30000000;
}

void MachineLearning::InitializePointers() {
  data_ = nullptr;
  svmEngine_ = nullptr;
  naiveBayesEngine_ = nullptr;
  knnEngine_ = nullptr;
}

void MachineLearning::AllocateMemoryForPointers() { data_ = std::make_unique<AnalysisDataSet>(); }

void MachineLearning::DeletePointers() {
  svmEngine_.reset();
  naiveBayesEngine_.reset();
  knnEngine_.reset();
  data_.reset();
}

bool MachineLearning::GetAnalysis() {
  // The engine that goes and the one that comes both work on the data set.
  switch (analysisKind) {
    case scMLSVM:
      svmEngine_.reset();
      data_->ResetDefaults();
      svmEngine_ = std::make_unique<SVMEngine>(*data_);
      return true;
    case scMLNB:
      naiveBayesEngine_.reset();
      data_->ResetDefaults();
      naiveBayesEngine_ = std::make_unique<NaiveBayesEngine>(*data_);
      return true;
    case scMLKNN:
      knnEngine_.reset();
      data_->ResetDefaults();
      knnEngine_ = std::make_unique<KNNEngine>(*data_);
      return true;
  }
  return false;
}

template <class Dialog, class... Arguments>
int MachineLearning::StartDialog(Arguments&... arguments) {
  std::unique_ptr<CAnalysisDialog> dialog(new (std::nothrow) Dialog(arguments...));
  return services().dialogs->CreateModelessDialog(Dialog::kTemplate, std::move(dialog)) == 0 ? 0
                                                                                             : -1;
}

int MachineLearning::StartAnalysis() { return StartDialog<StartupDialog>(*this); }

int MachineLearning::StartKNN() {
  if (knnEngine_ == nullptr) return -1;
  return StartDialog<KNNDialog>(*this, *data_, *knnEngine_);
}

int MachineLearning::StartResultsKNN() {
  if (knnEngine_ == nullptr) return -1;
  return StartDialog<KNNResultsDialog>(*this, *data_, *knnEngine_);
}

int MachineLearning::StartNB() {
  if (naiveBayesEngine_ == nullptr) return -1;
  return StartDialog<NaiveBayesDialog>(*this, *data_, *naiveBayesEngine_, dataMatrixLimit);
}

int MachineLearning::StartResultsNB() {
  if (naiveBayesEngine_ == nullptr) return -1;
  return StartDialog<NaiveBayesResultsDialog>(*this, *data_, *naiveBayesEngine_);
}

int MachineLearning::StartSVM() {
  if (svmEngine_ == nullptr) return -1;
  return StartDialog<SVMDialog>(*this, *data_, *svmEngine_);
}

int MachineLearning::StartResultsSVM() {
  if (svmEngine_ == nullptr) return -1;
  return StartDialog<SVMResultsDialog>(*this, *data_, *svmEngine_);
}

}  // namespace qrvml
