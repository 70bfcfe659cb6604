// The functions that belong to the language.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "host/random_streams.h"
#include "qvb/value.h"

namespace qrvml {

/// What functions need of the run.
struct BuiltInContext {
  SplitMix64 random{0};  // of Rnd; every run begins alike
  double lastRandom = 0;
  std::int64_t work = 0;  // counted by functions whose time grows with their texts, in characters
};

struct BuiltIn {
  std::string_view name;  // in lower case
  int fewest;             // arguments
  int most;
  Type result;
  Value (*call)(std::span<const Value> arguments, BuiltInContext& context);
  double (*real)(double);  // the same for one Double, where that is all there is to it
};

/// The number of a function, or -1. The name is in lower case.
int FindBuiltIn(std::string_view name);
const BuiltIn& BuiltInAt(int number);

// The two halves of the table.
std::span<const BuiltIn> NumericBuiltIns();
std::span<const BuiltIn> TextBuiltIns();

}  // namespace qrvml
