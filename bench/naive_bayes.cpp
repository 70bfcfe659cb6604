// Naive Bayes on seeded data, timed on request by bench/naive_bayes.py, which runs the peer in
// turn:
//
//   naive_bayes ROWS   writes the rows that both read to that file, then answers each line
//                      "estimation T" or "classification T" (stored rows), "reader T" (the
//                      cases delivered and nothing else), "reading T" (the first pass),
//                      "stored T" or "streamed T" (the second pass), "again T" (the
//                      classification of a streamed pass), "posterior T" (table and plot of
//                      200 points on 500 inputs) (T threads) with the seconds that it took,
//                      "correct T" with the cases that the last classification got right.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bayes/naive_bayes_engine.h"
#include "bayes/naive_bayes_results_dialog.h"
#include "bench_host.h"
#include "data/case_reader.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "seeded_data.h"

namespace {

using qrvml::AnalysisDataSet;
using qrvml::CAnalysisContext;
using qrvml::ClassStatistics;
using qrvml::HostDataFile;
using qrvml::Method;
using qrvml::NaiveBayesEngine;
using qrvml::Sample;
using qrvml::VariableRoles;
using qrvml::WorkerTeam;

constexpr int kCases = 1000000, kInputs = 50, kClasses = 5, kChunk = 100000;
constexpr double kMissing = -9999;

/// The class, then the inputs, of every row; also written to `path`, the inputs row by row and then
/// the classes from 0.
std::unique_ptr<HostDataFile> OpenFile(const std::string& path) {
  bench::SplitMix random(301);
  qrvml::DataTable table;
  qrvml::CellStore store;
  table.AddVariable("class");
  for (int v = 1; v <= kInputs; ++v) table.AddVariable("v" + std::to_string(v));
  std::ofstream rows(path, std::ios::binary);
  std::vector<double> row(kInputs), classes;
  classes.reserve(kCases);
  for (int first = 0; first < kCases; first += kChunk) {
    qrvml::CellBlock block = store.Take(std::size_t(kChunk) * (kInputs + 1));
    double* cells = block.Cells();
    for (int c = 0; c < kChunk; ++c) {
      const int drawn = int(random.Draw() % kClasses);
      classes.push_back(drawn);
      cells[c] = drawn + 1;
      for (int j = 0; j < kInputs; ++j) {
        const double bell = random.Bell();
        row[j] = bell + (0.1 * (drawn + 1)) * (j % 7);
        cells[std::size_t(j + 1) * kChunk + c] = row[j];
      }
      rows.write(reinterpret_cast<const char*>(row.data()), kInputs * sizeof(double));
    }
    table.AppendChunk(kChunk, std::move(block));
  }
  rows.write(reinterpret_cast<const char*>(classes.data()), kCases * sizeof(double));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

VariableRoles FirstIsDependent() {
  VariableRoles roles;
  for (int v = 2; v <= kInputs + 1; ++v) roles.continuousPredictors.push_back(v);
  roles.categoricalDependents = {1};
  return roles;
}

void Prepare(NaiveBayesEngine& engine) {
  engine.ResetPriorKinds();
  engine.AssignDefaultDistributions();
  const std::size_t dependents[] = {0};
  engine.ComputeDefaultPriors(dependents);
}

/// Takes what is shown, and lets go of it.
class Shown final : public qrvml::OutputServices {
 public:
  int count = 0;
  bool looka4(qrvml::Spreadsheet&& table) override { return ++count, !table.columns.empty(); }
  bool ShowGraph(qrvml::Graph&& graph) override { return ++count, !graph.series.empty(); }
  void cupst(std::span<const std::string>) override {}
};

/// Table and plot of the posteriors of one of 500 normal inputs, two classes, 1,000 cases.
double PosteriorSeconds() {
  constexpr int kMany = 500, kFew = 1000;
  bench::SplitMix random(302);
  qrvml::DataTable table;
  qrvml::CellStore store;
  VariableRoles roles;
  table.AddVariable("class");
  for (int v = 1; v <= kMany; ++v) {
    table.AddVariable("v" + std::to_string(v));
    roles.continuousPredictors.push_back(v + 1);
  }
  roles.categoricalDependents = {1};
  qrvml::CellBlock block = store.Take(std::size_t(kFew) * (kMany + 1));
  for (int v = 0; v <= kMany; ++v) {
    for (int c = 0; c < kFew; ++c)
      block.Cells()[v * kFew + c] = v == 0 ? 1 + c % 2 : random.Bell() + 0.02 * (c % 2);
  }
  table.AppendChunk(kFew, std::move(block));
  HostDataFile file(std::move(table), "bench.csv");
  Shown shown;
  bench::BenchHost host(file, &shown);
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  data.CheckDataFile();
  data.SetRoles(roles);
  data.sampling.apply = false;
  data.ScanCases(Method::naiveBayes);
  data.LoadCases(Method::naiveBayes);
  NaiveBayesEngine engine(data);
  Prepare(engine);
  qrvml::NaiveBayesResultsDialog dialog(host.analysis(), data, engine);
  dialog.posterior.fixed.assign(kMany, 0.0);
  dialog.SelectPosteriorInput("1");
  const double seconds = bench::Seconds([&] {
    dialog.ShowPosteriorTable();
    dialog.ShowPosteriorPlot();
  });
  if (shown.count != 2) std::fprintf(stderr, "the table or the plot was not shown\n"), std::exit(1);
  return seconds;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: naive_bayes ROWS\n"), 2;
  const auto file = OpenFile(argv[1]);
  bench::BenchHost host(*file);
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  data.CheckDataFile();
  data.SetRoles(FirstIsDependent());
  data.sampling.apply = false;
  data.storeValues = true;
  data.ScanCases(Method::naiveBayes);
  data.LoadCases(Method::naiveBayes);
  NaiveBayesEngine engine(data);
  Prepare(engine);
  ClassStatistics statistics;
  const std::vector<double> missing(kInputs + 1, kMissing);

  std::string what;
  for (int threads = 1; std::cin >> what >> threads;) {
    host.threads = threads;
    // Who asked is still running for a moment: new threads would find no processor free.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    double seconds = 0;
    if (what == "estimation") {
      WorkerTeam team(threads);
      seconds = bench::Seconds([&] {
        statistics.Start({&data.dependentCategories(0)}, {}, kInputs, missing);
        statistics.AddCases({kCases, data.PredictorRows(Sample::training).data(),
                             data.DependentRows(Sample::training).data(), nullptr},
                            team);
        statistics.Finish();
      });
    } else if (what == "classification") {
      seconds = bench::Seconds([&] { engine.ComputeNaiveBayesStatistics(); });
    } else if (what == "posterior") {
      seconds = PosteriorSeconds();
    } else if (what == "reader") {
      qrvml::CaseReader reader(*file, data.roles());
      seconds = bench::Seconds([&] {
        for (int number = 1; number <= kCases; ++number) reader.Read(number);
      });
    } else if (what == "again") {
      data.storeValues = false;
      seconds = bench::Seconds([&] { engine.ComputeNaiveBayesStatistics(); });
      data.storeValues = true;
    } else if (what == "reading" || what == "stored" || what == "streamed") {
      data.storeValues = what != "streamed";
      data.ReleaseCases();
      const double reading = bench::Seconds([&] { data.ScanCases(Method::naiveBayes); });
      seconds = bench::Seconds([&] { data.LoadCases(Method::naiveBayes); });
      if (what == "reading") seconds = reading;
      if (what == "streamed") {
        data.storeValues = true;
        data.ScanCases(Method::naiveBayes);
        data.LoadCases(Method::naiveBayes);
      }
      engine.DataChanged();
    } else if (what == "correct") {
      for (int c = 0; c < kClasses; ++c) seconds += engine.trainingConfusion[0].At(c, c);
    }
    std::printf("%.6f\n", seconds);
    std::fflush(stdout);
  }
  return 0;
}
