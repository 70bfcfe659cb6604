// The support vector solver on seeded problems: time, work done, and processor time over the floor
// of that work by the rates measured in the same run.
//
//   svm_solver [--threads T] [--cache MB] [--shrinking 0|1] [--rounds R] [--memory] [WORKLOAD...]
//
// With --memory no rates are measured, and the peak of the process's memory is printed.
// Workloads: c5 c20 (classification, 5,000 and 20,000 cases), r5 r20 (regression).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "harness.h"
#include "seeded_data.h"
#include "svm/svm_solver.h"
#include "svm_rates.h"

namespace {

using namespace qrvml;

constexpr int kInputs = 20;

struct Workload {
  const char* name;
  bool regression;
  int cases;
  std::uint64_t seed;
};
constexpr Workload kWorkloads[] = {
    {"c5", false, 5000, 201},
    {"c20", false, 20000, 202},
    {"r5", true, 5000, 203},
    {"r20", true, 20000, 204},
};

/// The problem and the storage of its nodes.
struct Data {
  std::vector<SVMNode> nodes;
  std::vector<SVMNodeList> lists;
  std::vector<double> targets;

  explicit Data(const Workload& workload) {
    nodes.reserve(std::size_t(workload.cases) * (kInputs + 1));
    bench::DrawSolverRows(workload.seed, workload.cases, kInputs, workload.regression,
                          [&](double y, std::span<const double> x) {
                            targets.push_back(y);
                            for (int i = 0; i < kInputs; ++i) nodes.push_back({i + 1, x[i]});
                            nodes.push_back({-1, 0});
                          });
    for (int t = 0; t < workload.cases; ++t) {
      lists.push_back({nodes.data() + std::size_t(t) * (kInputs + 1)});
    }
  }
  SVMProblem Problem() const { return {int(targets.size()), targets.data(), lists.data()}; }
};

}  // namespace

int main(int argc, char** argv) {
  int threads = 1;
  double cache = 200;
  int shrinking = 1;
  int rounds = 3;
  bool memory = false;
  std::vector<std::string> chosen;
  for (int a = 1; a < argc; ++a) {
    const bool hasValue = a + 1 < argc;
    if (std::strcmp(argv[a], "--threads") == 0 && hasValue) {
      threads = std::atoi(argv[++a]);
    } else if (std::strcmp(argv[a], "--cache") == 0 && hasValue) {
      cache = std::atof(argv[++a]);
    } else if (std::strcmp(argv[a], "--shrinking") == 0 && hasValue) {
      shrinking = std::atoi(argv[++a]);
    } else if (std::strcmp(argv[a], "--rounds") == 0 && hasValue) {
      rounds = std::atoi(argv[++a]);
    } else if (std::strcmp(argv[a], "--memory") == 0) {
      memory = true;
    } else {
      chosen.emplace_back(argv[a]);
    }
  }
  const bench::SvmRates rates = memory ? bench::SvmRates{} : bench::MeasureSvmRates(kInputs);
  if (!memory)
    std::printf("rates, one thread: products %.1f G/s, exp %.2f G/s, memory %.1f GB/s\n",
                rates.products / 1e9, rates.exponentials / 1e9, rates.memory / 1e9);
  for (const Workload& workload : kWorkloads) {
    if (!chosen.empty() && std::find(chosen.begin(), chosen.end(), workload.name) == chosen.end()) {
      continue;
    }
    const Data data(workload);
    SVMParameters parameters;
    parameters.svmType = workload.regression ? kEpsilonRegression : kCClassification;
    parameters.gamma = 0.05;
    parameters.cacheSize = cache;
    parameters.shrinking = shrinking;
    SVMSolverState state;
    state.maxIterations = 2147483647;
    state.threads = threads;
    state.print = [](std::string_view) {};
    std::vector<double> seconds;
    std::vector<double> processor;
    std::int32_t support = 0;
    for (int round = 0; round < rounds; ++round) {
      const auto train = [&] {
        support = SvmTrain(data.Problem(), parameters, state)->supportVectorCount;
      };
      processor.push_back(
          bench::ProcessorSeconds([&] { seconds.push_back(bench::Seconds(train)); }));
    }
    const SVMCounts& counts = state.counts;
    const double floor =
        double(counts.elementsComputed) * (kInputs / rates.products + 1 / rates.exponentials) +
        8.0 * double(counts.elementsRead) / rates.memory;
    const double median = bench::Median(seconds);
    std::printf("%-4s threads %d cache %g shrinking %d: %.3f s (", workload.name, threads, cache,
                shrinking, median);
    for (const double s : seconds) std::printf(" %.3f", s);
    std::printf(" )\n     objective %.6f, iterations %lld, support vectors %d, bounded %d\n",
                state.objective, static_cast<long long>(counts.iterations), support,
                state.boundedSupportVectorCount);
    std::printf("     columns computed %lld, hit %lld; elements computed %.4g, read %.4g\n",
                static_cast<long long>(counts.columnsComputed),
                static_cast<long long>(counts.columnsHit), double(counts.elementsComputed),
                double(counts.elementsRead));
    if (memory) {
      rusage usage{};
      getrusage(RUSAGE_SELF, &usage);
      std::printf("     peak %.1f MB; dense inputs %.1f MB\n", double(usage.ru_maxrss) / 1024,
                  8.0 * kInputs * workload.cases / 1048576);
    } else {
      std::printf("     floor %.3f s on one thread; processor time %.3f s, / floor %.2f\n", floor,
                  bench::Median(processor), bench::Median(processor) / floor);
    }
    std::fflush(stdout);
  }
}
