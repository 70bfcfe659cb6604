// The element of naive Bayes.
#include <algorithm>

#include "score/naive_bayes_model.h"
#include "score/pmml_nodes.h"

namespace qrvml::pmml {
namespace {

double Amount(const pugi::xml_node& node, const char* attribute) {
  const double number = Number(node, attribute);
  if (!(number >= 0)) Refuse(Shown(node) + ": " + attribute + " is below 0");
  return number;
}

/// The children of an element that belong to the categories of a field, in the categories' order,
/// by their attribute `code`.
std::vector<pugi::xml_node> PerCategory(const pugi::xml_node& parent, const char* element,
                                        const char* code, const DeployedField& field) {
  std::vector<pugi::xml_node> nodes;
  for (const pugi::xml_node& node : parent.children(element)) {
    if (nodes.size() < field.categories.size() &&
        Number(node, code) == field.categories[nodes.size()].code) {
      nodes.push_back(node);
      continue;
    }
    Refuse(Shown(node) + " has a " + code + " that is not the next of \"" + field.name + '"');
  }
  if (nodes.size() != field.categories.size())
    Refuse(Shown(parent) + " has not one <" + element + "> for each category of \"" + field.name +
           '"');
  return nodes;
}

std::vector<double> ReadCounts(const pugi::xml_node& parent, const DeployedField& dependent) {
  std::vector<double> counts;
  for (const pugi::xml_node& node :
       PerCategory(Child(parent, "TargetValueCounts"), "TargetValueCount", "value", dependent))
    counts.push_back(Amount(node, "count"));
  return counts;
}

double Parameter(const pugi::xml_node& target, const char* name) {
  const pugi::xml_node found = target.find_child_by_attribute("Parameter", "name", name);
  if (!found) Refuse(Shown(target) + " has no <Parameter name=\"" + name + "\">");
  return Number(found, "value");
}

NaiveBayesModel::ContinuousInput ReadContinuous(const pugi::xml_node& node,
                                                const DeployedField& dependent) {
  const pugi::xml_node distribution = Child(node, "Distribution");
  NaiveBayesModel::ContinuousInput input;
  input.distribution = static_cast<Distribution>(
      Choice(distribution, "distType", {"normal", "lognormal", "gamma", "poisson"}));
  for (const pugi::xml_node& target :
       PerCategory(Child(distribution, "TargetValues"), "TargetValue", "label", dependent)) {
    input.mean.push_back(Parameter(target, "mean"));
    input.variance.push_back(Parameter(target, "std"));
    if (input.variance.back() < 0)
      Refuse("a std of \"" + Text(node, "fieldName") + "\" is below 0");
  }
  return input;
}

NaiveBayesModel::PairCounts ReadCategorical(const pugi::xml_node& node, const DeployedField& input,
                                            const DeployedField& dependent) {
  NaiveBayesModel::PairCounts counts;
  for (const pugi::xml_node& pairs : PerCategory(node, "PairCounts", "label", input))
    counts.push_back(ReadCounts(pairs, dependent));
  return counts;
}

}  // namespace

std::unique_ptr<DeployedModel> ReadNaiveBayesModel(const pugi::xml_node& node,
                                                   const std::vector<DeployedField>& fields) {
  auto model = std::make_unique<NaiveBayesModel>();
  model->threshold = Amount(node, "threshold");
  ForEachField(Child(node, "MiningSchema"), "MiningField", fields, *model,
               [](const pugi::xml_node&) {});
  const DeployedField& dependent = model->dependents[0];
  if (dependent.categories.empty())
    Refuse("the predicted field \"" + dependent.name + "\" has no classes");
  model->classCounts = ReadCounts(Child(node, "BayesOutput"), dependent);
  if (std::ranges::none_of(model->classCounts, [](double count) { return count > 0; }))
    Refuse("no class has training cases");

  const pugi::xml_node inputs = Child(node, "BayesInputs");
  const auto takeNext = [&](const pugi::xml_node& element, std::size_t place) -> DeployedField& {
    const std::string name = Text(element, "fieldName");
    if (place >= model->inputs.size() || model->inputs[place].name != name)
      Refuse(std::string("<") + element.name() + "> has a fieldName that is not the next: " + name);
    return model->inputs[place];
  };
  for (const pugi::xml_node& element :
       Child(inputs, "ContinuousBayesInputs").children("ContinuousBayesInput")) {
    if (takeNext(element, model->continuous.size()).isCategorical)
      Refuse('"' + Text(element, "fieldName") + "\" is categorical in the data dictionary");
    model->continuous.push_back(ReadContinuous(element, dependent));
  }
  for (const pugi::xml_node& element :
       Child(inputs, "CategoricalBayesInputs").children("CategoricalBayesInput")) {
    const DeployedField& input =
        takeNext(element, model->continuous.size() + model->categorical.size());
    if (!input.isCategorical) Refuse('"' + input.name + "\" is continuous in the data dictionary");
    model->categorical.push_back(ReadCategorical(element, input, dependent));
  }
  if (model->continuous.size() + model->categorical.size() != model->inputs.size())
    Refuse("<BayesInputs> has not one element for each input of the schema");
  model->Prepare();
  return model;
}

}  // namespace qrvml::pmml
