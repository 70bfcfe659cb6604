// The search of support vector parameters over the default grid beside separate trainings of every
// point and fold, on 2,000 seeded cases with 20 inputs and 10 folds.
//
//   svm_search [--threads T] [--cache MB] [--rounds R] [--points N] [WORKLOAD...]
//
// Workloads: c (C classification, limit 1,000), r (epsilon regression, limit 1,000), r100 (limit
// 100,000). Of the separate trainings N points are run, evenly spread over the grid (default 36:
// all), and their time is scaled. Both must choose the same point with the same result when all
// run.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "seeded_data.h"
#include "svm/case_predictor.h"
#include "svm/svm_engine.h"

namespace {

using namespace qrvml;

constexpr int kCases = 2000, kInputs = 20, kFolds = 10, kSeed = 7;

struct Workload {
  const char* name;
  bool regression;
  int limit;
  std::uint64_t seed;
};
constexpr Workload kWorkloads[] = {
    {"c", false, 1000, 205},
    {"r", true, 1000, 206},
    {"r100", true, 100000, 206},
};

std::unique_ptr<HostDataFile> OpenFile(const Workload& workload) {
  std::vector<double> rows;
  bench::DrawSolverRows(workload.seed, kCases, kInputs, workload.regression,
                        [&](double y, std::span<const double> x) {
                          rows.push_back(workload.regression ? y : y > 0 ? 1 : 2);
                          rows.insert(rows.end(), x.begin(), x.end());
                        });
  DataTable table;
  CellStore store;
  table.AddVariable("y");
  for (int v = 1; v <= kInputs; ++v) table.AddVariable("x" + std::to_string(v));
  CellBlock block = store.Take(rows.size());
  double* cells = block.Cells();
  for (int c = 0; c < kCases; ++c) {
    for (int v = 0; v <= kInputs; ++v) {
      cells[std::size_t(v) * kCases + c] = rows[std::size_t(c) * (kInputs + 1) + v];
    }
  }
  table.AppendChunk(kCases, std::move(block));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

/// What a search found.
struct Best {
  double C = 0;
  double epsilon = 0;
  double result = 0;
};

/// Every point and fold trained for itself, in the order that the search shuffles into.
class SeparateTrainings {
 public:
  SeparateTrainings(const SVMEngine& engine, RandomServices& random)
      : engine_(engine), problem_(engine.problem) {
    const int l = problem_.l;
    std::vector<int> partner(std::size_t(l), -1);
    for (int t = 0; t < l; ++t) order_.push_back(t);
    for (int i = 0; i < l;) {
      const int r = int(random.rnd_(kSeed) * l);
      if (partner[i] != -1) {
        ++i;
      } else if (partner[r] == -1) {
        std::swap(order_[i], order_[r]);
        partner[i] = r;
        partner[r] = i++;
      }
    }
  }

  /// Trains every `step`-th point.
  Best Run(int step, int threads) {
    const bool classes = engine_.IsClassification();
    Best best{0, 0, classes ? 0 : 1e300};
    SVMSolverState state;
    state.maxIterations = engine_.solver.maxIterations;
    state.threads = threads;
    state.print = [](std::string_view) {};
    for (int point = 0; point < 36; point += step) {
      SVMParameters parameters = engine_.parameters;
      parameters.C = 1 + point / 4;
      parameters.epsilon = point % 4 * 0.1 + 0.1;
      double total = 0;
      for (int f = 0; f < kFolds; ++f) total = AddFold(parameters, f, state, total);
      const double result = classes ? 100 * total / problem_.l : total / problem_.l;
      if (classes ? result > best.result : result < best.result) {
        best = {parameters.C, parameters.epsilon, result};
      }
    }
    return best;
  }

 private:
  double AddFold(const SVMParameters& parameters, int f, SVMSolverState& state, double total) {
    const int l = problem_.l;
    const int begin = f * l / kFolds, end = (f + 1) * l / kFolds;
    std::vector<SVMNodeList> lists;
    std::vector<double> targets;
    for (int t = 0; t < l; ++t) {
      if (t >= begin && t < end) continue;
      lists.push_back(problem_.x[order_[t]]);
      targets.push_back(problem_.y[order_[t]]);
    }
    const auto model =
        SvmTrain({int(lists.size()), targets.data(), lists.data()}, parameters, state);
    std::vector<SVMNodeList> left;
    for (int t = begin; t < end; ++t) left.push_back(problem_.x[order_[t]]);
    std::vector<double> predicted(left.size());
    SolverPace pace(state);
    CasePredictor(*model, state.threads).Predict(left, predicted, {}, pace);
    for (int t = begin; t < end; ++t) {
      const double error = predicted[t - begin] - problem_.y[order_[t]];
      total += engine_.IsClassification() ? (error == 0 ? 1 : 0) : error * error;
    }
    return total;
  }

  const SVMEngine& engine_;
  const SVMProblem& problem_;
  std::vector<int> order_;
};

void Run(const Workload& workload, int threads, double cache, int rounds, int points) {
  const auto file = OpenFile(workload);
  bench::BenchHost host(*file);
  host.threads = threads;
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  VariableRoles roles;
  for (int v = 2; v <= kInputs + 1; ++v) roles.continuousPredictors.push_back(v);
  (workload.regression ? roles.continuousDependents : roles.categoricalDependents) = {1};
  data.CheckDataFile();
  data.SetRoles(roles);
  data.sampling.apply = false;
  SVMEngine engine(data);
  data.ScanCases(Method::svm);
  data.LoadCases(Method::svm, &engine);
  engine.parameters.svmType = workload.regression ? kEpsilonRegression : kCClassification;
  engine.parameters.gamma = 1.0 / kInputs;
  engine.parameters.cacheSize = cache;
  engine.solver.maxIterations = workload.limit;
  engine.solver.print = [](std::string_view) {};
  engine.applyCrossValidation = true;
  engine.folds = kFolds;

  RandomStreams shuffle;
  SeparateTrainings separate(engine, shuffle);
  Best found, expected;
  const std::string title = std::string(workload.name) + ", " + std::to_string(threads) +
                            " thread(s), cache " + std::to_string(int(cache)) + " MB";
  const auto search = [&] {
    host.ForgetDraws();
    engine.crossValidationSeed = kSeed;
    engine.TrainSvm(true);
    found = {engine.parameters.C, engine.parameters.epsilon,
             workload.regression ? engine.bestError : engine.bestAccuracy};
  };
  const auto trainings = [&] { expected = separate.Run(36 / points, threads); };
  std::vector<double> wall[2], processor[2];
  for (int round = 0; round < rounds; ++round) {
    for (int which = 0; which < 2; ++which) {
      const double share = which == 0 ? 1 : points / 36.0;
      const std::clock_t start = std::clock();
      wall[which].push_back(bench::Seconds(which == 0 ? std::function(search) : trainings) / share);
      processor[which].push_back(double(std::clock() - start) / CLOCKS_PER_SEC / share);
    }
  }
  std::printf("%s\n", title.c_str());
  for (int which = 0; which < 2; ++which) {
    std::printf("  %-20s", which == 0 ? "search" : "separate trainings");
    for (const double seconds : wall[which]) std::printf(" %.3f", seconds);
    std::printf("  median %.3f s, processor time %.3f s\n", bench::Median(wall[which]),
                bench::Median(processor[which]));
  }
  std::printf("  ratio %.3f, of processor time %.3f\n",
              bench::Median(wall[0]) / bench::Median(wall[1]),
              bench::Median(processor[0]) / bench::Median(processor[1]));
  std::printf("  best %g %g %.17g\n", found.C, found.epsilon, found.result);
  if (points == 36 && (found.C != expected.C || found.epsilon != expected.epsilon ||
                       found.result != expected.result)) {
    std::printf("  separate trainings differ: %g %g %.17g\n", expected.C, expected.epsilon,
                expected.result);
  }
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int threads = 1, rounds = 3, points = 36;
  double cache = 40;
  std::string chosen;
  for (int a = 1; a < argc; ++a) {
    const bool hasValue = a + 1 < argc;
    if (std::strcmp(argv[a], "--threads") == 0 && hasValue) {
      threads = std::atoi(argv[++a]);
    } else if (std::strcmp(argv[a], "--cache") == 0 && hasValue) {
      cache = std::atof(argv[++a]);
    } else if (std::strcmp(argv[a], "--rounds") == 0 && hasValue) {
      rounds = std::atoi(argv[++a]);
    } else if (std::strcmp(argv[a], "--points") == 0 && hasValue) {
      points = std::atoi(argv[++a]);
    } else {
      chosen += std::string(" ") + argv[a] + " ";
    }
  }
  for (const Workload& workload : kWorkloads) {
    const std::string name = std::string(" ") + workload.name + " ";
    if (chosen.empty() || chosen.find(name) != std::string::npos) {
      Run(workload, threads, cache, rounds, points);
    }
  }
}
