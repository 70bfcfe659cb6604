#include "datafile/data_table.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qrvml {

namespace {

constexpr double kFirstMissingCode = -9999;

double NextMissingCode(double code) { return code * 10 - 9; }

}  // namespace

bool IsMissingCodeCandidate(double value) {
  if (value > kFirstMissingCode) return false;
  double code = kFirstMissingCode;
  while (code > value) code = NextMissingCode(code);
  return code == value && std::isfinite(value);
}

double FreeMissingCode(std::span<const double> held) {
  double code = kFirstMissingCode;
  while (std::find(held.begin(), held.end(), code) != held.end()) code = NextMissingCode(code);
  return code;
}

Variable& DataTable::AddVariable(std::string name) {
  variables_.emplace_back().name = std::move(name);
  empty_.emplace_back();
  return variables_.back();
}

int DataTable::FindVariable(std::string_view name) const {
  auto at = std::find_if(variables_.begin(), variables_.end(),
                         [&](const Variable& variable) { return variable.name == name; });
  return at == variables_.end() ? 0 : static_cast<int>(at - variables_.begin()) + 1;
}

void DataTable::AppendChunk(std::size_t cases, CellBlock cells) {
  chunks_.push_back({cases_, cases, std::move(cells)});
  cases_ += cases;
}

DataTable::Place DataTable::Find(int caseNumber) const {
  const auto index = static_cast<std::size_t>(caseNumber - 1);
  auto after =
      std::upper_bound(chunks_.begin(), chunks_.end(), index,
                       [](std::size_t value, const Chunk& chunk) { return value < chunk.before; });
  const auto chunk = static_cast<std::size_t>(after - chunks_.begin()) - 1;
  return {chunk, index - chunks_[chunk].before};
}

std::span<const double> DataTable::Column(std::size_t chunk, int variable) const {
  return {CellsOf(chunk, variable), chunks_[chunk].cases};
}

std::span<double> DataTable::Column(std::size_t chunk, int variable) {
  return {CellsOf(chunk, variable), chunks_[chunk].cases};
}

void DataTable::Hold(std::size_t chunk) const {
  const std::lock_guard lock(held_->mutex);
  auto& ring = held_->ring;
  std::size_t& newest = held_->newest;
  if (const auto found = std::ranges::find(ring, chunk); found != ring.end()) {
    newest = static_cast<std::size_t>(found - ring.begin());
  } else {
    newest = (newest + 1) % ring.size();
    if (ring[newest] != kNoChunk) chunks_[ring[newest]].cells.PutAside();
    ring[newest] = chunk;
  }
  held_->last.store(chunk, std::memory_order_relaxed);
}

double DataTable::Value(int caseNumber, int variable) const {
  const Place place = Find(caseNumber);
  return Column(place.chunk, variable)[place.position];
}

bool DataTable::SetMissingCode(int variable, double code) {
  if (std::isnan(code)) return false;
  EmptyCells& empty = empty_[static_cast<std::size_t>(variable - 1)];
  const double old = At(variable).missingCode;
  if (!empty.known) {
    for (std::size_t chunk = 0; chunk < chunks_.size(); ++chunk) {
      std::span<const double> column = std::as_const(*this).Column(chunk, variable);
      for (std::size_t i = 0; i < column.size(); ++i) {
        if (column[i] == old) empty.cases.push_back(FirstCase(chunk) + static_cast<int>(i));
      }
    }
    empty.known = true;
  }
  for (int caseNumber : empty.cases) {
    const Place place = Find(caseNumber);
    Column(place.chunk, variable)[place.position] = code;
  }
  At(variable).missingCode = code;
  return true;
}

const std::string* DataTable::FindLabel(int variable, float code) const {
  const std::vector<ValueLabel>& labels = At(variable).labels;
  auto at = std::lower_bound(
      labels.begin(), labels.end(), code,
      [](const ValueLabel& label, float value) { return static_cast<float>(label.code) < value; });
  if (at == labels.end() || static_cast<float>(at->code) != code) return nullptr;
  return &at->text;
}

bool DataTable::FindCode(int variable, std::string_view label, double& code) const {
  for (const ValueLabel& candidate : At(variable).labels) {
    if (candidate.text != label) continue;
    code = candidate.code;
    return true;
  }
  return false;
}

bool DataTable::HasTooManyCategories(int variable) const {
  return At(variable).distinctTexts > kMostCategories;
}

}  // namespace qrvml
