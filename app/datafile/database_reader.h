// Reads a database file of DuckDB: the workbench's own data file (qrv_format.h), with everything
// that an open data file knows, or any other one that holds a single table.
#pragma once

#include <string>

#include "datafile/reader.h"

namespace qrvml {

bool ReadDatabaseFile(const std::string& path, const ReadOptions& options, DataTable& table,
                      FileError& error);

}  // namespace qrvml
