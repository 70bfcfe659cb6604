// The analysis as its host sees it: steps, names, what a choice of kind and a new file reset.
#include <gtest/gtest.h>

#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TableFile Heights() {
  return TableFile("height  sex=Homme,Femme",
                   {"170 Homme", "172 Femme", "180 Homme", "165 Femme", "168 Femme"});
}

TEST(Lifecycle, ChoosingNeighboursOpensTheirDialogAndTrainingTheirResults) {
  AnalysisSession session(Heights());
  session.ChooseKnn();
  EXPECT_EQ(session.host.templateId, 3740);
  session.Put("Variables", "| sex | height |");
  session.Put("UseFirstNCases", 1);
  session.Put("NValue", 3);
  EXPECT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.templateId, 3759);
  EXPECT_TRUE(session.host.messages.empty());
}

}  // namespace
}  // namespace qrvml::test
