#include "documents/json_writer.h"

#include <charconv>
#include <cmath>

#include "documents/display_width.h"

namespace qrvml {

void JsonWriter::Separate() {
  if (!hasItems_.empty()) {
    if (hasItems_.back()) out_ += ',';
    hasItems_.back() = true;
  }
  if (breakLine_) out_ += '\n';
  breakLine_ = false;
}

void JsonWriter::BeforeValue() {
  if (afterKey_) {
    afterKey_ = false;
  } else {
    Separate();
  }
}

void JsonWriter::Open(char bracket) {
  BeforeValue();
  out_ += bracket;
  hasItems_.push_back(false);
}

void JsonWriter::Close(char bracket) {
  hasItems_.pop_back();
  if (breakLine_) out_ += '\n';
  breakLine_ = false;
  out_ += bracket;
}

void JsonWriter::Key(std::string_view name) {
  Separate();
  Quote(name);
  out_ += ':';
  afterKey_ = true;
}

void JsonWriter::Quote(std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  out_ += '"';
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char32_t point = NextCodePoint(text, at);
    if (point == '"' || point == '\\') {
      out_ += '\\';
      out_ += static_cast<char>(point);
    } else if (point == '\n') {
      out_ += "\\n";
    } else if (point < 0x20) {
      out_ += "\\u00";
      out_ += kHex[point >> 4];
      out_ += kHex[point & 15];
    } else if (point == 0xFFFD) {
      out_ += "\xEF\xBF\xBD";
    } else {
      out_ += text.substr(begin, at - begin);
    }
  }
  out_ += '"';
}

void JsonWriter::String(std::string_view text) {
  BeforeValue();
  Quote(text);
}

void JsonWriter::Number(double value) {
  if (!std::isfinite(value)) return Null();
  BeforeValue();
  if (value == 0 && std::signbit(value)) {
    out_ += "-0.0";  // a reader takes "-0" for an integer, which has no sign at 0
    return;
  }
  char buffer[64];
  // to_chars without a format writes the shortest text of fixed and exponent notation; whole
  // numbers up to 2^53 stay free of an exponent.
  const bool whole = value == std::floor(value) && std::abs(value) <= 9007199254740992.0;
  const auto end =
      whole ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr
            : std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  out_ += std::string_view(buffer, static_cast<std::size_t>(end - buffer));
}

void JsonWriter::Boolean(bool value) {
  BeforeValue();
  out_ += value ? "true" : "false";
}

void JsonWriter::Null() {
  BeforeValue();
  out_ += "null";
}

}  // namespace qrvml
