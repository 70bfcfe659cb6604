#!/usr/bin/env bash
# The analyses that ./demo shows, in order: scripts/demo-analyses.sh PROGRAM
#
# Each is one command line as a user would type it, printed before it runs. The first that fails
# ends the demo with its exit status.
set -euo pipefail
program=$(realpath "${1:?usage: demo-analyses.sh PROGRAM}")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

Show() { # <what it shows> <arguments of qrvml>...
  local what=$1
  shift
  printf '\n# %s\n$ qrvml' "$what"
  printf ' %q' "$@"
  printf '\n'
  "$program" "$@"
}

Show "What is in a file" data examples/iris.csv --head 3

Show "Classification: K chosen by cross-validation over a grid" knn examples/iris.csv \
  --variables '|Species|1-4|' --ApplyCrossV --MaximumK 15 --seed-for-random-sampling 7 \
  --cross-v-seed 7

Show "Unbalanced classes, distances standardised, weighted votes" knn examples/fgl.csv \
  --variables '|type|1-9|' --StandardizeDistances --UseWeightedAverage \
  --k-nearest-neighbors 5 --seed-for-random-sampling 7 --do DescriptiveStat

Show "Regression with missing values, and the predictions of named cases" knn examples/mtcars.csv \
  --variables 'mpg||disp hp wt qsec|cyl' --case-names model --StandardizeDistances \
  --k-nearest-neighbors 3 --seed-for-random-sampling 7 \
  --do 'DescriptiveStat,IncludeOutputs=1,PrintPredictions'

Show "The same kind of analysis as a macro, and on another selection of inputs" \
  run examples/iris.qvb

Show "The model as a C program, a script and a PMML document, compared with the engine" \
  verify knn examples/fgl.csv --variables '|type|1-9|' --StandardizeDistances --UseWeightedAverage \
  --k-nearest-neighbors 5 --seed-for-random-sampling 7

Show "Naive Bayes, with the confidence in each class" nb examples/iris.csv \
  --variables '|Species|1-4|' --seed-for-random-sampling 7 \
  --do 'DescriptiveStat,IncludeConfidence=1,PrintPredictions'

Show "Naive Bayes on coded categories, then with priors of one's own" nb examples/birthwt.csv \
  --variables '|low|age lwt|race smoke ht ui' --seed-for-random-sampling 7 \
  --do 'DescriptiveStat,UseCustomPrior=1,ResultsValues="0.05 0.95",press:Priors.Select,DescriptiveStat'

Show "Case weights: a table of counts as data" nb examples/titanic.csv \
  --variables '|Survived||Class Sex Age' --weight Freq --ApplySampling=0 \
  --do 'Model,DescriptiveStat,CustomPredictions="1st Female Adult",PrintCustomPredictions'

Show "A macro: counts as a normal and as a Poisson input, and the posterior over them" \
  run examples/quine.qvb

Show "The same model as generated texts, which leave the Poisson density to their user" \
  verify nb examples/quine.csv --variables '|Eth|Days|Sex Age Lrn' \
  --input-distributions '|||Days' --seed-for-random-sampling 7

Show "Support vectors: six classes, inputs scaled, the vote shares of each class" svm \
  examples/fgl.csv --variables '|type|1-9|' --ScaleInputs --Gam 4 --seed-for-random-sampling 7 \
  --do 'Summary,DescriptiveStat,IncludeConfidence=1,PrintPredictions'

Show "Rare classes made dear by penalties" svm examples/fgl.csv --variables '|type|1-9|' \
  --ScaleInputs --Gam 4 --UsePenalty --PenaltyList '3 3 5 2 1 1' --seed-for-random-sampling 7 \
  --do 'ClassPenalty,DescriptiveStat'

Show "Its C program, script and document: inputs scaled by each, one vote for each pair of classes" \
  verify svm examples/fgl.csv --variables '|type|1-9|' --ScaleInputs --Gam 4 \
  --seed-for-random-sampling 7

Show "A regression by support vectors as a macro: C and epsilon by cross-validation, a typed case" \
  run examples/airquality.qvb

Show "That regression's texts, and how far their six digits are from the engine" \
  verify svm examples/airquality.csv --variables 'Ozone||Solar.R Wind Temp|Month' --ScaleInputs \
  --ScaleOutputs --seed-for-random-sampling 7

Show "Two overlapping classes, categorical and continuous inputs" knn examples/cars93.csv \
  --variables '|Origin|Price MPG.city Horsepower RPM|Type DriveTrain' --StandardizeDistances \
  --k-nearest-neighbors 5 --seed-for-random-sampling 7
