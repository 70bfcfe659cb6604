#include "score/pmml_nodes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "host/numerics.h"

namespace qrvml::pmml {

void Refuse(std::string what) { throw Unreadable{std::move(what)}; }

std::string Shown(const pugi::xml_node& node) {
  const std::string name = node.attribute("name").value();
  return '<' + std::string(node.name()) + (name.empty() ? "" : " name=\"" + name + '"') + '>';
}

std::string Text(const pugi::xml_node& node, const char* attribute) {
  const pugi::xml_attribute found = node.attribute(attribute);
  if (!found) Refuse(Shown(node) + " has no attribute " + attribute);
  return found.value();
}

double Number(const pugi::xml_node& node, const char* attribute) {
  const std::string text = Text(node, attribute);
  double number = 0;
  if (!TextToDouble(text, number))
    Refuse(Shown(node) + ": " + attribute + "=\"" + text + "\" is no number");
  return number;
}

std::size_t Count(const pugi::xml_node& node, const char* attribute) {
  const double number = Number(node, attribute);
  if (number != std::floor(number) || number < 0 || number > std::numeric_limits<int>::max())
    Refuse(Shown(node) + ": " + attribute + "=\"" + node.attribute(attribute).value() +
           "\" is no count");
  return static_cast<std::size_t>(number);
}

int Choice(const pugi::xml_node& node, const char* attribute,
           std::initializer_list<std::string_view> choices) {
  const std::string text = Text(node, attribute);
  const auto* const found = std::ranges::find(choices, std::string_view(text));
  if (found == choices.end())
    Refuse(Shown(node) + ": " + attribute + "=\"" + text + "\" is not known");
  return static_cast<int>(found - choices.begin());
}

pugi::xml_node Child(const pugi::xml_node& node, const char* name) {
  const pugi::xml_node found = node.child(name);
  if (!found)
    Refuse((node.type() == pugi::node_document ? "the document" : Shown(node)) + " has no <" +
           name + '>');
  return found;
}

const DeployedField& FindField(const std::vector<DeployedField>& fields, const std::string& name) {
  const auto found = std::ranges::find(fields, name, &DeployedField::name);
  if (found == fields.end()) Refuse("the data dictionary has no field \"" + name + '"');
  return *found;
}

}  // namespace qrvml::pmml
