// The columns that UTF-8 text takes on a terminal, and text made fit for one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qrvml {

/// Columns of a text: 2 for East Asian wide characters, 0 for combining marks, 1 for the rest.
std::size_t DisplayWidth(std::string_view text);

/// The longest beginning of `text` that takes at most `width` columns.
std::string CutToWidth(std::string_view text, std::size_t width);

/// The text with control characters as blanks and bytes that are no UTF-8 as U+FFFD.
std::string PrintableText(std::string_view text);

/// Reads the code point at `at` and moves behind it; U+FFFD, one byte on, where there is none.
char32_t NextCodePoint(std::string_view text, std::size_t& at);

}  // namespace qrvml
