// The generated C program, compiled and run, against the defining loops on the model as it is
// printed, and against the engine where printing changes nothing.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "score/generated_model.h"

namespace qrvml::test {
namespace {

namespace fs = std::filesystem;

/// Reads cases and prints all digits of what the generated function gives.
constexpr const char* kDriver = R"(#define main Harness
#include "model.c"
#undef main
int main(void)
{
	double in[64], out[64];
	for(;;)
	{
		for(int i=0; i<noInputs; i++) if(scanf("%lf", &in[i])!=1) return 0;
		Predict(in, out);
		for(int i=0; i<noOutputs; i++) printf("%.17g ", out[i]);
		printf("\n");
	}
}
)";

class KnnProgram : public ::testing::Test {
 protected:
  KnnProgram() : folder_(fs::temp_directory_path() / ("qrvml-knn-c-" + std::to_string(getpid()))) {
    fs::create_directories(folder_);
    std::ofstream(folder_ / "driver.c") << kDriver;
  }
  ~KnnProgram() override { fs::remove_all(folder_); }

  void Compile(const std::string& text) {
    std::ofstream(folder_ / "model.c", std::ios::binary) << text;
    ASSERT_EQ(Run("cc -std=c11 -include stdbool.h -ffp-contract=off -O2 -Wall -o program driver.c "
                  "-lm 2>err"),
              0)
        << Content("err");
    for (const char* warning : {"-Wdangling-else", "-Wmisleading-indentation", "-Woverflow"})
      EXPECT_EQ(Content("err").find(warning), std::string::npos) << Content("err");
  }
  /// Predictions of the compiled program.
  Rows Predict(const Rows& cases, std::size_t dependents) {
    std::ofstream in(folder_ / "in");
    in.precision(17);
    for (const Row& inputs : cases) {
      for (const double value : inputs) in << value << ' ';
      in << '\n';
    }
    in.close();
    EXPECT_EQ(Run("./program <in >out"), 0);
    Rows predicted;
    std::ifstream out(folder_ / "out");
    for (double value = 0; out >> value;) {
      if (predicted.empty() || predicted.back().size() == dependents) predicted.emplace_back();
      predicted.back().push_back(value);
    }
    return predicted;
  }

 private:
  std::string Content(const char* name) const {
    std::ostringstream text;
    text << std::ifstream(folder_ / name).rdbuf();
    return text.str();
  }
  int Run(const std::string& command) const {
    return std::system(("cd " + folder_.string() + " && " + command).c_str());
  }

  fs::path folder_;
};

bool IsTied(Row scores) {
  std::sort(scores.rbegin(), scores.rend());
  return scores.size() > 1 && scores[0] == scores[1];
}

TEST_F(KnnProgram, PredictsWhatTheModelAsPrintedPredicts) {
  int ties = 0, programs = 0;
  for (const Shape& shape : kShapes) {
    for (int option = 0; option < 16; ++option) {
      const PlainSettings settings =
          SettingsOf(option, 1 + (option * 3 + shape.categoricalInputs) % 5);
      SCOPED_TRACE(std::string(shape.name) + ", metric " + std::to_string(settings.metric) +
                   (settings.weighted ? ", weighted" : "") +
                   (settings.standardized ? ", standardized" : "") + ", K " +
                   std::to_string(settings.k));
      const PlainTable table = PrintedTable(shape, 100 + option, SixDigits);
      KnnAnalysis knn(table, settings);
      knn.Train();
      Compile(Generated(knn, "CodeGeneratorCLang"));
      ++programs;

      PlainKnn model(table, settings);
      model.PrintScaling(SixDigits);
      PlainKnn byCode = model;
      byCode.OrderClassesByCode();
      const auto expected = byCode.PredictTests();
      Rows cases;
      for (int t = table.prototypes; t < int(table.rows.size()); ++t)
        cases.emplace_back(table.rows[t].begin(), table.rows[t].begin() + table.Inputs());
      const Rows predicted = Predict(cases, std::size_t(table.Dependents()));
      ASSERT_EQ(predicted.size(), expected.size());
      for (int t = 0; t < table.Tests(); ++t) {
        knn.PredictTest(t);
        for (int d = 0; d < table.Dependents(); ++d) {
          const double value = predicted[t][d];
          if (d < table.continuousDependents) {
            EXPECT_TRUE(IsClose(expected[t].predictions[d], value)) << value;
          } else {
            EXPECT_EQ(expected[t].predictions[d], value);
          }
          if (settings.standardized) continue;  // the engine's scaling has more digits
          const bool tied = d >= table.continuousDependents && IsTied(expected[t].scores[d]);
          ties += tied;
          EXPECT_TRUE(tied || IsClose(knn.engine().predictions[d], value)) << value;
        }
      }
      if (HasFailure()) return;
    }
  }
  EXPECT_EQ(programs, 96);
  EXPECT_GT(ties, 100) << "exact ties of votes were met";
}

TEST_F(KnnProgram, HoldsAHundredAndFiftyClassesAndLargeCodes) {
  TableFile file("x c");
  for (int i = 0; i < 151; ++i) {
    const int code = i % 150 == 149 ? 2147483647 : 1000000 + i % 150;
    file.cases.emplace_back().values = {double(i), double(code)};
  }
  KnnAnalysis knn(std::move(file), "| c | x |", 150);
  knn.Train();
  Compile(Generated(knn, "CodeGeneratorCLang"));
  EXPECT_EQ(Predict({{0.2}, {148}, {500}}, 1), (Rows{{1000000}, {1000148}, {2147483647}}));
}

TEST_F(KnnProgram, WeightsThatAllVanishLeaveTheFirstClassAndZero) {
  for (const char* variables : {"| c | x |", "c | | x |"}) {
    KnnAnalysis knn(TableFile("x c", {"1e5 2", "2e5 3", "3e5 2", "1 3"}), variables, 3,
                    {{"UseWeightedAverage", 1}, {"KNearestNeighbors", 2}});
    knn.Train();
    Compile(Generated(knn, "CodeGeneratorCLang"));
    EXPECT_EQ(Predict({{-1e5}}, 1), (Rows{{variables[0] == '|' ? 2.0 : 0.0}}));
  }
}

}  // namespace
}  // namespace qrvml::test
