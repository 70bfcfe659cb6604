#include "knn/knn_deployment.h"

#include "host/analysis_support.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

// The names of the distance measures, by Metric.
constexpr std::string_view kPmmlMetrics[] = {"euclidean", "euclideansqd", "cityblock", "chebychev"};

constexpr std::string_view kModelBegin =
    R"(<KNearestNeighborModel modelName="QUORVANTIS K-Nearest Neighbor" knn_type="${type}" noOfNearestNeighbors="${k}" metric="${metric}" weighted="${weighted}">
	<KNNSchema>
		<KNNField name="${dependent}" usageType="predicted">
)";

constexpr std::string_view kSchemaEnd = R"(	</KNNSchema>
<KNearestNeighborExamples noOfExamples="${prototypes}">
)";

constexpr std::string_view kModelEnd = R"(</KNearestNeighborExamples>
</KNearestNeighborModel>
)";

// Fields follow each other without a line end where one has categories.
constexpr std::string_view kFieldEnd = "\t\t</KNNField>";
constexpr std::string_view kFieldCategories = "\t\t\t";

/// `<AttributeInstance name="…" value="` of a variable, made once for all prototypes.
std::string InstanceOf(const DeployedVariable& variable) {
  return "<AttributeInstance name=\"" + XMLEncode(variable.name) + "\" value=\"";
}

void PutInstance(CodeWriter& out, std::string_view begin, double value) {
  out.Put(begin);
  out.PutFixed(value);
  out.Put("\"/>\n");
}

}  // namespace

KnnCode::KnnCode(const DeployedVariables& variables, const AnalysisDataSet& data, KNNEngine& engine)
    : MethodCode(Method::knn), variables_(variables), data_(data), engine_(engine) {}

void KnnCode::ForEachPrototype(const PrototypeVisitor& visit) {
  constexpr std::size_t kBetweenPolls = 1024;
  ProgressServices& progress = *CAnalysisContext::Current()->services().progress;
  const std::size_t continuous = variables_.ContinuousDependents();
  for (std::size_t p = 0; p < prototypes(); ++p) {
    if (p % kBetweenPolls == 0 && progress.pcancel() != 0) throw Cancelled();
    if (!engine_.LoadCase(Sample::training, static_cast<std::int32_t>(p), KNNEngine::Load::both,
                          false))
      throw Cancelled();
    const std::span<double> dependents = engine_.currentDependents;
    for (std::size_t d = continuous; d < dependents.size(); ++d) {
      const CategoryTable& categories = data_.dependentCategories(d - continuous);
      const int index = categories.ClassIndex(TruncateToCode(dependents[d]));
      dependents[d] =
          static_cast<double>(categories.classes()[static_cast<std::size_t>(index)].code);
    }
    visit(p + 1, dependents, engine_.currentInputs);
  }
}

void KnnCode::PutValue(CodeWriter& out, const DeployedVariable& variable, double value) {
  if (variable.isCategorical) {
    out.PutInteger(TruncateToCode(value));
  } else {
    out.PutGeneral(value);
  }
}

void KnnCode::PmmlModel(CodeWriter& out, std::size_t dependent) {
  const DeployedVariable& predicted = variables_.dependents[dependent];
  out.Fill(kModelBegin,
           {{"type", variables_.ContinuousDependents() == 0 ? "Calssification" : "Regression"},
            {"k", engine_.k},
            {"metric", kPmmlMetrics[static_cast<int>(engine_.metric)]},
            {"weighted", engine_.weighted ? "yes" : "no"},
            {"dependent", XMLEncode(predicted.name)}});
  PutCategories(out, predicted, kFieldCategories, "");
  out.Put(kFieldEnd);
  for (std::size_t i = 0; i < variables_.inputs.size(); ++i) {
    const DeployedVariable& input = variables_.inputs[i];
    out.Put("\t\t<KNNField name=\"" + XMLEncode(input.name) + "\" shift=\"");
    out.PutFixed(shifts()[i]);
    out.Put("\" scale=\"");
    out.PutFixed(scales()[i]);
    out.Put(input.isCategorical ? "\" >\n" : "\" />\n");
    if (!input.isCategorical) continue;
    PutCategories(out, input, kFieldCategories, "");
    out.Put(kFieldEnd);
  }
  out.Fill(kSchemaEnd, {{"prototypes", prototypes()}});

  const std::string predictedInstance = InstanceOf(predicted);
  std::vector<std::string> inputInstances;
  inputInstances.reserve(variables_.inputs.size());
  for (const DeployedVariable& input : variables_.inputs)
    inputInstances.push_back(InstanceOf(input));
  ForEachPrototype(
      [&](std::size_t number, std::span<const double> dependents, std::span<const double> inputs) {
        out.Put("<Example id=\"");
        out.PutInteger(static_cast<std::int64_t>(number));
        out.Put("\">\n");
        PutInstance(out, predictedInstance, dependents[dependent]);
        for (std::size_t i = 0; i < inputs.size(); ++i)
          PutInstance(out, inputInstances[i], inputs[i]);
        out.Put("</Example>\n");
      });
  out.Put(kModelEnd);
}

}  // namespace qrvml
