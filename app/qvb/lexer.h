// A script's text as logical lines of tokens.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qvb/value.h"

namespace qrvml {

/// A number for each name; upper and lower case are alike.
class NameTable {
 public:
  /// The same number for the same name, from 0 in the order in which names came.
  int Number(std::string_view name);
  /// In lower case.
  const std::string& Lower(int name) const { return names_[static_cast<std::size_t>(name)]; }

 private:
  std::deque<std::string> names_;
  std::unordered_map<std::string_view, int> numbers_;
};

/// Words of the language, which no variable can be named. Their numbers in every NameTable that was
/// filled by AddKeywords.
enum Keyword : int {
  kAnd,
  kAs,
  kByRef,
  kByVal,
  kCall,
  kCase,
  kConst,
  kDim,
  kDo,
  kEach,
  kElse,
  kElseIf,
  kEnd,
  kEndIf,
  kEnum,
  kErase,
  kError,
  kExit,
  kFalse,
  kFor,
  kFunction,
  kGoTo,
  kIf,
  kIn,
  kIs,
  kLet,
  kLike,
  kLoop,
  kMod,
  kNew,
  kNext,
  kNot,
  kNothing,
  kOn,
  kOption,
  kOptional,
  kOr,
  kPreserve,
  kPrivate,
  kPublic,
  kReDim,
  kRem,
  kResume,
  kSelect,
  kSet,
  kStatic,
  kStep,
  kSub,
  kThen,
  kTo,
  kTrue,
  kUntil,
  kWend,
  kWhile,
  kWith,
  kXor,
  kKeywordCount
};
void AddKeywords(NameTable& names);
std::string_view KeywordText(int keyword);

struct Token {
  enum class Kind : std::uint8_t { end, name, integer, real, text, symbol };

  Kind kind = Kind::end;
  // What the name's suffix says: % Integer, # and ! Double, $ String, else variant.
  Type suffix = Type::variant;
  bool blankBefore = false;
  int name = -1;          // of a name
  int line = 0;           // where it stands
  double number = 0;      // of integer and real
  std::string_view text;  // as written; of a text the content with doubled quotes still doubled

  bool Is(int keyword) const { return kind == Kind::name && name == keyword; }
  bool Is(std::string_view symbol) const {
    // One or two characters: a call of the library's comparison would be most of the work.
    return kind == Kind::symbol && text.size() == symbol.size() && text[0] == symbol[0] &&
           text.back() == symbol.back();
  }
};

/// Reads one logical line after the other: physical lines that " _" joins are one. Empty lines and
/// comments are left out. The source must outlive the tokens.
class Lexer {
 public:
  /// Errors name the script. Throws ScriptError for what is no token.
  Lexer(std::string scriptName, std::string_view source, NameTable& names);

  /// The next line with at least one token, and an end token behind its last; false at the end.
  bool NextLine(std::vector<Token>& tokens);

  /// Passes over physical lines in which no word of `first` (characters, in lower case) begins and
  /// no statement separator stands, as most lines of a generated procedure.
  void SkipPlainLines(std::string_view first);

  /// Where the next line begins; Seek goes back there.
  struct Place {
    std::size_t at = 0;
    int line = 1;
  };
  Place place() const { return place_; }
  void Seek(Place place) { place_ = place; }

  const std::string& script() const { return script_; }
  int line() const { return place_.line; }  // of what is read next

  struct Include {
    std::string name;
    int line = 0;
  };
  /// The files that comments of the form `'#Uses "NAME"` or `'#Include "NAME"` ask for, in the
  /// lines that were read.
  const std::vector<Include>& includes() const { return includes_; }

  [[noreturn]] void Fail(int line, const std::string& reason) const;

 private:
  bool SkipBlanks();
  void ReadComment(bool first);
  void ReadName(Token& token);
  void ReadNumber(Token& token);
  /// 16 or 8 where a number like &H1F begins, else 0: `a &hat` joins two names.
  int BaseHere() const;
  void ReadBasedNumber(Token& token, int base);
  void ReadText(Token& token);
  void ReadSymbol(Token& token);
  bool EndOfLine() const;
  void TakeLineEnd();
  char At(std::size_t offset) const {
    return place_.at + offset < source_.size() ? source_[place_.at + offset] : '\n';
  }

  std::string script_;
  std::string_view source_;
  NameTable& names_;
  Place place_;
  std::vector<Include> includes_;
};

}  // namespace qrvml
