# DuckDB::DuckDB, the prebuilt library and its C header that scripts/setup-duckdb unpacks.
set(DuckDB_ROOT "${CMAKE_SOURCE_DIR}/third_party/duckdb")
find_file(DuckDB_LIBRARY libduckdb.so PATHS "${DuckDB_ROOT}/lib" NO_DEFAULT_PATH)
find_path(DuckDB_INCLUDE_DIR duckdb.h PATHS "${DuckDB_ROOT}/include" NO_DEFAULT_PATH)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  DuckDB REQUIRED_VARS DuckDB_LIBRARY DuckDB_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "run scripts/setup-duckdb first")

if(DuckDB_FOUND AND NOT TARGET DuckDB::DuckDB)
  add_library(DuckDB::DuckDB SHARED IMPORTED)
  set_target_properties(
    DuckDB::DuckDB PROPERTIES IMPORTED_LOCATION "${DuckDB_LIBRARY}" IMPORTED_SONAME libduckdb.so
                              INTERFACE_INCLUDE_DIRECTORIES "${DuckDB_INCLUDE_DIR}")
endif()
mark_as_advanced(DuckDB_LIBRARY DuckDB_INCLUDE_DIR)
