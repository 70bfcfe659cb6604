// Files of the workbench that are read again.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include "datafile/saved_files.h"
#include "server/file_shelf.h"

namespace qrvml {
namespace {

std::string Rows(int rows, const std::string& row) {
  std::string text = "a,b\n";
  for (int i = 0; i < rows; ++i) text += row;
  return text;
}

TEST(FileShelf, AChangedFileIsReadAgainUnlessThatIsCancelled) {
  const TemporaryFolder folder;
  const std::string path = folder.File("data.csv");
  const auto write = [&](const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  };
  PublishedState state(Json::object());
  FileShelf shelf(state);
  write(Rows(3, "1,x\n"));
  ShelfFile wanted;
  wanted.name = "data.csv";
  wanted.options.path = path;
  std::string error;
  const FileShelf::Ref opened = shelf.Open(wanted, error);
  ASSERT_NE(opened, nullptr) << error;

  // The reading is cancelled as soon as it is there, long before it can have ended.
  write(Rows(2000000, "0.12345678901234567,y\n"));
  std::atomic<bool> ended = false;
  bool cancelled = false;
  std::thread other([&] {
    while (!ended && !cancelled) cancelled = shelf.CancelReading(2);
  });
  EXPECT_FALSE(shelf.Refresh(opened->id, error));
  ended = true;
  other.join();
  EXPECT_TRUE(cancelled);
  EXPECT_EQ(error,
            "data.csv has changed since it was opened and its reading was cancelled, the data in "
            "memory stay as they were");
  EXPECT_EQ(shelf.Find(opened->id)->data->NumberOfCases(), 3);
  EXPECT_EQ(shelf.Find(opened->id)->readings, 1u);

  // Asked again, it is read.
  write(Rows(5, "2,z\n"));
  EXPECT_TRUE(shelf.Refresh(opened->id, error)) << error;
  EXPECT_EQ(shelf.Find(opened->id)->data->NumberOfCases(), 5);
  EXPECT_EQ(shelf.Find(opened->id)->readings, 2u);

  // One that cannot be read leaves the data as well.
  write("a,b\n1\n");
  EXPECT_FALSE(shelf.Refresh(opened->id, error));
  EXPECT_NE(error.find("cannot be read again, the data in memory stay as they were. "),
            std::string::npos)
      << error;
  EXPECT_EQ(shelf.Find(opened->id)->data->NumberOfCases(), 5);
}

}  // namespace
}  // namespace qrvml
