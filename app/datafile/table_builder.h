// Builds a table from what a file format delivers: cases in order, numbers and texts mixed, missing
// cells anywhere, missing-data codes and the codes of texts unknown until the end.
//
// Until then a cell is a number or a NaN whose payload tells what it stands for: nothing, or a text
// by its number in its column.
#pragma once

#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/data_table.h"
#include "datafile/read_watch.h"
#include "datafile/text_set.h"

namespace qrvml {

class TableBuilder {
 public:
  /// `memory`: see CellStore; `threads`: for Finish, 0: all cores. Adding and completing cases
  /// and Finish throw ReadFailure when `watch`, which may be null, says that the reading shall end.
  explicit TableBuilder(std::size_t memory, int threads = 1, ReadWatch* watch = nullptr)
      : store_(memory), threads_(threads), watch_(watch) {}
  /// Before the first case. Columns are counted from 0; the name is completed by VariableName.
  std::size_t AddColumn(std::string_view name);
  std::size_t NumberOfColumns() const { return columns_.size(); }
  /// What is known of the variable besides its name and its missing-data code: long name, labels in
  /// any order, display format. `wasText` may be set for a column of texts that are all missing, or
  /// whose cells are codes already.
  Variable& About(std::size_t column) { return columns_[column].about; }
  /// The variable's missing-data code. The caller makes the cells that hold it missing.
  void FixMissingCode(std::size_t column, double code) { columns_[column].missingCode = code; }
  void AddNote(std::string note) { notes_.push_back(std::move(note)); }

  /// How many cases will come, for the watch; -1: it is not known.
  void Expect(std::int64_t cases) { expected_ = cases; }
  /// Adds `wanted` cases, or fewer (at least one), whose cells are missing; gives how many. Throws
  /// ReadFailure when a table cannot hold them.
  std::size_t AddCases(std::size_t wanted);
  /// The cells of a column in the cases added last; to be filled with what the next two give.
  std::span<double> NewCells(std::size_t column);

  /// Instead of AddCases, for a format that several threads read: adds all cases at once. Their
  /// cells hold nothing; each is to be filled once.
  void AddAllCases(std::size_t cases);
  /// The cells of a column from a case on, counted from 0: as many of `wanted` as lie together, and
  /// equally many in every column.
  std::span<double> CellsFrom(std::size_t column, std::size_t firstCase, std::size_t wanted);
  /// Says that the cells of these cases are filled in all columns.
  void CompleteCases(std::size_t firstCase, std::size_t cases);
  /// Held by a thread while it calls TextCell for a column that others may fill too.
  std::unique_lock<std::mutex> LockTexts(std::size_t column) {
    return std::unique_lock(columns_[column].mutex);
  }

  static double MissingCell() { return kMissing; }
  /// A NaN is a missing cell.
  static double NumberCell(double value) { return std::isnan(value) ? kMissing : value; }
  /// Blanks around a text are no part of it; a text of blanks is a missing cell.
  double TextCell(std::size_t column, std::string_view text);
  std::size_t NumberOfCases() const { return cases_; }

  /// Moves everything into an empty table. A column with a text is a text column as a whole, its
  /// numbers become texts. Texts that are not valid UTF-8 are decoded as Windows-1252. Throws
  /// ReadFailure when there is no column or two have the same name.
  void Finish(DataTable& table);

 private:
  static constexpr std::uint64_t kNanBits = 0x7FF8'0000'0000'0000;
  static constexpr double kMissing = std::bit_cast<double>(kNanBits);

  struct Column {
    Variable about;
    std::optional<double> missingCode;
    TextSet texts;
    TextArena arena;  // what the texts are made of
    std::mutex mutex;
  };
  struct Block {
    std::size_t cases = 0;
    std::atomic<std::size_t> complete = 0;  // cases, only of AddAllCases
    CellBlock cells;                        // columns x capacity_
  };
  /// Which text a cell that is NaN stands for, from 1; 0: none.
  static std::size_t TextOf(double cell) {
    return static_cast<std::size_t>(std::bit_cast<std::uint64_t>(cell) & ~kNanBits);
  }
  std::span<double> CellsOf(Block& block, std::size_t column) {
    return {block.cells.Cells() + column * capacity_, block.cases};
  }
  void ChooseCapacity();
  Block& AddBlock();
  static double AddText(Column& column, std::string_view text);
  /// What the cells of a column of numbers say about its missing-data code.
  struct Found {
    std::vector<double> heldCodes;  // different ones
    std::size_t infinite = 0;
    bool hasMissing = false;
    void Add(const Found& other);
  };
  static void TurnNumbersIntoTexts(Column& column, std::span<double> cells);
  static Found TakeStock(std::span<double> cells);
  std::vector<double> SetTexts(Column& column) const;
  void CompleteLabels(Variable& about) const;
  void SetMissingCode(Column& column, const Found& found);
  static void ReplaceCells(double missing, const std::vector<double>& codes,
                           std::span<double> cells);

  std::deque<Column> columns_;
  std::vector<std::string> notes_;
  CellStore store_;
  const int threads_;
  ReadWatch* const watch_;
  std::int64_t expected_ = -1;               // cases
  std::atomic<std::int64_t> completed_ = 0;  // of AddAllCases
  std::deque<Block> blocks_;
  std::size_t capacity_ = 0;  // cases a block can hold
  std::size_t cases_ = 0;
  std::size_t newFrom_ = 0;  // first of the cases added last, in the last block
};

}  // namespace qrvml
