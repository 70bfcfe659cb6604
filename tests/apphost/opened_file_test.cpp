// A data file that changes, disappears or becomes unreadable while an analysis has it open, with
// the module's own analysis.
#include "host/opened_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "datafile/saved_files.h"
#include "frame/machine_learning.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTable = "x,y,set\n1,10,1\n2,20,1\n3,30,1\n4,40,1\n9,90,2\n";
constexpr const char* kOther = "x,y,set\n1,11,1\n2,21,1\n3,31,1\n4,41,1\n5,51,1\n8,81,2\n";

/// A regression of y on x; the first three selected cases are the prototypes.
class OpenedFiles : public ::testing::Test {
 protected:
  OpenedFiles() {
    Write(path_, kTable);
    FileError error;
    EXPECT_TRUE(opened_.Read(error)) << error.Text();
    host_.messages.show = [this](const LoggedMessage& message) { shown_ += message.text + '\n'; };
    session_ =
        std::make_unique<AnalysisSession>(opened_.Services(host_), host_.sequence, host_.random);
    session_->beforeActing = [this] { return opened_.Look(host_, *session_); };
    std::string reason;
    EXPECT_TRUE(
        session_->Open([]() -> CAnalysisSupport* { return new MachineLearning(nullptr); }, reason));
  }

  void Put(const char* name, const char* value) {
    EXPECT_TRUE(session_->Put(name, AutomationValue::Text(value)).Succeeded()) << name;
  }
  void Specify() {
    Put("TypeOfAnalysis", "2");
    ASSERT_TRUE(session_->OK().Succeeded());
    Put("Variables", "y | | x |");
    Put("UseFirstNCases", "1");
    Put("NValue", "3");
  }
  void Train() {
    Specify();
    const AutomationResult result = session_->OK();
    ASSERT_TRUE(result.Succeeded()) << result.text;
    ASSERT_EQ(session_->step(), kKnnResultsStep);
  }
  /// The predictions that are shown; empty where the call fails.
  std::vector<double> Predictions() {
    const std::size_t documents = host_.workbook.documents().size();
    last_ = session_->Press("PrintPredictions");
    if (!last_.Succeeded() || host_.workbook.documents().size() == documents) return {};
    return std::get<Spreadsheet>(host_.workbook.documents().back()).columns.at(0).values;
  }
  MachineLearning& Analysis() { return static_cast<MachineLearning&>(*session_->analysis()); }
  void ExpectStartedOver() {
    EXPECT_EQ(last_.text,
              path_ +
                  " has changed since it was opened: it was read again, and the analysis "
                  "starts over");
    EXPECT_EQ(session_->step(), kStartStep);
    EXPECT_EQ(Analysis().knnEngine(), nullptr);
    EXPECT_EQ(host_.memory.used(), 0u);
  }
  /// Makes the file's time of change what `model` has.
  void TakeTimeOf(const std::string& model) {
    struct stat found = {};
    ASSERT_EQ(stat(model.c_str(), &found), 0);
    const timespec times[2] = {found.st_atim, found.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path_.c_str(), times, 0), 0);
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_.File("d.csv");
  std::atomic<bool> cancel_{false};
  AnalysisHost host_{{.interactive = false, .threads = 1, .memoryLimit = 0, .terminal = {}},
                     cancel_};
  OpenedFile opened_{{.path = path_, .missing = {"y=40"}, .select = "x < 10"}, cancel_};
  std::unique_ptr<AnalysisSession> session_;
  AutomationResult last_;
  std::string shown_;
};

TEST_F(OpenedFiles, ThatChangeStartTheAnalysisOverWithTheirNewData) {
  Train();
  EXPECT_EQ(Predictions(), (std::vector<double>{30}));  // case 4 has no y
  Write(path_, kOther);
  Put("Overall", "1");  // acts on nothing
  EXPECT_TRUE(Predictions().empty());
  ExpectStartedOver();
  EXPECT_EQ(opened_.file().NumberOfCases(), 6);
  EXPECT_EQ(opened_.file().Selection(), "x < 10");
  EXPECT_EQ(opened_.file().getmd5(2), 40) << "the options of the opening hold again";

  Train();
  EXPECT_EQ(Predictions(), (std::vector<double>{31, 31, 31}));
  host_.answers.Set(AnswerMember::selection, "*");
  host_.answers.Set(AnswerMember::saveFileName, folder_.File("saved.csv"));
  ASSERT_TRUE(session_->Press("SavePredictionsAndResiduals").Succeeded());
  EXPECT_NE(Content(folder_.File("saved.csv")).find("\n8,81,2,31,"), std::string::npos)
      << Content(folder_.File("saved.csv"));
}

TEST_F(OpenedFiles, ThatChangeBeforeOkDoSoToo) {
  Specify();
  Write(path_, kOther);
  last_ = session_->OK();
  EXPECT_FALSE(last_.Succeeded());
  ExpectStartedOver();
  Train();
}

TEST_F(OpenedFiles, AreToldFromOthersByPlaceSizeAndTime) {
  const auto changes = {
      +[](const std::string& path) {  // another file of the same size
        std::string other = Content(path);
        other.back() = ' ';
        Write(path + "2", other);
        fs::rename(path + "2", path);
      },
      +[](const std::string& path) { Write(path, kOther); },
  };
  for (const auto change : changes) {
    Train();
    const std::string model = folder_.File("model");
    Write(model, "");
    TakeTimeOf(model);
    EXPECT_TRUE(Predictions().empty()) << "another time";
    ExpectStartedOver();
    Train();
    change(path_);
    TakeTimeOf(model);
    EXPECT_TRUE(Predictions().empty());
    ExpectStartedOver();
    fs::remove(model);
  }
  EXPECT_EQ(shown_, "");
}

TEST_F(OpenedFiles, ThatDisappearAreWarnedOfOnceAndTheAnalysisGoesOn) {
  Train();
  fs::rename(path_, path_ + ".away");
  EXPECT_EQ(Predictions(), (std::vector<double>{30}));
  EXPECT_EQ(Predictions(), (std::vector<double>{30}));
  EXPECT_EQ(shown_,
            "warning: " + path_ +
                ": the file has disappeared; the analysis goes on with the data in memory\n");
  fs::rename(path_ + ".away", path_);
  EXPECT_EQ(Predictions(), (std::vector<double>{30})) << "it is back as it was";
  fs::remove(path_);
  EXPECT_EQ(Predictions(), (std::vector<double>{30}));
  Write(path_, kOther);
  EXPECT_TRUE(Predictions().empty());
  ExpectStartedOver();
}

TEST_F(OpenedFiles, ThatCannotBeReadAgainLeaveTheDataAsTheyWere) {
  Train();
  fs::rename(path_, path_ + ".good");
  const std::pair<const char*, const char*> bad[] = {
      {"x,y,set\n1,2\n", "line 2"},         // defective
      {"x,z,set\n1,2,3\n", "no variable"},  // without a variable of the options
      {"", "empty"},
  };
  for (const auto& [content, reason] : bad) {
    Write(path_, content);
    for (int time = 0; time < 2; ++time) {
      EXPECT_TRUE(Predictions().empty());
      EXPECT_EQ(last_.text.find(path_ + " has changed since it was opened and cannot be read "
                                        "again, the data in memory stay as they were. "),
                0u)
          << last_.text;
      EXPECT_NE(last_.text.find(reason), std::string::npos) << last_.text;
      EXPECT_EQ(session_->step(), kKnnResultsStep);
      EXPECT_EQ(opened_.file().NumberOfCases(), 5);
    }
  }
  fs::rename(path_ + ".good", path_);
  EXPECT_EQ(Predictions(), (std::vector<double>{30}));
}

}  // namespace
}  // namespace qrvml
