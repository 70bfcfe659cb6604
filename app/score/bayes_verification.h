// The naive Bayes model as generated texts print it and as the engine's tables show it.
#pragma once

#include <string_view>
#include <vector>

#include "score/printed_model.h"
#include "score/verification.h"

namespace qrvml {

/// [class][input]; frequencies [class][categorical input][category].
struct BayesTables {
  std::vector<std::vector<double>> mean, variance;
  std::vector<std::vector<std::vector<double>>> pairs;
};

enum PrintedDistribution : int { kNormal, kLognormal, kGamma, kPoisson, kDiscrete };
/// Whether a mean and the S beside it give a lognormal or gamma distribution a scale and a shape.
bool HasBayesParameters(int distribution, double mean, double s);

class PrintedBayes final : public PrintedModel {
 public:
  /// A logarithm, and how large what it was added from is: rounding grows with it.
  struct Term {
    double value = 0, size = 0;
  };

  /// False: `error` says which line is missing or does not read.
  static bool Read(CodeDialect dialect, std::string_view text, PrintedBayes& model,
                   std::string& error);

  /// The C program and the script multiply likelihoods and leave gamma and Poisson inputs out; a
  /// PMML document's classes are ranked by logarithms, with all densities.
  void Predict(std::span<const double> values,
               std::span<PrintedPrediction> predictions) const override;

  CodeDialect dialect = CodeDialect::c;
  double threshold = 0;
  std::vector<int> distributions;               // PrintedDistribution per input
  std::vector<std::vector<double>> categories;  // per categorical input: codes as listed
  std::vector<std::vector<double>> priors;      // per dependent and class; PMML: class counts
  std::vector<BayesTables> tables;  // per dependent; pairs are frequencies, PMML: counts

 private:
  Term Share(std::size_t d, std::size_t c, std::size_t m, double code) const;
  Term Density(std::size_t d, std::size_t c, std::size_t k, double x) const;
  Term LogLikelihood(std::size_t d, std::size_t c, std::span<const double> values) const;
  double LeastVariance(std::size_t d, std::size_t k) const;
  void Rank(std::size_t d, std::span<const Term> sums, PrintedPrediction& prediction) const;
  void Multiply(std::size_t d, std::span<const Term> sums, PrintedPrediction& prediction) const;
};

/// Positions of the gamma and Poisson inputs whose densities a C program or script of naive Bayes
/// still leaves to its user; none for another text.
std::vector<std::size_t> PlaceholderInputs(CodeDialect dialect, std::string_view text);

/// Compared are threshold, distributions, categories, priors, moments and frequencies.
class EngineBayes final : public EngineModel {
 public:
  std::unique_ptr<PrintedModel> Read(CodeDialect dialect, std::string_view text,
                                     std::string& error) const override;
  void Compare(CodeDialect dialect, const PrintedModel& printed, std::size_t firstDependent,
               TextCheck& check) const override;
  void NotePredictions(CodeDialect dialect, TextCheck& check) const override;
  std::string_view TiedWord() const override { return "posteriors"; }

  double threshold = 0;
  bool weighted = false;
  std::vector<int> distributions;
  std::vector<std::vector<double>> priors, classCounts;  // per dependent and class
  std::vector<BayesTables> tables;                       // per dependent; pairs are counts
  std::vector<double> inputCount;                        // weighted, with a value of each input
  std::vector<double> least, most;                       // per input
  std::vector<std::vector<std::vector<double>>> valid;   // [d][c][k]: weighted, with a value
  std::int64_t missing = 0, unknown = 0;                 // cases that the engine does not predict
};

}  // namespace qrvml
