// What was recorded is replayed: the documents are the same, byte for byte.
#include <map>
#include <set>

#include "system/program.h"

namespace qrvml::testing {
namespace {

class Macro : public ProgramTest {
 protected:
  /// Two dependents, two inputs and a categorical one; a sample column, weights, names, missing
  /// cells.
  std::string Data() const {
    std::string text = "id;z;y;a;b;g;s;w\n";
    const char* classes[] = {"fin, \"doux\"", "Âpre", "b c"};
    for (int i = 1; i <= 60; ++i) {
      const int c = i * 7 % 3;
      text += "cas " + std::to_string(i) + ';' + std::to_string(i % 9) + ",5;\"" +
              (c == 0 ? "fin, \"\"doux\"\"" : classes[c]) + "\";";
      text += i % 13 == 5 ? ";" : std::to_string(i * 31 % 17) + ";";
      text += std::to_string(c * 4 + i % 5) + ',' + std::to_string(i % 10) + ';';
      text += std::string(i % 2 == 0 ? "u" : "v") + ';' + (i / 2 % 3 == 0 ? "98" : "7") + ';' +
              std::to_string(i % 4) + '\n';
    }
    return Write("données.csv", text);
  }

  static std::map<std::string, std::string> Files(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder))
      files[entry.path().filename().string()] = Content(entry.path());
    return files;
  }

  /// Runs, records, replays and compares.
  void ExpectReplay(std::vector<std::string> arguments, const std::string& what) {
    const std::string macro = (root() / "macro.qvb").string();
    const std::vector<std::string> to = {"--format", "json,csv,svg,txt", "--overwrite", "--out"};
    for (const char* folder : {"recorded", "replayed"}) fs::remove_all(root() / folder);
    arguments.insert(arguments.end(), to.begin(), to.end());
    arguments.insert(arguments.end(), {(root() / "recorded").string(), "--record", macro});
    const Outcome recorded = Run(arguments);
    ASSERT_EQ(recorded.code, 0) << what << ": " << recorded.err;
    std::vector<std::string> replay = {"run", macro};
    replay.insert(replay.end(), to.begin(), to.end());
    replay.insert(replay.end(),
                  {(root() / "replayed").string(), "--record", (root() / "again.qvb").string()});
    const Outcome replayed = Run(replay);
    ASSERT_EQ(replayed.code, 0) << what << ": " << replayed.err << Content(macro);
    EXPECT_EQ(Files(root() / "recorded"), Files(root() / "replayed")) << what << Content(macro);
    EXPECT_GE(Files(root() / "recorded").size(), 2u);
    EXPECT_EQ(Content(macro), Content(root() / "again.qvb")) << what;
  }

  /// Names of a dialog's controls that can be used, from the program's own list.
  std::set<std::string> Controls(const std::string& command, const std::string& dialog) {
    std::istringstream lines(Run({command, "--help-controls"}).out);
    std::set<std::string> names;
    bool inDialog = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.find("dialog") != std::string::npos && line[0] != ' ') inDialog = line == dialog;
      if (!inDialog || line.find("shown text") != std::string::npos) continue;
      std::istringstream words(line);
      std::string name, kind;
      words >> name >> kind;
      if (line[0] == ' ' && name != "Name") names.insert(name);
    }
    return names;
  }

  // Controls that all methods have alike: what is set, and what else with it.
  static std::map<std::string, std::vector<std::string>> SharedSettings() {
    return {
        {"CasewiseDeletionOfMD", {"1"}},
        {"MeanSubstitutionOfMD", {"1"}},
        {"Variables", {"| y | 4-5 | g"}},
        {"ResponseCodes", {"\"fin, \"\"doux\"\"\" \"Âpre\""}},
        {"PredictorCodes", {"v u"}},
        {"UseRandomSampling", {"1"}},
        {"UseSubsetvariable", {"1", "--Sample.Variable", "s", "--Sample.Code", "7"}},
        {"UseFirstNCases", {"1", "--NValue", "40"}},
        {"SeedForRandomSampling", {"77"}},
        {"NValue", {"31", "--UseFirstNCases"}},
        {"Sample.Variable", {"s", "--Sample.Code", "98"}},
        {"Sample.Code", {"7", "--Sample.Variable", "s"}},
        {"Sample.Active", {"1", "--Sample.Variable", "s", "--Sample.Code", "7"}},
    };
  }
  static std::map<std::string, std::string> SharedSteps() {
    return {
        {"TestSubset", "Overall=1,TestSubset=1,DescriptiveStat"},
        {"Overall", "Overall=1,PrintPredictions"},
        {"Summary", "Summary"},
        {"Model", "Model"},
        {"DescriptiveStat", "DescriptiveStat"},
        {"IncludeInputs", "IncludeInputs=1,PrintPredictions"},
        {"IncludeConfidence", "IncludeConfidence=1,PrintPredictions"},
        {"PrintPredictions", "PrintPredictions"},
        {"Histograms", "IncludeOutputs=1,Histograms"},
        {"SelectedItemX", "SelectedItemX=2,PlotHistogramsOfX"},
        {"SelectedItemsY", "SelectedItemX=1,SelectedItemsY=\"2 4\",Plot2DGraphOfXAndY"},
        {"SelectedItemZ", "SelectedItemX=1,SelectedItemsY=2,SelectedItemZ=4,Plot3DGraphOfXYZ"},
        {"PlotHistogramsOfX", "SelectedItemX=1,PlotHistogramsOfX"},
        {"Plot2DGraphOfXAndY", "SelectedItemX=1,SelectedItemsY=2,Plot2DGraphOfXAndY"},
        {"Plot3DGraphOfXYZ", "SelectedItemX=1,SelectedItemsY=2,SelectedItemZ=5,Plot3DGraphOfXYZ"},
        {"IncludeCaseNames",
         "IncludeCaseNames=1,SelectedItemX=1,SelectedItemsY=2,Plot2DGraphOfXAndY"},
        {"PrintCustomPredictions", "CustomPredictions=\"3 4 v\",PrintCustomPredictions"},
    };
  }
};

TEST_F(Macro, EveryControlOfTheSpecificationDialogIsReplayed) {
  using Options = std::vector<std::string>;
  std::map<std::string, Options> settings = {
      {"SizeOfPrototypeSample", {"61.803398874989"}},
      {"KNearestNeighbors", {"5"}},
      {"Euclidean", {"1"}},
      {"SquaredEuclidean", {"1"}},
      {"CityBlock", {"1"}},
      {"Chebychev", {"1"}},
      {"StandardizeDistances", {"1"}},
      {"UseWeightedAverage", {"1"}},
      {"ApplyCrossV", {"1"}},
      {"VValue", {"4", "--ApplyCrossV"}},
      {"CrossVSeed", {"5", "--ApplyCrossV"}},
      {"MinimumK", {"3", "--ApplyCrossV"}},
      {"MaximumK", {"7", "--ApplyCrossV"}},
      {"DeltaK", {"2", "--ApplyCrossV"}},
      {"CodeForPrototypeSample", {"98", "--UseSubsetvariable", "--Sample.Variable", "s"}},
  };
  settings.merge(SharedSettings());
  std::set<std::string> walked = {"Sample", "SelectionConditions", "CaseWeights"};  // need a person
  const std::string data = Data();
  for (const auto& [name, options] : settings) {
    std::vector<std::string> arguments = {"knn", data, "--do",
                                          "Overall=1,Summary,DescriptiveStat,PrintPredictions"};
    if (name != "Variables") arguments.insert(arguments.end(), {"--variables", "|y|a b|g"});
    arguments.push_back("--" + name);
    arguments.insert(arguments.end(), options.begin(), options.end());
    ExpectReplay(arguments, name);
    walked.insert(name);
  }
  EXPECT_EQ(walked, Controls("knn", "Specification dialog"));
}

TEST_F(Macro, EveryControlOfTheResultsDialogIsReplayed) {
  const std::string target = (root() / "saved.csv").string();
  std::map<std::string, std::string> steps = {
      {"TrainSubset", "IncludeInputs=1,TrainSubset=1,PrintPredictions"},
      {"SavePredictionsAndResiduals",
       "IncludePredictions=1,ResultsSelection=*,ResultsVariables=\"a y\",ResultsSaveFileName=\"" +
           target + "\",SavePredictionsAndResiduals"},
      {"CrossVPlot", "CrossVPlot"},
      {"IncludeOutputs", "IncludeOutputs=0,IncludePredictions=1,PrintPredictions"},
      {"IncludePredictions", "IncludePredictions=1,PrintPredictions"},
      {"IncludeResiduals", "IncludeResiduals=1,PrintPredictions"},
      {"SelectOutputForPlotting", "SelectOutputForPlotting=2,SelectedItemX=1,PlotHistogramsOfX"},
      {"CustomPredictions", "CustomPredictions=\"1.5 -2 u\",PrintCustomPredictions"},
      {"CodeGenerator", "ResultsSelection=2,CodeGenerator"},
      {"CodeGeneratorCLang", "CodeGeneratorCLang"},
      {"CodeGeneratorQVB", "CodeGeneratorQVB"},
      {"CodeGeneratorPMML", "CodeGeneratorPMML"},
      {"Options.KNearestNeighbors", "Options.KNearestNeighbors=7,DescriptiveStat"},
      {"Options.Euclidean", "Options.CityBlock=1,Options.Euclidean=1,DescriptiveStat"},
      {"Options.SquaredEuclidean", "Options.SquaredEuclidean=1,DescriptiveStat"},
      {"Options.CityBlock", "Options.CityBlock=1,DescriptiveStat"},
      {"Options.Chebychev", "Options.Chebychev=1,DescriptiveStat"},
      {"Options.StandardizeDistances", "Options.StandardizeDistances=1,DescriptiveStat"},
      {"Options.UseWeightedAverage", "Options.UseWeightedAverage=1,DescriptiveStat"},
  };
  steps.merge(SharedSteps());
  std::set<std::string> walked;
  const std::string data = Data();
  for (const auto& [name, step] : steps) {
    const bool regression = name == "IncludeResiduals" || name == "SelectOutputForPlotting";
    ExpectReplay({"knn", data, "--variables", regression ? "z b||a|g" : "|y|a b|g", "--ApplyCrossV",
                  "--MaximumK", "5", "--case-names", "id", "--do", step},
                 name);
    walked.insert(name);
  }
  EXPECT_EQ(walked, Controls("knn", "Results dialog"));
}

TEST_F(Macro, EveryControlOfNaiveBayesIsReplayed) {
  using Options = std::vector<std::string>;
  std::map<std::string, Options> settings = {
      {"UseMissingCasesIfPossible", {"1"}},          {"ApplySampling", {"0"}},
      {"SizeOfTrainingSample", {"61.803398874989"}}, {"Threshold", {"0.25"}},
      {"InputDistributions", {"a | | b |"}},
  };
  settings.merge(SharedSettings());
  const std::string target = (root() / "saved.csv").string();
  std::map<std::string, std::string> steps = {
      {"TrainSubset", "TrainSubset=1,PrintPredictions"},
      {"SavePredictionsAndResiduals",
       "ResultsSelection=*,ResultsVariables=\"a y\",ResultsSaveFileName=\"" + target +
           "\",SavePredictionsAndResiduals,Summary"},
      {"IncludeOutputs", "IncludeOutputs=1,PrintPredictions"},
      {"IncludePredictions", "IncludePredictions=0,IncludeOutputs=1,PrintPredictions"},
      {"IncludeResiduals", "IncludeResiduals=0,PrintPredictions"},
      {"SelectOutputForPlotting", "SelectOutputForPlotting=1,SelectedItemX=1,PlotHistogramsOfX"},
      {"SelectedOutputForPriorAssignment", "SelectedOutputForPriorAssignment=2,DescriptiveStat"},
      {"UseDefaultPrior", "UseEqualPrior=1,UseDefaultPrior=1,DescriptiveStat"},
      {"UseEqualPrior", "UseEqualPrior=1,DescriptiveStat"},
      {"UseCustomPrior",
       "UseCustomPrior=1,ResultsValues=\"0.2 0.3 0.5\",press:Priors.Select,DescriptiveStat"},
      {"Priors.Select",
       "UseCustomPrior=1,ResultsValues=\"0.5 0.3 0.2\",press:Priors.Select,DescriptiveStat"},
      {"Priors.DescriptiveStat", "UseEqualPrior=1,press:Priors.DescriptiveStat"},
      {"Priors.PrintPredictions", "UseEqualPrior=1,press:Priors.PrintPredictions"},
      {"Main.Summary", "press:Main.Summary"},
      {"Threshold", "Threshold=0.125,DescriptiveStat"},
      {"CustomPredictions", "CustomPredictions=\"1.5 2 u\",PrintCustomPredictions"},
      {"OutputForPosteriorPlot", "OutputForPosteriorPlot=2,PosteriorSpreadsheet"},
      {"InputForPosteriorPlot", "InputForPosteriorPlot=2,PosteriorSpreadsheet"},
      {"MinimumRange", "InputForPosteriorPlot=1,MinimumRange=2,PosteriorSpreadsheet"},
      {"MaximumRange", "InputForPosteriorPlot=1,MaximumRange=12,PosteriorSpreadsheet"},
      {"FixedIndependents", "FixedIndependents=\"3 4 v\",PosteriorSpreadsheet"},
      {"PosteriorSpreadsheet", "PosteriorSpreadsheet"},
      {"PosteriorPlot", "PosteriorPlot"},
      {"CodeGenerator", "ResultsSelection=\"1 2\",CodeGenerator"},
      {"CodeGeneratorCLang", "Threshold=1,DescriptiveStat,CodeGeneratorCLang"},
      {"CodeGeneratorQVB", "UseEqualPrior=1,CodeGeneratorQVB"},
      {"CodeGeneratorPMML", "CodeGeneratorPMML"},
  };
  steps.merge(SharedSteps());
  const std::string data = Data();
  const Options base = {"nb", data, "--variables", "|y|a b|g", "--case-names", "id"};
  std::set<std::string> walked = {"Sample", "SelectionConditions", "CaseWeights"};  // need a person
  for (const auto& [name, options] : settings) {
    Options arguments = {"nb", data, "--do", "Summary,Model,PrintPredictions"};
    if (name != "Variables") arguments.insert(arguments.end(), {"--variables", "|y|a b|g"});
    arguments.push_back("--" + name);
    arguments.insert(arguments.end(), options.begin(), options.end());
    ExpectReplay(arguments, name);
    walked.insert(name);
  }
  EXPECT_EQ(walked, Controls("nb", "Specification dialog"));
  walked = {"CrossVPlot"};  // fails always
  for (const auto& [name, step] : steps) {
    const bool chooses = name == "SelectedOutputForPriorAssignment" ||
                         name == "OutputForPosteriorPlot";  // of several dependents
    Options arguments = base;
    if (chooses) arguments[3] = "|y g|a b|";
    arguments.insert(arguments.end(), {"--do", step});
    ExpectReplay(arguments, name);
    walked.insert(name);
  }
  EXPECT_EQ(walked, Controls("nb", "Results dialog"));
}

TEST_F(Macro, EveryControlOfSupportVectorsIsReplayed) {
  using Options = std::vector<std::string>;
  const std::string classes = "|y|a b|g", values = "z||a b|g";
  const std::string target = (root() / "saved.csv").string();
  // Settings that go together share a run.
  const Options settings[] = {
      {classes, "--CasewiseDeletionOfMD", "--ResponseCodes", "\"fin, \"\"doux\"\"\" \"Âpre\"",
       "--ApplySampling", "0", "--ClassType1", "--LinearKernel", "--CParameter", "2.5"},
      {classes, "--MeanSubstitutionOfMD", "--PredictorCodes", "v u", "--UseRandomSampling",
       "--SizeOfTrainingSample", "61.803398874989", "--SeedForRandomSampling", "77", "--ClassType2",
       "--PolyKernel", "--NuParameter", "0.25", "--Degree", "2", "--Gam", "0.125", "--Bias", "1.5"},
      {values, "--UseFirstNCases", "--NValue", "31", "--RegressionType1", "--RBFKernel",
       "--EpsilonParameter", "0.01", "--ScaleInputs", "--ScaleOutputs", "--Learning.InputLow",
       "-0.5", "--Learning.InputHigh", "0.75", "--Learning.OutputLow", "0", "--Learning.OutputHigh",
       "0.5"},
      {values, "--UseSubsetvariable", "--Sample.Variable", "s", "--Sample.Code", "7",
       "--Sample.Active", "1", "--RegressionType2", "--SigmoidKernel", "--MaxNoOfIterations", "90",
       "--StoppingAccuracy", "0.01", "--CacheSize", "1", "--ShrinkData", "0"},
      {values,
       "--UseSubsetvariable",
       "--AnalysisAndCrossValidationSamples",
       "s",
       "--CodeForLearningSample",
       "98",
       "--UseCrossvalidationSample",
       "1",
       "--ApplyCrossV",
       "--VValue",
       "3",
       "--CrossVSeed",
       "5",
       "--MinimumC",
       "2",
       "--MaximumC",
       "4",
       "--DeltaC",
       "2",
       "--MinimumEpsilon",
       "0.2",
       "--MaximumEpsilon",
       "0.4",
       "--DeltaEpsilon",
       "0.1",
       "--MinimumNu",
       "0.2",
       "--MaximumNu",
       "0.4",
       "--DeltaNu",
       "0.1"},
      {classes, "--UsePenalty", "--PenaltyList", "1 2.50 3"},
  };
  const std::string data = Data();
  std::set<std::string> walked = {"Variables", "Sample", "SelectionConditions", "CaseWeights"};
  for (const Options& options : settings) {
    Options arguments = {"svm", data, "--do", "Summary,Model,PrintPredictions", "--variables"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ExpectReplay(arguments, options[1]);
    for (const std::string& word : options)
      if (word.starts_with("--")) walked.insert(word.substr(2));
  }
  EXPECT_EQ(walked, Controls("svm", "Specification dialog"));

  std::map<std::string, std::string> steps = {
      {"TrainSubset", "TrainSubset=1,PrintPredictions"},
      {"SavePredictionsAndResiduals",
       "ResultsSelection=*,ResultsVariables=\"a y\","
       "ResultsSaveFileName=\"" +
           target + "\",SavePredictionsAndResiduals,Summary"},
      {"IncludeOutputs", "IncludeOutputs=1,PrintPredictions"},
      {"IncludePredictions", "IncludePredictions=0,IncludeOutputs=1,PrintPredictions"},
      {"IncludeResiduals", "IncludeResiduals=0,PrintPredictions"},
      {"CustomPredictions", "CustomPredictions=\"1.5 2 u\",PrintCustomPredictions"},
      {"CodeGenerator", "ResultsSelection=2,CodeGenerator"},
      {"CodeGeneratorCLang", "CodeGeneratorCLang"},
      {"CodeGeneratorQVB", "CodeGeneratorQVB"},
      {"CodeGeneratorPMML", "CodeGeneratorPMML"},
      {"ClassPenalty", "ClassPenalty"},
  };
  steps.merge(SharedSteps());
  walked = {"CrossVPlot", "SelectOutputForPlotting"};  // fail always
  for (const auto& [name, step] : steps) {
    ExpectReplay({"svm", data, "--variables", classes, "--UsePenalty", "--PenaltyList", "1 2 3",
                  "--case-names", "id", "--do", step},
                 name);
    walked.insert(name);
  }
  EXPECT_EQ(walked, Controls("svm", "Results dialog"));
}

TEST_F(Macro, TheFileIsOpenedAsItWasAndAnotherOneCanTakeItsPlace) {
  const std::string data = Data();
  ExpectReplay({"knn",          data,
                "--variables",  "|y|a b|g",
                "--delimiter",  ";",
                "--decimal",    ",",
                "--encoding",   "utf-8",
                "--missing",    "y=b c",
                "--missing",    "a=3",
                "--weight",     "w",
                "--select",     "b > 0.5 and a < 15",
                "--case-names", "id",
                "--do",         "Overall=1,IncludeOutputs=1,PrintPredictions,DescriptiveStat"},
               "opening");
  const std::string macro = Content(root() / "macro.qvb");
  EXPECT_NE(macro.find(".AddMissing \"y=b c\"\n\t\t.AddMissing \"a=3\""), std::string::npos);
  const std::string other = Write("other.csv", Content(data) + "cas 61;1,5;Âpre;3;9,5;u;7;2\n");
  const Outcome replay =
      Run({"run", (root() / "macro.qvb").string(), other, "--out", (root() / "other").string()});
  ASSERT_EQ(replay.code, 0) << replay.err;
  const auto report = nlohmann::json::parse(Content(root() / "other" / "documents.json"));
  EXPECT_EQ(report["analysis"]["file"], "other.csv");
  EXPECT_EQ(report["analysis"]["cases"], 61);
}

TEST_F(Macro, AFaultNamesTheMacroItsLineAndTheReasonAndLeavesWhatWasDone) {
  struct Fault {
    const char* line;
    const char* reason;
  };
  const Fault faults[] = {
      {".KNearestNeighbours = 3", "knearestneighbours`"},
      {".KNearestNeighbors = \"many\"", "takes a number"},
      {".KNearestNeighbors = Nothing", "number or a text"},
      {".SetControl \"Nowhere\", 1", "Nowhere"},
      {".Variables = \"| nobody | a |\"", "nobody"},
      {".KNearestNeighbors = 0\n\tEnd With\n\tAnalysis.Run\n\tWith Analysis.Dialog",
       "nearest neighbors"},
      {".OK\n\t.Euclidean = 1", "closed"},
      {"Application.DataFile.Delimiter = \",\"", "before the data file is opened"},
      {"Application.DataFile.Weight = \"y\"", "cannot be a case weight"},
      {".OK\n\tApplication.DataFile.Weight = \"w\"", "go back to the settings"},
      {"1 / 0", ""},
  };
  for (const Fault& fault : faults) {
    const std::string macro = Write(
        "m.qvb", "Sub Main\n\tApplication.DataFile.Open \"" + Data() +
                     "\"\n\tDim Analysis As Object\n\tSet Analysis = "
                     "Application.Analysis(scMachineLearning)\n\tAnalysis.Dialog.TypeOfAnalysis"
                     " = scMLKNN\n\tAnalysis.Run\n\tWith Analysis.Dialog\n\t.Variables = \"| y "
                     "| a b |\"\n\t" +
                     fault.line + "\n\tEnd With\nEnd Sub\n");
    const Outcome outcome = Run({"run", macro});
    EXPECT_EQ(outcome.code, 1) << fault.line;
    EXPECT_NE(outcome.err.find("m.qvb, line "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(fault.reason), std::string::npos) << fault.line << outcome.err;
  }

  const std::string late = Write(
      "late.qvb", "Sub Main\nApplication.DataFile.Open \"" + Data() +
                      "\"\nSet A = Application.Analysis(scMachineLearning)\n"
                      "A.Dialog.TypeOfAnalysis = scMLKNN\nA.Run\nA.Dialog.Variables = \"| y | a b "
                      "|\"\nA.Run\nA.Dialog.DescriptiveStat\nA.Dialog.CrossVPlot\nEnd Sub\n");
  const Outcome outcome = Run({"run", late, "--out", Out().string(), "--format", "txt"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("late.qvb, line 9: CrossVPlot is disabled"), std::string::npos)
      << outcome.err;
  const auto files = Files(Out());
  EXPECT_EQ(files.count("001-results.txt"), 1u);
  EXPECT_EQ(files.count("documents.json"), 1u);
  EXPECT_GE(files.size(), 4u);
}

TEST_F(Macro, OneThatNeverEndsIsStopped) {
  const std::string macro = Write("m.qvb", "Sub Main\nDo\nLoop\nEnd Sub\n");
  const Outcome limited = Run({"run", macro, "--step-limit", "100000"});
  EXPECT_EQ(limited.code, 1);
  EXPECT_NE(limited.err.find("m.qvb, line "), std::string::npos) << limited.err;
  const pid_t child = Start({"run", macro});
  usleep(300000);
  kill(child, SIGINT);
  EXPECT_EQ(Wait(child).code, 3);
}

TEST_F(Macro, WhatItCannotReachIsNotThere) {
  for (const char* line : {"Shell \"true\"", "Open \"x\" For Output As #1", "Kill \"x\"",
                           "Set A = CreateObject(\"WScript.Shell\")"}) {
    const std::string macro = Write("m.qvb", std::string("Sub Main\n") + line + "\nEnd Sub\n");
    const Outcome outcome = Run({"run", macro});
    EXPECT_EQ(outcome.code, 1) << line << outcome.out;
    EXPECT_NE(outcome.err.find("m.qvb, line 2"), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace qrvml::testing
