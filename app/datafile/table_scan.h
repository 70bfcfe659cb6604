// A table as a table function of the embedded database.
#pragma once

#include <duckdb.h>

#include <string>
#include <vector>

#include "datafile/data_table.h"

namespace qrvml {

/// Registers `name()` on the connection. Its first column, `caseColumn` (BIGINT), is the number of
/// the case; then comes each variable under the name in `columns`: DOUBLE, or VARCHAR for a text
/// variable; a missing cell is NULL. Only columns that a query uses are read. False: the function
/// cannot be registered. The table must outlive the connection.
bool RegisterTableScan(duckdb_connection connection, const std::string& name,
                       const std::string& caseColumn, const DataTable& table,
                       const std::vector<std::string>& columns);

}  // namespace qrvml
