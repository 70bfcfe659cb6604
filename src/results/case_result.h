// One case as the results show it, and the stream of cases that a method brings.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <span>

#include "data/analysis_data_set.h"
#include "host/documents.h"
#include "host/memory.h"
#include "stats/regression_summary.h"

namespace qrvml {

/// A case with its predictions. Dependents: continuous first, then categorical, as in the lists.
/// What the spans refer to is valid until the next case.
struct CaseResult {
  std::int32_t caseNumber = 0;          // of the file, from 1; 0: a case typed in
  std::span<const double> inputs;       // unscaled; categorical inputs as codes
  std::span<const double> observed;     // empty for a case typed in
  bool isPredicted = false;             // false: the outputs below are all -9999
  std::span<const double> predictions;  // value, or code of the class
  std::span<const double> residuals;    // of a class: 0 correct, 1 wrong; -9999 not observed
  std::span<const double> spreads;      // per continuous dependent; may be empty
  std::span<const HostArray<double>> confidences;  // per categorical dependent, per class
};

/// What a results value is.
enum class ItemKind : std::uint8_t {
  input,
  observed,
  predicted,
  spread,  // of the neighbours' values
  residual,
  absoluteResidual,
  squaredResidual,
  accuracy,    // 0 correct, 1 wrong
  confidence,  // of one class
};

/// A value that every case has: a column of a table, a variable to save, an axis of a graph.
struct ResultItem {
  ItemKind kind = ItemKind::input;
  std::size_t index = 0;       // of the input, or of the dependent
  std::size_t classIndex = 0;  // confidence: which class, in text order

  bool operator==(const ResultItem&) const = default;
  bool NeedsPrediction() const { return kind != ItemKind::input && kind != ItemKind::observed; }
};

/// The item's value in a case; -9999 where it is missing. `continuous`: number of continuous
/// dependents.
double ValueOf(const ResultItem& item, const CaseResult& result, std::size_t continuous);

/// The cases of an analysis with their predictions, as a method's engine gives them.
class CaseSource {
 public:
  virtual ~CaseSource() = default;

  /// Visits the stored cases of a subset in file order, a weighted case once per unit of weight.
  /// Cases are predicted where `predict` asks for it and the method predicts them. Throws
  /// MemoryRefused, Cancelled.
  virtual void Visit(Subset subset, bool predict,
                     const std::function<void(const CaseResult&)>& visit) = 0;
  /// Predicts inputs that are no case of the file. The result is valid until the next call. Throws
  /// as above.
  virtual CaseResult Predict(std::span<const double> inputs) = 0;
  /// Ranges of the predictions of continuous dependent j in a subset, from the last statistics.
  virtual const PredictionRanges& Ranges(std::size_t j, Subset subset) const = 0;
  /// Whether predictions come with spreads now.
  virtual bool HasSpreads() const = 0;
  /// Whether a subset has predictions at all.
  virtual bool Predicts(Subset subset) const = 0;
  /// Whether a number of the last visit's predictions could not be computed.
  virtual bool HasNumericFault() const { return false; }
};

}  // namespace qrvml
