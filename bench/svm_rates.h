// What the machine can do of the inner loops of support vectors, on one thread: the module's own
// loops on data in the first cache, fastest of several runs by processor time.
#pragma once

#include <algorithm>
#include <ctime>

#include "host/memory.h"
#include "svm/kernels/svm_kernel.h"

namespace bench {

/// Processor seconds of the process: on a busy machine the waiting does not count.
template <class Run>
double ProcessorSeconds(Run run) {
  const std::clock_t start = std::clock();
  run();
  return double(std::clock() - start) / CLOCKS_PER_SEC;
}

/// A second of one thread.
struct SvmRates {
  double products;      // multiplied and added
  double differences;   // subtracted, squared and added
  double exponentials;  //
  double memory;        // bytes read
};

inline SvmRates MeasureSvmRates(int inputs) {
  using qrvml::HostArray;
  const auto fastest = [](const auto& run) {
    double least = 1e9;
    for (int round = 0; round < 5; ++round) least = std::min(least, ProcessorSeconds(run));
    return least;
  };
  const qrvml::SvmKernel& kernel = qrvml::SvmKernelFor(4);
  constexpr int kBlocks = 2;
  constexpr int kQueries = qrvml::kDotQueries;
  constexpr int kValues = 512;
  const auto width = std::size_t(inputs);
  HostArray<double> blocks(kBlocks * qrvml::kCaseLanes * width, 0.5);
  HostArray<double> queries(kQueries * width, 0.25);
  HostArray<double> values(std::size_t(kQueries) * kValues, 0.5);
  const double* query[kQueries];
  double* out[kQueries];
  for (std::size_t q = 0; q < kQueries; ++q) {
    query[q] = queries.data() + q * width;
    out[q] = values.data() + q * kValues;
  }
  const int runs = 400000 / std::max(inputs, 1);
  const double pairs = double(runs) * kBlocks * qrvml::kCaseLanes * kQueries * inputs;
  const auto tileRate = [&](const auto& tile) {
    return pairs / fastest([&] {
             for (int run = 0; run < runs; ++run) {
               tile(blocks.data(), inputs, kBlocks, query, kQueries, out);
             }
           });
  };
  SvmRates rates;
  rates.products = tileRate(kernel.dots);
  rates.differences = tileRate(kernel.squares);
  qrvml::KernelTerms terms;
  terms.finish = qrvml::KernelFinish::exponential;
  terms.gamma = 1e-3;
  constexpr int kFinishes = 20000;
  rates.exponentials = double(kFinishes) * kValues / fastest([&] {
                         for (int run = 0; run < kFinishes; ++run) {
                           kernel.finish(terms, 0, nullptr, values.data(), kValues);
                         }
                       });
  HostArray<double> memory(std::size_t(1) << 25, 1.0);
  volatile double sink = 0;
  rates.memory = double(memory.size()) * 8 / fastest([&] {
                   double sums[16] = {};
                   for (std::size_t t = 0; t < memory.size(); t += 16) {
                     for (int lane = 0; lane < 16; ++lane) {
                       sums[lane] += memory[t + std::size_t(lane)];
                     }
                   }
                   sink = sums[0] + sums[7] + sums[15];
                 });
  return rates;
}

}  // namespace bench
