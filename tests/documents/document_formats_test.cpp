// Which files a run's documents become in which formats.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>

#include "documents/document_files.h"
#include "documents/png_file.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

struct DocumentFormats : ::testing::Test {
  fs::path folder = fs::temp_directory_path() / ("qrvml-formats-" + std::to_string(::getpid()));
  Workbook workbook;
  std::string error;

  void SetUp() override {
    workbook.PutResults({"r"});
    Spreadsheet sheet;
    sheet.title = "Table";
    workbook.Add(std::move(sheet));
    Graph graph;
    graph.title = "Graph\nof x";
    workbook.Add(std::move(graph));
    workbook.Add(TextDocument{2, "KNN C/C++ deployment code", "int main(void) { return 0; }\n"});
    workbook.Add(TextDocument{1, "KNN QVB deployment code", "Sub Main\n"});
    workbook.Add(TextDocument{2, "KNN PMML deployment code for y", "<?xml version=\"1.0\"?>\n"});
    workbook.Add(TextDocument{2, "Notes", "x"});
  }
  void TearDown() override { fs::remove_all(folder); }

  std::set<std::string> Write(const char* names) {
    fs::remove_all(folder);
    std::vector<const DocumentFormat*> formats;
    EXPECT_TRUE(ReadFormats(names, formats, error)) << error;
    DocumentFiles files(folder, formats);
    for (std::size_t i = 0; i < workbook.documents().size(); ++i) files.Touch(i);
    EXPECT_TRUE(files.Write(workbook, error)) << error;
    EXPECT_TRUE(files.WriteRun(workbook, error)) << error;
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder))
      found.insert(entry.path().filename().string());
    return found;
  }
};

// Files of text documents, which are the same whatever the formats.
const std::set<std::string> kTexts = {"004-knn-c-c-deployment-code.c",
                                      "005-knn-qvb-deployment-code.qvb",
                                      "006-knn-pmml-deployment-code-for-y.pmml", "007-notes.txt"};

std::set<std::string> With(std::set<std::string> names) {
  names.insert(kTexts.begin(), kTexts.end());
  return names;
}

TEST_F(DocumentFormats, ADocumentIsWrittenInTheFormatsThatHoldItElseAsText) {
  EXPECT_EQ(Write("txt"), With({"001-results.txt", "002-table.txt", "003-graph-of-x.txt"}));
  EXPECT_EQ(Write("csv"), With({"001-results.txt", "002-table.csv", "003-graph-of-x.txt"}));
  EXPECT_EQ(Write("svg"), With({"001-results.txt", "002-table.txt", "003-graph-of-x.svg"}));
  EXPECT_EQ(Write("xlsx,svg"), With({"results.xlsx", "003-graph-of-x.svg"}));
  EXPECT_EQ(Write("csv,xlsx,svg"), With({"results.xlsx", "002-table.csv", "003-graph-of-x.svg"}));
  const std::set<std::string> json = Write("json");
  EXPECT_EQ(json.size(), 7u);
  for (const std::string& name : json) EXPECT_TRUE(name.ends_with(".json")) << name;
}

TEST_F(DocumentFormats, ATextDocumentIsItsOwnTextByteForByte) {
  Write("txt");
  std::ostringstream text;
  text << std::ifstream(folder / "004-knn-c-c-deployment-code.c", std::ios::binary).rdbuf();
  EXPECT_EQ(text.str(), "int main(void) { return 0; }\n");
}

TEST_F(DocumentFormats, AMissingConverterIsFoundBeforeAnythingRuns) {
  std::vector<const DocumentFormat*> formats;
  ASSERT_TRUE(ReadFormats("png", formats, error));
  const std::string path = ::getenv("PATH");
  ::setenv("PATH", "/nonexistent", 1);
  EXPECT_FALSE(DocumentFiles(fs::temp_directory_path(), formats).Check(error));
  ::setenv("PATH", path.c_str(), 1);
  EXPECT_NE(error.find("librsvg2-bin"), std::string::npos);
}

TEST_F(DocumentFormats, APictureIsMadeForEachGraph) {
  if (!FindPngConverter(error)) GTEST_SKIP() << error;
  EXPECT_EQ(Write("png"), With({"001-results.txt", "002-table.txt", "003-graph-of-x.png"}));
}

}  // namespace
}  // namespace qrvml
