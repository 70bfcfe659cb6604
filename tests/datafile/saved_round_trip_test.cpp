// What is saved is read again by the workbench's own readers.
#include <cmath>

#include "datafile/data_file_writer.h"
#include "datafile/format_files.h"

namespace qrvml {
namespace {

/// Saves a table with every kind of variable, reads it and compares names, cells and texts.
DataTable Again(const std::string& extension) {
  std::vector<SavedVariable> variables(6);
  const char* const names[] = {"x", "sexe", "age", "jour", "quand", "n"};
  for (int v = 0; v < 6; ++v) variables[v].about.name = names[v];
  variables[1].about.labels = {{1, "Femme"}, {2, "Homme"}};
  variables[1].about.wasText = variables[1].asText = true;
  variables[2].about.missingCode = 99;
  variables[2].about.longName = "Âge à l'entrée";
  variables[2].about.labels = {{98, "98 et plus"}};
  variables[3].about.format = DisplayFormat::date;
  variables[4].about.format = DisplayFormat::dateTime;
  const std::vector<std::vector<double>> rows = {{0.1, 2, 98, 45322, 45322.75, 1},
                                                 {-9999, -9999, 99, -9999, -9999, 2},
                                                 {-1234.5, 1, 7.5, 45351, 25569.5, 3}};
  const TemporaryPath path("d" + extension);
  DataFileWriter writer;
  FileError error;
  EXPECT_TRUE(writer.Begin(path.Text(), false, variables, error)) << error.Text();
  for (const auto& row : rows) EXPECT_TRUE(writer.Append(row, error)) << error.Text();
  EXPECT_TRUE(writer.Finish(error)) << error.Text();

  Reading read = ReadPath(path.Text());
  EXPECT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(read.table.NumberOfCases(), 3);
  EXPECT_EQ(read.table.NumberOfVariables(), 6);
  if (!read.ok || read.table.NumberOfVariables() != 6) return {};
  for (int v = 1; v <= 6; ++v) {
    const Variable& about = read.table.At(v);
    EXPECT_EQ(about.name, names[v - 1]);
    const double before = variables[static_cast<std::size_t>(v - 1)].about.missingCode;
    for (int row = 1; row <= 3; ++row) {
      const double saved = rows[static_cast<std::size_t>(row - 1)][static_cast<std::size_t>(v - 1)];
      const double cell = read.table.Value(row, v);
      if (saved == before) {
        EXPECT_EQ(cell, about.missingCode) << about.name;
      } else if (v != 2) {
        EXPECT_EQ(cell, saved) << about.name;
      }
    }
  }
  EXPECT_EQ(ShownCells(read.table, 2), "Homme . Femme");
  EXPECT_EQ(read.table.At(4).format, DisplayFormat::date);
  EXPECT_EQ(ShownCells(read.table, 4), "2024-01-31 . 2024-02-29");
  EXPECT_EQ(read.table.At(5).format, DisplayFormat::dateTime);
  EXPECT_EQ(ShownCells(read.table, 5), "2024-01-31 18:00:00 . 1970-01-01 12:00:00");
  return std::move(read.table);
}

TEST(SavedAndReadAgain, EveryFormatKeepsNamesCellsTextsAndDates) {
  Again(".parquet");
  Again(".xlsx");
  Again(".sav");
  Again(".qrv");
}

TEST(SavedAndReadAgain, SavKeepsLabelsMissingCodesAndLongNames) {
  const DataTable table = Again(".sav");
  ASSERT_EQ(table.NumberOfVariables(), 6);
  EXPECT_EQ(table.At(3).missingCode, 99);
  EXPECT_EQ(table.At(3).longName, "Âge à l'entrée");
  EXPECT_EQ(ShownCells(table, 3), "98 et plus . 7.5");
}

TEST(SavedAndReadAgain, QrvKeepsEverything) {
  const DataTable table = Again(".qrv");
  ASSERT_EQ(table.NumberOfVariables(), 6);
  EXPECT_EQ(table.At(1).missingCode, -9999);
  EXPECT_TRUE(table.At(2).wasText);
  EXPECT_EQ(table.At(2).distinctTexts, 2u);
  EXPECT_EQ(table.At(3).missingCode, 99);
  EXPECT_EQ(table.At(3).longName, "Âge à l'entrée");
  EXPECT_EQ(ShownCells(table, 3), "98 et plus . 7.5");
}

TEST(SavedAndReadAgain, CsvKeepsNumbersTextsAndGaps) {
  std::vector<SavedVariable> variables(2);
  variables[0].about.name = "a";
  variables[1].about.name = "un, deux";
  variables[1].about.labels = {{1, "x \"y\", z"}, {2, "ligne\nsuivante"}};
  variables[1].asText = true;
  const TemporaryPath path("d.csv");
  DataFileWriter writer;
  FileError error;
  ASSERT_TRUE(writer.Begin(path.Text(), false, variables, error)) << error.Text();
  for (const auto& row : std::vector<std::vector<double>>{{0.1, 1}, {-9999, 2}, {1e-300, -9999}})
    ASSERT_TRUE(writer.Append(row, error));
  ASSERT_TRUE(writer.Finish(error));
  const Reading read = ReadPath(path.Text());
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(read.table.At(2).name, "un, deux");
  EXPECT_EQ(Cells(read.table, 1), (std::vector<double>{0.1, -9999, 1e-300}));
  EXPECT_EQ(ShownCells(read.table, 2), "x \"y\", z ligne\nsuivante .");
}

}  // namespace
}  // namespace qrvml
