// Registers, constants and the plain moves between them.
#include <bit>

#include "qvb/compile_scopes.h"
#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

bool IsNumberType(Type type) {
  return type == Type::integer || type == Type::real || type == Type::boolean;
}

/// Registers of numbers keep their tag; all others start empty and take any value.
Type RegisterKind(Type type) { return IsNumberType(type) ? type : Type::variant; }

}  // namespace

void Compiler::Fail(int line, const std::string& reason) const { lexer_->Fail(line, reason); }

std::uint32_t Compiler::NewRegister(Type type) {
  draft_->procedure.registers.push_back(Value::Initial(type));
  return static_cast<std::uint32_t>(draft_->procedure.registers.size() - 1);
}

Operand Compiler::PassingRegister(Type type) {
  const Type kind = RegisterKind(type);
  auto& free = draft_->freeRegisters[kind];
  std::uint32_t number = 0;
  if (free.empty()) {
    number = NewRegister(kind);
  } else {
    number = free.back();
    free.pop_back();
  }
  draft_->usedRegisters.emplace_back(kind, number);
  return MakeOperand(kRegister, number);
}

std::uint32_t Compiler::PassingRow(std::size_t count) {
  if (count == 0) return 0;
  auto& free = draft_->freeRows[count];
  std::uint32_t first = 0;
  if (free.empty()) {
    first = NewRegister(Type::variant);
    for (std::size_t i = 1; i < count; ++i) NewRegister(Type::variant);
  } else {
    first = free.back();
    free.pop_back();
  }
  draft_->usedRows.emplace_back(count, first);
  return first;
}

StatementRegisters::StatementRegisters(Draft& statementDraft)
    : draft(statementDraft), registers(draft.usedRegisters.size()), rows(draft.usedRows.size()) {}

StatementRegisters::~StatementRegisters() {
  for (; draft.usedRegisters.size() > registers; draft.usedRegisters.pop_back()) {
    const auto& [kind, number] = draft.usedRegisters.back();
    draft.freeRegisters[kind].push_back(number);
  }
  for (; draft.usedRows.size() > rows; draft.usedRows.pop_back()) {
    const auto& [count, first] = draft.usedRows.back();
    draft.freeRows[count].push_back(first);
  }
}

Operand Compiler::Constant(const Value& value) {
  const bool number =
      value.tag == Tag::integer || value.tag == Tag::real || value.tag == Tag::boolean;
  const std::uint64_t bits = value.tag == Tag::real      ? std::bit_cast<std::uint64_t>(value.real)
                             : value.tag == Tag::integer ? static_cast<std::uint32_t>(value.integer)
                             : value.tag == Tag::boolean ? std::uint64_t{value.boolean}
                                                         : 0;
  if (number) {
    auto& known = numberConstants_[static_cast<std::size_t>(value.tag)];
    const auto found = known.find(bits);
    if (found != known.end()) return found->second;
    return known[bits] = (program_->constants.push_back(value),
                          MakeOperand(kConstant, program_->constants.size() - 1));
  }
  program_->constants.push_back(value);
  return MakeOperand(kConstant, program_->constants.size() - 1);
}

std::uint32_t Compiler::Here() const {
  return static_cast<std::uint32_t>(draft_->procedure.code.size());
}

std::size_t Compiler::Emit(Op op, Operand a, Operand b, Operand c, Operand d, std::size_t n) {
  draft_->procedure.code.push_back({op, static_cast<std::uint16_t>(n), a, b, c, d});
  return draft_->procedure.code.size() - 1;
}

void Compiler::JumpHere(const std::vector<std::size_t>& jumps) {
  for (const std::size_t jump : jumps) draft_->procedure.code[jump].d = Here();
  lastFill_ = kNoFill;
}

void Compiler::Mark(int line) {
  auto& marks = draft_->procedure.marks;
  if (!marks.empty() && marks.back().instruction == Here()) {
    marks.back().line = static_cast<std::uint32_t>(line);
  } else {
    marks.push_back({Here(), static_cast<std::uint32_t>(line)});
  }
}

std::optional<Value> Compiler::ConstantOf(const Result& result) const {
  if ((result.place & 3) != kConstant) return std::nullopt;
  return program_->constants[result.place >> 2];
}

void Compiler::EmitConverted(Operand place, Type type, const Result& result) {
  if (result.place == place && result.type == type) return;
  if (const auto constant = ConstantOf(result); constant && type != Type::variant) {
    try {
      const Value converted = Converted(*constant, type);
      Emit(IsNumberType(type) ? Op::moveNumber : Op::move, place, Constant(converted));
      return;
    } catch (const ScriptFault&) {
      // What does not convert fails when the statement runs.
    }
  }
  if (type == Type::variant) {
    const bool mayBeArray = result.array || result.type == Type::variant;
    Emit(mayBeArray ? Op::copy : Op::move, place, result.place);
  } else if (type == result.type && !result.array) {
    Emit(IsNumberType(type) ? Op::moveNumber : Op::move, place, result.place);
  } else if (type == Type::real && result.type == Type::integer && !result.array) {
    Emit(Op::widen, place, result.place);
  } else {
    Emit(Op::convert, place, result.place, 0, 0, static_cast<std::size_t>(type));
  }
}

Result Compiler::InType(const Result& result, Type type) {
  if (result.type == type && !result.array) return result;
  if (const auto constant = ConstantOf(result)) {
    try {
      const Value converted = Converted(*constant, type);
      return {Constant(converted), TypeOf(converted)};
    } catch (const ScriptFault&) {
      // Fails when the statement runs.
    }
  }
  const Operand place = PassingRegister(type);
  EmitConverted(place, type, result);
  return {place, type, false, true};
}

/// For instructions that write a number of the type alone.
Operand Compiler::Destination(Wish wish, Type type) {
  return wish.place != kNoOperand && wish.type == type ? wish.place : PassingRegister(type);
}

/// For instructions that write a whole value, known to be of a type (or variant: unknown).
Operand Compiler::GeneralDestination(Wish wish, Type known) {
  const bool fits = wish.place != kNoOperand && (wish.type == Type::variant || wish.type == known);
  return fits ? wish.place : PassingRegister(Type::variant);
}

}  // namespace qrvml
