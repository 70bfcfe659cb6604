// Generated texts of a nearest-neighbour model of 100,000 prototypes x 20 inputs: speed in text,
// and memory against the text's size. Then the generated C program of 10,000 prototypes: how long
// it takes to compile, and to score 100,000 cases beside the engine.
//
//   knn_deployment [PROTOTYPES [INPUTS [PROGRAM'S PROTOTYPES]]]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "knn/knn_deployment.h"
#include "score/c_program.h"
#include "seeded_data.h"
#include "text_speed.h"

namespace {

using qrvml::AnalysisDataSet;
using qrvml::HostDataFile;
using qrvml::KNNEngine;
using qrvml::Method;

constexpr int kNeighbours = 5;

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

/// A trained regression on all inputs but the last, its prototypes first.
struct Model {
  std::unique_ptr<HostDataFile> file;
  bench::BenchHost host;
  qrvml::CAnalysisContext::Scope scope;
  AnalysisDataSet& data;
  std::unique_ptr<KNNEngine> engine;
  qrvml::DeployedVariables variables;

  Model(int prototypes, int tests, int inputs, Values values);
};

Model::Model(int prototypes, int tests, int inputs, Values values)
    : file(OpenFile(prototypes + tests, inputs + 1, values)),
      host(*file),
      scope(&host.analysis()),
      data((host.analysis().Initialize(), host.analysis().data())) {
  data.CheckDataFile();
  engine = std::make_unique<KNNEngine>(data);
  engine->k = kNeighbours;
  qrvml::VariableRoles roles;
  for (int v = 1; v <= inputs; ++v) roles.continuousPredictors.push_back(v);
  roles.continuousDependents = {inputs + 1};
  data.SetRoles(roles);
  data.sampling.firstN = prototypes;
  data.TakeFirstCases();
  data.ScanCases(Method::knn);
  data.LoadCases(Method::knn);
  engine->Allocate();
  variables = qrvml::DescribeVariables(*file, data);
}

void Generate(int prototypes, int inputs, Values values, const char* title) {
  // An analysis needs a test case.
  Model model(prototypes, 1, inputs, values);
  qrvml::KnnCode code(model.variables, model.data, *model.engine);
  std::printf("%s, %d prototypes x %d inputs\n", title, prototypes, inputs);
  bench::MeasureText("C", [&] { return qrvml::MakeCProgram(model.variables, code); });
  bench::MeasureText("QVB", [&] { return qrvml::MakeQvbScript(model.variables, code); });
  bench::MeasureText("PMML",
                     [&] { return qrvml::MakePmmlDocument(model.variables, code, 0, "UTF-8"); });
}

void RunProgram(int prototypes, int inputs) {
  constexpr int kCases = 100000, kAsked = 2000;  // cases that the program is asked for
  Model model(prototypes, kCases, inputs, Values::uniform);
  qrvml::KnnCode code(model.variables, model.data, *model.engine);
  const std::string source = qrvml::MakeCProgram(model.variables, code);
  qrvml::CHeader header;
  std::string error;
  qrvml::ReadCHeader(
      source, [](const std::string&) { return false; }, header, error);
  std::unique_ptr<qrvml::CProgram> program;
  const double compiled =
      bench::Seconds([&] { program = qrvml::CProgram::Open(source, header, {}, error); });
  if (program == nullptr) {
    std::fprintf(stderr, "%s\n", error.c_str());
    std::exit(1);
  }
  std::printf("C program of %d prototypes x %d inputs: compiled in %.2f s\n", prototypes, inputs,
              compiled);
  const auto rows = model.data.PredictorRows(qrvml::Sample::test);
  std::vector<double> predictions(kCases);
  int differences = 0;
  const auto predict = [&] {
    model.engine->PredictSample(qrvml::Sample::test, [&](std::int32_t row) {
      predictions[std::size_t(row)] = model.engine->predictions[0];
    });
  };
  const auto ask = [&] {
    differences = 0;
    for (int row = 0; row < kAsked; ++row) {
      double answer = 0;
      if (!program->Predict(rows.subspan(std::size_t(row) * inputs, inputs), {&answer, 1}, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(1);
      }
      // Six digits are printed, of a model that holds six digits.
      const double prediction = predictions[std::size_t(row)];
      differences += std::fabs(answer - prediction) > 1e-5 * prediction;
    }
  };
  bench::Compare("100,000 cases, one thread, " + std::to_string(kNeighbours) + " neighbours",
                 {{"engine", predict}, {"C program", ask, double(kAsked) / kCases}}, 3);
  std::printf("  of %d answers %d differ from the engine's by more than a hundred-thousandth\n",
              kAsked, differences);
}

}  // namespace

int main(int argc, char** argv) {
  const int prototypes = argc > 1 ? std::atoi(argv[1]) : 100000;
  const int inputs = argc > 2 ? std::atoi(argv[2]) : 20;
  Generate(prototypes, inputs, Values::uniform, "values with all their digits");
  Generate(prototypes, inputs, Values::tenths, "values with one decimal");
  RunProgram(argc > 3 ? std::atoi(argv[3]) : 10000, inputs);
  return 0;
}
