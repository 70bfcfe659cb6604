// The nearest-neighbour part of the generated C programs.

#include <algorithm>
#include <string>
#include <vector>

#include "deploy/dialect.h"
#include "knn/knn_deployment.h"

namespace qrvml {
namespace {

constexpr std::string_view kSettings = R"(#define MAX(x1, x2) (x1>x2 ? x1:x2)

bool w = ${weighted};

unsigned short metric = ${metric};

int noContInputs = ${nc};
int noCatInputs = ${nk};
int noInputs = ${ni};
int noContOutputs = ${mc};
int noCatOutputs = ${mk};
int noOutputs = ${m};

)";

constexpr std::string_view kWorkingArrays = R"(long noOfExamples = ${prototypes};

long K = ${k};

long index[${k}];

double weights[${k}];

double neighbors[${k}];

double example[${values}];

double scaledExample[${values}];

)";

constexpr std::string_view kFunctions =
    R"(${separator}double ComputeDistance(double input[], double example[])
{
	int i;
	double dist=0.0, diff;

	for(i=0; i<noContInputs; i++)
	{
		diff = input[i] - example[i];

		if(metric==0 || metric==1) dist += diff*diff;
		else if(metric==2) dist += fabs(diff);
		else if(metric==3) dist = MAX(dist, fabs(diff));
	}

	for(i=0; i<noCatInputs; i++)
	{
		if(metric==3 && input[i+noContInputs]!=example[i+noContInputs]) dist = MAX(dist, 1.0);
		if(metric==3) continue;
		if(input[i+noContInputs]!=example[i+noContInputs]) dist += 1.0;
		else dist += 0.0;
	}

	if(metric==0) dist = sqrt(dist);
	return dist;
}

${separator}void FindKNearest(double input[])
{
	int i, j, k;
	double dist, distMin, norm;

	double *e = examples;

	for(i=0; i<K; i++) index[i] = -1;

	for(i=0; i<K; i++)
	{
		distMin = 1.7976931348623158e+308;

		for(j=0; j<noOfExamples; j++)
		{
			for(k=0; k<i; k++)
			{
				if(j==index[k]) goto NEXT;
			}

			for(k=0; k<noInputs; k++) scaledExample[k] = shift[k] + scale[k]*e[(j*(noInputs+noOutputs))+noOutputs+k];

			dist = ComputeDistance(scaledExample, input);
			if(dist<distMin) {distMin=dist; index[i]=j;}
			NEXT:;
		}

		if(w) weights[i] = exp(-distMin);
		else weights[i] = 1.0;
	}

	if(w)
	{
		norm = 0.0;
		for(i=0; i<K; i++) norm += weights[i];
		if(!norm==0.0)
		{
			for(i=0; i<K; i++) weights[i] = weights[i]/norm;
		}
	}
}
${separator}void Predict(double input[], double predictions[])
{
	int i, j, k;
	int noContInputs=${nc};
	int noCatInputs=${nk};
	double bestScore;

	double score[${scores}];

	double *e = examples;

	for(i=0; i<noInputs; i++) input[i] = shift[i] + scale[i]*input[i];

	FindKNearest(input);

	for(i=0; i<noContOutputs; i++)
	{
		predictions[i] = 0.0;
		for(j=0; j<K; j++)
		{
			if(w) predictions[i] += weights[j]*e[index[j]*(noOutputs+noInputs)+i];
			else predictions[i] += e[index[j]*(noOutputs+noInputs)+i];
		}

		if(!w) predictions[i] = predictions[i]/(double)K;
	}

	int first = 0;

	for(i=0; i<noCatOutputs; i++)
	{
		for(j=first; j<first+noOutputNominals[i]; j++) score[j] = 0.0;

		for(j=first; j<first+noOutputNominals[i]; j++)
		{
			for(k=0; k<K; k++)
			{
				if(e[index[k]*(noOutputs+noInputs)+i]==outputNominals[j]) score[j]+=weights[k];
			}
		}

		bestScore = score[first];
		predictions[i] = outputNominals[first];
		for(j=first+1; j<first+noOutputNominals[i]; j++)
		{
			if(bestScore<score[j])
			{
				bestScore = score[j];
				predictions[i] = outputNominals[j];
			}
		}

		first += noOutputNominals[i];
	}
}

)";

constexpr std::string_view kHarnessVariables = R"(	${arrays};

)";

constexpr std::string_view kHarnessPrediction = R"(		Predict(inputs, result);
		printf("KNN result:");
		for(i=0; i<noOutputs; i++)
		{
			printf("Output %d: ", i+1);
			printf("%g", result[i]);
		}

)";

/// Scores of all classes have their places; smaller models keep the usual 100.
constexpr std::size_t kUsualScores = 100;

}  // namespace

void KnnCode::CModel(CodeWriter& out) {
  const std::size_t inputs = variables_.inputs.size(), dependents = variables_.dependents.size();
  out.Fill(kSettings, {{"weighted", engine_.weighted ? 1 : 0},
                       {"metric", static_cast<int>(engine_.metric)},
                       {"nc", variables_.ContinuousInputs()},
                       {"nk", variables_.CategoricalInputs()},
                       {"ni", inputs},
                       {"mc", variables_.ContinuousDependents()},
                       {"mk", variables_.CategoricalDependents()},
                       {"m", dependents}});
  std::vector<std::int64_t> counts, codes;
  std::string none;  // a C list is never empty: a 0 for each dependent without classes
  for (const DeployedVariable& dependent : variables_.dependents) {
    if (!dependent.isCategorical) {
      none += none.empty() ? "0" : ", 0";
      continue;
    }
    counts.push_back(static_cast<std::int64_t>(dependent.codes.size()));
    for (const DeployedClass& category : dependent.codes) codes.push_back(category.code);
  }
  PutCList(out, "static int noOutputNominals[]=", counts, none);
  PutCList(out, "static int outputNominals[]=", codes, none);
  out.Fill(kWorkingArrays,
           {{"prototypes", prototypes()}, {"k", engine_.k}, {"values", inputs + dependents}});
  PutCList(out, "static double shift[]=", shifts());
  PutCList(out, "static double scale[]=", scales());

  out.Put("static double examples[]=\n{\n");
  ForEachPrototype(
      [&](std::size_t number, std::span<const double> observed, std::span<const double> values) {
        if (number > 1) out.Put(", \t\n");
        for (std::size_t d = 0; d < dependents; ++d) {
          if (d > 0) out.Put(", ");
          PutValue(out, variables_.dependents[d], observed[d]);
        }
        for (std::size_t i = 0; i < inputs; ++i) {
          out.Put(", ");
          PutValue(out, variables_.inputs[i], values[i]);
        }
      });
  out.Put("};\n\n");
}

void KnnCode::CFunctions(CodeWriter& out) {
  out.Fill(kFunctions, {{"separator", kCSeparator},
                        {"nc", variables_.ContinuousInputs()},
                        {"nk", variables_.CategoricalInputs()},
                        {"scores", std::max(kUsualScores, TotalCodes(variables_.dependents))}});
}

void KnnCode::CHarnessVariables(CodeWriter& out) {
  const std::string arrays = "inputs[" + std::to_string(variables_.inputs.size()) + "], result[" +
                             std::to_string(variables_.dependents.size()) + ']';
  out.Fill(kHarnessVariables, {{"arrays", LocalDeclaration(Dialect::c, arrays, "double")}});
}

void KnnCode::CHarnessPrediction(CodeWriter& out) { out.Put(kHarnessPrediction); }

}  // namespace qrvml
