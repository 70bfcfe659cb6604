// The nearest-neighbour method as its defining loops, written as plainly as they can be: one pass
// over all prototypes per neighbour, one case at a time. The module must give the same bits.
// Nothing of the module's engine is used; only its e^x is shared, which is defined bit by bit
// elsewhere.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "host/numerics.h"

namespace qrvml::test {

using Row = std::vector<double>;
using Rows = std::vector<Row>;

/// Cases in file order. A row holds continuous inputs, categorical inputs, continuous dependents,
/// categorical dependents; the first `prototypes` rows are the model, the others the test sample.
struct PlainTable {
  int continuousInputs = 0, categoricalInputs = 0;
  int continuousDependents = 0, categoricalDependents = 0;
  Rows rows;
  int prototypes = 0;
  /// Per categorical dependent: the text of a code; a code without one is shown by its digits.
  std::vector<std::map<int, std::string>> labels;

  int Inputs() const { return continuousInputs + categoricalInputs; }
  int Dependents() const { return continuousDependents + categoricalDependents; }
  int Tests() const { return int(rows.size()) - prototypes; }
};

struct PlainSettings {
  int metric = 0;  // 0 Euclidean, 1 squared Euclidean, 2 city-block, 3 Chebychev
  bool weighted = false, standardized = false;
  int k = 1;
  // The search of K.
  int folds = 10;
  double minimumK = 1, maximumK = 5, deltaK = 1;
};

struct PlainPrediction {
  Row predictions, residuals, spreads;
  Rows scores;  // per categorical dependent, per class in text order
};

struct PlainSearch {
  int k = 0;
  double best = 0;
  Row errors;  // per grid point: mean squared error, or percentage correct
  std::vector<int> shuffled;
};

struct PlainStatistics {
  std::vector<std::vector<std::vector<int>>> confusion;  // [dependent][predicted][observed]
  Rows ten;     // per continuous dependent; not-a-number: no value
  Rows ranges;  // minimum and maximum of prediction, residual, |residual|, residual squared
};

class PlainKnn {
 public:
  PlainKnn(const PlainTable& table, const PlainSettings& settings)
      : table_(table), settings_(settings), k_(settings.k) {
    Scale();
    for (int c = 0; c < table.categoricalDependents; ++c) {
      std::map<std::string, int> classes;  // text in byte order -> smallest code
      for (int p = 0; p < table.prototypes; ++p) {
        const int code = int(DependentOf(table.rows[p], table.continuousDependents + c));
        const auto [place, isNew] = classes.try_emplace(TextOf(c, code), code);
        if (!isNew) place->second = std::min(place->second, code);
      }
      classes_.emplace_back(classes.begin(), classes.end());
    }
  }

  /// Takes the scaling as a text prints it; the table is to hold printed values already.
  void PrintScaling(const std::function<double(double)>& printed) {
    for (Row* values : {&scale_, &shift_})
      for (double& value : *values) value = printed(value);
  }
  /// Exact ties of votes fall to the class with the smallest code, not to the first text.
  void OrderClassesByCode() {
    for (auto& classes : classes_)
      std::sort(classes.begin(), classes.end(),
                [](const auto& a, const auto& b) { return a.second < b.second; });
  }

  /// Prediction of each test case.
  std::vector<PlainPrediction> PredictTests() {
    std::vector<PlainPrediction> all;
    for (int t = table_.prototypes; t < int(table_.rows.size()); ++t) {
      Search(table_.rows[t], k_, {});
      all.push_back(Predict(&table_.rows[t]));
    }
    return all;
  }

  PlainPrediction PredictWithoutObserved(const Row& inputs) {
    Search(inputs, k_, {});
    return Predict(nullptr);
  }

  /// `draw`: the next uniform number of the stream of the cross-validation seed.
  PlainSearch SelectK(const std::function<double()>& draw) {
    PlainSearch result;
    const int n = table_.prototypes;
    auto& perm = result.shuffled;
    perm.assign(n, -1);
    for (int i = 0; i < n; ++i) {
      while (true) {
        const int r = int(draw() * n);
        if (perm[i] != -1) break;
        if (std::find(perm.begin(), perm.end(), r) != perm.end()) continue;
        perm[i] = r;
        perm[r] = i;
        break;
      }
    }
    const int points = int((settings_.maximumK - settings_.minimumK) / settings_.deltaK + 1.0);
    const auto gridK = [&](int g) { return int(settings_.minimumK + g * settings_.deltaK); };
    result.errors.assign(points, 0.0);
    k_ = int(settings_.maximumK);
    for (int f = 0; f < settings_.folds; ++f) {
      const int lo = n * f / settings_.folds, hi = n * (f + 1) / settings_.folds;
      for (int c = lo; c < hi; ++c) {
        const Row& row = table_.rows[perm[c]];
        Search(row, k_, {perm.begin() + lo, perm.begin() + hi});
        for (int g = 0; g < points; ++g) {
          k_ = gridK(g);
          const PlainPrediction prediction = Predict(&row);
          double squares = 0;
          for (int j = 0; j < table_.continuousDependents; ++j)
            squares += prediction.residuals[j] * prediction.residuals[j];
          result.errors[g] += squares;
          for (int d = table_.continuousDependents; d < table_.Dependents(); ++d)
            if (prediction.residuals[d] == 0) result.errors[g] += 1.0;
        }
      }
    }
    const bool classification = table_.continuousDependents == 0;
    for (double& error : result.errors)
      error = classification ? error * 100 / (table_.categoricalDependents * double(n))
                             : error / (n * double(table_.continuousDependents));
    int best = 0;
    for (int g = 1; g < points; ++g) {
      const double now = result.errors[g], before = result.errors[best];
      if (classification ? now > before : now < before) best = g;
    }
    result.best = result.errors[best];
    result.k = k_ = gridK(best);
    return result;
  }

  PlainStatistics Statistics() {
    PlainStatistics result;
    const auto predicted = PredictTests();
    for (int c = 0; c < table_.categoricalDependents; ++c) {
      const int d = table_.continuousDependents + c, classes = int(classes_[c].size());
      auto& counts = result.confusion.emplace_back(classes, std::vector<int>(classes));
      for (int t = 0; t < table_.Tests(); ++t) {
        const int observed = ClassOf(c, DependentOf(table_.rows[table_.prototypes + t], d));
        if (observed >= 0) ++counts[ClassOf(c, predicted[t].predictions[d])][observed];
      }
    }
    for (int j = 0; j < table_.continuousDependents; ++j) {
      double o = 0, p = 0, e = 0, absolute = 0, squared = 0;
      Row range;
      for (int i = 0; i < 4; ++i)
        range.insert(range.end(),
                     {std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()});
      const double n = table_.Tests();
      const auto observed = [&](int t) {
        return DependentOf(table_.rows[table_.prototypes + t], j);
      };
      for (int t = 0; t < n; ++t) {
        const double y = observed(t), q = predicted[t].predictions[j], r = y - q;
        o += y, p += q, e += r, absolute += std::fabs(r), squared += r * r;
        const double shown[] = {q, r, std::fabs(r), r * r};
        for (int i = 0; i < 4; ++i) {
          range[2 * i] = std::min(range[2 * i], shown[i]);
          range[2 * i + 1] = std::max(range[2 * i + 1], shown[i]);
        }
      }
      o /= n, p /= n, e /= n, absolute /= n, squared /= n;
      double oo = 0, pp = 0, ee = 0, po = 0;
      for (int t = 0; t < n; ++t) {
        const double y = observed(t), q = predicted[t].predictions[j];
        oo += (y - o) * (y - o);
        pp += (q - p) * (q - p);
        ee += ((y - q) - e) * ((y - q) - e);
        po += (q - p) * (y - o);
      }
      const double none = std::numeric_limits<double>::quiet_NaN();
      const auto deviation = [&](double sum) { return n > 1 ? std::sqrt(sum / (n - 1)) : none; };
      const double sdO = deviation(oo), sdP = deviation(pp), sdE = deviation(ee);
      result.ten.push_back({o, p, sdO, sdP, squared, e, absolute, sdE, sdO != 0 ? sdE / sdO : none,
                            n > 1 && pp * oo != 0 ? po / std::sqrt(pp * oo) : none});
      result.ranges.push_back(range);
    }
    return result;
  }

 private:
  double DependentOf(const Row& row, int d) const { return row[table_.Inputs() + d]; }

  std::string TextOf(int c, int code) const {
    if (c < int(table_.labels.size()) && table_.labels[c].count(code))
      return table_.labels[c].at(code);
    return std::to_string(code);
  }

  int ClassOf(int c, double code) const {
    const std::string text = TextOf(c, int(code));
    for (int i = 0; i < int(classes_[c].size()); ++i)
      if (classes_[c][i].first == text) return i;
    return -1;
  }

  void Scale() {
    scale_.assign(table_.Inputs(), 1.0);
    shift_.assign(table_.Inputs(), 0.0);
    for (int i = 0; settings_.standardized && i < table_.continuousInputs; ++i) {
      double low = table_.rows[0][i], high = low;
      for (const Row& row : table_.rows) {
        low = std::min(low, row[i]);
        high = std::max(high, row[i]);
      }
      // Without a range the input contributes nothing.
      scale_[i] = low == high ? 0.0 : (1.0 - 0.0) / (high - low);
      shift_[i] = low == high ? 0.0 : (0.0 * high - low * 1.0) / (high - low);
    }
  }

  double Distance(const Row& a, const Row& b) const {
    double sum = 0.0;
    for (int i = 0; i < table_.Inputs(); ++i) {
      const double x = shift_[i] + scale_[i] * a[i], y = shift_[i] + scale_[i] * b[i];
      const double t = i < table_.continuousInputs ? x - y : (x == y ? 0.0 : 1.0);
      if (settings_.metric <= 1) sum += t * t;
      if (settings_.metric == 2) sum += std::fabs(t);
      if (settings_.metric == 3 && std::fabs(t) >= sum) sum = std::fabs(t);
    }
    return settings_.metric == 0 ? std::sqrt(sum) : sum;
  }

  /// Fills at most `slots` slots, one pass over the prototypes each.
  void Search(const Row& query, int slots, const std::vector<int>& excluded) {
    index_.clear();
    weight_.clear();
    for (int s = 0; s < slots; ++s) {
      double best = std::numeric_limits<double>::max();
      int nearest = -1;
      for (int p = 0; p < table_.prototypes; ++p) {
        if (std::find(index_.begin(), index_.end(), p) != index_.end()) continue;
        if (std::find(excluded.begin(), excluded.end(), p) != excluded.end()) continue;
        const double d = Distance(query, table_.rows[p]);
        if (d < best) best = d, nearest = p;
      }
      if (nearest < 0) break;
      index_.push_back(nearest);
      weight_.push_back(settings_.weighted ? PortableExp(-best) : 1.0);
    }
    double sum = 0;
    for (const double w : weight_) sum += w;
    if (!settings_.weighted || sum == 0) return;
    for (double& w : weight_) w /= sum;
  }

  /// From the first k slots, as far as they are filled.
  PlainPrediction Predict(const Row* observed) const {
    PlainPrediction result;
    const int used = std::min(k_, int(index_.size()));
    for (int j = 0; j < table_.continuousDependents; ++j) {
      const auto value = [&](int s) { return DependentOf(table_.rows[index_[s]], j); };
      double sum = 0, squares = 0;
      for (int s = 0; s < used; ++s) sum += settings_.weighted ? weight_[s] * value(s) : value(s);
      const double prediction = settings_.weighted || used == 0 ? sum : sum / used;
      for (int s = 0; s < used; ++s) squares += (prediction - value(s)) * (prediction - value(s));
      result.predictions.push_back(prediction);
      result.spreads.push_back(used > 1 ? std::sqrt(squares / (used - 1)) : 0.0);
      result.residuals.push_back(observed ? DependentOf(*observed, j) - prediction : -9999.0);
    }
    for (int c = 0; c < table_.categoricalDependents; ++c) {
      const int d = table_.continuousDependents + c;
      Row scores(classes_[c].size());
      for (int s = 0; s < used; ++s)
        scores[ClassOf(c, DependentOf(table_.rows[index_[s]], d))] += weight_[s];
      int chosen = 0;
      double best = -1.0, sum = 0;
      for (int i = 0; i < int(scores.size()); ++i) {
        if (scores[i] > best) best = scores[i], chosen = i;
        sum += scores[i];
      }
      for (double& score : scores)
        if (sum != 0) score /= sum;
      result.predictions.push_back(classes_[c][chosen].second);
      result.residuals.push_back(!observed                                         ? -9999.0
                                 : ClassOf(c, DependentOf(*observed, d)) == chosen ? 0.0
                                                                                   : 1.0);
      result.scores.push_back(scores);
    }
    return result;
  }

  const PlainTable table_;
  const PlainSettings settings_;
  int k_;
  Row scale_, shift_;
  std::vector<std::vector<std::pair<std::string, int>>> classes_;  // text, smallest code
  std::vector<int> index_;                                         // neighbours, nearest first
  Row weight_;
};

}  // namespace qrvml::test
