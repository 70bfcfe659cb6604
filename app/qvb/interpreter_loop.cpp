// The instructions, one case each.
#include <algorithm>
#include <cmath>
#include <limits>

#include "qvb/interpreter.h"

namespace qrvml {
namespace {

inline void PutReal(Value& place, double number) {
  if (place.tag >= Tag::text) place = Value();
  place.tag = Tag::real;
  place.real = number;
}

inline void PutInteger(Value& place, std::int32_t number) {
  if (place.tag >= Tag::text) place = Value();
  place.tag = Tag::integer;
  place.integer = number;
}

bool IsNumber(const Value& value) { return value.tag == Tag::real || value.tag == Tag::integer; }
double NumberIn(const Value& value) {
  return value.tag == Tag::real ? value.real : static_cast<double>(value.integer);
}

std::int32_t IndexOf(const Value& value) {
  return value.tag == Tag::integer ? value.integer : ToInteger(value);
}

Value& Target(Value& value) { return value.tag == Tag::reference ? *value.target : value; }
const Value& Target(const Value& value) {
  return value.tag == Tag::reference ? *value.target : value;
}

bool Truth(const Value& value) {
  return value.tag == Tag::boolean ? value.boolean : ToBoolean(value);
}

template <Operator op>
void ArithmeticOfAny(Value& place, const Value& givenLeft, const Value& givenRight) {
  const Value& left = Target(givenLeft);
  const Value& right = Target(givenRight);
  if (IsNumber(left) && IsNumber(right)) {
    if (left.tag == Tag::integer && right.tag == Tag::integer) {
      std::int32_t whole = 0;
      const bool overflows =
          op == Operator::add        ? __builtin_add_overflow(left.integer, right.integer, &whole)
          : op == Operator::subtract ? __builtin_sub_overflow(left.integer, right.integer, &whole)
                                     : __builtin_mul_overflow(left.integer, right.integer, &whole);
      if (!overflows) return PutInteger(place, whole);
    }
    const double a = NumberIn(left);
    const double b = NumberIn(right);
    return PutReal(place, op == Operator::add ? a + b : op == Operator::subtract ? a - b : a * b);
  }
  place = Apply(op, left, right);
}

template <Operator op>
void ArithmeticOfIntegers(Value& place, const Value& left, const Value& right) {
  std::int32_t whole = 0;
  const bool overflows =
      op == Operator::add        ? __builtin_add_overflow(left.integer, right.integer, &whole)
      : op == Operator::subtract ? __builtin_sub_overflow(left.integer, right.integer, &whole)
                                 : __builtin_mul_overflow(left.integer, right.integer, &whole);
  if (overflows) throw ScriptFault(FaultNumber::overflow);
  place.integer = whole;
}

inline bool CompareAny(Operator op, const Value& givenLeft, const Value& givenRight) {
  const Value& left = Target(givenLeft);
  const Value& right = Target(givenRight);
  if (IsNumber(left) && IsNumber(right)) return CompareNumbers(op, NumberIn(left), NumberIn(right));
  return Compare(op, left, right);
}

Value CopyOf(const Value& value) {
  const Value& source = value.tag == Tag::reference ? *value.target : value;
  if (source.tag != Tag::array) return source;
  const auto copy = MakeRef<ArrayData>(source.array()->element, false);
  copy->CopyFrom(*source.array());
  return Value::Array(copy.get());
}

void Store(Value& place, const Value& value) {
  if (place.tag != Tag::reference) {
    throw ScriptFault(FaultNumber::typeMismatch, "an array cannot be assigned here");
  }
  if (place.declared == Type::variant) {
    *place.target = CopyOf(value);
  } else {
    *place.target = Converted(value, place.declared);
  }
}

ArrayData& ArrayIn(Value& value) {
  Value& target = Target(value);
  if (target.tag != Tag::array) throw ScriptFault(FaultNumber::typeMismatch, "no array");
  return *target.array();
}

void PutElement(ArrayData& array, std::size_t place, const Value& value) {
  if (array.element == Type::real && IsNumber(value)) {
    array.reals[place] = NumberIn(value);
  } else {
    array.Put(place, value);
  }
}

void AppendText(Value& text, const Value& more) {
  if (text.tag != Tag::text || !text.block || text.textBlock()->shared()) {
    text = Apply(Operator::join, text, more);
  } else if (more.tag == Tag::text) {
    if (more.block != text.block) {
      text.textBlock()->Append(more.text());
    } else {
      const std::string copy(more.text());  // appending may move it
      text.textBlock()->Append(copy);
    }
  } else {
    text.textBlock()->Append(ToText(more));
  }
}

/// What copying a value costs beside its instruction.
std::int64_t WorkOf(const Value& value) {
  const Value& source = Target(value);
  if (source.tag == Tag::array) return static_cast<std::int64_t>(source.array()->count / 8);
  if (source.tag == Tag::text) return static_cast<std::int64_t>(source.text().size() / 64);
  return 0;
}

[[noreturn]] void NotInitialised() { throw ScriptFault(FaultNumber::loopNotInitialised); }

/// Whether a loop goes on with this value of its variable.
template <typename T>
bool Within(T value, T limit, T step) {
  return step >= 0 ? value <= limit : value >= limit;
}

bool ForAny(Value& variable, const Value& limit, const Value& step) {
  const Value& now = Target(variable);
  const bool up = CompareAny(Operator::greaterOrEqual, step, Value::Integer(0));
  return CompareAny(up ? Operator::lessOrEqual : Operator::greaterOrEqual, now, limit);
}

bool NextAny(Value& variable, const Value& limit, const Value& step) {
  if (limit.tag == Tag::empty) NotInitialised();
  const Value next = Apply(Operator::add, Target(variable), step);
  if (variable.tag == Tag::reference) {
    Store(variable, next);
  } else {
    variable = next;
  }
  return ForAny(variable, limit, step);
}

}  // namespace

// One function, since what it keeps in registers is what makes it fast.
void Interpreter::Loop() {
  const Instruction* pc = at_;
  const Instruction* from = pc;
  const Instruction* code = frames_.back().procedure->code.data();
  std::int64_t left = allowance_;
  Value* regions[3] = {frames_.back().registers, module_.data(),
                       const_cast<Value*>(program_->constants.data())};
  // A step is an instruction; they are counted a straight run at a time.
  const auto at = [&regions](Operand operand) -> Value& {
    return regions[operand & 3][operand >> 2];
  };
  const auto jump = [&](Operand target) __attribute__((always_inline)) {
    left -= pc - from;
    pc = from = code + target;
    if (left < 0) [[unlikely]] {
      left = Refill(left);
    }
  };
  const auto enter = [&] {
    const Frame& frame = frames_.back();
    code = frame.procedure->code.data();
    regions[kRegister] = frame.registers;
  };
  try {
    for (;;) {
      const Instruction& in = *pc++;
      switch (in.op) {
        case Op::none:
          break;
        case Op::move:
          Assign(at(in.a), at(in.b));
          break;
        case Op::moveNumber:
          at(in.a).bits = at(in.b).bits;
          break;
        case Op::copy:
          if (at(in.b).tag != Tag::array) {
            Assign(at(in.a), at(in.b));
          } else {
            at(in.a) = CopyOf(at(in.b));
            left -= WorkOf(at(in.a));
          }
          break;
        case Op::widen:
          at(in.a).real = at(in.b).integer;
          break;
        case Op::convert:
          if (static_cast<Type>(in.n) == Type::real && IsNumber(at(in.b))) {
            at(in.a).real = NumberIn(at(in.b));
          } else {
            at(in.a) = Converted(at(in.b), static_cast<Type>(in.n));
          }
          break;
        case Op::load:
          Assign(at(in.a), Target(at(in.b)));
          break;
        case Op::store:
          Store(at(in.a), at(in.b));
          if (at(in.b).tag >= Tag::text) left -= WorkOf(at(in.b));
          break;
        case Op::copyArray:
          ArrayIn(at(in.a)).CopyFrom(ArrayIn(at(in.b)));
          left -= WorkOf(at(in.a));
          break;
        case Op::asArray: {
          ArrayData& array = ArrayIn(at(in.b));
          if (array.element != static_cast<Type>(in.n)) {
            throw ScriptFault(FaultNumber::typeMismatch, "an array of another type");
          }
          at(in.a) = Value::Array(&array);
          break;
        }

        case Op::addII:
          ArithmeticOfIntegers<Operator::add>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::addRR:
          at(in.a).real = at(in.b).real + at(in.c).real;
          break;
        case Op::addRI:
          at(in.a).real = at(in.b).real + at(in.c).integer;
          break;
        case Op::addIR:
          at(in.a).real = at(in.b).integer + at(in.c).real;
          break;
        case Op::addVV:
          ArithmeticOfAny<Operator::add>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::subII:
          ArithmeticOfIntegers<Operator::subtract>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::subRR:
          at(in.a).real = at(in.b).real - at(in.c).real;
          break;
        case Op::subRI:
          at(in.a).real = at(in.b).real - at(in.c).integer;
          break;
        case Op::subIR:
          at(in.a).real = at(in.b).integer - at(in.c).real;
          break;
        case Op::subVV:
          ArithmeticOfAny<Operator::subtract>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::mulII:
          ArithmeticOfIntegers<Operator::multiply>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::mulRR:
          at(in.a).real = at(in.b).real * at(in.c).real;
          break;
        case Op::mulRI:
          at(in.a).real = at(in.b).real * at(in.c).integer;
          break;
        case Op::mulIR:
          at(in.a).real = at(in.b).integer * at(in.c).real;
          break;
        case Op::mulVV:
          ArithmeticOfAny<Operator::multiply>(at(in.a), at(in.b), at(in.c));
          break;
        case Op::divNN:
          at(in.a).real = Divide(NumberIn(at(in.b)), NumberIn(at(in.c)));
          break;
        case Op::divVV:
          PutReal(at(in.a), Divide(ToReal(at(in.b)), ToReal(at(in.c))));
          break;
        case Op::apply:
          at(in.a) = Apply(static_cast<Operator>(in.n), at(in.b), at(in.c));
          if (at(in.a).tag == Tag::text) left -= WorkOf(at(in.a));
          break;
        case Op::appendText:
          AppendText(at(in.a), at(in.b));
          break;
        case Op::negativeI: {
          const std::int32_t number = at(in.b).integer;
          if (number == std::numeric_limits<std::int32_t>::min()) {
            throw ScriptFault(FaultNumber::overflow);
          }
          at(in.a).integer = -number;
          break;
        }
        case Op::negativeR:
          at(in.a).real = -at(in.b).real;
          break;
        case Op::negativeV:
          at(in.a) = Negative(at(in.b));
          break;
        case Op::inverse:
          at(in.a) = Inverse(at(in.b));
          break;

        case Op::compareII:
          at(in.a).boolean =
              CompareNumbers(static_cast<Operator>(in.n), at(in.b).integer, at(in.c).integer);
          break;
        case Op::compareNN:
          at(in.a).boolean =
              CompareNumbers(static_cast<Operator>(in.n), NumberIn(at(in.b)), NumberIn(at(in.c)));
          break;
        case Op::compareVV:
          at(in.a).boolean = CompareAny(static_cast<Operator>(in.n), at(in.b), at(in.c));
          if (at(in.b).tag >= Tag::text) left -= WorkOf(at(in.b));
          break;
        case Op::jump:
          jump(in.d);
          break;
        case Op::jumpTrue:
          if (Truth(at(in.a))) jump(in.d);
          break;
        case Op::jumpFalse:
          if (!Truth(at(in.a))) jump(in.d);
          break;
        case Op::jumpUnlessLessII:
          if (!(at(in.b).integer < at(in.c).integer)) jump(in.d);
          break;
        case Op::jumpUnlessEqualII:
          if (at(in.b).integer != at(in.c).integer) jump(in.d);
          break;
        case Op::jumpUnlessII:
          if (!CompareNumbers(static_cast<Operator>(in.n), at(in.b).integer, at(in.c).integer)) {
            jump(in.d);
          }
          break;
        case Op::jumpUnlessRR:
          if (!CompareNumbers(static_cast<Operator>(in.n), at(in.b).real, at(in.c).real))
            jump(in.d);
          break;
        case Op::jumpUnlessNN:
          if (!CompareNumbers(static_cast<Operator>(in.n), NumberIn(at(in.b)),
                              NumberIn(at(in.c)))) {
            jump(in.d);
          }
          break;
        case Op::jumpUnlessVV:
          if (at(in.b).tag >= Tag::text) left -= WorkOf(at(in.b));
          if (!CompareAny(static_cast<Operator>(in.n), at(in.b), at(in.c))) jump(in.d);
          break;

        case Op::getR1: {
          const ArrayData& array = *at(in.b).array();
          at(in.a).real = array.reals[array.At(IndexOf(at(in.c)))];
          break;
        }
        case Op::getI1: {
          const ArrayData& array = *at(in.b).array();
          at(in.a).integer = array.integers[array.At(IndexOf(at(in.c)))];
          break;
        }
        case Op::getV1: {
          const ArrayData& array = *at(in.b).array();
          at(in.a) = array.Get(array.At(IndexOf(at(in.c))));
          break;
        }
        case Op::getR2: {
          const ArrayData& array = *at(in.b).array();
          at(in.a).real = array.reals[array.At(IndexOf(at(in.c)), IndexOf(at(in.d)))];
          break;
        }
        case Op::getI2: {
          const ArrayData& array = *at(in.b).array();
          at(in.a).integer = array.integers[array.At(IndexOf(at(in.c)), IndexOf(at(in.d)))];
          break;
        }
        case Op::getV2: {
          const ArrayData& array = *at(in.b).array();
          at(in.a) = array.Get(array.At(IndexOf(at(in.c)), IndexOf(at(in.d))));
          break;
        }
        case Op::getVN: {
          const ArrayData& array = *at(in.b).array();
          const auto indexes = Indexes(in);
          at(in.a) = array.Get(array.At(indexes.data(), in.n));
          break;
        }
        case Op::put1: {
          ArrayData& array = *at(in.b).array();
          PutElement(array, array.At(IndexOf(at(in.c))), at(in.a));
          break;
        }
        case Op::put2: {
          ArrayData& array = *at(in.b).array();
          PutElement(array, array.At(IndexOf(at(in.c)), IndexOf(at(in.d))), at(in.a));
          break;
        }
        case Op::putN: {
          ArrayData& array = *at(in.b).array();
          const auto indexes = Indexes(in);
          PutElement(array, array.At(indexes.data(), in.n), at(in.a));
          break;
        }
        case Op::fillRun:
          Fill(program_->fillRuns[in.d]);
          left -= static_cast<std::int64_t>(program_->fillRuns[in.d].count);
          break;

        case Op::prepareCall:
          Prepare(program_->procedures[in.d]);
          break;
        case Op::passValue:
          if (at(in.b).tag < Tag::text) {
            Assign(prepared_[in.n], at(in.b));
          } else {
            prepared_[in.n] = CopyOf(at(in.b));
            left -= WorkOf(at(in.b));
          }
          break;
        case Op::passReference:
          prepared_[in.n].tag = Tag::reference;
          prepared_[in.n].declared = static_cast<Type>(in.c);
          prepared_[in.n].target = &at(in.b);
          break;
        case Op::pass:
          Assign(prepared_[in.n], at(in.b));
          break;
        case Op::call:
          Enter(pc, in.a);
          enter();
          jump(0);
          break;
        case Op::leave: {
          const Frame& frame = frames_.back();
          Value& result = frame.registers[frame.procedure->resultRegister];
          const Operand destination = frame.destination;
          const Instruction* const back = frame.back;
          if (!back) {
            result_ = std::move(result);
            left -= pc - from;
            Settle(left);
            return;
          }
          left -= pc - from;
          pc = from = back;
          if (result.tag < Tag::text) {
            const Value value = result;
            PopFrame();
            enter();
            if (destination != kNoOperand) Assign(at(destination), value);
          } else {
            Value value = std::move(result);
            PopFrame();
            enter();
            if (destination != kNoOperand) at(destination) = std::move(value);
          }
          break;
        }
        case Op::callHost: {
          Value value = program_->hostFunctions[in.d].call(
              {regions[kRegister] + in.c, static_cast<std::size_t>(in.n)});
          if (in.a != kNoOperand) at(in.a) = std::move(value);
          break;
        }
        case Op::callBuiltin: {
          at(in.a) =
              BuiltInAt(static_cast<int>(in.d))
                  .call({regions[kRegister] + in.c, static_cast<std::size_t>(in.n)}, context_);
          left -= context_.work / 16;
          context_.work = 0;
          break;
        }
        case Op::realFunction:
          at(in.a).real = BuiltInAt(static_cast<int>(in.d))
                              .real(IsNumber(at(in.b)) ? NumberIn(at(in.b)) : ToReal(at(in.b)));
          break;
        case Op::getMember:
          GetMember(in);
          break;
        case Op::putMember:
          PutMember(in);
          break;
        case Op::getIndexed:
          GetIndexed(in, {regions[kRegister] + in.c, in.n});
          break;
        case Op::putIndexed:
          PutIndexed(in, {regions[kRegister] + in.c, in.n});
          break;
        case Op::getIndexed1: {
          const Value& whole = Target(at(in.b));
          if (whole.tag == Tag::array && whole.array()->element == Type::real) {
            const ArrayData& array = *whole.array();
            PutReal(at(in.a), array.reals[array.At(IndexOf(at(in.c)))]);
          } else {
            GetIndexed(in, {&at(in.c), 1});
          }
          break;
        }
        case Op::putIndexed1: {
          const Value& whole = Target(at(in.b));
          if (whole.tag == Tag::array) {
            ArrayData& array = *whole.array();
            PutElement(array, array.At(IndexOf(at(in.c))), at(in.a));
          } else {
            PutIndexed(in, {&at(in.c), 1});
          }
          break;
        }
        case Op::create: {
          const auto object = program_->classes[in.d].make();
          if (!object) throw ScriptFault(FaultNumber::cannotCreate, program_->classes[in.d].name);
          at(in.a) = Value::Object(object);
          break;
        }
        case Op::redim:
          ReDim(in);
          left -= WorkOf(at(in.b));
          break;
        case Op::erase:
          ArrayIn(at(in.b)).Erase();
          left -= WorkOf(at(in.b));
          break;

        case Op::forI:
          if (!Within(at(in.a).integer, at(in.b).integer, at(in.c).integer)) jump(in.d);
          break;
        case Op::forR:
          if (!Within(at(in.a).real, at(in.b).real, at(in.c).real)) jump(in.d);
          break;
        case Op::forV: {
          const Value& variable = at(in.a);
          const Value& limit = at(in.b);
          const Value& step = at(in.c);
          const bool goesOn =
              variable.tag == Tag::integer && limit.tag == Tag::integer && step.tag == Tag::integer
                  ? Within(variable.integer, limit.integer, step.integer)
                  : ForAny(at(in.a), limit, step);
          if (!goesOn) jump(in.d);
          break;
        }
        case Op::nextI1: {
          Value& variable = at(in.a);
          const Value& limit = at(in.b);
          if (variable.integer < limit.integer && limit.tag == Tag::integer) [[likely]] {
            ++variable.integer;
            jump(in.d);
          } else {
            if (limit.tag != Tag::integer) NotInitialised();
            ArithmeticOfIntegers<Operator::add>(variable, variable, at(in.c));
          }
          break;
        }
        case Op::nextI: {
          Value& variable = at(in.a);
          if (at(in.b).tag != Tag::integer) NotInitialised();
          ArithmeticOfIntegers<Operator::add>(variable, variable, at(in.c));
          if (Within(variable.integer, at(in.b).integer, at(in.c).integer)) jump(in.d);
          break;
        }
        case Op::nextR: {
          Value& variable = at(in.a);
          if (at(in.b).tag != Tag::real) NotInitialised();
          variable.real += at(in.c).real;
          if (Within(variable.real, at(in.b).real, at(in.c).real)) jump(in.d);
          break;
        }
        case Op::nextV: {
          Value& variable = at(in.a);
          const Value& limit = at(in.b);
          const Value& step = at(in.c);
          std::int32_t next = 0;
          if (variable.tag == Tag::integer && limit.tag == Tag::integer &&
              step.tag == Tag::integer &&
              !__builtin_add_overflow(variable.integer, step.integer, &next)) [[likely]] {
            variable.integer = next;
            if (Within(next, limit.integer, step.integer)) jump(in.d);
          } else if (NextAny(variable, limit, step)) {
            jump(in.d);
          }
          break;
        }
        case Op::eachFirst: {
          const ArrayData& array = ArrayIn(at(in.b));
          at(in.c) = Value::Real(0);
          if (array.count == 0) {
            jump(in.d);
          } else {
            at(in.a) = array.Get(0);
          }
          break;
        }
        case Op::eachNext: {
          Value& position = at(in.c);
          if (position.tag != Tag::real) NotInitialised();
          const ArrayData& array = ArrayIn(at(in.b));
          position.real += 1;
          if (position.real < static_cast<double>(array.count)) {
            at(in.a) = array.Get(static_cast<std::size_t>(position.real));
            jump(in.d);
          }
          break;
        }
        case Op::onError: {
          Frame& frame = frames_.back();
          frame.handling = static_cast<Handling>(in.n);
          frame.handler = in.d;
          ClearError();
          break;
        }
        case Op::resume:
          jump(Resume(frames_.back(), in));
          break;
        case Op::end:
          left -= pc - from;
          Settle(left);
          return;
        case Op::Count:
        default:
          __builtin_unreachable();
      }
    }
  } catch (...) {
    at_ = pc;
    Settle(left - (pc - from));
    throw;
  }
}

}  // namespace qrvml
