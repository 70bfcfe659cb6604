#include "data/category_table.h"

#include <algorithm>

namespace qrvml {

void CategoryTable::Clear() {
  collected_.clear();
  codes_.clear();
  classOfCode_.clear();
  classes_.clear();
}

CategoryTable::Collected* CategoryTable::FindCollected(std::int64_t code) {
  const auto found = collected_.find(code);
  return found == collected_.end() ? nullptr : &found->second;
}

CategoryTable::Collected* CategoryTable::Collect(std::int64_t code, std::string text) {
  return &collected_.insert_or_assign(code, Collected{std::move(text), 0}).first->second;
}

void CategoryTable::ClearTrainingWeights() {
  for (auto& [code, entry] : collected_) entry.trainingWeight = 0;
}

void CategoryTable::Seal() {
  codes_.clear();
  classes_.clear();
  for (const auto& [code, entry] : collected_) {
    codes_.push_back({code, entry.text});
    classes_.push_back({entry.text, code, 0});
  }
  // Codes ascend, and the sort is stable: of the codes with one text the smallest comes first.
  std::ranges::stable_sort(classes_, {}, &Class::text);
  const auto duplicates = std::ranges::unique(classes_, {}, &Class::text);
  classes_.erase(duplicates.begin(), duplicates.end());
  classOfCode_.clear();
  for (const auto& [code, entry] : collected_) {
    const auto found = std::ranges::lower_bound(classes_, entry.text, {}, &Class::text);
    found->trainingWeight += entry.trainingWeight;
    classOfCode_.push_back(static_cast<int>(found - classes_.begin()));
  }
}

int CategoryTable::CodeIndex(std::int64_t code) const {
  const auto found = std::ranges::lower_bound(codes_, code, {}, &Category::code);
  return found == codes_.end() || found->code != code ? -1
                                                      : static_cast<int>(found - codes_.begin());
}

int CategoryTable::ClassIndex(std::int64_t code) const {
  const int index = CodeIndex(code);
  return index < 0 ? -1 : classOfCode_[static_cast<std::size_t>(index)];
}

}  // namespace qrvml
