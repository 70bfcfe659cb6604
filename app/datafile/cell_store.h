// The memory of a table's cells. Blocks of cells come from the program's memory up to a limit; what
// goes beyond it lies in a file without a name in the temporary folder, mapped into memory, so that
// a data file larger than memory can be opened. That file is gone with the last block, however the
// program ends.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

namespace qrvml {

class CellArea;

/// The cells of one block, uninitialised at first; moved, not copied.
class CellBlock {
 public:
  CellBlock() = default;
  CellBlock(CellBlock&& other) noexcept { *this = std::move(other); }
  CellBlock& operator=(CellBlock&& other) noexcept;
  ~CellBlock() { Release(); }

  double* Cells() const { return cells_; }
  bool IsOnDisk() const;
  /// Gives the memory of a block on the disk back; the next touch of a cell brings it in again.
  /// Nothing happens to a block in the program's memory.
  void PutAside() const;

 private:
  friend class CellStore;
  void Release();

  std::shared_ptr<CellArea> area_;
  double* cells_ = nullptr;
  std::size_t bytes_ = 0;
};

/// May be used by several threads; blocks may outlive it.
class CellStore {
 public:
  /// `memory`: bytes of cells that may lie in the program's memory, not counting again what blocks
  /// give back; 0: half of what the machine has, or of what the program is allowed.
  explicit CellStore(std::size_t memory = 0);
  /// Throws ReadFailure when the temporary folder has no space, std::bad_alloc without memory.
  CellBlock Take(std::size_t cells);

 private:
  std::mutex mutex_;
  std::size_t left_;  // of the program's memory, bytes
  std::shared_ptr<CellArea> memory_, disk_;
};

}  // namespace qrvml
