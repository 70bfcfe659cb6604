#include "datafile/table_scan.h"

#include <algorithm>
#include <span>

namespace qrvml {

namespace {

/// What the function shows; owned by the database.
struct Shown {
  const DataTable& table;
  std::string caseColumn;
  std::vector<std::string> columns;
};

/// One scan: the columns a query wants (0: the case number) and how far it has come.
struct Scan {
  std::vector<int> wanted;
  std::size_t chunk = 0, position = 0;
};

template <class T>
void Delete(void* object) {
  delete static_cast<T*>(object);
}

void AddColumn(duckdb_bind_info info, const std::string& name, duckdb_type id) {
  duckdb_logical_type type = duckdb_create_logical_type(id);
  duckdb_bind_add_result_column(info, name.c_str(), type);
  duckdb_destroy_logical_type(&type);
}

void Bind(duckdb_bind_info info) {
  const auto& shown = *static_cast<const Shown*>(duckdb_bind_get_extra_info(info));
  AddColumn(info, shown.caseColumn, DUCKDB_TYPE_BIGINT);
  for (int variable = 1; variable <= shown.table.NumberOfVariables(); ++variable) {
    AddColumn(info, shown.columns[static_cast<std::size_t>(variable - 1)],
              shown.table.At(variable).wasText ? DUCKDB_TYPE_VARCHAR : DUCKDB_TYPE_DOUBLE);
  }
  duckdb_bind_set_cardinality(info, static_cast<idx_t>(shown.table.NumberOfCases()), true);
}

void Init(duckdb_init_info info) {
  auto* scan = new Scan;
  for (idx_t i = 0; i < duckdb_init_get_column_count(info); ++i) {
    scan->wanted.push_back(static_cast<int>(duckdb_init_get_column_index(info, i)));
  }
  duckdb_init_set_max_threads(info, 1);
  duckdb_init_set_init_data(info, scan, Delete<Scan>);
}

void CopyNumbers(std::span<const double> cells, const Variable& variable, duckdb_vector to) {
  std::copy(cells.begin(), cells.end(), static_cast<double*>(duckdb_vector_get_data(to)));
  if (std::find(cells.begin(), cells.end(), variable.missingCode) == cells.end()) return;
  duckdb_vector_ensure_validity_writable(to);
  std::uint64_t* validity = duckdb_vector_get_validity(to);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i] == variable.missingCode) duckdb_validity_set_row_invalid(validity, i);
  }
}

void CopyTexts(std::span<const double> cells, const Variable& variable, duckdb_vector to) {
  duckdb_vector_ensure_validity_writable(to);
  std::uint64_t* validity = duckdb_vector_get_validity(to);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i] == variable.missingCode) {
      duckdb_validity_set_row_invalid(validity, i);
      continue;
    }
    const std::string& text = variable.labels[static_cast<std::size_t>(cells[i]) - 1].text;
    duckdb_vector_assign_string_element_len(to, i, text.data(), text.size());
  }
}

void Produce(duckdb_function_info info, duckdb_data_chunk output) {
  const DataTable& table = static_cast<const Shown*>(duckdb_function_get_extra_info(info))->table;
  Scan& scan = *static_cast<Scan*>(duckdb_function_get_init_data(info));
  if (scan.chunk == table.NumberOfChunks()) {
    duckdb_data_chunk_set_size(output, 0);
    return;
  }
  const std::size_t left = table.CasesIn(scan.chunk) - scan.position;
  const std::size_t cases = std::min<std::size_t>(left, duckdb_vector_size());
  for (std::size_t i = 0; i < scan.wanted.size(); ++i) {
    const int variable = scan.wanted[i];
    duckdb_vector to = duckdb_data_chunk_get_vector(output, i);
    if (variable == 0) {
      auto* numbers = static_cast<std::int64_t*>(duckdb_vector_get_data(to));
      const std::int64_t first =
          table.FirstCase(scan.chunk) + static_cast<std::int64_t>(scan.position);
      for (std::size_t k = 0; k < cases; ++k) numbers[k] = first + static_cast<std::int64_t>(k);
    } else if (variable <= table.NumberOfVariables()) {
      const auto cells = table.Column(scan.chunk, variable).subspan(scan.position, cases);
      const Variable& about = table.At(variable);
      about.wasText ? CopyTexts(cells, about, to) : CopyNumbers(cells, about, to);
    }
  }
  duckdb_data_chunk_set_size(output, cases);
  scan.position += cases;
  if (cases == left) {
    ++scan.chunk;
    scan.position = 0;
  }
}

}  // namespace

bool RegisterTableScan(duckdb_connection connection, const std::string& name,
                       const std::string& caseColumn, const DataTable& table,
                       const std::vector<std::string>& columns) {
  duckdb_table_function function = duckdb_create_table_function();
  duckdb_table_function_set_name(function, name.c_str());
  duckdb_table_function_set_extra_info(function, new Shown{table, caseColumn, columns},
                                       Delete<Shown>);
  duckdb_table_function_set_bind(function, Bind);
  duckdb_table_function_set_init(function, Init);
  duckdb_table_function_set_function(function, Produce);
  duckdb_table_function_supports_projection_pushdown(function, true);
  const bool registered = duckdb_register_table_function(connection, function) == DuckDBSuccess;
  duckdb_destroy_table_function(&function);
  return registered;
}

}  // namespace qrvml
