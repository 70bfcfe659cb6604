#include "score/pmml_document.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <pugixml.hpp>
#include <utility>

#include "host/numerics.h"
#include "score/neighbour_model.h"

namespace qrvml {
namespace {

/// What ends reading; caught in ReadPmmlDocument.
struct Unreadable {
  std::string what;
};

[[noreturn]] void Refuse(std::string what) { throw Unreadable{std::move(what)}; }

/// "<DataField name="x">", for messages.
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

/// The position of an attribute's text among those that it may have.
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

std::vector<DeployedField> ReadDictionary(const pugi::xml_node& dictionary) {
  std::vector<DeployedField> fields;
  for (const pugi::xml_node& node : dictionary.children("DataField")) {
    DeployedField& field = fields.emplace_back();
    field.name = Text(node, "name");
    field.isCategorical = Choice(node, "optype", {"continuous", "categorical"}) == 1;
    for (const pugi::xml_node& category : node.children("Category"))
      field.categories.push_back({Text(category, "label"), Number(category, "value")});
  }
  if (fields.size() != Count(dictionary, "numberOfFields"))
    Refuse("<DataDictionary> has another number of fields than it says");
  return fields;
}

const DeployedField& FindField(const std::vector<DeployedField>& fields, const std::string& name) {
  const auto found = std::ranges::find(fields, name, &DeployedField::name);
  if (found == fields.end()) Refuse("the data dictionary has no field \"" + name + '"');
  return *found;
}

void ReadSchema(const pugi::xml_node& schema, const std::vector<DeployedField>& fields,
                NeighbourModel& model) {
  for (const pugi::xml_node& node : schema.children("KNNField")) {
    const DeployedField& field = FindField(fields, Text(node, "name"));
    if (std::strcmp(node.attribute("usageType").value(), "predicted") == 0) {
      model.dependents.push_back(field);
      continue;
    }
    model.inputs.push_back(field);
    model.shift.push_back(Number(node, "shift"));
    model.scale.push_back(Number(node, "scale"));
  }
  if (model.dependents.size() != 1 || model.inputs.empty())
    Refuse("<KNNSchema> needs one predicted field and at least one other");
}

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

std::unique_ptr<DeployedModel> ReadNeighbours(const pugi::xml_node& node,
                                              const std::vector<DeployedField>& fields) {
  auto model = std::make_unique<NeighbourModel>();
  const bool classifies = Choice(node, "knn_type", {"Regression", "Calssification"}) == 1;
  model->neighbours = Count(node, "noOfNearestNeighbors");
  model->metric = Choice(node, "metric", {"euclidean", "euclideansqd", "cityblock", "chebychev"});
  model->weighted = Choice(node, "weighted", {"no", "yes"}) == 1;
  ReadSchema(Child(node, "KNNSchema"), fields, *model);
  const DeployedField& dependent = model->dependents[0];
  if (dependent.isCategorical != classifies || (classifies && dependent.categories.empty()))
    Refuse("the predicted field \"" + dependent.name + "\" does not fit the model's type");
  ReadExamples(Child(node, "KNearestNeighborExamples"), *model);
  if (model->neighbours < 1 || model->neighbours > model->exampleValues.size())
    Refuse(std::to_string(model->neighbours) + " neighbours cannot be found among " +
           std::to_string(model->exampleValues.size()) + " examples");
  return model;
}

/// The tree takes memory by its tags and attributes, which a real model has few of for its size.
void CheckSize(std::string_view text) {
  constexpr std::size_t kLargest = std::size_t{512} << 20;
  if (text.size() > kLargest) Refuse("it is larger than 512 MB");
  const auto tags = static_cast<std::size_t>(std::ranges::count(text, '<'));
  const auto attributes = static_cast<std::size_t>(std::ranges::count(text, '='));
  constexpr std::size_t kTag = 72, kAttribute = 48, kPerByte = 8, kAlways = 1 << 20;
  if (tags * kTag + attributes * kAttribute > text.size() * kPerByte + kAlways)
    Refuse("it has more tags for its size than a model has");
}

std::string AtLine(std::string_view text, std::ptrdiff_t offset) {
  const auto read = text.substr(0, static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)));
  return "line " + std::to_string(std::ranges::count(read, '\n') + 1);
}

std::unique_ptr<DeployedModel> Read(std::string_view text) {
  CheckSize(text);
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(
      text.data(), text.size(), pugi::parse_default | pugi::parse_declaration | pugi::parse_doctype,
      pugi::encoding_utf8);
  if (!result)
    Refuse("it is no XML document: " + std::string(result.description()) + " in " +
           AtLine(text, result.offset));
  for (const pugi::xml_node& node : document) {
    if (node.type() == pugi::node_doctype)
      Refuse("it declares a document type, which generated documents do not and which is not read");
    if (node.type() != pugi::node_declaration) continue;
    std::string encoding = node.attribute("encoding").value();
    std::ranges::transform(encoding, encoding.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
    if (!encoding.empty() && encoding != "UTF-8" && encoding != "US-ASCII")
      Refuse("it is written in " + encoding + "; UTF-8 is read");
  }
  const pugi::xml_node pmml = Child(document, "PMML");
  const auto fields = ReadDictionary(Child(pmml, "DataDictionary"));
  if (const pugi::xml_node neighbours = pmml.child("KNearestNeighborModel"))
    return ReadNeighbours(neighbours, fields);
  Refuse("it holds no model that is known here (KNearestNeighborModel)");
}

}  // namespace

std::unique_ptr<DeployedModel> ReadPmmlDocument(std::string_view text, std::string& error) {
  try {
    return Read(text);
  } catch (const Unreadable& unreadable) {
    error = unreadable.what;
  } catch (const std::bad_alloc&) {
    error = "it does not fit into memory";
  }
  return nullptr;
}

}  // namespace qrvml
