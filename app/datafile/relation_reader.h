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

/// Reads every row of `relation`, which is what can stand behind FROM, into a builder without
/// columns. `names` are the columns' names in order; empty: the database's own. Throws ReadFailure,
/// also when fewer rows arrive than the relation says it has.
void ReadRelation(DuckDbSession& session, const std::string& relation,
                  std::span<const std::string> names, TableBuilder& builder);

/// The rows of a query whose columns are all cast to VARCHAR; NULL is an empty text. Throws
/// ReadFailure.
std::vector<std::vector<std::string>> ReadTexts(DuckDbSession& session, const std::string& query);

}  // namespace qrvml
