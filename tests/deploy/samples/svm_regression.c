// ================================================================================
//  SVM module deployment code

//  Data used in estimation: table
//  C11 or C++; as C: cc -std=c11 -include stdbool.h -ffp-contract=off -O2 FILE -lm; continuous inputs are scaled and the result is unscaled here
//  
//  Number of variables included in the analysis = 3
//  Number of dependents (output) variables = 1
//  Number of predictors (input) variables = 2
//  
//  Dependents: taille
//  
//  Independents: x, z
//  
//  When calling this function, the predictor values must be 
//  placed in the same sequential order as shown above.
//  
//  Categorical variables: 
// 
//  Function arguments:
//  inputs: used to pass independent (predictor) values
//  predictions: used to retrieve SVM predictions
// 
// ================================================================================

#include <math.h>

#define gamma svmGamma

int noContInputs = 2;
int noCatInputs = 0;
int noInputs = 2;
int noDummyInputs = 2;
int noContOutputs = 1;

int noCatOutputs = 0;

static double dummy[2];

static double NoInputNominals[]=
{
0
};

static double InputNominals[]=
{
0
};

int type = 3;
int ktype = 1;
double coef0 = 1;
double gamma = 0.5;
double order = 3;
int noSVs = 3;

int noNominals = 2;

int noOfSVs= 3;

static int label[]=
{
0
};

static int noOfSVsPerClass[]=
{
0
};

static double SV[]=
{
0, 0, 
0.5, 0.6, 
1, 1,
};

static double coefficient[]=
{
-3.53712, 
6.09948, 
-2.56236,
};

static double constants[]=
{
-0.422629
};

static double shift[]=
{
-0.5, -2e-08
};

static double scale[]=
{
0.5, 0.2
};

double outputShift = -10.9174;
double outputScale = 0.0661157;

/*------------------------------------------------*/
void GetDummy(double input[])
{
	int i, j, k=0;

	for(i=0; i<noContInputs; i++) dummy[i] = shift[i] + scale[i]*input[i];

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
/*------------------------------------------------*/
double dot(double dummy[], double sv[])
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
/*------------------------------------------------*/
double Kernel(double dummy[], int index)
{
	int i=0, j=0;
	double kernel, sum=0, d;
	double sv[2];

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
/*------------------------------------------------*/
double Predict(double dummy[])
{
	int i, j, k, index=0;
	double sum = 0;

	if(type==3 || type==4)
	{
		for(i=0; i<noOfSVs; i++) sum += coefficient[i]*Kernel(dummy, i);
		sum -= constants[0];
		return (sum - outputShift)/outputScale;
	}
	else
	{
		int si, sj, ci, cj, p=0;
		double *coef1, *coef2;
		int temp[2];
		int score[2];
		double kernels[3];

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

/*------------------------------------------------*/
#include <stdio.h>

#define MISSINGCODE -9999

int main(void)
{

	printf("QUORVANTIS SVM test harness program. Enter inputs below");
	printf("Nominal variables should be numbered as they appear in the c file)");

	int i;

	double input[2], result;

	while (1)
	{
		for(i=0; i<noInputs; i++)
		{
			printf("Enter value for input %d: ", i+1);
			scanf("%lg", &input[i]);
			if(input[i]==MISSINGCODE)
			{
				printf("Control menu. Select output style, or exit:");
				printf("0. Exit program");
			}
		}

		GetDummy(input);
		result = Predict(dummy);
		printf("SVM result:");
		printf("%g", result);

		printf("Enter next input (for control menu inc. exit, enter %d for any input):", MISSINGCODE);
	}

	return 0;

}