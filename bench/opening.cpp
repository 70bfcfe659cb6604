// Opening a data file: our readers beside the database library's own reading of the same columns,
// each in a process of its own; time and peak memory.
//   opening [CASES]       default 1,000,000, of 45 columns of numbers and 5 of texts
#include <duckdb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "datafile/host_data_file.h"
#include "datafile/open_options.h"
#include "harness.h"
#include "seeded_data.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNumbers = 45, kTexts = 5;

void WriteCsv(const fs::path& path, int cases) {
  bench::SplitMix random(17);
  std::FILE* file = std::fopen(path.c_str(), "wb");
  for (int i = 0; i < kNumbers; ++i) std::fprintf(file, "n%d,", i + 1);
  for (int i = 0; i < kTexts; ++i) std::fprintf(file, "t%d%c", i + 1, i + 1 < kTexts ? ',' : '\n');
  for (int c = 0; c < cases; ++c) {
    for (int i = 0; i < kNumbers; ++i) std::fprintf(file, "%.6f,", random.Bell() * 100);
    for (int i = 0; i < kTexts; ++i) {
      std::fprintf(file, "category %d%c", int(random.Draw() % 9), i + 1 < kTexts ? ',' : '\n');
    }
  }
  if (std::fclose(file) != 0) std::exit(1);
}

void Query(const std::string& statement, bool keep) {
  duckdb_database database = nullptr;
  duckdb_connection connection = nullptr;
  duckdb_result result;
  if (duckdb_open(nullptr, &database) != DuckDBSuccess ||
      duckdb_connect(database, &connection) != DuckDBSuccess ||
      duckdb_query(connection, statement.c_str(), &result) != DuckDBSuccess) {
    std::_Exit(1);
  }
  if (keep) return;
  duckdb_destroy_result(&result);
  duckdb_disconnect(&connection);
  duckdb_close(&database);
}

void Open(const std::string& path) {
  std::unique_ptr<qrvml::HostDataFile> file;
  qrvml::FileError error;
  if (!qrvml::OpenDataFile({.path = path}, file, error)) {
    std::fprintf(stderr, "%s\n", error.Text().c_str());
    std::_Exit(1);
  }
}

struct Run {
  double seconds = 0, megabytes = 0;
};

/// Runs in a child process, so that its peak is its own.
Run InChild(const std::function<void()>& work) {
  Run run;
  std::fflush(nullptr);
  run.seconds = bench::Seconds([&] {
    const pid_t child = fork();
    if (child == 0) {
      work();
      std::_Exit(0);
    }
    int status = 0;
    struct rusage usage = {};
    wait4(child, &status, 0, &usage);
    if (status != 0) std::exit(1);
    run.megabytes = double(usage.ru_maxrss) / 1024;
  });
  return run;
}

void Compare(const std::string& title, const std::vector<bench::Contender>& contenders) {
  std::vector<std::vector<double>> seconds(contenders.size()), memory(contenders.size());
  for (int round = -1; round < bench::kRounds; ++round) {
    for (std::size_t c = 0; c < contenders.size(); ++c) {
      const Run run = InChild(contenders[c].run);
      if (round < 0) continue;
      seconds[c].push_back(run.seconds);
      memory[c].push_back(run.megabytes);
    }
  }
  std::printf("%s\n", title.c_str());
  for (std::size_t c = 0; c < contenders.size(); ++c) {
    const double time = bench::Median(seconds[c]), peak = bench::Median(memory[c]);
    std::printf("  %-28s", contenders[c].name.c_str());
    for (const double each : seconds[c]) std::printf(" %7.3f", each);
    std::printf("  median %7.3f s, peak %6.0f MB", time, peak);
    if (c > 0) {
      std::printf("  ratio %.3f, of the memory %.3f", bench::Median(seconds[0]) / time,
                  bench::Median(memory[0]) / peak);
    }
    std::printf("\n");
  }
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const int cases = argc > 1 ? std::atoi(argv[1]) : 1000000;
  const fs::path folder = fs::temp_directory_path() / ("qrvml-opening-" + std::to_string(getpid()));
  fs::create_directory(folder);
  const std::string csv = folder / "data.csv", parquet = folder / "data.parquet";
  // In children, so that nothing of this stays in the memory that the others are born with.
  InChild([&] { WriteCsv(csv, cases); });
  InChild([&] {
    Query("COPY (FROM read_csv('" + csv + "')) TO '" + parquet + "' (FORMAT parquet)", false);
  });
  for (const auto& [name, path] : {std::pair{"csv", csv}, std::pair{"parquet", parquet}}) {
    const std::string relation = "read_" + std::string(name) + "('" + path + "')";
    const std::string title = "opening " + std::to_string(cases) + " x " +
                              std::to_string(kNumbers + kTexts) + ", " + name + ", " +
                              std::to_string(fs::file_size(path) / 1000000) + " MB";
    Compare(title, {{"ours", [&] { Open(path); }},
                    {"DuckDB, result in memory", [&] { Query("FROM " + relation, true); }},
                    {"DuckDB, table in memory",
                     [&] { Query("CREATE TABLE t AS FROM " + relation, true); }}});
  }
  fs::remove_all(folder);
  return 0;
}
