#include "svm/svm_deployment.h"

#include <algorithm>

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

struct NamedValue {
  std::string_view name;
  double value;
};

/// " name="value"" for each.
std::string Attributes(std::initializer_list<NamedValue> values) {
  std::string text;
  for (const NamedValue& one : values)
    text += ' ' + std::string(one.name) + "=\"" + FixedText(one.value, 6) + '"';
  return text;
}

/// Type and parameters, as the element has them. Both regressions have one name.
std::string TypeAttributes(const SVMParameters& p) {
  switch (p.svmType) {
    case kCClassification:
      return "\"C_SVC\"" + Attributes({{"capacity", p.C}});
    case kNuClassification:
      return "\"NU_SVC\"" + Attributes({{"nu", p.nu}});
    default:
      return "\"NU_SVR\"" + Attributes({{"capacity", p.C}, {"nu", p.nu}});
  }
}

std::string KernelAttributes(const SVMParameters& p) {
  switch (p.kernelType) {
    case kPolynomialKernel:
      return "\"polynomial\"" +
             Attributes({{"degree", p.degree}, {"gamma", p.gamma}, {"coefficient", p.coef0}});
    case kRadialKernel:
      return "\"rbf\"" + Attributes({{"gamma", p.gamma}});
    case kSigmoidKernel:
      return "\"sigmoid\"" + Attributes({{"gamma", p.gamma}, {"coefficient", p.coef0}});
    default:
      return "\"linear\" ";
  }
}

constexpr std::string_view kModelBegin =
    R"(<SupportVectorMachineModel modelName="QUORVANTIS Support Vector Machine" svm_type=
${type}>
	<KernelType type=${kernel}/>
	<SVMSchema>
)";

constexpr std::string_view kField =
    R"(		<SVMField name="${name}" optype="${type}" shift="${shift}" scale="${scale}" ${end}
)";

void PutField(CodeWriter& out, const DeployedVariable& variable,
              const std::vector<DeployedClass>& categories, double shift, double scale) {
  out.Fill(kField, {{"name", XMLEncode(variable.name)},
                    {"type", variable.isCategorical ? "categorical" : "continuous"},
                    {"shift", FixedText(shift, 6)},
                    {"scale", FixedText(scale, 6)},
                    {"end", variable.isCategorical ? ">" : "/>"}});
  if (!variable.isCategorical) return;
  for (const DeployedClass& category : categories)
    out.Fill("\t\t\t<Category label=\"${label}\" value=\"${value}\"/>\n",
             {{"label", XMLEncode(category.text)}, {"value", category.code}});
  out.Put("\t\t</SVMField>\n");
}

void PutValue(CodeWriter& out, std::string_view begin, double value) {
  out.Put(begin);
  out.PutFixed(value);
  out.Put("\"/>\n");
}

}  // namespace

SvmCode::SvmCode(const DeployedVariables& variables, const AnalysisDataSet& data,
                 const SVMEngine& engine)
    : MethodCode(Method::svm), variables_(variables), data_(data), model_(*engine.model) {}

void SvmCode::ForEachVector(
    const std::function<void(std::size_t s, const SVMNode* nodes)>& visit) const {
  constexpr std::size_t kValuesBetweenPolls = 1 << 16;
  ProgressServices& progress = *CAnalysisContext::Current()->services().progress;
  const std::size_t between = kValuesBetweenPolls / (columns() + rows() + 1) + 1;
  for (std::size_t s = 0; s < vectors(); ++s) {
    if (s % between == 0 && progress.pcancel() != 0) throw Cancelled();
    visit(s, model_.supportVectors[s].nodes);
  }
}

double SvmCode::Coef0() const {
  const bool isRead =
      parameters().kernelType == kPolynomialKernel || parameters().kernelType == kSigmoidKernel;
  return isRead ? parameters().coef0 : 0;
}

std::vector<DeployedClass> SvmCode::LabelledClasses() const {
  std::vector<DeployedClass> labelled;
  for (const std::int32_t label : model_.labels) {
    const auto found = std::ranges::find(dependent().texts, label, &DeployedClass::code);
    if (found != dependent().texts.end()) labelled.push_back(*found);
  }
  return labelled;
}

std::int32_t SvmCode::VectorsOf(const DeployedClass& entry) const {
  const auto label = std::ranges::find(model_.labels, entry.code);
  if (label == model_.labels.end()) return 0;
  return model_.supportVectorsPerClass[static_cast<std::size_t>(label - model_.labels.begin())];
}

void SvmCode::PmmlModel(CodeWriter& out, std::size_t) {
  out.Fill(kModelBegin,
           {{"type", TypeAttributes(parameters())}, {"kernel", KernelAttributes(parameters())}});
  for (std::size_t i = 0; i < variables_.inputs.size(); ++i) {
    const DeployedVariable& input = variables_.inputs[i];
    PutField(out, input, input.texts, data_.offsets()[i], data_.slopes()[i]);
  }
  PutField(out, dependent(), LabelledClasses(), OutputShift(), OutputScale());
  out.Put("\t</SVMSchema>\n<NoOfSupportVectorsPerClass>\n");
  for (const DeployedClass& entry : dependent().texts)
    out.Fill("<Category label=\"${label}\" value=\"${value}\" noOfSV=\"${n}\"/>\n",
             {{"label", XMLEncode(entry.text)}, {"value", entry.code}, {"n", VectorsOf(entry)}});
  out.Put("</NoOfSupportVectorsPerClass>\n<VectorDictionary>\n");

  std::vector<std::string> instances;  // of the columns, up to the value
  for (const DeployedVariable& input : variables_.inputs) {
    const auto add = [&](const std::string& name) {
      instances.push_back("<AttributeInstance name=\"" + XMLEncode(name) + "\" value=\"");
    };
    if (!input.isCategorical) add(input.name);
    for (const DeployedClass& category : input.codes) add(input.name + '-' + category.text);
  }
  ForEachVector([&](std::size_t s, const SVMNode* nodes) {
    out.Put("<VectorInstance id=\"sv");
    out.PutInteger(static_cast<std::int64_t>(s));
    out.Put("\">\n");
    for (std::size_t d = 0; d < instances.size(); ++d) PutValue(out, instances[d], nodes[d].value);
    out.Put("</VectorInstance>\n");
  });
  out.Put("</VectorDictionary>\n<CoefficientDictionary>\n");
  ForEachVector([&](std::size_t s, const SVMNode*) {
    out.Put("<CoefficientInstance id=\"");
    out.PutInteger(static_cast<std::int64_t>(s));
    out.Put("\">\n");
    for (std::size_t r = 0; r < rows(); ++r) PutValue(out, "<Value value=\"", Coefficient(r, s));
    out.Put("</CoefficientInstance>\n");
  });
  out.Put("</CoefficientDictionary>\n<ConstantDictionary>\n");
  for (const double constant : model_.constants) PutValue(out, "<Value value=\"", constant);
  out.Put("</ConstantDictionary>\n</SupportVectorMachineModel>\n");
}

}  // namespace qrvml
