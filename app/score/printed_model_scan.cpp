// Scans the three kinds of generated texts for the values of their model.

#include <algorithm>
#include <charconv>
#include <utility>

#include "score/printed_model.h"

namespace qrvml {
namespace {

/// What ends scanning; caught in PrintedModel::Read.
struct Unreadable {
  std::string what;
};

double Number(std::string_view text) {
  double number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc() || end != text.data() + text.size())
    throw Unreadable{'"' + std::string(text.substr(0, 40)) + "\" is no number"};
  return number;
}

std::size_t Count(std::string_view text) {
  std::size_t count = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (code != std::errc() || end != text.data() + text.size())
    throw Unreadable{'"' + std::string(text.substr(0, 40)) + "\" is no count"};
  return count;
}

class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}
  bool Next(std::string_view& line) {
    if (rest_.empty()) return false;
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    return true;
  }
  /// Goes to the next line that begins with `begin`; gives what follows, without `end`.
  std::string_view After(std::string_view begin, std::string_view end) {
    for (std::string_view line; Next(line);) {
      if (!line.starts_with(begin)) continue;
      if (!line.ends_with(end)) break;
      return line.substr(begin.size(), line.size() - begin.size() - end.size());
    }
    throw Unreadable{"it has no line \"" + std::string(begin) + "...\" where it belongs"};
  }

 private:
  std::string_view rest_;
};

/// The values of a line of a C list, which stand between ", ".
std::vector<std::string_view> ListItems(std::string_view line) {
  while (line.ends_with('\t') || line.ends_with(' ') || line.ends_with(',')) line.remove_suffix(1);
  std::vector<std::string_view> items;
  while (!line.empty()) {
    const std::size_t end = std::min(line.find(", "), line.size());
    items.push_back(line.substr(0, end));
    line.remove_prefix(std::min(end + 2, line.size()));
  }
  return items;
}

std::vector<double> CList(Lines& lines, const std::string& name) {
  lines.After("static " + name + "[]=", "");
  std::string_view line;
  std::vector<double> values;
  if (lines.Next(line) && line == "{" && lines.Next(line))
    for (const std::string_view item : ListItems(line)) values.push_back(Number(item));
  return values;
}

void Keep(std::string_view text, std::vector<double>& values,
          std::vector<std::string_view>& texts) {
  values.push_back(Number(text));
  texts.push_back(text);
}

void ScanC(std::string_view text, PrintedModel& model) {
  Lines lines(text);
  model.weighted = lines.After("bool w = ", ";") == "1";
  model.metric = static_cast<int>(Count(lines.After("unsigned short metric = ", ";")));
  model.continuousInputs = Count(lines.After("int noContInputs = ", ";"));
  model.categoricalInputs = Count(lines.After("int noCatInputs = ", ";"));
  model.continuousDependents = Count(lines.After("int noContOutputs = ", ";"));
  const std::size_t categorical = Count(lines.After("int noCatOutputs = ", ";"));
  const std::vector<double> counts = CList(lines, "int noOutputNominals");
  const std::vector<double> codes = CList(lines, "int outputNominals");
  auto code = codes.begin();
  for (std::size_t d = 0; d < categorical; ++d) {
    if (d >= counts.size() || codes.end() - code < static_cast<std::ptrdiff_t>(counts[d]))
      throw Unreadable{"its lists of classes are too short"};
    const auto end = code + static_cast<std::ptrdiff_t>(counts[d]);
    model.classes.emplace_back(std::exchange(code, end), end);
  }
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
      throw Unreadable{"example " + std::to_string(p + 1) + " has another number of values"};
    for (std::size_t i = 0; i < items.size(); ++i)
      i < dependents ? Keep(items[i], model.outputs, model.outputTexts)
                     : Keep(items[i], model.inputs, model.inputTexts);
  }
  if (model.outputs.size() != prototypes * dependents)
    throw Unreadable{"it has fewer examples than it says"};
}

void ScanQvb(std::string_view text, PrintedModel& model) {
  Lines lines(text);
  const auto index = [](std::size_t i) { return '(' + std::to_string(i) + ")="; };
  const auto element = [](const std::string& name, std::size_t i, std::size_t j) {
    return name + '(' + std::to_string(i) + ", " + std::to_string(j) + ")=";
  };
  model.continuousInputs = Count(lines.After("NoContInputs=", ""));
  model.categoricalInputs = Count(lines.After("NoCatInputs=", ""));
  const std::size_t inputs = model.Inputs();
  for (std::size_t i = 1; i <= inputs; ++i)
    model.shift.push_back(Number(lines.After("InputShift" + index(i), "")));
  for (std::size_t i = 1; i <= inputs; ++i)
    model.scale.push_back(Number(lines.After("InputScale" + index(i), "")));
  model.continuousDependents = Count(lines.After("NoContOutputs=", ""));
  const std::size_t categorical = Count(lines.After("NoCatOutputs=", ""));
  for (std::size_t d = 1; d <= categorical; ++d)
    model.classes.emplace_back(Count(lines.After("NoOutputNominals" + index(d), "")));
  for (std::size_t d = 1; d <= categorical; ++d)
    for (std::size_t c = 0; c < model.classes[d - 1].size(); ++c)
      model.classes[d - 1][c] = Number(lines.After(element("OutputNominals", d, c + 1), ""));
  model.weighted = lines.After("Weighted = ", "") == "True";
  model.metric = static_cast<int>(Count(lines.After("Metric = ", "")));
  const std::size_t prototypes = Count(lines.After("NoOfPrototypes = ", ""));
  model.neighbours = Count(lines.After("NoOfNearestK = ", ""));
  for (std::size_t p = 1; p <= prototypes; ++p)
    for (std::size_t i = 1; i <= inputs; ++i)
      Keep(lines.After(element("InputPrototypes", p, i), ""), model.inputs, model.inputTexts);
  for (std::size_t p = 1; p <= prototypes; ++p)
    for (std::size_t d = 1; d <= model.Dependents(); ++d)
      Keep(lines.After(element("OutputPrototypes", p, d), ""), model.outputs, model.outputTexts);
}

/// The value of an attribute that `line` holds once outside of names: texts have no quote in them.
std::string_view Attribute(std::string_view line, const std::string& name) {
  const std::string begin = ' ' + name + "=\"";
  const std::size_t place = line.find(begin);
  if (place == line.npos) throw Unreadable{"a line has no " + name};
  line.remove_prefix(place + begin.size());
  return line.substr(0, line.find('"'));
}

/// The fields of the schema follow each other without line ends where they have categories.
void ScanSchema(std::string_view schema, PrintedModel& model) {
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

void ScanPmml(std::string_view text, PrintedModel& model) {
  Lines lines(text);
  const std::string_view head = lines.After("<KNearestNeighborModel", "");
  constexpr std::string_view kMetrics[] = {"euclidean", "euclideansqd", "cityblock", "chebychev"};
  model.metric =
      static_cast<int>(std::ranges::find(kMetrics, Attribute(head, "metric")) - kMetrics);
  model.weighted = Attribute(head, "weighted") == "yes";
  model.neighbours = Count(Attribute(head, "noOfNearestNeighbors"));
  const std::size_t begin = text.find("<KNNSchema>"), end = text.find("</KNNSchema>");
  if (begin == text.npos || end == text.npos || end < begin) throw Unreadable{"it has no schema"};
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

bool PrintedModel::Read(CodeDialect dialect, std::string_view text, PrintedModel& model,
                        std::string& error) {
  constexpr void (*kScans[])(std::string_view, PrintedModel&) = {ScanC, ScanQvb, ScanPmml};
  model = {};
  try {
    kScans[static_cast<int>(dialect)](text, model);
    if (model.Inputs() == 0 || model.Dependents() == 0 || model.metric > 3 ||
        model.shift.size() != model.Inputs() || model.scale.size() != model.Inputs() ||
        model.neighbours < 1 || model.neighbours > model.Prototypes())
      throw Unreadable{"its counts do not fit each other"};
    return true;
  } catch (const Unreadable& unreadable) {
    error = unreadable.what;
    return false;
  }
}

}  // namespace qrvml
