// Calls of procedures, of the host's functions and of the language's own.
#include <algorithm>

#include "qvb/builtins.h"
#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {

/// How an argument travels: the instruction that passes it, and what happens behind the call.
struct Compiler::Passing {
  Op op = Op::passValue;
  Operand place = kNoOperand;
  Type declared = Type::variant;       // of the target of a reference
  std::vector<Instruction> writeBack;  // behind the call, unless the procedure leaves it alone
};

void Compiler::CheckArgumentCount(std::string_view name, std::size_t given, std::size_t fewest,
                                  std::size_t most, int line) const {
  if (given >= fewest && given <= most) return;
  std::string wanted = std::to_string(fewest);
  if (most > fewest) wanted += " to " + std::to_string(most);
  Fail(line,
       "`" + std::string(name) + "` takes " + wanted + " arguments, not " + std::to_string(given));
}

std::uint32_t Compiler::CompileArguments(const std::vector<ExpressionPtr>& arguments) {
  if (arguments.size() > 1000) Fail(arguments[1000]->line, "too many arguments");
  const std::uint32_t first = PassingRow(arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Operand place = MakeOperand(kRegister, first + i);
    if (arguments[i]->kind == Expression::Kind::omitted) {
      Emit(Op::move, place, Constant(Value()));
      continue;
    }
    const Result result = CompileExpression(*arguments[i], {place, Type::variant});
    if (result.place != place) Emit(Op::move, place, result.place);
  }
  return first;
}

Result Compiler::CompileFunction(const Expression& expression, Wish wish, bool wantsValue,
                                 bool& found) {
  found = true;
  const auto head = heads_.find(expression.name);
  if (head != heads_.end()) return CompileCall(head->second, expression, wish, wantsValue);
  const std::string& name = names_.Lower(expression.name);
  const std::size_t given = expression.arguments.size();
  if (const HostFunction* const function = host_.FindFunction(name)) {
    CheckArgumentCount(name, given, static_cast<std::size_t>(function->fewest),
                       static_cast<std::size_t>(function->most), expression.line);
    const auto [number, isNew] =
        hostFunctionNumbers_.try_emplace(name, program_->hostFunctions.size());
    if (isNew) program_->hostFunctions.push_back(*function);
    const std::uint32_t first = CompileArguments(expression.arguments);
    const Operand place = wantsValue ? GeneralDestination(wish, Type::variant) : kNoOperand;
    Emit(Op::callHost, place, 0, first, static_cast<Operand>(number->second), given);
    return {place, Type::variant, false, true};
  }
  const int builtIn = FindBuiltIn(name);
  if (builtIn < 0) {
    found = false;
    return {};
  }
  const BuiltIn& row = BuiltInAt(builtIn);
  CheckArgumentCount(name, given, static_cast<std::size_t>(row.fewest),
                     static_cast<std::size_t>(row.most), expression.line);
  if (row.real && expression.arguments[0]->kind != Expression::Kind::omitted) {
    const Result argument = CompileExpression(*expression.arguments[0]);
    const Operand place = Destination(wish, Type::real);
    Emit(Op::realFunction, place, argument.place, 0, static_cast<Operand>(builtIn));
    return {place, Type::real, false, true};
  }
  const std::uint32_t first = CompileArguments(expression.arguments);
  const Operand place = GeneralDestination(wish, row.result);
  Emit(Op::callBuiltin, place, 0, first, static_cast<Operand>(builtIn), given);
  return {place, row.result, false, true};
}

Compiler::Passing Compiler::PassVariable(const ScriptVariable& variable) {
  if (!variable.byReference) return {Op::passReference, variable.place, variable.type, {}};
  NoteWritten(variable);
  return {Op::pass, variable.place, variable.type, {}};
}

Compiler::Passing Compiler::PassElement(const Parameter& parameter, const Expression& argument,
                                        const Result& array, bool othersAreNames) {
  const Type type = parameter.type == Type::variant ? array.type : parameter.type;
  const Operand place = PassingRegister(type);
  const std::size_t count = argument.arguments.size();
  Passing passing{Op::passReference, place, type, {}};
  if (count > 2) {
    const std::uint32_t first = CompileArguments(argument.arguments);
    const Operand value = PassingRegister(Type::variant);
    Emit(Op::getVN, value, array.place, first, 0, count);
    EmitConverted(place, type, {value, array.type});
    passing.writeBack.push_back(
        {Op::putN, static_cast<std::uint16_t>(count), place, array.place, first, 0});
    return passing;
  }
  // The element that is written back is the one that was read, whatever the call does to variables.
  Operand indexes[2] = {0, 0};
  Expression element(Expression::Kind::name, argument.line);
  for (std::size_t i = 0; i < count; ++i) {
    const Result index = CompileExpression(*argument.arguments[i]);
    const bool variable = !index.passing && (index.place & 3) != kConstant;
    const bool mayChange = variable && ((index.place & 3) == kModule || othersAreNames);
    if (mayChange) {
      indexes[i] = PassingRegister(Type::variant);
      Emit(Op::move, indexes[i], index.place);
    } else {
      indexes[i] = index.place;
    }
  }
  const Op gets[2][3] = {{Op::getV1, Op::getI1, Op::getR1}, {Op::getV2, Op::getI2, Op::getR2}};
  const int kind = array.type == Type::integer ? 1 : array.type == Type::real ? 2 : 0;
  const Operand value = type == array.type ? place : PassingRegister(array.type);
  Emit(gets[count - 1][kind], value, array.place, indexes[0], indexes[1]);
  EmitConverted(place, type, {value, array.type});
  passing.writeBack.push_back(
      {count == 1 ? Op::put1 : Op::put2, 0, place, array.place, indexes[0], indexes[1]});
  return passing;
}

Compiler::Passing Compiler::CompileArgument(const Parameter& parameter, const Expression* argument,
                                            bool othersAreNames, bool othersCall) {
  if (!argument || argument->kind == Expression::Kind::omitted) {
    const Operand constant = Constant(parameter.initial);
    if (!parameter.byReference) return {Op::passValue, constant, Type::variant, {}};
    const Operand place = PassingRegister(parameter.type);
    EmitConverted(place, parameter.type, {constant, TypeOf(parameter.initial)});
    return {Op::passReference, place, parameter.type, {}};
  }
  const bool isName = argument->kind == Expression::Kind::name;
  ScriptVariable* const variable = isName ? FindVariable(argument->name) : nullptr;
  const bool calls =
      variable && argument->hasArguments && !variable->array && heads_.contains(argument->name);
  const bool isPlace = variable && !variable->constant && !calls && !argument->parenthesised;

  if (parameter.array || (isPlace && variable->array && !argument->hasArguments)) {
    const Result result = CompileExpression(*argument);
    if (!parameter.array) {
      if (parameter.type != Type::variant) {
        Fail(argument->line,
             "an array where one " + std::string(TypeName(parameter.type)) + " is expected");
      }
      return {parameter.byReference ? Op::pass : Op::passValue, result.place, Type::variant, {}};
    }
    if (result.array && result.type == parameter.type)
      return {Op::pass, result.place, result.type, {}};
    if (result.array || result.type != Type::variant) {
      Fail(argument->line, "expected an array of " + std::string(TypeName(parameter.type)));
    }
    const Operand place = PassingRegister(Type::variant);
    Emit(Op::asArray, place, result.place, 0, 0, static_cast<std::size_t>(parameter.type));
    return {Op::pass, place, parameter.type, {}};
  }
  if (parameter.byReference && isPlace) {
    if (variable->array && !argument->arguments.empty() &&
        argument->arguments.size() <= kMostDimensions) {
      return PassElement(parameter, *argument, {variable->place, variable->type, true},
                         othersAreNames);
    }
    const bool sameType = parameter.type == variable->type || parameter.type == Type::variant;
    if (!argument->hasArguments && sameType) return PassVariable(*variable);
    if (!argument->hasArguments) {
      // Another type: the procedure gets a converted copy, which is converted back behind the call.
      const Operand place = PassingRegister(parameter.type);
      EmitConverted(place, parameter.type, CompileExpression(*argument));
      Passing passing{Op::passReference, place, parameter.type, {}};
      if (variable->byReference) {
        NoteWritten(*variable);
        passing.writeBack.push_back({Op::store, 0, variable->place, place, 0, 0});
      } else {
        passing.writeBack.push_back({Op::convert, static_cast<std::uint16_t>(variable->type),
                                     variable->place, place, 0, 0});
      }
      return passing;
    }
  }
  const Result result = InType(CompileExpression(*argument), parameter.type);
  if (!parameter.byReference) {
    // A value is the one that the variable had before the other arguments were evaluated.
    const Result kept = othersCall ? Copied(result) : result;
    return {Op::passValue, kept.place, kept.type, {}};
  }
  // A reference to a constant would let the procedure change it.
  if (result.passing && result.type == parameter.type) {
    return {Op::passReference, result.place, parameter.type, {}};
  }
  const Operand place = PassingRegister(parameter.type);
  EmitConverted(place, parameter.type, result);
  return {Op::passReference, place, parameter.type, {}};
}

Result Compiler::CompileCall(const ProcedureHead& head, const Expression& expression, Wish wish,
                             bool wantsValue) {
  const std::vector<Parameter>& parameters = program_->procedures[head.number].parameters;
  const Type type = program_->procedures[head.number].result;
  if (wantsValue && !head.function) {
    Fail(expression.line, "`" + Written(expression.name) + "` is a Sub and has no value");
  }
  const auto isName = [](const ExpressionPtr& argument) {
    return argument->kind == Expression::Kind::name && !argument->hasArguments;
  };
  const std::size_t fewest = static_cast<std::size_t>(
      std::count_if(parameters.begin(), parameters.end(),
                    [](const Parameter& parameter) { return !parameter.optional; }));
  CheckArgumentCount(Written(expression.name), expression.arguments.size(), fewest,
                     parameters.size(), expression.line);
  const bool names = std::any_of(expression.arguments.begin(), expression.arguments.end(), isName);
  const bool calls =
      std::any_of(expression.arguments.begin(), expression.arguments.end(),
                  [this](const ExpressionPtr& argument) { return CallsProcedure(*argument); });
  std::vector<Passing> passings;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const Expression* const argument =
        i < expression.arguments.size() ? expression.arguments[i].get() : nullptr;
    if (argument && argument->kind == Expression::Kind::omitted && !parameters[i].optional) {
      Fail(expression.line, "argument " + std::to_string(i + 1) + " of `" +
                                Written(expression.name) + "` is missing");
    }
    passings.push_back(CompileArgument(parameters[i], argument, names, calls));
  }
  const auto callee = static_cast<Operand>(head.number);
  Emit(Op::prepareCall, 0, 0, 0, callee);
  for (std::size_t i = 0; i < passings.size(); ++i) {
    Emit(passings[i].op, 0, passings[i].place, static_cast<Operand>(passings[i].declared), 0, i);
  }
  const bool number = type == Type::integer || type == Type::real || type == Type::boolean;
  const Operand place = !wantsValue ? kNoOperand
                        : number    ? Destination(wish, type)
                                    : GeneralDestination(wish, type);
  Emit(Op::call, place, 0, 0, callee);
  for (std::size_t i = 0; i < passings.size(); ++i) {
    for (const Instruction& instruction : passings[i].writeBack) {
      writeBacks_.push_back({draft_->number, Here(), head.number, i});
      draft_->procedure.code.push_back(instruction);
    }
  }
  return {place, type, false, true};
}

}  // namespace qrvml
