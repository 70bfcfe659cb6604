// Whether a generated text says what the engine has, and predicts what it says.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
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
  /// A class has the smallest of the codes that share its text.
  double ClassCode(double code) const;
  /// The codes of the classes, in the byte order of their texts.
  std::vector<double> ClassesByText() const;
};

/// What was found about one dependent over the cases.
struct DependentCheck {
  std::string name;
  std::int64_t cases = 0;
  std::int64_t different = 0;            // from the model as printed, other than by a tie
  std::int64_t differentFromEngine = 0;  // from the engine, which has more digits
  double farthest = 0;                   // of numbers, from the engine
  std::int64_t tied = 0;                 // classes that rounding decides between
  std::int64_t arbitrary = 0;            // no class has a top: the first was taken
  std::string first;                     // the first different case, for people
};

struct TextCheck {
  std::vector<std::string> faults;  // where the text says something else than the engine
  std::vector<std::string> notes;   // what could not be compared, and what differs by intent
  std::size_t prototypes = 0;       // in the text
  std::vector<DependentCheck> dependents;

  bool Passed() const;
};

/// What the engine shows of its model and of its predictions; a method adds its model. Tables are
/// row after row; a case whose weight counts several times may have several rows.
class EngineModel {
 public:
  virtual ~EngineModel() = default;

  /// The model that a text prints. Null: `error` says which line is missing or does not read.
  virtual std::unique_ptr<PrintedModel> Read(CodeDialect dialect, std::string_view text,
                                             std::string& error) const = 0;
  /// Compares a model that Read gave, which has as many variables of each kind, in all but names
  /// and categories. `firstDependent` is the text's first one among the engine's.
  virtual void Compare(CodeDialect dialect, const PrintedModel& printed, std::size_t firstDependent,
                       TextCheck& check) const = 0;
  /// Codes in the order in which a text lists the classes of a dependent.
  virtual std::vector<double> ListedClasses(CodeDialect dialect, const EngineField& field) const;
  /// Says what the predictions of a text leave to be said.
  virtual void NotePredictions(CodeDialect, TextCheck&) const {}
  /// What rounding decides where classes are tied: "votes".
  virtual std::string_view TiedWord() const = 0;

  std::vector<EngineField> inputs, dependents;
  std::vector<std::int32_t> cases;  // numbers of the cases that are predicted
  std::vector<double> caseInputs;   // of these cases
  std::vector<double> predictions;  // of these cases, unrounded
};

/// Compares the model that a text prints with the engine.
void CheckPrinted(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                  const DeployedModel& fields, std::size_t firstDependent, TextCheck& check);

/// Compares what the text predicts for cases, from the one at `first` on, with its printed model
/// and with the engine; adds to what was found before. Classes must be equal, but for ties; numbers
/// within the digits that the text prints: six for the C program, else a relative difference of
/// 1e-12.
void CheckPredictions(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                      std::span<const double> predictions, std::size_t first,
                      std::size_t firstDependent, TextCheck& check);

/// Both for one text, which is applied by `model`. What keeps it from being applied is a fault, and
/// so is a true `cancel`, which is looked at now and then (null: nothing cancels).
TextCheck CheckText(CodeDialect dialect, std::string_view text, DeployedModel& model,
                    const EngineModel& engine, std::size_t firstDependent,
                    const std::atomic<bool>* cancel = nullptr);

/// Half a unit of the sixth significant digit.
double HalfOfSixthDigit(double value);
/// Whether a number is the expected one as the dialect prints it: six significant digits, in PMML
/// six decimals.
bool IsPrintedValue(CodeDialect dialect, double expected, double printed);

}  // namespace qrvml
