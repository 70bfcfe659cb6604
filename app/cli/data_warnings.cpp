#include "cli/data_warnings.h"

#include <algorithm>

#include "datafile/data_table.h"
#include "host/list_text.h"

namespace qrvml {
namespace {

/// The variables that a member of an accepted list stands for.
std::vector<int> VariablesOf(const ListMember& member, const DataTable& table) {
  switch (member.kind) {
    case ListMember::Kind::name:
      return {table.FindVariable(member.name)};
    case ListMember::Kind::number:
      return {static_cast<int>(member.number)};
    case ListMember::Kind::range: {
      std::vector<int> variables;
      for (int v = static_cast<int>(member.number); v <= member.upper; ++v) variables.push_back(v);
      return variables;
    }
    default:
      return {};
  }
}

bool IsMissingEverywhere(const DataTable& table, int variable) {
  const double code = table.At(variable).missingCode;
  for (std::size_t chunk = 0; chunk < table.NumberOfChunks(); ++chunk) {
    const auto column = table.Column(chunk, variable);
    if (!std::ranges::all_of(column, [code](double value) { return value == code; })) return false;
  }
  return true;
}

}  // namespace

std::vector<std::string> WarningsAbout(std::string_view variables, const DataTable& table) {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  std::vector<std::string> warnings;
  if (!ParseListText(variables, lists, error)) return warnings;
  for (std::size_t list = 0; list < lists.size(); ++list) {
    // Categorical lists are the last of each pair, counted from the end: the first may be left out.
    const bool categorical = (lists.size() - list) % 2 == 1 || (lists.size() == 3 && list == 0);
    for (const ListMember& member : lists[list]) {
      for (const int v : VariablesOf(member, table)) {
        if (v < 1 || v > table.NumberOfVariables()) continue;
        const Variable& variable = table.At(v);
        if (categorical && table.HasTooManyCategories(v))
          warnings.push_back(variable.name + " has " + std::to_string(variable.distinctTexts) +
                             " different texts; a categorical variable may have " +
                             std::to_string(kMostCategories) + " categories");
        if (IsMissingEverywhere(table, v))
          warnings.push_back(variable.name + " is missing in every case");
      }
    }
  }
  return warnings;
}

}  // namespace qrvml
