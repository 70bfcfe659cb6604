#include "stats/regression_summary.h"

#include <cmath>

#include "host/numerics.h"

namespace qrvml {
namespace {
constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();
}

void RegressionSummary::Add(double observed, double predicted, double weight) {
  const double error = observed - predicted;
  weight_ += weight;
  statistics_.observedMean += weight * observed;
  statistics_.predictedMean += weight * predicted;
  statistics_.errorMean += weight * error;
  statistics_.meanAbsoluteError += weight * std::fabs(error);
  statistics_.meanSquaredError += weight * (error * error);
  ranges_.predicted.Include(predicted);
  ranges_.residual.Include(error);
  ranges_.absoluteResidual.Include(std::fabs(error));
  ranges_.squaredResidual.Include(error * error);
}

void RegressionSummary::EndMeans() {
  for (double* sum : {&statistics_.observedMean, &statistics_.predictedMean, &statistics_.errorMean,
                      &statistics_.meanAbsoluteError, &statistics_.meanSquaredError})
    *sum /= weight_;
}

void RegressionSummary::AddDeviations(double observed, double predicted, double weight) {
  const double o = observed - statistics_.observedMean;
  const double p = predicted - statistics_.predictedMean;
  const double e = (observed - predicted) - statistics_.errorMean;
  observedSquares_ += weight * (o * o);
  predictedSquares_ += weight * (p * p);
  errorSquares_ += weight * (e * e);
  products_ += weight * (p * o);
}

bool RegressionSummary::Finish(double correlationWithoutVariance) {
  RegressionStatistics& s = statistics_;
  for (const double value :
       {s.observedMean, s.predictedMean, s.errorMean, s.meanAbsoluteError, s.meanSquaredError,
        observedSquares_, predictedSquares_, errorSquares_, products_}) {
    if (!std::isfinite(value)) return false;
  }
  if (!IsGreater(weight_, 1.0)) {
    s.observedDeviation = s.predictedDeviation = s.errorDeviation = kNoValue;
    s.deviationRatio = kNoValue;
    s.correlation = correlationWithoutVariance;
    return true;
  }
  s.observedDeviation = std::sqrt(observedSquares_ / (weight_ - 1.0));
  s.predictedDeviation = std::sqrt(predictedSquares_ / (weight_ - 1.0));
  s.errorDeviation = std::sqrt(errorSquares_ / (weight_ - 1.0));
  s.deviationRatio =
      IsEqual(s.observedDeviation, 0.0) ? kNoValue : s.errorDeviation / s.observedDeviation;
  const double squares = predictedSquares_ * observedSquares_;
  s.correlation =
      IsEqual(squares, 0.0) ? correlationWithoutVariance : products_ / std::sqrt(squares);
  // The product of two finite sums may still overflow.
  return std::isfinite(squares);
}

}  // namespace qrvml
