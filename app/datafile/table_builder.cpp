#include "datafile/table_builder.h"

#include <algorithm>
#include <climits>
#include <numeric>
#include <utility>

#include "datafile/host_data_file.h"
#include "datafile/read_failure.h"
#include "datafile/reader.h"
#include "datafile/text_encoding.h"
#include "datafile/text_fields.h"

namespace qrvml {

namespace {

constexpr std::size_t kBlockCells = std::size_t{1} << 18;
constexpr std::size_t kFewestCases = 64;
constexpr std::size_t kMostCases = std::size_t{1} << 14;

}  // namespace

std::size_t TableBuilder::AddColumn(std::string_view name) {
  const std::size_t column = columns_.size();
  columns_.emplace_back().about.name = VariableName(AsUtf8(name), static_cast<int>(column) + 1);
  return column;
}

std::size_t TableBuilder::AddCases(std::size_t wanted) {
  if (capacity_ == 0) {
    capacity_ = std::clamp(kBlockCells / std::max<std::size_t>(columns_.size(), 1), kFewestCases,
                           kMostCases);
  }
  if (cases_ + wanted > INT_MAX) {
    FailToRead("the file has too many cases",
               "At most " + std::to_string(INT_MAX) + " can be read");
  }
  if (blocks_.empty() || blocks_.back().cases == capacity_) {
    if (!blocks_.empty()) blocks_.back().cells.PutAside();
    Block& block = blocks_.emplace_back();
    block.cells = store_.Take(columns_.size() * capacity_);
    std::fill_n(block.cells.Cells(), columns_.size() * capacity_, kMissing);
  }
  Block& block = blocks_.back();
  newFrom_ = block.cases;
  const std::size_t added = std::min(wanted, capacity_ - block.cases);
  block.cases += added;
  cases_ += added;
  return added;
}

std::span<double> TableBuilder::NewCells(std::size_t column) {
  return CellsOf(blocks_.back(), column).subspan(newFrom_);
}

double TableBuilder::AddText(Column& column, std::string_view text) {
  // Looked up first, so that only a new text is copied.
  const TextSet::Added added = column.texts.Add(text);
  if (added.isNew) column.texts.Move(added.number, arena_.Keep(text));
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

void TableBuilder::TakeStock(std::span<double> cells, Found& found) {
  for (double& cell : cells) {
    if (std::isinf(cell)) {
      ++found.infinite;
      cell = kMissing;
    } else if (IsMissingCodeCandidate(cell)) {
      found.heldCodes.push_back(cell);
    }
  }
}

// Makes the labels of a column of texts and gives the code of each text by its number.
std::vector<double> TableBuilder::SetTexts(Column& column) {
  const std::span<const std::string_view> raw = column.texts.Texts();
  std::vector<std::string> texts(raw.size());
  std::transform(raw.begin(), raw.end(), texts.begin(), AsUtf8);
  std::vector<std::size_t> order(texts.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return texts[a] < texts[b]; });
  std::vector<double> codes(texts.size());
  std::vector<ValueLabel> labels;
  for (const std::size_t number : order) {
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

void TableBuilder::CompleteLabels(Variable& about) {
  about.longName = AsUtf8(about.longName);
  std::vector<ValueLabel>& labels = about.labels;
  for (ValueLabel& label : labels) label.text = AsUtf8(label.text);
  std::stable_sort(labels.begin(), labels.end(),
                   [](const ValueLabel& a, const ValueLabel& b) { return a.code < b.code; });
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

  // Block by block, twice, so that no more than one of those on the disk is in memory.
  std::vector<Found> found(columns_.size());
  std::vector<char> hasTexts(columns_.size());
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    hasTexts[i] = !columns_[i].texts.Texts().empty();
  }
  for (Block& block : blocks_) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::span<double> cells = CellsOf(block, i);
      hasTexts[i] ? TurnNumbersIntoTexts(columns_[i], cells) : TakeStock(cells, found[i]);
    }
    block.cells.PutAside();
  }
  std::vector<std::vector<double>> codes(columns_.size());
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (hasTexts[i]) codes[i] = SetTexts(columns_[i]);
    CompleteLabels(columns_[i].about);
    SetMissingCode(columns_[i], found[i]);
    table.AddVariable(columns_[i].about.name) = std::move(columns_[i].about);
  }
  for (Block& block : blocks_) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const double missing = table.At(static_cast<int>(i) + 1).missingCode;
      ReplaceCells(missing, codes[i], CellsOf(block, i));
    }
    if (block.cases < capacity_) {
      CellBlock cells = store_.Take(columns_.size() * block.cases);
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::ranges::copy(CellsOf(block, i), cells.Cells() + i * block.cases);
      }
      block.cells = std::move(cells);
    }
    block.cells.PutAside();
    table.AppendChunk(block.cases, std::move(block.cells));
  }
  for (std::string& note : notes_) table.AddNote(std::move(note));
}

}  // namespace qrvml
