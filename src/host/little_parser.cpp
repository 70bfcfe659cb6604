#include "host/little_parser.h"

#include <algorithm>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kSeparators = ",;|=()";

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

CLittleParser::Symbol CLittleParser::Next() {
  symbolText_.clear();
  while (place_ < text_.size() && kBlanks.find(text_[place_]) != kBlanks.npos) ++place_;
  if (place_ == text_.size()) return Symbol::end;
  if (text_[place_] == '"') {
    for (++place_; place_ < text_.size(); ++place_) {
      if (text_[place_] == '"') {
        if (place_ + 1 == text_.size() || text_[place_ + 1] != '"') break;
        ++place_;
      }
      symbolText_ += text_[place_];
    }
    if (place_ < text_.size()) ++place_;
    return Symbol::quoted;
  }
  if (kSeparators.find(text_[place_]) != kSeparators.npos) {
    symbolText_ = text_[place_++];
    return Symbol::other;
  }
  const auto stop = [&](char c) {
    return c == '"' || kBlanks.find(c) != kBlanks.npos || kSeparators.find(c) != kSeparators.npos;
  };
  while (place_ < text_.size() && !stop(text_[place_])) symbolText_ += text_[place_++];
  return TextToDouble(symbolText_, number_) ? Symbol::number : Symbol::name;
}

bool CLittleParser::Is(std::string_view text) const {
  return std::ranges::equal(symbolText_, text, [this](char a, char b) {
    return caseSensitive_ ? a == b : Lower(a) == Lower(b);
  });
}

}  // namespace qrvml
