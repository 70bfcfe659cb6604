// Files of large documents: time, size and peak memory above the document itself.
//   documents [ROWS]       default 1,000,000
// A picture's time holds the making of its description; a PNG also that of the converter, whose
// memory is its own.
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "documents/csv_renderer.h"
#include "documents/json_renderer.h"
#include "documents/png_file.h"
#include "documents/svg_renderer.h"
#include "documents/text_renderer.h"
#include "documents/xlsx_renderer.h"
#include "process_memory.h"

namespace {

using namespace qrvml;
namespace fs = std::filesystem;

struct Numbers {
  std::uint64_t state = 1;
  double operator()() {  // splitmix64
    std::uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return double((z ^ z >> 31) >> 11) * 0x1p-53;
  }
  double Bell() { return (*this)() + (*this)() + (*this)() + (*this)() - 2; }
};

void Measure(const char* what, const std::function<bool(const fs::path&)>& write) {
  const fs::path file = fs::temp_directory_path() / ("qrvml-bench-" + std::to_string(getpid()));
  bench::ResetPeakMemory();
  const double before = bench::PeakMemory();
  const auto start = std::chrono::steady_clock::now();
  const bool written = write(file);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  if (!written || !fs::exists(file)) {
    std::fprintf(stderr, "%s: not written\n", what);
    std::exit(1);
  }
  std::printf("%-32s %7.2f s  %8.2f MB file  %7.1f MB memory above the document\n", what,
              time.count(), double(fs::file_size(file)) / 1e6, bench::PeakMemory() - before);
  fs::remove(file);
}

Spreadsheet Predictions(std::size_t rows) {
  Numbers next;
  Spreadsheet sheet;
  sheet.title = "Predictions";
  sheet.rowTitle = "Case";
  sheet.columns.resize(6);
  for (std::size_t r = 0; r < rows; ++r) sheet.rowCases.push_back(std::int32_t(r + 1));
  for (std::size_t c = 0; c < sheet.columns.size(); ++c) {
    SpreadsheetColumn& column = sheet.columns[c];
    column.first = "column " + std::to_string(c + 1);
    const bool categorical = c >= 4;
    if (categorical) column.labels = {{1, "first"}, {2, "second"}, {3, "third", true}};
    for (std::size_t r = 0; r < rows; ++r)
      column.values.push_back(categorical ? double(1 + int(next() * 3)) : next.Bell());
  }
  return sheet;
}

template <class Write>
bool Stream(const fs::path& file, Write write) {
  std::ofstream stream(file, std::ios::binary);
  write(stream);
  return stream.good();
}

void MeasureTable(std::size_t rows) {
  Workbook workbook;
  workbook.Add(Predictions(rows));
  const Document& table = workbook.documents()[0];
  Measure("table to TXT", [&](const fs::path& file) {
    return Stream(file, [&](std::ostream& out) { WriteDocumentText(out, table, {}); });
  });
  Measure("table to JSON", [&](const fs::path& file) {
    return Stream(file, [&](std::ostream& out) { WriteDocumentJson(out, table, {}); });
  });
  Measure("table to CSV", [&](const fs::path& file) {
    return Stream(file,
                  [&](std::ostream& out) { WriteCsv(out, std::get<Spreadsheet>(table), {}); });
  });
  Measure("table to XLSX", [&](const fs::path& file) {
    std::string error;
    return WriteXlsx(workbook, file, error);
  });
}

void MeasureGraph(const char* what, const Graph& graph) {
  const auto name = [what](const char* format) { return std::string(what) + " to " + format; };
  Measure(name("SVG").c_str(), [&](const fs::path& file) {
    return Stream(file, [&](std::ostream& out) { out << GraphSvg(graph, {}); });
  });
  std::string error;
  if (!FindPngConverter(error)) {
    std::printf("%s: not measured: %s\n", name("PNG").c_str(), error.c_str());
    return;
  }
  Measure(name("PNG").c_str(),
          [&](const fs::path& file) { return WritePng(GraphSvg(graph, {}), file, error); });
}

void MeasureGraphs(std::size_t points) {
  Numbers next;
  Graph graph;
  graph.title = "Points";
  graph.fit = true;
  graph.series.resize(1);
  GraphSeries& series = graph.series[0];
  for (std::size_t i = 0; i < points; ++i) {
    series.x.push_back(next.Bell());
    series.y.push_back(next.Bell() + series.x.back());
  }
  MeasureGraph("scatterplot", graph);
  graph.type = GraphType::surface;
  for (std::size_t i = 0; i < points; ++i) series.z.push_back(series.x[i] * series.y[i]);
  MeasureGraph("surface", graph);
  graph.type = GraphType::line;
  for (std::size_t i = 0; i < points; ++i) series.x[i] = double(i);
  MeasureGraph("line", graph);
  graph.type = GraphType::histogram;
  graph.series.clear();
  for (std::size_t i = 0; i <= points; ++i) graph.edges.push_back(double(i));
  for (std::size_t i = 0; i < points; ++i) graph.counts.push_back(double(int(next() * 100)));
  MeasureGraph("histogram of as many bins", graph);
}

}  // namespace

int main(int count, char** arguments) {
  const std::size_t rows = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 1'000'000;
  std::printf("%zu rows or points; tables of 4 columns of numbers and 2 of categories\n", rows);
  MeasureTable(rows);
  MeasureGraphs(rows);
}
