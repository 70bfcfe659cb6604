#include "support/case_reading.h"

#include <gtest/gtest.h>

#include "host/list_text.h"

namespace qrvml::test {

VariableRoles CaseReading::Roles(const TableFile& file, std::string_view text) {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  EXPECT_TRUE(ParseListText(text, lists, error)) << error;
  lists.resize(4);
  VariableRoles roles;
  std::vector<int>* const targets[] = {&roles.continuousDependents, &roles.categoricalDependents,
                                       &roles.continuousPredictors, &roles.categoricalPredictors};
  for (std::size_t i = 0; i < lists.size(); ++i) {
    for (const ListMember& member : lists[i]) {
      targets[i]->push_back(file.VariableNumber(member.name));
      EXPECT_NE(targets[i]->back(), 0) << "no variable " << member.name;
    }
  }
  return roles;
}

}  // namespace qrvml::test
