// The naive Bayes part of the generated texts: the class moments, frequencies and priors, and the
// posterior computed from them.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "bayes/naive_bayes_engine.h"
#include "deploy/method_code.h"

namespace qrvml {

/// All classes and categories go by the byte order of their texts, and a category's code is the
/// smallest of its text. What the texts call standard deviation is the variance, in squared units.
/// Gamma and Poisson densities are placeholders for the user of the code. Where no posterior is
/// above 0 the first class is predicted.
class NaiveBayesCode final : public MethodCode {
 public:
  /// All three outlive it.
  NaiveBayesCode(const DeployedVariables& variables, const AnalysisDataSet& data,
                 const NaiveBayesEngine& engine);

  void CModel(CodeWriter& out) override;
  void CFunctions(CodeWriter& out) override;
  void CInitialisation(CodeWriter& out) override;
  void CHarnessVariables(CodeWriter& out) override;
  void CHarnessPrediction(CodeWriter& out) override;

  void QvbDeclarations(CodeWriter& out) override;
  void QvbInitialisation(CodeWriter& out) override;
  void QvbCase(CodeWriter& out) override;
  void QvbFunctions(CodeWriter& out) override;

  void PmmlModel(CodeWriter& out, std::size_t dependent) override;

 private:
  std::size_t continuous() const { return variables_.ContinuousInputs(); }
  std::size_t categorical() const { return variables_.CategoricalInputs(); }
  std::size_t dependents() const { return variables_.dependents.size(); }
  std::size_t Classes(std::size_t d) const { return variables_.dependents[d].texts.size(); }
  std::size_t Categories(std::size_t m) const {
    return variables_.inputs[continuous() + m].texts.size();
  }
  std::size_t MostClasses() const;
  std::size_t MostCategories() const;

  /// Every class of every dependent.
  void ForEachClass(const std::function<void(std::size_t d, std::size_t c)>& visit) const;
  /// The moments, then the frequencies, in order: `put(name, indices, value)`.
  using PutElement = std::function<void(std::string_view name,
                                        std::initializer_list<std::size_t> indices, double value)>;
  void PutTables(CodeWriter& out, const PutElement& put) const;
  /// As the C program and the script hold it: of a normal or lognormal input the one that the
  /// engine uses, which is never 0.
  double Variance(std::size_t d, std::size_t c, std::size_t k) const;
  double Frequency(std::size_t d, std::size_t c, std::size_t m, std::size_t v) const;

  const DeployedVariables& variables_;
  const AnalysisDataSet& data_;
  const NaiveBayesEngine& engine_;
};

}  // namespace qrvml
