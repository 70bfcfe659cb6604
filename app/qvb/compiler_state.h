// The compiler's inside: what it knows of names, and the procedure that it is writing.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qvb/expression.h"
#include "qvb/lexer.h"
#include "qvb/program.h"

namespace qrvml {

/// What a declared name stands for.
struct ScriptVariable {
  bool constant = false;
  Value value;  // of a constant
  Operand place = kNoOperand;
  Type type = Type::variant;  // of an array: of its elements
  bool array = false;
  bool byReference = false;  // the place holds a reference, or an array that was passed
  int parameter = -1;        // its number, when it is one
  bool fixedBounds = false;
  std::vector<Bounds> bounds;  // of an array with fixed bounds
};

/// Where an expression's value is.
struct Result {
  Operand place = kNoOperand;
  Type type = Type::variant;  // what is known of the value; of an array: of its elements
  bool array = false;
  bool passing = false;  // in a register that nothing but this expression knows
};

/// A place that would like to get the value, if it comes in this type.
struct Wish {
  Operand place = kNoOperand;
  Type type = Type::variant;
};

/// A block that Exit can leave, or that waits for its closing word.
struct Block {
  int keyword;                     // kFor, kDo, kWhile
  std::vector<std::size_t> exits;  // jumps to its end
};

struct Label {
  std::optional<std::uint32_t> at;
  std::vector<std::pair<std::size_t, int>> jumps;  // instruction and line, waiting for the label
};

/// A procedure while it is being written.
struct Draft {
  Procedure procedure;
  std::size_t number = 0;
  std::unordered_map<int, ScriptVariable> locals;
  std::map<std::string, Label> labels;
  std::vector<Block> blocks;
  std::vector<std::uint32_t> withObjects;
  std::vector<bool> written;  // parameters that the procedure may assign to
  // Registers for passing values, by kind: numbers of one type each, or any value.
  std::map<Type, std::vector<std::uint32_t>> freeRegisters;
  std::map<std::size_t, std::vector<std::uint32_t>> freeRows;
  std::vector<std::pair<Type, std::uint32_t>> usedRegisters;
  std::vector<std::pair<std::size_t, std::uint32_t>> usedRows;
};

class Compiler {
 public:
  explicit Compiler(const HostNames& host);
  std::shared_ptr<const Program> Compile(const std::string& name, std::string_view text);

 private:
  struct SourceFile {
    std::string text;
    std::unique_ptr<Lexer> lexer;
    int optionBase = 0;
    bool optionExplicit = false;
  };
  struct ProcedureHead {
    std::size_t number = 0;
    bool function = false;
  };
  /// An element that was passed by reference is written back, unless its procedure leaves it alone.
  struct WriteBack {
    std::size_t caller;
    std::size_t instruction;
    std::size_t callee;
    std::size_t parameter;
  };

  // compiler.cpp: files, lines, declarations of the module
  void AddFile(const std::string& name, std::string text);
  void DeclareFile(SourceFile& file);
  void DeclareModuleLine(SourceFile& file);
  void DeclareProcedure(SourceFile& file);
  void DeclareEnum(SourceFile& file);
  void SkipBody(SourceFile& file, int keyword);
  void CompileFile(SourceFile& file);
  void CompileProcedure();
  void FinishDraft();
  void DeclareModuleVariables(int keyword);
  std::vector<Parameter> ReadParameters();
  bool AtProcedureHead() const;
  std::size_t HeadOffset() const;
  bool NextLine();
  void AddModuleVariable(int name, const ScriptVariable& variable);
  Operand NewModuleVariable(const std::string& name, const Value& initial);

  // compile_declarations.cpp
  struct Declaration {
    int name = -1;
    int line = 0;
    Type type = Type::variant;
    bool array = false;
    std::vector<std::pair<ExpressionPtr, ExpressionPtr>> bounds;  // lower may be missing
    std::optional<std::size_t> newClass;
  };
  Declaration ReadDeclaration();
  std::vector<std::pair<ExpressionPtr, ExpressionPtr>> ReadBounds();
  struct DeclaredType {
    Type type = Type::variant;
    std::optional<std::size_t> newClass;
  };
  DeclaredType ReadAs(Type suffix, bool mayBeNew);
  std::optional<std::vector<Bounds>> ConstantBounds(const Declaration& declaration);
  void CompileDim(bool isStatic);
  void CompileReDim();
  void CompileConst(bool module);
  void EmitReDim(Operand array, const Declaration& declaration, bool preserve);
  std::size_t ClassNumber(int name);

  // compile_expressions.cpp
  Result CompileExpression(const Expression& expression, Wish wish = {});
  Result CompileOperand(const Expression& expression);
  Result CompileBinary(const Expression& expression, Wish wish);
  Result Kept(const Result& result, const Expression& later);
  Result Copied(const Result& result);
  bool CallsProcedure(const Expression& expression) const;
  Result EmitOperation(Operator op, const Result& left, const Result& right, Wish wish);
  Result CompileSign(const Expression& expression, Wish wish);
  Result CompileName(const Expression& expression, Wish wish);
  Result CompileVariable(const ScriptVariable& variable, const Expression& expression, Wish wish);
  Result CompileElement(const Result& array, const Expression& expression, Wish wish);
  Result CompileMember(const Expression& expression, Wish wish, bool wantsValue);
  Result CompileIndexed(const Result& object, const Expression& expression, Wish wish);
  void CompileJumpUnless(const Expression& condition, std::vector<std::size_t>& jumps);
  std::optional<Value> Fold(Operator op, const Value& left, const Value& right) const;
  std::optional<Value> ConstantOf(const Result& result) const;
  Value ExpectConstant(const Expression& expression);
  Result WithObject(int line);
  std::uint32_t AddSite(int name);

  // compile_calls.cpp
  Result CompileCall(const ProcedureHead& head, const Expression& expression, Wish wish,
                     bool wantsValue);
  Result CompileFunction(const Expression& expression, Wish wish, bool wantsValue, bool& found);
  std::uint32_t CompileArguments(const std::vector<ExpressionPtr>& arguments);
  struct Passing;
  Passing CompileArgument(const Parameter& parameter, const Expression* argument,
                          bool othersAreNames, bool othersCall);
  Passing PassElement(const Parameter& parameter, const Expression& argument, const Result& array,
                      bool othersAreNames);
  Passing PassVariable(const ScriptVariable& variable);
  void NoteWritten(const ScriptVariable& variable);
  void CheckArgumentCount(std::string_view name, std::size_t given, std::size_t fewest,
                          std::size_t most, int line) const;

  // compile_statements.cpp
  void CompileStatements();  // to the end of the block; its closing word is next
  void CompileStatement();
  void CompileLabel();
  bool AtClosingWord() const;
  void CompileAssignmentOrCall();
  void CompileAssignment(const Expression& target, const Expression& value, bool isSet);
  void AssignVariable(const ScriptVariable& variable, const Expression& value, bool isSet,
                      int line);
  void StoreVariable(const ScriptVariable& variable, const Result& value);
  void CompileCallStatement(const Expression& target);
  bool CompileFill();
  void CompileGoTo();
  void CompileOnError();
  void CompileResume();
  void CompileExit();
  void CompileErase();

  // compile_blocks.cpp
  void CompileIf();
  void CompileLineIf(const std::vector<std::size_t>& elseJumps);
  void CompileFor();
  void CompileForEach();
  void CompileDo();
  void CompileWhile();
  void CompileSelect();
  void CompileCaseTests(const Result& subject, std::vector<std::size_t>& bodyJumps);
  void CompileWith();
  void CloseNext(int name);
  void EndBlockWith(int keyword);
  void EndBlock();

  // compile_registers.cpp
  std::uint32_t NewRegister(Type type);         // kept for the whole procedure
  Operand PassingRegister(Type type);           // until the statement ends
  std::uint32_t PassingRow(std::size_t count);  // neighbours, for any values
  Operand Constant(const Value& value);
  std::size_t Emit(Op op, Operand a = 0, Operand b = 0, Operand c = 0, Operand d = 0,
                   std::size_t n = 0);
  void JumpHere(const std::vector<std::size_t>& jumps);
  std::uint32_t Here() const;
  void Mark(int line);
  void EmitConverted(Operand place, Type type, const Result& result);
  Result InType(const Result& result, Type type);
  Operand Destination(Wish wish, Type type);
  Operand GeneralDestination(Wish wish, Type known);
  ScriptVariable* FindVariable(int name);
  ScriptVariable& ImplicitVariable(int name, Type suffix, int line);
  void Declare(int name, const ScriptVariable& variable, int line);
  [[noreturn]] void Fail(int line, const std::string& reason) const;
  std::string Written(int name) const { return names_.Lower(name); }

  const HostNames& host_;
  NameTable names_;
  std::shared_ptr<Program> program_;
  std::deque<SourceFile> files_;
  std::set<std::string> fileNames_;
  Lexer* lexer_ = nullptr;  // of the file being read
  std::unique_ptr<TokenReader> reader_;
  std::vector<Token> line_;
  Draft* draft_ = nullptr;
  Draft top_;
  SourceFile* file_ = nullptr;
  int nesting_ = 0;
  // Where the code ended behind the last row of constant elements, if nothing can jump between it
  // and a row that follows.
  static constexpr std::size_t kNoFill = static_cast<std::size_t>(-1);
  std::size_t lastFill_ = kNoFill;
  bool nextContinues_ = false;  // `Next i, j`: the outer loop's name follows
  std::unordered_map<int, ScriptVariable> module_;
  std::unordered_map<int, ProcedureHead> heads_;
  std::set<int> enums_;
  std::unordered_map<std::string, std::size_t> hostFunctionNumbers_;
  std::unordered_map<std::string, std::size_t> classNumbers_;
  std::unordered_map<std::uint64_t, Operand> numberConstants_[4];  // by tag
  std::vector<WriteBack> writeBacks_;
  std::vector<std::vector<bool>> written_;  // by procedure
};

}  // namespace qrvml
