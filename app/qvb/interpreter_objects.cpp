// Instructions on objects and arrays that are too long for the loop.
#include <algorithm>

#include "qvb/interpreter.h"
#include "qvb/script_object.h"

namespace qrvml {
namespace {

Value& Target(Value& value) { return value.tag == Tag::reference ? *value.target : value; }

/// Held, since a member may let go of the last variable that holds the object.
Ref<ScriptObject> ObjectIn(Value& value) {
  const Value& target = Target(value);
  if (target.tag != Tag::object) {
    throw ScriptFault(FaultNumber::typeMismatch, "a value that is no object has no members");
  }
  if (!target.block) throw ScriptFault(FaultNumber::objectNotSet);
  return Ref<ScriptObject>(target.object());
}

std::vector<std::int32_t> WholeNumbers(std::span<const Value> values) {
  std::vector<std::int32_t> numbers(values.size());
  std::transform(values.begin(), values.end(), numbers.begin(),
                 [](const Value& value) { return ToInteger(value); });
  return numbers;
}

}  // namespace

Value& Interpreter::At(Operand operand) {
  const std::size_t index = operand >> 2;
  switch (operand & 3) {
    case kRegister:
      return frames_.back().registers[index];
    case kModule:
      return module_[index];
    default:
      return const_cast<Value&>(program_->constants[index]);
  }
}

int Interpreter::FindMember(std::uint32_t site, ScriptObject& object) {
  SiteCache& cache = caches_[site];
  const void* const key = object.ClassKey();
  if (cache.key == key && key) return cache.member;
  const std::string& wanted = program_->sites[site];
  const int member = object.FindMember(wanted);
  if (member < 0) {
    throw ScriptFault(FaultNumber::noSuchMember,
                      std::string(object.ClassName()) + " has no `" + wanted + "`");
  }
  cache = {key, member};
  return member;
}

void Interpreter::GetMember(const Instruction& in) {
  const Ref<ScriptObject> object = ObjectIn(At(in.b));
  const int member = FindMember(in.d, *object);
  Value value = object->Get(member, {frames_.back().registers + in.c, in.n});
  if (in.a != kNoOperand) At(in.a) = std::move(value);
}

void Interpreter::PutMember(const Instruction& in) {
  const Ref<ScriptObject> object = ObjectIn(At(in.b));
  const int member = FindMember(in.d, *object);
  object->Put(member, {frames_.back().registers + in.c, in.n}, At(in.a));
}

std::vector<std::int32_t> Interpreter::Indexes(const Instruction& in) {
  return WholeNumbers({frames_.back().registers + in.c, in.n});
}

void Interpreter::GetIndexed(const Instruction& in, std::span<const Value> indexes) {
  Value& whole = Target(At(in.b));
  if (whole.tag == Tag::array) {
    const ArrayData& array = *whole.array();
    At(in.a) = array.Get(array.At(WholeNumbers(indexes).data(), static_cast<int>(indexes.size())));
    return;
  }
  if (whole.tag != Tag::object) throw ScriptFault(FaultNumber::typeMismatch, "no array");
  const Ref<ScriptObject> object = ObjectIn(whole);
  At(in.a) = object->Get(ScriptObject::kDefaultMember, indexes);
}

void Interpreter::PutIndexed(const Instruction& in, std::span<const Value> indexes) {
  Value& whole = Target(At(in.b));
  if (whole.tag == Tag::array) {
    ArrayData& array = *whole.array();
    array.Put(array.At(WholeNumbers(indexes).data(), static_cast<int>(indexes.size())), At(in.a));
    return;
  }
  if (whole.tag != Tag::object) throw ScriptFault(FaultNumber::typeMismatch, "no array");
  ObjectIn(whole)->Put(ScriptObject::kDefaultMember, indexes, At(in.a));
}

void Interpreter::ReDim(const Instruction& in) {
  const Value* next = frames_.back().registers + in.c;
  std::vector<Bounds> bounds;
  for (int d = 0; d < in.n; ++d) {
    const std::int32_t lower = ToInteger(*next++);
    const std::int32_t upper = ToInteger(*next++);
    const std::int64_t count = static_cast<std::int64_t>(upper) - lower + 1;
    if (count < 0 || count > 0x7FFFFFFF) {
      throw ScriptFault(FaultNumber::subscript, "an array cannot have the bounds " +
                                                    std::to_string(lower) + " To " +
                                                    std::to_string(upper));
    }
    bounds.push_back({lower, static_cast<std::uint32_t>(count)});
  }
  Value& target = Target(At(in.b));
  if (target.tag != Tag::array) {
    if (At(in.b).tag == Tag::reference && At(in.b).declared != Type::variant) {
      throw ScriptFault(FaultNumber::typeMismatch, "no array");
    }
    const auto made = MakeRef<ArrayData>(static_cast<Type>(in.a), false);
    made->Dimension(bounds, false);
    target = Value::Array(made.get());
    return;
  }
  ArrayData& array = *target.array();
  if (array.fixedBounds) throw ScriptFault(FaultNumber::arrayFixed);
  array.Dimension(bounds, in.d != 0);
}

void Interpreter::Fill(const FillRun& run) {
  const FillRow* const first = program_->fillRows.data() + run.first;
  for (const FillRow* row = first; row != first + run.count; ++row) {
    ArrayData& array = *module_[row->variable].array();
    if (array.element == Type::real) {
      array.reals[row->element] = row->number;
    } else {
      array.integers[row->element] = static_cast<std::int32_t>(row->number);
    }
  }
}

}  // namespace qrvml
