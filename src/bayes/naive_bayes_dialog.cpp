#include "bayes/naive_bayes_dialog.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>
#include <vector>

#include "bayes/naive_bayes_texts.h"
#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr SpecificationProfile kProfile = {
    .method = Method::naiveBayes,
    .interfaceName = "MachineLearningNB",
    .title = "Réseaux Bayésiens Naïfs ",
    .resultsStep = 106,
    .alwaysSplits = false,
    .percentageProperty = "SizeOfTrainingSample",
    .percentageRange = "Size of training sample must lay in the range 1-100",
    .unreadableSampling = 296,
    .firstCasesReserve = 0,
    .takesContinuousDependents = false,
};

using DistributionLists = std::array<std::vector<int>, kContinuousDistributions>;

/// The variables of a list member among `inputs`; empty: it names none of them.
std::vector<int> InputsOf(const ListMember& member, const std::vector<int>& inputs,
                          const DataFile& file) {
  std::vector<int> named;
  for (const int input : inputs) {
    const bool isNamed =
        member.kind == ListMember::Kind::name
            ? file.getvn5(input) == member.name
            : input >= member.number &&
                  input <= (member.kind == ListMember::Kind::range ? member.upper : member.number);
    if (isNamed) named.push_back(input);
  }
  return named;
}

}  // namespace

NaiveBayesDialog::NaiveBayesDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                                   NaiveBayesEngine& engine, std::int32_t dataMatrixLimit)
    : SpecificationDialog(analysis, data, kProfile),
      engine_(engine),
      dataMatrixLimit_(dataMatrixLimit) {
  data.rereadNeeded = true;
}

bool NaiveBayesDialog::OnOK() {
  if (!HasDependents()) {
    ChooseVariables();
    return false;
  }
  if (!(SampleVariableIsNoAnalysisVariable()        // 315
        && DrawSample()                             // 296, percentage text, 207, 104
        && ReadCasesIfNeeded()                      // 104, 116, 218 to 221
        && engine_.CheckDistributions()             // 200 to 203
        && ComputeDefaultPriors()                   // 104
        && ReadThreshold()                          // range text
        && engine_.ComputeNaiveBayesStatistics()))  // 104
    return false;
  ExitToResults();
  return true;
}

bool NaiveBayesDialog::OnCancel() {
  engine_.ResetNaiveBayesEngine();
  data().ReleaseCases();
  data().rereadNeeded = true;
  return SpecificationDialog::OnCancel();
}

void NaiveBayesDialog::VariablesChanged() {
  engine_.ResetNaiveBayesEngine();
  engine_.ResetPriorKinds();
  engine_.AssignDefaultDistributions();
}

bool NaiveBayesDialog::ReadCasesIfNeeded() {
  if (!data().rereadNeeded) return true;
  const double bytes = static_cast<double>(data().roles().all.size()) *
                       static_cast<double>(data().numberOfCases()) * sizeof(double);
  data().storeValues = bytes < dataMatrixLimit_;
  engine_.DataChanged();
  if (!ReadCases()) return false;
  data().rereadNeeded = false;
  return true;
}

bool NaiveBayesDialog::ComputeDefaultPriors() {
  std::vector<std::size_t> dependents(data().roles().dependents.size());
  std::iota(dependents.begin(), dependents.end(), std::size_t{0});
  return engine_.ComputeDefaultPriors(dependents);
}

bool NaiveBayesDialog::ReadThreshold() {
  double threshold = 0;
  if (!ReadField("Threshold", threshold) || IsLess(threshold, 0.0) || IsGreater(threshold, 1.0))
    return RefuseText(bayes::kThresholdRange);
  engine_.SetThreshold(threshold);
  return true;
}

bool NaiveBayesDialog::ChooseDistributions() {
  if (data().roles().continuousPredictors.empty()) {
    Explain("there is no continuous input whose distribution could be chosen");
    return false;
  }
  VariableListsRequest request;
  request.title = "Distributions des variables indépendantes :";
  for (std::size_t code = 0; code < kContinuousDistributions; ++code) {
    request.captions.emplace_back(bayes::kDistributionNames[code]);
    request.lists.push_back(engine_.distributionInputs[code]);
  }
  request.offered = data().roles().continuousPredictors;
  if (!analysis().services().dialogs->FourVarListsDialog(request)) return false;
  engine_.SetDistributionLists(request.lists);
  return true;
}

bool NaiveBayesDialog::SetDistributions(std::string_view text) {
  const auto refuse = [&](const std::string& what) {
    return RefuseText("InputDistributions \"" + std::string(text) + "\": " + what);
  };
  std::vector<std::vector<ListMember>> members;
  std::string error;
  if (!ParseListText(text, members, error)) return refuse(error);
  if (members.size() > kContinuousDistributions)
    return refuse("there are 4 lists: normal | lognormal | gamma | Poisson");
  const std::vector<int>& inputs = data().roles().continuousPredictors;
  const DataFile& file = *analysis().services().file;
  DistributionLists lists;
  std::vector<int> rest = inputs;
  std::size_t listOfRest = lists.size();
  for (std::size_t i = 0; i < members.size(); ++i) {
    for (const ListMember& member : members[i]) {
      if (member.kind == ListMember::Kind::none) continue;
      if (member.kind == ListMember::Kind::all) {
        listOfRest = i;
        continue;
      }
      const std::vector<int> named = InputsOf(member, inputs, file);
      if (named.empty())
        return refuse("column " + std::to_string(member.column) + " names no continuous input");
      lists[i].insert(lists[i].end(), named.begin(), named.end());
      std::erase_if(rest, [&](int input) { return std::ranges::count(named, input) > 0; });
    }
  }
  if (listOfRest < lists.size())
    lists[listOfRest].insert(lists[listOfRest].end(), rest.begin(), rest.end());
  engine_.SetDistributionLists(lists);
  return true;
}

std::string NaiveBayesDialog::DistributionsText() const {
  if (data().roles().continuousPredictors.empty()) return {};
  std::vector<std::vector<std::string>> lists(kContinuousDistributions);
  for (std::size_t code = 0; code < lists.size(); ++code) {
    for (const int variable : engine_.distributionInputs[code])
      lists[code].push_back(MemberText(analysis().services().file->getvn5(variable)));
  }
  return ListText(lists);
}

std::string NaiveBayesDialog::DistributionList() const {
  std::string text = "Indépendante\tType\tDistribution";
  for (std::size_t k = 0; k < data().roles().predictors.size(); ++k) {
    const Distribution distribution = engine_.DistributionOf(k);
    text += '\n' + VariableName(*analysis().services().file, data().roles().predictors[k]) + '\t';
    text += distribution == Distribution::discrete ? "Categoriel" : "Continu";
    text += '\t';
    text += bayes::NameOf(distribution);
  }
  return text;
}

}  // namespace qrvml
