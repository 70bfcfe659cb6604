#include "qvb/interpreter.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "qvb/script_object.h"

namespace qrvml {
namespace {

constexpr std::int64_t kStepsBetweenLooks = 20000;
constexpr std::int64_t kStepsOfFault = 100;
constexpr std::size_t kChunkRegisters = 16384;

}  // namespace

/// `Err`.
class ErrorObject final : public TableObject<ErrorObject> {
 public:
  std::string_view ClassName() const override { return "ErrObject"; }
  static std::span<const MemberRow<ErrorObject>> Rows();

  void Set(int newNumber, const std::string& newDescription) {
    number = newNumber;
    description = newDescription;
  }

  int number = 0;
  std::string description;
  std::string source;
};

std::span<const MemberRow<ErrorObject>> ErrorObject::Rows() {
  using Arguments = std::span<const Value>;
  static constexpr MemberRow<ErrorObject> kRows[] = {
      {"Number", 0, 0, [](ErrorObject& self, Arguments) { return Value::Integer(self.number); },
       [](ErrorObject& self, Arguments, const Value& value) { self.number = ToInteger(value); }},
      {"Description", 0, 0,
       [](ErrorObject& self, Arguments) { return Value::Text(self.description); },
       [](ErrorObject& self, Arguments, const Value& value) { self.description = ToText(value); }},
      {"Source", 0, 0, [](ErrorObject& self, Arguments) { return Value::Text(self.source); },
       [](ErrorObject& self, Arguments, const Value& value) { self.source = ToText(value); }},
      {"Clear", 0, 0,
       [](ErrorObject& self, Arguments) {
         self.Set(0, {});
         return Value();
       },
       nullptr},
      {"Raise", 1, 3,
       [](ErrorObject&, Arguments arguments) -> Value {
         const std::int32_t raised = ToInteger(arguments[0]);
         const bool own = arguments.size() > 2 && arguments[2].tag != Tag::empty;
         throw ScriptFault(raised, own ? ToText(arguments[2]) : std::string(FaultText(raised)));
       },
       nullptr},
  };
  return kRows;
}

Interpreter::Interpreter(std::shared_ptr<const Program> program, ScriptLimits limits)
    : program_(std::move(program)),
      limits_(limits),
      meter_(MemoryMeter::Create(limits.bytes)),
      module_(program_->moduleVariables),
      caches_(program_->sites.size()),
      error_(MakeRef<ErrorObject>()) {
  module_[0] = Value::Object(error_.get());
}

Interpreter::~Interpreter() {
  Unwind(0);
  result_ = Value();
  module_.clear();
  for (const Chunk& chunk : chunks_) {
    meter_->Return(chunk.size * sizeof(Value));
    ::operator delete(chunk.first);
  }
  meter_->Drop();
}

bool Interpreter::HasProcedure(std::string_view name) const {
  const std::string lower = LowerCase(name);
  return std::any_of(program_->procedureNames.begin(), program_->procedureNames.end(),
                     [&lower](const auto& row) { return row.first == lower; });
}

void Interpreter::Run() {
  if (program_->hasTopLevelCode) CallProcedure(0, {});
  if (HasProcedure("main")) {
    Call("main", {});
  } else if (!program_->hasTopLevelCode) {
    throw ScriptError(ScriptError::Kind::compile, program_->procedures[0].script, 1,
                      "the script has no Sub Main and no statements outside of procedures");
  }
}

Value Interpreter::Call(std::string_view name, std::span<const Value> arguments) {
  const std::string lower = LowerCase(name);
  for (const auto& [known, number] : program_->procedureNames) {
    if (known == lower) return CallProcedure(number, arguments);
  }
  throw ScriptError(ScriptError::Kind::compile, program_->procedures[0].script, 1,
                    "the script has no procedure `" + std::string(name) + "`");
}

Value Interpreter::CallProcedure(std::size_t number, std::span<const Value> arguments) {
  const MeterScope scope(meter_);
  const Procedure& procedure = program_->procedures[number];
  std::vector<Value> given(arguments.begin(), arguments.end());
  try {
    if (!arraysMade_) {
      arraysMade_ = true;
      for (const LocalArray& array : program_->moduleArrays) MakeArray(module_[array.place], array);
    }
    if (given.size() != procedure.parameters.size()) {
      throw ScriptFault(FaultNumber::argumentCount);
    }
    Prepare(procedure);
    for (std::size_t i = 0; i < given.size(); ++i) {
      const Parameter& parameter = procedure.parameters[i];
      const bool array = given[i].tag == Tag::array;
      if (array != parameter.array && (array || parameter.type != Type::variant)) {
        if (array || parameter.array) throw ScriptFault(FaultNumber::typeMismatch);
      }
      if (array) {
        prepared_[i] = given[i];
        continue;
      }
      given[i] = Converted(given[i], parameter.type);
      prepared_[i] = parameter.byReference ? Value::Reference(given[i], parameter.type) : given[i];
    }
  } catch (const ScriptFault& fault) {
    DropPrepared();
    throw ScriptError(ScriptError::Kind::run, procedure.script, std::max(procedure.line, 1),
                      fault.what());
  } catch (const ScriptStop& stop) {
    DropPrepared();
    throw ScriptError(stop.kind, procedure.script, std::max(procedure.line, 1), stop.what());
  }
  const std::size_t depth = frames_.size() - 1;
  Enter(nullptr, kNoOperand);
  at_ = procedure.code.data();
  result_ = Value();
  try {
    Execute();
  } catch (...) {
    Unwind(depth);
    throw;
  }
  Unwind(depth);
  return std::exchange(result_, Value());
}

void Interpreter::Execute() {
  for (;;) {
    try {
      Loop();
      return;
    } catch (const ScriptFault& fault) {
      if (!Catch(fault)) Fail(ScriptError::Kind::run, fault.what());
    } catch (const ScriptStop& stop) {
      DropPrepared();
      Fail(stop.kind, stop.what());
    } catch (const std::bad_alloc&) {
      DropPrepared();
      Fail(ScriptError::Kind::limit,
           std::string(FaultText(static_cast<int>(FaultNumber::outOfMemory))));
    }
  }
}

/// Counts what was done and allows more, or ends the run.
std::int64_t Interpreter::Refill(std::int64_t left) {
  Settle(left);
  if (limits_.cancel && limits_.cancel->load(std::memory_order_relaxed)) {
    throw ScriptStop(ScriptError::Kind::cancelled, "The script was cancelled");
  }
  std::uint64_t more = kStepsBetweenLooks;
  if (limits_.steps != 0) {
    if (steps_ >= limits_.steps) {
      throw ScriptStop(ScriptError::Kind::limit, "The script takes more than its " +
                                                     std::to_string(limits_.steps) + " steps");
    }
    more = std::min(more, limits_.steps - steps_);
  }
  allowance_ = granted_ = static_cast<std::int64_t>(more);
  return allowance_;
}

void Interpreter::Settle(std::int64_t left) {
  steps_ += static_cast<std::uint64_t>(granted_ - left);
  allowance_ = granted_ = left;
}

// --- registers and frames ------------------------------------------------------------------------

Value* Interpreter::Allocate(std::size_t count) {
  if (!chunks_.empty() && chunks_[chunk_].size - chunks_[chunk_].used >= count) [[likely]] {
    Value* const first = chunks_[chunk_].first + chunks_[chunk_].used;
    chunks_[chunk_].used += count;
    return first;
  }
  while (chunk_ < chunks_.size() && chunks_[chunk_].size - chunks_[chunk_].used < count) {
    if (chunk_ + 1 == chunks_.size()) break;
    ++chunk_;
  }
  if (chunks_.empty() || chunks_[chunk_].size - chunks_[chunk_].used < count) {
    const std::size_t size = std::max(count, kChunkRegisters);
    meter_->Charge(size * sizeof(Value));
    chunks_.push_back({static_cast<Value*>(::operator new(size * sizeof(Value))), size, 0});
    chunk_ = chunks_.size() - 1;
  }
  Chunk& chunk = chunks_[chunk_];
  Value* const first = chunk.first + chunk.used;
  chunk.used += count;
  return first;
}

void Interpreter::MakeArray(Value& place, const LocalArray& array) {
  const auto made = MakeRef<ArrayData>(array.element, array.fixedBounds);
  if (array.fixedBounds) made->Dimension(array.bounds, false);
  place = Value::Array(made.get());
}

void Interpreter::Prepare(const Procedure& procedure) {
  if (limits_.callDepth != 0 && frames_.size() >= limits_.callDepth) {
    throw ScriptStop(ScriptError::Kind::limit, "More than " + std::to_string(limits_.callDepth) +
                                                   " procedures wait for each other");
  }
  const std::size_t count = procedure.registers.size();
  Value* const registers = Allocate(count);
  // A value is its bits as long as it owns nothing, and no initial value owns anything.
  // NOLINTNEXTLINE(bugprone-undefined-memory-manipulation): for the reason above
  std::memcpy(static_cast<void*>(registers), procedure.registers.data(), count * sizeof(Value));
  Frame& frame = frames_.emplace_back();
  frame.procedure = &procedure;
  frame.registers = registers;
  prepared_ = registers;
  for (const LocalArray& array : procedure.arrays) MakeArray(registers[array.place], array);
}

void Interpreter::Enter(const Instruction* back, Operand destination) {
  Frame& frame = frames_.back();
  frame.back = back;
  frame.destination = destination;
  prepared_ = nullptr;
}

void Interpreter::Release(const Procedure& procedure, Value* registers) {
  const std::size_t count = procedure.registers.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (registers[i].tag >= Tag::text) registers[i] = Value();
  }
  chunks_[chunk_].used -= count;
  while (chunks_[chunk_].used == 0 && chunk_ > 0) --chunk_;
}

void Interpreter::DropPrepared() {
  if (!prepared_) return;
  prepared_ = nullptr;
  PopFrame();
}

void Interpreter::PopFrame() {
  const Frame& frame = frames_.back();
  Release(*frame.procedure, frame.registers);
  frames_.pop_back();
}

void Interpreter::Unwind(std::size_t depth) {
  DropPrepared();
  while (frames_.size() > depth) PopFrame();
}

// --- faults --------------------------------------------------------------------------------------

int Interpreter::LineOf(const Procedure& procedure, std::size_t instruction) const {
  const auto behind = std::upper_bound(
      procedure.marks.begin(), procedure.marks.end(), instruction,
      [](std::size_t wanted, const StatementMark& mark) { return wanted < mark.instruction; });
  if (behind == procedure.marks.begin()) return std::max(procedure.line, 1);
  return static_cast<int>(std::prev(behind)->line);
}

void Interpreter::Fail(ScriptError::Kind kind, const std::string& reason) {
  const Procedure& procedure = *frames_.back().procedure;
  const auto place = static_cast<std::size_t>(at_ - procedure.code.data());
  throw ScriptError(kind, procedure.script, LineOf(procedure, place == 0 ? 0 : place - 1), reason);
}

/// Goes on where the innermost procedure with an open handler says; false when there is none.
bool Interpreter::Catch(const ScriptFault& fault) {
  DropPrepared();
  const auto open = [](const Frame& frame) {
    return frame.handling != Handling::none && !frame.inHandler;
  };
  // Frames below the one that the host called belong to an earlier call.
  std::size_t handler = frames_.size();
  for (std::size_t f = frames_.size(); f-- > 0;) {
    if (open(frames_[f])) {
      handler = f;
      break;
    }
    if (!frames_[f].back) return false;
  }
  if (handler == frames_.size()) return false;
  const Instruction* place = at_;
  while (frames_.size() - 1 > handler) {
    place = frames_.back().back;
    PopFrame();
  }
  Frame& frame = frames_.back();
  const Instruction* const code = frame.procedure->code.data();
  const auto behind = static_cast<std::uint32_t>(place - code);
  frame.faultAt = behind == 0 ? 0 : behind - 1;
  error_->Set(fault.number, fault.what());
  allowance_ -= kStepsOfFault;
  if (frame.handling == Handling::resumeNext) {
    at_ = code + StatementBehind(*frame.procedure, frame.faultAt);
  } else {
    frame.inHandler = true;
    at_ = code + frame.handler;
  }
  return true;
}

std::uint32_t Interpreter::StatementBehind(const Procedure& procedure,
                                           std::size_t instruction) const {
  const auto behind = std::upper_bound(
      procedure.marks.begin(), procedure.marks.end(), instruction,
      [](std::size_t wanted, const StatementMark& mark) { return wanted < mark.instruction; });
  if (behind == procedure.marks.end()) return static_cast<std::uint32_t>(procedure.code.size() - 1);
  return behind->instruction;
}

std::uint32_t Interpreter::Resume(Frame& frame, const Instruction& instruction) {
  if (!frame.inHandler) throw ScriptFault(FaultNumber::resumeWithoutError);
  frame.inHandler = false;
  ClearError();
  const Procedure& procedure = *frame.procedure;
  switch (static_cast<Resumption>(instruction.n)) {
    case Resumption::next:
      return StatementBehind(procedure, frame.faultAt);
    case Resumption::go:
      return instruction.d;
    case Resumption::again:
      break;
  }
  const auto behind = std::upper_bound(
      procedure.marks.begin(), procedure.marks.end(), frame.faultAt,
      [](std::size_t wanted, const StatementMark& mark) { return wanted < mark.instruction; });
  return behind == procedure.marks.begin() ? 0 : std::prev(behind)->instruction;
}

void Interpreter::ClearError() { error_->Set(0, {}); }

}  // namespace qrvml
