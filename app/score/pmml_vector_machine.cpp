// The element of support vector machines.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "score/pmml_nodes.h"
#include "score/vector_machine_model.h"

namespace qrvml::pmml {
namespace {

using Kernel = VectorMachineModel::Kernel;

void ReadKernel(const pugi::xml_node& node, VectorMachineModel& model) {
  model.kernel =
      static_cast<Kernel>(Choice(node, "type", {"linear", "polynomial", "rbf", "sigmoid"}));
  if (model.kernel == Kernel::linear) return;
  model.gamma = Number(node, "gamma");
  if (model.kernel == Kernel::radial) return;
  model.coefficient = Number(node, "coefficient");
  if (model.kernel == Kernel::polynomial) model.degree = Number(node, "degree");
}

/// The inputs and, behind them, the dependent with its classes as the vectors are grouped.
void ReadSchema(const pugi::xml_node& schema, const std::vector<DeployedField>& fields,
                VectorMachineModel& model) {
  for (const pugi::xml_node& node : schema.children("SVMField")) {
    const DeployedField& field = FindField(fields, Text(node, "name"));
    if (node.next_sibling("SVMField")) {
      model.inputs.push_back(field);
      model.shift.push_back(Number(node, "shift"));
      model.scale.push_back(Number(node, "scale"));
      continue;
    }
    model.dependents.push_back(field);
    model.outputShift = Number(node, "shift");
    model.outputScale = Number(node, "scale");
    for (const pugi::xml_node& category : node.children("Category")) {
      model.labels.push_back(Number(category, "value"));
      if (field.FindCode(model.labels.back()) == nullptr)
        Refuse(Shown(node) + " has a class that the data dictionary lacks");
    }
  }
  if (model.dependents.empty() || model.inputs.empty())
    Refuse("<SVMSchema> needs an input and the predicted field behind it");
}

void ReadCounts(const pugi::xml_node& node, VectorMachineModel& model) {
  model.counts.assign(model.labels.size(), 0);
  for (const pugi::xml_node& category : node.children("Category")) {
    const std::size_t count = Count(category, "noOfSV");
    const auto label = std::ranges::find(model.labels, Number(category, "value"));
    if (label != model.labels.end()) {
      model.counts[static_cast<std::size_t>(label - model.labels.begin())] = count;
    } else if (count > 0) {
      Refuse("<NoOfSupportVectorsPerClass> has a class that the predicted field lacks");
    }
  }
}

/// The columns by the names that a vector gives its values: those of continuous inputs, and of
/// categorical ones with a category behind. Codes that share a text have several columns of one
/// name; a case is in the first of them.
std::vector<std::string> ReadColumns(const pugi::xml_node& vector, VectorMachineModel& model) {
  std::vector<std::string> names;
  for (const pugi::xml_node& instance : vector.children("AttributeInstance"))
    names.push_back(Text(instance, "name"));
  std::size_t usual = 0;  // where no codes share a text
  for (const DeployedField& input : model.inputs)
    usual += input.isCategorical ? input.categories.size() : 1;
  const bool isUsual = names.size() == usual;
  std::size_t next = 0;
  for (std::size_t i = 0; i < model.inputs.size(); ++i) {
    const DeployedField& input = model.inputs[i];
    const auto isHere = [&](const std::string& name) {
      return next < names.size() && names[next] == name;
    };
    if (!input.isCategorical) {
      if (!isHere(input.name)) Refuse("the vectors have no value of \"" + input.name + '"');
      model.columns.push_back({i, 0});
      ++next;
      continue;
    }
    const std::size_t first = next;
    std::vector<double> seen;
    while (!isUsual || next < first + input.categories.size()) {
      const auto found = std::ranges::find_if(input.categories, [&](const DeployedCategory& c) {
        return isHere(input.name + '-' + c.text);
      });
      if (found == input.categories.end()) break;
      const bool isFirst = std::ranges::find(seen, found->code) == seen.end();
      seen.push_back(found->code);
      model.columns.push_back(
          {i, isFirst ? found->code : std::numeric_limits<double>::quiet_NaN()});
      ++next;
    }
    if (next == first) Refuse("the vectors have no category of \"" + input.name + '"');
  }
  if (next != names.size()) Refuse("the vectors have more values than there are fields");
  return names;
}

void ReadVectors(const pugi::xml_node& dictionary, VectorMachineModel& model) {
  std::vector<std::string> names;
  std::size_t number = 0;
  for (const pugi::xml_node& vector : dictionary.children("VectorInstance")) {
    if (number++ == 0) names = ReadColumns(vector, model);
    auto name = names.begin();
    for (const pugi::xml_node& instance : vector.children("AttributeInstance")) {
      if (name == names.end() || *name != instance.attribute("name").value()) {
        name = names.begin();
        break;
      }
      model.vectors.push_back(Number(instance, "value"));
      ++name;
    }
    if (name != names.end())
      Refuse("vector " + std::to_string(number) + " has other values than the first");
  }
}

std::vector<double> ReadValues(const pugi::xml_node& node) {
  std::vector<double> values;
  for (const pugi::xml_node& value : node.children("Value"))
    values.push_back(Number(value, "value"));
  return values;
}

}  // namespace

std::unique_ptr<DeployedModel> ReadVectorMachineModel(const pugi::xml_node& node,
                                                      const std::vector<DeployedField>& fields) {
  auto model = std::make_unique<VectorMachineModel>();
  const bool classifies = Choice(node, "svm_type", {"NU_SVR", "C_SVC", "NU_SVC"}) > 0;
  ReadKernel(Child(node, "KernelType"), *model);
  ReadSchema(Child(node, "SVMSchema"), fields, *model);
  const DeployedField& dependent = model->dependents[0];
  if (dependent.isCategorical != classifies || model->labels.empty() == classifies)
    Refuse("the predicted field \"" + dependent.name + "\" does not fit the model's type");
  ReadCounts(Child(node, "NoOfSupportVectorsPerClass"), *model);
  ReadVectors(Child(node, "VectorDictionary"), *model);
  const std::size_t vectors =
      model->columns.empty() ? 0 : model->vectors.size() / model->columns.size();
  std::size_t instances = 0;
  for (const pugi::xml_node& instance :
       Child(node, "CoefficientDictionary").children("CoefficientInstance")) {
    const std::vector<double> values = ReadValues(instance);
    if (values.size() != model->Rows())
      Refuse("the coefficients of vector " + std::to_string(instances) +
             " are not one for each other class");
    model->coefficients.insert(model->coefficients.end(), values.begin(), values.end());
    ++instances;
  }
  if (instances != vectors ||
      (classifies &&
       std::accumulate(model->counts.begin(), model->counts.end(), std::size_t{0}) != vectors))
    Refuse("there are " + std::to_string(vectors) +
           " support vectors, and coefficients or classes of another number");
  model->constants = ReadValues(Child(node, "ConstantDictionary"));
  const std::size_t labels = model->labels.size();
  if (model->constants.size() != (classifies ? labels * (labels - 1) / 2 : 1))
    Refuse("there is not one constant for each pair of classes");
  return model;
}

}  // namespace qrvml::pmml
