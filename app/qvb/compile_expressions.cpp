// Expressions.
#include <algorithm>

#include "qvb/compiler_state.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

bool IsArithmeticType(Type type) { return type == Type::integer || type == Type::real; }

struct ArithmeticRow {
  Operator op;
  Op integers, reals, realInteger, integerReal, values;
};

constexpr ArithmeticRow kArithmetic[] = {
    {Operator::add, Op::addII, Op::addRR, Op::addRI, Op::addIR, Op::addVV},
    {Operator::subtract, Op::subII, Op::subRR, Op::subRI, Op::subIR, Op::subVV},
    {Operator::multiply, Op::mulII, Op::mulRR, Op::mulRI, Op::mulIR, Op::mulVV},
};

/// What is known of an operator's result without its operands' values.
Type ResultType(Operator op, Type left, Type right) {
  switch (op) {
    case Operator::divide:
    case Operator::power:
      return Type::real;
    case Operator::join:
      return Type::text;
    case Operator::add:
    case Operator::subtract:
    case Operator::multiply:
      if (op == Operator::add && left == Type::text && right == Type::text) return Type::text;
      return Type::variant;
    case Operator::both:
    case Operator::either:
    case Operator::differ:
      return left == right && (left == Type::boolean || left == Type::integer) ? left
                                                                               : Type::variant;
    case Operator::integerDivide:
    case Operator::modulo:
      return Type::variant;
    default:
      return Type::boolean;
  }
}

}  // namespace

std::optional<Value> Compiler::Fold(Operator op, const Value& left, const Value& right) const {
  try {
    const bool integers = left.tag == Tag::integer && right.tag == Tag::integer;
    if (integers && op <= Operator::multiply) {
      return Value::Integer(IntegerResult(op, left.integer, right.integer));
    }
    // Constants that double each other would need no run to fill the memory.
    constexpr std::size_t kLongestText = 10000;
    const auto isLong = [](const Value& value) {
      return value.tag == Tag::text && value.text().size() > kLongestText;
    };
    if (isLong(left) || isLong(right)) return std::nullopt;
    return Apply(op, left, right);
  } catch (const ScriptFault&) {
    return std::nullopt;  // it fails when the statement runs
  }
}

Value Compiler::ExpectConstant(const Expression& expression) {
  const std::size_t before = draft_->procedure.code.size();
  const Result result = CompileExpression(expression);
  const auto constant = ConstantOf(result);
  if (!constant || draft_->procedure.code.size() != before) {
    Fail(expression.line, "expected a constant");
  }
  return *constant;
}

Result Compiler::CompileExpression(const Expression& expression, Wish wish) {
  switch (expression.kind) {
    case Expression::Kind::constant:
      return {Constant(expression.value), TypeOf(expression.value)};
    case Expression::Kind::name:
      return CompileName(expression, wish);
    case Expression::Kind::member:
      return CompileMember(expression, wish, true);
    case Expression::Kind::apply:
      return CompileIndexed(CompileExpression(*expression.left), expression, wish);
    case Expression::Kind::negative:
    case Expression::Kind::inverse:
      return CompileSign(expression, wish);
    case Expression::Kind::binary:
      return CompileBinary(expression, wish);
    case Expression::Kind::newObject: {
      const Operand place = GeneralDestination(wish, Type::object);
      Emit(Op::create, place, 0, 0, static_cast<Operand>(ClassNumber(expression.name)));
      return {place, Type::object, false, true};
    }
    case Expression::Kind::omitted:
      break;
  }
  Fail(expression.line, "an argument is missing");
}

Result Compiler::CompileSign(const Expression& expression, Wish wish) {
  const Result operand = CompileExpression(*expression.left);
  const bool negative = expression.kind == Expression::Kind::negative;
  if (const auto constant = ConstantOf(operand)) {
    const bool isNumber = constant->tag == Tag::integer || constant->tag == Tag::real ||
                          constant->tag == Tag::boolean;
    if (isNumber) {
      const Value value = negative ? Negative(*constant) : Inverse(*constant);
      return {Constant(value), TypeOf(value)};
    }
  }
  if (negative && IsArithmeticType(operand.type) && !operand.array) {
    const Operand place = Destination(wish, operand.type);
    Emit(operand.type == Type::integer ? Op::negativeI : Op::negativeR, place, operand.place);
    return {place, operand.type, false, true};
  }
  const Type type = !negative && operand.type == Type::boolean ? Type::boolean : Type::variant;
  const Operand place = GeneralDestination(wish, type);
  Emit(negative ? Op::negativeV : Op::inverse, place, operand.place);
  return {place, type, false, true};
}

bool Compiler::CallsProcedure(const Expression& expression) const {
  if (expression.kind == Expression::Kind::name && heads_.contains(expression.name)) return true;
  if (expression.left && CallsProcedure(*expression.left)) return true;
  if (expression.right && CallsProcedure(*expression.right)) return true;
  return std::any_of(expression.arguments.begin(), expression.arguments.end(),
                     [this](const ExpressionPtr& argument) { return CallsProcedure(*argument); });
}

/// A variable's value as it is now, although `later` may change the variable before it is used.
Result Compiler::Kept(const Result& result, const Expression& later) {
  return CallsProcedure(later) ? Copied(result) : result;
}

Result Compiler::Copied(const Result& result) {
  if (result.passing || result.array || (result.place & 3) == kConstant) return result;
  const Operand place = PassingRegister(result.type);
  Emit(Op::load, place, result.place);
  return {place, result.type, false, true};
}

/// An operand of an instruction that looks through references by itself.
Result Compiler::CompileOperand(const Expression& expression) {
  if (expression.kind == Expression::Kind::name && !expression.hasArguments) {
    const ScriptVariable* const variable = FindVariable(expression.name);
    if (variable && variable->byReference && !variable->array && variable->type == Type::variant) {
      return {variable->place, Type::variant};
    }
  }
  return CompileExpression(expression);
}

Result Compiler::CompileBinary(const Expression& expression, Wish wish) {
  const Result left = Kept(CompileOperand(*expression.left), *expression.right);
  const Result right = CompileOperand(*expression.right);
  return EmitOperation(expression.op, left, right, wish);
}

Result Compiler::EmitOperation(Operator op, const Result& left, const Result& right, Wish wish) {
  const auto leftConstant = ConstantOf(left);
  const auto rightConstant = ConstantOf(right);
  if (leftConstant && rightConstant) {
    if (const auto folded = Fold(op, *leftConstant, *rightConstant)) {
      return {Constant(*folded), TypeOf(*folded)};
    }
  }
  const bool numbers =
      IsArithmeticType(left.type) && IsArithmeticType(right.type) && !left.array && !right.array;
  const bool integers = numbers && left.type == Type::integer && right.type == Type::integer;
  for (const ArithmeticRow& row : kArithmetic) {
    if (row.op != op) continue;
    if (!numbers) {
      const Type known = ResultType(op, left.type, right.type);
      const Operand place = GeneralDestination(wish, known);
      Emit(row.values, place, left.place, right.place);
      return {place, known, false, true};
    }
    const Type type = integers ? Type::integer : Type::real;
    const Operand place = Destination(wish, type);
    const Op instruction = integers                     ? row.integers
                           : left.type == right.type    ? row.reals
                           : left.type == Type::integer ? row.integerReal
                                                        : row.realInteger;
    Emit(instruction, place, left.place, right.place);
    return {place, type, false, true};
  }
  if (op == Operator::divide && numbers) {
    const Operand place = Destination(wish, Type::real);
    Emit(Op::divNN, place, left.place, right.place);
    return {place, Type::real, false, true};
  }
  if (IsComparison(op)) {
    const Operand place = Destination(wish, Type::boolean);
    Emit(integers  ? Op::compareII
         : numbers ? Op::compareNN
                   : Op::compareVV,
         place, left.place, right.place, 0, static_cast<std::size_t>(op));
    return {place, Type::boolean, false, true};
  }
  const Type known = ResultType(op, left.type, right.type);
  const Operand place = GeneralDestination(wish, known);
  if (op == Operator::join && left.place == place) {
    Emit(Op::appendText, place, right.place);
  } else {
    Emit(Op::apply, place, left.place, right.place, 0, static_cast<std::size_t>(op));
  }
  return {place, known, false, true};
}

void Compiler::CompileJumpUnless(const Expression& condition, std::vector<std::size_t>& jumps) {
  if (condition.kind == Expression::Kind::binary && IsComparison(condition.op)) {
    const Result left = Kept(CompileOperand(*condition.left), *condition.right);
    const Result right = CompileOperand(*condition.right);
    const bool numbers =
        IsArithmeticType(left.type) && IsArithmeticType(right.type) && !left.array && !right.array;
    const bool integers = numbers && left.type == Type::integer && right.type == Type::integer;
    const bool reals = numbers && left.type == Type::real && right.type == Type::real;
    const Op op = integers && condition.op == Operator::less    ? Op::jumpUnlessLessII
                  : integers && condition.op == Operator::equal ? Op::jumpUnlessEqualII
                  : integers                                    ? Op::jumpUnlessII
                  : reals                                       ? Op::jumpUnlessRR
                  : numbers                                     ? Op::jumpUnlessNN
                                                                : Op::jumpUnlessVV;
    jumps.push_back(
        Emit(op, 0, left.place, right.place, 0, static_cast<std::size_t>(condition.op)));
    return;
  }
  const Result result = CompileExpression(condition);
  jumps.push_back(Emit(Op::jumpFalse, result.place));
}

Result Compiler::CompileName(const Expression& expression, Wish wish) {
  ScriptVariable* variable = FindVariable(expression.name);
  // Inside a function its name with arguments calls it again.
  const auto head = heads_.find(expression.name);
  if (variable && head != heads_.end() && expression.hasArguments && !variable->array) {
    variable = nullptr;
  }
  if (variable) return CompileVariable(*variable, expression, wish);
  bool found = false;
  const Result result = CompileFunction(expression, wish, true, found);
  if (found) return result;
  const std::string& name = names_.Lower(expression.name);
  if (const Value* const value = host_.FindValue(name)) {
    const Result host{Constant(*value), TypeOf(*value)};
    return expression.hasArguments ? CompileIndexed(host, expression, wish) : host;
  }
  if (expression.hasArguments) {
    Fail(expression.line, "`" + Written(expression.name) + "` is no array, function or sub");
  }
  return CompileVariable(ImplicitVariable(expression.name, expression.suffix, expression.line),
                         expression, wish);
}

Result Compiler::CompileVariable(const ScriptVariable& variable, const Expression& expression,
                                 Wish wish) {
  if (variable.constant) {
    const Result result{Constant(variable.value), TypeOf(variable.value)};
    return expression.hasArguments ? CompileIndexed(result, expression, wish) : result;
  }
  if (variable.array) {
    const Result array{variable.place, variable.type, true};
    return expression.hasArguments ? CompileElement(array, expression, wish) : array;
  }
  if (expression.hasArguments) {
    if (variable.type != Type::variant && variable.type != Type::object) {
      Fail(expression.line, "`" + Written(expression.name) + "` is no array");
    }
    return CompileIndexed({variable.place, variable.type}, expression, wish);
  }
  if (!variable.byReference) return {variable.place, variable.type};
  const Operand place = PassingRegister(variable.type);
  Emit(Op::load, place, variable.place);
  return {place, variable.type, false, true};
}

Result Compiler::CompileElement(const Result& array, const Expression& expression, Wish wish) {
  const auto& indexes = expression.arguments;
  if (indexes.empty() || indexes.size() > kMostDimensions) {
    Fail(expression.line, "an array has 1 to " + std::to_string(kMostDimensions) + " indexes");
  }
  const bool number = IsArithmeticType(array.type);
  const Operand place = number && indexes.size() < 3 ? Destination(wish, array.type)
                                                     : GeneralDestination(wish, array.type);
  const bool direct = number && indexes.size() < 3;
  if (indexes.size() > 2) {
    const std::uint32_t first = CompileArguments(indexes);
    Emit(Op::getVN, place, array.place, first, 0, indexes.size());
    return {place, array.type, false, true};
  }
  Result i = CompileExpression(*indexes[0]);
  if (indexes.size() > 1) i = Kept(i, *indexes[1]);
  const Op ops[2][3] = {{Op::getV1, Op::getI1, Op::getR1}, {Op::getV2, Op::getI2, Op::getR2}};
  const int kind = !direct ? 0 : array.type == Type::integer ? 1 : 2;
  if (indexes.size() == 1) {
    Emit(ops[0][kind], place, array.place, i.place);
  } else {
    const Result j = CompileExpression(*indexes[1]);
    Emit(ops[1][kind], place, array.place, i.place, j.place);
  }
  return {place, array.type, false, true};
}

Result Compiler::CompileIndexed(const Result& object, const Expression& expression, Wish wish) {
  const auto& arguments = expression.arguments;
  if (arguments.size() == 1 && arguments[0]->kind != Expression::Kind::omitted) {
    const Result index = CompileExpression(*arguments[0]);
    const Operand place = GeneralDestination(wish, Type::variant);
    Emit(Op::getIndexed1, place, object.place, index.place);
    return {place, Type::variant, false, true};
  }
  const std::uint32_t first = CompileArguments(arguments);
  const Operand place = GeneralDestination(wish, Type::variant);
  Emit(Op::getIndexed, place, object.place, first, 0, arguments.size());
  return {place, Type::variant, false, true};
}

Result Compiler::WithObject(int line) {
  if (draft_->withObjects.empty()) Fail(line, "a member without an object outside of With");
  return {MakeOperand(kRegister, draft_->withObjects.back()), Type::object};
}

std::uint32_t Compiler::AddSite(int name) {
  program_->sites.push_back(names_.Lower(name));
  return static_cast<std::uint32_t>(program_->sites.size() - 1);
}

Result Compiler::CompileMember(const Expression& expression, Wish wish, bool wantsValue) {
  const Result object =
      expression.left ? CompileExpression(*expression.left) : WithObject(expression.line);
  const std::uint32_t first = CompileArguments(expression.arguments);
  const Operand place = wantsValue ? GeneralDestination(wish, Type::variant) : kNoOperand;
  Emit(Op::getMember, place, object.place, first, AddSite(expression.name),
       expression.arguments.size());
  return {place, Type::variant, false, true};
}

}  // namespace qrvml
