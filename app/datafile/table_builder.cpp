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
    Block& block = blocks_.emplace_back();
    block.cells = std::make_unique_for_overwrite<double[]>(columns_.size() * capacity_);
    std::fill_n(block.cells.get(), columns_.size() * capacity_, kMissing);
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

void TableBuilder::TurnNumbersIntoTexts(std::size_t index) {
  Column& column = columns_[index];
  for (Block& block : blocks_) {
    for (double& cell : CellsOf(block, index)) {
      if (!std::isnan(cell)) cell = AddText(column, NumberAsText(column.about.format, cell));
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

void TableBuilder::SetMissingCode(std::size_t index) {
  Column& column = columns_[index];
  std::vector<double> held;
  std::size_t infinite = 0;
  for (Block& block : blocks_) {
    for (double& cell : CellsOf(block, index)) {
      if (std::isinf(cell)) {
        ++infinite;
        cell = kMissing;
      } else if (IsMissingCodeCandidate(cell)) {
        held.push_back(cell);
      }
    }
  }
  column.about.missingCode = column.missingCode.value_or(FreeMissingCode(held));
  if (infinite > 0) {
    AddNote(column.about.name + ": " + std::to_string(infinite) +
            (infinite == 1 ? " infinite value is" : " infinite values are") + " missing");
  }
}

void TableBuilder::ReplaceCells(std::size_t column, const std::vector<double>& codes) {
  const double missing = columns_[column].about.missingCode;
  for (Block& block : blocks_) {
    for (double& cell : CellsOf(block, column)) {
      if (!std::isnan(cell)) continue;
      const std::size_t text = TextOf(cell);
      cell = text == 0 ? missing : codes[text - 1];
    }
  }
}

void TableBuilder::Finish(DataTable& table) {
  if (columns_.empty()) FailToRead("the file has no variables");
  std::vector<std::string> names;
  names.reserve(columns_.size());
  for (const Column& column : columns_) names.push_back(column.about.name);
  FileError error;
  if (!NamesDiffer(names, error)) throw ReadFailure{error};

  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Column& column = columns_[i];
    std::vector<double> codes;
    if (!column.texts.Texts().empty()) {
      TurnNumbersIntoTexts(i);
      codes = SetTexts(column);
    }
    column.about.longName = AsUtf8(column.about.longName);
    std::vector<ValueLabel>& labels = column.about.labels;
    for (ValueLabel& label : labels) label.text = AsUtf8(label.text);
    std::stable_sort(labels.begin(), labels.end(),
                     [](const ValueLabel& a, const ValueLabel& b) { return a.code < b.code; });
    labels.erase(
        std::unique(labels.begin(), labels.end(),
                    [](const ValueLabel& a, const ValueLabel& b) { return a.code == b.code; }),
        labels.end());
    if (column.about.wasText) column.about.distinctTexts = labels.size();
    SetMissingCode(i);
    ReplaceCells(i, codes);
    table.AddVariable(column.about.name) = std::move(column.about);
  }
  for (Block& block : blocks_) {
    if (block.cases < capacity_) {
      auto cells = std::make_unique_for_overwrite<double[]>(columns_.size() * block.cases);
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::ranges::copy(CellsOf(block, i), cells.get() + i * block.cases);
      }
      block.cells = std::move(cells);
    }
    table.AppendChunk(block.cases, std::move(block.cells));
  }
  for (std::string& note : notes_) table.AddNote(std::move(note));
}

}  // namespace qrvml
