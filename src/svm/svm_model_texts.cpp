#include "svm/svm_model_texts.h"

#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml::svm {
namespace {

/// A parameter that a type or kernel is described with, and what stands before it in the results
/// text and in the tables.
struct Parameter {
  std::string_view inText, inTable;
  double SVMParameters::*value;
  int decimalsInText = 3;
};

struct Described {
  int name;  // in the string table
  std::vector<Parameter> parameters;
};

const Described& TypeOf(const SVMParameters& parameters) {
  constexpr auto kC = &SVMParameters::C;
  constexpr auto kNu = &SVMParameters::nu;
  // By solver type; one-class estimation has no results.
  static const Described kTypes[] = {
      {241, {{"C=", "C=", kC}}},
      {242, {{"Nu=", "nu=", kNu}}},
      {},
      {243, {{"C=", "C=", kC}, {", Epsilon=", ",epsilon= ", &SVMParameters::epsilon}}},
      {244, {{"C=", "C=", kC}, {", Nu=", ",nu= ", kNu}}},
  };
  return kTypes[parameters.svmType];
}

const Described& KernelOf(const SVMParameters& parameters) {
  constexpr auto kGamma = &SVMParameters::gamma;
  constexpr auto kBias = &SVMParameters::coef0;
  static const Described kKernels[] = {
      {245, {}},
      {246,
       {{"Degree=", "degree=", &SVMParameters::degree, 0},
        {", Gamma=", ",gamma", kGamma},
        {", Bias=", ",bias=", kBias}}},
      {247, {{"Gamma=", "gamma=", kGamma}}},
      {248, {{"Gamma=", "gamma=", kGamma}, {", Bias=", ",bias=", kBias}}},
  };
  return kKernels[parameters.kernelType];
}

std::string Description(const Described& described, const SVMParameters& parameters, bool inTable) {
  std::string text(GetResourceString(described.name));
  if (described.parameters.empty()) return text;
  text += " (";
  for (const Parameter& parameter : described.parameters) {
    text += inTable ? parameter.inTable : parameter.inText;
    text += FixedText(parameters.*parameter.value, inTable ? 6 : parameter.decimalsInText);
  }
  return text + ')';
}

}  // namespace

std::string_view TypeName(const SVMParameters& parameters) {
  return GetResourceString(TypeOf(parameters).name);
}
std::string_view KernelName(const SVMParameters& parameters) {
  return GetResourceString(KernelOf(parameters).name);
}

std::string TypeLine(const SVMParameters& parameters) {
  return Description(TypeOf(parameters), parameters, false);
}
std::string KernelLine(const SVMParameters& parameters) {
  return Description(KernelOf(parameters), parameters, false);
}

std::vector<std::string> ModelHeader(const SVMParameters& parameters) {
  return {"SVM: " + Description(TypeOf(parameters), parameters, true),
          "Kernel: " + Description(KernelOf(parameters), parameters, true)};
}

}  // namespace qrvml::svm
