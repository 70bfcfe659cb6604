// Scans the three kinds of generated texts for the values of a nearest-neighbour model.

#include <algorithm>
#include <utility>

#include "score/neighbour_verification.h"
#include "score/printed_lines.h"

namespace qrvml {
namespace {

using namespace scan;

void Keep(std::string_view text, std::vector<double>& values,
          std::vector<std::string_view>& texts) {
  values.push_back(Number(text));
  texts.push_back(text);
}

void ScanC(std::string_view text, PrintedNeighbours& model) {
  Lines lines(text);
  model.weighted = lines.After("bool w = ", ";") == "1";
  model.metric = static_cast<int>(Count(lines.After("unsigned short metric = ", ";")));
  model.continuousInputs = Count(lines.After("int noContInputs = ", ";"));
  model.categoricalInputs = Count(lines.After("int noCatInputs = ", ";"));
  model.continuousDependents = Count(lines.After("int noContOutputs = ", ";"));
  const std::size_t categorical = Count(lines.After("int noCatOutputs = ", ";"));
  const std::vector<double> counts = CList(lines, "int noOutputNominals");
  const std::vector<double> codes = CList(lines, "int outputNominals");
  model.classes = Divided(codes, counts, categorical);
  const std::size_t prototypes = Count(lines.After("long noOfExamples = ", ";"));
  model.neighbours = Count(lines.After("long K = ", ";"));
  model.shift = CList(lines, "double shift");
  model.scale = CList(lines, "double scale");
  lines.After("static double examples[]=", "");
  lines.After("{", "");
  const std::size_t dependents = model.Dependents();
  std::string_view line;
  for (std::size_t p = 0; p < prototypes && lines.Next(line); ++p) {
    if (line.ends_with("};")) line.remove_suffix(2);
    const auto items = ListItems(line);
    if (items.size() != dependents + model.Inputs())
      throw ScanFault{"example " + std::to_string(p + 1) + " has another number of values"};
    for (std::size_t i = 0; i < items.size(); ++i)
      i < dependents ? Keep(items[i], model.outputs, model.outputTexts)
                     : Keep(items[i], model.inputs, model.inputTexts);
  }
  if (model.outputs.size() != prototypes * dependents)
    throw ScanFault{"it has fewer examples than it says"};
}

void ScanQvb(std::string_view text, PrintedNeighbours& model) {
  Lines lines(text);
  model.continuousInputs = Count(lines.After("NoContInputs=", ""));
  model.categoricalInputs = Count(lines.After("NoCatInputs=", ""));
  const std::size_t inputs = model.Inputs();
  for (std::size_t i = 1; i <= inputs; ++i)
    model.shift.push_back(Number(lines.After(QvbPlace("InputShift", {i}), "")));
  for (std::size_t i = 1; i <= inputs; ++i)
    model.scale.push_back(Number(lines.After(QvbPlace("InputScale", {i}), "")));
  model.continuousDependents = Count(lines.After("NoContOutputs=", ""));
  const std::size_t categorical = Count(lines.After("NoCatOutputs=", ""));
  for (std::size_t d = 1; d <= categorical; ++d)
    model.classes.emplace_back(Count(lines.After(QvbPlace("NoOutputNominals", {d}), "")));
  for (std::size_t d = 1; d <= categorical; ++d)
    for (std::size_t c = 0; c < model.classes[d - 1].size(); ++c)
      model.classes[d - 1][c] = Number(lines.After(QvbPlace("OutputNominals", {d, c + 1}), ""));
  model.weighted = lines.After("Weighted = ", "") == "True";
  model.metric = static_cast<int>(Count(lines.After("Metric = ", "")));
  const std::size_t prototypes = Count(lines.After("NoOfPrototypes = ", ""));
  model.neighbours = Count(lines.After("NoOfNearestK = ", ""));
  for (std::size_t p = 1; p <= prototypes; ++p)
    for (std::size_t i = 1; i <= inputs; ++i)
      Keep(lines.After(QvbPlace("InputPrototypes", {p, i}), ""), model.inputs, model.inputTexts);
  for (std::size_t p = 1; p <= prototypes; ++p)
    for (std::size_t d = 1; d <= model.Dependents(); ++d)
      Keep(lines.After(QvbPlace("OutputPrototypes", {p, d}), ""), model.outputs, model.outputTexts);
}

/// The fields of the schema follow each other without line ends where they have categories.
void ScanSchema(std::string_view schema, PrintedNeighbours& model) {
  std::vector<double> codes;
  bool isFirst = true;
  while (!schema.empty()) {
    const std::size_t open = schema.find('<');
    if (open == schema.npos) break;
    schema.remove_prefix(open);
    const std::size_t close = std::min(schema.find('>'), schema.size());
    const std::string_view tag = schema.substr(0, close);
    schema.remove_prefix(std::min(close + 1, schema.size()));
    if (tag.starts_with("<KNNField ") && !std::exchange(isFirst, false)) {
      model.shift.push_back(Number(Attribute(tag, "shift")));
      model.scale.push_back(Number(Attribute(tag, "scale")));
      ++(tag.ends_with(" /") ? model.continuousInputs : model.categoricalInputs);
    }
    if (tag.starts_with("<Category ") && model.shift.empty())
      codes.push_back(Number(Attribute(tag, "value")));
  }
  if (codes.empty()) {
    model.continuousDependents = 1;
  } else {
    model.classes.push_back(std::move(codes));
  }
}

void ScanPmml(std::string_view text, PrintedNeighbours& model) {
  Lines lines(text);
  const std::string_view head = lines.After("<KNearestNeighborModel", "");
  constexpr std::string_view kMetrics[] = {"euclidean", "euclideansqd", "cityblock", "chebychev"};
  model.metric =
      static_cast<int>(std::ranges::find(kMetrics, Attribute(head, "metric")) - kMetrics);
  model.weighted = Attribute(head, "weighted") == "yes";
  model.neighbours = Count(Attribute(head, "noOfNearestNeighbors"));
  const std::size_t begin = text.find("<KNNSchema>"), end = text.find("</KNNSchema>");
  if (begin == text.npos || end == text.npos || end < begin) throw ScanFault{"it has no schema"};
  ScanSchema(text.substr(begin, end - begin), model);
  const std::size_t prototypes =
      Count(Attribute(lines.After("<KNearestNeighborExamples", ""), "noOfExamples"));
  for (std::size_t p = 1; p <= prototypes; ++p) {
    lines.After("<Example id=\"" + std::to_string(p), "\">");
    for (std::size_t i = 0; i <= model.Inputs(); ++i) {
      // A name has no quote in it: the value is what stands between the last two.
      std::string_view value = lines.After("<AttributeInstance name=\"", "\"/>");
      value.remove_prefix(value.rfind('"') + 1);
      i == 0 ? Keep(value, model.outputs, model.outputTexts)
             : Keep(value, model.inputs, model.inputTexts);
    }
  }
}

}  // namespace

bool PrintedNeighbours::Read(CodeDialect dialect, std::string_view text, PrintedNeighbours& model,
                             std::string& error) {
  constexpr void (*kScans[])(std::string_view, PrintedNeighbours&) = {ScanC, ScanQvb, ScanPmml};
  model = {};
  try {
    kScans[static_cast<int>(dialect)](text, model);
    if (model.Inputs() == 0 || model.Dependents() == 0 || model.metric > 3 ||
        model.shift.size() != model.Inputs() || model.scale.size() != model.Inputs() ||
        model.neighbours < 1 || model.neighbours > model.Prototypes())
      throw ScanFault{"its counts do not fit each other"};
    return true;
  } catch (const ScanFault& fault) {
    error = fault.what;
    return false;
  }
}

}  // namespace qrvml
