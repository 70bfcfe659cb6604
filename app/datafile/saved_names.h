// Names of variables as the formats for saved data files allow them.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "datafile/format_writer.h"

namespace qrvml {

/// Names that all differ, `ignoreCase`: in more than the case of ASCII letters. Of equal ones the
/// first keeps its own, the others get the first of " (2)", " (3)", ... that makes a name which
/// nobody has.
std::vector<std::string> DistinctNames(std::span<const std::string> names, bool ignoreCase);

/// Names as a .sav file allows them. A name is left as it is when it is legal; else
/// - every ASCII character but letters, digits and . _ @ # $, and every blank beyond ASCII, becomes
///   _ (so does a point at the end),
/// - V_ is put before a name that begins with neither a letter nor @,
/// - _ is put behind a word of the format's language (ALL, AND, BY, ...),
/// - what exceeds 64 bytes of UTF-8 is cut, between characters,
/// - a name that differs from another only in the case of ASCII letters gets _2, _3, ... behind it
///   (cut to make room). Legal names come first, then the order of the variables counts.
std::vector<std::string> SavNames(std::span<const SavedVariable> variables);

/// Adds a sentence about the variables whose names had to change, if there are any.
void NoteRenamed(std::span<const SavedVariable> variables, std::span<const std::string> names,
                 std::vector<std::string>& changes);

}  // namespace qrvml
