#include "score/bayes_verification.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kDistributionNames[] = {"normal", "lognormal", "gamma", "Poisson",
                                                   "discrete"};

std::string Quoted(const std::string& name) { return '"' + name + '"'; }

/// The first few of what a note is about.
std::string Listed(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 4;
  std::string text;
  for (std::size_t i = 0; i < std::min(names.size(), kShown); ++i)
    text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kShown) text += " and " + std::to_string(names.size() - kShown) + " more";
  return text;
}

/// The values of one kind that a text prints: how many are not the engine's, and the first.
class Values {
 public:
  Values(CodeDialect dialect, std::string what) : dialect_(dialect), what_(std::move(what)) {}

  /// `where` is asked for the first that differs.
  template <class Where>
  void Compare(double expected, double printed, Where where) {
    // What the engine shows was added in another order.
    const double slack = 1e-12 * std::fabs(expected);
    if (IsPrintedValue(dialect_, expected, printed) || std::fabs(expected - printed) <= slack)
      return;
    if (different_++ == 0)
      first_ = where() + " is " + ShortestText(printed) + ", not " + ShortestText(expected);
  }
  void Tell(TextCheck& check) const {
    if (different_ > 0)
      check.faults.push_back(std::to_string(different_) + " of its " + what_ +
                             " are not the engine's; the first: " + first_);
  }

 private:
  const CodeDialect dialect_;
  const std::string what_;
  std::size_t different_ = 0;
  std::string first_;
};

/// Whether a class's own variance can be used.
bool HasWidth(int distribution, double mean, double variance) {
  if (distribution == kLognormal || distribution == kGamma)
    return HasBayesParameters(distribution, mean, variance);
  return distribution == kPoisson || std::isfinite(1 / (2 * variance));
}

std::string Counted(std::int64_t cases, const char* have) {
  return std::to_string(cases) + (cases == 1 ? " case " : " cases ") + have;
}

class Comparison {
 public:
  Comparison(CodeDialect dialect, const PrintedBayes& printed, const EngineBayes& engine,
             std::size_t firstDependent, TextCheck& check)
      : dialect_(dialect),
        isDocument_(dialect == CodeDialect::pmml),
        printed_(printed),
        engine_(engine),
        first_(firstDependent),
        check_(check) {}

  void Settings() {
    Values thresholds(dialect_, "thresholds");
    thresholds.Compare(engine_.threshold, printed_.threshold, [] { return std::string("it"); });
    thresholds.Tell(check_);
    for (std::size_t k = 0; k < engine_.inputs.size(); ++k) {
      const int own = printed_.distributions[k], expected = engine_.distributions[k];
      if (own != expected)
        Fault(Quoted(engine_.inputs[k].name) + " has another distribution than the engine's, " +
              std::string(kDistributionNames[expected]));
    }
    for (std::size_t m = 0; m < printed_.categories.size(); ++m) {
      const EngineField& field = engine_.inputs[printed_.continuousInputs + m];
      if (printed_.categories[m] != field.ClassesByText())
        Fault("it does not list the categories of " + Quoted(field.name) + " in their order");
    }
  }

  /// Whether the text lists the engine's classes and categories: else no table can be compared.
  bool HasTables() const {
    for (std::size_t d = 0; d < printed_.classes.size(); ++d)
      if (printed_.classes[d].size() != engine_.priors[first_ + d].size() ||
          printed_.priors[d].size() != printed_.classes[d].size())
        return false;
    for (std::size_t m = 0; m < printed_.categories.size(); ++m)
      if (printed_.categories[m].size() != Field(m).ClassesByText().size()) return false;
    return true;
  }

  void Priors() {
    Values values(dialect_, isDocument_ ? "class counts" : "priors");
    for (std::size_t d = 0; d < printed_.classes.size(); ++d) {
      const auto& counts = engine_.classCounts[first_ + d];
      const double all = std::accumulate(counts.begin(), counts.end(), 0.0);
      bool differ = false;
      for (std::size_t c = 0; c < printed_.classes[d].size(); ++c) {
        const double prior = engine_.priors[first_ + d][c];
        values.Compare(isDocument_ ? counts[c] : prior, printed_.priors[d][c],
                       [&] { return ClassName(d, c); });
        differ = differ || std::fabs(prior - counts[c] / all) > 1e-12;
      }
      if (isDocument_ && differ)
        Note(
            "the priors of " + Quoted(Dependent(d).name) +
            " are not the shares of its classes: a document has no priors, and cannot predict with "
            "the engine's");
    }
    values.Tell(check_);
  }

  void Moments() {
    Values means(dialect_, "means"), variances(dialect_, "variances");
    std::vector<std::string> standIns, gammas, unseen;
    for (std::size_t d = 0; d < printed_.classes.size(); ++d) {
      for (std::size_t c = 0; c < printed_.classes[d].size(); ++c) {
        for (std::size_t k = 0; k < printed_.continuousInputs; ++k) {
          const auto where = [&] {
            return Quoted(engine_.inputs[k].name) + " in " + ClassName(d, c);
          };
          const double mean = engine_.tables[first_ + d].mean[c][k];
          double variance = engine_.tables[first_ + d].variance[c][k];
          const int distribution = engine_.distributions[k];
          const bool hasWidth = HasWidth(distribution, mean, variance);
          if (engine_.valid[first_ + d][c][k] == 0) {
            unseen.push_back(where());
          } else if (!hasWidth || (isDocument_ && !HasWidth(distribution, mean,
                                                            printed_.tables[d].variance[c][k]))) {
            (distribution == kGamma ? gammas : standIns).push_back(where());
          }
          if (!hasWidth && !isDocument_ && distribution != kGamma)
            variance = StandIn(distribution, mean, k);
          means.Compare(mean, printed_.tables[d].mean[c][k], where);
          variances.Compare(variance, printed_.tables[d].variance[c][k], where);
        }
      }
    }
    means.Tell(check_);
    variances.Tell(check_);
    if (!standIns.empty())
      Note("no variance: " + Listed(standIns) + "; the text has " +
           (isDocument_
                ? "0, for which score takes one that is small beside that of all cases, and "
                  "the engine one that is small beside the range"
                : "the small one that the engine takes"));
    if (!gammas.empty())
      Note("no variance, and so no gamma distribution: " + Listed(gammas) +
           "; the engine takes a normal density");
    if (!unseen.empty())
      Note("no value: " + Listed(unseen) +
           "; the engine never predicts the class, the text has a mean of 0");
  }

  void Frequencies() {
    Values values(dialect_, isDocument_ ? "pair counts" : "frequencies");
    bool anyZero = false;
    for (std::size_t m = 0; m < printed_.categories.size(); ++m) {
      const double cases = engine_.inputCount[printed_.continuousInputs + m];
      for (std::size_t d = 0; d < printed_.classes.size(); ++d) {
        for (std::size_t c = 0; c < printed_.classes[d].size(); ++c) {
          for (std::size_t v = 0; v < printed_.categories[m].size(); ++v) {
            const double pairs = engine_.tables[first_ + d].pairs[c][m][v];
            anyZero = anyZero || pairs == 0;
            values.Compare(isDocument_  ? pairs
                           : cases == 0 ? 0
                                        : pairs / cases,
                           printed_.tables[d].pairs[c][m][v], [&] {
                             return "category " + ShortestText(printed_.categories[m][v]) + " of " +
                                    Quoted(Field(m).name) + " in " + ClassName(d, c);
                           });
          }
        }
      }
    }
    values.Tell(check_);
    if (anyZero && engine_.threshold == 0 && dialect_ == CodeDialect::qvb)
      Note(
          "the threshold is 0: Log(0) is minus infinity here; where it is an error the script "
          "ends");
    if (isDocument_) CountsThatADocumentLacks();
  }

  void Placeholders() {
    std::vector<std::string> placeholders;
    for (std::size_t k = 0; k < printed_.continuousInputs; ++k) {
      const int distribution = engine_.distributions[k];
      if (distribution == kGamma || distribution == kPoisson)
        placeholders.push_back(Quoted(engine_.inputs[k].name));
    }
    if (!placeholders.empty() && !isDocument_)
      Note(
          "gamma and Poisson densities are left to the text's user, without one these inputs "
          "count for nothing: " +
          Listed(placeholders));
  }

 private:
  void Fault(std::string text) { check_.faults.push_back(std::move(text)); }
  void Note(std::string text) { check_.notes.push_back(std::move(text)); }
  const EngineField& Dependent(std::size_t d) const { return engine_.dependents[first_ + d]; }
  const EngineField& Field(std::size_t m) const {
    return engine_.inputs[printed_.continuousInputs + m];
  }
  std::string ClassName(std::size_t d, std::size_t c) const {
    const double code = printed_.classes[d][c];
    const auto found = std::ranges::find(Dependent(d).labels, code, &CellLabel::value);
    return "class " +
           (found == Dependent(d).labels.end() ? ShortestText(code) : Quoted(found->text)) +
           " of " + Quoted(Dependent(d).name);
  }
  /// What the engine takes for a class whose values are all equal.
  double StandIn(int distribution, double mean, std::size_t k) const {
    const double range = engine_.most[k] - engine_.least[k];
    const double small = distribution == kNormal ? range * range * 1e-9
                                                 : std::max(range * 3.2e-5, std::fabs(mean) * 1e-6);
    return small > 0 ? small : 1;
  }
  void CountsThatADocumentLacks() {
    if (printed_.categories.empty()) return;
    if (engine_.weighted)
      Note(
          "case weights are in force: its counts of classes are weighted, those of categories are "
          "not, and it does not say so");
    const auto& counts = engine_.classCounts[first_];
    const double all = std::accumulate(counts.begin(), counts.end(), 0.0);
    for (std::size_t m = 0; m < printed_.categories.size(); ++m) {
      const double own = engine_.inputCount[printed_.continuousInputs + m];
      if (own == all) continue;
      Note(Quoted(Field(m).name) + " has a value in " + ShortestText(own) + " of " +
           ShortestText(all) +
           " training cases, which it does not say: score takes frequencies over "
           "all of them");
    }
  }

  const CodeDialect dialect_;
  const bool isDocument_;
  const PrintedBayes& printed_;
  const EngineBayes& engine_;
  const std::size_t first_;
  TextCheck& check_;
};

}  // namespace

bool HasBayesParameters(int distribution, double mean, double s) {
  const double m = mean, ratio = (s * s + m * m) / (m * m);
  const double scale = distribution == kGamma ? s * s / m : m * m / std::sqrt(s * s + m * m);
  const double shape = distribution == kGamma ? m * m / (s * s) : std::sqrt(std::log(ratio));
  return scale > 0 && std::isfinite(scale) && shape > 0 && std::isfinite(shape);
}

std::unique_ptr<PrintedModel> EngineBayes::Read(CodeDialect dialect, std::string_view text,
                                                std::string& error) const {
  auto printed = std::make_unique<PrintedBayes>();
  if (!PrintedBayes::Read(dialect, text, *printed, error)) return nullptr;
  return printed;
}

void EngineBayes::Compare(CodeDialect dialect, const PrintedModel& printed,
                          std::size_t firstDependent, TextCheck& check) const {
  Comparison compare(dialect, static_cast<const PrintedBayes&>(printed), *this, firstDependent,
                     check);
  compare.Settings();
  if (!compare.HasTables()) return;
  compare.Priors();
  compare.Moments();
  compare.Frequencies();
  compare.Placeholders();
}

void EngineBayes::NotePredictions(CodeDialect dialect, TextCheck& check) const {
  for (const DependentCheck& dependent : check.dependents) {
    if (dependent.arbitrary == 0) continue;
    check.notes.push_back(Counted(dependent.arbitrary, "without a posterior of ") +
                          Quoted(dependent.name) +
                          " above 0 in the text's numbers: it predicts the first class, the engine "
                          "ranks by logarithms");
  }
  const std::string leftOut = "left out, because the engine predicts none: ";
  if (missing > 0) check.notes.push_back(leftOut + Counted(missing, "with a missing input"));
  if (unknown > 0)
    check.notes.push_back(leftOut + Counted(unknown, "with a category that training did not have") +
                          (dialect == CodeDialect::pmml ? "" : "; the text takes the threshold"));
}

}  // namespace qrvml
