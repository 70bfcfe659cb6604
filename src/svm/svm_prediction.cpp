#include <algorithm>

#include "svm/kernel_function.h"
#include "svm/packed_cases.h"
#include "svm/svm_solver.h"

namespace qrvml {
namespace {

/// An input vector beside the columns of the support vectors: its nodes, and for differences also
/// the columns without a node, in index order.
struct Query {
  HostArray<double> values;
  HostArray<std::int32_t> columns;
  std::int32_t count = 0;

  void Add(double value, std::int32_t column) {
    values[std::size_t(count)] = value;
    columns[std::size_t(count++)] = column;
  }
};

Query Merge(const PackedCases& support, const SVMNode* x, bool differences) {
  const std::span<const std::int32_t> indices = support.indices();
  const std::int32_t zeros = support.columns() - 1;
  std::size_t nodes = 0;
  while (x[nodes].index != -1) ++nodes;
  Query query;
  query.values.Resize(nodes + indices.size());
  query.columns.Resize(nodes + indices.size());
  std::size_t c = 0;
  for (; x->index != -1 || c < indices.size();) {
    if (c == indices.size() || (x->index != -1 && x->index < indices[c])) {
      if (differences) query.Add(x->value, zeros);
      ++x;
    } else if (x->index == indices[c]) {
      query.Add((x++)->value, std::int32_t(c++));
    } else {
      if (differences) query.Add(0.0, std::int32_t(c));
      ++c;
    }
  }
  return query;
}

/// K(x, support vector) of all of them, padded.
HostArray<double> KernelValues(const SVMModel& model, const SVMNode* x) {
  const PackedCases& support = *model.packed;
  const KernelFunction function(model.parameters, 4);
  const Query query = Merge(support, x, function.IsRadial());
  const std::int32_t padded = PackedCases::Padded(support.count());
  HostArray<double> values{std::size_t(padded)};
  if (padded == 0) return values;
  const auto sums =
      function.IsRadial() ? function.kernel().listedSquares : function.kernel().listedDots;
  sums(support.Block(0), support.columns(), padded / kCaseLanes, query.values.data(),
       query.columns.data(), query.count, values.data());
  function.Finish(0, nullptr, values.data(), padded);
  return values;
}

std::int32_t Vote(const SVMModel& model, std::span<const double> kernel,
                  std::span<std::int32_t> votes) {
  const std::int32_t classes = model.classCount;
  std::size_t pair = 0;
  std::int32_t iBegin = 0;
  for (std::int32_t i = 0; i < classes; ++i) {
    const std::int32_t iEnd = iBegin + model.supportVectorsPerClass[std::size_t(i)];
    std::int32_t jBegin = iEnd;
    for (std::int32_t j = i + 1; j < classes; ++j, ++pair) {
      const std::int32_t jEnd = jBegin + model.supportVectorsPerClass[std::size_t(j)];
      double sum = 0;
      for (std::int32_t s = iBegin; s < iEnd; ++s) {
        sum += model.Coefficient(j - 1, s) * kernel[std::size_t(s)];
      }
      for (std::int32_t s = jBegin; s < jEnd; ++s) {
        sum += model.Coefficient(i, s) * kernel[std::size_t(s)];
      }
      sum -= model.constants[pair];
      ++votes[std::size_t(sum > 0 ? i : j)];
      jBegin = jEnd;
    }
    iBegin = iEnd;
  }
  return std::int32_t(std::max_element(votes.begin(), votes.end()) - votes.begin());
}

}  // namespace

double SvmPredict(const SVMModel& model, const SVMNode* x, std::span<double> voteShares) {
  if (!model.IsClassification()) {
    const HostArray<double> kernel = KernelValues(model, x);
    double sum = 0;
    for (std::int32_t s = 0; s < model.supportVectorCount; ++s) {
      sum += model.coefficients[std::size_t(s)] * kernel[std::size_t(s)];
    }
    sum -= model.constants[0];
    if (model.parameters.svmType == kOneClass) return sum > 0 ? 1 : -1;
    return sum;
  }
  // Without pairs there are no votes: the only class has them all.
  if (model.classCount < 2) {
    if (!voteShares.empty()) voteShares[0] = 1;
    return model.labels[0];
  }
  const HostArray<double> kernel = KernelValues(model, x);
  HostArray<std::int32_t> votes(std::size_t(model.classCount), 0);
  const std::int32_t winner = Vote(model, kernel, votes);
  for (std::size_t k = 0; k < votes.size(); ++k) {
    voteShares[k] = double(votes[k]) / double(model.constants.size());
  }
  return model.labels[std::size_t(winner)];
}

}  // namespace qrvml
