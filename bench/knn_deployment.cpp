// Generated texts of a nearest-neighbour model of 100,000 prototypes x 20 inputs: speed in text,
// and memory against the text's size.
//
//   knn_deployment [PROTOTYPES [INPUTS]]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "knn/knn_deployment.h"
#include "seeded_data.h"

namespace {

using qrvml::AnalysisDataSet;
using qrvml::HostDataFile;
using qrvml::KNNEngine;
using qrvml::Method;

/// How a value looks is what its text costs: all its digits, or a few.
enum class Values { uniform, tenths };

std::unique_ptr<HostDataFile> OpenFile(int cases, int variables, Values values) {
  bench::SplitMix random(501);
  qrvml::DataTable table;
  for (int v = 1; v <= variables; ++v) table.AddVariable("v" + std::to_string(v));
  qrvml::CellStore store;
  qrvml::CellBlock block = store.Take(std::size_t(cases) * variables);
  double* cells = block.Cells();
  for (std::size_t i = 0; i < std::size_t(cases) * variables; ++i) {
    const double value = random.Unit() * 100;
    cells[i] = values == Values::uniform ? value : std::floor(value * 10) / 10;
  }
  table.AppendChunk(cases, std::move(block));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

double StatusMegabytes(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::atof(line.c_str() + std::strlen(field) + 1) / 1024;
  }
  return 0;
}

void Measure(const char* name, const std::function<std::string()>& make) {
  std::vector<double> seconds;
  double megabytes = 0, peak = 0;
  for (int round = -1; round < bench::kRounds; ++round) {
    std::ofstream("/proc/self/clear_refs") << '5';  // the high-water mark starts anew
    const double before = StatusMegabytes("VmRSS:");
    std::string text;
    const double taken = bench::Seconds([&] { text = make(); });
    megabytes = double(text.size()) / 1e6;
    peak = std::max(peak, (StatusMegabytes("VmHWM:") - before) * 1.048576);
    if (round >= 0) seconds.push_back(taken);
  }
  std::printf("  %-5s", name);
  for (const double s : seconds) std::printf(" %7.4f", s);
  std::printf("  median %.4f s, %.1f MB of text, %.0f MB/s; peak %.2f times the text\n",
              bench::Median(seconds), megabytes, megabytes / bench::Median(seconds),
              peak / megabytes);
}

void Generate(int prototypes, int inputs, Values values, const char* title) {
  // A test case at the end, since an analysis needs one.
  const auto file = OpenFile(prototypes + 1, inputs + 1, values);
  bench::BenchHost host(*file);
  qrvml::CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  data.CheckDataFile();
  KNNEngine engine(data);
  qrvml::VariableRoles roles;
  for (int v = 1; v <= inputs; ++v) roles.continuousPredictors.push_back(v);
  roles.continuousDependents = {inputs + 1};
  data.SetRoles(roles);
  data.sampling.firstN = prototypes;
  data.TakeFirstCases();
  data.ScanCases(Method::knn);
  data.LoadCases(Method::knn);
  engine.Allocate();
  const auto variables = qrvml::DescribeVariables(*file, data);
  qrvml::KnnCode code(variables, data, engine);
  std::printf("%s, %d prototypes x %d inputs\n", title, prototypes, inputs);
  Measure("C", [&] { return qrvml::MakeCProgram(variables, code); });
  Measure("QVB", [&] { return qrvml::MakeQvbScript(variables, code); });
  Measure("PMML", [&] { return qrvml::MakePmmlDocument(variables, code, 0, "UTF-8"); });
}

}  // namespace

int main(int argc, char** argv) {
  const int prototypes = argc > 1 ? std::atoi(argv[1]) : 100000;
  const int inputs = argc > 2 ? std::atoi(argv[2]) : 20;
  Generate(prototypes, inputs, Values::uniform, "values with all their digits");
  Generate(prototypes, inputs, Values::tenths, "values with one decimal");
  return 0;
}
