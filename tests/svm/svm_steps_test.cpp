// The steps of the solver against a slow one that takes each of them as the method defines it, with
// the whole of Q at hand: which pairs, what shrinks and returns when, and what is left where the
// iteration limit ends it.
#include <gtest/gtest.h>

#include <cmath>

#include "svm/plain_svm.h"

namespace qrvml::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class DefinedSolver {
 public:
  DefinedSolver(std::vector<std::vector<double>> q, std::vector<double> b, std::vector<int> y,
                std::vector<double> alpha, double positiveC, double negativeC,
                const SVMParameters& p)
      : Q_(std::move(q)),
        b_(std::move(b)),
        y_(std::move(y)),
        alpha_(std::move(alpha)),
        positiveC_(positiveC),
        negativeC_(negativeC),
        nu_(p.svmType == kNuClassification || p.svmType == kNuRegression),
        paired_(p.svmType >= kEpsilonRegression),
        accuracy_(p.stoppingAccuracy),
        shrinking_(p.shrinking == 1),
        active_(b_.size()) {
    for (std::size_t t = 0; t < b_.size(); ++t) order_.push_back(t);
    for (std::size_t t = 0; t < b_.size(); ++t) G_.push_back(Gradient(t));
  }

  std::string marks;  // "." and "*", as they are printed
  int iterations = 0;

  void Solve(int limit) {
    const int interval = int(std::min<std::size_t>(b_.size(), 1000));
    int counter = interval + 1;
    do {
      if (--counter == 0) {
        counter = interval;
        if (shrinking_) Shrink();
        marks += '.';
      }
      if (!Select()) {
        Reconstruct();
        active_ = b_.size();
        marks += '*';
        if (!Select()) return;
        counter = 1;
      }
      ++iterations;
      Step();
    } while (iterations < limit);
  }

  std::size_t shrunk() const { return b_.size() - active_; }
  std::vector<double> Alpha() const {
    std::vector<double> alpha(b_.size());
    for (std::size_t t = 0; t < b_.size(); ++t) alpha[order_[t]] = alpha_[t];
    return alpha;
  }
  double Objective() const {
    double sum = 0;
    for (std::size_t t = 0; t < b_.size(); ++t) sum += alpha_[t] * (G_[t] + b_[t]);
    return sum / 2;
  }
  double Rho() const {
    if (nu_) return (Level(1) - Level(-1)) / 2;
    double sum = 0, upper = kInfinity, lower = -kInfinity;
    int free = 0;
    for (std::size_t t = 0; t < active_; ++t) {
      const double g = y_[t] * G_[t];
      if (!IsLower(t) && !IsUpper(t)) {
        sum += g;
        ++free;
      } else if (IsLower(t) == (y_[t] > 0)) {
        upper = std::min(upper, g);
      } else {
        lower = std::max(lower, g);
      }
    }
    return free > 0 ? sum / free : (upper + lower) / 2;
  }
  double R() const { return (Level(1) + Level(-1)) / 2; }

 private:
  double Level(int y) const {
    double sum = 0, upper = kInfinity, lower = -kInfinity;
    int free = 0;
    for (std::size_t t = 0; t < active_; ++t) {
      if (y_[t] != y) continue;
      if (!IsLower(t) && !IsUpper(t)) {
        sum += G_[t];
        ++free;
      } else if (IsLower(t)) {
        upper = std::min(upper, G_[t]);
      } else {
        lower = std::max(lower, G_[t]);
      }
    }
    return free > 0 ? sum / free : (upper + lower) / 2;
  }
  double Q(std::size_t t, std::size_t s) const { return Q_[order_[t]][order_[s]]; }
  double Bound(std::size_t t) const { return y_[t] > 0 ? positiveC_ : negativeC_; }
  bool IsLower(std::size_t t) const { return alpha_[t] <= 0; }
  bool IsUpper(std::size_t t) const { return alpha_[t] >= Bound(t); }

  /// max of -G over those of y that may grow, and of G over those that may fall; with arguments.
  struct Ends {
    double rise = -kInfinity, fall = -kInfinity;
    std::size_t riseAt = 0, fallAt = 0;
  };
  Ends EndsOf(int y) const {
    Ends ends;
    for (std::size_t t = 0; t < active_; ++t) {
      if (y_[t] != y) continue;
      if (!IsUpper(t) && -G_[t] > ends.rise) ends.rise = -G_[t], ends.riseAt = t;
      if (!IsLower(t) && G_[t] > ends.fall) ends.fall = G_[t], ends.fallAt = t;
    }
    return ends;
  }

  bool Select() {
    const Ends plus = EndsOf(1), minus = EndsOf(-1);
    if (nu_) {
      const double first = plus.rise + plus.fall, second = minus.rise + minus.fall;
      if (std::max(first, second) < accuracy_) return false;
      i_ = first > second ? plus.riseAt : minus.riseAt;
      j_ = first > second ? plus.fallAt : minus.fallAt;
      return true;
    }
    // Of equal ones of the two classes the earlier.
    const bool plusRises =
        plus.rise > minus.fall || (plus.rise == minus.fall && plus.riseAt < minus.fallAt);
    const bool plusFalls =
        plus.fall > minus.rise || (plus.fall == minus.rise && plus.fallAt < minus.riseAt);
    i_ = plusRises ? plus.riseAt : minus.fallAt;
    j_ = plusFalls ? plus.fallAt : minus.riseAt;
    return !(std::max(plus.rise, minus.fall) + std::max(plus.fall, minus.rise) < accuracy_);
  }

  void Step() {
    const std::size_t i = i_, j = j_;
    const double oldI = alpha_[i], oldJ = alpha_[j];
    double &a = alpha_[i], &c = alpha_[j];
    const double boundI = Bound(i), boundJ = Bound(j);
    if (y_[i] != y_[j]) {
      const double delta = (-G_[i] - G_[j]) / (Q(i, i) + Q(j, j) + 2 * Q(i, j));
      const double difference = a - c;
      a += delta;
      c += delta;
      if (difference > 0 && c < 0) c = 0, a = difference;
      if (difference <= 0 && a < 0) a = 0, c = -difference;
      if (difference > boundI - boundJ && a > boundI) a = boundI, c = boundI - difference;
      if (difference <= boundI - boundJ && c > boundJ) c = boundJ, a = boundJ + difference;
    } else {
      const double delta = (G_[i] - G_[j]) / (Q(i, i) + Q(j, j) - 2 * Q(i, j));
      const double sum = a + c;
      a -= delta;
      c += delta;
      if (sum > boundI && a > boundI) a = boundI, c = sum - boundI;
      if (sum <= boundI && c < 0) c = 0, a = sum;
      if (sum > boundJ && c > boundJ) c = boundJ, a = sum - boundJ;
      if (sum <= boundJ && a < 0) a = 0, c = sum;
    }
    for (std::size_t t = 0; t < active_; ++t) {
      G_[t] += Q(t, i) * (a - oldI) + Q(t, j) * (c - oldJ);
    }
  }

  /// From the definition; the two variables of a case share its kernel values, so they meet first.
  double Gradient(std::size_t t) const {
    const std::size_t l = Q_.size() / (paired_ ? 2 : 1);
    const auto caseOf = [&](std::size_t s) { return paired_ ? order_[s] % l : s; };
    std::vector<double> share(l, 0.0), kernel(l, 0.0);
    for (std::size_t s = 0; s < b_.size(); ++s) {
      share[caseOf(s)] += y_[s] * alpha_[s];
      kernel[caseOf(s)] = y_[s] * Q(t, s);
    }
    double sum = 0;
    for (std::size_t c = 0; c < l; ++c) sum += share[c] * kernel[c];
    return b_[t] + sum;
  }
  void Reconstruct() {
    for (std::size_t t = active_; t < b_.size(); ++t) G_[t] = Gradient(t);
  }

  void Shrink() {
    double thresholds[4];  // of lower and upper variables of y = +1, then of y = -1
    if (nu_) {
      const Ends plus = EndsOf(1), minus = EndsOf(-1);
      thresholds[0] = -plus.fall, thresholds[1] = -plus.rise;
      thresholds[2] = -minus.fall, thresholds[3] = -minus.rise;
    } else {
      if (!Select()) return;
      thresholds[0] = thresholds[3] = -y_[j_] * G_[j_];
      thresholds[1] = thresholds[2] = y_[i_] * G_[i_];
    }
    const auto below = [&](std::size_t t) {
      const double* own = thresholds + (y_[t] > 0 ? 0 : 2);
      return IsLower(t) ? -G_[t] < own[0] : G_[t] < own[1];
    };
    const auto bounded = [&](std::size_t t) { return IsLower(t) || IsUpper(t); };
    for (std::size_t t = 0; t < active_;) {
      if (bounded(t) && below(t)) {
        Swap(t, --active_);
      } else {
        ++t;
      }
    }
    const double open =
        std::max(-(thresholds[0] + thresholds[1]), -(thresholds[2] + thresholds[3]));
    if (returned_ || open > 10 * accuracy_) return;
    returned_ = true;
    Reconstruct();
    for (std::size_t t = b_.size(); t-- > active_;) {
      if (bounded(t) && !below(t)) Swap(t++, active_++);
    }
  }

  void Swap(std::size_t a, std::size_t b) {
    for (auto* values : {&b_, &alpha_, &G_}) std::swap((*values)[a], (*values)[b]);
    std::swap(y_[a], y_[b]);
    std::swap(order_[a], order_[b]);
  }

  std::vector<std::vector<double>> Q_;  // in the caller's order
  std::vector<double> b_;
  std::vector<int> y_;
  std::vector<double> alpha_;
  double positiveC_, negativeC_;
  bool nu_, paired_;
  double accuracy_;
  bool shrinking_;
  std::size_t active_;
  bool returned_ = false;
  std::vector<std::size_t> order_;
  std::vector<double> G_;
  std::size_t i_ = 0, j_ = 0;
};

/// What the method makes of the problem: the first label seen is y = +1 and its cases come first.
DefinedSolver Define(const PlainProblem& problem, const SVMParameters& p, double positiveC,
                     double negativeC, std::vector<std::int32_t>& cases) {
  const bool classes = p.svmType <= kNuClassification;
  const bool regression = p.svmType >= kEpsilonRegression;
  const std::int32_t l = problem.size();
  for (const bool first : {true, false}) {
    for (std::int32_t t = 0; t < l; ++t) {
      if ((!classes || problem.target(t) == problem.target(0)) == first) cases.push_back(t);
    }
  }
  const std::size_t n = regression ? 2 * std::size_t(l) : std::size_t(l);
  std::vector<double> b(n, 0.0), alpha(n, 0.0);
  std::vector<int> y(n, 1);
  const double bound = p.svmType == kNuRegression ? p.C : 1;
  double remaining[2] = {bound * p.nu * l / 2, bound * p.nu * l / 2};
  if (p.svmType == kOneClass) remaining[0] = p.nu * l;
  for (std::size_t t = 0; t < n; ++t) {
    const double target = problem.target(cases[t % std::size_t(l)]);
    if (regression ? t >= std::size_t(l) : classes && target != problem.target(0)) y[t] = -1;
    const bool isC = p.svmType == kCClassification || p.svmType == kEpsilonRegression;
    if (p.svmType == kCClassification) b[t] = -1;
    if (regression) b[t] = (p.svmType == kEpsilonRegression ? p.epsilon : 0) - y[t] * target;
    if (isC) continue;
    double& left = remaining[y[t] > 0 ? 0 : 1];
    alpha[t] = std::min(bound, left);
    left -= alpha[t];
  }
  std::vector<std::vector<double>> Q(n, std::vector<double>(n));
  for (std::size_t t = 0; t < n; ++t) {
    for (std::size_t s = 0; s < n; ++s) {
      Q[t][s] = y[t] * y[s] *
                PlainKernel(p, problem.inputs(cases[t % std::size_t(l)]),
                            problem.inputs(cases[s % std::size_t(l)]));
    }
  }
  return DefinedSolver(std::move(Q), std::move(b), std::move(y), std::move(alpha), positiveC,
                       negativeC, p);
}

/// Inputs and products that a double holds exactly, so that both solvers see the same kernel.
PlainProblem EvenProblem(std::uint64_t seed, int cases, bool classes) {
  Draws draws(seed);
  PlainProblem problem;
  for (int t = 0; t < cases; ++t) {
    std::vector<double> x;
    for (int i = 0; i < 4; ++i) x.push_back(std::floor(6 * draws.Bell()) / 4);
    const double score = x[0] * x[1] + x[2] + draws.Bell();
    problem.Add(std::move(x), classes ? (score > 0.3 ? 7 : 4) : score);
  }
  return problem;
}

TEST(SvmSteps, AreThoseOfTheDefinitionWhereverTheyEnd) {
  std::size_t endedWhileShrunk = 0;
  for (const SVMType type :
       {kCClassification, kNuClassification, kOneClass, kEpsilonRegression, kNuRegression}) {
    for (const std::uint64_t seed : {1, 2}) {
      const PlainProblem problem = EvenProblem(seed, 90, type <= kNuClassification);
      SVMParameters p;
      p.svmType = type;
      p.kernelType = kPolynomialKernel;
      p.degree = 2;
      p.gamma = 0.5;
      p.coef0 = 1;
      p.C = 0.5;
      p.nu = 0.3;
      p.stoppingAccuracy = 1e-3;
      if (type == kCClassification) {
        p.classWeightLabels = {7, 4};
        p.classWeights = {3, 0.25};
      }
      const double first = problem.target(0) == 7 ? 3 : 0.25;
      const bool isUnit = type == kNuClassification || type == kOneClass;
      const double positiveC = isUnit ? 1 : type == kCClassification ? 0.5 * first : 0.5;
      const double negativeC = isUnit ? 1 : type == kCClassification ? 0.5 * 0.75 / first : 0.5;
      double optimum[2];
      for (p.shrinking = 0; p.shrinking <= 1; ++p.shrinking) {
        for (const int limit : {1, 95, 200, 450, 100000}) {
          SCOPED_TRACE("type " + std::to_string(type) + ", seed " + std::to_string(seed) +
                       ", shrinking " + std::to_string(p.shrinking) + ", limit " +
                       std::to_string(limit));
          std::vector<std::int32_t> cases;
          DefinedSolver defined = Define(problem, p, positiveC, negativeC, cases);
          defined.Solve(limit);
          if (defined.iterations == limit) endedWhileShrunk += defined.shrunk() > 0 ? 1 : 0;

          QuietState state;
          state.maxIterations = limit;
          const auto model = SvmTrain(problem.problem(), p, state);
          ASSERT_EQ(state.iterationCount, defined.iterations);
          EXPECT_EQ(state.printed.substr(0, state.printed.find('\n')), defined.marks);
          const double r = type == kNuClassification ? defined.R() : 1;
          const double rho = defined.Rho() / r;
          EXPECT_NEAR(model->constants[0], rho, 1e-9 * std::fabs(rho) + 1e-11);
          const double objective = defined.Objective() / (r * r);
          EXPECT_NEAR(state.objective, objective, 1e-9 * std::fabs(objective) + 1e-12);
          optimum[p.shrinking] = objective;
          const std::vector<double> alpha = defined.Alpha();
          const PlainDecision decision = DecisionOf(*model, problem);
          for (std::size_t t = 0; t < cases.size(); ++t) {
            const bool isNegative =
                type <= kNuClassification && problem.target(cases[t]) != problem.target(0);
            const double expected = type >= kEpsilonRegression
                                        ? alpha[t] - alpha[t + cases.size()]
                                        : (isNegative ? -1 : 1) * alpha[t] / r;
            EXPECT_NEAR(decision.coefficients[std::size_t(cases[t])], expected, 1e-8) << t;
          }
        }
      }
      // Of nu classification the objective is divided by r^2, which is small.
      const double relative = type == kNuClassification ? 1e-2 : 1e-3;
      EXPECT_NEAR(optimum[1], optimum[0], relative * std::fabs(optimum[0])) << "with shrinking";
    }
  }
  EXPECT_GT(endedWhileShrunk, 0u);
}

}  // namespace
}  // namespace qrvml::test
