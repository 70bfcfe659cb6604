// A statement's expressions as trees, and the reader of their tokens.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qvb/conversion.h"
#include "qvb/lexer.h"
#include "qvb/value.h"

namespace qrvml {

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

/// How deep expressions and blocks may be nested.
inline constexpr int kMostNesting = 200;

struct Expression {
  enum class Kind {
    constant,   // value
    name,       // name, with arguments if hasArguments
    member,     // left.name, with arguments if hasArguments; without left: of the With object
    apply,      // left(arguments): an index of what left gives
    negative,   // -left
    inverse,    // Not left
    binary,     // left op right
    newObject,  // New name
    omitted,    // an argument that was left out
  };

  explicit Expression(Kind which, int lineNumber) : kind(which), line(lineNumber) {}

  Kind kind;
  Operator op = Operator::add;
  bool hasArguments = false;
  bool parenthesised = false;  // (x): a value, never a reference
  Type suffix = Type::variant;
  int name = -1;
  int line;
  int depth = 1;
  Value value;
  ExpressionPtr left;
  ExpressionPtr right;
  std::vector<ExpressionPtr> arguments;
};

/// Reads the tokens of one logical line.
class TokenReader {
 public:
  TokenReader(const Lexer& lexer, const NameTable& names) : lexer_(lexer), names_(names) {}

  void Start(std::vector<Token>& tokens) {
    tokens_.swap(tokens);
    at_ = 0;
  }

  const Token& Peek(std::size_t ahead = 0) const {
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
  }
  const Token& Take() { return tokens_[at_ + 1 < tokens_.size() ? at_++ : at_]; }
  std::size_t place() const { return at_; }
  void Seek(std::size_t place) { at_ = place; }

  bool Accept(int keyword);
  bool Accept(std::string_view symbol);
  void Expect(int keyword);
  void Expect(std::string_view symbol);
  /// A name that is no keyword.
  const Token& ExpectName(std::string_view what);
  /// True at the end of the line or before `:` or Else, which end a statement.
  bool AtStatementEnd() const;
  bool AtLineEnd() const { return Peek().kind == Token::Kind::end; }

  ExpressionPtr ReadExpression();
  /// A name, member or index chain, without operators: what can be assigned to or called.
  ExpressionPtr ReadTarget();
  /// Arguments up to the end of the statement, or up to `)` when `closed`, which is taken.
  void ReadArguments(std::vector<ExpressionPtr>& arguments, bool closed);
  std::string TextOf(const Token& token) const;  // of a text token
  /// Where the parenthesis of the last arguments of the target read last stands; 0 without one.
  std::size_t lastParenthesis() const { return lastParenthesis_; }
  /// Inside a With block a point behind a blank begins a member of the With object.
  void SetInsideWith(bool inside) { insideWith_ = inside; }

  /// "expected WHAT, found TOKEN"
  [[noreturn]] void FailExpected(std::string_view what) const;
  [[noreturn]] void Fail(const std::string& reason) const { lexer_.Fail(Peek().line, reason); }
  const NameTable& names() const { return names_; }

 private:
  ExpressionPtr ReadBinary(int lowest);
  ExpressionPtr ReadUnary(int lowest);
  ExpressionPtr ReadPrimary();
  ExpressionPtr ReadPostfix(ExpressionPtr start);
  ExpressionPtr Grown(ExpressionPtr expression) const;

  const Lexer& lexer_;
  const NameTable& names_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int nesting_ = 0;
  std::size_t lastParenthesis_ = 0;
  bool insideWith_ = false;
};

}  // namespace qrvml
