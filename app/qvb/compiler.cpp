// Files and what stands outside of procedures. Two passes: the first learns the names of all files,
// the second writes the code, so that a procedure may use what is declared behind it.
#include "qvb/compiler.h"

#include <algorithm>
#include <utility>

#include "qvb/compile_scopes.h"
#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

constexpr std::size_t kMostFiles = 50;

bool IsModifier(const Token& token) {
  return token.Is(kPublic) || token.Is(kPrivate) || token.Is(kStatic);
}

/// Whether `d` is an instruction's number.
bool Jumps(Op op) {
  return (op >= Op::jump && op <= Op::jumpUnlessVV) || (op >= Op::forI && op <= Op::resume);
}

/// Takes out instructions that turned out to do nothing.
void RemoveNone(Procedure& procedure) {
  std::vector<std::uint32_t> places;
  std::uint32_t kept = 0;
  for (const Instruction& instruction : procedure.code) {
    places.push_back(kept);
    if (instruction.op != Op::none) procedure.code[kept++] = instruction;
  }
  procedure.code.resize(kept);
  for (Instruction& instruction : procedure.code) {
    if (Jumps(instruction.op)) instruction.d = places[instruction.d];
  }
  for (StatementMark& mark : procedure.marks) mark.instruction = places[mark.instruction];
}

}  // namespace

std::shared_ptr<const Program> CompileScript(const std::string& name, std::string_view text,
                                             const HostNames& host) {
  return Compiler(host).Compile(name, text);
}

Compiler::Compiler(const HostNames& host) : host_(host), program_(std::make_shared<Program>()) {
  AddKeywords(names_);
  ScriptVariable error;
  error.type = Type::object;
  error.place = NewModuleVariable("err", Value::Initial(Type::object));
  module_[names_.Number("err")] = error;
  program_->procedures.emplace_back();
  draft_ = &top_;
  top_.procedure.resultRegister = NewRegister(Type::variant);
}

std::shared_ptr<const Program> Compiler::Compile(const std::string& name, std::string_view text) {
  top_.procedure.script = name;
  AddFile(name, std::string(text));
  written_.resize(program_->procedures.size());
  // The script itself comes last: what stands outside of its procedures is finished behind it.
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) CompileFile(*file);
  draft_ = &top_;
  FinishDraft();
  std::set<std::size_t> callers;
  for (const WriteBack& back : writeBacks_) {
    if (written_[back.callee][back.parameter]) continue;
    program_->procedures[back.caller].code[back.instruction].op = Op::none;
    callers.insert(back.caller);
  }
  for (const std::size_t caller : callers) RemoveNone(program_->procedures[caller]);
  return program_;
}

void Compiler::AddFile(const std::string& name, std::string text) {
  if (!fileNames_.insert(LowerCase(name)).second) return;
  SourceFile& file = files_.emplace_back();
  file.text = std::move(text);
  file.lexer = std::make_unique<Lexer>(name, file.text, names_);
  Lexer* const outerLexer = std::exchange(lexer_, file.lexer.get());
  SourceFile* const outerFile = std::exchange(file_, &file);
  auto outerReader = std::exchange(reader_, std::make_unique<TokenReader>(*lexer_, names_));
  std::vector<Token> outerLine = std::move(line_);
  DeclareFile(file);
  line_ = std::move(outerLine);
  reader_ = std::move(outerReader);
  file_ = outerFile;
  lexer_ = outerLexer;
}

void Compiler::DeclareFile(SourceFile& file) {
  std::size_t includes = 0;
  while (lexer_->NextLine(line_)) {
    // What a line uses may be declared in a file that the lines before it include.
    for (; includes < file.lexer->includes().size(); ++includes) {
      const Lexer::Include include = file.lexer->includes()[includes];
      std::optional<std::string> text = host_.FindInclude(include.name);
      if (!text) Fail(include.line, "there is no file `" + include.name + "` to include");
      if (files_.size() >= kMostFiles) Fail(include.line, "too many files are included");
      AddFile(include.name, std::move(*text));
    }
    reader_->Start(line_);
    if (AtProcedureHead()) {
      DeclareProcedure(file);
    } else {
      DeclareModuleLine(file);
    }
  }
}

std::size_t Compiler::HeadOffset() const {
  std::size_t at = 0;
  while (IsModifier(reader_->Peek(at))) ++at;
  return at;
}

bool Compiler::AtProcedureHead() const {
  const Token& token = reader_->Peek(HeadOffset());
  return token.Is(kSub) || token.Is(kFunction);
}

void Compiler::DeclareModuleLine(SourceFile& file) {
  const Token token = reader_->Peek();
  if (token.kind != Token::Kind::name || token.name >= kKeywordCount) return;
  if (reader_->Accept(kOption)) {
    const Token what = reader_->Take();
    const std::string word = LowerCase(what.text);
    if (word == "base") {
      const Token base = reader_->Take();
      if (base.kind != Token::Kind::integer || (base.number != 0 && base.number != 1)) {
        Fail(what.line, "expected Option Base 0 or Option Base 1");
      }
      file.optionBase = static_cast<int>(base.number);
    } else if (word == "explicit") {
      file.optionExplicit = true;
    } else if (word != "compare" || LowerCase(reader_->Take().text) != "binary") {
      Fail(what.line, "expected Option Base, Option Explicit or Option Compare Binary");
    }
    return;
  }
  reader_->Seek(token.Is(kStatic) ? 0 : HeadOffset());
  if (reader_->Accept(kEnum)) return DeclareEnum(file);
  const bool declares = token.Is(kDim) || token.Is(kConst) || IsModifier(token);
  if (!declares || token.Is(kStatic)) return;
  reader_->Accept(kDim);
  const bool constant = reader_->Peek().Is(kConst);
  if (constant) reader_->Take();
  const StatementRegisters registers(*draft_);
  DeclareModuleVariables(constant ? static_cast<int>(kConst) : static_cast<int>(kDim));
}

void Compiler::DeclareEnum(SourceFile& file) {
  const Token name = reader_->ExpectName("the name of the Enum");
  enums_.insert(name.name);
  std::int64_t next = 0;
  for (;;) {
    if (!file.lexer->NextLine(line_)) Fail(name.line, "expected End Enum");
    reader_->Start(line_);
    if (reader_->Accept(kEnd)) {
      reader_->Expect(kEnum);
      return;
    }
    const Token member = reader_->ExpectName("the name of a constant");
    if (reader_->Accept("=")) {
      const ExpressionPtr value = reader_->ReadExpression();
      try {
        next = ToInteger(ExpectConstant(*value));
      } catch (const ScriptFault& fault) {
        Fail(member.line, fault.what());
      }
    }
    if (next > 0x7FFFFFFF) Fail(member.line, "the constant does not fit an Integer");
    ScriptVariable constant;
    constant.constant = true;
    constant.value = Value::Integer(static_cast<std::int32_t>(next++));
    AddModuleVariable(member.name, constant);
    if (!reader_->AtLineEnd()) reader_->FailExpected("the end of the line");
  }
}

std::vector<Parameter> Compiler::ReadParameters() {
  std::vector<Parameter> parameters;
  if (!reader_->Accept("(") || reader_->Accept(")")) return parameters;
  for (;;) {
    Parameter parameter;
    parameter.optional = reader_->Accept(kOptional);
    if (reader_->Accept(kByVal)) {
      parameter.byReference = false;
    } else {
      reader_->Accept(kByRef);
    }
    const Token name = reader_->ExpectName("the name of a parameter");
    parameter.name = name.name;
    if (reader_->Accept("(")) {
      reader_->Expect(")");
      parameter.array = true;
      parameter.byReference = true;
    }
    parameter.type = ReadAs(name.suffix, false).type;
    parameter.initial = Value::Initial(parameter.type);
    if (reader_->Accept("=")) {
      const ExpressionPtr value = reader_->ReadExpression();
      try {
        parameter.initial = Converted(ExpectConstant(*value), parameter.type);
      } catch (const ScriptFault& fault) {
        Fail(name.line, fault.what());
      }
    }
    const bool behindOptional = !parameters.empty() && parameters.back().optional;
    if (parameter.array && parameter.optional) Fail(name.line, "an array cannot be optional");
    if (behindOptional && !parameter.optional) Fail(name.line, "expected Optional");
    parameters.push_back(std::move(parameter));
    if (reader_->Accept(")")) return parameters;
    if (!reader_->Accept(",")) reader_->FailExpected(", or )");
  }
}

void Compiler::DeclareProcedure(SourceFile& file) {
  reader_->Seek(HeadOffset());
  const int keyword = reader_->Take().name;
  const Token name = reader_->ExpectName("the name of the procedure");
  Procedure procedure;
  procedure.name = std::string(name.text);
  procedure.script = file.lexer->script();
  procedure.function = keyword == kFunction;
  procedure.line = name.line;
  procedure.parameters = ReadParameters();
  if (procedure.parameters.size() > 1000) Fail(name.line, "too many parameters");
  if (procedure.function) procedure.result = ReadAs(name.suffix, false).type;
  if (!reader_->AtStatementEnd()) reader_->FailExpected("the end of the line");
  const std::size_t number = program_->procedures.size();
  if (module_.contains(name.name) ||
      !heads_.try_emplace(name.name, ProcedureHead{number, procedure.function}).second) {
    Fail(name.line, "`" + procedure.name + "` is declared twice");
  }
  if (number > 0xFFFF) Fail(name.line, "too many procedures");
  program_->procedureNames.emplace_back(names_.Lower(name.name), number);
  program_->procedures.push_back(std::move(procedure));
  SkipBody(file, keyword);
}

/// Leaves the line with the closing words behind.
void Compiler::SkipBody(SourceFile& file, int keyword) {
  const int line = reader_->Peek().line;
  for (;;) {
    for (; !reader_->AtLineEnd(); reader_->Take()) {
      if (reader_->Peek().Is(kEnd) && reader_->Peek(1).Is(keyword)) return;
    }
    if (!file.lexer->NextLine(line_))
      Fail(line, "expected End " + std::string(KeywordText(keyword)));
    reader_->Start(line_);
    const bool ends = reader_->Peek().Is(kEnd);
    if (AtProcedureHead() && !ends)
      reader_->FailExpected("End " + std::string(KeywordText(keyword)));
  }
}

void Compiler::CompileFile(SourceFile& file) {
  file_ = &file;
  lexer_ = file.lexer.get();
  lexer_->Seek({});
  reader_ = std::make_unique<TokenReader>(*lexer_, names_);
  while (NextLine()) {
    const Token token = reader_->Peek();
    if (AtProcedureHead()) {
      CompileProcedure();
      continue;
    }
    const std::size_t offset = token.Is(kStatic) ? 0 : HeadOffset();
    if (reader_->Peek(offset).Is(kEnum)) {
      while (NextLine() && !(reader_->Peek().Is(kEnd) && reader_->Peek(1).Is(kEnum))) continue;
      continue;
    }
    if (token.Is(kOption) || token.Is(kPublic) || token.Is(kPrivate)) continue;
    draft_ = &top_;
    const bool declares = token.Is(kDim) || token.Is(kConst);
    if (&file != &files_.front() && !declares) {
      Fail(token.line, "an included file can only hold declarations and procedures");
    }
    while (!reader_->AtLineEnd()) {
      if (reader_->Accept(":")) continue;
      if (AtClosingWord()) reader_->FailExpected("a statement");
      CompileStatement();
      if (!reader_->AtStatementEnd()) reader_->FailExpected("the end of the statement");
      if (reader_->Peek().Is(kElse)) reader_->FailExpected("a statement");
    }
    if (!declares) program_->hasTopLevelCode = true;
  }
}

void Compiler::CompileProcedure() {
  reader_->Seek(HeadOffset());
  const int keyword = reader_->Take().name;
  const Token name = reader_->Take();
  ReadParameters();
  if (keyword == kFunction) ReadAs(name.suffix, false);

  Draft draft;
  draft_ = &draft;
  draft.number = heads_.at(name.name).number;
  draft.procedure = program_->procedures[draft.number];
  lastFill_ = kNoFill;
  draft.written.resize(draft.procedure.parameters.size());
  for (std::size_t i = 0; i < draft.procedure.parameters.size(); ++i) {
    const Parameter& parameter = draft.procedure.parameters[i];
    ScriptVariable variable;
    variable.type = parameter.type;
    variable.array = parameter.array;
    variable.byReference = parameter.byReference;
    variable.parameter = parameter.byReference ? static_cast<int>(i) : -1;
    variable.place =
        MakeOperand(kRegister, NewRegister(parameter.byReference ? Type::variant : parameter.type));
    Declare(parameter.name, variable, name.line);
  }
  draft.procedure.resultRegister = NewRegister(draft.procedure.result);
  if (draft.procedure.function) {
    ScriptVariable result;
    result.type = draft.procedure.result;
    result.place = MakeOperand(kRegister, draft.procedure.resultRegister);
    Declare(name.name, result, name.line);
  }
  CompileStatements();
  EndBlockWith(keyword);
  if (!reader_->AtLineEnd()) reader_->FailExpected("the end of the line");
  FinishDraft();
  draft_ = &top_;
}

void Compiler::FinishDraft() {
  Emit(Op::leave);
  for (const auto& [name, label] : draft_->labels) {
    for (const auto& [jump, line] : label.jumps) {
      if (!label.at) Fail(line, "there is no label `" + name + "` in this procedure");
      draft_->procedure.code[jump].d = *label.at;
    }
  }
  written_[draft_->number] = draft_->written;
  program_->procedures[draft_->number] = std::move(draft_->procedure);
}

}  // namespace qrvml
