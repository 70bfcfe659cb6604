// The trained model in the form that classifies cases fast: what of each term does not depend on
// the case is computed once. A case's log-likelihood adds the terms of its inputs in their order,
// whichever way it is computed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "bayes/densities.h"
#include "bayes/kernels/posterior_kernel.h"
#include "data/analysis_data_set.h"
#include "data/code_lookup.h"
#include "data/worker_team.h"
#include "host/memory.h"

namespace qrvml {

/// What was found for a block of cases. Class rows as in ClassStatistics.
struct ClassifiedBlock {
  HostArray<double>
      posteriors;  // per case and class row, -9999: no prediction; empty where not wanted
  HostArray<std::int32_t> predictedClass;  // per case and dependent; -1: no prediction
  bool numericFault = false;               // a likelihood was not a number
};

/// The variance in the normal term of input k for class c of dependent d: the class's own, or,
/// where all its values are equal, one that is small beside the input's range, so that the class
/// wins where a value fits and loses elsewhere.
double NormalVariance(const AnalysisDataSet& data, std::size_t d, std::size_t c, std::size_t k);
/// What enters the term of a distribution as S: for normal inputs the above; for a lognormal input
/// the class's variance or, where that gives no scale and shape, an S that is small beside the
/// input's range and the class's mean; the class's variance for the others.
double UsedVariance(const AnalysisDataSet& data, Distribution distribution, std::size_t d,
                    std::size_t c, std::size_t k);

class PosteriorModel {
 public:
  /// `distributions` per input, `priors` per class row. Throws MemoryRefused.
  void Build(const AnalysisDataSet& data, std::span<const Distribution> distributions,
             std::span<const double> priors, double threshold);
  void Release();
  bool empty() const { return mean_.empty() && logFrequency_.empty(); }

  /// Classifies `count` rows of inputs. The threads share the cases, so that their number changes
  /// nothing. A case with a missing input, or with a category that no training case has, gets no
  /// prediction for any dependent. Throws MemoryRefused.
  ///
  ///   posterior of class c = exp(sum of the terms) prior / their sum over the classes
  ///
  /// Where that sum is 0, infinite or not a number the classes are ranked by the logarithm of
  /// likelihood times prior instead, one that is no number last, and the posteriors are
  /// exp(logarithm - maximum), normalised. A case that no class can have takes the priors. The
  /// first class with the largest posterior is predicted.
  ///
  /// `visit`, if given, is called on the thread `part` once its rows first to last - 1 are there.
  using RowVisit = std::function<void(std::size_t part, std::size_t first, std::size_t last)>;
  void Classify(const double* rows, std::size_t count, bool keepsPosteriors, WorkerTeam& team,
                ClassifiedBlock& block, const RowVisit& visit = {});

  /// Cases whose classification takes some milliseconds.
  std::size_t RowsTogether() const { return rowsTogether_; }

  /// The term of input k, value x, for a class row; x is not missing. False: x is no known
  /// category.
  bool Term(std::size_t classRow, std::size_t k, double x, double& term) const;

 private:
  /// How a term is computed.
  enum class Rule : std::uint8_t { normal, lognormal, gamma, poisson, impossible };
  /// Inputs first to last - 1; fast: all terms of all classes are normal.
  struct Run {
    std::size_t first, last;
    bool fast;
  };
  /// What one thread works with.
  struct Scratch {
    HostArray<double> lanes;             // per input and lane
    HostArray<double> rows;              // the last rows, where they are no whole block
    HostArray<double> sums;              // per class row and lane
    HostArray<double> products;          // the same: likelihood times prior, then posterior
    HostArray<std::int32_t> categories;  // per categorical input and lane
    bool numericFault = false;
  };

  void SetTerm(std::size_t at, Distribution distribution, double mean, double variance,
               double weight, double normalVariance);
  double TermOf(std::size_t at, double x) const;
  void BuildFrequencies(const AnalysisDataSet& data, double threshold);
  void BuildRuns(std::span<const Distribution> distributions);
  void BuildRanking();
  /// `next`: the rows that come next, of as many cases as there are lanes; null: none.
  void ClassifyTile(const double* rows, std::size_t count, const double* next, double* posteriors,
                    std::int32_t* predicted, Scratch& scratch) const;
  void FindCategories(Scratch& scratch, double* noPrediction) const;
  void AddTerms(std::size_t row, Scratch& scratch) const;
  void AddFrequencies(std::size_t row, std::size_t m, Scratch& scratch) const;
  /// What AddTerms and Conclude lead to where no posteriors are wanted, at less cost. False:
  /// rounding may decide, and nothing is predicted.
  bool RankTile(std::size_t count, const double* noPrediction, const double* next,
                std::int32_t* predicted, Scratch& scratch) const;
  /// The part of the rows that come next to be fetched with that class row.
  Ahead AheadOf(std::size_t row, const double* next) const;
  void Conclude(std::size_t d, std::size_t count, const double* noPrediction, double* posteriors,
                std::int32_t* predicted, Scratch& scratch) const;
  /// Fills the shares of a lane. Returns the class that is ranked first.
  double RankByLogarithm(std::size_t d, std::size_t lane, const double* sums, double* shares) const;

  std::size_t inputs_ = 0, continuous_ = 0;
  std::vector<std::size_t> firstRow_;     // per dependent, and one behind the last
  std::vector<std::size_t> firstPair_;    // per categorical input, and one behind the last
  std::vector<CodeLookup> lookups_;       // per categorical input
  std::vector<Run> runs_;                 // over the inputs, in order
  HostArray<double> missing_;             // code per input
  HostArray<double> priors_, logPriors_;  // per class row
  // Per class row and continuous input: normal height, mean, rate; lognormal and gamma -, scale,
  // shape; Poisson -, lambda, -.
  HostArray<double> height_, mean_, rate_;
  HostArray<Rule> rule_;
  HostArray<double> logFrequency_;  // per class row, category of each categorical input
  std::vector<Scratch> scratch_;    // per thread
  // Where all continuous inputs are normal; empty where ranks are not looked at without posteriors.
  HostArray<double> rankConstant_, rankSlack_;  // per class row
  double rankSlackRate_ = 0;
  std::size_t lines_ = 0, linesPerRow_ = 0;  // cache lines of as many rows as there are lanes
  std::size_t rowsTogether_ = kRowsAtMost;
  static constexpr std::size_t kRowsAtMost = std::size_t{1} << 16;
};

}  // namespace qrvml
