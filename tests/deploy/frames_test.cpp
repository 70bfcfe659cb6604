// The frames of the generated texts with the parts of a made-up method: what depends on the data.
// The sample texts of the methods have the rest, line by line.
#include <gtest/gtest.h>

#include <regex>

#include "deploy/method_code.h"

namespace qrvml::test {
namespace {

/// Writes the name of each part as a line.
class NamedParts final : public MethodCode {
 public:
  using MethodCode::MethodCode;
  void CModel(CodeWriter& out) override { out.Put("<model>\n"); }
  void CFunctions(CodeWriter& out) override { out.Put("<functions>\n"); }
  void CInitialisation(CodeWriter& out) override { out.Put("<initialisation>\n"); }
  void CHarnessVariables(CodeWriter& out) override { out.Put("<variables>\n"); }
  void CHarnessPrediction(CodeWriter& out) override { out.Put("<prediction>\n"); }
  void QvbDeclarations(CodeWriter& out) override { out.Put("<declarations>\n"); }
  void QvbInitialisation(CodeWriter& out) override { out.Put("<initialisation>\n"); }
  void QvbCase(CodeWriter& out) override { out.Put("<case>\n"); }
  void QvbFunctions(CodeWriter& out) override { out.Put("<functions>\n"); }
  void PmmlModel(CodeWriter& out, std::size_t dependent) override {
    out.Fill("<model of=\"${d}\"/>\n", {{"d", dependent}});
  }
};

DeployedVariables Variables() {
  DeployedVariables variables;
  variables.dependents = {{"y", 1, false, {}, {}}, {"z", 2, false, {}, {}}};
  variables.inputs = {{"a&b", 3, false, {}, {}}};
  return variables;
}

bool Holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

TEST(ProgramFrames, TellOfTheDataAndCategoriesOnlyWhereThereAreSome) {
  DeployedVariables variables = Variables();
  NamedParts parts(Method::knn);
  std::string text = MakeCProgram(variables, parts);
  EXPECT_FALSE(Holds(text, "Data used in estimation"));
  EXPECT_FALSE(Holds(MakeQvbScript(variables, parts), "Data used in estimation"));
  EXPECT_TRUE(Holds(text, "//  Categorical variables: \n// \n//  Function arguments:\n"));
  EXPECT_TRUE(Holds(text, "analysis = 3\n"));
  EXPECT_TRUE(Holds(text, "//  Dependents: y, z\n//  \n//  Independents: a&b\n//  \n"));
  variables.fileName = "iris.csv";
  variables.inputs.push_back({"g", 4, true, {{"a", 2}, {"b", 1}}, {{"b", 1}, {"a", 2}}});
  text = MakeCProgram(variables, parts);
  EXPECT_TRUE(Holds(MakeQvbScript(variables, parts),
                    "deployment code\n' Data used in estimation: iris.csv\n'==="));
  EXPECT_TRUE(Holds(text, "code\n\n//  Data used in estimation: iris.csv\n//  "));
  EXPECT_TRUE(Holds(text, "//  Categorical variables: \n//  g: (b, 1), (a, 2)\n// \n"));
}

TEST(PmmlFrame, HoldsOneDependentAndAllInputsOrNothingWithoutACharset) {
  DeployedVariables variables = Variables();
  variables.inputs.push_back({"g<", 4, true, {{"l'été", 2}, {"\"b\"", 1}}, {}});
  NamedParts parts(Method::knn);
  const std::string text = MakePmmlDocument(variables, parts, 1, "UTF-8");
  EXPECT_TRUE(std::regex_match(text, std::regex(R"x(<\?xml version="1\.0" encoding="UTF-8"\?>
<PMML version="2\.0">
<Header copyright="[^"]+"/>

<DataDictionary numberOfFields="3">
	<DataField name="z" optype="continuous"/>
	<DataField name="a&amp;b" optype="continuous"/>
	<DataField name="g&lt;" optype="categorical">
		<Category label="l&apos;été" value="2"/>
		<Category label="&quot;b&quot;" value="1"/>
</DataField>
</DataDictionary>
<model of="1"/>
</PMML>)x")))
      << text;
  EXPECT_EQ(MakePmmlDocument(variables, parts, 1, ""), "");
}

}  // namespace
}  // namespace qrvml::test
