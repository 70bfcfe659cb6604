// The prediction of many cases by a support vector regression, over the machine's limit: the rates
// of its differences and exponentials, measured in the same run.
//
//   svm_prediction [CASES VECTORS INPUTS]     default 100,000 2,000 20
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "harness.h"
#include "seeded_data.h"
#include "svm/case_predictor.h"
#include "svm_rates.h"

using namespace qrvml;

int main(int argc, char** argv) {
  const std::int32_t cases = argc > 3 ? std::atoi(argv[1]) : 100000;
  const std::int32_t vectors = argc > 3 ? std::atoi(argv[2]) : 2000;
  const std::int32_t inputs = argc > 3 ? std::atoi(argv[3]) : 20;
  bench::SplitMix random(701);
  std::vector<SVMNode> nodes;
  for (std::int32_t t = 0; t < cases + vectors; ++t) {
    for (std::int32_t i = 1; i <= inputs; ++i) {
      nodes.push_back({i, random.Bell() * 1.7320508075688772});
    }
    nodes.push_back({-1, 0});
  }
  std::vector<SVMNodeList> lists;
  for (const SVMNode* node = nodes.data(); lists.size() < std::size_t(cases + vectors);
       node += inputs + 1) {
    lists.push_back({node});
  }
  const std::span all(lists);

  SVMModel model;
  model.parameters.svmType = kEpsilonRegression;
  model.parameters.gamma = 1.0 / inputs;
  model.classCount = 2;
  model.supportVectorCount = vectors;
  model.supportVectors.Resize(std::size_t(vectors));
  model.coefficients.Resize(std::size_t(vectors));
  std::copy_n(lists.begin(), vectors, model.supportVectors.begin());
  for (double& coefficient : model.coefficients) coefficient = 20 * random.Unit() - 10;
  model.constants.Assign(1, 0.25);
  const SVMSolverState state;
  SolverPace pace(state);
  SpreadSupportVectors(model, pace);

  const bench::SvmRates rates = bench::MeasureSvmRates(inputs);
  const double elements = double(cases) * vectors;
  const double limit = elements * (inputs / rates.differences + 1 / rates.exponentials);
  std::printf("rates, one thread: differences %.1f G/s, exp %.2f G/s\n", rates.differences / 1e9,
              rates.exponentials / 1e9);
  HostArray<double> one{std::size_t(cases)};
  HostArray<double> two{std::size_t(cases)};
  std::vector<double> processor;
  const auto predict = [&](int threads, HostArray<double>& predicted) {
    processor.push_back(bench::ProcessorSeconds([&] {
      CasePredictor(model, threads).Predict(all.subspan(std::size_t(vectors)), predicted, {}, pace);
    }));
  };
  const std::vector<double> medians = bench::Compare(
      std::to_string(cases) + " cases, " + std::to_string(vectors) + " support vectors of " +
          std::to_string(inputs) + " inputs",
      {{"one thread", [&] { predict(1, one); }}, {"two threads", [&] { predict(2, two); }}});
  if (!std::equal(one.begin(), one.end(), two.begin())) {
    std::fprintf(stderr, "the threads change the result\n");
    return 1;
  }
  std::printf(
      "  limit %.3f s on one thread: %.2f times it on one, %.2f times half of it on two;\n"
      "  processor time, either way: %.3f s, %.2f times the limit\n",
      limit, medians[0] / limit, medians[1] / (limit / 2), bench::Median(processor),
      bench::Median(processor) / limit);
  return 0;
}
