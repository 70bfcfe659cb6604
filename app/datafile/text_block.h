// Turns a block of whole records into cells.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/cell_store.h"
#include "datafile/file_error.h"
#include "datafile/text_fields.h"
#include "datafile/text_set.h"

namespace qrvml {

/// The different texts of a column, numbered from 0 as they come. Used by several threads.
class TextIndex {
 public:
  /// numbers[i] becomes the number of the i-th text of `texts`; new ones are added.
  void Intern(const TextSet& texts, std::vector<std::uint32_t>& numbers);
  /// All texts by number; only while no other thread interns.
  std::span<const std::string_view> Texts() const { return texts_.Texts(); }

 private:
  std::mutex mutex_;
  TextArena arena_;  // what the texts are made of
  TextSet texts_;
};

/// What is known about the columns of a file while it is read. A column is taken for numbers until
/// a field is met that is none; from then on it is a text column.
class ColumnKinds {
 public:
  explicit ColumnKinds(std::size_t columns) : isText_(columns), texts_(columns) {}
  std::size_t Size() const { return isText_.size(); }
  bool IsText(std::size_t column) const { return isText_[column].load(); }
  void SetText(std::size_t column) { isText_[column].store(true); }
  TextIndex& Texts(std::size_t column) { return texts_[column]; }
  const TextIndex& Texts(std::size_t column) const { return texts_[column]; }

 private:
  std::deque<std::atomic<bool>> isText_;
  std::deque<TextIndex> texts_;
};

/// A number that was found in a column, with the first place in the block where it was.
struct FoundNumber {
  std::size_t column = 0;  // from 0
  double value = 0;
  std::string text;
  int line = 0;  // from 0, within the block
};

struct ParsedBlock {
  std::int64_t offset = 0, length = 0;  // of its text in the file
  int lines = 0;                        // line breaks in it
  std::size_t cases = 0;
  CellBlock cells;             // columns x cases; NaN: empty; text columns: numbers of texts
  std::vector<char> asText;    // by column: read as text
  std::vector<char> hasEmpty;  // by column: holds an empty cell
  std::vector<FoundNumber> heldCodes;  // numbers that a missing-data code must not be
  std::vector<FoundNumber> tooLarge;   // the first number of a column that fits no double
  std::optional<FileError> error;      // its line counts from 0 within the block
  bool invalidUtf8 = false;
  int invalidLine = 0;  // from 0, within the block; only while invalidUtf8
};

/// Parses blocks of one file; keeps its working memory from block to block. One per thread.
class BlockParser {
 public:
  BlockParser(const TextDialect& dialect, ColumnKinds& kinds, CellStore& store);
  /// `text` holds whole records and ends in a line break. Fills everything of `block` but its
  /// place in the file. Columns in which a text is found are made text columns.
  void Parse(std::string_view text, ParsedBlock& block);

 private:
  struct LocalTexts {
    TextSet texts;
    std::vector<std::uint32_t> interned;
  };

  bool ParseRecords(std::string_view text, ParsedBlock& block);
  bool ParseRecord(const char*& at, const char* end, ParsedBlock& block);
  bool ParseField(const char*& at, const char* end, std::size_t column, ParsedBlock& block);
  double CellOfNumber(NumberForm form, double value, std::string_view text, std::size_t column,
                      ParsedBlock& block);
  void StoreColumns(ParsedBlock& block);

  const TextDialect dialect_;
  ColumnKinds& kinds_;
  CellStore& store_;
  const std::size_t columns_;
  std::vector<double> rows_;       // cells of the block, record after record
  std::vector<char> asText_;       // by column
  std::vector<LocalTexts> local_;  // by column
  std::deque<std::string> unescaped_;
  bool foundText_ = false;  // a column turned out to be text while it was read as numbers
};

}  // namespace qrvml
