// The memory of a table's cells. Blocks of cells come from the program's memory up to a limit; what
// goes beyond it lies in a file without a name in the temporary folder, mapped into memory, so that
// a data file larger than memory can be opened. The file is gone with the last block, however the
// program ends.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace qrvml {

class CellFile;

/// Uninitialised cells of one block; moved, not copied.
class CellBlock {
 public:
  CellBlock() = default;
  CellBlock(std::unique_ptr<double[]> cells) : owned_(std::move(cells)) {}
  CellBlock(CellBlock&& other) noexcept { *this = std::move(other); }
  CellBlock& operator=(CellBlock&& other) noexcept;
  ~CellBlock() { Release(); }

  double* Cells() const { return file_ ? mapped_ : owned_.get(); }
  bool IsOnDisk() const { return file_ != nullptr; }
  /// Gives the block's memory back while its cells are kept on the disk: the next touch brings them
  /// in again. Nothing happens to a block in the program's memory.
  void PutAside() const;

 private:
  friend class CellStore;
  void Release();

  std::unique_ptr<double[]> owned_;
  std::shared_ptr<CellFile> file_;
  double* mapped_ = nullptr;
  std::size_t bytes_ = 0;  // of the mapped block
};

/// May be used by several threads.
class CellStore {
 public:
  /// `memory`: bytes of cells that may lie in the program's memory; 0: half of what the machine
  /// has, or of what the program is allowed.
  explicit CellStore(std::size_t memory = 0);
  /// Throws ReadFailure when the temporary folder has no space, std::bad_alloc without memory.
  CellBlock Take(std::size_t cells);

 private:
  std::mutex mutex_;
  std::size_t left_;  // of the program's memory, bytes
  std::shared_ptr<CellFile> file_;
};

}  // namespace qrvml
