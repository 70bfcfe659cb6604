#include "bayes/naive_bayes_deployment.h"

#include <algorithm>
#include <string>

#include "host/numerics.h"

namespace qrvml {
namespace {

// The names of the distributions of continuous inputs, by their number.
constexpr std::string_view kPmmlDistributions[] = {"normal", "lognormal", "gamma", "poisson"};

constexpr std::string_view kModelBegin =
    R"(<NaiveBayesModel modelName="QUORVANTIS Naive Bayes" naivebayes_type="classification" threshold=")";

constexpr std::string_view kContinuousInput =
    R"(			<ContinuousBayesInput fieldName="${name}">
				<Distribution distType="${distribution}">
				<TargetValues>
)";

constexpr std::string_view kContinuousInputEnd = R"(				</TargetValues>
				</Distribution>
			</ContinuousBayesInput>
)";

constexpr std::string_view kPairCounts =
    R"(			<PairCounts category="${category}" label="${code}">
				<TargetValueCounts>
)";

constexpr std::string_view kPairCountsEnd = R"(				</TargetValueCounts>
			</PairCounts>
)";

std::size_t MostTexts(std::span<const DeployedVariable> variables) {
  std::size_t most = 0;
  for (const DeployedVariable& variable : variables) most = std::max(most, variable.texts.size());
  return most;
}

void PutParameter(CodeWriter& out, std::string_view name, double value) {
  out.Put("\t\t\t\t<Parameter name=\"");
  out.Put(name);
  out.Put("\" value=\"");
  out.PutFixed(value);
  out.Put("\"/>\n");
}

}  // namespace

NaiveBayesCode::NaiveBayesCode(const DeployedVariables& variables, const AnalysisDataSet& data,
                               const NaiveBayesEngine& engine)
    : MethodCode(Method::naiveBayes), variables_(variables), data_(data), engine_(engine) {}

std::size_t NaiveBayesCode::MostClasses() const { return MostTexts(variables_.dependents); }

std::size_t NaiveBayesCode::MostCategories() const {
  return MostTexts(std::span(variables_.inputs).subspan(continuous()));
}

void NaiveBayesCode::ForEachClass(
    const std::function<void(std::size_t d, std::size_t c)>& visit) const {
  for (std::size_t d = 0; d < dependents(); ++d) {
    for (std::size_t c = 0; c < Classes(d); ++c) visit(d, c);
  }
}

double NaiveBayesCode::Frequency(std::size_t d, std::size_t c, std::size_t m, std::size_t v) const {
  const double cases = data_.InputCount(continuous() + m);
  return IsEqual(cases, 0.0) ? 0.0 : data_.classStatistics().pairCount(d, c, m, v) / cases;
}

double NaiveBayesCode::Variance(std::size_t d, std::size_t c, std::size_t k) const {
  return UsedVariance(data_, engine_.DistributionOf(k), d, c, k);
}

void NaiveBayesCode::PutTables(CodeWriter& out, const PutElement& put) const {
  const ClassStatistics& statistics = data_.classStatistics();
  ForEachClass([&](std::size_t d, std::size_t c) {
    for (std::size_t k = 0; k < continuous(); ++k)
      put("CondMean", {d, c, k}, statistics.condMean(d, c, k));
  });
  out.Put("\n");
  ForEachClass([&](std::size_t d, std::size_t c) {
    for (std::size_t k = 0; k < continuous(); ++k) put("CondStd", {d, c, k}, Variance(d, c, k));
  });
  out.Put("\n");
  ForEachClass([&](std::size_t d, std::size_t c) {
    for (std::size_t m = 0; m < categorical(); ++m) {
      for (std::size_t v = 0; v < Categories(m); ++v)
        put("CondFreq", {d, c, m, v}, Frequency(d, c, m, v));
    }
  });
  out.Put("\n");
}

void NaiveBayesCode::PmmlModel(CodeWriter& out, std::size_t dependent) {
  const ClassStatistics& statistics = data_.classStatistics();
  const auto& classes = variables_.dependents[dependent].texts;
  const std::string predicted = XMLEncode(variables_.dependents[dependent].name);

  out.Put(kModelBegin);
  out.PutFixed(engine_.threshold);
  out.Put("\">\n\t<MiningSchema>\n");
  out.Fill("\t\t<MiningField name=\"${name}\" usageType=\"predicted\"/>\n", {{"name", predicted}});
  for (const DeployedVariable& input : variables_.inputs)
    out.Fill("\t\t<MiningField name=\"${name}\"/>\n", {{"name", XMLEncode(input.name)}});
  out.Put("\t</MiningSchema>\n");

  out.Fill("\t\t<BayesOutput fieldName=\"${name}\">\n\t\t\t<TargetValueCounts>\n",
           {{"name", predicted}});
  for (std::size_t c = 0; c < classes.size(); ++c) {
    out.Fill("\t\t\t\t<TargetValueCount category=\"${text}\" value=\"${code}\" count=\"${n}\"/>\n",
             {{"text", XMLEncode(classes[c].text)},
              {"code", classes[c].code},
              {"n", statistics.classCount(dependent, c)}});
  }
  out.Put("\t\t\t</TargetValueCounts>\n\t\t</BayesOutput>\n");

  out.Put("\t\t<BayesInputs>\n\t\t\t<ContinuousBayesInputs>\n");
  for (std::size_t k = 0; k < continuous(); ++k) {
    const auto distribution = static_cast<std::size_t>(engine_.DistributionOf(k));
    out.Fill(kContinuousInput, {{"name", XMLEncode(variables_.inputs[k].name)},
                                {"distribution", kPmmlDistributions[distribution]}});
    for (std::size_t c = 0; c < classes.size(); ++c) {
      out.Fill("\t\t\t\t<TargetValue category=\"${text}\" label=\"${code}\">\n",
               {{"text", XMLEncode(classes[c].text)}, {"code", classes[c].code}});
      PutParameter(out, "mean", statistics.condMean(dependent, c, k));
      PutParameter(out, "std", statistics.condStd(dependent, c, k));
      out.Put("\t\t\t\t</TargetValue>\n");
    }
    out.Put(kContinuousInputEnd);
  }
  out.Put("\t\t\t</ContinuousBayesInputs>\n\t\t\t<CategoricalBayesInputs>\n");
  for (std::size_t m = 0; m < categorical(); ++m) {
    const DeployedVariable& input = variables_.inputs[continuous() + m];
    out.Fill("\t\t\t<CategoricalBayesInput fieldName=\"${name}\">\n",
             {{"name", XMLEncode(input.name)}});
    for (std::size_t v = 0; v < input.texts.size(); ++v) {
      out.Fill(kPairCounts,
               {{"category", XMLEncode(input.texts[v].text)}, {"code", input.texts[v].code}});
      for (std::size_t c = 0; c < classes.size(); ++c) {
        out.Fill("\t\t\t\t<TargetValueCount value=\"${code}\" count=\"${n}\"/>\n",
                 {{"code", classes[c].code}, {"n", statistics.pairCount(dependent, c, m, v)}});
      }
      out.Put(kPairCountsEnd);
    }
    out.Put("\t\t\t</CategoricalBayesInput>\n");
  }
  out.Put("\t\t\t</CategoricalBayesInputs>\n\t\t</BayesInputs>\n</NaiveBayesModel>\n");
}

}  // namespace qrvml
