// PNG by the converter program: the picture's size read back, and every way to fail.
#include "documents/png_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "documents/svg_renderer.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

struct Png : ::testing::Test {
  fs::path folder = fs::temp_directory_path() / ("qrvml-png-" + std::to_string(::getpid()));
  fs::path file = folder / "picture; $(touch x) 'é'.png";  // a shell would trip over it
  std::string error;

  void SetUp() override { fs::create_directories(folder); }
  void TearDown() override { fs::remove_all(folder); }

  /// A program of one line that stands in for the converter.
  std::string Program(const std::string& line) const {
    const fs::path program = folder / "program";
    std::ofstream(program) << "#!/bin/sh\n" << line << '\n';
    fs::permissions(program, fs::perms::owner_all);
    return program.string();
  }
};

TEST_F(Png, IsTwiceThePicturesSizeInPixels) {
  if (!FindPngConverter(error)) GTEST_SKIP() << error;
  Graph graph;
  graph.title = "é";
  ASSERT_TRUE(WritePng(GraphSvg(graph, {}), file, error)) << error;
  std::ifstream stream(file, std::ios::binary);
  unsigned char head[24] = {};
  stream.read(reinterpret_cast<char*>(head), sizeof head);
  EXPECT_EQ(std::string(head + 1, head + 4), "PNG");
  EXPECT_EQ(head[18] << 8 | head[19], 1600);  // width, then height, big-endian
  EXPECT_EQ(head[22] << 8 | head[23], 1200);
  EXPECT_FALSE(fs::exists("x"));
}

TEST_F(Png, AMissingProgramIsNamedWithItsPackage) {
  const PngConverter missing{.program = "qrvml-no-such-program"};
  EXPECT_FALSE(FindPngConverter(error, missing));
  EXPECT_NE(error.find("librsvg2-bin"), std::string::npos);
  error.clear();
  EXPECT_FALSE(WritePng("<svg/>", file, error, missing));
  EXPECT_NE(error.find("qrvml-no-such-program"), std::string::npos);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Png, AProgramThatFailsIsQuotedAndLeavesNoFile) {
  const PngConverter failing{.program =
                                 Program("cat > /dev/null; echo 'no such colour' >&2; exit 3")};
  EXPECT_FALSE(WritePng("<svg/>", file, error, failing));
  EXPECT_NE(error.find("no such colour"), std::string::npos);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Png, AProgramThatTakesTooLongIsEnded) {
  using namespace std::chrono_literals;
  const PngConverter slow{.program = Program("exec sleep 100"), .limit = 50ms};
  EXPECT_FALSE(WritePng("<svg/>", file, error, slow));
  EXPECT_NE(error.find("longer than 50 ms"), std::string::npos);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Png, ThePictureReachesTheProgramWholeHoweverLong) {
  const std::string svg(3'000'000, 's');  // more than a pipe holds
  ASSERT_TRUE(WritePng(svg, file, error, {.program = Program("cat")})) << error;
  EXPECT_EQ(fs::file_size(file), svg.size());
}

}  // namespace
}  // namespace qrvml
