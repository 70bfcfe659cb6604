// Letters to an analysis come in one at a time, and none is lost that a page had reason to send.
#include <gtest/gtest.h>

#include "server/analysis_mailbox.h"

namespace qrvml {
namespace {

std::optional<AnalysisMailbox::Waiting> PostCalls(AnalysisMailbox& mailbox, int dialog,
                                                  const char* what) {
  int call = 0;
  return mailbox.Post(false, dialog, Json(what), call);
}

TEST(AnalysisMailbox, WhatIsExpectedIsTakenBeforeItIsWaitedFor) {
  AnalysisMailbox mailbox;
  EXPECT_FALSE(PostCalls(mailbox, 3, "too early"));
  mailbox.Expect(3, 0);
  EXPECT_FALSE(PostCalls(mailbox, 4, "for another dialog"));
  auto first = PostCalls(mailbox, 3, "first");
  ASSERT_TRUE(first);
  EXPECT_FALSE(PostCalls(mailbox, 3, "while one lies there"));
  const auto letter = mailbox.Wait(3, 0);
  ASSERT_TRUE(letter);
  EXPECT_EQ(letter->content, "first");
  EXPECT_FALSE(PostCalls(mailbox, 3, "while it is worked on"));
  mailbox.Expect(3, 0);
  auto second = PostCalls(mailbox, 3, "before the first has its reply");
  ASSERT_TRUE(second);
  mailbox.Reply(LetterReply{200, "done"});
  EXPECT_EQ(first->get().value().body, "done");
  mailbox.Reply(LetterReply{200, "again"});  // nobody waits for it
  ASSERT_TRUE(mailbox.Wait(3, 0));
  mailbox.Reply(std::nullopt);
  EXPECT_FALSE(second->get());

  // The end: what lies there is still answered, nothing else is taken.
  mailbox.Expect(3, 7);
  int call = 0;
  ASSERT_TRUE(mailbox.Post(true, 7, Json("answer"), call));
  mailbox.Close();
  EXPECT_FALSE(PostCalls(mailbox, 3, "too late"));
  const auto last = mailbox.Wait(3, 7);
  ASSERT_TRUE(last && last->isAnswer);
  EXPECT_EQ(last->content, "answer");
  EXPECT_FALSE(mailbox.Wait(3, 0));
}

}  // namespace
}  // namespace qrvml
