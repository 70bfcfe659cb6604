// Generated texts of a support vector model of 20,000 vectors x 100 columns: speed in text, and
// memory against the text's size. Then the C program: how long it takes to compile, and to score
// cases beside the engine. The model is made up, since a text costs the same whatever it predicts.
//
//   svm_deployment [VECTORS [COLUMNS]]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "harness.h"
#include "score/c_program.h"
#include "seeded_data.h"
#include "svm/case_predictor.h"
#include "svm/svm_deployment.h"
#include "text_speed.h"

namespace {

using qrvml::HostDataFile;
using qrvml::Method;

std::unique_ptr<HostDataFile> OpenFile(int cases, int columns) {
  bench::SplitMix random(601);
  qrvml::DataTable table;
  for (int v = 0; v <= columns; ++v) table.AddVariable("v" + std::to_string(v));
  qrvml::CellStore store;
  const std::size_t width = std::size_t(columns) + 1;
  qrvml::CellBlock block = store.Take(std::size_t(cases) * width);
  for (std::size_t i = 0; i < std::size_t(cases) * width; ++i) block.Cells()[i] = random.Unit();
  table.AppendChunk(cases, std::move(block));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

/// An epsilon regression of the first variable whose support vectors are all cases.
struct Model {
  std::unique_ptr<HostDataFile> file;
  bench::BenchHost host;
  qrvml::CAnalysisContext::Scope scope;
  qrvml::AnalysisDataSet& data;
  qrvml::SVMEngine engine;
  qrvml::DeployedVariables variables;

  Model(int vectors, int columns)
      : file(OpenFile(vectors, columns)),
        host(*file),
        scope(&host.analysis()),
        data((host.analysis().Initialize(), host.analysis().data())),
        engine(data) {
    data.CheckDataFile();
    qrvml::VariableRoles roles;
    roles.continuousDependents = {1};
    for (int v = 2; v <= columns + 1; ++v) roles.continuousPredictors.push_back(v);
    data.SetRoles(roles);
    data.sampling.apply = false;
    data.ScanCases(Method::svm);
    data.LoadCases(Method::svm, &engine);
    bench::SplitMix random(602);
    engine.model = std::make_unique<qrvml::SVMModel>();
    qrvml::SVMModel& model = *engine.model;
    model.parameters.svmType = qrvml::kEpsilonRegression;
    model.parameters.gamma = 1.0 / columns;
    model.classCount = 2;
    model.supportVectorCount = engine.problem.l;
    const auto count = std::size_t(engine.problem.l);
    model.supportVectors.Resize(count);
    model.coefficients.Resize(count);
    for (std::size_t s = 0; s < count; ++s) {
      model.supportVectors[s] = engine.problem.x[s];
      model.coefficients[s] = 20 * random.Unit() - 10;
    }
    model.constants.Assign(1, 0.25);
    qrvml::SolverPace pace(engine.solver);
    qrvml::SpreadSupportVectors(model, pace);
    variables = qrvml::DescribeVariables(*file, data);
  }
};

void RunProgram(Model& model, qrvml::SvmCode& code, int columns) {
  constexpr int kCases = 100;
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
  std::printf("C program of %.1f MB: compiled in %.2f s\n", double(source.size()) / 1e6, compiled);
  std::vector<double> predictions(kCases), answers(kCases);
  const auto predict = [&] {
    for (int c = 0; c < kCases; ++c)
      predictions[std::size_t(c)] =
          qrvml::SvmPredict(*model.engine.model, model.engine.problem.x[c], {});
  };
  const auto ask = [&] {
    std::vector<double> inputs;
    for (int c = 0; c < kCases; ++c) {
      inputs.clear();
      for (int i = 0; i < columns; ++i) inputs.push_back(model.engine.problem.x[c].nodes[i].value);
      if (!program->Predict(inputs, {&answers[std::size_t(c)], 1}, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(1);
      }
    }
  };
  bench::Compare(std::to_string(kCases) + " cases, one thread",
                 {{"engine", predict}, {"C program", ask}}, 3);
  double most = 0, largest = 0;
  for (std::size_t c = 0; c < kCases; ++c) {
    most = std::max(most, std::fabs(answers[c] - predictions[c]));
    largest = std::max(largest, std::fabs(predictions[c]));
  }
  std::printf("  answers differ from the engine's by at most %.1e of values up to %.1e\n", most,
              largest);
}

}  // namespace

int main(int argc, char** argv) {
  const int vectors = argc > 1 ? std::atoi(argv[1]) : 20000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 100;
  Model model(vectors, columns);
  qrvml::SvmCode code(model.variables, model.data, model.engine);
  std::printf("%d support vectors x %d columns\n", vectors, columns);
  bench::MeasureText("C", [&] { return qrvml::MakeCProgram(model.variables, code); });
  bench::MeasureText("QVB", [&] { return qrvml::MakeQvbScript(model.variables, code); });
  bench::MeasureText("PMML",
                     [&] { return qrvml::MakePmmlDocument(model.variables, code, 0, "UTF-8"); });
  RunProgram(model, code, columns);
  return 0;
}
