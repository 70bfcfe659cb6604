// ================================================================================
//  SVM module deployment code

//  Data used in estimation: table
//  C11 or C++; as C: cc -std=c11 -include stdbool.h -ffp-contract=off -O2 FILE -lm; continuous inputs are scaled here
//  
//  Number of variables included in the analysis = 5
//  Number of dependents (output) variables = 1
//  Number of predictors (input) variables = 4
//  
//  Dependents: état
//  
//  Independents: Âge, taux<5, groupe, fumeur
//  
//  When calling this function, the predictor values must be 
//  placed in the same sequential order as shown above.
//  
//  Categorical variables: 
//  état: (sain, 1), (bénin, 2), (à_suivre, 3)
//  groupe: ("O", 2), (A&B, 5)
//  fumeur: (oui, 1), (non, 2), (ex, 4)
// 
//  Function arguments:
//  inputs: used to pass independent (predictor) values
//  predictions: used to retrieve SVM predictions
// 
// ================================================================================

#include <math.h>

#define gamma svmGamma

int noContInputs = 2;
int noCatInputs = 2;
int noInputs = 4;
int noDummyInputs = 7;
int noContOutputs = 0;

int noCatOutputs = 1;

static double dummy[7];

static double NoInputNominals[]=
{
2, 3
};

static double InputNominals[]=
{
2, 5, 
1, 2, 4,
};

int type = 0;
int ktype = 2;
double coef0 = 0;
double gamma = 0.5;
double order = 0;
int noSVs = 6;

int noNominals = 3;

int noOfSVs= 6;

static int label[]=
{
2, 3, 1
};

static int noOfSVsPerClass[]=
{
2, 2, 2
};

static double SV[]=
{
0.114286, 0.642857, 0, 1, 1, 0, 0, 
-1.11022e-16, 0.714286, 1, 0, 0, 0, 1, 
0.514286, 1, 1, 0, 0, 1, 0, 
1, 0.928571, 1, 0, 0, 1, 0, 
0.9, 0, 0, 1, 0, 1, 0, 
0.371429, 0.857143, 0, 1, 1, 0, 0,
};

static double coefficient[]=
{
0.714708, 2, 
1.08791, 1.06348, 
-1.43157, 0.774543, 
-0.37105, 0.888097, 
-1.06348, -0.940386, 
-2, -0.722254,
};

static double constants[]=
{
-0.340022, 0.00725579, 0.271004
};

static double shift[]=
{
-0.771429, 0.571429
};

static double scale[]=
{
0.0285714, 0.285714
};

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
	double sv[7];

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
		return sum;
	}
	else
	{
		int si, sj, ci, cj, p=0;
		double *coef1, *coef2;
		int temp[3];
		int score[3];
		double kernels[6];

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

	double input[4], result;

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