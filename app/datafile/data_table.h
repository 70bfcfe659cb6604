// An open data file: a table of doubles, column by column, with what is known about each
// variable.
//
// Conventions of every file in this folder: variables and cases are numbered from 1. A missing cell
// holds its variable's missing-data code; no cell is ever a NaN. A text variable holds codes 1, 2,
// ... whose labels are its texts in the byte order of UTF-8.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datafile/cell_store.h"

namespace qrvml {

struct ValueLabel {
  double code = 0;
  std::string text;  // UTF-8
};

/// How a value is shown. Dates are days since 1899-12-30, with fractions for the time of day.
enum class DisplayFormat { number, date, time, dateTime };

struct Variable {
  std::string name;                // UTF-8, trimmed, unique in its file
  std::string longName;            // a description; may be empty
  double missingCode = -9999;      // a number that no cell with a value holds, or the user's choice
  std::vector<ValueLabel> labels;  // ascending by code; may be empty
  DisplayFormat format = DisplayFormat::number;
  bool wasText = false;           // the file has texts here, the cells hold codes made from them
  std::size_t distinctTexts = 0;  // how many different texts; 0 unless wasText
};

/// How many categories a categorical variable of an analysis may have.
inline constexpr std::size_t kMostCategories = 500;

/// Several threads may read; one that changes something must be alone.
class DataTable {
 public:
  int NumberOfVariables() const { return static_cast<int>(variables_.size()); }
  int NumberOfCases() const { return static_cast<int>(cases_); }

  /// Only before the first cases are appended.
  Variable& AddVariable(std::string name);
  Variable& At(int variable) { return variables_[static_cast<std::size_t>(variable - 1)]; }
  const Variable& At(int variable) const {
    return variables_[static_cast<std::size_t>(variable - 1)];
  }
  /// The number of the variable with this name, 0: there is none.
  int FindVariable(std::string_view name) const;

  /// Cases come and are kept in chunks, so that a large file is never copied as a whole. Appends
  /// `cases` cases (at least one) with these cells, variable after variable.
  void AppendChunk(std::size_t cases, CellBlock cells);
  std::size_t NumberOfChunks() const { return chunks_.size(); }
  /// The chunk, from 0, that holds a case, and the case's position in it.
  struct Place {
    std::size_t chunk, position;
  };
  Place Find(int caseNumber) const;
  /// The number of a chunk's first case.
  int FirstCase(std::size_t chunk) const { return static_cast<int>(chunks_[chunk].before) + 1; }
  std::size_t CasesIn(std::size_t chunk) const { return chunks_[chunk].cases; }
  /// One variable in one chunk, case after case. Of the chunks on the disk, the few used last are
  /// held in memory.
  std::span<const double> Column(std::size_t chunk, int variable) const;
  std::span<double> Column(std::size_t chunk, int variable);
  double Value(int caseNumber, int variable) const;

  /// Makes `code` the variable's missing-data code: cells that were empty in the file become that
  /// code, cells that hold it are missing from now on, and those that an earlier call made missing
  /// are values again. A NaN is refused (false).
  bool SetMissingCode(int variable, double code);

  /// What a person should know about how the file was read, sentences without a full stop: what was
  /// left out, what was changed, what the file says that is not in force.
  void AddNote(std::string note) { notes_.push_back(std::move(note)); }
  const std::vector<std::string>& Notes() const { return notes_; }

  /// The label of a code compared in single precision, as the host's lookups do; null: none.
  const std::string* FindLabel(int variable, float code) const;
  /// The code with exactly this label; false: there is none.
  bool FindCode(int variable, std::string_view label, double& code) const;
  /// Whether the variable has more different texts than a categorical variable may have.
  bool HasTooManyCategories(int variable) const;

 private:
  struct Chunk {
    std::size_t before = 0;  // cases in the chunks before this one
    std::size_t cases = 0;
    CellBlock cells;  // variables x cases
  };
  // Which cells of a variable were empty in the file; filled once its code is no longer the one it
  // was read with, since the code alone tells it until then.
  struct EmptyCells {
    bool known = false;
    std::vector<int> cases;
  };

  double* CellsOf(std::size_t chunk, int variable) const {
    const Chunk& from = chunks_[chunk];
    if (from.cells.IsOnDisk() && chunk != held_->last.load(std::memory_order_relaxed)) Hold(chunk);
    return from.cells.Cells() + static_cast<std::size_t>(variable - 1) * from.cases;
  }
  void Hold(std::size_t chunk) const;

  std::vector<Variable> variables_;
  std::vector<EmptyCells> empty_;
  std::vector<Chunk> chunks_;
  std::vector<std::string> notes_;
  std::size_t cases_ = 0;

  // The chunks on the disk that are held in memory, in a ring. A chunk that is put aside while
  // another thread reads it comes in again by itself.
  static constexpr std::size_t kNoChunk = static_cast<std::size_t>(-1);
  struct HeldChunks {
    std::mutex mutex;
    std::array<std::size_t, 4> ring{kNoChunk, kNoChunk, kNoChunk, kNoChunk};
    std::size_t newest = 0;
    std::atomic<std::size_t> last{kNoChunk};  // the one in ring[newest]
  };
  std::unique_ptr<HeldChunks> held_ = std::make_unique<HeldChunks>();
};

/// The missing-data code of a column that holds the numbers `held` (those that matter are -9999,
/// -99999, ...): the first of -9999, -99999, -999999, ... that is none of them.
double FreeMissingCode(std::span<const double> held);
/// Whether a number is one of -9999, -99999, -999999, ...
bool IsMissingCodeCandidate(double value);

}  // namespace qrvml
