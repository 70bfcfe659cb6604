#include "score/pmml_document.h"

#include <algorithm>
#include <new>
#include <pugixml.hpp>
#include <utility>

#include "score/pmml_nodes.h"

namespace qrvml {
namespace {

using namespace pmml;

struct ModelElement {
  const char* name;
  ReadModel* read;
};
constexpr ModelElement kModelElements[] = {{"KNearestNeighborModel", ReadNeighbourModel},
                                           {"NaiveBayesModel", ReadNaiveBayesModel},
                                           {"SupportVectorMachineModel", ReadVectorMachineModel}};

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
  std::string known;
  for (const ModelElement& element : kModelElements) {
    if (const pugi::xml_node model = pmml.child(element.name)) return element.read(model, fields);
    known += (known.empty() ? "" : ", ") + std::string(element.name);
  }
  Refuse("it holds no model that is known here (" + known + ')');
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
