// Selection conditions: expressions of the embedded database over the variables of a table.
//
// A numeric variable is a DOUBLE, a text variable is its texts, a missing cell is NULL. A case is
// selected when the condition is true; one that is NULL does not select it. A name with dots needs
// no quotes when it is a variable's name: Sepal.Length > 5.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "datafile/data_table.h"
#include "datafile/file_error.h"

namespace qrvml {

/// Sets selected[i] to 1 or 0 for case i + 1. False: `error` says what is wrong with the condition,
/// `selected` is untouched. The condition is one expression; it can read the table's cases, and
/// nothing else. Refused are more than one statement or column, parameters, subqueries, aggregates
/// other than over windows, and functions that answer differently from call to call.
bool EvaluateCondition(const DataTable& table, const std::string& condition,
                       std::vector<std::uint8_t>& selected, FileError& error);

}  // namespace qrvml
