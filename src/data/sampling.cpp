#include "data/sampling.h"

#include <algorithm>

#include "host/analysis_support.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

/// One flag per case, all training. The old flags are released first: a failed split leaves none.
bool AllocateFlags(SamplingSettings& sampling, std::int32_t cases, HostArray<std::uint8_t>& flags) {
  sampling.defined = false;
  flags.Release();
  try {
    flags.Assign(static_cast<std::size_t>(cases), kTraining);
  } catch (const MemoryRefused&) {
    return Refuse(104);
  }
  return true;
}

}  // namespace

bool DrawRandomSample(SamplingSettings& sampling, std::int32_t cases,
                      HostArray<std::uint8_t>& flags) {
  if (!AllocateFlags(sampling, cases, flags)) return false;
  const auto trainingCases =
      static_cast<std::int32_t>(cases * sampling.trainingPercentage * 0.01);
  RandomServices& random = *CAnalysisContext::Current()->services().random;
  for (std::int32_t remaining = cases - trainingCases; remaining > 0;) {
    auto place = flags.begin() + static_cast<std::int32_t>(random.rnd_(sampling.seed) * cases);
    place = std::find_if(place, flags.end(), [](std::uint8_t flag) { return flag != kTest; });
    if (place == flags.end()) continue;  // nothing free up to the end of the file: draw anew
    *place = kTest;
    --remaining;
  }
  sampling.firstN = static_cast<std::int32_t>(std::count(flags.begin(), flags.end(), kTraining));
  sampling.defined = true;
  return true;
}

bool TakeFirstCases(SamplingSettings& sampling, std::int32_t cases,
                    HostArray<std::uint8_t>& flags) {
  if (!AllocateFlags(sampling, cases, flags)) return false;
  std::fill(flags.begin() + std::min(sampling.firstN, cases), flags.end(), kTest);
  sampling.defined = true;
  return true;
}

}  // namespace qrvml
