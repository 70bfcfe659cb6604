// A reading asks at every stage whether it shall end, and then leaves nothing but that reason.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "datafile/data_file_writer.h"
#include "datafile/format_files.h"
#include "datafile/read_watch.h"

namespace qrvml {
namespace {

/// Ends the reading at one of the questions whether it shall end; counts them.
class EndingAt : public ReadWatch {
 public:
  explicit EndingAt(int question) : question_(question) {}
  bool ShallEnd() override { return asked_++ >= question_; }
  int asked() const { return asked_; }

 private:
  const int question_;
  std::atomic<int> asked_ = 0;
};

struct Watched {
  bool ok;
  int asked;
  std::string why;
};

Watched ReadWatched(const std::string& path, int endAt) {
  EndingAt watch(endAt);
  ReadOptions options;
  options.threads = 1;
  options.watch = &watch;
  const Reading read = ReadPath(path, options);
  return {read.ok, watch.asked(), read.error.what};
}

/// Many rows of a text that differs in each, and of a number.
std::string ManyTexts(int rows) {
  std::string text = "name,size\n";
  for (int row = 0; row < rows; ++row) {
    text += "case " + std::to_string(row * 7919 % rows) + "," + std::to_string(row % 10) + "\n";
  }
  return text;
}

void SaveAs(const DataTable& table, const std::string& path) {
  DataFileWriter writer;
  FileError error;
  ASSERT_TRUE(writer.Begin(path, false, {{table.At(1), true}, {table.At(2)}}, error))
      << error.Text();
  for (int i = 1; i <= table.NumberOfCases(); ++i) {
    const double row[] = {table.Value(i, 1), table.Value(i, 2)};
    ASSERT_TRUE(writer.Append(row, error)) << error.Text();
  }
  ASSERT_TRUE(writer.Finish(error)) << error.Text();
}

class CancelledReading : public testing::TestWithParam<const char*> {};

TEST_P(CancelledReading, EndsAtEveryQuestionAlsoWhenTheTextsAreSorted) {
  constexpr int kRows = 30000;
  const TemporaryFile source(ManyTexts(kRows));
  std::string path = source.Path();
  const TemporaryPath saved("many." + std::string(GetParam()));
  if (std::string_view(GetParam()) != "csv") {
    const Reading read = ReadPath(path);
    ASSERT_TRUE(read.ok);
    SaveAs(read.table, saved.Text());
    path = saved.Text();
  }
  const Watched whole = ReadWatched(path, 1 << 30);
  ASSERT_TRUE(whole.ok) << whole.why;
  // Sorting compares each text with at least log2(30000) others, less what a merge saves.
  EXPECT_GE(whole.asked, kRows * 10 / CancelPace::kTexts);
  for (int question = 0; question < whole.asked; question += 1 + question / 20) {
    const Watched ended = ReadWatched(path, question);
    EXPECT_FALSE(ended.ok) << "question " << question << " of " << whole.asked;
    EXPECT_EQ(ended.why, "the reading was cancelled") << question;
  }
  const Watched last = ReadWatched(path, whole.asked - 1);
  EXPECT_FALSE(last.ok);
}

INSTANTIATE_TEST_SUITE_P(Formats, CancelledReading,
                         testing::Values("csv", "xlsx", "sav", "parquet", "qrv"),
                         [](const auto& format) { return std::string(format.param); });

}  // namespace
}  // namespace qrvml
