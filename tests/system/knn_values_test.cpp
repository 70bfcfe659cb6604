// Neighbours' results of the whole program against the method written out again here: the split,
// the scan over all prototypes, the vote, the statistics.
#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "system/program.h"

namespace qrvml {
namespace {

using testing::Cell;
using testing::Content;
using testing::Titled;

struct Table {
  std::vector<std::string> names;
  std::vector<std::vector<std::string>> rows;
};

/// A CSV file without separators or quotes inside of fields.
Table ReadTable(const std::string& file) {
  std::istringstream lines(Content(file));
  Table table;
  const auto split = [](const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) {
      std::erase(field, '"');
      fields.push_back(field);
    }
    return fields;
  };
  std::string line;
  std::getline(lines, line);
  table.names = split(line);
  while (std::getline(lines, line)) table.rows.push_back(split(line));
  return table;
}

/// The random split: which cases are test cases.
std::vector<bool> DrawTestCases(std::size_t cases, double percent, std::uint64_t seed) {
  std::uint64_t state = seed;
  const auto draw = [&state] {
    std::uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return std::ldexp(static_cast<double>((z ^ (z >> 31)) >> 11), -53);
  };
  std::vector<bool> test(cases, false);
  const auto training = static_cast<std::size_t>(static_cast<double>(cases) * percent * 0.01);
  for (std::size_t left = cases - training; left > 0;) {
    auto i = static_cast<std::size_t>(draw() * static_cast<double>(cases));
    while (i < cases && test[i]) ++i;
    if (i == cases) continue;
    test[i] = true;
    --left;
  }
  return test;
}

struct Neighbours {
  std::vector<std::vector<double>> inputs;
  std::vector<std::size_t> prototypes;

  /// The k nearest prototypes; of equally near ones those that come first.
  std::vector<std::size_t> Nearest(std::size_t query, std::size_t k) const {
    std::vector<std::pair<double, std::size_t>> all;
    for (const std::size_t p : prototypes) {
      double sum = 0;
      for (std::size_t j = 0; j < inputs[p].size(); ++j) {
        const double difference = inputs[query][j] - inputs[p][j];
        sum += difference * difference;
      }
      all.emplace_back(std::sqrt(sum), p);
    }
    std::ranges::stable_sort(all, {}, &std::pair<double, std::size_t>::first);
    std::vector<std::size_t> nearest;
    for (std::size_t i = 0; i < k; ++i) nearest.push_back(all[i].second);
    return nearest;
  }
};

class KnnValues : public testing::ProgramTest {};

TEST_F(KnnValues, AClassificationOfTheIrisesAgreesCellByCell) {
  constexpr std::size_t kNeighbours = 5;
  const Table table = ReadTable(Example("iris.csv"));
  const std::vector<bool> isTest = DrawTestCases(table.rows.size(), 66, 4321);
  Neighbours search;
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    search.inputs.emplace_back();
    for (int j = 0; j < 4; ++j) search.inputs[i].push_back(std::stod(table.rows[i][j]));
    if (!isTest[i]) search.prototypes.push_back(i);
  }

  const auto run = RunToJson(
      {"knn", Example("iris.csv"), "--variables", "| Species | 1-4 |", "--KNearestNeighbors", "5",
       "--SizeOfPrototypeSample", "66", "--SeedForRandomSampling", "4321", "--do",
       "DescriptiveStat,IncludeOutputs=1,IncludeConfidence=1,PrintPredictions"});
  ASSERT_TRUE(run.is_object());
  const auto predictions = Titled(run, "Prévisions et résidus, Species (Test sous-ens.)");
  std::map<std::string, std::map<std::string, int>> confusion;  // predicted, observed
  std::size_t row = 0;
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    if (!isTest[i]) continue;
    std::map<std::string, int> votes;
    for (const std::size_t p : search.Nearest(i, kNeighbours)) ++votes[table.rows[p][4]];
    // Of equal votes the first class by text wins: the map is in that order.
    const std::string predicted =
        std::ranges::max_element(votes, {}, [](const auto& v) { return v.second; })->first;
    const std::string& observed = table.rows[i][4];
    ++confusion[predicted][observed];

    ASSERT_LT(row, predictions["rows"].size());
    const auto& cells = predictions["rows"][row++]["cells"];
    ASSERT_EQ(cells.size(), 6u);  // observed, predicted, residual, three confidences
    EXPECT_EQ(cells[0]["text"], observed) << "case " << i + 1;
    EXPECT_EQ(cells[1]["text"], predicted) << "case " << i + 1;
    EXPECT_EQ(cells[2]["text"], observed == predicted ? "Correct" : "Incorrect");
    EXPECT_EQ(cells[2].contains("marked"), observed != predicted);
    int c = 3;
    for (const char* name : {"setosa", "versicolor", "virginica"})
      EXPECT_NEAR(cells[c++]["value"].get<double>(), votes[name] / 5.0, 1e-12) << "case " << i + 1;
  }
  EXPECT_EQ(row, predictions["rows"].size());

  const auto matrix = Titled(run, "Matrice de confusion Species");
  const auto summary = Titled(run, "Synthèse de la classification, Species");
  for (const char* observed : {"setosa", "versicolor", "virginica"}) {
    int total = 0;
    for (const char* predicted : {"setosa", "versicolor", "virginica"}) {
      EXPECT_EQ(Cell(matrix, predicted, observed)["value"], confusion[predicted][observed]);
      total += confusion[predicted][observed];
    }
    EXPECT_EQ(Cell(summary, observed, "Total")["value"], total);
    EXPECT_EQ(Cell(summary, observed, "Correct")["value"], confusion[observed][observed]);
    EXPECT_NEAR(Cell(summary, observed, "Correct(%)")["value"].get<double>(),
                confusion[observed][observed] * 100.0 / total, 1e-9);
  }
}

TEST_F(KnnValues, ARegressionOnTheFirstCasesAgreesWithTheDefinitions) {
  constexpr std::size_t kPrototypes = 20, kNeighbours = 3;
  const Table table = ReadTable(Example("mtcars.csv"));  // model, mpg, cyl, disp, hp, drat, wt, ...
  Neighbours search;
  std::vector<double> observed, predicted;
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    search.inputs.push_back({std::stod(table.rows[i][4]), std::stod(table.rows[i][6])});
    if (i < kPrototypes) search.prototypes.push_back(i);
  }
  for (std::size_t i = kPrototypes; i < table.rows.size(); ++i) {
    double sum = 0;
    for (const std::size_t p : search.Nearest(i, kNeighbours)) sum += std::stod(table.rows[p][1]);
    predicted.push_back(sum / kNeighbours);
    observed.push_back(std::stod(table.rows[i][1]));
  }
  const double n = static_cast<double>(observed.size());
  double squared = 0, absolute = 0;
  for (std::size_t i = 0; i < observed.size(); ++i) {
    squared += (observed[i] - predicted[i]) * (observed[i] - predicted[i]);
    absolute += std::abs(observed[i] - predicted[i]);
  }

  const auto run = RunToJson({"knn", Example("mtcars.csv"), "--variables", "mpg | | hp wt |",
                              "--UseFirstNCases", "--NValue", "20", "--k-nearest-neighbors", "3",
                              "--case-names", "model", "--do", "DescriptiveStat,PrintPredictions"});
  ASSERT_TRUE(run.is_object());
  const auto summary = Titled(run, "Synthèse de la régression, mpg");
  const auto value = [&summary](const char* row) {
    return Cell(summary, row, "mpg")["value"].get<double>();
  };
  EXPECT_NEAR(value("Moy. observée"), std::accumulate(observed.begin(), observed.end(), 0.0) / n,
              1e-9);
  EXPECT_NEAR(value("Moy. prévues"), std::accumulate(predicted.begin(), predicted.end(), 0.0) / n,
              1e-9);
  EXPECT_NEAR(value("Somme erreur au carré"), squared / n, 1e-9);
  EXPECT_NEAR(value("Erreur abs. moy."), absolute / n, 1e-9);

  const auto sheet = Titled(run, "Prévisions et résidus, mpg (Test sous-ens.)");
  ASSERT_EQ(sheet["rows"].size(), observed.size());
  for (std::size_t i = 0; i < observed.size(); ++i) {
    EXPECT_EQ(sheet["rows"][i]["name"], table.rows[kPrototypes + i][0]);
    EXPECT_NEAR(sheet["rows"][i]["cells"][0]["value"].get<double>(), predicted[i], 1e-9);
  }
}

TEST_F(KnnValues, ASampleVariableChoosesThePrototypesByItsLabel) {
  const std::string file = Write("sets.csv",
                                 "x,class,set\n"
                                 "1,a,train\n2,a,train\n8,b,train\n9,b,train\n"
                                 "1.4,a,test\n8.6,a,test\n7.9,b,test\n");
  const auto run = RunToJson({"knn", file, "--variables", "| class | x |", "--sample-code", "train",
                              "--sample-variable", "set", "--do", "DescriptiveStat,Model"});
  ASSERT_TRUE(run.is_object());
  EXPECT_EQ(run["properties"]["UseSubsetvariable"], 1);
  const auto matrix = Titled(run, "Matrice de confusion class");
  EXPECT_EQ(Cell(matrix, "a", "a")["value"], 1);  // predicted a: 1.4; predicted b: 8.6 and 7.9
  EXPECT_EQ(Cell(matrix, "a", "b")["value"], 0);
  EXPECT_EQ(Cell(matrix, "b", "a")["value"], 1);
  EXPECT_EQ(Cell(matrix, "b", "b")["value"], 1);
  const auto prototypes = Titled(run, "KNN");
  ASSERT_EQ(prototypes["rows"].size(), 4u);
  EXPECT_EQ(prototypes["rows"][3]["cells"][0]["value"], 9);
}

TEST_F(KnnValues, CodesKeepOnlyTheirCases) {
  const auto run =
      RunToJson({"knn", Example("iris.csv"), "--variables", "| Species | 1-4 |", "--response-codes",
                 "virginica setosa", "--SeedForRandomSampling", "8", "--do", "DescriptiveStat"});
  ASSERT_TRUE(run.is_object());
  const auto matrix = Titled(run, "Matrice de confusion Species");
  ASSERT_EQ(matrix["rows"].size(), 2u);
  const std::vector<bool> isTest = DrawTestCases(150, 75, 8);
  const int setosa = static_cast<int>(std::count(isTest.begin(), isTest.begin() + 50, true));
  EXPECT_EQ(Cell(matrix, "setosa", "setosa")["value"], setosa);
}

}  // namespace
}  // namespace qrvml
