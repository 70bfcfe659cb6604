// The shelf tests/data/damaged/: files of every format that are cut, misnamed or contradictory.
#include <set>

#include "datafile/damaged_shelf.h"
#include "datafile/format_files.h"
#include "support/places.h"

namespace qrvml {
namespace {

std::string OnShelf(const std::string& name) { return std::string(kTestData) + "/damaged/" + name; }

TEST(DamagedFiles, AreRefusedWithTheReasonAndAWayOut) {
  for (const DamagedFile& file : kDamagedFiles) {
    const Reading read = ReadPath(OnShelf(file.name));
    EXPECT_FALSE(read.ok) << file.name;
    EXPECT_NE(read.error.what.find(file.what), std::string::npos)
        << file.name << ": " << read.error.Text();
    EXPECT_FALSE(read.error.right.empty()) << file.name;
    EXPECT_EQ(read.error.file, OnShelf(file.name));
  }
}

TEST(DamagedFiles, LabelsThatBelongToNothingDoNoHarm) {
  const Reading read = ReadPath(OnShelf(kReadAllTheSame));
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Cells(read.table, 1), (std::vector<double>{1, 99, 99, 99}));
  EXPECT_EQ(ShownLabels(read.table, 1), "");
  EXPECT_EQ(ShownCells(read.table, 3), "Zürich . Bern Aarau");
}

TEST(DamagedFiles, EachFileOfTheShelfHasItsRow) {
  std::set<std::string> known = {kReadAllTheSame}, found;
  for (const DamagedFile& file : kDamagedFiles) known.insert(file.name);
  for (const auto& entry : std::filesystem::directory_iterator(OnShelf(""))) {
    found.insert(entry.path().filename().string());
  }
  EXPECT_EQ(found, known);
}

}  // namespace
}  // namespace qrvml
