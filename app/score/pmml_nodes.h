// Reading the elements of a generated PMML document, and the readers of its model elements.
#pragma once

#include <initializer_list>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "score/deployed_model.h"

namespace qrvml::pmml {

/// What ends reading; caught in ReadPmmlDocument.
struct Unreadable {
  std::string what;
};

[[noreturn]] void Refuse(std::string what);

// --- What is missing or has another form than generated documents give it is refused
// --------------

/// "<DataField name="x">", for messages.
std::string Shown(const pugi::xml_node& node);
std::string Text(const pugi::xml_node& node, const char* attribute);
double Number(const pugi::xml_node& node, const char* attribute);
std::size_t Count(const pugi::xml_node& node, const char* attribute);
/// The position of an attribute's text among those that it may have.
int Choice(const pugi::xml_node& node, const char* attribute,
           std::initializer_list<std::string_view> choices);
pugi::xml_node Child(const pugi::xml_node& node, const char* name);
/// The named field of the data dictionary.
const DeployedField& FindField(const std::vector<DeployedField>& fields, const std::string& name);
/// Takes the fields of a schema into a model; `takeInput(element)` is called for each input, in
/// order. There must be one predicted field and at least one other.
template <class Take>
void ForEachField(const pugi::xml_node& schema, const char* element,
                  const std::vector<DeployedField>& fields, DeployedModel& model, Take takeInput) {
  for (const pugi::xml_node& node : schema.children(element)) {
    const DeployedField& field = FindField(fields, Text(node, "name"));
    if (std::string_view(node.attribute("usageType").value()) == "predicted") {
      model.dependents.push_back(field);
      continue;
    }
    model.inputs.push_back(field);
    takeInput(node);
  }
  if (model.dependents.size() != 1 || model.inputs.empty())
    Refuse(Shown(schema) + " needs one predicted field and at least one other");
}

// --- The model elements
// ---------------------------------------------------------------------------

/// The model of an element, for the fields of the data dictionary.
using ReadModel = std::unique_ptr<DeployedModel>(const pugi::xml_node& node,
                                                 const std::vector<DeployedField>& fields);
ReadModel ReadNeighbourModel;
ReadModel ReadNaiveBayesModel;
ReadModel ReadVectorMachineModel;

}  // namespace qrvml::pmml
