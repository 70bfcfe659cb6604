// The string table and the messages made from it.
#include "host/string_table.h"

#include <gtest/gtest.h>

#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TEST(StringTable, IsAscendingWithoutRepetitionSoThatEveryTextIsFound) {
  int previous = 0;
  for (const StringEntry& entry : StringTable()) {
    EXPECT_GT(entry.number, previous);
    EXPECT_FALSE(entry.text.empty()) << entry.number;
    EXPECT_EQ(GetResourceString(entry.number), entry.text);
    previous = entry.number;
  }
}

TEST(Messages, ShowTheirTextOnTheCurrentAnalysis) {
  AnalysisSession session(TableFile("x"));
  EXPECT_FALSE(Refuse(117));
  EXPECT_FALSE(Refuse(207, 150));
  EXPECT_FALSE(RefuseText("text"));
  session.host.boxAnswers = {BoxButton::ok};
  EXPECT_TRUE(Confirm(308));
  EXPECT_FALSE(Confirm(308));
  ASSERT_EQ(session.host.messages.size(), 5u);
  EXPECT_EQ(session.host.messages[0],
            (Message{117, "Sélectionnez au moins une variable indépendante"}));
  EXPECT_EQ(session.host.messages[1],
            (Message{207,
                     "La valeur des N premières obs. doit être supérieure à 1 et inférieure à "
                     "150."}));
  EXPECT_EQ(session.host.messages[2], (Message{0, "text"}));
}

}  // namespace
}  // namespace qrvml::test
