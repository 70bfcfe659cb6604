#include "results/case_result.h"

namespace qrvml {

double ValueOf(const ResultItem& item, const CaseResult& result, std::size_t continuous) {
  if (item.kind == ItemKind::input) return result.inputs[item.index];
  if (item.kind == ItemKind::observed)
    return result.observed.empty() ? kMissingOutput : result.observed[item.index];
  if (!result.isPredicted) return kMissingOutput;
  switch (item.kind) {
    case ItemKind::predicted:
      return result.predictions[item.index];
    case ItemKind::spread:
      return result.spreads[item.index];
    case ItemKind::residual:
    case ItemKind::accuracy:
      return result.residuals[item.index];
    case ItemKind::absoluteResidual:
    case ItemKind::squaredResidual: {
      const double residual = result.residuals[item.index];
      if (residual == kMissingOutput && result.observed.empty()) return kMissingOutput;
      return item.kind == ItemKind::absoluteResidual ? std::fabs(residual) : residual * residual;
    }
    case ItemKind::confidence:
      return result.confidences[item.index - continuous][item.classIndex];
    default:
      return kMissingOutput;
  }
}

}  // namespace qrvml
