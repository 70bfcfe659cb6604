#include "datafile/table_builder.h"

#include <algorithm>
#include <climits>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

#include "datafile/host_data_file.h"
#include "datafile/on_threads.h"
#include "datafile/read_failure.h"
#include "datafile/reader.h"
#include "datafile/text_encoding.h"
#include "datafile/text_fields.h"

namespace qrvml {

namespace {

constexpr std::size_t kBlockCells = std::size_t{1} << 18;
constexpr std::size_t kFewestCases = 64;
constexpr std::size_t kMostCases = std::size_t{1} << 14;

void CheckNumberOfCases(std::size_t cases) {
  if (cases <= INT_MAX) return;
  FailToRead("the file has too many cases", "At most " + std::to_string(INT_MAX) + " can be read");
}

}  // namespace

std::size_t TableBuilder::AddColumn(std::string_view name) {
  const std::size_t column = columns_.size();
  columns_.emplace_back().about.name = VariableName(AsUtf8(name), static_cast<int>(column) + 1);
  return column;
}

void TableBuilder::ChooseCapacity() {
  capacity_ =
      std::clamp(kBlockCells / std::max<std::size_t>(columns_.size(), 1), kFewestCases, kMostCases);
}

TableBuilder::Block& TableBuilder::AddBlock() {
  Block& block = blocks_.emplace_back();
  block.cells = store_.Take(columns_.size() * capacity_);
  return block;
}

std::size_t TableBuilder::AddCases(std::size_t wanted) {
  if (capacity_ == 0) ChooseCapacity();
  CheckCancelled(watch_);
  if (watch_ != nullptr) watch_->Show(static_cast<std::int64_t>(cases_), expected_);
  CheckNumberOfCases(cases_ + wanted);
  if (blocks_.empty() || blocks_.back().cases == capacity_) {
    if (!blocks_.empty()) blocks_.back().cells.PutAside();
    std::fill_n(AddBlock().cells.Cells(), columns_.size() * capacity_, kMissing);
  }
  Block& block = blocks_.back();
  newFrom_ = block.cases;
  const std::size_t added = std::min(wanted, capacity_ - block.cases);
  block.cases += added;
  cases_ += added;
  return added;
}

void TableBuilder::AddAllCases(std::size_t cases) {
  CheckNumberOfCases(cases);
  ChooseCapacity();
  Expect(static_cast<std::int64_t>(cases));
  for (cases_ = cases; cases > 0; cases -= blocks_.back().cases) {
    AddBlock().cases = std::min(cases, capacity_);
  }
}

std::span<double> TableBuilder::CellsFrom(std::size_t column, std::size_t firstCase,
                                          std::size_t wanted) {
  const std::span<double> cells = CellsOf(blocks_[firstCase / capacity_], column);
  const std::size_t from = firstCase % capacity_;
  return cells.subspan(from, std::min(wanted, cells.size() - from));
}

void TableBuilder::CompleteCases(std::size_t firstCase, std::size_t cases) {
  CheckCancelled(watch_);
  const auto all = completed_ += static_cast<std::int64_t>(cases);
  if (watch_ != nullptr) watch_->Show(all, expected_);
  Block& block = blocks_[firstCase / capacity_];
  const std::size_t complete = block.complete.fetch_add(cases) + cases;
  if (complete == block.cases) block.cells.PutAside();
}

std::span<double> TableBuilder::NewCells(std::size_t column) {
  return CellsOf(blocks_.back(), column).subspan(newFrom_);
}

double TableBuilder::AddText(Column& column, std::string_view text) {
  // Looked up first, so that only a new text is copied.
  const TextSet::Added added = column.texts.Add(text);
  if (added.isNew) column.texts.Move(added.number, column.arena.Keep(text));
  return std::bit_cast<double>(kNanBits | (std::uint64_t{added.number} + 1));
}

double TableBuilder::TextCell(std::size_t column, std::string_view text) {
  text = TrimBlanks(text);
  return text.empty() ? kMissing : AddText(columns_[column], text);
}

void TableBuilder::TurnNumbersIntoTexts(Column& column, std::span<double> cells) {
  for (double& cell : cells) {
    if (!std::isnan(cell)) cell = AddText(column, NumberAsText(column.about.format, cell));
  }
}

void TableBuilder::Found::Add(const Found& other) {
  infinite += other.infinite;
  for (const double code : other.heldCodes) {
    if (std::ranges::find(heldCodes, code) == heldCodes.end()) heldCodes.push_back(code);
  }
}

TableBuilder::Found TableBuilder::TakeStock(std::span<double> cells) {
  // Most columns hold none of it, which one pass without branches finds out.
  constexpr double kLargestCode = -9999;
  const bool isPlain =
      std::transform_reduce(cells.begin(), cells.end(), true, std::bit_and<>{}, [](double cell) {
        return cell > kLargestCode && cell <= std::numeric_limits<double>::max();
      });
  Found found;
  if (isPlain) return found;
  for (double& cell : cells) {
    if (std::isinf(cell)) {
      ++found.infinite;
      cell = kMissing;
    }
    found.hasMissing = found.hasMissing || std::isnan(cell);
    if (IsMissingCodeCandidate(cell)) found.Add({{cell}});
  }
  return found;
}

// Makes the labels of a column of texts and gives the code of each text by its number.
std::vector<double> TableBuilder::SetTexts(Column& column) const {
  const std::span<const std::string_view> raw = column.texts.Texts();
  std::vector<std::string> texts(raw.size());
  CancelPace pace(watch_);
  std::transform(raw.begin(), raw.end(), texts.begin(), [&](std::string_view text) {
    pace.Check();
    return AsUtf8(text);
  });
  std::vector<std::size_t> order(texts.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    pace.Check();
    return texts[a] < texts[b];
  });
  std::vector<double> codes(texts.size());
  std::vector<ValueLabel> labels;
  for (const std::size_t number : order) {
    pace.Check();
    // Two texts that were written in different encodings may be one.
    if (labels.empty() || labels.back().text != texts[number]) {
      labels.push_back({static_cast<double>(labels.size() + 1), texts[number]});
    }
    codes[number] = labels.back().code;
  }
  column.about.wasText = true;
  column.about.format = DisplayFormat::number;
  column.about.labels = std::move(labels);
  return codes;
}

void TableBuilder::CompleteLabels(Variable& about) const {
  about.longName = AsUtf8(about.longName);
  std::vector<ValueLabel>& labels = about.labels;
  CancelPace pace(watch_);
  for (ValueLabel& label : labels) {
    pace.Check();
    label.text = AsUtf8(label.text);
  }
  std::stable_sort(labels.begin(), labels.end(), [&](const ValueLabel& a, const ValueLabel& b) {
    pace.Check();
    return a.code < b.code;
  });
  labels.erase(
      std::unique(labels.begin(), labels.end(),
                  [](const ValueLabel& a, const ValueLabel& b) { return a.code == b.code; }),
      labels.end());
  if (about.wasText) about.distinctTexts = labels.size();
}

void TableBuilder::SetMissingCode(Column& column, const Found& found) {
  column.about.missingCode = column.missingCode.value_or(FreeMissingCode(found.heldCodes));
  if (found.infinite == 0) return;
  AddNote(column.about.name + ": " + std::to_string(found.infinite) +
          (found.infinite == 1 ? " infinite value is" : " infinite values are") + " missing");
}

void TableBuilder::ReplaceCells(double missing, const std::vector<double>& codes,
                                std::span<double> cells) {
  for (double& cell : cells) {
    if (!std::isnan(cell)) continue;
    const std::size_t text = TextOf(cell);
    cell = text == 0 ? missing : codes[text - 1];
  }
}

void TableBuilder::Finish(DataTable& table) {
  if (columns_.empty()) FailToRead("the file has no variables");
  std::vector<std::string> names;
  names.reserve(columns_.size());
  for (const Column& column : columns_) names.push_back(column.about.name);
  FileError error;
  if (!NamesDiffer(names, error)) throw ReadFailure{error};

  // Block by block, so that of those on the disk few are in memory at a time.
  const int threads = NumberOfThreads(threads_);
  const std::size_t columns = columns_.size();
  std::vector<Found> found(blocks_.size() * columns);
  std::vector<char> hasTexts(columns);
  for (std::size_t i = 0; i < columns; ++i) hasTexts[i] = !columns_[i].texts.Texts().empty();
  ForEachOnThreads(threads, blocks_.size(), [&](std::size_t b) {
    CheckCancelled(watch_);
    for (std::size_t i = 0; i < columns; ++i) {
      const std::span<double> cells = CellsOf(blocks_[b], i);
      if (hasTexts[i]) {
        const std::unique_lock lock = LockTexts(i);
        TurnNumbersIntoTexts(columns_[i], cells);
      } else {
        found[b * columns + i] = TakeStock(cells);
      }
    }
    blocks_[b].cells.PutAside();
  });
  std::vector<std::vector<double>> codes(columns);
  for (std::size_t i = 0; i < columns; ++i) {
    if (hasTexts[i]) codes[i] = SetTexts(columns_[i]);
    CompleteLabels(columns_[i].about);
    Found inColumn;
    for (std::size_t b = 0; b < blocks_.size(); ++b) inColumn.Add(found[b * columns + i]);
    SetMissingCode(columns_[i], inColumn);
    table.AddVariable(columns_[i].about.name) = std::move(columns_[i].about);
  }
  ForEachOnThreads(threads, blocks_.size(), [&](std::size_t b) {
    CheckCancelled(watch_);
    for (std::size_t i = 0; i < columns; ++i) {
      if (!hasTexts[i] && !found[b * columns + i].hasMissing) continue;
      const double missing = table.At(static_cast<int>(i) + 1).missingCode;
      ReplaceCells(missing, codes[i], CellsOf(blocks_[b], i));
    }
    blocks_[b].cells.PutAside();
  });
  for (Block& block : blocks_) {
    CheckCancelled(watch_);
    if (block.cases < capacity_) {
      CellBlock cells = store_.Take(columns * block.cases);
      for (std::size_t i = 0; i < columns; ++i) {
        std::ranges::copy(CellsOf(block, i), cells.Cells() + i * block.cases);
      }
      block.cells = std::move(cells);
    }
    table.AppendChunk(block.cases, std::move(block.cells));
  }
  for (std::string& note : notes_) table.AddNote(std::move(note));
}

}  // namespace qrvml
