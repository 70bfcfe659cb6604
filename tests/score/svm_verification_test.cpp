// Generated texts of support vector machines are verified against the engine's own arrays: they
// pass as they are generated, and what is changed in them afterwards does not.
#include "host/numerics.h"
#include "score/checked_text.h"
#include "score/machine_verification.h"
#include "svm/trained_svm.h"

namespace qrvml::test {
namespace {

EngineField FieldOf(const DeployedVariable& variable) {
  EngineField field{variable.name, {}};
  for (const DeployedClass& code : variable.codes)
    field.labels.push_back({double(code.code), code.text, false});
  return field;
}

EngineMachine EngineOf(TrainedSvm& trained) {
  EngineMachine engine;
  const SVMModel& model = trained.model();
  const SVMParameters& p = model.parameters;
  for (const DeployedVariable& input : trained.variables.inputs) {
    engine.inputs.push_back(FieldOf(input));
    if (!input.isCategorical) engine.columns.push_back(input.name);
    for (const DeployedClass& code : input.codes)
      engine.columns.push_back(input.name + '_' + code.text);
  }
  engine.dependents = {FieldOf(trained.variables.dependents[0])};
  engine.classes = engine.dependents[0].ClassesByText();
  MachineValues& own = engine.own;
  own.type = p.svmType;
  own.kernel = p.kernelType;
  own.gamma = p.kernelType == 0 ? 0 : p.gamma;
  own.degree = p.kernelType == 1 ? p.degree : 0;
  own.coef0 = p.kernelType % 2 == 0 ? 0 : p.coef0;
  own.labels.assign(model.labels.begin(), model.labels.end());
  own.counts.assign(model.supportVectorsPerClass.begin(), model.supportVectorsPerClass.end());
  own.constants.assign(model.constants.begin(), model.constants.end());
  for (std::int32_t s = 0; s < model.supportVectorCount; ++s) {
    for (std::size_t d = 0; d < engine.columns.size(); ++d)
      own.vectors.push_back(model.supportVectors[std::size_t(s)].nodes[d].value);
    for (std::int32_t r = 0; r + 1 < model.classCount; ++r)
      own.coefficients.push_back(model.Coefficient(r, s));
  }
  if (p.svmType != 1) engine.capacity = FixedText(p.C, 6);
  if (p.svmType != 0) engine.nu = FixedText(p.nu, 6);
  engine.scalesInputs = trained.data().scaleInputs;
  engine.scalesOutput = trained.data().scaleOutputs && !own.Classifies();
  for (int number = 1; number <= kSvmTraining + kSvmTests; ++number) {
    const std::vector<double> inputs = trained.InputsOf(number);
    engine.usedInputs.insert(engine.usedInputs.end(), inputs.begin(), inputs.end());
    engine.usedOutputs.push_back(trained.file().cases[std::size_t(number - 1)].values[0]);
    if (number <= kSvmTraining) continue;
    engine.cases.push_back(number);
    engine.caseInputs.insert(engine.caseInputs.end(), inputs.begin(), inputs.end());
    EXPECT_TRUE(trained.engine.PredictSvmCase(number, 0));
    engine.predictions.push_back(trained.engine.predicted);
  }
  return engine;
}

std::string TextOf(TrainedSvm& trained, CodeDialect dialect) {
  return dialect == CodeDialect::c     ? trained.C()
         : dialect == CodeDialect::qvb ? trained.Qvb()
                                       : trained.Pmml();
}

TextCheck Check(TrainedSvm& trained, const EngineMachine& engine, CodeDialect dialect,
                const std::string& text) {
  std::string error;
  const auto model = OpenText(dialect, text, trained.file(), error);
  TextCheck failed;
  failed.faults = {error};
  return model == nullptr ? failed : CheckText(dialect, text, *model, engine, 0);
}

TEST(SvmVerification, TextsOfEveryKindOfModelPass) {
  const auto kinds = AllSvmKinds();
  std::size_t noted = 0;
  for (std::size_t m = 0; m < kinds.size(); ++m) {
    SCOPED_TRACE(kinds[m].Name());
    const auto trained = TrainedSvm::Of(kinds[m], 100 + m);
    const EngineMachine engine = EngineOf(*trained);
    for (const CodeDialect dialect : {CodeDialect::qvb, CodeDialect::pmml, CodeDialect::c}) {
      // A compiler takes its time: one program for each shape.
      if (dialect == CodeDialect::c && m % 8 != (m / 8) % 8) continue;
      const TextCheck check = Check(*trained, engine, dialect, TextOf(*trained, dialect));
      EXPECT_TRUE(check.Passed()) << Faults(check) << int(dialect);
      EXPECT_EQ(check.dependents.at(0).cases, kSvmTests);
      EXPECT_LE(check.dependents.at(0).tied, 1);
      noted += check.notes.size();
    }
  }
  EXPECT_GT(noted, 4u) << "ties of votes are meant to occur";
}

TEST(SvmVerification, TextsThatWereTamperedWithFail) {
  const struct {
    bool regression;
    CodeDialect dialect;
    const char *from, *to, *fault;  // what to replace behind the last character of `from`
  } rows[] = {
      {false, CodeDialect::qvb, "SVMType=", "1", "another type"},
      {false, CodeDialect::qvb, "KernelType=", "2", "another kernel"},
      {false, CodeDialect::qvb, "Gam=", "9", "its gamma is"},
      {false, CodeDialect::qvb, "Order=", "4", "its degree is"},
      {false, CodeDialect::qvb, "InputShift(1)=", "7", "scales \"x0\" otherwise"},
      {false, CodeDialect::qvb, "OutputNominals(1)=", "2", "classes of \"y\""},
      {false, CodeDialect::qvb, "ClassCodes(1)=", "2", "order of the model"},
      {false, CodeDialect::qvb, "InputNominals(2, 1)=", "8", "other columns"},
      {false, CodeDialect::qvb, "SupportVectors(3,1)=", "7", "1 of its support vectors"},
      {false, CodeDialect::qvb, "Coefficients(2,2)=", "7", "1 of its coefficients"},
      {false, CodeDialect::qvb, "Constants(3)=", "7", "1 of its constants"},
      {false, CodeDialect::pmml, "capacity=\"", "9", "its capacity is"},
      {false, CodeDialect::pmml, "noOfSV=\"", "9", "classes of another number"},
      {true, CodeDialect::pmml, "nu=\"", "9", "its nu is"},
      {true, CodeDialect::pmml, "coefficient=\"", "9", "its coefficient is"},
      {true, CodeDialect::qvb, "OutputScale=", "9", "scales \"y\" otherwise"},
      {true, CodeDialect::qvb, "Prediction = (sum ", "+", "the printed model predicts"},
      {true, CodeDialect::c, "outputShift = ", "9", "scales \"y\" otherwise"},
      {true, CodeDialect::c, "static double coefficient[]=\n{\n", "9", "its coefficients"},
  };
  // One at a time: the module knows one host, that of the analysis begun last.
  std::unique_ptr<TrainedSvm> analysis;
  bool regresses = true;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.from) + row.to);
    if (regresses != row.regression) {
      regresses = row.regression;
      analysis.reset();
      analysis = regresses ? TrainedSvm::Of({kSvmShapes[3], 4, 3}, 22)
                           : TrainedSvm::Of({kSvmShapes[1], 0, 1}, 21);
    }
    TrainedSvm& trained = *analysis;
    std::string text = TextOf(trained, row.dialect);
    const std::size_t place = text.find(row.from);
    ASSERT_NE(place, text.npos);
    const std::size_t first = place + std::string_view(row.from).size();
    text.replace(first, std::string_view(row.to).size(), row.to);
    const TextCheck check = Check(trained, EngineOf(trained), row.dialect, text);
    EXPECT_FALSE(check.Passed());
    EXPECT_NE(Faults(check).find(row.fault), std::string::npos) << Faults(check);
  }
}

TEST(SvmVerification, AnUndecidedPairMayFallToEitherClassAndATieToTheFirstLabel) {
  // Three classes with one vector each at x; the sums of the pairs are the constants, negated.
  const auto machine = [](std::vector<double> constants) {
    PrintedMachine model;
    model.continuousInputs = 1;
    model.shift = {0};
    model.scale = {1};
    model.classes = {{3, 1, 2}};
    model.own.labels = {3, 1, 2};
    model.own.counts = {1, 1, 1};
    model.own.vectors = {1, 2, 3};
    model.own.coefficients.assign(6, 0.0);
    model.own.constants = std::move(constants);
    PrintedPrediction prediction;
    model.Predict(std::vector<double>{5}, {&prediction, 1});
    return prediction;
  };
  // 3 beats 1, 2 beats 3, 1 beats 2: one vote each.
  const PrintedPrediction tie = machine({-1, 1, -1});
  EXPECT_EQ(tie.value, 3);
  EXPECT_TRUE(tie.isArbitrary);
  EXPECT_TRUE(tie.tied.empty());
  // 3 and 1 are undecided, both beat 2.
  const PrintedPrediction open = machine({0, -1, -1});
  EXPECT_EQ(open.value, 1) << "a sum of 0 is a vote for the second";
  EXPECT_EQ(open.tied, (std::vector<double>{1, 3}));
}

}  // namespace
}  // namespace qrvml::test
