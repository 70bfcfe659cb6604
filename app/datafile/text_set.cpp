#include "datafile/text_set.h"

#include <algorithm>
#include <functional>

namespace qrvml {

std::uint32_t TextSet::HashOf(std::string_view text) {
  const std::size_t hash = std::hash<std::string_view>()(text);
  return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

TextSet::Added TextSet::Add(std::string_view text, std::uint32_t hash) {
  if (texts_.size() * 2 >= slots_.size()) Grow();
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  for (; slots_[at] != 0; at = (at + 1) & mask) {
    const std::uint32_t number = slots_[at] - 1;
    if (hashes_[number] == hash && texts_[number] == text) return {number, false};
  }
  const auto number = static_cast<std::uint32_t>(texts_.size());
  slots_[at] = number + 1;
  texts_.push_back(text);
  hashes_.push_back(hash);
  return {number, true};
}

void TextSet::Grow() {
  slots_.assign(std::max<std::size_t>(slots_.size() * 2, 32), 0);
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t number = 0; number < hashes_.size(); ++number) {
    std::size_t at = hashes_[number] & mask;
    while (slots_[at] != 0) at = (at + 1) & mask;
    slots_[at] = static_cast<std::uint32_t>(number) + 1;
  }
}

void TextSet::Clear() {
  if (texts_.empty()) return;
  std::fill(slots_.begin(), slots_.end(), 0);
  texts_.clear();
  hashes_.clear();
}

std::string_view TextArena::Keep(std::string_view text) {
  if (text.size() > left_) {
    left_ = std::max(kBlock, text.size());
    next_ = blocks_.emplace_back(std::make_unique_for_overwrite<char[]>(left_)).get();
  }
  std::copy(text.begin(), text.end(), next_);
  const std::string_view kept(next_, text.size());
  next_ += text.size();
  left_ -= text.size();
  return kept;
}

}  // namespace qrvml
