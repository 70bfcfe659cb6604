#include "data/sampling.h"

#include <algorithm>

#include "data/case_reader.h"
#include "data/value_text.h"
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

double FindFirstCode(int variable, bool integralOnly) {
  DataFile& file = *CAnalysisContext::Current()->services().file;
  const double missing = file.getmd5(variable);
  HostArray<double> values(static_cast<std::size_t>(file.NumberOfVariables()) + 1);
  ProgressPass progress(file.NumberOfCases(), 106);
  for (int number = 1; number <= file.NumberOfCases(); ++number) {
    const CaseStatus status = file.cstart(number, values.data());
    if (status == CaseStatus::stop) break;
    if (status == CaseStatus::skip) continue;
    const double value = values[static_cast<std::size_t>(variable)];
    if (!IsEqual(value, missing) && (!integralOnly || IsIntegral(value))) return value;
  }
  return 0.0;
}

bool DrawRandomSample(SamplingSettings& sampling, std::int32_t cases,
                      HostArray<std::uint8_t>& flags) {
  if (!AllocateFlags(sampling, cases, flags)) return false;
  const auto trainingCases = static_cast<std::int32_t>(cases * sampling.trainingPercentage * 0.01);
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
