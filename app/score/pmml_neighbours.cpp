// The element of nearest neighbours.
#include "score/neighbour_model.h"
#include "score/pmml_nodes.h"

namespace qrvml::pmml {
namespace {

void ReadExamples(const pugi::xml_node& examples, NeighbourModel& model) {
  std::size_t number = 0;
  for (const pugi::xml_node& example : examples.children("Example")) {
    ++number;
    const auto instances = example.children("AttributeInstance");
    auto instance = instances.begin();
    const auto read = [&](const DeployedField& field) {
      if (instance == instances.end() || Text(*instance, "name") != field.name)
        Refuse("example " + std::to_string(number) + " has no value of \"" + field.name +
               "\" in its place");
      return Number(*instance++, "value");
    };
    model.exampleValues.push_back(read(model.dependents[0]));
    for (const DeployedField& input : model.inputs) model.exampleInputs.push_back(read(input));
    if (instance != instances.end())
      Refuse("example " + std::to_string(number) + " has more values than there are fields");
  }
  if (number != Count(examples, "noOfExamples"))
    Refuse("<KNearestNeighborExamples> has another number of examples than it says");
}

}  // namespace

std::unique_ptr<DeployedModel> ReadNeighbourModel(const pugi::xml_node& node,
                                                  const std::vector<DeployedField>& fields) {
  auto model = std::make_unique<NeighbourModel>();
  const bool classifies = Choice(node, "knn_type", {"Regression", "Calssification"}) == 1;
  model->neighbours = Count(node, "noOfNearestNeighbors");
  model->metric = Choice(node, "metric", {"euclidean", "euclideansqd", "cityblock", "chebychev"});
  model->weighted = Choice(node, "weighted", {"no", "yes"}) == 1;
  ForEachField(Child(node, "KNNSchema"), "KNNField", fields, *model,
               [&](const pugi::xml_node& field) {
                 model->shift.push_back(Number(field, "shift"));
                 model->scale.push_back(Number(field, "scale"));
               });
  const DeployedField& dependent = model->dependents[0];
  if (dependent.isCategorical != classifies || (classifies && dependent.categories.empty()))
    Refuse("the predicted field \"" + dependent.name + "\" does not fit the model's type");
  ReadExamples(Child(node, "KNearestNeighborExamples"), *model);
  if (model->neighbours < 1 || model->neighbours > model->exampleValues.size())
    Refuse(std::to_string(model->neighbours) + " neighbours cannot be found among " +
           std::to_string(model->exampleValues.size()) + " examples");
  return model;
}

}  // namespace qrvml::pmml
