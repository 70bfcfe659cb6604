// Statements that are no blocks.
#include <algorithm>
#include <charconv>

#include "qvb/compile_scopes.h"
#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

constexpr int kClosingWords[] = {kElse, kElseIf, kEndIf, kNext, kLoop, kWend, kCase};

}  // namespace

/// Reads on to the next line when this one is used up; false at the end of the file.
bool Compiler::NextLine() {
  if (!lexer_->NextLine(line_)) return false;
  reader_->Start(line_);
  return true;
}

bool Compiler::AtClosingWord() const {
  if (nextContinues_) return true;
  const Token& token = reader_->Peek();
  if (token.kind != Token::Kind::name) return false;
  if (token.name == kEnd) {
    const Token& what = reader_->Peek(1);
    return what.kind == Token::Kind::name && what.name < kKeywordCount && what.name != kElse;
  }
  return std::find(std::begin(kClosingWords), std::end(kClosingWords), token.name) !=
         std::end(kClosingWords);
}

void Compiler::CompileStatements() {
  LevelGuard level(nesting_);
  if (nesting_ > kMostNesting) Fail(reader_->Peek().line, "blocks are nested too deeply");
  for (;;) {
    if (nextContinues_) return;
    while (reader_->Accept(":")) continue;
    if (reader_->AtLineEnd()) {
      if (!NextLine()) return;
      continue;
    }
    if (AtClosingWord()) return;
    CompileStatement();
    if (nextContinues_) return;
    if (!reader_->AtLineEnd() && !reader_->Peek().Is(":") && !AtClosingWord()) {
      reader_->FailExpected("the end of the statement");
    }
  }
}

void Compiler::CompileLabel() {
  const Token token = reader_->Take();
  if (token.kind == Token::Kind::name) reader_->Expect(":");
  const std::string name = LowerCase(token.text);
  Label& label = draft_->labels[name];
  if (label.at) Fail(token.line, "the label `" + name + "` stands twice in one procedure");
  label.at = Here();
  lastFill_ = kNoFill;
}

void Compiler::CompileStatement() {
  const bool first = reader_->place() == 0;
  if (first && reader_->Peek().kind == Token::Kind::integer) CompileLabel();
  if (first && reader_->Peek().kind == Token::Kind::name && reader_->Peek().name >= kKeywordCount &&
      reader_->Peek(1).Is(":")) {
    CompileLabel();
  }
  if (reader_->AtStatementEnd()) return;
  const StatementRegisters registers(*draft_);
  const Token token = reader_->Peek();
  if (first && CompileFill()) return;
  lastFill_ = kNoFill;
  Mark(token.line);
  if (token.kind != Token::Kind::name || token.name >= kKeywordCount) {
    return CompileAssignmentOrCall();
  }
  reader_->Take();
  switch (token.name) {
    case kIf:
      return CompileIf();
    case kFor:
      return reader_->Accept(kEach) ? CompileForEach() : CompileFor();
    case kDo:
      return CompileDo();
    case kWhile:
      return CompileWhile();
    case kSelect:
      return CompileSelect();
    case kWith:
      return CompileWith();
    case kDim:
      return CompileDim(false);
    case kStatic:
      return CompileDim(true);
    case kReDim:
      return CompileReDim();
    case kConst:
      return CompileConst(false);
    case kErase:
      return CompileErase();
    case kGoTo:
      return CompileGoTo();
    case kOn:
      return CompileOnError();
    case kResume:
      return CompileResume();
    case kExit:
      return CompileExit();
    case kEnd:
      Emit(Op::end);
      return;
    case kCall: {
      const ExpressionPtr target = reader_->ReadTarget();
      return CompileCallStatement(*target);
    }
    case kLet:
    case kSet: {
      const ExpressionPtr target = reader_->ReadTarget();
      reader_->Expect("=");
      const ExpressionPtr value = reader_->ReadExpression();
      return CompileAssignment(*target, *value, token.name == kSet);
    }
    default:
      reader_->Seek(reader_->place() - 1);
      reader_->FailExpected("a statement");
  }
}

void Compiler::CompileAssignmentOrCall() {
  ExpressionPtr target = reader_->ReadTarget();
  if (reader_->Accept("=")) {
    const ExpressionPtr value = reader_->ReadExpression();
    return CompileAssignment(*target, *value, false);
  }
  if (!reader_->AtStatementEnd()) {
    // `Name (a) + 1, b`: the parenthesis belongs to the first argument.
    if (target->hasArguments && reader_->lastParenthesis() != 0) {
      reader_->Seek(reader_->lastParenthesis());
      target->arguments.clear();
    }
    target->hasArguments = true;
    reader_->ReadArguments(target->arguments, false);
  }
  CompileCallStatement(*target);
}

void Compiler::CompileCallStatement(const Expression& target) {
  if (target.kind == Expression::Kind::member) {
    CompileMember(target, {}, false);
    return;
  }
  if (target.kind == Expression::Kind::apply) {
    CompileExpression(target);
    return;
  }
  const auto head = heads_.find(target.name);
  if (head != heads_.end()) {
    CompileCall(head->second, target, {}, false);
    return;
  }
  bool found = false;
  if (!FindVariable(target.name)) CompileFunction(target, {}, false, found);
  if (found) return;
  const bool isObject = FindVariable(target.name) || host_.FindValue(names_.Lower(target.name));
  if (isObject && target.hasArguments) {
    CompileName(target, {});
    return;
  }
  Fail(target.line, "`" + Written(target.name) + "` is no sub or function");
}

void Compiler::NoteWritten(const ScriptVariable& variable) {
  if (variable.parameter >= 0) draft_->written[static_cast<std::size_t>(variable.parameter)] = true;
}

void Compiler::StoreVariable(const ScriptVariable& variable, const Result& value) {
  if (variable.byReference && !variable.array) {
    NoteWritten(variable);
    Emit(Op::store, variable.place, value.place);
  } else if (variable.array) {
    Emit(Op::copyArray, variable.place, value.place);
  } else {
    EmitConverted(variable.place, variable.type, value);
  }
}

void Compiler::AssignVariable(const ScriptVariable& variable, const Expression& value, bool isSet,
                              int line) {
  if (variable.constant) Fail(line, "a constant cannot be assigned to");
  Wish wish;
  if (!variable.byReference && !variable.array) wish = {variable.place, variable.type};
  const bool anyObject = !isSet || variable.type == Type::object;
  Result result = CompileExpression(value, anyObject ? wish : Wish());
  if (!anyObject) {
    if (variable.type != Type::variant) Fail(line, "Set is for objects");
    result = InType(result, Type::object);
  }
  StoreVariable(variable, result);
}

void Compiler::CompileAssignment(const Expression& target, const Expression& value, bool isSet) {
  const auto valueResult = [&] {
    const Result result = CompileExpression(value);
    return isSet ? InType(result, Type::object) : result;
  };
  if (target.kind == Expression::Kind::member) {
    const Result object = target.left ? CompileExpression(*target.left) : WithObject(target.line);
    const std::uint32_t first = CompileArguments(target.arguments);
    const Result result = valueResult();
    Emit(Op::putMember, result.place, object.place, first, AddSite(target.name),
         target.arguments.size());
    return;
  }
  if (target.kind == Expression::Kind::apply) {
    const Result object = CompileExpression(*target.left);
    const std::uint32_t first = CompileArguments(target.arguments);
    Emit(Op::putIndexed, valueResult().place, object.place, first, 0, target.arguments.size());
    return;
  }
  ScriptVariable* variable = FindVariable(target.name);
  if (!variable) {
    const bool taken = heads_.contains(target.name) || host_.FindValue(Written(target.name));
    if (taken || target.hasArguments) {
      Fail(target.line, "`" + Written(target.name) + "` cannot be assigned to");
    }
    variable = &ImplicitVariable(target.name, target.suffix, target.line);
  }
  const ScriptVariable known = *variable;
  if (!target.hasArguments) return AssignVariable(known, value, isSet, target.line);
  if (known.constant) Fail(target.line, "a constant cannot be assigned to");
  const std::size_t count = target.arguments.size();
  if (known.array && (count == 1 || count == 2)) {
    const Result i = Kept(CompileExpression(*target.arguments[0]), value);
    const Result j = count == 2 ? Kept(CompileExpression(*target.arguments[1]), value) : Result{0};
    Emit(count == 1 ? Op::put1 : Op::put2, valueResult().place, known.place, i.place, j.place);
    return;
  }
  if (!known.array && known.type != Type::variant && known.type != Type::object) {
    Fail(target.line, "`" + Written(target.name) + "` is no array");
  }
  if (!known.array && count == 1 && target.arguments[0]->kind != Expression::Kind::omitted) {
    const Result index = Kept(CompileExpression(*target.arguments[0]), value);
    Emit(Op::putIndexed1, valueResult().place, known.place, index.place);
    return;
  }
  const std::uint32_t first = CompileArguments(target.arguments);
  Emit(known.array ? Op::putN : Op::putIndexed, valueResult().place, known.place, first, 0, count);
}

/// `Array(3, 1) = 0.25` with constants that are within the bounds becomes one row of a table:
/// generated scripts hold a model in such lines.
bool Compiler::CompileFill() {
  const auto at = [this](std::size_t ahead) -> const Token& { return reader_->Peek(ahead); };
  if (at(0).kind != Token::Kind::name || !at(1).Is("(")) return false;
  std::size_t next = 2;
  std::int32_t indexes[2] = {0, 0};
  std::size_t count = 0;
  for (;;) {
    if (at(next).kind != Token::Kind::integer || count == 2) return false;
    indexes[count++] = static_cast<std::int32_t>(at(next).number);
    if (!at(next + 1).Is(",")) break;
    next += 2;
  }
  if (!at(next + 1).Is(")") || !at(next + 2).Is("=")) return false;
  const bool negative = at(next + 3).Is("-");
  const Token& number = at(next + 3 + (negative ? 1 : 0));
  const bool isNumber = number.kind == Token::Kind::integer || number.kind == Token::Kind::real;
  const std::size_t length = next + 4 + (negative ? 1 : 0);
  if (!isNumber || at(length).kind != Token::Kind::end) return false;

  const ScriptVariable* const variable = FindVariable(at(0).name);
  if (!variable || !variable->fixedBounds || (variable->place & 3) != kModule ||
      variable->bounds.size() != count ||
      (variable->type != Type::real && variable->type != Type::integer)) {
    return false;
  }
  std::uint64_t element = 0;
  for (std::size_t d = 0; d < count; ++d) {
    const Bounds& bounds = variable->bounds[d];
    const std::int64_t step = static_cast<std::int64_t>(indexes[d]) - bounds.lower;
    if (step < 0 || step >= bounds.count) return false;
    element = element * bounds.count + static_cast<std::uint64_t>(step);
  }
  if (element > 0xFFFFFFFFu) return false;
  double value = negative ? -number.number : number.number;
  if (variable->type == Type::integer) {
    try {
      value = RoundToInteger(value);
    } catch (const ScriptFault&) {
      return false;
    }
  }
  auto& code = draft_->procedure.code;
  const bool follows = !code.empty() && code.back().op == Op::fillRun && lastFill_ == Here();
  if (!follows) {
    Mark(at(0).line);
    Emit(Op::fillRun, 0, 0, 0, static_cast<Operand>(program_->fillRuns.size()));
    program_->fillRuns.push_back({program_->fillRows.size(), 0});
    lastFill_ = Here();
  }
  program_->fillRows.push_back({variable->place >> 2, static_cast<std::uint32_t>(element), value});
  ++program_->fillRuns.back().count;
  reader_->Seek(reader_->place() + length);
  return true;
}

void Compiler::CompileGoTo() {
  const Token token = reader_->Peek();
  if (token.kind != Token::Kind::integer) {
    reader_->ExpectName("a label");
  } else {
    reader_->Take();
  }
  draft_->labels[LowerCase(token.text)].jumps.emplace_back(Emit(Op::jump), token.line);
}

void Compiler::CompileOnError() {
  reader_->Expect(kError);
  if (reader_->Accept(kResume)) {
    reader_->Expect(kNext);
    Emit(Op::onError, 0, 0, 0, 0, static_cast<std::size_t>(Handling::resumeNext));
    return;
  }
  reader_->Expect(kGoTo);
  const Token token = reader_->Peek();
  if (token.kind == Token::Kind::integer && token.number == 0) {
    reader_->Take();
    Emit(Op::onError, 0, 0, 0, 0, static_cast<std::size_t>(Handling::none));
    return;
  }
  CompileGoTo();
  Instruction& instruction = draft_->procedure.code.back();
  instruction.op = Op::onError;
  instruction.n = static_cast<std::uint16_t>(Handling::go);
}

void Compiler::CompileResume() {
  const bool next = reader_->Accept(kNext);
  if (next || reader_->AtStatementEnd()) {
    Emit(Op::resume, 0, 0, 0, 0,
         static_cast<std::size_t>(next ? Resumption::next : Resumption::again));
    return;
  }
  CompileGoTo();
  Instruction& instruction = draft_->procedure.code.back();
  instruction.op = Op::resume;
  instruction.n = static_cast<std::uint16_t>(Resumption::go);
}

void Compiler::CompileExit() {
  const Token token = reader_->Peek();
  if (token.Is(kSub) || token.Is(kFunction)) {
    reader_->Take();
    if (draft_->number == 0 || draft_->procedure.function != token.Is(kFunction)) {
      Fail(token.line, draft_->number == 0 ? "Exit outside of a Sub or Function"
                                           : "Exit of the other kind of procedure");
    }
    Emit(Op::leave);
    return;
  }
  if (!token.Is(kFor) && !token.Is(kDo) && !token.Is(kWhile)) {
    reader_->FailExpected("For, Do, While, Sub or Function");
  }
  reader_->Take();
  const auto block =
      std::find_if(draft_->blocks.rbegin(), draft_->blocks.rend(),
                   [&token](const Block& open) { return open.keyword == token.name; });
  if (block == draft_->blocks.rend()) {
    Fail(token.line, "Exit " + std::string(token.text) + " outside of such a loop");
  }
  block->exits.push_back(Emit(Op::jump));
}

void Compiler::CompileErase() {
  do {
    const Token token = reader_->ExpectName("the name of an array");
    const ScriptVariable* const variable = FindVariable(token.name);
    if (!variable || variable->constant) {
      Fail(token.line, "`" + Written(token.name) + "` is no array");
    }
    Emit(Op::erase, 0, variable->place);
  } while (reader_->Accept(","));
}

}  // namespace qrvml
