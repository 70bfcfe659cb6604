// Reads a relation of the embedded database: a table of its own or of a file that it opens.
//
//   numbers     DOUBLE and what converts to it; a Boolean is 0 or 1; NaN is missing
//   texts       VARCHAR, ENUM, UUID, BLOB and the like: texts
//   dates       dates, timestamps (in UTC) and times become days with fractions
//   NULL        missing
//   nested      lists, structures, maps and unions are left out, with a note
// A whole number or decimal that no double holds exactly is rounded; 64-bit whole numbers with a
// note.
#pragma once

#include <span>
#include <string>

#include "datafile/duckdb_session.h"
#include "datafile/table_builder.h"

namespace qrvml {

struct Relation {
  std::string from;           // what stands behind FROM
  std::string columns = "*";  // what is read of it
  std::string position = {};  // the number of a row, from 0; empty: they are counted, which is slow
};

/// Reads every row into a builder without columns, on the session's threads. `names` are the
/// columns' names in order; empty: the database's own. Throws ReadFailure, also when fewer rows
/// arrive than the relation says it has.
void ReadRelation(DuckDbSession& session, const Relation& relation,
                  std::span<const std::string> names, TableBuilder& builder);

/// The rows of a query whose columns are all cast to VARCHAR; NULL is an empty text. Throws
/// ReadFailure, also when `watch`, which may be null, says that the reading shall end.
std::vector<std::vector<std::string>> ReadTexts(DuckDbSession& session, const std::string& query,
                                                ReadWatch* watch = nullptr);

}  // namespace qrvml
