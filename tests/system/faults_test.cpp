// What the program does where the machine fails it: damaged data files, folders that must not be
// written, disks without space. It ends with 1 and a clear text, what was there stays as it was,
// and nothing half-written is left.
#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <functional>
#include <map>

#include "datafile/damaged_shelf.h"
#include "support/places.h"
#include "system/program.h"

namespace qrvml::testing {
namespace {

constexpr const char* kSavedFormats[] = {"qrv", "parquet", "csv", "sav", "xlsx"};
constexpr const char* kDocumentFormats[] = {"txt", "json", "csv", "xlsx", "svg", "png"};

/// Every file below a folder with its content.
std::map<std::string, std::string> Everything(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    files[fs::relative(entry.path(), folder).string()] =
        entry.is_regular_file() ? Content(entry.path()) : "(folder)";
  return files;
}

class Faults : public ProgramTest {
 protected:
  Faults() {
    fs::create_directory(Target());
    fs::permissions(root(), fs::perms::all);
  }
  ~Faults() override { umount2(Target().c_str(), MNT_DETACH); }

  /// Where the program writes; its own outputs go elsewhere.
  fs::path Target() const { return root() / "target"; }
  /// A data file "data.csv" in a folder of its own.
  std::string Table(int rows) {
    const std::string folder = std::to_string(rows);
    fs::create_directory(root() / folder);
    fs::permissions(root() / folder, fs::perms::all);
    std::string csv = "x,y,class\n";
    unsigned state = 1;
    for (int i = 0; i < rows; ++i) {
      state = state * 1664525u + 1013904223u;
      csv += std::to_string(state >> 8) + ',' + std::to_string(state >> 4 & 0xFFFFF) +
             (state & 1 << 20 ? ",odd\n" : ",even\n");
    }
    return Write(folder + "/data.csv", csv);
  }
  static std::vector<std::string> Saving(const std::string& file, const fs::path& target) {
    return {"knn",
            file,
            "--variables",
            "| class | x y |",
            "--overwrite",
            "--do",
            "ResultsSelection=*,ResultsSaveFileName=\"" + target.string() +
                "\",SavePredictionsAndResiduals"};
  }
  /// A large document of the format, and the results text.
  static std::vector<std::string> Documents(const std::string& file, const fs::path& out,
                                            const std::string& format) {
    const bool picture = format == "svg" || format == "png";
    return {"knn",
            file,
            "--variables",
            "| class | x y |",
            "--do",
            picture ? "Overall=1,SelectedItemX=1,SelectedItemsY=2,Plot2DGraphOfXAndY"
                    : "Overall=1,IncludeInputs=1,PrintPredictions",
            "--format",
            format,
            "--out",
            out.string()};
  }

  /// Runs the program after `prepare`, which runs in the child.
  Outcome RunAfter(const std::function<bool()>& prepare, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), kProgram);
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return Wait(child);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    dup2(open("/dev/null", O_RDONLY), 0);
    dup2(open((root() / "stdout").c_str(), flags, 0600), 1);
    dup2(open((root() / "stderr").c_str(), flags, 0600), 2);
    if (prepare()) execv(kProgram, words.data());
    _exit(99);
  }
  void ExpectRefused(const Outcome& outcome, const std::string& file, const std::string& reason) {
    EXPECT_EQ(outcome.code, 1) << outcome.err;
    EXPECT_NE(outcome.err.find(file), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
};

// --- Damaged data files --------------------------------------------------------------------------

class DamagedData : public Faults {
 protected:
  Outcome Analyse(const std::string& file) {
    return Run({"knn", file, "--variables", "| 1 | 2 |", "--do", "Summary", "--out",
                (Target() / "out").string()});
  }
};

TEST_F(DamagedData, OfTheShelfEndsTheRunWithItsReasonAndWithoutOutput) {
  for (const DamagedFile& file : kDamagedFiles) {
    const std::string path = std::string(kTestData) + "/damaged/" + file.name;
    ExpectRefused(Analyse(path), "qrvml: " + path, file.what);
    EXPECT_TRUE(Everything(Target()).empty()) << file.name;
  }
}

TEST_F(DamagedData, CutInHalfIsRefusedInEveryFormatThatTheProgramSaves) {
  const std::string table = Table(3000);
  for (const std::string format : kSavedFormats) {
    const fs::path whole = root() / ("whole." + format), half = root() / ("half." + format);
    ASSERT_EQ(Run(Saving(table, whole)).code, 0) << format;
    std::string content = Content(whole);
    content.resize(content.size() / 2);
    // Half of a text file is a text file, unless its last row is cut.
    if (format == "csv") content.resize(content.find_last_of('\n') + 4);
    Write(half.filename().string(), content);
    const Outcome outcome = Analyse(half.string());
    ExpectRefused(outcome, half.string(), "");
    EXPECT_TRUE(Everything(Target()).empty()) << format;
  }
}

// --- Folders that must not be written ------------------------------------------------------------

bool BecomeNobody() {
  if (getuid() != 0) return true;
  const passwd* nobody = getpwnam("nobody");
  return nobody != nullptr && setgroups(0, nullptr) == 0 && setgid(nobody->pw_gid) == 0 &&
         setuid(nobody->pw_uid) == 0;
}

class ForbiddenFolder : public Faults {
 protected:
  void SetUp() override {
    fs::permissions(Target(), fs::perms::owner_read | fs::perms::owner_exec |
                                  fs::perms::others_read | fs::perms::others_exec);
    const Outcome outcome = RunAfter(BecomeNobody, {"--version"});
    if (outcome.code == 99) GTEST_SKIP() << "cannot become another user";
    ASSERT_EQ(outcome.code, 0) << "the program cannot be run by another user";
  }
  void TearDown() override { fs::permissions(Target(), fs::perms::owner_all); }
};

TEST_F(ForbiddenFolder, IsToldWhenSavingInEveryFormat) {
  const std::string table = Table(200);
  for (const std::string format : kSavedFormats) {
    const Outcome outcome = RunAfter(BecomeNobody, Saving(table, Target() / ("new." + format)));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("nothing can be written into " + Target().string() +
                               ": Permission denied"),
              std::string::npos)
        << outcome.err;
    EXPECT_TRUE(Everything(Target()).empty());
  }
}

TEST_F(ForbiddenFolder, IsToldBeforeAnyDocumentIsMade) {
  const std::string table = Table(200);
  for (const std::string format : kDocumentFormats) {
    for (const fs::path& out : {Target(), Target() / "deeper"}) {
      const Outcome outcome = RunAfter(BecomeNobody, Documents(table, out, format));
      ExpectRefused(outcome, "cannot write into " + Target().string(), "Permission denied");
      EXPECT_TRUE(Everything(Target()).empty());
    }
  }
}

// --- Disks without space -------------------------------------------------------------------------

/// Files can no longer grow beyond 48 KB, as on a disk that is full.
bool LimitFiles() {
  const rlimit limit = {48 * 1024, 48 * 1024};
  return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}
bool ChangeNothing() { return true; }

struct FullDisk {
  const char* name;
  const char* reason;
  bool (*prepare)();  // the child
  bool isMounted;     // a small disk is mounted at the target
};
const FullDisk kFullDisks[] = {{"limited files", "File too large", LimitFiles, false},
                               {"small disk", "No space left on device", ChangeNothing, true}};

class DiskWithoutSpace : public Faults, public ::testing::WithParamInterface<FullDisk> {
 protected:
  void SetUp() override {
    if (!GetParam().isMounted) return;
    // In a view of the file system of this process alone.
    if (unshare(CLONE_NEWNS) != 0 || mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", Target().c_str(), "tmpfs", 0, "size=128k") != 0)
      GTEST_SKIP() << "no disk can be mounted here";
  }
};

TEST_P(DiskWithoutSpace, LeavesTheOldFileWhenSavingInEveryFormat) {
  const std::string table = Table(20000);
  for (const std::string format : kSavedFormats) {
    const fs::path target = Target() / ("saved." + format);
    std::ofstream(target) << "old";
    const auto before = Everything(Target());
    const Outcome outcome = RunAfter(GetParam().prepare, Saving(table, target));
    EXPECT_EQ(outcome.code, 1) << format;
    EXPECT_NE(outcome.err.find(target.string() + ": "), std::string::npos) << outcome.err;
    const bool told = outcome.err.find(GetParam().reason) != std::string::npos ||
                      outcome.err.find("there is no room for the rows") != std::string::npos;
    EXPECT_TRUE(told) << outcome.err;
    EXPECT_EQ(Everything(Target()), before) << format;
    fs::remove(target);
  }
}

TEST_P(DiskWithoutSpace, LeavesTheOldDocumentsInEveryFormat) {
  const std::string small = Table(20);
  const std::string table = Table(20000);
  for (const std::string format : kDocumentFormats) {
    ASSERT_EQ(Run(Documents(small, Target() / "out", format)).code, 0) << format;
    const auto before = Everything(Target());
    const Outcome outcome =
        RunAfter(GetParam().prepare, Documents(table, Target() / "out", format));
    ExpectRefused(outcome, "cannot write " + Target().string(), GetParam().reason);
    auto after = Everything(Target());
    // The results text had room; the large document is as it was, and nothing else is there.
    int asBefore = 0;
    for (const auto& [name, content] : before) asBefore += after[name] == content ? 1 : 0;
    EXPECT_EQ(after.size(), before.size()) << format;
    EXPECT_GE(asBefore, 3) << format << ": the folder, the document, documents.json";
    fs::remove_all(Target() / "out");
  }
}

INSTANTIATE_TEST_SUITE_P(Disks, DiskWithoutSpace, ::testing::ValuesIn(kFullDisks),
                         [](const auto& disk) {
                           return disk.param.isMounted ? "SmallDisk" : "LimitedFiles";
                         });

TEST_F(Faults, AStandardOutputThatIsFullEndsTheRun) {
  const auto fillOutput = [] { return dup2(open("/dev/full", O_WRONLY), 1) == 1; };
  auto arguments = Documents(Table(20), {}, "csv");
  arguments.resize(6);
  ExpectRefused(RunAfter(fillOutput, arguments), "cannot write to the standard output", "");
}

// --- The data file changes -----------------------------------------------------------------------

TEST_F(Faults, ADataFileThatTheStepsReplaceEndsTheRun) {
  const std::string table = Table(200);
  auto arguments = Saving(table, table);
  arguments.back() = "PrintPredictions," + arguments.back() + ",Summary";
  arguments.insert(arguments.end(), {"--out", (Target() / "out").string()});
  const Outcome outcome = Run(arguments);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("\"Summary\": " + table +
                             " has changed since it was opened: it was read again, and the "
                             "analysis starts over\n"),
            std::string::npos)
      << outcome.err;
  const auto run = nlohmann::json::parse(Content(Target() / "out" / "documents.json"));
  EXPECT_EQ(run["documents"].size(), 2u);
  EXPECT_EQ(run["analysis"]["cases"], 200);
  EXPECT_EQ(run["properties"]["KNearestNeighbors"], 1);
}

}  // namespace
}  // namespace qrvml::testing
