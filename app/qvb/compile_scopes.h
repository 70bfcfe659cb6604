// Guards of the compiler's state.
#pragma once

#include <cstddef>

#include "qvb/compiler_state.h"

namespace qrvml {

/// The registers that a statement takes for passing values are free again behind it.
struct StatementRegisters {
  explicit StatementRegisters(Draft& statementDraft);
  StatementRegisters(const StatementRegisters&) = delete;
  StatementRegisters& operator=(const StatementRegisters&) = delete;
  ~StatementRegisters();

  Draft& draft;
  std::size_t registers;
  std::size_t rows;
};

/// Counts one more level of something, for the life of the guard.
struct LevelGuard {
  explicit LevelGuard(int& levelCount) : level(levelCount) { ++level; }
  LevelGuard(const LevelGuard&) = delete;
  LevelGuard& operator=(const LevelGuard&) = delete;
  ~LevelGuard() { --level; }

  int& level;
};

}  // namespace qrvml
