// Finds out how a delimited text is written, from its header and first records.
#pragma once

#include <optional>
#include <string_view>

#include "datafile/text_fields.h"

namespace qrvml {

/// The delimiter that a sample (the start of a file, from its header on) is written with.
///
/// Of tab, semicolon and comma it is the one that cuts the header into several fields and most of
/// the first records into as many; among equals the one with more fields, then in the order given
/// here, since a comma stands within texts and numbers more often than a semicolon does. Where none
/// cuts the header the file has one column; its delimiter is then the comma, or the semicolon where
/// every comma of the first records is a decimal comma.
char FindDelimiter(std::string_view sample);

/// The decimal mark of a sample: the comma when more columns of the first records are numbers only
/// with it than only with the point.
char FindDecimal(std::string_view sample, char delimiter);

/// "tab" or a single character that can delimit fields: no letter, digit, quote, line break, and
/// nothing that numbers are made of but the comma.
std::optional<char> DelimiterFromOption(std::string_view text);

}  // namespace qrvml
