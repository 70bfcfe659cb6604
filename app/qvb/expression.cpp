#include "qvb/expression.h"

#include <algorithm>
#include <utility>

namespace qrvml {
namespace {

struct OperatorRow {
  std::string_view symbol;  // empty: the keyword
  int keyword;
  Operator op;
  int binding;  // higher binds more tightly
};

constexpr int kNotBinding = 4;
constexpr int kNegativeBinding = 11;

// All are left-associative; unary minus stands between ^ and *.
constexpr OperatorRow kOperators[] = {
    {"", kXor, Operator::differ, 1},
    {"", kOr, Operator::either, 2},
    {"", kAnd, Operator::both, 3},
    {"=", -1, Operator::equal, 5},
    {"<>", -1, Operator::notEqual, 5},
    {"<", -1, Operator::less, 5},
    {"<=", -1, Operator::lessOrEqual, 5},
    {"=<", -1, Operator::lessOrEqual, 5},
    {">", -1, Operator::greater, 5},
    {">=", -1, Operator::greaterOrEqual, 5},
    {"=>", -1, Operator::greaterOrEqual, 5},
    {"", kIs, Operator::is, 5},
    {"", kLike, Operator::like, 5},
    {"&", -1, Operator::join, 6},
    {"+", -1, Operator::add, 7},
    {"-", -1, Operator::subtract, 7},
    {"", kMod, Operator::modulo, 8},
    {"\\", -1, Operator::integerDivide, 9},
    {"*", -1, Operator::multiply, 10},
    {"/", -1, Operator::divide, 10},
    {"^", -1, Operator::power, 12},
};

const OperatorRow* FindOperator(const Token& token) {
  for (const OperatorRow& row : kOperators) {
    if (row.symbol.empty() ? token.Is(row.keyword) : token.Is(row.symbol)) return &row;
  }
  return nullptr;
}

}  // namespace

bool TokenReader::Accept(int keyword) {
  if (!Peek().Is(keyword)) return false;
  Take();
  return true;
}

bool TokenReader::Accept(std::string_view symbol) {
  if (!Peek().Is(symbol)) return false;
  Take();
  return true;
}

void TokenReader::Expect(int keyword) {
  if (!Accept(keyword)) FailExpected(KeywordText(keyword));
}

void TokenReader::Expect(std::string_view symbol) {
  if (!Accept(symbol)) FailExpected(symbol);
}

const Token& TokenReader::ExpectName(std::string_view what) {
  if (Peek().kind != Token::Kind::name || Peek().name < kKeywordCount) FailExpected(what);
  return Take();
}

bool TokenReader::AtStatementEnd() const {
  return AtLineEnd() || Peek().Is(":") || Peek().Is(kElse);
}

void TokenReader::FailExpected(std::string_view what) const {
  const Token& token = Peek();
  const std::string found = token.kind == Token::Kind::end ? "the end of the line"
                            : token.kind == Token::Kind::text
                                ? "\"" + std::string(token.text) + "\""
                                : std::string(token.text);
  Fail("expected " + std::string(what) + ", found " + found);
}

std::string TokenReader::TextOf(const Token& token) const {
  std::string text(token.text);
  for (std::size_t at = 0; (at = text.find("\"\"", at)) != std::string::npos; ++at) {
    text.erase(at, 1);
  }
  return text;
}

ExpressionPtr TokenReader::Grown(ExpressionPtr expression) const {
  const auto depthOf = [](const ExpressionPtr& part) { return part ? part->depth : 0; };
  int depth = std::max(depthOf(expression->left), depthOf(expression->right));
  for (const ExpressionPtr& argument : expression->arguments) {
    depth = std::max(depth, depthOf(argument));
  }
  expression->depth = depth + 1;
  if (expression->depth > kMostNesting) Fail("the expression is nested too deeply");
  return expression;
}

ExpressionPtr TokenReader::ReadExpression() {
  if (++nesting_ > kMostNesting) Fail("the expression is nested too deeply");
  ExpressionPtr expression = ReadBinary(0);
  --nesting_;
  return expression;
}

ExpressionPtr TokenReader::ReadBinary(int lowest) {
  ExpressionPtr left = ReadUnary(lowest);
  for (;;) {
    const OperatorRow* const row = FindOperator(Peek());
    if (!row || row->binding < lowest) return left;
    const int line = Take().line;
    auto whole = std::make_unique<Expression>(Expression::Kind::binary, line);
    whole->op = row->op;
    whole->left = std::move(left);
    whole->right = ReadBinary(row->binding + 1);
    left = Grown(std::move(whole));
  }
}

ExpressionPtr TokenReader::ReadUnary(int lowest) {
  const bool inverse = Peek().Is(kNot);
  const bool negative = Peek().Is("-");
  if (!inverse && !negative && !Peek().Is("+")) return ReadPrimary();
  if (++nesting_ > kMostNesting) Fail("the expression is nested too deeply");
  const int line = Take().line;
  // Behind an operator that binds more tightly, as in 2 ^ -x, the sign still takes what follows it.
  const int binding = std::max(lowest, inverse ? kNotBinding : kNegativeBinding);
  ExpressionPtr operand = ReadBinary(binding);
  --nesting_;
  if (!inverse && !negative) return operand;
  auto whole = std::make_unique<Expression>(
      inverse ? Expression::Kind::inverse : Expression::Kind::negative, line);
  whole->left = std::move(operand);
  return Grown(std::move(whole));
}

ExpressionPtr TokenReader::ReadPrimary() {
  const Token token = Peek();
  const auto constant = [&](Value value) {
    Take();
    auto whole = std::make_unique<Expression>(Expression::Kind::constant, token.line);
    whole->value = std::move(value);
    return whole;
  };
  switch (token.kind) {
    case Token::Kind::integer:
      return constant(Value::Integer(static_cast<std::int32_t>(token.number)));
    case Token::Kind::real:
      return constant(Value::Real(token.number));
    case Token::Kind::text:
      return constant(Value::Text(TextOf(token)));
    case Token::Kind::name:
      if (token.name == kTrue || token.name == kFalse) {
        return constant(Value::Boolean(token.name == kTrue));
      }
      if (token.name == kNothing) return constant(Value::Initial(Type::object));
      if (token.name == kNew) {
        Take();
        auto whole = std::make_unique<Expression>(Expression::Kind::newObject, token.line);
        whole->name = ExpectName("the name of a class").name;
        return whole;
      }
      if (token.name < kKeywordCount) FailExpected("an expression");
      return ReadTarget();
    case Token::Kind::symbol:
      if (token.text == "(") {
        Take();
        ExpressionPtr inner = ReadExpression();
        inner->parenthesised = true;
        Expect(")");
        return ReadPostfix(std::move(inner));
      }
      if (token.text == ".") return ReadTarget();
      break;
    case Token::Kind::end:
      break;
  }
  FailExpected("an expression");
}

ExpressionPtr TokenReader::ReadTarget() {
  const int line = Peek().line;
  if (Peek().Is(".")) {
    auto member = std::make_unique<Expression>(Expression::Kind::member, line);
    Take();
    if (Peek().kind != Token::Kind::name) FailExpected("the name of a member");
    member->name = Take().name;
    return ReadPostfix(std::move(member));
  }
  auto name = std::make_unique<Expression>(Expression::Kind::name, line);
  const Token& token = ExpectName("a name");
  name->name = token.name;
  name->suffix = token.suffix;
  return ReadPostfix(std::move(name));
}

ExpressionPtr TokenReader::ReadPostfix(ExpressionPtr start) {
  ExpressionPtr whole = std::move(start);
  std::size_t parenthesis = 0;
  for (;;) {
    if (Peek().Is("(")) {
      parenthesis = at_;
      const bool takes =
          (whole->kind == Expression::Kind::name || whole->kind == Expression::Kind::member) &&
          !whole->hasArguments && !whole->parenthesised;
      if (!takes) {
        auto applied = std::make_unique<Expression>(Expression::Kind::apply, Peek().line);
        applied->left = std::move(whole);
        whole = std::move(applied);
      }
      Take();
      whole->hasArguments = true;
      ReadArguments(whole->arguments, true);
      whole = Grown(std::move(whole));
    } else if (Peek().Is(".") && !(insideWith_ && Peek().blankBefore)) {
      parenthesis = 0;
      auto member = std::make_unique<Expression>(Expression::Kind::member, Peek().line);
      Take();
      if (Peek().kind != Token::Kind::name) FailExpected("the name of a member");
      member->name = Take().name;
      member->left = std::move(whole);
      whole = Grown(std::move(member));
    } else {
      lastParenthesis_ = parenthesis;
      return whole;
    }
  }
}

void TokenReader::ReadArguments(std::vector<ExpressionPtr>& arguments, bool closed) {
  if (closed && Accept(")")) return;
  for (;;) {
    const bool omitted = Peek().Is(",") || (closed ? Peek().Is(")") : AtStatementEnd());
    arguments.push_back(omitted
                            ? std::make_unique<Expression>(Expression::Kind::omitted, Peek().line)
                            : ReadExpression());
    if (closed && Accept(")")) return;
    if (!closed && AtStatementEnd()) return;
    if (!Peek().Is(",")) FailExpected(closed ? ", or )" : ", or the end of the statement");
    Take();
  }
}

}  // namespace qrvml
