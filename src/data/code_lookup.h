// The class of a code without a search: for loops over many cases.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "data/category_table.h"
#include "host/numerics.h"

namespace qrvml {

/// Answers what CategoryTable::ClassIndex answers, for the codes of a sealed table.
class CodeLookup {
 public:
  CodeLookup() = default;
  explicit CodeLookup(const CategoryTable& table) : table_(&table) {
    const auto codes = table.codes();
    if (codes.empty()) return;
    lowest_ = codes.front().code;
    constexpr std::int64_t kLongest = 4096;
    // The codes ascend; their distance as unsigned numbers cannot overflow.
    const std::uint64_t span = static_cast<std::uint64_t>(codes.back().code) -
                               static_cast<std::uint64_t>(codes.front().code);
    if (span >= static_cast<std::uint64_t>(kLongest)) return;
    dense_.assign(static_cast<std::size_t>(span) + 1, -1);
    for (const auto& category : codes)
      dense_[static_cast<std::size_t>(category.code - lowest_)] = table.ClassIndex(category.code);
  }

  /// Position of the value's class (the value truncated to a code); -1: no code of the table.
  int ClassOf(double value) const {
    // The conversion alone where it is the whole of it: this is in the innermost loops.
    const bool fits = value > -0x1p62 && value < 0x1p62;
    const std::int64_t code = fits ? static_cast<std::int64_t>(value) : TruncateToCode(value);
    if (dense_.empty()) return table_ == nullptr ? -1 : table_->ClassIndex(code);
    const std::uint64_t place =
        static_cast<std::uint64_t>(code) - static_cast<std::uint64_t>(lowest_);
    return place < dense_.size() ? dense_[static_cast<std::size_t>(place)] : -1;
  }

 private:
  const CategoryTable* table_ = nullptr;
  std::int64_t lowest_ = 0;
  std::vector<int> dense_;  // by code - lowest_; empty where the codes lie too far apart
};

}  // namespace qrvml
