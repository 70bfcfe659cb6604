// The generated texts of support vector machines: whole texts beside committed samples, and what
// the samples do not show.
#include "deploy/sample_text.h"
#include "host/string_table.h"
#include "svm/svm_analysis.h"
#include "svm/trained_svm.h"

namespace qrvml::test {
namespace {

bool Holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

/// Class codes ascend against their texts; the first class that appears is neither the first code
/// nor the first text. Names hold what XML and comments must survive.
TrainedSvm Patients() {
  return {TableFile("Âge  taux<5  groupe=5:A&B,2:\"O\"  fumeur=1:oui,2:non,4:ex  "
                    "état=1:sain,3:à_suivre,2:bénin",
                    {"31   0.25  A&B    oui  bénin",     //
                     "45   1.5   \"O\"  non  à_suivre",  //
                     "58.5 -2    A&B    non  sain",      //
                     "27   0.5   \"O\"  ex   bénin",     //
                     "40   1     A&B    oui  sain",      //
                     "62   1.25  \"O\"  non  à_suivre"}),
          "| état | Âge taux<5 | groupe fumeur", 0, [](SVMEngine& engine, AnalysisDataSet& data) {
            engine.parameters.C = 2;
            data.scaleInputs = true;
          }};
}

TEST(SvmDeployment, TextsOfAClassificationAreTheSamples) {
  TrainedSvm trained = Patients();
  IsSample(trained.C(), "svm_classification.c");
  IsSample(trained.Qvb(), "svm_classification.qvb");
  IsSample(trained.Pmml(), "svm_classification.pmml");
}

TEST(SvmDeployment, TextsOfARegressionAreTheSamples) {
  TrainedSvm trained(
      TableFile("x z taille *weight", {"1 1e-7 170 1", "2 3 180.25 2", "4.123456789 2e2 160 0.4",
                                       "3 5 150 1", "2 1 175 1"}),
      "taille | | x z |", 0, [](SVMEngine& engine, AnalysisDataSet& data) {
        engine.parameters.kernelType = kPolynomialKernel;
        engine.parameters.coef0 = 1;
        data.scaleInputs = data.scaleOutputs = true;
      });
  IsSample(trained.C(), "svm_regression.c");
  IsSample(trained.Qvb(), "svm_regression.qvb");
  IsSample(trained.Pmml(), "svm_regression.pmml");
}

TEST(SvmDeployment, TypesAndKernelsHaveTheirParameters) {
  constexpr const char* kTypes[] = {"\"C_SVC\" capacity=\"1.500000\">",
                                    "\"NU_SVC\" nu=\"0.300000\">", "",
                                    "\"NU_SVR\" capacity=\"1.500000\" nu=\"0.300000\">",
                                    "\"NU_SVR\" capacity=\"1.500000\" nu=\"0.300000\">"};
  constexpr const char* kKernels[] = {
      "\"linear\" />",
      "\"polynomial\" degree=\"3.000000\" gamma=\"0.700000\" coefficient=\"0.250000\"/>",
      "\"rbf\" gamma=\"0.700000\"/>", "\"sigmoid\" gamma=\"0.700000\" coefficient=\"0.250000\"/>"};
  constexpr const char* kValues[] = {
      "double coef0 = 0;\ndouble gamma = 0;\ndouble order = 0;\n",
      "double coef0 = 0.25;\ndouble gamma = 0.7;\ndouble order = 3;\n",
      "double coef0 = 0;\ndouble gamma = 0.7;\ndouble order = 0;\n",
      "double coef0 = 0.25;\ndouble gamma = 0.7;\ndouble order = 0;\n"};
  for (const SvmKind& kind : AllSvmKinds()) {
    if (kind.shape.categorical != 0) continue;
    SCOPED_TRACE(kind.Name());
    const auto trained = TrainedSvm::Of(kind, 7);
    EXPECT_TRUE(Holds(trained->Pmml(),
                      "<SupportVectorMachineModel modelName=\"QUORVANTIS Support Vector Machine\" "
                      "svm_type=\n" +
                          std::string(kTypes[kind.type]) +
                          "\n\t<KernelType type=" + kKernels[kind.kernel] + "\n\t<SVMSchema>\n"));
    const std::string c = trained->C();
    EXPECT_TRUE(Holds(c, "int type = " + std::to_string(kind.type) + ";\nint ktype = " +
                             std::to_string(kind.kernel) + ";\n" + kValues[kind.kernel]));
    EXPECT_TRUE(Holds(trained->Qvb(), "SVMType=" + std::to_string(kind.type) + "\nKernelType=" +
                                          std::to_string(kind.kernel) + "\nGam="));
  }
}

TEST(SvmDeployment, TheHeaderSaysWhatTheProgramScales) {
  const TableFile table("x y", {"1 10", "2 30", "3 20", "4 50"});
  struct {
    bool inputs, output;
    const char *note, *list, *result;
  } const rows[] = {
      {false, false, "-lm\n//  \n", "constants[]=\n{\n", "return sum;"},
      {true, false, "-lm; continuous inputs are scaled here\n//  \n", "shift[]=\n{\n",
       "return sum;"},
      {false, true, "-lm; the result is unscaled here\n//  \n", "double outputShift = -1.5;\n",
       "return (sum - outputShift)/outputScale;"},
      {true, true, "-lm; continuous inputs are scaled and the result is unscaled here\n//  \n",
       "scale[]=\n{\n0.333333\n};\n\ndouble outputShift",
       "return (sum - outputShift)/outputScale;"}};
  for (const auto& row : rows) {
    TrainedSvm trained(table, "y | | x |", 0, [&](SVMEngine&, AnalysisDataSet& data) {
      data.scaleInputs = row.inputs;
      data.scaleOutputs = row.output;
    });
    const std::string text = trained.C();
    for (const char* part : {row.note, row.list, row.result})
      EXPECT_TRUE(Holds(text, part)) << part;
    EXPECT_EQ(Holds(text, "shift[i]"), row.inputs);
    EXPECT_EQ(Holds(text, "outputShift"), row.output);
  }
}

TEST(SvmDeployment, EmptyListsHoldAZero) {
  // Of two chosen classes one has no case: no support vector, no coefficient, no constant.
  TrainedSvm trained(TableFile("x c", {"1 4", "2 4"}), "| c | x |", 0,
                     [](SVMEngine&, AnalysisDataSet& data) {
                       data.FixDependentCategories(std::vector<std::vector<double>>{{4, 7}});
                     });
  const std::string text = trained.C();
  for (const char* head : {"double NoInputNominals", "double InputNominals", "double SV",
                           "double coefficient", "double constants"})
    EXPECT_TRUE(Holds(text, "static " + std::string(head) + "[]=\n{\n0\n};\n\n")) << head;
  EXPECT_TRUE(Holds(text, "static int label[]=\n{\n4\n};\n\n"));
  EXPECT_TRUE(
      Holds(trained.Pmml(),
            "<SVMField name=\"c\" optype=\"categorical\" shift=\"0.000000\" "
            "scale=\"1.000000\" >\n\t\t\t<Category label=\"4\" value=\"4\"/>\n\t\t</SVMField>"));
}

TEST(SvmDeployment, GoesToTextDocumentsOfTheFirstDependent) {
  SvmAnalysis svm(TableFile("y z x", {"1 5 2", "2 4 3", "4 3 5", "3 1 4"}), "y z | | x |", 0);
  svm.OpenResults();
  for (const char* action : {"CodeGeneratorCLang", "CodeGeneratorQVB", "CodeGeneratorPMML"})
    EXPECT_TRUE(svm.session().Press(action).Succeeded()) << action;
  const std::pair<int, std::string> expected[] = {
      {2, "SVM C/C++ deployment code"},
      {1, "QUORVANTIS Support Vector Machine QVB deployment code"},
      {2, "Support vector machine PMML deployment code for y"}};
  const auto& documents = svm.host().textDocuments;
  ASSERT_EQ(documents.size(), std::size(expected));
  for (std::size_t d = 0; d < std::size(expected); ++d) {
    EXPECT_EQ(documents[d].mode, expected[d].first);
    EXPECT_EQ(documents[d].title, expected[d].second);
    EXPECT_FALSE(Holds(documents[d].text, "\"z\"") || Holds(documents[d].text, ", z"));
  }
  svm.host().cancelAtPoll = svm.host().polls + 1;
  EXPECT_FALSE(svm.session().Press("CodeGeneratorCLang").Succeeded());
  EXPECT_EQ(svm.host().messages, std::vector<Message>{});
  EXPECT_EQ(documents.size(), std::size(expected));
}

TEST(SvmDeployment, WritingEndsWhenItIsCancelled) {
  TrainedSvm trained = Patients();
  ScriptedHost& host = trained.reading.session.host;
  for (int kind = 0; kind < 3; ++kind) {
    host.cancelAtPoll = host.polls + 1;
    const auto write = [&] {
      kind == 0 ? trained.C() : kind == 1 ? trained.Qvb() : trained.Pmml();
    };
    EXPECT_THROW(write(), Cancelled);
    host.cancelAtPoll = 0;
  }
}

}  // namespace
}  // namespace qrvml::test
