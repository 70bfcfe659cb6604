// Whether a generated text says what the engine has, and predicts what it says.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/documents.h"
#include "score/deployed_model.h"
#include "score/printed_model.h"

namespace qrvml {

/// A variable as the engine's tables show it.
struct EngineField {
  std::string name;
  std::vector<CellLabel> labels;  // categorical: every code with its text, ascending by code
  bool IsCategorical() const { return !labels.empty(); }
};

/// What the engine shows of its model and of its predictions. Tables are row after row; a case
/// whose weight counts several times has several rows.
struct EngineModel {
  std::vector<EngineField> inputs, dependents;
  int metric = 0;
  bool weighted = false, standardized = false;
  std::size_t neighbours = 0;
  std::vector<double> prototypeInputs, prototypeOutputs;
  std::vector<std::int32_t> cases;  // numbers of the test cases
  std::vector<double> caseInputs;   // of the test cases
  std::vector<double> predictions;  // of the test cases, unrounded
  /// The range of the standardised inputs is that of the rows above: without case weights, which
  /// can leave out a case that counts for the range.
  bool hasRange = true;

  std::size_t Prototypes() const { return prototypeInputs.size() / inputs.size(); }
};

/// What was found about one dependent over the test cases.
struct DependentCheck {
  std::string name;
  std::int64_t cases = 0;
  std::int64_t different = 0;            // from the model as printed, other than by a tied vote
  std::int64_t differentFromEngine = 0;  // from the engine, which has more digits
  std::int64_t tied = 0;                 // top votes that rounding decides
  std::string first;                     // the first different case, for people
};

struct TextCheck {
  std::vector<std::string> faults;  // where the text says something else than the engine
  std::vector<std::string> notes;   // what could not be compared
  std::size_t prototypes = 0;       // in the text
  std::vector<DependentCheck> dependents;

  bool Passed() const;
};

/// Compares the model that a text prints with the engine: settings, names, classes, scaling,
/// prototypes. `firstDependent` is the text's first one among the engine's.
void CheckPrinted(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                  const DeployedModel& fields, std::size_t firstDependent, TextCheck& check);

/// Compares what the text predicts for test cases, from the case at `first` on, with its printed
/// model and with the engine; adds to what was found before. Classes must be equal, but for tied
/// votes; numbers within the digits that the text prints: six for the C program, else a relative
/// difference of 1e-12.
void CheckPredictions(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                      std::span<const double> predictions, std::size_t first,
                      std::size_t firstDependent, TextCheck& check);

/// Both for one text, which is applied by `model`. What keeps it from being applied is a fault, and
/// so is a true `cancel`, which is looked at now and then (null: nothing cancels).
TextCheck CheckText(CodeDialect dialect, std::string_view text, DeployedModel& model,
                    const EngineModel& engine, std::size_t firstDependent,
                    const std::atomic<bool>* cancel = nullptr);

}  // namespace qrvml
