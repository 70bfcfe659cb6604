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

class FileShelves : public ::testing::Test {
 protected:
  void Write(const std::string& text) { std::ofstream(path_, std::ios::binary) << text; }
  FileShelf::Ref Open(int threads = 0) {
    ShelfFile wanted;
    wanted.name = "data.csv";
    wanted.options.path = path_;
    wanted.options.threads = threads;
    return shelf_.Open(wanted, error_);
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.File("data.csv");
  PublishedState state_{Json::object()};
  FileShelf shelf_{state_};
  std::string error_;
};

TEST_F(FileShelves, AChangedFileIsReadAgainUnlessThatIsCancelled) {
  Write(Rows(3, "1,x\n"));
  const FileShelf::Ref opened = Open();
  ASSERT_NE(opened, nullptr) << error_;

  // The reading is cancelled as soon as it is there, long before it can have ended.
  Write(Rows(2000000, "0.12345678901234567,y\n"));
  std::atomic<bool> ended = false;
  bool cancelled = false;
  std::thread other([&] {
    while (!ended && !cancelled) cancelled = shelf_.CancelReading(2);
  });
  EXPECT_FALSE(shelf_.Refresh(opened->id, error_));
  ended = true;
  other.join();
  EXPECT_TRUE(cancelled);
  EXPECT_EQ(error_,
            "data.csv has changed since it was opened and its reading was cancelled, the data in "
            "memory stay as they were");
  EXPECT_EQ(shelf_.Find(opened->id)->data->NumberOfCases(), 3);
  EXPECT_EQ(shelf_.Find(opened->id)->readings, 1u);

  // Asked again, it is read.
  Write(Rows(5, "2,z\n"));
  EXPECT_TRUE(shelf_.Refresh(opened->id, error_)) << error_;
  EXPECT_EQ(shelf_.Find(opened->id)->data->NumberOfCases(), 5);
  EXPECT_EQ(shelf_.Find(opened->id)->readings, 2u);

  // One that cannot be read leaves the data as well.
  Write("a,b\n1\n");
  EXPECT_FALSE(shelf_.Refresh(opened->id, error_));
  EXPECT_NE(error_.find("cannot be read again, the data in memory stay as they were. "),
            std::string::npos)
      << error_;
  EXPECT_EQ(shelf_.Find(opened->id)->data->NumberOfCases(), 5);
}

TEST_F(FileShelves, SettingsChangeWhileTheFileIsReadAgainAndStay) {
  constexpr int kRows = 6000000;  // long enough to be seen while they are read
  Write(Rows(4, "1,2\n"));
  const FileShelf::Ref opened = Open(1);
  ASSERT_NE(opened, nullptr) << error_;
  Write(Rows(kRows / 2, "1,0.12345678901234567\n2,0.98765432109876543\n"));
  std::atomic<bool> ended = false;
  bool refreshed = false;
  std::string failure;
  std::thread other([&] {
    refreshed = shelf_.Refresh(opened->id, failure);
    ended = true;
  });
  while (!ended && Json::parse(state_.Snapshot())["readings"].empty()) std::this_thread::yield();
  FileSettings settings;
  settings.select = "a > 1";
  EXPECT_TRUE(shelf_.Change(opened->id, settings, error_)) << error_;
  EXPECT_EQ(shelf_.Find(opened->id)->readings, 1u) << "the change waited for the reading";
  other.join();
  EXPECT_TRUE(refreshed) << failure;
  const FileShelf::Ref now = shelf_.Find(opened->id);
  EXPECT_EQ(now->readings, 2u);
  EXPECT_EQ(now->options.select, "a > 1");
  EXPECT_EQ(now->data->NumberOfSelectedCases(), kRows / 2);
}

}  // namespace
}  // namespace qrvml
