// Problems for the solver's tests, and slow plain answers to hold against it: kernels by the
// library's functions on dense vectors, a solver that looks at every pair of variables and takes
// the one that gains most, decision values by the defining sums.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "svm/svm_solver.h"

namespace qrvml::test {

/// Dense cases and the node lists made of them; zeros are left out where `sparse`.
class PlainProblem {
 public:
  explicit PlainProblem(bool sparse = false) : sparse_(sparse) {}

  void Add(std::vector<double> inputs, double target) {
    std::vector<SVMNode> list;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      if (!sparse_ || inputs[i] != 0) list.push_back({std::int32_t(i) + 1, inputs[i]});
    }
    list.push_back({-1, 0});
    nodes_.push_back(std::make_unique<std::vector<SVMNode>>(std::move(list)));
    lists_.push_back({nodes_.back()->data()});
    inputs_.push_back(std::move(inputs));
    targets_.push_back(target);
  }
  SVMProblem problem() const { return {size(), targets_.data(), lists_.data()}; }
  std::int32_t size() const { return std::int32_t(targets_.size()); }
  const std::vector<double>& inputs(std::int32_t t) const { return inputs_[std::size_t(t)]; }
  double target(std::int32_t t) const { return targets_[std::size_t(t)]; }
  const SVMNode* list(std::int32_t t) const { return lists_[std::size_t(t)]; }

 private:
  bool sparse_;
  std::vector<std::unique_ptr<std::vector<SVMNode>>> nodes_;
  std::vector<SVMNodeList> lists_;
  std::vector<std::vector<double>> inputs_;
  std::vector<double> targets_;
};

/// splitmix64 (Steele, Lea, Flood, 2014).
class Draws {
 public:
  explicit Draws(std::uint64_t seed) : state_(seed) {}
  double Unit() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return double((z ^ z >> 31) >> 11) * 0x1p-53;
  }
  double Bell() { return Unit() + Unit() + Unit() + Unit() - 2.0; }

 private:
  std::uint64_t state_;
};

/// Overlapping classes 1, 2, … or a noisy smooth function of the inputs.
inline PlainProblem RandomProblem(std::uint64_t seed, int cases, int inputs, int classes) {
  Draws draws(seed);
  PlainProblem problem;
  for (int t = 0; t < cases; ++t) {
    std::vector<double> x(std::size_t(inputs), 0.0);
    const int k = classes > 0 ? t % classes : 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      x[i] = draws.Bell() + (int(i) % std::max(classes, 1) == k && classes > 0 ? 0.7 : 0.0);
    }
    const double smooth = x[0] * x[0] - x.back() + 0.2 * draws.Bell();
    problem.Add(std::move(x), classes > 0 ? k + 1 : smooth);
  }
  return problem;
}

inline double PlainKernel(const SVMParameters& p, const std::vector<double>& x,
                          const std::vector<double>& z) {
  double dot = 0;
  double square = 0;
  for (std::size_t i = 0; i < std::max(x.size(), z.size()); ++i) {
    const double a = i < x.size() ? x[i] : 0;
    const double b = i < z.size() ? z[i] : 0;
    dot += a * b;
    square += (a - b) * (a - b);
  }
  switch (p.kernelType) {
    case kLinearKernel:
      return dot;
    case kPolynomialKernel:
      return std::pow(p.gamma * dot + p.coef0, p.degree);
    case kRadialKernel:
      return std::exp(-p.gamma * square);
    default:
      return std::tanh(p.gamma * dot + p.coef0);
  }
}

/// The sum of each pair of label positions, or the only one, from the kernel values of the support
/// vectors; every number of the model goes through `printed`.
inline std::vector<double> PlainSums(
    const SVMModel& model, const std::vector<double>& kernel,
    const std::function<double(double)>& printed = [](double value) { return value; }) {
  std::vector<int> classOf(kernel.size(), 0);
  if (model.IsClassification()) {
    classOf.clear();
    for (int k = 0; k < model.classCount; ++k)
      classOf.resize(classOf.size() + std::size_t(model.supportVectorsPerClass[std::size_t(k)]), k);
  }
  std::vector<double> sums;
  for (int i = 0; i < model.classCount; ++i) {
    for (int j = i + 1; j < model.classCount; ++j) {
      double sum = 0;
      for (std::size_t s = 0; s < kernel.size(); ++s) {
        if (classOf[s] != i && classOf[s] != j) continue;
        const int row = classOf[s] == i ? j - 1 : i;
        sum += printed(model.Coefficient(row, std::int32_t(s))) * kernel[s];
      }
      sums.push_back(sum - printed(model.constants[sums.size()]));
    }
  }
  return sums;
}
/// Votes per label position.
inline std::vector<int> PlainVotes(const SVMModel& model, const std::vector<double>& sums) {
  std::vector<int> votes(std::size_t(model.classCount), 0);
  auto sum = sums.begin();
  for (int i = 0; i < model.classCount; ++i) {
    for (int j = i + 1; j < model.classCount; ++j) ++votes[std::size_t(*sum++ > 0 ? i : j)];
  }
  return votes;
}

/// A solver state that keeps its texts.
struct QuietState : SVMSolverState {
  std::string printed;
  std::string warned;
  QuietState() {
    maxIterations = 10000000;
    print = [this](std::string_view text) { printed += text; };
    warn = [this](std::string_view text) { warned += text; };
  }
};

/// Coefficients per case of a model's only decision function, and sum - constant at each case.
struct PlainDecision {
  std::vector<double> coefficients;
  std::vector<double> values;
};
inline PlainDecision DecisionOf(const SVMModel& model, const PlainProblem& problem) {
  PlainDecision decision;
  for (std::int32_t t = 0; t < problem.size(); ++t) {
    double coefficient = 0;
    for (std::int32_t s = 0; s < model.supportVectorCount; ++s) {
      if (model.supportVectors[std::size_t(s)] == problem.list(t)) {
        coefficient = model.coefficients[std::size_t(s)];
      }
    }
    decision.coefficients.push_back(coefficient);
  }
  for (std::int32_t t = 0; t < problem.size(); ++t) {
    double sum = 0;
    for (std::int32_t s = 0; s < problem.size(); ++s) {
      sum += decision.coefficients[std::size_t(s)] *
             PlainKernel(model.parameters, problem.inputs(t), problem.inputs(s));
    }
    decision.values.push_back(sum - model.constants[0]);
  }
  return decision;
}

/// The least value of 1/2 a'Qa + b'a over the feasible a of a solver type, by exact steps along the
/// pair of variables that gains most. The first label seen is the class y = +1.
class PlainOptimum {
 public:
  PlainOptimum(const PlainProblem& problem, const SVMParameters& p) {
    const bool classes = p.svmType <= kNuClassification;
    const bool regression = p.svmType >= kEpsilonRegression;
    const std::int32_t l = problem.size();
    const std::int32_t n = regression ? 2 * l : l;
    within_ = p.svmType == kNuClassification || p.svmType == kNuRegression;
    bound_ = p.svmType == kNuClassification || p.svmType == kOneClass ? 1 : p.C;
    int positives = 0;
    for (std::int32_t t = 0; t < l; ++t) positives += problem.target(t) == problem.target(0);
    for (std::int32_t t = 0; t < n; ++t) {
      const double target = problem.target(t % l);
      y_.push_back(regression ? (t < l ? 1 : -1)
                              : (!classes || target == problem.target(0) ? 1 : -1));
      const double side = t < l ? 1 : -1;
      b_.push_back(p.svmType == kCClassification     ? -1.0
                   : p.svmType == kEpsilonRegression ? p.epsilon - side * target
                   : p.svmType == kNuRegression      ? -side * target
                                                     : 0.0);
      // A feasible start that favours no case.
      alpha_.push_back(p.svmType == kNuClassification
                           ? p.nu * l / 2 / (y_.back() > 0 ? positives : l - positives)
                       : p.svmType == kOneClass     ? p.nu
                       : p.svmType == kNuRegression ? p.C * p.nu / 2
                                                    : 0.0);
    }
    for (std::int32_t t = 0; t < n; ++t) {
      Q_.emplace_back();
      for (std::int32_t s = 0; s < n; ++s) {
        Q_.back().push_back(y_[std::size_t(t)] * y_[std::size_t(s)] *
                            PlainKernel(p, problem.inputs(t % l), problem.inputs(s % l)));
      }
    }
    for (std::int32_t t = 0; t < n; ++t) {
      long double sum = b_[std::size_t(t)];
      for (std::int32_t s = 0; s < n; ++s) sum += Q_[t][s] * alpha_[std::size_t(s)];
      gradient_.push_back(sum);
    }
  }

  long double Solve() {
    for (int step = 0; step < 200000 && StepOnce(); ++step) {
    }
    long double objective = 0;
    for (std::size_t t = 0; t < alpha_.size(); ++t) {
      objective += alpha_[t] * (gradient_[t] + b_[t]) / 2;
    }
    return objective;
  }

 private:
  bool StepOnce() {
    long double bestGain = 1e-15L;
    std::size_t bestI = 0;
    std::size_t bestJ = 0;
    long double bestSize = 0;
    for (std::size_t i = 0; i < alpha_.size(); ++i) {
      for (std::size_t j = i + 1; j < alpha_.size(); ++j) {
        if (within_ && y_[i] != y_[j]) continue;
        // a_i += y_i s, a_j -= y_j s keeps y'a.
        const long double slope = y_[i] * gradient_[i] - y_[j] * gradient_[j];
        const long double curve = Q_[i][i] + Q_[j][j] - 2 * y_[i] * y_[j] * Q_[i][j];
        long double low = -std::numeric_limits<long double>::infinity();
        long double high = -low;
        Limit(alpha_[i], y_[i], &low, &high);
        Limit(alpha_[j], -y_[j], &low, &high);
        long double size = curve > 1e-14L ? -slope / curve : (slope > 0 ? low : high);
        size = std::clamp(size, low, high);
        const long double gain = -(slope * size + curve * size * size / 2);
        if (gain > bestGain) {
          bestGain = gain;
          bestI = i;
          bestJ = j;
          bestSize = size;
        }
      }
    }
    if (bestI == bestJ) return false;
    Move(bestI, y_[bestI] * bestSize);
    Move(bestJ, -y_[bestJ] * bestSize);
    return true;
  }
  void Limit(long double alpha, int direction, long double* low, long double* high) const {
    const long double down = direction > 0 ? -alpha : alpha - bound_;
    const long double up = direction > 0 ? bound_ - alpha : alpha;
    *low = std::max(*low, down);
    *high = std::min(*high, up);
  }
  void Move(std::size_t t, long double by) {
    alpha_[t] = std::clamp(alpha_[t] + by, 0.0L, bound_);
    for (std::size_t s = 0; s < alpha_.size(); ++s) gradient_[s] += Q_[s][t] * by;
  }

  bool within_ = false;  // pairs of one class only: two sums are kept
  long double bound_ = 0;
  std::vector<int> y_;
  std::vector<long double> b_;
  std::vector<long double> alpha_;
  std::vector<long double> gradient_;
  std::vector<std::vector<long double>> Q_;
};

}  // namespace qrvml::test
