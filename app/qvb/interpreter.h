// Runs compiled scripts.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "qvb/builtins.h"
#include "qvb/program.h"
#include "qvb/script_error.h"

namespace qrvml {

/// What a run may use; 0 is no limit. Exceeding one ends the run with a ScriptError that no
/// statement of the script can catch.
struct ScriptLimits {
  std::uint64_t steps = 0;                    // instructions; a statement has a few
  std::size_t bytes = std::size_t{1} << 30;   // of texts and arrays at one time
  std::size_t callDepth = 5000;               // procedures that wait for others
  const std::atomic<bool>* cancel = nullptr;  // read every 10,000s of steps; true ends the run
};

class ErrorObject;

/// One script with its module variables, on one thread. Procedures can be run one after the other.
class Interpreter {
 public:
  explicit Interpreter(std::shared_ptr<const Program> program, ScriptLimits limits = {});
  Interpreter(const Interpreter&) = delete;
  Interpreter& operator=(const Interpreter&) = delete;
  ~Interpreter();

  bool HasProcedure(std::string_view name) const;
  /// Runs what a script that is started does: its statements outside of procedures, and then the
  /// Sub Main if it has one. Throws ScriptError, also when there is neither.
  void Run();
  /// Runs one procedure; arrays are passed by reference, all else by value. Its value is that of
  /// the function. Throws ScriptError.
  Value Call(std::string_view name, std::span<const Value> arguments);

  std::uint64_t steps() const { return steps_; }  // of all runs

 private:
  struct Frame {
    const Procedure* procedure = nullptr;
    Value* registers = nullptr;
    const Instruction* back = nullptr;  // where the caller goes on
    Operand destination = kNoOperand;   // in the caller's registers
    Handling handling = Handling::none;
    std::uint32_t handler = 0;
    std::uint32_t faultAt = 0;
    bool inHandler = false;
  };
  /// Registers of frames, never moved while they are in use.
  struct Chunk {
    Value* first = nullptr;
    std::size_t size = 0;
    std::size_t used = 0;
  };
  struct SiteCache {
    const void* key = nullptr;
    int member = 0;
  };

  Value CallProcedure(std::size_t number, std::span<const Value> arguments);
  void Execute();
  void Loop();
  std::int64_t Refill(std::int64_t left);
  void Settle(std::int64_t left);

  Value* Allocate(std::size_t count);
  void Prepare(const Procedure& procedure);
  void Enter(const Instruction* back, Operand destination);
  void DropPrepared();
  void PopFrame();
  void Release(const Procedure& procedure, Value* registers);
  bool Catch(const ScriptFault& fault);
  [[noreturn]] void Fail(ScriptError::Kind kind, const std::string& reason);
  void Unwind(std::size_t depth);
  int LineOf(const Procedure& procedure, std::size_t instruction) const;
  std::uint32_t StatementBehind(const Procedure& procedure, std::size_t instruction) const;
  void ClearError();
  void MakeArray(Value& place, const LocalArray& array);
  std::uint32_t Resume(Frame& frame, const Instruction& instruction);

  Value& At(Operand operand);
  int FindMember(std::uint32_t site, ScriptObject& object);
  void GetMember(const Instruction& in);
  void PutMember(const Instruction& in);
  void GetIndexed(const Instruction& in, std::span<const Value> indexes);
  void PutIndexed(const Instruction& in, std::span<const Value> indexes);
  void ReDim(const Instruction& in);
  void Fill(const FillRun& run);
  std::vector<std::int32_t> Indexes(const Instruction& in);

  std::shared_ptr<const Program> program_;
  ScriptLimits limits_;
  MemoryMeter* meter_;
  std::vector<Value> module_;
  std::vector<SiteCache> caches_;
  Ref<ErrorObject> error_;
  BuiltInContext context_;
  std::vector<Frame> frames_;
  std::vector<Chunk> chunks_;
  std::size_t chunk_ = 0;
  Value* prepared_ = nullptr;  // registers of the last frame while its call is being prepared
  const Instruction* at_ = nullptr;
  Value result_;
  std::uint64_t steps_ = 0;     // settled
  std::int64_t granted_ = 0;    // not settled yet
  std::int64_t allowance_ = 0;  // steps until the next look at limits
  bool arraysMade_ = false;     // those of the module
};

}  // namespace qrvml
