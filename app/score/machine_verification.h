// The support vector machine as generated texts print it and as the engine's tables show it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "score/printed_model.h"
#include "score/verification.h"

namespace qrvml {

/// Types are 0 and 1 for classes, 3 and 4 for values; kernels 0 linear, 1 polynomial, 2 radial
/// basis, 3 sigmoid. Coefficients stand vector after vector, one per row of each.
struct MachineValues {
  int type = 0, kernel = 0;
  double gamma = 0, coef0 = 0, degree = 0;  // 0 where the kernel does not read it
  std::vector<double> labels, counts;       // codes of the classes, vectors of each
  std::vector<double> vectors, coefficients, constants;

  bool Classifies() const { return type < 3; }
  std::size_t Rows() const { return Classifies() ? labels.size() - 1 : 1; }
  std::size_t Vectors() const { return Rows() == 0 ? 0 : coefficients.size() / Rows(); }
};

class PrintedMachine final : public PrintedModel {
 public:
  /// False: `error` says which line is missing or does not read.
  static bool Read(CodeDialect dialect, std::string_view text, PrintedMachine& model,
                   std::string& error);

  /// A tie of votes falls to the first label and is no matter of rounding; a decision whose sum is
  /// 0 within rounding is.
  void Predict(std::span<const double> values,
               std::span<PrintedPrediction> predictions) const override;

  std::size_t Columns() const;

  MachineValues own;
  double capacity = 0, nu = 0;                  // of documents
  std::vector<double> shift, scale;             // per continuous input
  double outputShift = 0, outputScale = 1;      // a program without scaling has none
  std::vector<std::vector<double>> categories;  // per categorical input and column: its code, or
                                                // not-a-number

 private:
  struct Sum {
    double value = 0;
    double rounding = 0;  // how far it may be off
  };
  std::vector<double> Coded(std::span<const double> values) const;
  std::vector<Sum> Kernels(std::span<const double> values) const;
  Sum Decision(std::span<const Sum> kernels, std::size_t i, std::size_t j, std::size_t pair) const;
  void Vote(std::span<const Sum> kernels, PrintedPrediction& prediction) const;
};

/// Compared are settings, scaling, columns, labels, vectors, coefficients and constants.
class EngineMachine final : public EngineModel {
 public:
  std::unique_ptr<PrintedModel> Read(CodeDialect dialect, std::string_view text,
                                     std::string& error) const override;
  void Compare(CodeDialect dialect, const PrintedModel& printed, std::size_t firstDependent,
               TextCheck& check) const override;
  /// As the model's labels in the C program, by text in the others.
  std::vector<double> ListedClasses(CodeDialect dialect, const EngineField& field) const override;
  void NotePredictions(CodeDialect dialect, TextCheck& check) const override;
  std::string_view TiedWord() const override { return "decisions"; }

  MachineValues own;                 // labels: in the order in which training met them
  std::vector<double> classes;       // codes, in the byte order of their texts
  std::string capacity, nu;          // "%f", where the type has them
  std::vector<std::string> columns;  // "input" or "input_category"
  bool scalesInputs = false, scalesOutput = false;
  /// The lowest and highest value that scaling makes.
  std::pair<double, double> inputRange{0, 1}, outputRange{-1, 1};
  std::vector<double> usedInputs, usedOutputs;  // of all cases that count for the scaling
  bool hasRange = true;  // without case weights, which can leave out a case that counts
};

}  // namespace qrvml
