// What a generated script meets as a node of a workflow: its input descriptors, the spreadsheets it
// reads and writes, and the run of one script on one table.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvb/interpreter.h"
#include "qvb/script_object.h"

namespace qrvml {

/// The data that a node reads. Cases and variables are numbered from 1.
class NodeTable {
 public:
  virtual ~NodeTable() = default;
  virtual int Cases() const = 0;
  virtual int Variables() const = 0;
  /// Missing cells hold the missing code of NodeInput.
  virtual double Value(int caseNumber, int variable) const = 0;
  virtual std::string CaseName(int caseNumber) const = 0;
  virtual std::string VariableName(int variable) const = 0;
};

/// What a script made: numbers in columns of one length, empty texts where it gave no names.
struct NodeSheet {
  int cases = 0;
  std::vector<std::vector<double>> columns;
  std::map<int, std::string> caseNames;
  std::map<int, std::string> variableNames;
};

/// `Spreadsheet`. A cell beyond the size that is written makes the sheet grow, its new cells
/// missing; one that is read is out of range. Over a table it can only be read.
class SpreadsheetObject final : public TableObject<SpreadsheetObject> {
 public:
  explicit SpreadsheetObject(double missing) : missingCode(missing) {}
  /// The table must outlive the object.
  explicit SpreadsheetObject(const NodeTable& readTable) : table(&readTable) {}

  std::string_view ClassName() const override { return "Spreadsheet"; }
  static std::span<const MemberRow<SpreadsheetObject>> Rows();

  int Cases() const { return table ? table->Cases() : sheet.cases; }
  int Variables() const {
    return table ? table->Variables() : static_cast<int>(sheet.columns.size());
  }
  /// Throws ScriptFault for a size that makes no sense, and ScriptStop at the limit of memory.
  void Resize(std::int64_t cases, std::int64_t variables);
  void Grow(std::int64_t cases, std::int64_t variables);
  void CheckWritable() const;
  /// Gives a case or a variable its name; the memory of names counts too.
  void SetName(std::map<int, std::string>& names, int number, std::string name);
  /// 1 to `last`; throws subscript.
  static int Place(const Value& index, int last);

  const NodeTable* table = nullptr;
  NodeSheet sheet;
  double missingCode = -9999;
  bool inputSpreadsheet = false;  // whether nodes behind this one may read it

 private:
  std::size_t nameBytes_ = 0;
};

/// `InputDescriptor`: a data source and the variables that are chosen from it.
class InputDescriptorObject final : public TableObject<InputDescriptorObject> {
 public:
  enum List {
    continuousPredictors,
    categoricalPredictors,
    continuousDependents,
    categoricalDependents,
    listCount
  };

  std::string_view ClassName() const override { return "InputDescriptor"; }
  static std::span<const MemberRow<InputDescriptorObject>> Rows();

  Ref<SpreadsheetObject> dataSource;
  std::vector<int> lists[listCount];  // numbers of variables
  std::int32_t id = 0;
  std::int32_t sourceId = 0;
};

/// `Spreadsheet`, `InputDescriptor` and `MissingCode`.
void AddNodeNames(HostNames& names, double missingCode);

struct NodeInput {
  const NodeTable* table = nullptr;
  std::vector<int> continuousPredictors;  // numbers of variables, in the order of the model
  std::vector<int> categoricalPredictors;
  std::vector<int> continuousDependents;  // may be empty: residuals are then out of reach
  std::vector<int> categoricalDependents;
  double missingCode = -9999;
};

struct NodeOutput {
  NodeSheet sheet;
  std::vector<std::string> messages;  // that the script showed
};

/// Runs the script's SubsetNode on one input, as a workflow does. Throws ScriptError, also when the
/// script leaves no sheet: the reason is then what it showed.
NodeOutput RunNodeScript(const std::string& scriptName, std::string_view script,
                         const NodeInput& input, const ScriptLimits& limits);

}  // namespace qrvml
