// The scripting language beside Lua 5.4: a loop of additions, and a nearest-neighbours script as
// the generator writes them. Both texts are compiled and run anew in every round; Lua's time
// includes the start of its process, about a millisecond.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "harness.h"
#include "qvb/compiler.h"
#include "qvb/conversion.h"
#include "qvb/interpreter.h"
#include "qvb/node_objects.h"
#include "qvb_node_script.h"

namespace {

using qrvml::HostNames;
using qrvml::Value;

constexpr int kCases = 1000;
constexpr int kPrototypes = 1000;

/// What the script prints last.
std::string RunScript(const std::string& script) {
  std::string printed;
  HostNames names;
  names.AddFunction("Print", {1, 1, [&printed](std::span<const Value> arguments) {
                                printed = qrvml::ToText(arguments[0]);
                                return Value();
                              }});
  qrvml::Interpreter(qrvml::CompileScript("loop.qvb", script, names)).Run();
  return printed;
}

std::string RunLua(const std::string& file) {
  std::FILE* const output = popen(("lua5.4 " + file).c_str(), "r");
  std::array<char, 256> line{};
  std::string printed;
  if (output) {
    if (std::fgets(line.data(), static_cast<int>(line.size()), output)) printed = line.data();
    pclose(output);
  }
  while (!printed.empty() && printed.back() == '\n') printed.pop_back();
  return printed;
}

std::string WriteFile(const std::string& folder, const std::string& name, const std::string& text) {
  const std::string path = folder + '/' + name;
  std::ofstream(path) << text;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Ends the benchmark when the two did not compute the same.
void Expect(const std::string& what, double script, double lua) {
  if (std::abs(script - lua) <= 1e-8 * std::abs(lua)) return;
  std::fprintf(stderr, "%s: %.17g here, %.17g in Lua\n", what.c_str(), script, lua);
  std::exit(1);
}

/// Response, class, two inputs and a group of each case or prototype.
class Table final : public qrvml::NodeTable {
 public:
  int Cases() const override { return kCases; }
  int Variables() const override { return 5; }
  double Value(int row, int column) const override {
    return column == 5 ? 1 + row % 2 : (row * 7919 % 1000) / 77.0 + (column - 2);
  }
  std::string CaseName(int row) const override { return std::to_string(row); }
  std::string VariableName(int column) const override { return "V" + std::to_string(column); }
};

std::vector<std::vector<double>> Prototypes() {
  qrvml::SplitMix64 random(1);
  const auto below = [&random](int bound) { return static_cast<double>(random.Next() % bound); };
  std::vector<std::vector<double>> rows;
  for (int r = 0; r < kPrototypes; ++r) {
    rows.push_back(
        {below(1000) / 8, 11 + below(3), below(1600) / 128, below(1600) / 128, 1 + below(2)});
  }
  return rows;
}

std::string LuaPrototypes(const std::vector<std::vector<double>>& rows) {
  std::string text = "local NumberOfCases, NoOfPrototypes = " + std::to_string(kCases) + ", " +
                     std::to_string(rows.size()) +
                     "\nlocal InputPrototypes, OutputPrototypes = {}, {}\n";
  for (std::size_t r = 0; r < rows.size(); ++r) {
    std::array<char, 200> line{};
    std::snprintf(line.data(), line.size(),
                  "InputPrototypes[%zu] = {%g, %g, %g} OutputPrototypes[%zu] = {%g, %g}\n", r + 1,
                  rows[r][2], rows[r][3], rows[r][4], r + 1, rows[r][0], rows[r][1]);
    text += line.data();
  }
  return text;
}

double RunNode(const std::string& script) {
  const Table table;
  qrvml::NodeInput input;
  input.table = &table;
  input.continuousPredictors = {3, 4};
  input.categoricalPredictors = {5};
  input.continuousDependents = {1};
  input.categoricalDependents = {2};
  const auto output = qrvml::RunNodeScript("knn.qvb", script, input, {});
  double sum = 0;
  for (int row = 0; row < kCases; ++row) {
    sum += output.sheet.columns[0][static_cast<std::size_t>(row)] +
           output.sheet.columns[2][static_cast<std::size_t>(row)];
  }
  return sum;
}

}  // namespace

/// qvb FOLDER LUA_KNN: a folder for the Lua texts, and the path of qvb_knn.lua.
int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: qvb FOLDER LUA_KNN\n");
    return 2;
  }
  const std::string folder = argv[1];
  const std::string typed =
      "Dim s As Double, i As Integer\nFor i = 1 To 10000000\ns = s + i\nNext i\nPrint s\n";
  const std::string untyped = "s = 0\nFor i = 1 To 10000000\ns = s + i\nNext i\nPrint s\n";
  const std::string loop = WriteFile(
      folder, "loop.lua",
      "local s = 0.0\nfor i = 1, 10000000 do s = s + i end\nprint(string.format('%.0f', s))\n");
  Expect("the loop", std::stod(RunScript(typed)), std::stod(RunLua(loop)));
  bench::Compare("10,000,000 additions", {{"script, declared variables", [&] { RunScript(typed); }},
                                          {"Lua 5.4", [&] { RunLua(loop); }}});
  bench::Compare("10,000,000 additions", {{"script, no declarations", [&] { RunScript(untyped); }},
                                          {"Lua 5.4", [&] { RunLua(loop); }}});

  const auto prototypes = Prototypes();
  const std::string script = bench::NodeScript(0, true, 3, prototypes);
  const std::string knn =
      WriteFile(folder, "knn.lua", LuaPrototypes(prototypes) + ReadFile(argv[2]));
  Expect("nearest neighbours", RunNode(script), std::stod(RunLua(knn)));
  bench::Compare(
      "1,000 cases, 1,000 prototypes x 3 inputs, K = 3",
      {{"generated script", [&] { RunNode(script); }}, {"Lua 5.4", [&] { RunLua(knn); }}});
  return 0;
}
