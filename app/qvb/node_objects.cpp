#include "qvb/node_objects.h"

#include <algorithm>
#include <limits>

#include "qvb/compiler.h"
#include "qvb/conversion.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

using Arguments = std::span<const Value>;

constexpr int kMostVariables = 1000000;

std::string NameIn(const std::map<int, std::string>& names, int number) {
  const auto found = names.find(number);
  return found != names.end() ? found->second : std::string();
}

Ref<SpreadsheetObject> SpreadsheetIn(const Value& value) {
  if (value.tag == Tag::object && !value.block) return nullptr;
  auto* const sheet =
      value.tag == Tag::object ? dynamic_cast<SpreadsheetObject*>(value.object()) : nullptr;
  if (!sheet) throw ScriptFault(FaultNumber::typeMismatch, "expected a Spreadsheet");
  return Ref<SpreadsheetObject>(sheet);
}

template <InputDescriptorObject::List list>
Value GetListed(InputDescriptorObject& self, Arguments arguments) {
  const std::vector<int>& numbers = self.lists[list];
  const int place = SpreadsheetObject::Place(arguments[0], static_cast<int>(numbers.size()));
  return Value::Integer(numbers[static_cast<std::size_t>(place - 1)]);
}

template <InputDescriptorObject::List list>
void PutListed(InputDescriptorObject& self, Arguments arguments, const Value& value) {
  std::vector<int>& numbers = self.lists[list];
  const int place = SpreadsheetObject::Place(arguments[0], static_cast<int>(numbers.size()) + 1);
  if (numbers.size() > kMostVariables) throw ScriptFault(FaultNumber::outOfMemory);
  const std::int32_t number = ToInteger(value);
  if (static_cast<std::size_t>(place) > numbers.size()) numbers.push_back(number);
  numbers[static_cast<std::size_t>(place - 1)] = number;
}

template <InputDescriptorObject::List list>
Value CountListed(InputDescriptorObject& self, Arguments) {
  return Value::Integer(static_cast<std::int32_t>(self.lists[list].size()));
}

template <InputDescriptorObject::List list>
constexpr MemberRow<InputDescriptorObject> ListRow(std::string_view name) {
  return {name, 1, 1, GetListed<list>, PutListed<list>};
}

template <InputDescriptorObject::List list>
constexpr MemberRow<InputDescriptorObject> CountRow(std::string_view name) {
  return {name, 0, 0, CountListed<list>, nullptr};
}

/// The one array element that a script left in DataOut, or nothing.
Ref<SpreadsheetObject> OutputOf(const ArrayData& dataOut) {
  if (dataOut.count == 0) return nullptr;
  const Value first = dataOut.Get(0);
  if (first.tag != Tag::object || !first.block) return nullptr;
  const auto* const descriptor = dynamic_cast<InputDescriptorObject*>(first.object());
  return descriptor ? descriptor->dataSource : nullptr;
}

}  // namespace

int SpreadsheetObject::Place(const Value& index, int last) {
  const std::int32_t place = ToInteger(index);
  if (place < 1 || place > last) {
    throw ScriptFault(FaultNumber::subscript,
                      std::to_string(place) + " is not in 1 To " + std::to_string(last));
  }
  return place;
}

void SpreadsheetObject::CheckWritable() const {
  if (table) throw ScriptFault(FaultNumber::invalidProperty, "a data source cannot be written");
}

void SpreadsheetObject::Resize(std::int64_t cases, std::int64_t variables) {
  CheckWritable();
  if (cases < 0 || cases > std::numeric_limits<std::int32_t>::max() || variables < 0 ||
      variables > kMostVariables) {
    throw ScriptFault(FaultNumber::invalidCall, "a spreadsheet of " + std::to_string(cases) +
                                                    " cases x " + std::to_string(variables));
  }
  ChargeAs(nameBytes_ +
           static_cast<std::size_t>(cases) * static_cast<std::size_t>(variables) * sizeof(double));
  sheet.cases = static_cast<int>(cases);
  sheet.columns.resize(static_cast<std::size_t>(variables));
  for (std::vector<double>& column : sheet.columns) {
    column.resize(static_cast<std::size_t>(cases), missingCode);
  }
}

void SpreadsheetObject::SetName(std::map<int, std::string>& names, int number, std::string name) {
  constexpr std::size_t kEntry = 64;  // of the map, about
  CheckWritable();
  std::string& place = names[number];
  const std::size_t bytes = nameBytes_ - place.size() + name.size() + kEntry;
  ChargeAs(bytes + static_cast<std::size_t>(sheet.cases) * sheet.columns.size() * sizeof(double));
  nameBytes_ = bytes;
  place = std::move(name);
}

void SpreadsheetObject::Grow(std::int64_t cases, std::int64_t variables) {
  if (cases <= Cases() && variables <= Variables()) return;
  Resize(std::max<std::int64_t>(cases, Cases()), std::max<std::int64_t>(variables, Variables()));
}

std::span<const MemberRow<SpreadsheetObject>> SpreadsheetObject::Rows() {
  using Self = SpreadsheetObject;
  static constexpr MemberRow<Self> kRows[] = {
      {"Value", 2, 2,
       [](Self& self, Arguments at) {
         const int row = Place(at[0], self.Cases());
         const int column = Place(at[1], self.Variables());
         if (self.table) return Value::Real(self.table->Value(row, column));
         return Value::Real(self.sheet.columns[static_cast<std::size_t>(column - 1)]
                                              [static_cast<std::size_t>(row - 1)]);
       },
       [](Self& self, Arguments at, const Value& value) {
         self.CheckWritable();
         const int row = Place(at[0], std::numeric_limits<std::int32_t>::max());
         const int column = Place(at[1], kMostVariables);
         const double number = ToReal(value);
         self.Grow(row, column);
         self.sheet
             .columns[static_cast<std::size_t>(column - 1)][static_cast<std::size_t>(row - 1)] =
             number;
       }},
      {"SetSize", 2, 2,
       [](Self& self, Arguments sizes) {
         self.Resize(ToInteger(sizes[0]), ToInteger(sizes[1]));
         return Value();
       },
       nullptr},
      {"NumberOfCases", 0, 0, [](Self& self, Arguments) { return Value::Integer(self.Cases()); },
       [](Self& self, Arguments, const Value& value) {
         self.Resize(ToInteger(value), self.Variables());
       }},
      {"NumberOfVariables", 0, 0,
       [](Self& self, Arguments) { return Value::Integer(self.Variables()); },
       [](Self& self, Arguments, const Value& value) {
         self.Resize(self.Cases(), ToInteger(value));
       }},
      {"CaseName", 1, 1,
       [](Self& self, Arguments at) {
         const int row = Place(at[0], self.Cases());
         return Value::Text(self.table ? self.table->CaseName(row)
                                       : NameIn(self.sheet.caseNames, row));
       },
       [](Self& self, Arguments at, const Value& value) {
         self.SetName(self.sheet.caseNames, Place(at[0], self.Cases()), ToText(value));
       }},
      {"VariableName", 1, 1,
       [](Self& self, Arguments at) {
         const int column = Place(at[0], self.Variables());
         return Value::Text(self.table ? self.table->VariableName(column)
                                       : NameIn(self.sheet.variableNames, column));
       },
       [](Self& self, Arguments at, const Value& value) {
         self.SetName(self.sheet.variableNames, Place(at[0], self.Variables()), ToText(value));
       }},
      {"InputSpreadsheet", 0, 0,
       [](Self& self, Arguments) { return Value::Boolean(self.inputSpreadsheet); },
       [](Self& self, Arguments, const Value& value) { self.inputSpreadsheet = ToBoolean(value); }},
  };
  return kRows;
}

std::span<const MemberRow<InputDescriptorObject>> InputDescriptorObject::Rows() {
  using Self = InputDescriptorObject;
  static constexpr MemberRow<Self> kRows[] = {
      {"DataSource", 0, 0,
       [](Self& self, Arguments) { return Value::Object(self.dataSource.get()); },
       [](Self& self, Arguments, const Value& value) { self.dataSource = SpreadsheetIn(value); }},
      {"Id", 0, 0, [](Self& self, Arguments) { return Value::Integer(self.id); },
       [](Self& self, Arguments, const Value& value) { self.id = ToInteger(value); }},
      {"SourceId", 0, 0, [](Self& self, Arguments) { return Value::Integer(self.sourceId); },
       [](Self& self, Arguments, const Value& value) { self.sourceId = ToInteger(value); }},
      ListRow<continuousPredictors>("ContinuousPredictors"),
      ListRow<categoricalPredictors>("CategoricalPredictors"),
      ListRow<continuousDependents>("ContinuousDependentVariables"),
      ListRow<categoricalDependents>("CategoricalDependentVariables"),
      CountRow<continuousPredictors>("NumberOfContinuousPredictors"),
      CountRow<categoricalPredictors>("NumberOfCategoricalPredictors"),
      CountRow<continuousDependents>("NumberOfContinuousDependentVariables"),
      CountRow<categoricalDependents>("NumberOfCategoricalDependentVariables"),
  };
  return kRows;
}

void AddNodeNames(HostNames& names, double missingCode) {
  names.AddClass("Spreadsheet", [missingCode] {
    return Ref<ScriptObject>(MakeRef<SpreadsheetObject>(missingCode));
  });
  names.AddClass("InputDescriptor",
                 [] { return Ref<ScriptObject>(MakeRef<InputDescriptorObject>()); });
  names.AddConstant("MissingCode", Value::Real(missingCode));
}

NodeOutput RunNodeScript(const std::string& scriptName, std::string_view script,
                         const NodeInput& input, const ScriptLimits& limits) {
  NodeOutput output;
  HostNames names;
  AddNodeNames(names, input.missingCode);
  // Kept as values, so that their memory counts.
  std::vector<Value> messages;
  names.AddFunction("MsgBox", {1, 3, [&messages](Arguments arguments) {
                                 messages.push_back(Value::Text(ToText(arguments[0])));
                                 return Value();
                               }});
  Interpreter interpreter(CompileScript(scriptName, script, names), limits);

  const auto descriptor = MakeRef<InputDescriptorObject>();
  descriptor->dataSource = MakeRef<SpreadsheetObject>(*input.table);
  descriptor->id = 1;
  descriptor->lists[InputDescriptorObject::continuousPredictors] = input.continuousPredictors;
  descriptor->lists[InputDescriptorObject::categoricalPredictors] = input.categoricalPredictors;
  descriptor->lists[InputDescriptorObject::continuousDependents] = input.continuousDependents;
  descriptor->lists[InputDescriptorObject::categoricalDependents] = input.categoricalDependents;
  const auto dataIn = MakeRef<ArrayData>(Type::object, false);
  dataIn->Dimension({{1, 1}}, false);
  dataIn->Put(0, Value::Object(descriptor.get()));
  const auto dataOut = MakeRef<ArrayData>(Type::object, false);
  const Value arguments[] = {Value::Array(dataIn.get()), Value::Array(dataOut.get())};
  interpreter.Call("SubsetNode", arguments);

  for (const Value& message : messages) output.messages.emplace_back(message.text());
  const Ref<SpreadsheetObject> made = OutputOf(*dataOut);
  if (!made || made->table) {
    std::string reason;
    for (const std::string& message : output.messages) {
      reason += (reason.empty() ? "" : " ") + message;
    }
    throw ScriptError(ScriptError::Kind::run, scriptName, 1,
                      reason.empty() ? "the script gives no spreadsheet" : reason);
  }
  output.sheet = std::move(made->sheet);
  return output;
}

}  // namespace qrvml
