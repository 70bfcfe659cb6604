// Naive Bayes as its formulas, written as plainly as they can be: one case at a time, one class
// after the other, moments in double in the stated order, likelihoods in long double with the C
// library's functions. Nothing of the module is used.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace qrvml::test {

inline constexpr double kGap = -9999;  // a missing value, and every output without a value

/// Cases in file order: continuous inputs, categorical inputs, dependents. The first `training`
/// cases are the training sample; 0: there is no test sample.
struct PlainCases {
  int continuous = 0, categorical = 0, dependents = 0;
  std::vector<std::vector<double>> rows;
  std::vector<double> weights;  // rounded already; empty: none in force
  int training = 0;
  /// Text of a code, per categorical input, then per dependent; a code without one is shown by its
  /// digits.
  std::vector<std::map<int, std::string>> labels;

  int Inputs() const { return continuous + categorical; }
};

struct PlainBayesSettings {
  int rule = 0;                    // 0 casewise deletion, 1 mean substitution, 2 partly missing
  std::vector<int> distributions;  // 0 normal … 3 Poisson per continuous input; empty: all normal
  double threshold = 0.0001;
};

class PlainBayes {
 public:
  using Row = std::vector<double>;

  PlainBayes(const PlainCases& cases, const PlainBayesSettings& settings)
      : cases_(cases), settings_(settings) {
    settings_.distributions.resize(cases.continuous, 0);
    for (int i = 0; i < int(cases.rows.size()); ++i) {
      if (IsUsed(i)) used.push_back(i);
    }
    Substitute();
    for (int v = 0; v < cases.categorical + cases.dependents; ++v) CollectTexts(v);
    Estimate();
  }

  struct Used {
    int row;  // from 0
    bool isTest;
    double weight;
    Row values;  // missing ones substituted where the rule says so
  };
  std::vector<int> used;
  std::vector<Used> sample;
  std::vector<std::map<std::string, int>> texts;  // text -> smallest code; inputs, then dependents
  std::vector<std::vector<double>> classCount;    // [d][c]
  std::vector<std::vector<Row>> mean, variance, validWeight;      // [d][c][k]
  std::vector<std::vector<std::vector<std::vector<int>>>> pairs;  // [d][c][m][v]
  Row inputCount;                                                 // [k]
  std::vector<Row> priors;                                        // [d][c]
  Row least, most;                                                // of training values, per input

  int Classes(int d) const { return int(texts[cases_.categorical + d].size()); }
  int ClassOf(int d, double code) const { return IndexOf(cases_.categorical + d, code); }
  double CodeOf(int d, int c) const {
    return std::next(texts[cases_.categorical + d].begin(), c)->second;
  }

  struct Found {
    std::vector<Row> posterior;  // [d][c]
    Row predicted, wrong;        // [d]
  };
  /// `observed`: empty: not known.
  Found Classify(const Row& inputs, const Row& observed) const {
    Found found;
    for (int d = 0; d < cases_.dependents; ++d) {
      std::vector<long double> logs(Classes(d));
      for (int c = 0; c < Classes(d); ++c) {
        for (int k = 0; k < cases_.Inputs(); ++k) {
          bool known = inputs[k] != kGap;
          if (known) logs[c] += Term(d, c, k, inputs[k], known);
          if (!known) return Nothing();
        }
      }
      found.posterior.push_back(Normalised(logs, priors[d]));
      int best = -1;
      double largest = 0;
      for (int c = 0; c < Classes(d); ++c) {
        if (found.posterior[d][c] <= largest) continue;
        largest = found.posterior[d][c];
        best = c;
      }
      found.predicted.push_back(CodeOf(d, best));
      found.wrong.push_back(observed.empty() || observed[d] == kGap ? kGap
                            : ClassOf(d, observed[d]) == best       ? 0
                                                                    : 1);
    }
    return found;
  }

  /// [predicted][observed] of dependent d over the training (0), test (1) or all (2) cases.
  std::vector<std::vector<int>> Confusion(int d, int subset) const {
    std::vector<std::vector<int>> counts(Classes(d), std::vector<int>(Classes(d)));
    for (const Used& taken : sample) {
      if (subset != 2 && taken.isTest != (subset == 1)) continue;
      const Row observed(taken.values.begin() + cases_.Inputs(), taken.values.end());
      const Found found = Classify(taken.values, observed);
      const int actual = ClassOf(d, observed[d]);
      if (found.predicted[d] == kGap || actual < 0) continue;
      counts[ClassOf(d, found.predicted[d])][actual] += int(taken.weight);
    }
    return counts;
  }

  /// The term of a continuous or categorical input, known: whether x is a category of training.
  long double Term(int d, int c, int k, double x, bool& known) const {
    if (k >= cases_.continuous) {
      const int m = k - cases_.continuous;
      const int v = IndexOf(m, x);
      known = v >= 0;
      if (!known) return 0;
      const int n = pairs[d][c][m][v];
      return std::log(n != 0 && inputCount[k] != 0 ? n / (long double)inputCount[k]
                                                   : (long double)settings_.threshold);
    }
    const long double M = mean[d][c][k];
    long double S = variance[d][c][k];
    const long double inf = std::numeric_limits<long double>::infinity();
    if (validWeight[d][c][k] == 0) return -inf;
    const int distribution = settings_.distributions[k];
    if (distribution == 1 && !HasShape(M, S)) {
      S = std::max(3.2e-5 * (most[k] - least[k]), 1e-6 * double(std::fabs(M)));
      if (S == 0) S = 1;
    }
    switch (distribution) {
      case 1: {
        const long double scale = M * M / std::sqrt(S * S + M * M);
        const long double shape = std::sqrt(std::log((S * S + M * M) / (M * M)));
        const long double z = std::log(x / scale);
        return -0.472856811L - std::log(shape) - std::log((long double)x) -
               z * z / (2 * shape * shape);
      }
      case 2: {
        const long double scale = S * S / M, shape = M * M / (S * S);
        if (!(scale > 0) || !std::isfinite(shape)) break;
        const long double y = std::max(x / scale, (long double)std::numeric_limits<double>::min());
        return (shape - 1) * std::log(y) - y - std::lgamma(shape);
      }
      case 3:
        if (M == 0) return x == 0 ? 0 : -inf;
        return x * std::log(M) - M - std::lgamma(x + 1.0L);
    }
    long double s = S;
    if (!std::isfinite(1 / (2 * variance[d][c][k]))) {
      const double range = most[k] - least[k];
      s = range * range * 1e-9 > 0 ? range * range * 1e-9 : 1;
    }
    return -0.5L * std::log(2.5066282746310007L * s) - (x - M) * (x - M) / (2 * s);
  }

 private:
  /// Whether lognormal parameters exist, in the digits of a double.
  static bool HasShape(double M, double S) {
    const double shape = std::sqrt(std::log((S * S + M * M) / (M * M)));
    return M * M / std::sqrt(S * S + M * M) > 0 && shape > 0 && std::isfinite(shape);
  }
  double WeightOf(int row) const { return cases_.weights.empty() ? 1 : cases_.weights[row]; }
  bool IsTest(int row) const { return cases_.training > 0 && row >= cases_.training; }
  bool IsUsed(int row) const {
    if (WeightOf(row) == 0) return false;
    const Row& values = cases_.rows[row];
    for (int v = 0; v < int(values.size()); ++v) {
      if (values[v] != kGap) continue;
      const bool isInput = v < cases_.Inputs();
      if (!isInput || settings_.rule == 0) return false;
      if (settings_.rule == 1 && v >= cases_.continuous) return false;
    }
    return true;
  }
  void Substitute() {
    std::vector<Row> means(2, Row(cases_.continuous));
    double all[2] = {0, 0};
    for (const int row : used) {
      all[IsTest(row)] += WeightOf(row);
      for (int k = 0; k < cases_.continuous; ++k) {
        const double x = cases_.rows[row][k];
        if (x != kGap) means[IsTest(row)][k] += WeightOf(row) * x;
      }
    }
    for (int s = 0; s < 2; ++s)
      for (double& sum : means[s]) sum = all[s] == 0 ? 0 : sum / all[s];
    for (const int row : used) {
      Used& taken = sample.emplace_back(Used{row, IsTest(row), WeightOf(row), cases_.rows[row]});
      for (int k = 0; k < cases_.continuous && settings_.rule == 1; ++k)
        if (taken.values[k] == kGap) taken.values[k] = means[IsTest(row)][k];
    }
  }
  std::string TextOf(int v, int code) const {
    if (v < int(cases_.labels.size())) {
      const auto found = cases_.labels[v].find(code);
      if (found != cases_.labels[v].end()) return found->second;
    }
    return std::to_string(code);
  }
  /// Categorical inputs, then dependents.
  void CollectTexts(int v) {
    texts.emplace_back();
    for (const Used& taken : sample) {
      const double value = taken.values[cases_.continuous + v];
      if (taken.isTest || value == kGap) continue;
      const auto [place, isNew] = texts[v].try_emplace(TextOf(v, int(value)), int(value));
      if (!isNew) place->second = std::min(place->second, int(value));
    }
  }
  /// -1: no text that a training case has, or a code that none has.
  int IndexOf(int v, double value) const {
    bool seen = false;
    for (const Used& taken : sample)
      seen = seen || (!taken.isTest && taken.values[cases_.continuous + v] == value);
    const auto place = texts[v].find(TextOf(v, int(value)));
    return !seen || place == texts[v].end() ? -1 : int(std::distance(texts[v].begin(), place));
  }
  void Estimate() {
    const int inputs = cases_.Inputs();
    inputCount.assign(inputs, 0);
    least.assign(inputs, std::numeric_limits<double>::max());
    most.assign(inputs, std::numeric_limits<double>::lowest());
    for (const Used& taken : sample) {
      for (int k = 0; k < inputs && !taken.isTest; ++k) {
        if (taken.values[k] == kGap) continue;
        inputCount[k] += taken.weight;
        least[k] = std::min(least[k], taken.values[k]);
        most[k] = std::max(most[k], taken.values[k]);
      }
    }
    for (int d = 0; d < cases_.dependents; ++d) {
      classCount.emplace_back(Classes(d));
      for (auto* moments : {&mean, &variance, &validWeight})
        moments->emplace_back(Classes(d), Row(inputs));
      pairs.emplace_back(Classes(d));
      for (auto& own : pairs[d])
        for (int m = 0; m < cases_.categorical; ++m) own.emplace_back(texts[m].size());
      double total = 0;
      for (const Used& taken : sample) {
        if (taken.isTest) continue;
        const int c = ClassOf(d, taken.values[inputs + d]);
        const double w = taken.weight;
        classCount[d][c] += w;
        total += w;
        for (int k = 0; k < inputs; ++k) {
          const double x = taken.values[k];
          if (x == kGap) continue;
          validWeight[d][c][k] += w;
          const double delta = x - mean[d][c][k];
          mean[d][c][k] += validWeight[d][c][k] == w ? delta : w * delta / validWeight[d][c][k];
          variance[d][c][k] += w * delta * (x - mean[d][c][k]);
          if (k >= cases_.continuous)
            ++pairs[d][c][k - cases_.continuous][IndexOf(k - cases_.continuous, x)];
        }
      }
      priors.emplace_back();
      for (int c = 0; c < Classes(d); ++c) {
        priors[d].push_back(classCount[d][c] / total);
        for (double& squares : variance[d][c])
          if (classCount[d][c] - 1 > 0) squares /= classCount[d][c] - 1;
      }
    }
  }
  Found Nothing() const {
    Found found{{}, Row(cases_.dependents, kGap), Row(cases_.dependents, kGap)};
    for (int d = 0; d < cases_.dependents; ++d) found.posterior.push_back(Row(Classes(d), kGap));
    return found;
  }
  /// By logarithms throughout, which equals the quotient of products wherever that has a value.
  static Row Normalised(std::vector<long double> logs, const Row& priors) {
    long double highest = -std::numeric_limits<long double>::infinity(), sum = 0;
    for (std::size_t c = 0; c < logs.size(); ++c) {
      logs[c] += std::log((long double)priors[c]);
      highest = std::max(highest, logs[c]);
    }
    if (std::isinf(highest)) return priors;
    for (const long double value : logs) sum += std::exp(value - highest);
    Row shares;
    for (const long double value : logs) shares.push_back(double(std::exp(value - highest) / sum));
    return shares;
  }

  const PlainCases& cases_;
  PlainBayesSettings settings_;
};

}  // namespace qrvml::test
