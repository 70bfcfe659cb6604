// ================================================================================
//  Naive Bayes module deployment code

//  Data used in estimation: table
//  C11, no C++: cc -std=c11 -include stdbool.h -ffp-contract=off -O2 FILE -lm
//  
//  Number of variables included in the analysis = 8
//  Number of dependents (output) variables = 2
//  Number of predictors (input) variables = 6
//  
//  Dependents: état, risque
//  
//  Independents: Âge, taux<5, poids, visites, groupe, fumeur
//  
//  When calling this function, the predictor values must be 
//  placed in the same sequential order as shown above.
//  
//  Categorical variables: 
//  état: (sain, 1), (à_suivre, 2)
//  risque: (haut, 1), (bas, 3), (moyen, 4)
//  groupe: ("O", 2), (A&B, 5), (A&B, 9)
//  fumeur: (oui, 1), (non, 2)
// 
//  Function arguments:
//  inputs: used to pass independent (predictor) values
//  predictions: used to retrieve Naive Bayes predictions
// 
// ================================================================================

#include <math.h>

#define MAX(x1, x2) (x1>x2 ? x1:x2)
#define sqrt2Pi 2.5066282746310005024157652848108
#define log2PiSqrt 0.472856811

int noContInputs = 4;
int noCatInputs = 2;
int noInputs = 6;
int noOutputs = 2;

double threshold = 0.0001;

double mean, std, scale, shape, lambda;

static int noInputNominals[]=
{
2, 2
};

static int inputNominals[]=
{
2, 5, 2, 1
};

static int noOutputNominals[]=
{
2, 3
};

static int outputNominals[]=
{
1, 2, 3, 1, 4
};

static double priors[]=
{
0.666667, 0.333333, 0.5, 0.333333, 0.166667
};

static int dist[]=
{
0, 1, 2, 3, 4, 4
};

static double condMean[2][3][4];
static double condStd[2][3][4];
static double condFreq[2][3][2][2];

/*------------------------------------------------*/
void GetParams(double m, double s, int type)
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
/*------------------------------------------------*/
double GetLogNormal(double m, double s, double input)
{
	GetParams(m, s, 0);

	return (-0.5*log(sqrt2Pi*(std)) - ((input-mean)*(input-mean))/(2.0*(std)));
}
/*------------------------------------------------*/
double GetLogLognormal(double m, double s, double input)
{
	GetParams(m, s, 1);

	return (-log2PiSqrt - log(shape) - log(input) - (log(input/scale)*log(input/scale))/(2.0*(shape*shape)));
}
/*------------------------------------------------*/
double GetLogGamma(double m, double s, double input)
{
	GetParams(m, s, 2);

	//Place the Gamma function here
	return 0;
}
/*------------------------------------------------*/
double GetLogPoisson(double m, double s, double input)
{
	GetParams(m, s, 3);

	//Place the Poisson function here
	return 0;
}
/*------------------------------------------------*/
double GetLogDiscrete(int in, int out, int nom, double input)
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
/*------------------------------------------------*/
double GetLogContinuous()
{
	return 0.0;
}

/*------------------------------------------------*/
double GetLogDistribution(double m, double s, double input, int type)
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
/*------------------------------------------------*/
void Predict(double input[], double predictions[])
{
	int i, j, k, n, noNominals, index;

	double logp, max, norm;

	double conf[2][3];

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
					case 0:
					logp += GetLogDistribution(condMean[i][j][k], condStd[i][j][k], input[k], 0);
					break;
					case 1:
					logp += GetLogDistribution(condMean[i][j][k], condStd[i][j][k], input[k], 1);
					break;
					case 2:
					logp += GetLogDistribution(condMean[i][j][k], condStd[i][j][k], input[k], 2);
					break;
					case 3:
					logp += GetLogDistribution(condMean[i][j][k], condStd[i][j][k], input[k], 3);
					break;
					case 4:
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

/*------------------------------------------------*/
#include <stdio.h>

#define MISSINGCODE -9999

int main(void)
{

	condMean[0][0][0]=35.5;
	condMean[0][0][1]=0.40625;
	condMean[0][0][2]=6;
	condMean[0][0][3]=2;
	condMean[0][1][0]=51.75;
	condMean[0][1][1]=1.75;
	condMean[0][1][2]=4.125;
	condMean[0][1][3]=2;
	condMean[1][0][0]=44.5;
	condMean[1][0][1]=0.833333;
	condMean[1][0][2]=6.5;
	condMean[1][0][3]=1;
	condMean[1][1][0]=36;
	condMean[1][1][1]=0.8125;
	condMean[1][1][2]=2.125;
	condMean[1][1][3]=3.5;
	condMean[1][2][0]=40;
	condMean[1][2][1]=1;
	condMean[1][2][2]=8.5;
	condMean[1][2][3]=2;

	condStd[0][0][0]=61.6667;
	condStd[0][0][1]=0.160156;
	condStd[0][0][2]=31.1667;
	condStd[0][0][3]=2.66667;
	condStd[0][1][0]=91.125;
	condStd[0][1][1]=0.125;
	condStd[0][1][2]=16.5312;
	condStd[0][1][3]=2;
	condStd[1][0][0]=189.25;
	condStd[1][0][1]=1.02083;
	condStd[1][0][2]=39.25;
	condStd[1][0][3]=1;
	condStd[1][1][0]=162;
	condStd[1][1][1]=0.945312;
	condStd[1][1][2]=1.53125;
	condStd[1][1][3]=0.5;
	condStd[1][2][0]=9.9225e-07;
	condStd[1][2][1]=6e-05;
	condStd[1][2][2]=0;
	condStd[1][2][3]=0;

	condFreq[0][0][0][0]=0.166667;
	condFreq[0][0][0][1]=0.5;
	condFreq[0][0][1][0]=0;
	condFreq[0][0][1][1]=0.666667;
	condFreq[0][1][0][0]=0.166667;
	condFreq[0][1][0][1]=0.166667;
	condFreq[0][1][1][0]=0.333333;
	condFreq[0][1][1][1]=0;
	condFreq[1][0][0][0]=0;
	condFreq[1][0][0][1]=0.5;
	condFreq[1][0][1][0]=0.166667;
	condFreq[1][0][1][1]=0.333333;
	condFreq[1][1][0][0]=0.333333;
	condFreq[1][1][0][1]=0;
	condFreq[1][1][1][0]=0.166667;
	condFreq[1][1][1][1]=0.166667;
	condFreq[1][2][0][0]=0;
	condFreq[1][2][0][1]=0.166667;
	condFreq[1][2][1][0]=0;
	condFreq[1][2][1][1]=0.166667;

	printf("QUORVANTIS Naive Bayes test harness program. Enter inputs below");
	printf("Nominal variables should be numbered as they appear in the c file)");

	int i;

	double inputs[6], result[2];

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
		printf("Naive Bayes result:");
		for(i=0; i<noOutputs; i++)
		{
			printf("Output %d: ", i+1);
			printf("%g", result[i]);
		}

		printf("Enter next input (for control menu inc. exit, enter %d for any input):", MISSINGCODE);
	}

	return 0;

}