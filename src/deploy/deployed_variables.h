// The variables of an analysis as generated texts name them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/data_file.h"

namespace qrvml {

struct DeployedClass {
  std::string text;  // without control characters and line breaks
  std::int64_t code;
};

struct DeployedVariable {
  std::string name;  // the same
  int number = 0;    // in the data file, from 1
  bool isCategorical = false;
  std::vector<DeployedClass> texts;  // categorical: each text once, in byte order
  std::vector<DeployedClass> codes;  // categorical: each code once, ascending
};

/// Continuous variables come before categorical ones in both lists.
struct DeployedVariables {
  std::string fileName;  // of the data; empty: not known
  std::vector<DeployedVariable> dependents;
  std::vector<DeployedVariable> inputs;

  std::size_t ContinuousDependents() const { return Continuous(dependents); }
  std::size_t CategoricalDependents() const { return dependents.size() - ContinuousDependents(); }
  std::size_t ContinuousInputs() const { return Continuous(inputs); }
  std::size_t CategoricalInputs() const { return inputs.size() - ContinuousInputs(); }

  static std::size_t Continuous(const std::vector<DeployedVariable>& variables);
};

/// The variables and categories of the last pass over the file.
DeployedVariables DescribeVariables(const DataFile& file, const AnalysisDataSet& data);

/// The texts of all classes together.
std::size_t TotalTexts(const std::vector<DeployedVariable>& variables);
std::size_t TotalCodes(const std::vector<DeployedVariable>& variables);

/// The first variable with a code beyond the 32-bit integers of C and QVB; null: all fit.
const DeployedVariable* FindCodeBeyondInteger(const DeployedVariables& variables);
/// What the user is told about it.
std::string BeyondIntegerText(const DeployedVariable& variable);

/// A text that stays on its comment line, whoever reads it: without control characters and without
/// the line ends of Unicode.
std::string CommentText(std::string_view text);

}  // namespace qrvml
