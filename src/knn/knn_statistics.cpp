// How well the model predicts the test sample: counts of classes, or the ten regression statistics.

#include <new>

#include "host/numerics.h"
#include "host/string_table.h"
#include "knn/knn_engine.h"

namespace qrvml {

bool KNNEngine::ComputeKnnStatistics(bool silent) {
  try {
    return IsClassification() ? ClassificationStatistics() : RegressionStatisticsPass(silent);
  } catch (const Cancelled&) {
    ReleaseStatistics();
    return false;
  } catch (const std::bad_alloc&) {
    ReleaseStatistics();
    return Refuse(104);
  }
}

void KNNEngine::ReleaseStatistics() {
  confusion_.clear();
  regression_.clear();
}

bool KNNEngine::ClassificationStatistics() {
  const std::size_t continuous = votes_.continuous();
  confusion_.clear();
  confusion_.resize(votes_.categorical());
  for (std::size_t c = 0; c < confusion_.size(); ++c)
    confusion_[c].Start(data_.dependentCategories(c).classes().size());
  PredictSample(Sample::test, [&](std::int32_t) {
    for (std::size_t c = 0; c < confusion_.size(); ++c) {
      const CategoryTable& categories = data_.dependentCategories(c);
      confusion_[c].Add(categories.ClassIndex(TruncateToCode(predictions[continuous + c])),
                        categories.ClassIndex(TruncateToCode(currentDependents[continuous + c])),
                        1);
    }
  });
  return true;
}

bool KNNEngine::RegressionStatisticsPass(bool silent) {
  if (!silent && display != nullptr) display->ShowDetail("Computing regression statistics...");
  const std::size_t continuous = votes_.continuous();
  regression_.assign(continuous, {});
  // Both passes need the same predictions, so each case is searched once and its predictions kept.
  const auto rows = static_cast<std::size_t>(data_.StoredRows(Sample::test));
  HostArray<double> predicted(rows * continuous);
  PredictSample(Sample::test, [&](std::int32_t row) {
    for (std::size_t j = 0; j < continuous; ++j) {
      predicted[static_cast<std::size_t>(row) * continuous + j] = predictions[j];
      regression_[j].Add(currentDependents[j], predictions[j], 1.0);
    }
  });
  const auto observed = data_.DependentRows(Sample::test);
  bool sound = true;
  for (std::size_t j = 0; j < continuous; ++j) {
    regression_[j].EndMeans();
    for (std::size_t row = 0; row < rows; ++row) {
      regression_[j].AddDeviations(observed[row * dependents() + j],
                                   predicted[row * continuous + j], 1.0);
    }
    sound = regression_[j].Finish(kEmptyCell) && sound;
  }
  if (sound) return true;
  ReleaseStatistics();
  return Refuse(155);
}

}  // namespace qrvml
