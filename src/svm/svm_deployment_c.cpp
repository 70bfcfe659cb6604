// The support vector part of the generated C programs.
#include <algorithm>
#include <string>
#include <vector>

#include "svm/svm_deployment.h"

namespace qrvml {
namespace {

// The mathematical library has a function gamma, in C++ and outside of strict C.
constexpr std::string_view kCounts = R"(#define gamma svmGamma

int noContInputs = ${nc};
int noCatInputs = ${nk};
int noInputs = ${ni};
int noDummyInputs = ${nd};
int noContOutputs = ${mc};

int noCatOutputs = ${mk};

static double dummy[${nd}];

)";

constexpr std::string_view kParameters = R"(int type = ${type};
int ktype = ${kernel};
double coef0 = ${coef0};
double gamma = ${gamma};
double order = ${order};
int noSVs = ${l};

int noNominals = ${k};

int noOfSVs= ${l};

)";

constexpr std::string_view kOutputScaling = R"(double outputShift = ${shift};
double outputScale = ${scale};

)";

constexpr std::string_view kCoding = R"(${separator}void GetDummy(double input[])
{
	int i, j, k=0;

	for(i=0; i<noContInputs; i++) dummy[i] = ${input};

	for(i=0; i<noCatInputs; i++)
	{
		for(j=0; j<NoInputNominals[i]; j++)
		{
			if(InputNominals[k]==input[i+noContInputs]) dummy[k+noContInputs] = 1.0;
			else dummy[k+noContInputs] = 0.0;
			k++;
		}
	}
}
)";

constexpr std::string_view kKernel = R"(${separator}double dot(double dummy[], double sv[])
{
	int i=0, j=0;
	double sum = 0;

	while(i!=noDummyInputs && j!=noDummyInputs)
	{
		if(i==j)
		{
			sum += dummy[i]*sv[j];
			i++;
			j++;
		}
		else
		{
			if(i>j) j++;
			else i++;
		}
	}

	return sum;
}
${separator}double Kernel(double dummy[], int index)
{
	int i=0, j=0;
	double kernel, sum=0, d;
	double sv[${nd}];

	for(i=0; i<noDummyInputs; i++) sv[i] = SV[i+index*noDummyInputs];

	switch(ktype)
	{
		case 0:
			kernel = dot(dummy,sv);
			break;
		case 1:
			kernel = pow(gamma*dot(dummy, sv)+coef0, order);
			break;
		case 2:
			i = 0;
			while(i!=noDummyInputs && j!=noDummyInputs)
			{
				if(i==j)
				{
					d = dummy[i] - sv[j];
					sum += d*d;
					i++;
					j++;
				}
				else
				{
					if(i>j)
					{
						sum += sv[j]*sv[j];
						j++;
					}
					else
					{
						sum += dummy[i]*dummy[i];
						i++;
					}
				}
			}
			for(; i<noDummyInputs; i++) sum += dummy[i]*dummy[i];
			for(; j<noDummyInputs; j++) sum += sv[j]*sv[j];
			kernel = exp(-gamma*sum);
			break;
		case 3:
			kernel = tanh(gamma*dot(dummy,sv)+ coef0);
			break;
	}

	return kernel;
}
)";

constexpr std::string_view kPredict = R"(${separator}double Predict(double dummy[])
{
	int i, j, k, index=0;
	double sum = 0;

	if(type==3 || type==4)
	{
		for(i=0; i<noOfSVs; i++) sum += coefficient[i]*Kernel(dummy, i);
		sum -= constants[0];
		return ${result};
	}
	else
	{
		int si, sj, ci, cj, p=0;
		double *coef1, *coef2;
		int temp[${k}];
		int score[${k}];
		double kernels[${l}];

		for(i=0; i<noOfSVs; i++) kernels[i] = Kernel(dummy, i);

		temp[0] = 0;
		for(i=1; i<noNominals; i++) temp[i] = temp[i-1] + noOfSVsPerClass[i-1];
		for(i=0; i<noNominals; i++) score[i] = 0;

		for(i=0; i<noNominals; i++)
		{
			for(j=i+1; j<noNominals; j++)
			{
				sum = 0;
				si = temp[i];
				sj = temp[j];
				ci = noOfSVsPerClass[i];
				cj = noOfSVsPerClass[j];

				coef1 = coefficient + si*(noNominals-1) + j-1;
				coef2 = coefficient + sj*(noNominals-1) + i;
				for(k=0; k<ci; k++) sum += coef1[k*(noNominals-1)]*kernels[si+k];
				for(k=0; k<cj; k++) sum += coef2[k*(noNominals-1)]*kernels[sj+k];

				sum -= constants[p++];
				if(sum>0) ++score[i];
				else ++score[j];
			}
		}

		for(i=1; i<noNominals; i++)
		{
			if(score[i]>score[index]) index=i;
		}

		return label[index];
	}
}

)";

constexpr std::string_view kHarnessVariables = R"(	double input[${ni}], result;

)";

constexpr std::string_view kHarnessPrediction = R"(		GetDummy(input);
		result = Predict(dummy);
		printf("SVM result:");
		printf("%g", result);

)";

constexpr std::string_view kNone = "0";  // in an empty list: C has none without elements
constexpr std::string_view kListEnd = "\n};\n\n";

std::size_t AtLeastOne(std::size_t size) { return std::max<std::size_t>(size, 1); }

/// A list in groups, one a line. Each value is followed by a comma and a blank; what would follow
/// the last comma is left out.
class GroupedList {
 public:
  GroupedList(CodeWriter& out, std::string_view head) : out_(out) {
    out_.Put(head);
    out_.Put("\n{\n");
  }
  void BeginGroup() {
    isLineEmpty_ = true;
    if (!isEmpty_) out_.Put(" \n");
  }
  void PutGeneral(double value) {
    Separate();
    out_.PutGeneral(value);
    out_.Put(",");
  }
  void PutInteger(std::int64_t value) {
    Separate();
    out_.PutInteger(value);
    out_.Put(",");
  }
  void End() {
    if (isEmpty_) out_.Put(kNone);
    out_.Put(kListEnd);
  }

 private:
  void Separate() {
    if (!isLineEmpty_) out_.Put(" ");
    isLineEmpty_ = isEmpty_ = false;
  }

  CodeWriter& out_;
  bool isEmpty_ = true, isLineEmpty_ = true;
};

}  // namespace

std::string_view SvmCode::CNote() const {
  if (ScalesInputs() && ScalesOutput())
    return "; continuous inputs are scaled and the result is unscaled here";
  if (ScalesInputs()) return "; continuous inputs are scaled here";
  return ScalesOutput() ? "; the result is unscaled here" : "";
}

void SvmCode::CModel(CodeWriter& out) {
  out.Fill(kCounts, {{"nc", continuous()},
                     {"nk", categorical()},
                     {"ni", variables_.inputs.size()},
                     {"nd", columns()},
                     {"mc", variables_.ContinuousDependents()},
                     {"mk", variables_.CategoricalDependents()}});
  std::vector<std::int64_t> counts;
  for (std::size_t i = continuous(); i < variables_.inputs.size(); ++i)
    counts.push_back(static_cast<std::int64_t>(variables_.inputs[i].codes.size()));
  PutCList(out, "static double NoInputNominals[]=", counts, kNone);
  GroupedList codes(out, "static double InputNominals[]=");
  for (std::size_t i = continuous(); i < variables_.inputs.size(); ++i) {
    codes.BeginGroup();
    for (const DeployedClass& category : variables_.inputs[i].codes)
      codes.PutInteger(category.code);
  }
  codes.End();
  out.Fill(kParameters, {{"type", parameters().svmType},
                         {"kernel", parameters().kernelType},
                         {"coef0", GeneralText(Coef0())},
                         {"gamma", GeneralText(Gamma())},
                         {"order", GeneralText(Degree())},
                         {"l", vectors()},
                         {"k", classes()}});
  const auto putCounts = [&](std::string_view head, const HostArray<std::int32_t>& values) {
    PutCList(out, head, std::vector<std::int64_t>(values.begin(), values.end()), kNone);
  };
  putCounts("static int label[]=", model_.labels);
  putCounts("static int noOfSVsPerClass[]=", model_.supportVectorsPerClass);

  const std::size_t width = columns();
  GroupedList values(out, "static double SV[]=");
  ForEachVector([&](std::size_t, const SVMNode* nodes) {
    values.BeginGroup();
    for (std::size_t d = 0; d < width; ++d) values.PutGeneral(nodes[d].value);
  });
  values.End();
  GroupedList coefficients(out, "static double coefficient[]=");
  ForEachVector([&](std::size_t s, const SVMNode*) {
    coefficients.BeginGroup();
    for (std::size_t r = 0; r < rows(); ++r) coefficients.PutGeneral(Coefficient(r, s));
  });
  coefficients.End();
  if (model_.constants.empty()) {
    PutCList(out, "static double constants[]=", std::span<const std::int64_t>(), kNone);
  } else {
    PutCList(out, "static double constants[]=", model_.constants);
  }

  if (ScalesInputs()) {
    PutCList(out, "static double shift[]=", data_.offsets().first(continuous()));
    PutCList(out, "static double scale[]=", data_.slopes().first(continuous()));
  }
  if (ScalesOutput())
    out.Fill(kOutputScaling,
             {{"shift", GeneralText(OutputShift())}, {"scale", GeneralText(OutputScale())}});
}

void SvmCode::CFunctions(CodeWriter& out) {
  out.Fill(kCoding, {{"separator", kCSeparator},
                     {"input", ScalesInputs() ? "shift[i] + scale[i]*input[i]" : "input[i]"}});
  out.Fill(kKernel, {{"separator", kCSeparator}, {"nd", columns()}});
  out.Fill(kPredict, {{"separator", kCSeparator},
                      {"result", ScalesOutput() ? "(sum - outputShift)/outputScale" : "sum"},
                      {"k", classes()},
                      {"l", AtLeastOne(vectors())}});
}

void SvmCode::CHarnessVariables(CodeWriter& out) {
  out.Fill(kHarnessVariables, {{"ni", variables_.inputs.size()}});
}

void SvmCode::CHarnessPrediction(CodeWriter& out) { out.Put(kHarnessPrediction); }

}  // namespace qrvml
