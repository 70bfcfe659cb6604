// The host's parser of short texts that automation hands over: symbol after symbol.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qrvml {

class CLittleParser {
 public:
  enum class Symbol {
    end,
    number,  // a decimal number: TextToDouble reads it
    name,    // a run of other characters up to a blank or a separator
    quoted,  // a text in double quotes; a double quote inside is doubled
    other,   // a separator: , ; | = ( )
  };

  explicit CLittleParser(std::string_view text, bool caseSensitive = true)
      : text_(text), caseSensitive_(caseSensitive) {}

  /// Reads the next symbol.
  Symbol Next();
  /// The symbol read last: the text (without quotes) and, of a number, its value.
  const std::string& text() const { return symbolText_; }
  double number() const { return number_; }
  /// Whether the last symbol's text is `text`, by the parser's case rule.
  bool Is(std::string_view text) const;

 private:
  std::string_view text_;
  bool caseSensitive_;
  std::size_t place_ = 0;
  std::string symbolText_;
  double number_ = 0;
};

}  // namespace qrvml
