// ================================================================================
//  KNN module deployment code

//  Data used in estimation: table
//  C11 or C++; as C: cc -std=c11 -include stdbool.h -ffp-contract=off -O2 FILE -lm
//  
//  Number of variables included in the analysis = 6
//  Number of dependents (output) variables = 2
//  Number of predictors (input) variables = 4
//  
//  Dependents: état, risque
//  
//  Independents: Âge, taux<5, groupe, fumeur
//  
//  When calling this function, the predictor values must be 
//  placed in the same sequential order as shown above.
//  
//  Categorical variables: 
//  état: (sain, 1), (à_suivre, 2)
//  risque: (haut, 1), (bas, 3)
//  groupe: ("O", 2), (A&B, 5)
//  fumeur: (oui, 1), (non, 2)
// 
//  Function arguments:
//  inputs: used to pass independent (predictor) values
//  predictions: used to retrieve KNN predictions
// 
// ================================================================================

#include <math.h>

#define MAX(x1, x2) (x1>x2 ? x1:x2)

bool w = 0;

unsigned short metric = 2;

int noContInputs = 2;
int noCatInputs = 2;
int noInputs = 4;
int noContOutputs = 0;
int noCatOutputs = 2;
int noOutputs = 2;

static int noOutputNominals[]=
{
2, 2
};

static int outputNominals[]=
{
1, 2, 1, 3
};

long noOfExamples = 4;

long K = 3;

long index[3];

double weights[3];

double neighbors[3];

double example[6];

double scaledExample[6];

static double shift[]=
{
-0.857143, 0.571429, 0, 0
};

static double scale[]=
{
0.031746, 0.285714, 1, 1
};

static double examples[]=
{
1, 3, 31, 0.25, 5, 1, 	
2, 1, 45, 1.5, 2, 2, 	
2, 3, 58.5, -2, 5, 2, 	
1, 1, 27, 0.125, 2, 1};

/*------------------------------------------------*/
double ComputeDistance(double input[], double example[])
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

/*------------------------------------------------*/
void FindKNearest(double input[])
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
/*------------------------------------------------*/
void Predict(double input[], double predictions[])
{
	int i, j, k;
	int noContInputs=2;
	int noCatInputs=2;
	double bestScore;

	double score[100];

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

/*------------------------------------------------*/
#include <stdio.h>

#define MISSINGCODE -9999

int main(void)
{

	printf("QUORVANTIS KNN test harness program. Enter inputs below");
	printf("Nominal variables should be numbered as they appear in the c file)");

	int i;

	double inputs[4], result[2];

	while (1)
	{
		for(i=0; i<noInputs; i++)
		{
			printf("Enter value for input %d: ", i+1);
			scanf("%lg", &inputs[i]);
			if(inputs[i]==MISSINGCODE)
			{
				printf("Control menu. Select output style, or exit:");
				printf("0. Exit program");
			}
		}

		Predict(inputs, result);
		printf("KNN result:");
		for(i=0; i<noOutputs; i++)
		{
			printf("Output %d: ", i+1);
			printf("%g", result[i]);
		}

		printf("Enter next input (for control menu inc. exit, enter %d for any input):", MISSINGCODE);
	}

	return 0;

}