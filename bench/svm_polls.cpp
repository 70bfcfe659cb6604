// Milliseconds between two questions whether to stop: training, the search of parameters,
// prediction for the statistics. By the clock, and by the processor time of the asking thread,
// which does not count what a busy machine gives to others.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "seeded_data.h"
#include "svm/svm_engine.h"

namespace {

using namespace qrvml;

struct Workload {
  const char* name;
  std::int32_t training, test;
  int inputs;
  SVMType type;
  int limit;
  bool search;
};
constexpr Workload kWorkloads[] = {
    {"training 20,000 x 20 and its statistics", 20000, 0, 20, kCClassification, 2147483647, false},
    {"training 5,000 x 20, twice the variables", 5000, 0, 20, kEpsilonRegression, 2147483647,
     false},
    {"training 2,000 x 2,000", 2000, 0, 2000, kCClassification, 2147483647, false},
    {"search over 2,000 x 20, 36 points", 2000, 0, 20, kEpsilonRegression, 1000, true},
    {"prediction of 100,000, 2,000 vectors", 2020, 100000, 20, kNuClassification, 1, false},
};

std::unique_ptr<HostDataFile> OpenFile(const Workload& workload) {
  const auto rows = std::size_t(workload.training + workload.test);
  DataTable table;
  CellStore store;
  table.AddVariable("y");
  for (int v = 1; v <= workload.inputs; ++v) table.AddVariable("x" + std::to_string(v));
  CellBlock block = store.Take(rows * (std::size_t(workload.inputs) + 1));
  double* cells = block.Cells();
  const bool values = workload.type == kEpsilonRegression;
  std::size_t row = 0;
  bench::DrawSolverRows(202, int(rows), workload.inputs, values,
                        [&](double y, std::span<const double> x) {
                          // In turn where every case shall become a support vector.
                          if (workload.type == kNuClassification) y = row % 2 == 0 ? 1 : -1;
                          cells[row] = values ? y : y > 0 ? 1 : 2;
                          for (std::size_t v = 0; v < x.size(); ++v) {
                            cells[(v + 1) * rows + row] = x[v];
                          }
                          ++row;
                        });
  table.AppendChunk(rows, std::move(block));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

class Intervals {
 public:
  void Start() {
    wall_.clear();
    own_.clear();
    last_ = Clock::now();
    lastOwn_ = OwnTime();
  }
  void Take() {
    const auto now = Clock::now();
    const double own = OwnTime();
    wall_.push_back(std::chrono::duration<double, std::milli>(now - last_).count());
    own_.push_back(own - lastOwn_);
    last_ = now;
    lastOwn_ = own;
  }
  void Print(const Workload& workload, int threads) {
    Take();
    std::sort(wall_.begin(), wall_.end());
    std::sort(own_.begin(), own_.end());
    std::printf(
        "%-42s %d thread(s)  %7zu polls, ms: median %6.2f, longest %6.2f; processor time "
        "%6.2f, longest %6.2f\n",
        workload.name, threads, wall_.size() - 1, wall_[wall_.size() / 2], wall_.back(),
        own_[own_.size() / 2], own_.back());
    std::fflush(stdout);
  }

 private:
  using Clock = std::chrono::steady_clock;
  static double OwnTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * double(time.tv_sec) + 1e-6 * double(time.tv_nsec);
  }
  Clock::time_point last_;
  double lastOwn_ = 0;
  std::vector<double> wall_, own_;
};

void Run(const Workload& workload, int threads) {
  const auto file = OpenFile(workload);
  bench::BenchHost host(*file);
  host.threads = threads;
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  VariableRoles roles;
  for (int v = 2; v <= workload.inputs + 1; ++v) roles.continuousPredictors.push_back(v);
  (workload.type == kEpsilonRegression ? roles.continuousDependents
                                       : roles.categoricalDependents) = {1};
  data.CheckDataFile();
  data.SetRoles(roles);
  data.sampling.apply = workload.test > 0;
  data.sampling.firstN = workload.training;
  if (workload.test > 0) data.TakeFirstCases();
  SVMEngine engine(data);
  data.ScanCases(Method::svm);
  data.LoadCases(Method::svm, &engine);
  engine.parameters.svmType = workload.type;
  engine.parameters.nu = 0.99;
  engine.parameters.gamma = 1.0 / workload.inputs;
  engine.solver.maxIterations = workload.limit;
  engine.solver.print = [](std::string_view) {};
  engine.applyCrossValidation = workload.search;
  Intervals intervals;
  host.onPoll = [&] { intervals.Take(); };
  intervals.Start();
  if (!engine.TrainSvm(true)) std::exit(1);
  intervals.Print(workload, threads);
}

}  // namespace

int main() {
  for (const Workload& workload : kWorkloads) {
    for (const int threads : {1, 2}) Run(workload, threads);
  }
  return 0;
}
