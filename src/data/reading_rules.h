// How the three methods read the same file: what they share is written once in the two passes,
// what differs stands here side by side.
#pragma once

#include <cstdint>

namespace qrvml {

enum class Method : std::uint8_t { svm = 0, naiveBayes = 1, knn = 2 };

/// What LoadCases hands to a method's engine.
enum class StoredAs : std::uint8_t {
  indicatorRows,  // training cases to the engine's sink, once per unit of weight; test cases
                  // counted
  rowsPerCase,    // one row per case of either sample
  rowsPerWeight,  // one row per unit of rounded weight
};

struct ReadingRules {
  StoredAs storedAs;
  bool testAlwaysRequired;        // else only while sampling applies
  bool missingDependentExcludes;  // whatever the missing-data rule
  bool allowsPartlyMissing;       // missing-data rule 2
  bool substitutesBothMean;  // with sampling, a substituted value becomes the both-samples mean
  bool meansOverValidOnly;   // means divide by the weight of valid values, not of all cases
  bool classStatistics;      // moments and counts per class, from the training cases
};

constexpr ReadingRules kReadingRules[] = {
    //               stored as                test    dep    partly both   valid  classes
    /* svm */ {StoredAs::indicatorRows, false, false, false, true, false, false},
    /* nb  */ {StoredAs::rowsPerCase, false, true, true, false, true, true},
    /* knn */ {StoredAs::rowsPerWeight, true, false, false, true, false, false},
};

constexpr const ReadingRules& RulesOf(Method method) {
  return kReadingRules[static_cast<int>(method)];
}

}  // namespace qrvml
