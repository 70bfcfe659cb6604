#include "host/answering_dialogs.h"

#include <gtest/gtest.h>

#include "apphost/table_file.h"
#include "host/automation_host.h"
#include "host/message_log.h"

namespace qrvml {
namespace {

using testing::TableFile;

struct Room {
  TableFile file{{"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}};
  DialogSequence sequence;
  AnswerBook answers;
  AnsweringDialogs dialogs{sequence, answers};
  AutomationHost automation{sequence, answers, true};
  MessageLog messages{answers};

  Room() { dialogs.SetNames(file.Names()); }
};

VariableListsRequest FourLists() { return {"Variables", {"1", "2", "3", "4"}, {{1}, {}, {}, {}}}; }

CodesRequest CodesOf(std::vector<int> variables) {
  const std::size_t count = variables.size();
  return {"Codes",
          std::move(variables),
          std::vector<std::vector<double>>(count),
          std::vector<std::size_t>(count, 1),
          std::vector<std::size_t>(count, 500),
          -999999999,
          999999999};
}

TEST(AnsweredDialogs, AnAnswerIsUsedOnce) {
  Room room;
  room.automation.SetAnswer(AnswerMember::variables, "a | b | c |");
  VariableListsRequest request = FourLists();
  EXPECT_TRUE(room.dialogs.FourVarListsDialog(request));
  EXPECT_EQ(request.lists, (std::vector<std::vector<int>>{{1}, {2}, {3}, {}}));
  EXPECT_FALSE(room.dialogs.FourVarListsDialog(request));
  const auto notes = room.answers.TakeNotes();
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_TRUE(notes[0].missing);
  EXPECT_EQ(notes[0].member, AnswerMember::variables);
  EXPECT_NE(notes[0].text.find("ResultsVariables"), std::string::npos);
}

TEST(AnsweredDialogs, AnAnswerThatCannotBeUsedCancelsAndChangesNothing) {
  Room room;
  room.automation.SetAnswer(AnswerMember::variables, "a | zz | c |");
  VariableListsRequest request = FourLists();
  EXPECT_FALSE(room.dialogs.FourVarListsDialog(request));
  EXPECT_EQ(request.lists, FourLists().lists);
  const auto notes = room.answers.TakeNotes();
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_FALSE(notes[0].missing);
  EXPECT_NE(notes[0].text.find("\"zz\""), std::string::npos);
  EXPECT_FALSE(room.answers.Has(AnswerMember::variables));
}

TEST(AnsweredDialogs, AnAnswerCanBeTakenBack) {
  Room room;
  room.automation.SetAnswer(AnswerMember::values, "1 2");
  EXPECT_EQ(room.automation.Answer(AnswerMember::values), "1 2");
  room.automation.SetAnswer(AnswerMember::values, "");
  std::vector<double> values(2);
  EXPECT_FALSE(room.dialogs.GetStartValues("Values", std::vector<std::string>{"x", "y"}, values));
}

TEST(AnsweredCodes, OneAnswerServesGroupsOfVariablesInOrder) {
  Room room;
  room.automation.SetAnswer(AnswerMember::codes, "1 | 2 | 3 | * | 5 | 6 | 7 | 8 | 9 10 | *");
  CodesRequest first = CodesOf({1, 2, 3, 4, 5, 6, 7, 8}), second = CodesOf({9, 10});
  first.codes[3] = {4, 44};
  ASSERT_TRUE(room.dialogs.LongCodesListDialog(first));
  ASSERT_TRUE(room.dialogs.LongCodesListDialog(second));
  EXPECT_EQ(first.codes[0], (std::vector<double>{1}));
  EXPECT_EQ(first.codes[3], (std::vector<double>{4, 44}));
  EXPECT_EQ(first.codes[7], (std::vector<double>{8}));
  EXPECT_EQ(second.codes[0], (std::vector<double>{9, 10}));
  EXPECT_TRUE(second.codes[1].empty());
  EXPECT_FALSE(room.answers.Has(AnswerMember::codes));
  EXPECT_TRUE(room.answers.TakeNotes().empty());
}

TEST(AnsweredCodes, TooFewListsCancelTheGroupThatLacksOne) {
  Room room;
  room.automation.SetAnswer(AnswerMember::codes, "1 | 2 | 3 | 4 | 5 | 6 | 7 | 8 | 9");
  CodesRequest first = CodesOf({1, 2, 3, 4, 5, 6, 7, 8}), second = CodesOf({9, 10});
  EXPECT_TRUE(room.dialogs.LongCodesListDialog(first));
  EXPECT_FALSE(room.dialogs.LongCodesListDialog(second));
  EXPECT_TRUE(second.codes[0].empty());
  const auto notes = room.answers.TakeNotes();
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_NE(notes[0].text.find("9 lists where at least 10"), std::string::npos);
}

TEST(AnsweredCodes, ListsThatNobodyAskedForAreTold) {
  Room room;
  room.automation.SetAnswer(AnswerMember::codes, "1 | 2 | 3");
  CodesRequest request = CodesOf({1, 2});
  EXPECT_TRUE(room.dialogs.LongCodesListDialog(request));
  room.automation.SetAnswer(AnswerMember::codes, "");  // as automation does behind a pick
  const auto notes = room.answers.TakeNotes();
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_NE(notes[0].text.find("only the first 2"), std::string::npos);
}

TEST(Questions, TakeTheAnswerThatWasSetElseAreCancelled) {
  Room room;
  const auto ask = [&room] { return room.messages.DspMessageBox(BoxType::okCancel, 308, "Sure?"); };
  room.automation.SetAnswer(AnswerMember::option, "OK");
  EXPECT_EQ(ask(), BoxButton::ok);
  room.automation.SetAnswer(AnswerMember::option, "Cancel");
  EXPECT_EQ(ask(), BoxButton::cancel);
  EXPECT_TRUE(room.answers.TakeNotes().empty());
  EXPECT_EQ(ask(), BoxButton::cancel);
  EXPECT_EQ(room.answers.TakeNotes().size(), 1u);
}

TEST(Messages, AreLoggedWithTheStepThatRan) {
  Room room;
  std::string shown;
  room.messages.show = [&shown](const LoggedMessage& message) { shown += message.text; };
  room.messages.step = "OK";
  EXPECT_EQ(room.messages.DspMessageBox(BoxType::information, 205, "No test sample"),
            BoxButton::ok);
  room.messages.step = "Model";
  room.messages.DspMessageBox(BoxType::information, 0, "Other");
  ASSERT_EQ(room.messages.messages().size(), 2u);
  EXPECT_EQ(room.messages.messages()[0].number, 205);
  EXPECT_EQ(room.messages.messages()[0].step, "OK");
  EXPECT_EQ(room.messages.messages()[1].step, "Model");
  room.messages.ask = [](BoxType, const LoggedMessage&) {
    ADD_FAILURE() << "a note waits for nobody";
    return BoxButton::cancel;
  };
  EXPECT_EQ(room.messages.DspMessageBox(BoxType::note, 0, "the limit"), BoxButton::ok);
  EXPECT_EQ(shown, "No test sampleOthernote: the limit");
}

}  // namespace
}  // namespace qrvml
