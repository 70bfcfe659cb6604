// Support vector machines: problem, parameters, model, and what the solver publishes while it runs.
//
// An input vector is an array of nodes in strictly increasing index order, ended by a node with
// index -1; an index that is missing counts as value 0. Cases are numbered from 0.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "host/memory.h"

namespace qrvml {

struct SVMNode {
  std::int32_t index;
  double value;
};

/// An input vector by its first node; stands for the pointer.
struct SVMNodeList {
  const SVMNode* nodes = nullptr;
  operator const SVMNode*() const { return nodes; }
};

/// Owns nothing. The node lists outlive every model that was trained on them.
struct SVMProblem {
  std::int32_t l = 0;              // cases
  const double* y = nullptr;       // target per case; of a class its label
  const SVMNodeList* x = nullptr;  // per case
};

enum SVMType : std::int32_t {
  kCClassification = 0,
  kNuClassification = 1,
  kOneClass = 2,
  kEpsilonRegression = 3,
  kNuRegression = 4,
};
enum SVMKernelType : std::int32_t {
  kLinearKernel = 0,
  kPolynomialKernel = 1,
  kRadialKernel = 2,
  kSigmoidKernel = 3,
};

struct SVMParameters {
  std::int32_t svmType = kCClassification;
  std::int32_t kernelType = kRadialKernel;
  double degree = 3.0;                            // polynomial kernel; any real power
  double gamma = 0.0;                             // all kernels but the linear one
  double coef0 = 0.0;                             // polynomial and sigmoid kernel
  double cacheSize = 40.0;                        // megabytes (2^20 bytes) for kernel columns
  double stoppingAccuracy = 0.001;                // the greatest violation that counts as optimal
  double C = 10.0;                                // types 0, 3 and 4
  std::vector<std::int32_t> classWeightLabels{};  // type 0: C of that class is multiplied
  std::vector<double> classWeights{};             // by this; as many as labels
  double nu = 0.5;                                // types 1, 2 and 4
  double epsilon = 0.1;                           // type 3: width of the insensitive zone
  std::int32_t shrinking = 1;                     // 0 or 1

  std::int32_t classWeightCount() const { return std::int32_t(classWeightLabels.size()); }
};

/// Pairs of classes are numbered in the order (0,1), (0,2), …, (1,2), … of label positions.
struct SVMModel {
  SVMParameters parameters;
  std::int32_t classCount = 0;  // 2 for regression and one-class
  std::int32_t supportVectorCount = 0;
  HostArray<SVMNodeList> supportVectors;           // into the training problem's lists
  HostArray<double> coefficients;                  // (classCount - 1) x supportVectorCount
  HostArray<double> constants;                     // per pair: rho; one for the other types
  HostArray<std::int32_t> labels;                  // classification: in order of appearance
  HostArray<std::int32_t> supportVectorsPerClass;  // classification: per label

  double Coefficient(std::int32_t row, std::int32_t s) const {
    return coefficients[std::size_t(row) * std::size_t(supportVectorCount) + std::size_t(s)];
  }
  bool IsClassification() const { return parameters.svmType <= kNuClassification; }

  /// The support vectors as prediction reads them: the indices that occur, ascending, and per
  /// vector one value for each.
  HostArray<std::int32_t> denseIndices;
  HostArray<double> denseVectors;
};

/// Work done since SvmTrain began.
struct SVMCounts {
  std::int64_t iterations = 0;        // of all decision functions
  std::int64_t limited = 0;           // decision functions that the iteration limit ended
  std::int64_t columnsComputed = 0;   // requests for a kernel column of which something was missing
  std::int64_t columnsHit = 0;        // requests that the cache answered whole
  std::int64_t elementsComputed = 0;  // kernel values
  std::int64_t elementsRead = 0;      // kernel values taken from the cache
};

/// Where diagnostic texts go.
using SVMPrint = std::function<void(std::string_view text)>;

/// What one analysis sets for the solver and reads from it. The counters keep their values until
/// the next optimisation.
struct SVMSolverState {
  std::int32_t iterationCount = 0;  // of the optimisation running or last run
  std::int32_t maxIterations = 1000;
  std::int32_t boundedSupportVectorCount = 0;  // of the decision function trained last
  double objective = 0;                        // of the decision function trained last
  SVMCounts counts;

  SVMPrint print;              // empty: standard output, flushed after "." and "*"
  SVMPrint warn;               // empty: standard error
  std::function<bool()> poll;  // true: cancel; called on the calling thread only. May be empty.
  std::int64_t workBetweenPolls = INT64_C(1) << 22;  // in about one multiplication and addition
  int threads =
      1;  // threads that may share a pass, the calling one included; no result depends on it
  int level = 4;  // newest x86-64 level of the kernels; no result depends on it
};

/// Thrown where a kernel value, a coefficient or a constant is not finite, or a fold has no case to
/// train on: message 155.
struct NumericFault {
  const char* reason = "";  // for a person, where a setting is the cause
};

}  // namespace qrvml
