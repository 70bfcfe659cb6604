#include "documents/document_files.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>

namespace qrvml {
namespace {

namespace fs = std::filesystem;

struct Folder : ::testing::Test {
  fs::path root =
      fs::temp_directory_path() / ("qrvml-documents-" + std::to_string(::getpid()) + '-' +
                                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
  std::string error;

  void SetUp() override { fs::create_directories(root); }
  void TearDown() override {
    fs::permissions(root, fs::perms::owner_all);
    fs::remove_all(root);
  }
  static std::set<std::string> FilesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
      names.insert(entry.path().filename().string());
    return names;
  }
  static std::string Content(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
  }
};

FileWriter Holding(const char* text) {
  return [text](const fs::path& file, std::string&) { return bool(std::ofstream(file) << text); };
}

Spreadsheet Titled(std::string title) {
  Spreadsheet sheet;
  sheet.title = std::move(title);
  return sheet;
}

TEST(Slugs, KeepSmallLettersAndDigitsAndJoinTheRestWithOneHyphen) {
  const struct {
    const char *title, *slug;
  } kCases[] = {
      {"KNN C/C++ deployment code", "knn-c-c-deployment-code"},
      {"Synthèse du modèle, Espèce", "synthese-du-modele-espece"},
      {"  Œuvre -- ÀÉÎÕÜŸ ñç ß ×", "oeuvre-aeiouy-nc-ss"},
      {"日本", "document"},
      {"", "document"},
      {"../../etc/passwd", "etc-passwd"},
  };
  for (const auto& [title, slug] : kCases) EXPECT_EQ(Slug(title), slug) << title;
  EXPECT_EQ(Slug(std::string(200, 'a')).size(), 60u);
  EXPECT_EQ(Slug(std::string(59, 'a') + " bb"), std::string(59, 'a'));
}

TEST(Formats, AreNamedAndUnknownOnesRefused) {
  std::vector<const DocumentFormat*> formats;
  std::string error;
  ASSERT_TRUE(ReadFormats("json,txt,json", formats, error));
  ASSERT_EQ(formats.size(), 2u);
  EXPECT_EQ(formats[0]->name, "json");
  for (const char* wrong : {"", "txt,", "pdf", "txt json"})
    EXPECT_FALSE(ReadFormats(wrong, formats, error)) << wrong;
  EXPECT_FALSE(ReadFormats("txt,pdf", formats, error));
  EXPECT_NE(error.find("\"pdf\" is not available"), std::string::npos);
}

TEST_F(Folder, OnlyWhatChangedIsWrittenUnderItsNumber) {
  std::vector<const DocumentFormat*> formats;
  ASSERT_TRUE(ReadFormats("txt,json", formats, error));
  DocumentFiles files(root / "deep" / "out", formats);
  EXPECT_TRUE(files.Check(error)) << error;
  EXPECT_FALSE(fs::exists(root / "deep"));

  Workbook workbook;
  workbook.onChange = [&files](std::size_t position) { files.Touch(position); };
  workbook.PutResults({"one"});
  workbook.Add(Titled("Synthèse"));
  ASSERT_TRUE(files.Write(workbook, error)) << error;
  EXPECT_EQ(FilesIn(root / "deep" / "out"),
            (std::set<std::string>{"001-results.txt", "001-results.json", "002-synthese.txt",
                                   "002-synthese.json"}));

  fs::remove(root / "deep" / "out" / "002-synthese.txt");
  workbook.PutResults({"two"});
  ASSERT_TRUE(files.Write(workbook, error));
  EXPECT_EQ(Content(root / "deep" / "out" / "001-results.txt"), "two\n");
  EXPECT_FALSE(fs::exists(root / "deep" / "out" / "002-synthese.txt"));
}

TEST_F(Folder, AFileThatCannotBeReplacedStaysAsItWas) {
  const fs::path target = root / "a.txt";
  ASSERT_TRUE(WriteFileWhole(target, Holding("old"), error));
  ASSERT_TRUE(WriteFileWhole(target, Holding("new"), error));
  EXPECT_EQ(Content(target), "new");
  EXPECT_EQ(FilesIn(root), (std::set<std::string>{"a.txt"}));

  fs::create_directory(root / "b.txt");  // a folder stands where the file should go
  EXPECT_FALSE(WriteFileWhole(root / "b.txt", Holding("x"), error));
  EXPECT_NE(error.find("b.txt"), std::string::npos);
  EXPECT_EQ(FilesIn(root), (std::set<std::string>{"a.txt", "b.txt"}));
}

TEST_F(Folder, AFileWhereTheFolderShouldBeIsFoundBeforehand) {
  ASSERT_TRUE(WriteFileWhole(root / "out", Holding("x"), error));
  EXPECT_FALSE(DocumentFiles(root / "out", {}).Check(error));
  EXPECT_FALSE(DocumentFiles(root / "out" / "deeper", {}).Check(error));
}

}  // namespace
}  // namespace qrvml
