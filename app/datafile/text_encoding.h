// The two encodings of delimited text: UTF-8 and Windows-1252.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qrvml {

enum class TextEncoding { utf8, windows1252 };

/// The position of the first byte that is not part of valid UTF-8 (The Unicode Standard, table
/// 3-7: no overlong forms, no surrogates, nothing above U+10FFFF); npos when all of it is valid.
std::size_t FindInvalidUtf8(std::string_view text);

/// Decodes Windows-1252 to UTF-8. The five bytes that the code page leaves open become the control
/// characters of the same number, so different texts stay different.
std::string DecodeWindows1252(std::string_view text);

/// A text of unknown encoding: UTF-8 when it is valid UTF-8, else Windows-1252.
std::string AsUtf8(std::string_view text);

}  // namespace qrvml
