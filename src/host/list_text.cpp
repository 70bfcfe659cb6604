#include "host/list_text.h"

#include <algorithm>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f\v";
constexpr std::string_view kEndsOfWord = " \t\r\n\f\v|\"";

bool IsBlank(char c) { return kBlanks.find(c) != std::string_view::npos; }

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Splits "2-5"; both ends are unsigned integers.
bool ReadRange(std::string_view word, double& first, double& last) {
  const std::size_t dash = word.find('-');
  if (dash == std::string_view::npos) return false;
  const std::string_view from = word.substr(0, dash), to = word.substr(dash + 1);
  return IsDigits(from) && IsDigits(to) && TextToDouble(from, first) && TextToDouble(to, last);
}

ListMember ReadWord(std::string_view word) {
  ListMember member;
  if (word == "*") {
    member.kind = ListMember::Kind::all;
  } else if (word == "None") {
    member.kind = ListMember::Kind::none;
  } else if (TextToDouble(word, member.number)) {
    member.kind = ListMember::Kind::number;
  } else if (ReadRange(word, member.number, member.upper)) {
    member.kind = ListMember::Kind::range;
  } else {
    member.name = word;
  }
  return member;
}

/// Reads a quoted member whose opening quote stands at `at`; leaves `at` behind the closing one.
bool ReadQuoted(std::string_view text, std::size_t& at, std::string& name) {
  for (++at; at < text.size(); ++at) {
    if (text[at] != '"') {
      name += text[at];
    } else if (at + 1 < text.size() && text[at + 1] == '"') {
      name += '"';
      ++at;
    } else {
      ++at;
      return true;
    }
  }
  return false;
}

std::string At(std::string what, std::size_t column) {
  return std::move(what) + " at character " + std::to_string(column);
}

}  // namespace

bool ParseListText(std::string_view text, std::vector<std::vector<ListMember>>& lists,
                   std::string& error) {
  std::vector<std::vector<ListMember>> parsed(1);
  for (std::size_t at = 0; at < text.size();) {
    if (IsBlank(text[at])) {
      ++at;
      continue;
    }
    if (text[at] == '|') {
      parsed.emplace_back();
      ++at;
      continue;
    }
    const std::size_t column = at + 1;
    ListMember member;
    if (text[at] == '"') {
      member.quoted = true;
      if (!ReadQuoted(text, at, member.name)) {
        error = At("the double quote", column) + " is not closed";
        return false;
      }
    } else {
      const std::size_t end = std::min(text.find_first_of(kEndsOfWord, at), text.size());
      member = ReadWord(text.substr(at, end - at));
      at = end;
    }
    if (at < text.size() && !IsBlank(text[at]) && text[at] != '|') {
      error = At(member.quoted ? "a blank or | is missing behind the double quote"
                               : "a double quote inside a word",
                 at + 1);
      return false;
    }
    if (member.kind == ListMember::Kind::range && member.upper < member.number) {
      error = At("a range that runs backwards", column);
      return false;
    }
    member.column = column;
    parsed.back().push_back(std::move(member));
  }
  lists = std::move(parsed);
  return true;
}

std::string MemberText(std::string_view name) {
  const bool plain = !name.empty() && name.find_first_of(kEndsOfWord) == std::string_view::npos &&
                     ReadWord(name).kind == ListMember::Kind::name;
  if (plain) return std::string(name);
  std::string text = "\"";
  for (const char c : name) {
    if (c == '"') text += '"';
    text += c;
  }
  return text += '"';
}

std::string ListText(std::span<const std::vector<std::string>> lists) {
  std::string text;
  for (std::size_t list = 0; list < lists.size(); ++list) {
    if (list > 0) text += " | ";
    for (std::size_t i = 0; i < lists[list].size(); ++i) {
      if (i > 0) text += ' ';
      text += lists[list][i];
    }
  }
  return text;
}

}  // namespace qrvml
