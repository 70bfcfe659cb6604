// Scans the three kinds of generated texts for the values of a support vector machine.

#include <algorithm>
#include <array>
#include <limits>

#include "score/machine_verification.h"
#include "score/printed_lines.h"

namespace qrvml {
namespace {

using namespace scan;

int Choice(std::size_t number) { return static_cast<int>(std::min<std::size_t>(number, 99)); }

void Append(const std::vector<std::string_view>& items, std::vector<double>& values) {
  for (const std::string_view item : items) values.push_back(Number(item));
}

/// A list of a C program with `groups` lines of `width` values each; one 0 where there are none.
std::vector<double> CGroups(Lines& lines, const std::string& name, std::size_t groups,
                            std::size_t width) {
  lines.After("static " + name + "[]=", "");
  lines.After("{", "");
  std::vector<double> values;
  std::string_view line;
  for (std::size_t g = 0; g < groups && lines.Next(line); ++g) {
    const auto items = ListItems(line);
    if (items.size() != width)
      throw ScanFault{"line " + std::to_string(g + 1) + " of its list " + name +
                      " has another number of values"};
    Append(items, values);
  }
  if (values.size() != groups * width)
    throw ScanFault{"its list " + name + " has fewer lines than it says"};
  return values;
}

void ScanC(std::string_view text, PrintedMachine& model) {
  MachineValues& own = model.own;
  Lines lines(text);
  const auto count = [&](const std::string& name) {
    return Count(lines.After("int " + name + " = ", ";"));
  };
  model.continuousInputs = count("noContInputs");
  model.categoricalInputs = count("noCatInputs");
  const std::size_t columns = count("noDummyInputs");
  model.continuousDependents = count("noContOutputs");
  const std::size_t categorical = count("noCatOutputs");
  const std::vector<double> counts = CList(lines, "double NoInputNominals");
  lines.After("static double InputNominals[]=", "");
  lines.After("{", "");
  std::string_view line;
  for (std::size_t m = 0; m < model.categoricalInputs && lines.Next(line); ++m) {
    Append(ListItems(line), model.categories.emplace_back());
    if (m >= counts.size() || double(model.categories[m].size()) != counts[m])
      throw ScanFault{"its lists of categories do not fit each other"};
  }
  own.type = Choice(count("type"));
  own.kernel = Choice(count("ktype"));
  for (const auto& [name, value] :
       {std::pair("coef0", &own.coef0), {"gamma", &own.gamma}, {"order", &own.degree}})
    *value = Number(lines.After("double " + std::string(name) + " = ", ";"));
  const std::size_t vectors = count("noSVs"), classes = count("noNominals");
  if (vectors != Count(lines.After("int noOfSVs= ", ";")) || model.Columns() != columns)
    throw ScanFault{"its counts do not fit each other"};
  const std::vector<double> labels = CList(lines, "int label");
  const std::vector<double> perClass = CList(lines, "int noOfSVsPerClass");
  if (own.Classifies()) {
    own.labels = labels;
    own.counts = perClass;
    model.classes.assign(categorical, labels);
    if (labels.size() != classes) throw ScanFault{"it has another number of labels than it says"};
  }
  own.vectors = CGroups(lines, "double SV", vectors, columns);
  own.coefficients =
      CGroups(lines, "double coefficient", vectors, own.Classifies() ? classes - 1 : 1);
  if (!own.Classifies() || classes > 1) own.constants = CList(lines, "double constants");

  const auto has = [text](std::string_view begin) { return text.find(begin) != text.npos; };
  model.shift.assign(model.continuousInputs, 0.0);
  model.scale.assign(model.continuousInputs, 1.0);
  if (has("\nstatic double shift[]=\n")) {
    model.shift = CList(lines, "double shift");
    model.scale = CList(lines, "double scale");
  }
  if (has("\ndouble outputShift = ")) {
    model.outputShift = Number(lines.After("double outputShift = ", ";"));
    model.outputScale = Number(lines.After("double outputScale = ", ";"));
  }
}

void ScanQvb(std::string_view text, PrintedMachine& model) {
  MachineValues& own = model.own;
  Lines lines(text);
  const auto count = [&](const char* name) { return Count(lines.After(name, "")); };
  const auto number = [&](const std::string& begin) { return Number(lines.After(begin, "")); };
  const auto element = [&](const char* name, std::initializer_list<std::size_t> indices) {
    return number(QvbPlace(name, indices, ","));
  };
  model.continuousInputs = count("NoContInputs=");
  model.categoricalInputs = count("NoCatInputs=");
  const std::size_t columns = count("NoDummy=");
  for (std::size_t m = 1; m <= model.categoricalInputs; ++m)
    model.categories.emplace_back(Count(lines.After(QvbPlace("NoInputNominals", {m}), "")));
  for (std::size_t m = 1; m <= model.categoricalInputs; ++m)
    for (std::size_t c = 0; c < model.categories[m - 1].size(); ++c)
      model.categories[m - 1][c] = number(QvbPlace("InputNominals", {m, c + 1}));
  for (std::size_t i = 1; i <= model.continuousInputs; ++i) {
    model.shift.push_back(element("InputShift", {i}));
    model.scale.push_back(element("InputScale", {i}));
  }
  model.continuousDependents = count("NoContOutputs=");
  const std::size_t categorical = count("NoCatOutputs=");
  const std::size_t classes = count("NoOutputNominals=");
  if (categorical > 0) {
    auto& listed = model.classes.emplace_back();
    for (std::size_t c = 1; c <= classes; ++c) listed.push_back(element("OutputNominals", {c}));
  }
  model.outputShift = number("OutputShift=");
  model.outputScale = number("OutputScale=");
  own.type = Choice(count("SVMType="));
  own.kernel = Choice(count("KernelType="));
  own.gamma = number("Gam=");
  own.coef0 = number("coef0=");
  own.degree = number("Order=");
  const std::size_t vectors = count("NumberOfSV=");
  if (own.Classifies()) {
    for (std::size_t c = 1; c <= classes; ++c) own.labels.push_back(element("ClassCodes", {c}));
    for (std::size_t c = 1; c <= classes; ++c) own.counts.push_back(element("NoOfSVPerClass", {c}));
  }
  for (std::size_t s = 1; s <= vectors; ++s)
    for (std::size_t d = 1; d <= columns; ++d)
      own.vectors.push_back(element("SupportVectors", {s, d}));
  const std::size_t rows = own.Classifies() ? classes - 1 : 1;
  for (std::size_t s = 1; s <= vectors; ++s)
    for (std::size_t r = 1; r <= rows; ++r)
      own.coefficients.push_back(element("Coefficients", {s, r}));
  const std::size_t constants = own.Classifies() ? classes * (classes - 1) / 2 : 1;
  for (std::size_t p = 1; p <= constants; ++p) own.constants.push_back(element("Constants", {p}));
}

/// A field of the schema with its categories, as they are written.
struct Field {
  std::string_view name;
  bool isCategorical = false;
  double shift = 0, scale = 1;
  std::vector<std::string_view> labels;
  std::vector<double> codes;
};

std::vector<Field> ScanSchema(Lines& lines) {
  std::vector<Field> fields;
  lines.After("\t<SVMSchema>", "");
  for (std::string_view line; lines.Next(line) && line != "\t</SVMSchema>";) {
    if (line.starts_with("\t\t<SVMField ")) {
      fields.push_back({Attribute(line, "name"),
                        line.ends_with(" >"),
                        Number(Attribute(line, "shift")),
                        Number(Attribute(line, "scale")),
                        {},
                        {}});
    } else if (line.starts_with("\t\t\t<Category ") && !fields.empty()) {
      fields.back().labels.push_back(Attribute(line, "label"));
      fields.back().codes.push_back(Number(Attribute(line, "value")));
    }
  }
  if (fields.size() < 2) throw ScanFault{"its schema has no input and dependent"};
  return fields;
}

/// The codes of the columns that a categorical field has among the names of a vector.
std::vector<double> ColumnsOf(const Field& field, std::span<const std::string_view> names,
                              std::size_t& next) {
  std::vector<double> codes;
  for (; next < names.size(); ++next) {
    const auto isName = [&](std::string_view label) {
      return names[next].size() == field.name.size() + 1 + label.size() &&
             names[next].starts_with(field.name) && names[next][field.name.size()] == '-' &&
             names[next].ends_with(label);
    };
    const auto label = std::ranges::find_if(field.labels, isName);
    if (label == field.labels.end()) break;
    const double code = field.codes[static_cast<std::size_t>(label - field.labels.begin())];
    const bool isFirst = std::ranges::find(codes, code) == codes.end();
    codes.push_back(isFirst ? code : std::numeric_limits<double>::quiet_NaN());
  }
  return codes;
}

/// The value of a line `<... value="v"/>`.
double LastValue(std::string_view line) {
  constexpr std::string_view kEnd = "\"/>";
  if (!line.ends_with(kEnd)) throw ScanFault{"a line has no value at its end"};
  line.remove_suffix(kEnd.size());
  return Number(line.substr(line.rfind('"') + 1));
}

void ScanPmml(std::string_view text, PrintedMachine& model) {
  MachineValues& own = model.own;
  Lines lines(text);
  lines.After("<SupportVectorMachineModel", " svm_type=");
  std::string_view line;
  lines.Next(line);
  own.type = line.starts_with("\"C_SVC\" ") ? 0 : line.starts_with("\"NU_SVC\" ") ? 1 : 3;
  if (own.type != 1) model.capacity = Number(Attribute(line, "capacity"));
  if (own.type != 0) model.nu = Number(Attribute(line, "nu"));
  const std::string_view kernel = lines.After("\t<KernelType", "/>");
  constexpr std::array<std::string_view, 4> kKernels = {"linear", "polynomial", "rbf", "sigmoid"};
  own.kernel =
      static_cast<int>(std::ranges::find(kKernels, Attribute(kernel, "type")) - kKernels.begin());
  if (own.kernel != 0) own.gamma = Number(Attribute(kernel, "gamma"));
  if (own.kernel == 1) own.degree = Number(Attribute(kernel, "degree"));
  if (own.kernel == 1 || own.kernel == 3) own.coef0 = Number(Attribute(kernel, "coefficient"));

  std::vector<Field> fields = ScanSchema(lines);
  const Field dependent = fields.back();
  fields.pop_back();
  model.outputShift = dependent.shift;
  model.outputScale = dependent.scale;
  model.continuousDependents = dependent.isCategorical ? 0 : 1;
  own.labels = dependent.codes;
  own.counts.assign(own.labels.size(), 0);
  lines.After("<NoOfSupportVectorsPerClass>", "");
  if (dependent.isCategorical) model.classes.emplace_back();
  while (lines.Next(line) && line.starts_with("<Category ")) {
    if (model.classes.empty()) throw ScanFault{"it counts classes and predicts values"};
    model.classes[0].push_back(Number(Attribute(line, "value")));
    const auto label = std::ranges::find(own.labels, model.classes[0].back());
    if (label != own.labels.end())
      own.counts[static_cast<std::size_t>(label - own.labels.begin())] =
          Number(Attribute(line, "noOfSV"));
  }

  std::vector<std::string_view> names;
  bool isFirst = true;
  lines.After("<VectorDictionary>", "");
  while (lines.Next(line) && line.starts_with("<VectorInstance ")) {
    while (lines.Next(line) && line.starts_with("<AttributeInstance ")) {
      if (isFirst) names.push_back(Attribute(line, "name"));
      own.vectors.push_back(LastValue(line));
    }
    isFirst = false;
  }
  std::size_t next = 0;
  for (const Field& field : fields) {
    if (field.isCategorical) {
      ++model.categoricalInputs;
      model.categories.push_back(ColumnsOf(field, names, next));
      continue;
    }
    ++model.continuousInputs;
    model.shift.push_back(field.shift);
    model.scale.push_back(field.scale);
    if (next < names.size() && names[next++] != field.name)
      throw ScanFault{"its vectors have other columns than its schema"};
  }
  if (next != names.size()) throw ScanFault{"its vectors have other columns than its schema"};
  lines.After("<CoefficientDictionary>", "");
  while (lines.Next(line) && line != "</CoefficientDictionary>")
    if (line.starts_with("<Value ")) own.coefficients.push_back(LastValue(line));
  lines.After("<ConstantDictionary>", "");
  while (lines.Next(line) && line.starts_with("<Value ")) own.constants.push_back(LastValue(line));
}

void CheckCounts(const PrintedMachine& model) {
  const MachineValues& own = model.own;
  const std::size_t labels = own.labels.size();
  const bool classifies = own.Classifies();
  double vectors = 0;
  for (const double count : own.counts) vectors += count;
  if (own.type > 4 || own.type == 2 || own.kernel > 3 || model.Inputs() == 0 ||
      model.Dependents() != 1 || model.classes.empty() == classifies ||
      (classifies && (labels == 0 || own.counts.size() != labels)) ||
      own.constants.size() != (classifies ? labels * (labels - 1) / 2 : 1) ||
      model.shift.size() != model.continuousInputs ||
      model.scale.size() != model.continuousInputs ||
      own.vectors.size() != own.Vectors() * model.Columns() ||
      own.coefficients.size() != own.Vectors() * own.Rows() ||
      (classifies && labels > 1 && vectors != double(own.Vectors())))
    throw ScanFault{"its counts do not fit each other"};
}

}  // namespace

bool PrintedMachine::Read(CodeDialect dialect, std::string_view text, PrintedMachine& model,
                          std::string& error) {
  constexpr void (*kScans[])(std::string_view, PrintedMachine&) = {ScanC, ScanQvb, ScanPmml};
  model = {};
  try {
    kScans[static_cast<int>(dialect)](text, model);
    CheckCounts(model);
    return true;
  } catch (const ScanFault& fault) {
    error = fault.what;
    return false;
  }
}

}  // namespace qrvml
