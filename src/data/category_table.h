// The categories of one categorical variable: integer codes, each with a text, in two orders.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qrvml {

/// Codes in ascending order (indicator columns go by it) and texts in byte order (classes, votes
/// and tables go by it). Codes that share a text are one class, whose code is the smallest of them.
class CategoryTable {
 public:
  struct Category {
    std::int64_t code;
    std::string text;
  };
  struct Class {
    std::string text;
    std::int64_t code;                // the smallest code with this text
    std::int64_t trainingWeight = 0;  // weighted training cases
  };

  struct Collected {
    std::string text;
    std::int64_t trainingWeight = 0;
  };

  /// An empty table.
  void Clear();

  // Collecting: codes in any order, then Seal.

  /// What is collected under a code; null when nothing is. Stays valid while the table collects.
  Collected* FindCollected(std::int64_t code);
  /// Enters a code that is not there yet.
  Collected* Collect(std::int64_t code, std::string text);
  /// Makes the training weights 0, and keeps the codes.
  void ClearTrainingWeights();
  /// Puts what was collected into the two orders below.
  void Seal();

  // Once it is sealed.

  bool HasCode(std::int64_t code) const { return CodeIndex(code) >= 0; }
  /// Distinct codes; ascending.
  std::span<const Category> codes() const { return codes_; }
  /// Distinct texts; ascending by bytes.
  std::span<const Class> classes() const { return classes_; }

  /// Position of a code in codes(), -1 when it is not there.
  int CodeIndex(std::int64_t code) const;
  /// Position of a code's class in classes(), -1 when the code is not there.
  int ClassIndex(std::int64_t code) const;

 private:
  std::map<std::int64_t, Collected> collected_;
  std::vector<Category> codes_;
  std::vector<int> classOfCode_;  // parallel to codes_: position in classes_
  std::vector<Class> classes_;
};

}  // namespace qrvml
