// The frames of the generated texts with the parts of a made-up method: what differs between the
// methods, and what depends on the data.
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

TEST(CFrame, NamesTheMethodAndPutsItsPartsInOrder) {
  const struct {
    Method method;
    const char *name, *array;
  } rows[] = {{Method::knn, "KNN", "inputs"},
              {Method::naiveBayes, "Naive Bayes", "inputs"},
              {Method::svm, "SVM", "input"}};
  for (const auto& row : rows) {
    NamedParts parts(row.method);
    const std::string text = MakeCProgram(Variables(), parts), name = row.name, array = row.array;
    EXPECT_TRUE(Holds(text, "//  " + name + " module deployment code\n\n//  "));
    EXPECT_TRUE(Holds(text, "\n//  predictions: used to retrieve " + name + " predictions\n// \n"));
    EXPECT_TRUE(Holds(text, "#include <math.h>\n\n<model>\n<functions>\n/*---"));
    EXPECT_TRUE(Holds(text, "int main(void)\n{\n\n<initialisation>\n\tprintf(\"QUORVANTIS " + name +
                                " test harness program. Enter inputs below\");\n"));
    EXPECT_TRUE(Holds(text, "\tint i;\n\n<variables>\n\twhile (1)\n\t{\n"));
    EXPECT_TRUE(Holds(text, "\t\t\tscanf(\"%lg\", &" + array + "[i]);\n\t\t\tif(" + array +
                                "[i]==MISSINGCODE)\n"));
    EXPECT_TRUE(Holds(text, "\t\t}\n\n<prediction>\n\t\tprintf(\"Enter next input"));
    EXPECT_TRUE(text.ends_with("\t}\n\n\treturn 0;\n\n}"));
  }
}

TEST(CFrame, TellsOfTheDataAndCategoriesOnlyWhereThereAreSome) {
  DeployedVariables variables = Variables();
  NamedParts parts(Method::knn);
  std::string text = MakeCProgram(variables, parts);
  EXPECT_FALSE(Holds(text, "Data used in estimation"));
  EXPECT_TRUE(Holds(text, "//  Categorical variables: \n// \n//  Function arguments:\n"));
  EXPECT_TRUE(Holds(text, "analysis = 3\n"));
  EXPECT_TRUE(Holds(text, "//  Dependents: y, z\n//  \n//  Independents: a&b\n//  \n"));
  variables.fileName = "iris.csv";
  variables.inputs.push_back({"g", 4, true, {{"a", 2}, {"b", 1}}, {{"b", 1}, {"a", 2}}});
  text = MakeCProgram(variables, parts);
  EXPECT_TRUE(Holds(text, "code\n\n//  Data used in estimation: iris.csv\n//  "));
  EXPECT_TRUE(Holds(text, "//  Categorical variables: \n//  g: (b, 1), (a, 2)\n// \n"));
}

TEST(QvbFrame, NamesTheMethodAndPutsItsPartsInOrder) {
  const std::string banner = '\'' + std::string(66, '=') + '\n';
  const struct {
    Method method;
    const char *name, *output, *resize, *columns, *index;
  } rows[] = {
      {Method::knn, "KNN", "' Zephyr variables", "ReDim DataOut( Lower To Upper )", "", "i"},
      {Method::naiveBayes, "Naive Bayes", "'", "ReDim DataOut(Lower To Upper)",
       "\t\t'Docs.VariableName(1) = \"Cluster \"\n\t\t'Docs.VariableName(2) = \"Distance \"\n",
       "I"},
      {Method::svm, "Support Vector Machine", "'", "ReDim DataOut(Lower To Upper)",
       "\t\t'Docs.VariableName(1) = \"Cluster \"\n\t\t'Docs.VariableName(2) = \"Distance \"\n",
       "I"}};
  for (const auto& row : rows) {
    DeployedVariables variables = Variables();
    NamedParts parts(row.method);
    const std::string name = row.name, index = row.index;
    std::string text = MakeQvbScript(variables, parts);
    EXPECT_TRUE(
        text.starts_with("'#Uses \"*CommonProspectorInputErrorMessages.qvx\"\nOption Base "
                         "1\n\n" +
                         banner + "' " + name + " variables\n" + banner +
                         "<declarations>\nPrivate Sub SubsetNode( _\n"));
    EXPECT_TRUE(Holds(text, "\tDataOut() As InputDescriptor)\n\n" + banner + "' " + name +
                                " variable initialization\n" + banner + "<initialisation>\n" +
                                banner + "'Machine Learning " + name + " QVB deployment code\n" +
                                banner + "\n\n" + banner + "' 1. "));
    EXPECT_TRUE(Holds(text, banner + row.output + '\n' + banner + '\t' + row.resize + '\n'));
    EXPECT_TRUE(Holds(text, std::string("\t\tDocs.SetSize(NumberOfCases, 2)\n") + row.columns +
                                "\n\t\tFor j=1 To NumberOfCases\n"));
    EXPECT_TRUE(Holds(text, "CaseName(j)\n\n<case>\n\t\tNext j\n\n"));
    EXPECT_TRUE(Holds(text, "\t\t\tSet DataOut(" + index + ") = Inputdes\n\t\t\tDataOut(" + index +
                                ").SourceId = DataIn(i).Id\n"));
    EXPECT_TRUE(text.ends_with("End Function\n\n<functions>\n"));
    variables.fileName = "iris.csv";
    EXPECT_TRUE(Holds(MakeQvbScript(variables, parts),
                      "deployment code\n' Data used in estimation: iris.csv\n" + banner));
  }
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
