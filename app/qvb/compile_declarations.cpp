// Names: what they stand for, and the statements that declare them.
#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {

ScriptVariable* Compiler::FindVariable(int name) {
  const auto local = draft_->locals.find(name);
  if (local != draft_->locals.end()) return &local->second;
  const auto module = module_.find(name);
  return module != module_.end() ? &module->second : nullptr;
}

ScriptVariable& Compiler::ImplicitVariable(int name, Type suffix, int line) {
  if (file_->optionExplicit) Fail(line, "`" + Written(name) + "` is not declared");
  ScriptVariable variable;
  variable.type = suffix;
  variable.place = MakeOperand(kRegister, NewRegister(suffix));
  return draft_->locals[name] = variable;
}

void Compiler::Declare(int name, const ScriptVariable& variable, int line) {
  if (!draft_->locals.try_emplace(name, variable).second) {
    Fail(line, "`" + Written(name) + "` is declared twice or used before its declaration");
  }
}

std::size_t Compiler::ClassNumber(int name) {
  const std::string& lower = names_.Lower(name);
  const HostNames::Class* const found = host_.FindClass(lower);
  if (!found) reader_->Fail("there is no class `" + lower + "`");
  if (!found->make) reader_->Fail("a script cannot make a `" + found->name + "`");
  const auto [number, isNew] = classNumbers_.try_emplace(lower, program_->classes.size());
  if (isNew) program_->classes.push_back(*found);
  return number->second;
}

/// `As Integer`, `As New Spreadsheet` or nothing.
Compiler::DeclaredType Compiler::ReadAs(Type suffix, bool mayBeNew) {
  constexpr std::pair<std::string_view, Type> kTypes[] = {
      {"integer", Type::integer}, {"long", Type::integer}, {"byte", Type::integer},
      {"double", Type::real},     {"single", Type::real},  {"currency", Type::real},
      {"boolean", Type::boolean}, {"string", Type::text},  {"variant", Type::variant},
      {"any", Type::variant},     {"object", Type::object}};
  if (!reader_->Accept(kAs)) return {suffix, std::nullopt};
  const bool isNew = mayBeNew && reader_->Accept(kNew);
  const Token token = reader_->ExpectName("a type");
  const std::string& lower = names_.Lower(token.name);
  if (isNew) return {Type::object, ClassNumber(token.name)};
  for (const auto& [name, type] : kTypes) {
    if (name == lower) return {type, std::nullopt};
  }
  if (enums_.contains(token.name)) return {Type::integer, std::nullopt};
  if (host_.FindClass(lower)) return {Type::object, std::nullopt};
  Fail(token.line, "there is no type `" + std::string(token.text) + "`");
}

/// Behind the opening parenthesis; takes the closing one.
std::vector<std::pair<ExpressionPtr, ExpressionPtr>> Compiler::ReadBounds() {
  std::vector<std::pair<ExpressionPtr, ExpressionPtr>> bounds;
  if (reader_->Accept(")")) return bounds;
  for (;;) {
    ExpressionPtr lower;
    ExpressionPtr upper = reader_->ReadExpression();
    if (reader_->Accept(kTo)) {
      lower = std::move(upper);
      upper = reader_->ReadExpression();
    }
    bounds.emplace_back(std::move(lower), std::move(upper));
    if (reader_->Accept(")")) break;
    if (!reader_->Accept(",")) reader_->FailExpected(", or )");
  }
  if (bounds.size() > kMostDimensions) {
    reader_->Fail("an array has at most " + std::to_string(kMostDimensions) + " dimensions");
  }
  return bounds;
}

Compiler::Declaration Compiler::ReadDeclaration() {
  Declaration declaration;
  const Token token = reader_->ExpectName("the name of a variable");
  declaration.name = token.name;
  declaration.line = token.line;
  if (reader_->Accept("(")) {
    declaration.array = true;
    declaration.bounds = ReadBounds();
  }
  const DeclaredType type = ReadAs(token.suffix, true);
  declaration.type = type.type;
  declaration.newClass = type.newClass;
  return declaration;
}

/// The bounds when all of them are constants.
std::optional<std::vector<Bounds>> Compiler::ConstantBounds(const Declaration& declaration) {
  std::vector<Bounds> all;
  for (const auto& [lower, upper] : declaration.bounds) {
    const std::size_t before = draft_->procedure.code.size();
    std::int32_t ends[2] = {file_->optionBase, 0};
    const Expression* const written[2] = {lower.get(), upper.get()};
    for (int end = 0; end < 2; ++end) {
      if (!written[end]) continue;
      const auto constant = ConstantOf(CompileExpression(*written[end]));
      if (!constant || draft_->procedure.code.size() != before) {
        draft_->procedure.code.resize(before);
        return std::nullopt;
      }
      try {
        ends[end] = ToInteger(*constant);
      } catch (const ScriptFault& fault) {
        Fail(declaration.line, fault.what());
      }
    }
    const std::int64_t count = static_cast<std::int64_t>(ends[1]) - ends[0] + 1;
    if (count < 0 || count > 0x7FFFFFFF) {
      Fail(declaration.line, "`" + Written(declaration.name) + "` cannot have the bounds " +
                                 std::to_string(ends[0]) + " To " + std::to_string(ends[1]));
    }
    all.push_back({ends[0], static_cast<std::uint32_t>(count)});
  }
  return all;
}

void Compiler::EmitReDim(Operand array, const Declaration& declaration, bool preserve) {
  const std::uint32_t first = PassingRow(declaration.bounds.size() * 2);
  std::uint32_t next = first;
  for (const auto& [lower, upper] : declaration.bounds) {
    const Result from = lower ? CompileExpression(*lower)
                              : Result{Constant(Value::Integer(file_->optionBase)), Type::integer};
    Emit(Op::move, MakeOperand(kRegister, next++), from.place);
    Emit(Op::move, MakeOperand(kRegister, next++), CompileExpression(*upper).place);
  }
  Emit(Op::redim, static_cast<Operand>(declaration.type), array, first, preserve ? 1 : 0,
       declaration.bounds.size());
}

void Compiler::CompileDim(bool isStatic) {
  do {
    const Declaration declaration = ReadDeclaration();
    // The module's own lines have declared theirs already.
    if (draft_->number == 0 && !isStatic) continue;
    ScriptVariable variable;
    variable.type = declaration.type;
    variable.array = declaration.array;
    std::optional<std::vector<Bounds>> bounds = std::vector<Bounds>();
    if (declaration.array) bounds = ConstantBounds(declaration);
    if (!bounds && isStatic) Fail(declaration.line, "expected constant bounds");
    if (bounds) variable.bounds = *bounds;
    variable.fixedBounds = !variable.bounds.empty();
    const LocalArray array{0, variable.type, variable.fixedBounds, variable.bounds};
    if (isStatic) {
      variable.place = NewModuleVariable(
          std::string(), Value::Initial(declaration.array ? Type::variant : declaration.type));
      if (declaration.array) {
        program_->moduleArrays.push_back(array);
        program_->moduleArrays.back().place = variable.place >> 2;
      }
    } else {
      const std::uint32_t place = NewRegister(declaration.array ? Type::variant : declaration.type);
      variable.place = MakeOperand(kRegister, place);
      if (declaration.array) {
        draft_->procedure.arrays.push_back(array);
        draft_->procedure.arrays.back().place = place;
      }
    }
    Declare(declaration.name, variable, declaration.line);
    if (!bounds) EmitReDim(variable.place, declaration, false);
    if (declaration.newClass) {
      Emit(Op::create, variable.place, 0, 0, static_cast<Operand>(*declaration.newClass));
    }
  } while (reader_->Accept(","));
}

void Compiler::CompileReDim() {
  const bool preserve = reader_->Accept(kPreserve);
  do {
    Declaration declaration = ReadDeclaration();
    if (declaration.bounds.empty()) reader_->FailExpected("bounds");
    ScriptVariable* variable = FindVariable(declaration.name);
    if (!variable) {
      ScriptVariable array;
      array.type = declaration.type;
      array.array = true;
      const std::uint32_t place = NewRegister(Type::variant);
      array.place = MakeOperand(kRegister, place);
      draft_->procedure.arrays.push_back({place, declaration.type, false, {}});
      Declare(declaration.name, array, declaration.line);
      variable = FindVariable(declaration.name);
    }
    if (variable->constant || (!variable->array && variable->type != Type::variant)) {
      Fail(declaration.line, "`" + Written(declaration.name) + "` is no array");
    }
    if (variable->fixedBounds) {
      Fail(declaration.line, "`" + Written(declaration.name) + "` has fixed bounds");
    }
    EmitReDim(variable->place, declaration, preserve);
  } while (reader_->Accept(","));
}

void Compiler::CompileConst(bool module) {
  do {
    const Token token = reader_->ExpectName("the name of a constant");
    const DeclaredType type = ReadAs(token.suffix, false);
    reader_->Expect("=");
    const ExpressionPtr written = reader_->ReadExpression();
    ScriptVariable variable;
    variable.constant = true;
    try {
      variable.value = Converted(ExpectConstant(*written), type.type);
    } catch (const ScriptFault& fault) {
      Fail(token.line, fault.what());
    }
    if (module) {
      AddModuleVariable(token.name, variable);
    } else if (draft_->number != 0) {
      Declare(token.name, variable, token.line);
    }
  } while (reader_->Accept(","));
}

Operand Compiler::NewModuleVariable(const std::string& name, const Value& initial) {
  program_->moduleVariables.push_back(initial);
  program_->moduleVariableNames.push_back(name);
  return MakeOperand(kModule, program_->moduleVariables.size() - 1);
}

void Compiler::AddModuleVariable(int name, const ScriptVariable& variable) {
  if (heads_.contains(name) || !module_.try_emplace(name, variable).second) {
    reader_->Fail("`" + Written(name) + "` is declared twice");
  }
}

void Compiler::DeclareModuleVariables(int keyword) {
  if (keyword == kConst || reader_->Accept(kConst)) return CompileConst(true);
  do {
    const Declaration declaration = ReadDeclaration();
    ScriptVariable variable;
    variable.type = declaration.type;
    variable.array = declaration.array;
    variable.place =
        NewModuleVariable(names_.Lower(declaration.name),
                          Value::Initial(declaration.array ? Type::variant : declaration.type));
    if (declaration.array) {
      const auto bounds = ConstantBounds(declaration);
      if (!bounds) Fail(declaration.line, "expected constant bounds");
      variable.bounds = *bounds;
      variable.fixedBounds = !bounds->empty();
      program_->moduleArrays.push_back(
          {variable.place >> 2, variable.type, variable.fixedBounds, *bounds});
    }
    AddModuleVariable(declaration.name, variable);
    if (declaration.newClass) {
      Emit(Op::create, variable.place, 0, 0, static_cast<Operand>(*declaration.newClass));
      program_->hasTopLevelCode = true;
    }
  } while (reader_->Accept(","));
}

}  // namespace qrvml
