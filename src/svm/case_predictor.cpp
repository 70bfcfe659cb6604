#include "svm/case_predictor.h"

#include <algorithm>
#include <limits>

#include "svm/svm_solver.h"

namespace qrvml {
namespace {

constexpr std::int32_t kVectorsAtOnce = 64;  // whose kernel values with a block stay in cache
constexpr std::int64_t kGroupInputs = 1024;  // input columns of all blocks of a group
constexpr std::int64_t kGroupSums = 2048;    // decision functions of all blocks of a group
constexpr std::int64_t kMostGroupBlocks = 8;
constexpr std::int64_t kCopyWork = 4;          // cost of copying an input, in multiplications
constexpr std::int64_t kFinishWork = 16;       // cost of a kernel function, in multiplications
constexpr std::int64_t kSharedWork = 1 << 17;  // multiplications worth a second thread

/// Of labels i < j.
std::int32_t PairNumber(std::int32_t i, std::int32_t j, std::int32_t classes) {
  return i * (2 * classes - i - 1) / 2 + (j - i - 1);
}

HostArray<double> Spread(std::span<const SVMNodeList> lists, std::span<const std::int32_t> indices,
                         SolverPace& pace) {
  const std::size_t width = std::max<std::size_t>(1, indices.size());
  if (lists.size() > std::numeric_limits<std::size_t>::max() / sizeof(double) / width) {
    throw MemoryRefused();
  }
  HostArray<double> values(lists.size() * width, 0.0);
  for (std::size_t s = 0; s < lists.size(); ++s) {
    CopyInputs(indices, lists[s], values.data() + s * width, 1);
    pace.Check(std::int64_t(width) * kCopyWork);
  }
  return values;
}

}  // namespace

void SpreadSupportVectors(SVMModel& model, SolverPace& pace) {
  model.denseIndices = CollectIndices(model.supportVectors, pace);
  model.denseVectors = Spread(model.supportVectors, model.denseIndices, pace);
}

CasePredictor::CasePredictor(const SVMModel& model, int threads, int level)
    : model_(model), function_(model.parameters, level), team_(threads), classBegins_{0} {
  if (model.IsClassification()) {
    for (const std::int32_t size : model.supportVectorsPerClass) {
      classBegins_.push_back(classBegins_.back() + size);
    }
    functions_ = std::int32_t(model.constants.size());
  } else {
    classBegins_.push_back(model.supportVectorCount);
    functions_ = 1;
  }
  const auto columns = std::int64_t(std::max<std::size_t>(1, model.denseIndices.size()));
  groupBlocks_ = std::int32_t(std::clamp<std::int64_t>(
      std::min(kGroupInputs / columns, kGroupSums / std::max(functions_, 1)), 1, kMostGroupBlocks));
  if (model.IsClassification()) shares_.Resize(std::size_t(model.classCount));
  values_.Resize(std::size_t(team_.threads()) * kVectorsAtOnce * kCaseLanes);
}

void CasePredictor::ChooseColumns(std::span<const SVMNodeList> cases, SolverPace& pace) {
  indices_ = model_.denseIndices;
  vectors_ = model_.denseVectors;
  // A product needs no input that the support vectors lack; a difference does.
  if (!function_.IsRadial()) return;
  bool covered = true;
  for (const SVMNodeList list : cases) covered = covered && Covers(indices_, list);
  if (covered) return;
  const HostArray<std::int32_t> others = CollectIndices(cases, pace);
  union_.Resize(indices_.size() + others.size());
  const auto end = std::set_union(indices_.begin(), indices_.end(), others.begin(), others.end(),
                                  union_.begin());
  indices_ = {union_.begin(), end};
  spread_ = Spread(model_.supportVectors, indices_, pace);
  vectors_ = spread_;
}

void CasePredictor::Predict(std::span<const SVMNodeList> cases, std::span<double> predicted,
                            std::span<double> voteShares, SolverPace& pace) {
  const bool hasShares = model_.IsClassification() && !voteShares.empty();
  const auto classes = std::size_t(hasShares ? model_.classCount : 0);
  for (std::size_t first = 0; first < cases.size(); first += portion()) {
    const std::size_t count = std::min(portion(), cases.size() - first);
    PredictPortion(cases.subspan(first, count), predicted.subspan(first, count),
                   voteShares.subspan(first * classes, count * classes), pace);
  }
}

void CasePredictor::PredictPortion(std::span<const SVMNodeList> cases, std::span<double> predicted,
                                   std::span<double> voteShares, SolverPace& pace) {
  ChooseColumns(cases, pace);
  cases_.Build(cases, indices_, pace);
  const std::int32_t columns = cases_.columns();
  const std::int32_t blocks = PackedCases::Padded(cases_.count()) / kCaseLanes;
  const std::size_t blockSums = std::size_t(functions_) * kCaseLanes;
  sums_.Assign(std::size_t(blocks) * blockSums, 0.0);

  const std::int32_t support = model_.supportVectorCount;
  const std::int64_t blockWork = (columns + kFinishWork) * kCaseLanes;
  const bool isShared = std::int64_t(support) * blocks * blockWork >= kSharedWork;
  const auto tile = function_.IsRadial() ? function_.kernel().squares : function_.kernel().dots;
  const std::int32_t groups = (blocks + groupBlocks_ - 1) / groupBlocks_;
  std::atomic<bool> stop{false};
  std::int64_t told = 0;  // work that the pace has heard of: the calling thread's
  team_.Run(groups, isShared, [&](std::int32_t group, int thread) {
    const std::int32_t begin = group * groupBlocks_;
    const std::int32_t end = std::min(blocks, begin + groupBlocks_);
    double* values = values_.data() + std::size_t(thread) * kVectorsAtOnce * kCaseLanes;
    for (std::int32_t s = 0; s < support; s += kVectorsAtOnce) {
      if (stop.load(std::memory_order_relaxed)) return;
      const std::int32_t last = std::min(support, s + kVectorsAtOnce);
      for (std::int32_t b = begin; b < end; ++b) {
        for (std::int32_t t = s; t < last; t += kDotQueries) {
          const double* vectors[kDotQueries];
          double* out[kDotQueries];
          const std::int32_t count = std::min(kDotQueries, last - t);
          for (std::int32_t q = 0; q < count; ++q) {
            vectors[q] = vectors_.data() + std::size_t(t + q) * std::size_t(columns);
            out[q] = values + std::size_t(t + q - s) * kCaseLanes;
          }
          tile(cases_.Block(b), columns, 1, vectors, count, out);
        }
        function_.Finish(0, nullptr, values, (last - s) * kCaseLanes);
        AddSupport(s, last, values, sums_.data() + std::size_t(b) * blockSums);
      }
      if (thread != 0) continue;
      const std::int64_t work = blockWork * (last - s) * (end - begin);
      told += work;
      if (pace.Spend(work)) stop = true;
    }
  });
  if (stop) throw Cancelled();
  // Also when the other threads were so quick that little was left for this one.
  pace.Check(blockWork * support * blocks - told);

  const std::size_t classes = voteShares.size() / cases.size();
  for (std::size_t c = 0; c < cases.size(); ++c) {
    const double* sums = sums_.data() + c / kCaseLanes * blockSums + c % kCaseLanes;
    predicted[c] = Decide(
        sums, classes > 0 ? voteShares.subspan(c * classes, classes) : std::span<double>(shares_));
  }
}

void CasePredictor::AddSupport(std::int32_t first, std::int32_t last, const double* values,
                               double* sums) const {
  const auto add = [&](std::int32_t from, std::int32_t to, std::int32_t row, std::int32_t number) {
    const std::size_t at = std::size_t(row) * std::size_t(model_.supportVectorCount);
    function_.kernel().addWeighted(values + std::size_t(from - first) * kCaseLanes,
                                   model_.coefficients.data() + at + from, to - from,
                                   sums + std::size_t(number) * kCaseLanes);
  };
  if (!model_.IsClassification()) return add(first, last, 0, 0);
  const std::int32_t classes = model_.classCount;
  for (std::int32_t k = 0; k < classes; ++k) {
    const std::int32_t from = std::max(first, classBegins_[std::size_t(k)]);
    const std::int32_t to = std::min(last, classBegins_[std::size_t(k) + 1]);
    if (from >= to) continue;
    for (std::int32_t i = 0; i < k; ++i) add(from, to, i, PairNumber(i, k, classes));
    for (std::int32_t j = k + 1; j < classes; ++j) add(from, to, j - 1, PairNumber(k, j, classes));
  }
}

double CasePredictor::Decide(const double* sums, std::span<double> shares) const {
  if (!model_.IsClassification()) {
    const double sum = sums[0] - model_.constants[0];
    if (model_.parameters.svmType == kOneClass) return sum > 0 ? 1 : -1;
    return sum;
  }
  // Without pairs there are no votes: the only class has them all.
  if (model_.classCount < 2) {
    shares[0] = 1;
    return model_.labels[0];
  }
  std::fill(shares.begin(), shares.end(), 0.0);
  std::size_t pair = 0;
  for (std::int32_t i = 0; i < model_.classCount; ++i) {
    for (std::int32_t j = i + 1; j < model_.classCount; ++j, ++pair) {
      const double sum = sums[pair * kCaseLanes] - model_.constants[pair];
      ++shares[std::size_t(sum > 0 ? i : j)];
    }
  }
  const auto winner = std::max_element(shares.begin(), shares.end()) - shares.begin();
  for (double& share : shares) share /= double(pair);
  return model_.labels[std::size_t(winner)];
}

double SvmPredict(const SVMModel& model, const SVMNode* x, std::span<double> voteShares) {
  const SVMSolverState state;
  SolverPace pace(state);
  const SVMNodeList list{x};
  double predicted = 0;
  CasePredictor(model, 1).Predict({&list, 1}, {&predicted, 1}, voteShares, pace);
  return predicted;
}

}  // namespace qrvml
