// The naive Bayes part of the generated C programs.
#include <algorithm>
#include <string>
#include <vector>

#include "bayes/naive_bayes_deployment.h"

namespace qrvml {
namespace {

constexpr std::string_view kDefines = R"(#define MAX(x1, x2) (x1>x2 ? x1:x2)
#define sqrt2Pi 2.5066282746310005024157652848108
#define log2PiSqrt 0.472856811

int noContInputs = ${nc};
int noCatInputs = ${nk};
int noInputs = ${ni};
int noOutputs = ${m};

double threshold = ${threshold};

double mean, std, scale, shape, lambda;

)";

constexpr std::string_view kTables = R"(static double condMean[${m}][${classes}][${nc}];
static double condStd[${m}][${classes}][${nc}];
static double condFreq[${m}][${classes}][${nk}][${categories}];

)";

constexpr std::string_view kDensities = R"(${separator}void GetParams(double m, double s, int type)
{
	switch(type)
	{
		case 0:
			mean = m;
			std = s;
			break;
		case 1:
			scale = (m*m)/sqrt((s*s)+(m*m));
			shape = sqrt(log(((s*s)+(m*m))/((m*m))));
	break;
		case 2:
			scale = (s*s)/(m);
			shape = (m*m)/(s*s);
			break;
		case 3:
		lambda = m;
	}
}
${separator}double GetLogNormal(double m, double s, double input)
{
	GetParams(m, s, 0);

	return (-0.5*log(sqrt2Pi*(std)) - ((input-mean)*(input-mean))/(2.0*(std)));
}
${separator}double GetLogLognormal(double m, double s, double input)
{
	GetParams(m, s, 1);

	return (-log2PiSqrt - log(shape) - log(input) - (log(input/scale)*log(input/scale))/(2.0*(shape*shape)));
}
${separator}double GetLogGamma(double m, double s, double input)
{
	GetParams(m, s, 2);

	//Place the Gamma function here
	return 0;
}
${separator}double GetLogPoisson(double m, double s, double input)
{
	GetParams(m, s, 3);

	//Place the Poisson function here
	return 0;
}
${separator}double GetLogDiscrete(int in, int out, int nom, double input)
{
	int i, j, m;

	double freq;

	m =0;
	for(i=0; i<in-noContInputs; i++) m += noInputNominals[i];
	j = -1;
	for(i=0; i<noInputNominals[in-noContInputs]; i++)
	{
		if(inputNominals[m+i]==input) j = i;
	}
	freq = 0.0;
	if(j>=0) freq = condFreq[out][nom][in-noContInputs][j];
	if(freq!=0.0) return log(freq);
	return log(threshold);
}
${separator}double GetLogContinuous()
{
	return 0.0;
}

)";

constexpr std::string_view kPredict =
    R"(${separator}double GetLogDistribution(double m, double s, double input, int type)
{
	double logp;
	switch(type)
	{
		case 0:
			logp = GetLogNormal(m, s, input);
			break;
		case 1:
			logp = GetLogLognormal(m, s, input);
			break;
		case 2:
			logp = GetLogGamma(m, s, input);
			break;
		case 3:
			logp = GetLogPoisson(m, s, input);
			break;
		}
	return logp;
}
${separator}void Predict(double input[], double predictions[])
{
	int i, j, k, n, noNominals, index;

	double logp, max, norm;

	double conf[${m}][${classes}];

	for(i=0; i<noOutputs; i++)
	{
		noNominals = noOutputNominals[i];
		for(j=0; j<noNominals; j++)
		{
			logp=0.0;
			for(k=0; k<noInputs; k++)
			{
				switch(dist[k])
				{
${cases}					case 4:
					logp += GetLogDiscrete(k, i, j, input[k]);
					break;
					}
				}
			n = j;
			for(k=0; k<i; k++) n += noOutputNominals[k];
			conf[i][j] = priors[n]*exp(logp);
		}
	}

	n = 0;
	for(i=0; i<noOutputs; i++)
	{
		max = norm = 0.0;
		noNominals = noOutputNominals[i];
		index = 0;
		for(j=0; j<noNominals; j++) norm += conf[i][j];
		for(j=0; j<noNominals; j++)
		{
			if(norm!=0.0) conf[i][j] = conf[i][j]/norm;
			if(max<conf[i][j]) {max=conf[i][j]; index=j;}
		}
		predictions[i] = outputNominals[n+index];
		n += noNominals;
	}
}

)";

constexpr std::string_view kHarnessVariables = R"(	double inputs[${ni}], result[${m}];

)";

constexpr std::string_view kHarnessPrediction = R"c(		Predict(inputs, result);
		printf("Naive Bayes result:");
		for(i=0; i<noOutputs; i++)
		{
			printf("Output %d: ", i+1);
			printf("%g", result[i]);
		}

)c";

/// What stands in an empty list, and the least size of an array: C has none without elements.
constexpr std::string_view kNone = "0";
std::size_t AtLeastOne(std::size_t size) { return std::max<std::size_t>(size, 1); }

/// The lists of the numbers of categories and of their codes.
void PutNominals(CodeWriter& out, std::string_view counts, std::string_view codes,
                 std::span<const DeployedVariable> variables) {
  std::vector<std::int64_t> sizes, values;
  for (const DeployedVariable& variable : variables) {
    sizes.push_back(static_cast<std::int64_t>(variable.texts.size()));
    for (const DeployedClass& category : variable.texts) values.push_back(category.code);
  }
  PutCList(out, counts, sizes, kNone);
  PutCList(out, codes, values, kNone);
}

}  // namespace

void NaiveBayesCode::CModel(CodeWriter& out) {
  out.Fill(kDefines, {{"nc", continuous()},
                      {"nk", categorical()},
                      {"ni", variables_.inputs.size()},
                      {"m", dependents()},
                      {"threshold", GeneralText(engine_.threshold)}});
  PutNominals(out, "static int noInputNominals[]=", "static int inputNominals[]=",
              std::span(variables_.inputs).subspan(continuous()));
  PutNominals(
      out, "static int noOutputNominals[]=", "static int outputNominals[]=", variables_.dependents);
  std::vector<double> priors;
  ForEachClass([&](std::size_t d, std::size_t c) { priors.push_back(engine_.priors[d][c]); });
  PutCList(out, "static double priors[]=", priors);
  std::vector<std::int64_t> distributions;
  distributions.reserve(variables_.inputs.size());
  for (std::size_t k = 0; k < variables_.inputs.size(); ++k)
    distributions.push_back(static_cast<std::int64_t>(engine_.DistributionOf(k)));
  PutCList(out, "static int dist[]=", distributions, kNone);
  out.Fill(kTables, {{"m", dependents()},
                     {"classes", MostClasses()},
                     {"nc", AtLeastOne(continuous())},
                     {"nk", AtLeastOne(categorical())},
                     {"categories", AtLeastOne(MostCategories())}});
}

void NaiveBayesCode::CFunctions(CodeWriter& out) {
  out.Fill(kDensities, {{"separator", kCSeparator}});
  std::string cases;
  for (int type = 0; type < kContinuousDistributions; ++type) {
    const std::string number = std::to_string(type);
    cases +=
        "\t\t\t\t\tcase " + number +
        ":\n\t\t\t\t\tlogp += GetLogDistribution(condMean[i][j][k], condStd[i][j][k], input[k], " +
        number + ");\n\t\t\t\t\tbreak;\n";
  }
  out.Fill(kPredict, {{"separator", kCSeparator},
                      {"m", dependents()},
                      {"classes", MostClasses()},
                      {"cases", cases}});
}

void NaiveBayesCode::CInitialisation(CodeWriter& out) {
  PutTables(
      out, [&](std::string_view name, std::initializer_list<std::size_t> indices, double value) {
        out.Put(name == "CondMean" ? "\tcondMean" : name == "CondStd" ? "\tcondStd" : "\tcondFreq");
        for (const std::size_t index : indices) {
          out.Put("[");
          out.PutInteger(static_cast<std::int64_t>(index));
          out.Put("]");
        }
        out.Put("=");
        out.PutGeneral(value);
        out.Put(";\n");
      });
}

void NaiveBayesCode::CHarnessVariables(CodeWriter& out) {
  out.Fill(kHarnessVariables, {{"ni", variables_.inputs.size()}, {"m", dependents()}});
}

void NaiveBayesCode::CHarnessPrediction(CodeWriter& out) { out.Put(kHarnessPrediction); }

}  // namespace qrvml
