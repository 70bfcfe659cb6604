#include <algorithm>
#include <limits>
#include <string>

#include "svm/case_predictor.h"
#include "svm/class_groups.h"
#include "svm/decision_function.h"
#include "svm/pair_optimiser.h"
#include "svm/svm_solver.h"

namespace qrvml {
namespace {

/// A training run: what its decision functions share.
class Training {
 public:
  Training(const SVMProblem& problem, const SVMParameters& parameters, SVMSolverState& state,
           const SharedKernel& shared)
      : problem_(problem),
        parameters_(parameters),
        state_(state),
        shared_(shared),
        pace_(state),
        team_(state.threads),
        model_(std::make_unique<SVMModel>()) {
    model_->parameters = parameters;
    state.counts = {};
  }

  std::unique_ptr<SVMModel> Run() {
    model_->IsClassification() ? TrainClasses() : TrainOne();
    SpreadSupportVectors(*model_, pace_);
    return std::move(model_);
  }

 private:
  void TrainOne() {
    const auto l = std::size_t(problem_.l);
    const DecisionFunction function = TrainDecisionFunction(
        {{problem_.x, l}, {problem_.y, l}, 0, 0, shared_}, parameters_, state_, team_, pace_);
    model_->classCount = 2;
    model_->constants.Assign(1, function.rho);
    std::int32_t count = 0;
    for (const double coefficient : function.coefficients) count += coefficient != 0 ? 1 : 0;
    model_->supportVectorCount = count;
    model_->supportVectors.Resize(std::size_t(count));
    model_->coefficients.Resize(std::size_t(count));
    std::size_t s = 0;
    for (std::size_t t = 0; t < l; ++t) {
      if (function.coefficients[t] == 0) continue;
      model_->supportVectors[s] = problem_.x[t];
      model_->coefficients[s++] = function.coefficients[t];
    }
  }

  void TrainClasses() {
    const ClassGroups groups(problem_);
    const std::int32_t classes = groups.count();
    const auto pairs = std::size_t(classes) * std::size_t(std::max(classes - 1, 0)) / 2;
    model_->classCount = classes;
    model_->labels.Resize(std::size_t(classes));
    for (std::int32_t k = 0; k < classes; ++k) model_->labels[std::size_t(k)] = groups.Label(k);
    const HostArray<double> weightedC = WeightedC(groups);

    model_->constants.Resize(pairs);
    std::vector<DecisionFunction> functions;
    functions.reserve(pairs);
    HostArray<bool> marked(groups.cases().size(), false);  // in grouped order
    for (std::int32_t i = 0; i < classes; ++i) {
      for (std::int32_t j = i + 1; j < classes; ++j) {
        functions.push_back(TrainPair(groups, i, j, weightedC));
        const DecisionFunction& function = functions.back();
        model_->constants[functions.size() - 1] = function.rho;
        for (std::int32_t t = 0; t < groups.Size(i) + groups.Size(j); ++t) {
          if (function.coefficients[std::size_t(t)] == 0) continue;
          marked[std::size_t(t < groups.Size(i) ? groups.Begin(i) + t
                                                : groups.Begin(j) + t - groups.Size(i))] = true;
        }
      }
    }
    Assemble(groups, functions, marked);
  }

  HostArray<double> WeightedC(const ClassGroups& groups) const {
    HostArray<double> weighted(std::size_t(groups.count()), parameters_.C);
    for (std::size_t w = 0; w < parameters_.classWeightLabels.size(); ++w) {
      const std::int32_t label = parameters_.classWeightLabels[w];
      const auto at = std::find(model_->labels.begin(), model_->labels.end(), label);
      if (at == model_->labels.end()) {
        WarnDiagnostic(state_, "warning: class label " + std::to_string(label) +
                                   " specified in weight is not found\n");
      } else {
        weighted[std::size_t(at - model_->labels.begin())] *= parameters_.classWeights[w];
      }
    }
    return weighted;
  }

  DecisionFunction TrainPair(const ClassGroups& groups, std::int32_t i, std::int32_t j,
                             std::span<const double> weightedC) {
    const auto size = std::size_t(groups.Size(i)) + std::size_t(groups.Size(j));
    HostArray<SVMNodeList> cases{size};
    HostArray<double> targets{size};
    HostArray<std::int32_t> places{shared_.store == nullptr ? 0 : size};
    std::size_t t = 0;
    for (const std::int32_t k : {i, j}) {
      for (const std::int32_t at : groups.Cases(k)) {
        cases[t] = problem_.x[at];
        if (!places.empty()) places[t] = shared_.places[std::size_t(at)];
        targets[t++] = k == i ? 1 : -1;
      }
    }
    return TrainDecisionFunction({cases,
                                  targets,
                                  weightedC[std::size_t(i)],
                                  weightedC[std::size_t(j)],
                                  {shared_.store, places}},
                                 parameters_, state_, team_, pace_);
  }

  void Assemble(const ClassGroups& groups, std::span<const DecisionFunction> functions,
                std::span<const bool> marked) {
    const std::int32_t classes = groups.count();
    const auto count = std::size_t(std::count(marked.begin(), marked.end(), true));
    model_->supportVectorCount = std::int32_t(count);
    model_->supportVectors.Resize(count);
    model_->supportVectorsPerClass.Assign(std::size_t(classes), 0);
    const auto rows = std::size_t(std::max(classes - 1, 0));
    if (count > 0 && rows > std::numeric_limits<std::size_t>::max() / sizeof(double) / count) {
      throw MemoryRefused();
    }
    model_->coefficients.Assign(rows * count, 0.0);

    // Where each class's support vectors begin, and each case's place among all of them.
    HostArray<std::int32_t> place(marked.size(), -1);
    std::int32_t next = 0;
    for (std::int32_t k = 0; k < classes; ++k) {
      for (std::int32_t t = groups.Begin(k); t < groups.Begin(k) + groups.Size(k); ++t) {
        if (!marked[std::size_t(t)]) continue;
        model_->supportVectors[std::size_t(next)] = problem_.x[groups.cases()[std::size_t(t)]];
        ++model_->supportVectorsPerClass[std::size_t(k)];
        place[std::size_t(t)] = next++;
      }
    }
    PrintDiagnostic(state_, "Total nSV = " + std::to_string(count) + "\n");

    const DecisionFunction* function = functions.data();
    for (std::int32_t i = 0; i < classes; ++i) {
      for (std::int32_t j = i + 1; j < classes; ++j, ++function) {
        const double* coefficient = function->coefficients.data();
        for (const std::int32_t k : {i, j}) {
          double* row = model_->coefficients.data() + std::size_t(k == i ? j - 1 : i) * count;
          for (std::int32_t t = groups.Begin(k); t < groups.Begin(k) + groups.Size(k); ++t) {
            const std::int32_t s = place[std::size_t(t)];
            if (s >= 0) row[s] = *coefficient;
            ++coefficient;
          }
        }
      }
    }
  }

  const SVMProblem& problem_;
  const SVMParameters& parameters_;
  SVMSolverState& state_;
  const SharedKernel& shared_;
  SolverPace pace_;
  SolverTeam team_;
  std::unique_ptr<SVMModel> model_;
};

}  // namespace

std::unique_ptr<SVMModel> SvmTrain(const SVMProblem& problem, const SVMParameters& parameters,
                                   SVMSolverState& state, const SharedKernel& shared) {
  return Training(problem, parameters, state, shared).Run();
}

std::unique_ptr<SVMModel> SvmTrain(const SVMProblem& problem, const SVMParameters& parameters,
                                   SVMSolverState& state) {
  return SvmTrain(problem, parameters, state, {});
}

void SvmFreeModel(std::unique_ptr<SVMModel>& model) { model.reset(); }

}  // namespace qrvml
