// The split of the cases into a training and a test sample: its settings and its two draws. The
// third way, a sample identifier variable, is applied case by case when the data are read.
#pragma once

#include <cstdint>
#include <string>

#include "host/memory.h"

namespace qrvml {

/// What becomes of a case. Any other value means that the case is not used.
enum CaseFlag : std::uint8_t { kTraining = 0, kTest = 1, kExcluded = 5 };

enum class SamplingMode : std::int16_t { random = 0, identifier = 1, firstCases = 2 };

struct SamplingSettings {
  std::int32_t seed = 0;  // of the random split
  bool apply = true;      // split at all
  bool defined = false;   // a split is in place
  SamplingMode mode = SamplingMode::random;
  std::int16_t identifierVariable = 0;  // 1-based, 0: none
  double learningCode = 0.0;            // marks training cases; a float widened
  std::string learningCodeText;         // as typed
  double trainingPercentage = 75.0;     // of all cases of the file
  std::int32_t firstN = 0;              // leading cases used for training
};

/// What the sample identifier dialog works on; copied into the settings when it closes.
struct SampleChoice {
  std::int16_t variable = 0;       // chosen variable, 1-based, 0: none
  std::int16_t variableCount = 0;  // variables chosen: 0 or 1
  float code = 0;                  // learning code
  std::int16_t codeChosen = 0;
  std::int16_t state = 1;  // 1 active, 0 inactive
  std::int16_t cancelled = 0;
  std::int16_t activeAtLastOK = 0;
  std::string codeText;  // as typed, at most kLongestCodeText bytes
};
inline constexpr std::size_t kLongestCodeText = 2000;

/// The first value of a variable, in file order, that is not missing (and, where only integers
/// will do, is one); 0.0 when there is none or the host stops.
double FindFirstCode(int variable, bool integralOnly);

/// Marks the test cases of a random split: exactly cases - trunc(cases * percentage * 0.01) of
/// them, drawn from the host's generator. Every case of the file takes part, before any selection,
/// weight or missing-data test. Sets firstN to the number of training cases and `defined` on
/// success. False (message 104 shown, `defined` cleared): the flags could not be allocated.
bool DrawRandomSample(SamplingSettings& sampling, std::int32_t cases,
                      HostArray<std::uint8_t>& flags);

/// Makes the first firstN cases training cases and all others test cases. Fails as above.
bool TakeFirstCases(SamplingSettings& sampling, std::int32_t cases, HostArray<std::uint8_t>& flags);

}  // namespace qrvml
