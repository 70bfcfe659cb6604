// Reads Parquet through the embedded database; see relation_reader.h for what its columns become.
// Names are the file's own, case and all.
#pragma once

#include <string>

#include "datafile/reader.h"

namespace qrvml {

bool ReadParquetFile(const std::string& path, const ReadOptions& options, DataTable& table,
                     FileError& error);

}  // namespace qrvml
