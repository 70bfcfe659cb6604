// The support vector part of the generated texts: input coding, kernel, support vectors with their
// coefficients, and the votes of all pairs of classes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "deploy/method_code.h"
#include "svm/svm_engine.h"

namespace qrvml {

/// A categorical input has one column per code, ascending, behind the continuous inputs; classes of
/// the dependent go by the model's labels, which is the order in which training met them.
///
/// The C program scales inputs and unscales the result where the analysis did, as the script does.
/// In the PMML document the categories of the dependent's SVMField stand in the order of the
/// model's labels, by which its vectors are grouped; all other lists of classes are in text order.
class SvmCode final : public MethodCode {
 public:
  /// All three outlive it. Of the variables' dependents the first is the model's; the engine is
  /// trained.
  SvmCode(const DeployedVariables& variables, const AnalysisDataSet& data, const SVMEngine& engine);

  std::string_view CNote() const override;
  void CModel(CodeWriter& out) override;
  void CFunctions(CodeWriter& out) override;
  void CHarnessVariables(CodeWriter& out) override;
  void CHarnessPrediction(CodeWriter& out) override;

  void QvbDeclarations(CodeWriter& out) override;
  void QvbInitialisation(CodeWriter& out) override;
  void QvbCase(CodeWriter& out) override;
  void QvbFunctions(CodeWriter& out) override;

  void PmmlModel(CodeWriter& out, std::size_t dependent) override;

 private:
  /// Visits support vectors from 0 on with their nodes, one per column. Throws Cancelled.
  void ForEachVector(const std::function<void(std::size_t s, const SVMNode* nodes)>& visit) const;

  const SVMParameters& parameters() const { return model_.parameters; }
  const DeployedVariable& dependent() const { return variables_.dependents.front(); }
  std::size_t continuous() const { return variables_.ContinuousInputs(); }
  std::size_t categorical() const { return variables_.CategoricalInputs(); }
  std::size_t columns() const { return continuous() + TotalCodes(variables_.inputs); }
  std::size_t vectors() const { return static_cast<std::size_t>(model_.supportVectorCount); }
  std::size_t classes() const { return static_cast<std::size_t>(model_.classCount); }
  /// Coefficients of a support vector.
  std::size_t rows() const { return classes() == 0 ? 0 : classes() - 1; }
  double Coefficient(std::size_t row, std::size_t s) const {
    return model_.coefficients[row * vectors() + s];
  }

  // What the kernel does not read is 0.
  double Gamma() const { return parameters().kernelType == kLinearKernel ? 0 : parameters().gamma; }
  double Coef0() const;
  double Degree() const {
    return parameters().kernelType == kPolynomialKernel ? parameters().degree : 0;
  }

  bool ScalesInputs() const { return data_.scaleInputs && continuous() > 0; }
  bool ScalesOutput() const { return data_.scaleOutputs && !model_.IsClassification(); }
  double OutputShift() const {
    return ScalesOutput() ? data_.offsets()[variables_.inputs.size()] : 0;
  }
  double OutputScale() const {
    return ScalesOutput() ? data_.slopes()[variables_.inputs.size()] : 1;
  }

  /// The model's labels as classes of the dependent, in its order.
  std::vector<DeployedClass> LabelledClasses() const;
  /// Support vectors of a class of the dependent.
  std::int32_t VectorsOf(const DeployedClass& entry) const;

  const DeployedVariables& variables_;
  const AnalysisDataSet& data_;
  const SVMModel& model_;
};

}  // namespace qrvml
