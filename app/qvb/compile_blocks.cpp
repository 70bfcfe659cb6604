// Statements that hold others.
#include <utility>

#include "qvb/compile_scopes.h"
#include "qvb/compiler_state.h"

namespace qrvml {

/// Takes the closing word, after what came before it on its line.
void Compiler::EndBlock() { Mark(reader_->Peek().line); }

/// `End If`, `End Select`, ...
void Compiler::EndBlockWith(int keyword) {
  EndBlock();
  if (keyword == kIf && reader_->Accept(kEndIf)) return;
  if (!reader_->Peek().Is(kEnd) || !reader_->Peek(1).Is(keyword)) {
    reader_->FailExpected("End " + std::string(KeywordText(keyword)));
  }
  reader_->Take();
  reader_->Take();
}

void Compiler::CompileIf() {
  std::vector<std::size_t> toElse;
  const ExpressionPtr condition = reader_->ReadExpression();
  CompileJumpUnless(*condition, toElse);
  const bool goTo = reader_->Peek().Is(kGoTo);
  if (!goTo) reader_->Expect(kThen);
  if (!reader_->AtLineEnd()) return CompileLineIf(toElse);

  std::vector<std::size_t> toEnd;
  CompileStatements();
  for (;;) {
    const int line = reader_->Peek().line;
    if (reader_->Accept(kElseIf) || (reader_->Peek().Is(kElse) && reader_->Peek(1).Is(kIf) &&
                                     reader_->Accept(kElse) && reader_->Accept(kIf))) {
      toEnd.push_back(Emit(Op::jump));
      JumpHere(std::exchange(toElse, {}));
      Mark(line);
      const ExpressionPtr next = reader_->ReadExpression();
      CompileJumpUnless(*next, toElse);
      reader_->Expect(kThen);
      CompileStatements();
    } else if (reader_->Accept(kElse)) {
      toEnd.push_back(Emit(Op::jump));
      JumpHere(std::exchange(toElse, {}));
      CompileStatements();
      break;
    } else {
      break;
    }
  }
  JumpHere(toElse);
  EndBlockWith(kIf);
  JumpHere(toEnd);
}

/// `If c Then a : b Else d` on one line.
void Compiler::CompileLineIf(const std::vector<std::size_t>& elseJumps) {
  LevelGuard level(nesting_);
  if (nesting_ > kMostNesting) Fail(reader_->Peek().line, "blocks are nested too deeply");
  const auto statements = [this] {
    if (reader_->Peek().kind == Token::Kind::integer) CompileGoTo();
    while (!reader_->AtLineEnd() && !reader_->Peek().Is(kElse)) {
      if (reader_->Accept(":")) continue;
      if (AtClosingWord()) return;
      CompileStatement();
      if (!reader_->AtStatementEnd() && !AtClosingWord()) {
        reader_->FailExpected("the end of the statement");
      }
    }
  };
  statements();
  if (!reader_->Accept(kElse)) return JumpHere(elseJumps);
  const std::size_t toEnd = Emit(Op::jump);
  JumpHere(elseJumps);
  statements();
  JumpHere({toEnd});
}

/// Behind a loop's body: `Next`, with or without the name of its variable.
void Compiler::CloseNext(int name) {
  if (!std::exchange(nextContinues_, false)) {
    EndBlock();
    if (!reader_->Accept(kNext)) reader_->FailExpected("Next");
    if (reader_->AtStatementEnd()) return;
  }
  const Token token = reader_->ExpectName("the variable of the loop");
  if (token.name != name) {
    Fail(token.line, "expected Next " + Written(name) + ", found Next " + std::string(token.text));
  }
  nextContinues_ = reader_->Accept(",");
}

void Compiler::CompileFor() {
  const Token token = reader_->ExpectName("the variable of the loop");
  ScriptVariable* const found = FindVariable(token.name);
  const ScriptVariable variable =
      found ? *found : ImplicitVariable(token.name, token.suffix, token.line);
  const bool numeric = variable.type == Type::integer || variable.type == Type::real ||
                       variable.type == Type::variant;
  if (variable.constant || variable.array || !numeric) {
    Fail(token.line, "`" + std::string(token.text) + "` cannot count a loop");
  }
  reader_->Expect("=");
  const ExpressionPtr first = reader_->ReadExpression();
  reader_->Expect(kTo);
  const ExpressionPtr last = reader_->ReadExpression();
  ExpressionPtr stepWritten;
  if (reader_->Accept(kStep)) stepWritten = reader_->ReadExpression();

  // A reference is counted like a variant: through what it points to.
  const Type type = variable.byReference ? Type::variant : variable.type;
  const auto kept = [&](const Result& value) {
    const Operand place = MakeOperand(kRegister, NewRegister(Type::variant));
    const Result typed = type == Type::variant ? value : InType(value, type);
    Emit(Op::move, place, typed.place);
    return place;
  };
  const Result start = Kept(CompileExpression(*first), *last);
  const Operand limit = kept(CompileExpression(*last));
  Result stepValue{Constant(Value::Integer(1)), Type::integer};
  if (stepWritten) stepValue = CompileExpression(*stepWritten);
  const auto constantStep = ConstantOf(stepValue);
  const bool byOne =
      constantStep && constantStep->tag == Tag::integer && constantStep->integer == 1;
  const Operand step = constantStep
                           ? (type == Type::variant ? stepValue : InType(stepValue, type)).place
                           : kept(stepValue);
  StoreVariable(variable, start);

  const Op begin = type == Type::integer ? Op::forI : type == Type::real ? Op::forR : Op::forV;
  const Op next = type == Type::real      ? Op::nextR
                  : type == Type::variant ? Op::nextV
                  : byOne                 ? Op::nextI1
                                          : Op::nextI;
  draft_->blocks.push_back({kFor, {}});
  const std::size_t leave = Emit(begin, variable.place, limit, step);
  const std::uint32_t body = Here();
  CompileStatements();
  CloseNext(token.name);
  Emit(next, variable.place, limit, step, body);
  JumpHere({leave});
  JumpHere(draft_->blocks.back().exits);
  draft_->blocks.pop_back();
}

void Compiler::CompileForEach() {
  const Token token = reader_->ExpectName("the variable of the loop");
  ScriptVariable* const found = FindVariable(token.name);
  const ScriptVariable variable =
      found ? *found : ImplicitVariable(token.name, token.suffix, token.line);
  if (variable.constant || variable.array) {
    Fail(token.line, "`" + std::string(token.text) + "` cannot take elements");
  }
  reader_->Expect(kIn);
  const ExpressionPtr list = reader_->ReadExpression();
  const Operand array = MakeOperand(kRegister, NewRegister(Type::variant));
  const Operand position = MakeOperand(kRegister, NewRegister(Type::variant));
  const Operand element = MakeOperand(kRegister, NewRegister(Type::variant));
  Emit(Op::move, array, CompileExpression(*list).place);
  draft_->blocks.push_back({kFor, {}});
  const std::size_t leave = Emit(Op::eachFirst, element, array, position);
  const std::uint32_t body = Here();
  StoreVariable(variable, {element, Type::variant});
  CompileStatements();
  CloseNext(token.name);
  Emit(Op::eachNext, element, array, position, body);
  JumpHere({leave});
  JumpHere(draft_->blocks.back().exits);
  draft_->blocks.pop_back();
}

void Compiler::CompileDo() {
  draft_->blocks.push_back({kDo, {}});
  const std::uint32_t start = Here();
  std::vector<std::size_t> leave;
  // Until c is While Not c; both are read the same way before and behind the body.
  const auto test = [this](std::vector<std::size_t>& jumpsWhenDone) {
    if (reader_->Accept(kWhile)) {
      const ExpressionPtr condition = reader_->ReadExpression();
      CompileJumpUnless(*condition, jumpsWhenDone);
      return true;
    }
    if (reader_->Accept(kUntil)) {
      const ExpressionPtr condition = reader_->ReadExpression();
      jumpsWhenDone.push_back(Emit(Op::jumpTrue, CompileExpression(*condition).place));
      return true;
    }
    return false;
  };
  const bool tested = test(leave);
  CompileStatements();
  EndBlock();
  if (!reader_->Accept(kLoop)) reader_->FailExpected("Loop");
  if (!tested) test(leave);
  Emit(Op::jump, 0, 0, 0, start);
  JumpHere(leave);
  JumpHere(draft_->blocks.back().exits);
  draft_->blocks.pop_back();
}

void Compiler::CompileWhile() {
  draft_->blocks.push_back({kWhile, {}});
  const std::uint32_t start = Here();
  std::vector<std::size_t> leave;
  const ExpressionPtr condition = reader_->ReadExpression();
  CompileJumpUnless(*condition, leave);
  CompileStatements();
  EndBlock();
  if (!reader_->Accept(kWend)) reader_->FailExpected("Wend");
  Emit(Op::jump, 0, 0, 0, start);
  JumpHere(leave);
  JumpHere(draft_->blocks.back().exits);
  draft_->blocks.pop_back();
}

void Compiler::CompileCaseTests(const Result& subject, std::vector<std::size_t>& bodyJumps) {
  constexpr std::pair<std::string_view, Operator> kComparisons[] = {
      {"=", Operator::equal},           {"<>", Operator::notEqual},      {"<", Operator::less},
      {"<=", Operator::lessOrEqual},    {"=<", Operator::lessOrEqual},   {">", Operator::greater},
      {">=", Operator::greaterOrEqual}, {"=>", Operator::greaterOrEqual}};
  const auto holds = [&](Operator op, const Expression& value) {
    return EmitOperation(op, subject, CompileExpression(value), {}).place;
  };
  do {
    const StatementRegisters registers(*draft_);
    const bool is = reader_->Accept(kIs);
    const auto* comparison = std::end(kComparisons);
    for (const auto& row : kComparisons) {
      if (reader_->Peek().Is(row.first)) comparison = &row;
    }
    if (comparison != std::end(kComparisons)) {
      reader_->Take();
      const ExpressionPtr value = reader_->ReadExpression();
      bodyJumps.push_back(Emit(Op::jumpTrue, holds(comparison->second, *value)));
      continue;
    }
    if (is) reader_->FailExpected("a comparison");
    const ExpressionPtr value = reader_->ReadExpression();
    if (reader_->Accept(kTo)) {
      const ExpressionPtr last = reader_->ReadExpression();
      const std::size_t below = Emit(Op::jumpFalse, holds(Operator::greaterOrEqual, *value));
      bodyJumps.push_back(Emit(Op::jumpTrue, holds(Operator::lessOrEqual, *last)));
      JumpHere({below});
    } else {
      bodyJumps.push_back(Emit(Op::jumpTrue, holds(Operator::equal, *value)));
    }
  } while (reader_->Accept(","));
}

void Compiler::CompileSelect() {
  reader_->Expect(kCase);
  const ExpressionPtr written = reader_->ReadExpression();
  const Result value = CompileExpression(*written);
  const Operand place = MakeOperand(kRegister, NewRegister(Type::variant));
  Emit(Op::move, place, value.place);
  const Result subject{place, value.type};
  while (reader_->Accept(":")) continue;
  if (!reader_->AtLineEnd()) reader_->FailExpected("the end of the line");
  if (!NextLine()) reader_->FailExpected("Case");

  std::vector<std::size_t> toEnd;
  std::vector<std::size_t> toNext;
  bool last = false;
  while (reader_->Peek().Is(kCase)) {
    if (last) Fail(reader_->Peek().line, "Case Else must be the last");
    EndBlock();
    JumpHere(std::exchange(toNext, {}));
    Mark(reader_->Take().line);
    if (reader_->Accept(kElse)) {
      last = true;
    } else {
      std::vector<std::size_t> toBody;
      CompileCaseTests(subject, toBody);
      toNext.push_back(Emit(Op::jump));
      JumpHere(toBody);
    }
    CompileStatements();
    toEnd.push_back(Emit(Op::jump));
  }
  JumpHere(toNext);
  EndBlockWith(kSelect);
  JumpHere(toEnd);
}

void Compiler::CompileWith() {
  const ExpressionPtr written = reader_->ReadExpression();
  const std::uint32_t object = NewRegister(Type::variant);
  const Result value = InType(CompileExpression(*written), Type::object);
  Emit(Op::move, MakeOperand(kRegister, object), value.place);
  draft_->withObjects.push_back(object);
  reader_->SetInsideWith(true);
  CompileStatements();
  draft_->withObjects.pop_back();
  reader_->SetInsideWith(!draft_->withObjects.empty());
  EndBlockWith(kWith);
}

}  // namespace qrvml
