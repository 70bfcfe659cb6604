// The support vector solver: sequential minimal optimisation with the most violating pair (Platt,
// Fast training of support vector machines using sequential minimal optimization, 1998; Keerthi,
// Shevade, Bhattacharyya, Murthy, Improvements to Platt's SMO algorithm, 2001), shrinking and a
// kernel cache (Joachims, Making large-scale SVM learning practical, 1998); several classes by
// one-against-one votes (Knerr, Personnaz, Dreyfus, 1990).
//
// The same problem and parameters give the same bits with any cache size, number of threads and
// processor.
#pragma once

#include <memory>
#include <span>

#include "svm/svm_types.h"

namespace qrvml {

/// Null when the parameters are usable, else the message (a text with static lifetime).
const char* SvmCheckParameters(const SVMProblem& problem, const SVMParameters& parameters);

struct SharedKernel;

/// Trains on the problem, with kernel values from a store where `shared` has one.
///
/// requires  SvmCheckParameters found nothing
/// throws    MemoryRefused; Cancelled where state.poll says so; NumericFault
std::unique_ptr<SVMModel> SvmTrain(const SVMProblem& problem, const SVMParameters& parameters,
                                   SVMSolverState& state, const SharedKernel& shared);
std::unique_ptr<SVMModel> SvmTrain(const SVMProblem& problem, const SVMParameters& parameters,
                                   SVMSolverState& state);

/// The class label of the input vector, its regression value, or +1 / -1 for one-class.
///
/// For a classification voteShares[k] = votes of the model's k-th label / all votes; its size is at
/// least classCount, or 0. An exact tie goes to the lowest label position. Many cases are predicted
/// much faster by a CasePredictor. Throws MemoryRefused.
double SvmPredict(const SVMModel& model, const SVMNode* x, std::span<double> voteShares);

/// Frees the model, not the node lists. Null is ignored.
void SvmFreeModel(std::unique_ptr<SVMModel>& model);

}  // namespace qrvml
