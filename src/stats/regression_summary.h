// How well the predictions of a continuous dependent match its observed values.
#pragma once

#include <limits>

namespace qrvml {

/// Ten statistics of one subset. Not-a-number: the statistic has no value (see Finish).
struct RegressionStatistics {
  double observedMean = 0;
  double predictedMean = 0;
  double observedDeviation = 0;  // standard deviations divide by n - 1
  double predictedDeviation = 0;
  double meanSquaredError = 0;
  double errorMean = 0;
  double errorDeviation = 0;
  double meanAbsoluteError = 0;
  double deviationRatio = 0;  // error deviation / observed deviation
  double correlation = 0;     // of predicted and observed values
};

struct ValueRange {
  double minimum = std::numeric_limits<double>::max();
  double maximum = std::numeric_limits<double>::lowest();
  void Include(double value) {
    if (value < minimum) minimum = value;
    if (value > maximum) maximum = value;
  }
};

/// Ranges of what the cases show, for the axes of graphs.
struct PredictionRanges {
  ValueRange predicted, residual, absoluteResidual, squaredResidual;
};

/// Accumulates the statistics in two passes over the same cases in the same order: Add for every
/// case, EndMeans, AddDeviations for every case, Finish.
class RegressionSummary {
 public:
  void Add(double observed, double predicted, double weight);
  void EndMeans();
  void AddDeviations(double observed, double predicted, double weight);
  /// Completes the statistics. False: a sum is infinite or not a number, so a statistic that is due
  /// is none. With a total weight of 1 the deviations and the ratio have no value; with
  /// observed values all equal the ratio has none. `correlationWithoutVariance` is the
  /// correlation where the product of the sums of squares is 0.
  bool Finish(double correlationWithoutVariance);

  const RegressionStatistics& statistics() const { return statistics_; }
  const PredictionRanges& ranges() const { return ranges_; }

 private:
  RegressionStatistics statistics_;  // sums until EndMeans
  PredictionRanges ranges_;
  double weight_ = 0;
  double observedSquares_ = 0, predictedSquares_ = 0, errorSquares_ = 0, products_ = 0;
};

}  // namespace qrvml
