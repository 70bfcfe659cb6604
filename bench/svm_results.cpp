// Large tables of a support vector analysis and their Excel files: time, size and peak memory.
//   svm_results [VECTORS INPUTS CASES]     default 20,000 100 100,000
// The model's table has VECTORS support vectors of INPUTS inputs; the predictions table lists CASES
// test cases of 20 inputs with the predictions of VECTORS / 10 support vectors.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench_host.h"
#include "datafile/host_data_file.h"
#include "documents/xlsx_renderer.h"
#include "harness.h"
#include "process_memory.h"
#include "seeded_data.h"
#include "svm/svm_results_dialog.h"

namespace {

using namespace qrvml;
namespace fs = std::filesystem;

constexpr double kNu = 0.99;  // at least this share of the training cases are support vectors

/// What the module shows goes into a workbook.
class Shown final : public OutputServices {
 public:
  Workbook workbook;
  bool looka4(Spreadsheet&& spreadsheet) override {
    workbook.Add(std::move(spreadsheet));
    return true;
  }
  void cupst(std::span<const std::string>) override {}
};

/// Two classes in turn, then the inputs.
std::unique_ptr<HostDataFile> DrawCases(std::int32_t cases, int inputs) {
  bench::SplitMix random(501);
  DataTable table;
  CellStore store;
  table.AddVariable("class");
  for (int v = 1; v <= inputs; ++v) table.AddVariable("v" + std::to_string(v));
  const auto rows = static_cast<std::size_t>(cases);
  CellBlock block = store.Take(rows * (static_cast<std::size_t>(inputs) + 1));
  double* cells = block.Cells();
  for (std::size_t row = 0; row < rows; ++row) {
    cells[row] = 1 + double(row % 2);
    for (int v = 1; v <= inputs; ++v)
      cells[std::size_t(v) * rows + row] = random.Bell() + 0.2 * double(row % 2);
  }
  table.AppendChunk(rows, std::move(block));
  return std::make_unique<HostDataFile>(std::move(table), "bench.csv");
}

void Check(bool done) {
  if (done) return;
  std::fprintf(stderr, "a step failed\n");
  std::exit(1);
}

/// Runs a step and prints its time and the memory that it took at its peak.
template <class Step>
void Measure(const char* what, Step step) {
  bench::ResetPeakMemory();
  const double before = bench::PeakMemory();
  const double seconds = bench::Seconds([&] { Check(step()); });
  std::printf("  %-34s %8.2f s %8.1f MB memory\n", what, seconds, bench::PeakMemory() - before);
}

void SaveAsXlsx(const Workbook& workbook) {
  const fs::path file = fs::temp_directory_path() / ("qrvml-bench-" + std::to_string(getpid()));
  Measure("its Excel file, beside the table", [&] {
    std::string error;
    return WriteXlsx(workbook, file, error);
  });
  std::printf("  %-34s %8.2f MB\n", "size of the file", double(fs::file_size(file)) / 1e6);
  fs::remove(file);
}

/// Trains on the first `training` cases, all but a few of which become support vectors, and calls
/// `show` with the results dialog.
template <class Show>
void WithResults(std::int32_t training, std::int32_t cases, int inputs, bool predicts, Show show) {
  const auto file = DrawCases(training + cases, inputs);
  Shown shown;
  bench::BenchHost host(*file, &shown);
  CAnalysisContext::Scope scope(&host.analysis());
  host.analysis().Initialize();
  AnalysisDataSet& data = host.analysis().data();
  VariableRoles roles;
  for (int v = 2; v <= inputs + 1; ++v) roles.continuousPredictors.push_back(v);
  roles.categoricalDependents = {1};
  Check(data.CheckDataFile() && data.SetRoles(roles));
  data.sampling.apply = cases > 0;
  data.sampling.firstN = training;
  Check(cases == 0 || data.TakeFirstCases());
  SVMEngine engine(data);
  engine.parameters.svmType = kNuClassification;
  engine.parameters.nu = kNu;
  engine.parameters.gamma = 1.0 / inputs;
  engine.solver.maxIterations = 1;
  engine.solver.print = [](std::string_view) {};
  Check(data.ScanCases(Method::svm) && data.LoadCases(Method::svm, &engine));
  if (predicts) {
    Check(engine.TrainSvm(true));
  } else {
    engine.model = SvmTrain(engine.problem, engine.parameters, engine.solver);
  }
  SVMResultsDialog dialog(host.analysis(), data, engine);
  std::printf("%d support vectors of %d inputs, %d test cases\n", engine.model->supportVectorCount,
              inputs, cases);
  show(dialog);
  SaveAsXlsx(shown.workbook);
}

}  // namespace

int main(int count, char** arguments) {
  const auto argument = [&](int at, int usual) {
    return count > at ? std::atoi(arguments[at]) : usual;
  };
  const int vectors = argument(1, 20000), inputs = argument(2, 100), cases = argument(3, 100000);
  const auto training = [](int wanted) { return int(wanted / kNu) / 2 * 2 + 2; };
  WithResults(training(vectors), 0, inputs, false, [](SVMResultsDialog& dialog) {
    Measure("model specification", [&] { return dialog.ShowModelSpecification(); });
  });
  WithResults(training(vectors / 10), cases, 20, true, [](SVMResultsDialog& dialog) {
    dialog.includes = {true, true, true, true, true};
    Measure("predictions table", [&] { return dialog.ShowPredictions(); });
  });
}
