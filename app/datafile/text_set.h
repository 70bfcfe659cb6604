// Different texts with numbers in order of arrival.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace qrvml {

/// Numbers different texts 0, 1, 2, ... as they come: a hash table with open addressing. It keeps
/// views, so the texts must outlive it.
class TextSet {
 public:
  struct Added {
    std::uint32_t number;
    bool isNew;
  };
  Added Add(std::string_view text) { return Add(text, HashOf(text)); }
  /// With the text's hash known.
  Added Add(std::string_view text, std::uint32_t hash);
  /// All texts and their hashes, by number.
  std::span<const std::string_view> Texts() const { return texts_; }
  std::span<const std::uint32_t> Hashes() const { return hashes_; }
  /// The text with this number is found at another address now.
  void Move(std::uint32_t number, std::string_view text) { texts_[number] = text; }
  /// Forgets all texts; the memory is kept for the next ones.
  void Clear();

  static std::uint32_t HashOf(std::string_view text);

 private:
  void Grow();

  std::vector<std::uint32_t> slots_;  // number + 1, 0: free; a power of two of them
  std::vector<std::string_view> texts_;
  std::vector<std::uint32_t> hashes_;
};

/// Characters that stay where they are.
class TextArena {
 public:
  std::string_view Keep(std::string_view text);

 private:
  static constexpr std::size_t kBlock = 65536;
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::size_t left_ = 0;
  char* next_ = nullptr;
};

}  // namespace qrvml
