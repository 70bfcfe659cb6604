// The engine around the search: reading the cases of an open file, and the choice of K.
//
//   knn_engine [reading|k-search]   both without an argument
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "seeded_data.h"

namespace {

using qrvml::AnalysisDataSet;
using qrvml::CAnalysisContext;
using qrvml::HostDataFile;
using qrvml::KNNEngine;
using qrvml::Method;
using qrvml::Sample;
using qrvml::VariableRoles;

constexpr int kChunk = 100000;  // cases of a chunk of the table

/// An open file of uniform values: the last variable is the dependent.
std::unique_ptr<HostDataFile> OpenFile(int cases, int variables, std::uint64_t seed) {
  bench::SplitMix random(seed);
  qrvml::DataTable table;
  qrvml::CellStore store;
  for (int v = 1; v <= variables; ++v) table.AddVariable("v" + std::to_string(v));
  for (int first = 0; first < cases; first += kChunk) {
    const int count = std::min(kChunk, cases - first);
    qrvml::CellBlock block = store.Take(std::size_t(count) * variables);
    double* cells = block.Cells();
    for (int c = 0; c < count; ++c) {
      for (int v = 0; v < variables; ++v) cells[std::size_t(v) * count + c] = random.Unit();
    }
    table.AppendChunk(count, std::move(block));
  }
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

VariableRoles LastIsDependent(int variables) {
  VariableRoles roles;
  for (int v = 1; v < variables; ++v) roles.continuousPredictors.push_back(v);
  roles.continuousDependents = {variables};
  return roles;
}

double StatusMegabytes(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::atof(line.c_str() + std::strlen(field) + 1) / 1024;
  }
  return 0;
}

/// The high-water mark of memory starts anew.
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << '5'; }

void Reading() {
  constexpr int kCases = 1000000, kVariables = 50;
  constexpr double kBytes = double(kCases) * kVariables * sizeof(double);
  const auto file = OpenFile(kCases, kVariables, 401);
  bench::BenchHost host(*file);
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  data.CheckDataFile();
  data.SetRoles(LastIsDependent(kVariables));
  data.sampling.firstN = kCases * 3 / 4;

  const auto firstLoad = [&] {
    data.ReleaseCases();
    data.TakeFirstCases();
    data.ScanCases(Method::knn);
    return bench::Seconds([&] { data.LoadCases(Method::knn); });
  };
  const auto freshCopy = [&] {
    // What LoadCases cannot do without: the same bytes into memory that was never touched.
    std::vector<double> source(std::size_t(kCases) * kVariables / 50, 1.0);
    std::unique_ptr<double, decltype(&std::free)> target(
        static_cast<double*>(std::aligned_alloc(64, std::size_t(kBytes))), &std::free);
    return bench::Seconds([&] {
      for (int part = 0; part < 50; ++part)
        std::memcpy(target.get() + part * source.size(), source.data(),
                    source.size() * sizeof(double));
    });
  };

  ResetPeak();
  const double before = StatusMegabytes("VmRSS:");
  firstLoad();
  const double stored = kBytes / 1048576;
  std::printf("reading 1,000,000 cases x 50 variables, one thread\n");
  std::printf(
      "  peak memory above the host's table: %.0f MB for %.0f MB of stored rows, ratio %.3f\n",
      StatusMegabytes("VmHWM:") - before, stored, (StatusMegabytes("VmHWM:") - before) / stored);
  std::vector<double> scans, loads, copies, reloads;
  for (int round = 0; round < bench::kRounds; ++round) {
    loads.push_back(firstLoad());
    copies.push_back(freshCopy());
    scans.push_back(bench::Seconds([&] { data.ScanCases(Method::knn); }));
    reloads.push_back(bench::Seconds([&] { data.LoadCases(Method::knn); }));
  }
  const auto print = [&](const char* name, const std::vector<double>& seconds) {
    std::printf("  %-34s", name);
    for (const double s : seconds) std::printf(" %7.3f", s);
    std::printf("  median %.3f s = %.2f GB/s\n", bench::Median(seconds),
                kBytes / bench::Median(seconds) / 1e9);
  };
  print("ScanCases", scans);
  print("LoadCases into fresh memory", loads);
  print("a plain copy into fresh memory", copies);
  print("LoadCases into its old buffers", reloads);
  std::printf("  speed of LoadCases to that of the copy: %.2f\n",
              bench::Median(copies) / bench::Median(loads));
}

void KSearch(int threads) {
  constexpr int kPrototypes = 20000, kInputs = 20, kFolds = 10, kMaximumK = 20;
  // A test case at the end, since an analysis needs one.
  const auto file = OpenFile(kPrototypes + 1, kInputs + 1, 402);
  bench::BenchHost host(*file);
  host.threads = threads;
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  data.CheckDataFile();
  KNNEngine engine(data);
  data.SetRoles(LastIsDependent(kInputs + 1));
  data.sampling.firstN = kPrototypes;
  data.TakeFirstCases();
  data.ScanCases(Method::knn);
  data.LoadCases(Method::knn);
  engine.applyCrossValidation = true;
  engine.minimumK = 1;
  engine.maximumK = kMaximumK;
  engine.folds = kFolds;
  engine.crossValidationSeed = 5;

  // The yardstick: every prototype searched once, its fold excluded, for the largest K.
  qrvml::NeighbourSearch search;
  const auto rows = data.PredictorRows(Sample::training);
  std::vector<std::int32_t> fold(kPrototypes), found(kPrototypes / kFolds);
  std::vector<qrvml::Neighbour> neighbours(found.size() * kMaximumK);
  for (int p = 0; p < kPrototypes; ++p) fold[p] = p / (kPrototypes / kFolds);
  const auto searchOnce = [&] {
    search.Build(
        {rows.data(), kPrototypes, kInputs, 0, data.slopes().data(), data.offsets().data()},
        qrvml::Metric::euclidean);
    for (int f = 0; f < kFolds; ++f) {
      search.Find(rows.data() + std::size_t(f) * found.size() * kInputs, std::int32_t(found.size()),
                  kMaximumK, {fold.data(), f}, threads, neighbours, found, {});
    }
  };
  bench::Compare(
      "K search, 20 grid values, 10 folds, 20,000 x 20, " + std::to_string(threads) + " thread(s)",
      {{"K search", [&] { engine.Allocate(), engine.TrainKnn(true); }},
       {"each prototype searched once", searchOnce}});
}

}  // namespace

int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  if (only.empty() || only == "reading") Reading();
  if (only.empty() || only == "k-search") {
    KSearch(1);
    KSearch(2);
  }
  return 0;
}
