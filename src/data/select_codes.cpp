#include "data/select_codes.h"

#include <algorithm>

#include "host/analysis_support.h"

namespace qrvml {

bool SelectCodes(std::string_view title, std::span<const int> variables, const CodesLimits& limits,
                 std::span<std::vector<double>> codes) {
  DialogServices& dialogs = *CAnalysisContext::Current()->services().dialogs;
  for (std::size_t first = 0; first < variables.size(); first += kCodesPerDialog) {
    const std::size_t count = std::min(kCodesPerDialog, variables.size() - first);
    CodesRequest request;
    request.title = title;
    request.lowest = limits.lowest;
    request.highest = limits.highest;
    for (std::size_t i = first; i < first + count; ++i) {
      if (codes[i].size() > limits.most) codes[i].resize(limits.most);
      request.variables.push_back(variables[i]);
      request.codes.push_back(codes[i]);
      request.minimum.push_back(limits.fewest);
      request.maximum.push_back(limits.most);
    }
    if (!dialogs.LongCodesListDialog(request)) return false;
    std::ranges::move(request.codes, codes.begin() + static_cast<std::ptrdiff_t>(first));
  }
  return true;
}

}  // namespace qrvml
