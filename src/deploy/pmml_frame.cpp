// The frame of the generated PMML documents: prolog, header, data dictionary.
#include <string>

#include "deploy/method_code.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kBegin = R"(<?xml version="1.0" encoding="${charset}"?>
<PMML version="2.0">
<Header copyright="QUORVANTIS Machine Learning"/>

<DataDictionary numberOfFields="${fields}">
)";

constexpr std::string_view kContinuousField =
    R"(	<DataField name="${name}" optype="continuous"/>
)";
constexpr std::string_view kCategoricalField =
    R"(	<DataField name="${name}" optype="categorical">
)";
constexpr std::string_view kEnd = "</DataField>\n";

void PutDataField(CodeWriter& out, const DeployedVariable& variable, std::string_view indentation) {
  out.Fill(variable.isCategorical ? kCategoricalField : kContinuousField,
           {{"name", XMLEncode(variable.name)}});
  if (!variable.isCategorical) return;
  PutCategories(out, variable, "\t\t", "\n");
  out.Put(indentation);
  out.Put(kEnd);
}

}  // namespace

void PutCategories(CodeWriter& out, const DeployedVariable& variable, std::string_view indentation,
                   std::string_view end) {
  for (const DeployedClass& category : variable.texts) {
    out.Put(indentation);
    out.Fill(R"(<Category label="${label}" value="${value}"/>)",
             {{"label", XMLEncode(category.text)}, {"value", category.code}});
    out.Put(end);
  }
}

std::string MakePmmlDocument(const DeployedVariables& variables, MethodCode& method,
                             std::size_t dependent, std::string_view charset) {
  if (charset.empty()) return {};
  return MakeText([&](CodeWriter& out) {
    out.Fill(kBegin, {{"charset", XMLEncode(charset)}, {"fields", variables.inputs.size() + 1}});
    PutDataField(out, variables.dependents[dependent], "\t");
    for (const DeployedVariable& input : variables.inputs) PutDataField(out, input, "");
    out.Put("</DataDictionary>\n");
    method.PmmlModel(out, dependent);
    out.Put("</PMML>");
  });
}

}  // namespace qrvml
