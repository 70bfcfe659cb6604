#include "host/saving_host.h"

#include <gtest/gtest.h>

#include <memory>

#include "datafile/cells.h"
#include "datafile/saved_files.h"
#include "host/message_log.h"

namespace qrvml {
namespace {

using Picks = std::vector<int>;
using Lines = std::vector<std::string>;

/// Three cases in two chunks: a number, a labelled code, a text.
HostDataFile OpenFile() {
  DataTable table;
  table.AddVariable("x").missingCode = 99;
  Variable& group = table.AddVariable("group");
  group.labels = {{1, "one"}, {2, "two"}};
  group.longName = "the group";
  Variable& text = table.AddVariable("text");
  text.labels = {{1, "a"}, {2, "b"}};
  text.wasText = true;
  table.AppendChunk(2, BlockOf({0.5, 99, 1, 2, 1, 2}));
  table.AppendChunk(1, BlockOf({1.5, -9999, 2}));
  return HostDataFile(std::move(table), "open.csv");
}

class Saving : public ::testing::Test {
 protected:
  Saving() { saving_.SetFile(&file_); }

  void Answer(AnswerMember member, const std::string& text) { answers_.Set(member, text); }
  /// Picks of an answer; {-1} when it is refused.
  Picks PicksOf(const std::string& answer, const Lines& offered) {
    Picks picked = {-1};
    Answer(AnswerMember::selection, answer);
    const bool taken = saving_.PickOutputs("Title", "Prompt", offered, picked);
    EXPECT_EQ(taken, picked != Picks{-1});
    return picked;
  }
  std::string Note() {
    const std::vector<AnswerNote> notes = answers_.TakeNotes();
    EXPECT_EQ(notes.size(), 1u);
    return notes.empty() ? "" : notes[0].text;
  }
  std::string Path(const std::string& name = "d.csv") const { return folder_.File(name); }
  std::string LastMessage() const {
    return messages_.messages().empty() ? "" : messages_.messages().back().text;
  }

  TemporaryFolder folder_;
  HostDataFile file_ = OpenFile();
  AnswerBook answers_;
  MessageLog messages_{answers_};
  SavingHost saving_{answers_, messages_};
};

TEST_F(Saving, OutputsArePickedByNumberRangeNameOrAll) {
  const Lines offered = {"y , Prévisions", "y , Résidus", "y-1, Confiance", "4", "last"};
  EXPECT_EQ(PicksOf("*", offered), (Picks{0, 1, 2, 3, 4}));
  EXPECT_EQ(PicksOf("2", offered), Picks{1});
  EXPECT_EQ(PicksOf("5 2-3 3", offered), (Picks{4, 1, 2}));
  EXPECT_EQ(PicksOf("y , Résidus", offered), Picks{1});
  EXPECT_EQ(PicksOf("\"y-1, Confiance\" last", offered), (Picks{2, 4}));
  EXPECT_EQ(PicksOf("\"4\" 1", offered), (Picks{3, 0}));
  EXPECT_EQ(PicksOf("None", offered), Picks());
  EXPECT_TRUE(answers_.TakeNotes().empty());
  const std::vector<std::pair<std::string, std::string>> kRefused = {
      {"6", "1 to 5 are offered"}, {"0", "1 to 5"},  {"1.5", "1 to 5"},     {"3-6", "1 to 5"},
      {"nobody", "\"nobody\""},    {"* 1", "alone"}, {"1 | 2", "one list"}, {"\"open", "quote"}};
  for (const auto& [answer, reason] : kRefused) {
    EXPECT_EQ(PicksOf(answer, offered), Picks{-1}) << answer;
    EXPECT_NE(Note().find(reason), std::string::npos) << answer;
  }
}

TEST_F(Saving, WhatIsAskedWithoutAnAnswerIsCancelledAndNamesTheMember) {
  Picks picked;
  EXPECT_FALSE(saving_.PickOutputs("Title", "Prompt", Lines{"a"}, picked));
  EXPECT_NE(Note().find("ResultsSelection"), std::string::npos);
  std::string path = "NEW.QRV";
  EXPECT_FALSE(saving_.DoSaveFileNameDlg(path));
  EXPECT_EQ(path, "NEW.QRV");
  EXPECT_NE(Note().find("ResultsSaveFileName"), std::string::npos);
  Answer(AnswerMember::saveFileName, "given.sav");
  EXPECT_TRUE(saving_.DoSaveFileNameDlg(path));
  EXPECT_EQ(path, "given.sav");
}

TEST_F(Saving, KeptVariablesComeFromTheOpenFileAndNewOnesBehindThem) {
  const std::vector<NewVariable> added = {
      {"class", "its class", {{2, "two", false}, {1, "1", false}}}, {"size", "", {}}};
  ASSERT_TRUE(saving_.SubsetAndAddEx(Path("d.qrv"), Picks{3, 1}, added)) << LastMessage();
  EXPECT_TRUE(saving_.PutDataF(1, std::vector<double>{2, 7.25}));
  EXPECT_TRUE(saving_.PutDataF(3, std::vector<double>{1, -9999}));
  EXPECT_TRUE(saving_.PutDataF(2, std::vector<double>{-9999, 0}));
  EXPECT_EQ(folder_.Names().find("d.qrv "), std::string::npos);
  ASSERT_TRUE(saving_.FinishSave());
  EXPECT_EQ(LastMessage(), "");
  EXPECT_EQ(Query("FROM f.variables", Path("d.qrv")),
            (Lines{"1|text||-9999.0|number|true", "2|x||99.0|number|false",
                   "3|class|its class|-9999.0|number|false", "4|size||-9999.0|number|false"}));
  EXPECT_EQ(Query("FROM f.labels", Path("d.qrv")), (Lines{"1|1.0|a", "1|2.0|b", "3|2.0|two"}));
  EXPECT_EQ(Query("FROM f.cases", Path("d.qrv")),
            (Lines{"1.0|0.5|2.0|7.25", "2.0|1.5|1.0|NULL", "2.0|NULL|NULL|0.0"}));
}

TEST_F(Saving, TextsStandForCodesWhereEveryValueHasOneAndTheLossesAreTold) {
  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1, 2, 3}, {}));
  for (const int number : {1, 2, 3}) EXPECT_TRUE(saving_.PutDataF(number, {}));
  ASSERT_TRUE(saving_.FinishSave());
  EXPECT_EQ(Content(Path()), "x,group,text\n0.5,one,a\n,two,b\n1.5,,b\n");
  Lines told;
  for (const LoggedMessage& message : messages_.messages()) told.push_back(message.text);
  const std::string begin = "warning: " + Path() + ": a .csv file does not hold the ";
  EXPECT_EQ(told,
            (Lines{begin + "codes behind the texts of \"group\"", begin + "long names of \"group\"",
                   begin + "missing-data codes (their cells are empty) of \"x\""}));
}

TEST_F(Saving, AValueWithoutATextKeepsItsVariableNumeric) {
  DataTable table;
  table.AddVariable("age").labels = {{99, "refused"}};
  table.AppendChunk(2, BlockOf({99, 30}));
  const HostDataFile file(std::move(table), "ages.sav");
  saving_.SetFile(&file);
  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_TRUE(saving_.PutDataF(1, {}));
  EXPECT_TRUE(saving_.PutDataF(2, {}));
  ASSERT_TRUE(saving_.FinishSave());
  EXPECT_EQ(Content(Path()), "age\n99\n30\n");
  EXPECT_NE(LastMessage().find("the labels of \"age\""), std::string::npos);
}

TEST_F(Saving, ANewNameThatIsTakenGetsANumberAndIsTold) {
  const std::vector<NewVariable> added = {{"x", "", {}}, {"x (2)", "", {}}, {"x", "", {}}};
  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, added));
  EXPECT_TRUE(saving_.PutDataF(1, std::vector<double>{1, 2, 3}));
  ASSERT_TRUE(saving_.FinishSave());
  EXPECT_EQ(Content(Path()), "x,x (3),x (2),x (4)\n0.5,1,2,3\n");
  EXPECT_NE(messages_.messages().at(0).text.find("named \"x (3)\""), std::string::npos);
}

TEST_F(Saving, AnExistingFileIsReplacedOnlyWhereThatIsAllowed) {
  Write(Path(), "old");
  EXPECT_FALSE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_NE(LastMessage().find("exists"), std::string::npos);
  EXPECT_FALSE(saving_.PutDataF(1, {}));
  EXPECT_FALSE(saving_.FinishSave());
  EXPECT_EQ(Content(Path()), "old");
  saving_.overwrite = true;
  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_TRUE(saving_.PutDataF(1, {}));
  EXPECT_EQ(Content(Path()), "old");
  ASSERT_TRUE(saving_.FinishSave());
  EXPECT_EQ(Content(Path()), "x\n0.5\n");
}

TEST_F(Saving, WhatCannotBeSavedIsToldAndLeavesNothing) {
  EXPECT_FALSE(saving_.SubsetAndAddEx(Path("d.doc"), Picks{1}, {}));
  EXPECT_NE(LastMessage().find(".qrv, .parquet, .csv, .sav or .xlsx"), std::string::npos);
  EXPECT_FALSE(saving_.SubsetAndAddEx(Path(), Picks{4}, {}));
  EXPECT_NE(LastMessage().find("no variable number 4"), std::string::npos);
  EXPECT_FALSE(saving_.SubsetAndAddEx(Path(), {}, {}));
  EXPECT_NE(LastMessage().find("at least one variable"), std::string::npos);

  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_FALSE(saving_.PutDataF(4, {}));
  EXPECT_NE(LastMessage().find("case 4"), std::string::npos);
  EXPECT_FALSE(saving_.FinishSave());

  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_TRUE(saving_.PutDataF(1, {}));
  saving_.AbandonSave();
  EXPECT_FALSE(saving_.FinishSave());

  ASSERT_TRUE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  saving_.SetFile(nullptr);
  EXPECT_FALSE(saving_.PutDataF(1, {}));
  EXPECT_FALSE(saving_.SubsetAndAddEx(Path(), Picks{1}, {}));
  EXPECT_NE(LastMessage().find("no data file is open"), std::string::npos);
  EXPECT_EQ(folder_.Names(), "");
}

}  // namespace
}  // namespace qrvml
