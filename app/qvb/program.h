// The compact form of a script: instructions on numbered places, made once from the text.
//
// Every name of the text is a place: a register of the running procedure, a module variable or a
// constant. A register that holds numbers of one declared type keeps its tag for life, so
// instructions for that type read and write the number alone; all other registers are written as
// whole values.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qvb/conversion.h"
#include "qvb/script_object.h"
#include "qvb/value.h"

namespace qrvml {

/// Where an instruction finds an operand: the region in the low two bits, the index above them.
using Operand = std::uint32_t;
enum Region : std::uint32_t { kRegister = 0, kModule = 1, kConstant = 2 };
inline constexpr Operand MakeOperand(Region region, std::size_t index) {
  return static_cast<Operand>(index << 2) | region;
}
inline constexpr Operand kNoOperand = 0xFFFFFFFFu;

// Suffixes: I Integer, R Double, B Boolean, V any value; `n` is the instruction's small number.
enum class Op : std::uint16_t {
  none,
  move,        // a = b, sharing arrays
  moveNumber,  // a = b, the same numeric type
  copy,        // a = b, arrays copied
  widen,       // a (R) = b (I)
  convert,     // a = b as Type n
  load,        // a = what reference b points to
  store,       // what reference a points to = b, converted to the target's type
  copyArray,   // elements of array a = array b
  asArray,     // a = the array of Type n that b holds
  addII,
  addRR,
  addRI,
  addIR,
  addVV,  // a = b + c
  subII,
  subRR,
  subRI,
  subIR,
  subVV,
  mulII,
  mulRR,
  mulRI,
  mulIR,
  mulVV,
  divNN,  // a (R) = b / c of any two numeric registers
  divVV,
  apply,       // a = b (Operator n) c
  appendText,  // a = a & b, in place when nobody shares a's text
  negativeI,
  negativeR,
  negativeV,  // a = -b
  inverse,    // a = Not b
  compareII,
  compareNN,
  compareVV,  // a (B) = b (Operator n) c
  jump,       // to d
  jumpTrue,
  jumpFalse,  // a (any) to d
  jumpUnlessLessII,
  jumpUnlessEqualII,
  jumpUnlessII,  // to d unless b (Operator n) c
  jumpUnlessRR,
  jumpUnlessNN,
  jumpUnlessVV,
  getR1,
  getI1,
  getV1,  // a = array b (c)
  getR2,
  getI2,
  getV2,  // a = array b (c, d)
  getVN,  // a = array b (n indexes from register c)
  put1,
  put2,
  putN,         // array b (c[, d]) = a; putN: n indexes from register c
  fillRun,      // d-th run of constant elements
  prepareCall,  // procedure d
  passValue,
  passReference,  // parameter n = b; reference: declared Type in c
  pass,           // parameter n = b as it is, a reference or an array
  call,           // a = procedure d; a may be kNoOperand
  leave,          // return from a procedure
  callHost,
  callBuiltin,   // a = function d (n arguments from register c)
  realFunction,  // a (R) = built-in function d of b (any number)
  getMember,     // a = b.site d (n arguments from register c); a may be kNoOperand
  putMember,     // b.site d (n arguments from register c) = a
  getIndexed,
  putIndexed,  // the same for b(arguments), an array or an object
  getIndexed1,
  putIndexed1,  // the same for the one argument c
  create,       // a = New class d
  redim,        // b, an array or a variant: n pairs of bounds from register c, d is 1 to preserve
  erase,        // array b
  forI,
  forR,
  forV,  // begins a loop: a variable, b limit, c step; to d when it has no pass
  nextI1,
  nextI,
  nextR,
  nextV,  // a variable, b limit, c step; back to d
  eachFirst,
  eachNext,  // a element, b array, c position; to d at the end, back to d
  onError,   // n = Handling, to d
  resume,    // n = Resumption, to d
  end,       // the program
  Count
};

enum class Handling : std::uint16_t { none, go, resumeNext };
enum class Resumption : std::uint16_t { again, next, go };

struct Instruction {
  Op op = Op::none;
  std::uint16_t n = 0;
  Operand a = 0;
  Operand b = 0;
  Operand c = 0;
  Operand d = 0;
};

struct Parameter {
  int name = -1;
  Type type = Type::variant;
  bool array = false;
  bool byReference = true;
  bool optional = false;
  Value initial;  // of an optional one that is left out
};

/// A statement's first instruction and line; ascending.
struct StatementMark {
  std::uint32_t instruction;
  std::uint32_t line;
};

struct LocalArray {
  std::uint32_t place;  // register, or number of the module variable
  Type element = Type::variant;
  bool fixedBounds = false;
  std::vector<Bounds> bounds;
};

struct Procedure {
  std::string name;  // as written
  std::string script;
  bool function = false;
  Type result = Type::variant;
  std::vector<Parameter> parameters;  // in the first registers
  std::uint32_t resultRegister = 0;
  int line = 0;
  std::vector<Value> registers;  // what they hold at the start
  std::vector<LocalArray> arrays;
  std::vector<Instruction> code;
  std::vector<StatementMark> marks;
};

/// Elements with constant indexes that get constants, as generated scripts have by the million.
struct FillRow {
  std::uint32_t variable;  // module variable that holds the array
  std::uint32_t element;
  double number;
};
struct FillRun {
  std::size_t first = 0;
  std::size_t count = 0;
};

struct Program {
  std::vector<Procedure> procedures;  // the first holds the statements outside of procedures
  std::vector<std::pair<std::string, std::size_t>> procedureNames;  // in lower case
  std::vector<Value> constants;
  std::vector<Value> moduleVariables;            // what they hold at the start
  std::vector<std::string> moduleVariableNames;  // in lower case
  std::vector<LocalArray> moduleArrays;
  std::vector<std::string> sites;  // members that statements name, in lower case, one per place
  std::vector<FillRow> fillRows;
  std::vector<FillRun> fillRuns;
  std::vector<HostFunction> hostFunctions;
  std::vector<HostNames::Class> classes;
  bool hasTopLevelCode = false;
};

}  // namespace qrvml
