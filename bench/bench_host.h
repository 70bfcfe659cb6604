// A host with just what a benchmark needs: a data file, memory, random numbers, and silence.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "frame/machine_learning.h"
#include "host/host_memory.h"
#include "host/random_streams.h"
#include "host/services.h"

namespace bench {

class BenchHost final : public qrvml::ProgressServices,
                        public qrvml::MessageServices,
                        public qrvml::ComputeServices {
 public:
  /// `output`: where results go, if any are made.
  explicit BenchHost(qrvml::DataFile& file, qrvml::OutputServices* output = nullptr)
      : analysis_(nullptr) {
    qrvml::HostServices services;
    services.file = &file;
    services.progress = this;
    services.messages = this;
    services.memory = &memory_;
    services.random = &random_;
    services.compute = this;
    services.output = output;
    analysis_.Attach(services);
  }

  qrvml::MachineLearning& analysis() { return analysis_; }
  int threads = 1;
  std::function<void()> onPoll;  // whenever the module asks whether to stop
  /// Random numbers start afresh.
  void ForgetDraws() { random_.Forget(); }

  void dstart(int) override {}
  void d_pbar(std::string_view) override {}
  void dstop() override {}
  int pcancel() override {
    if (onPoll) onPoll();
    return 0;
  }
  bool IsExternallyCancelled() override { return false; }
  void CreateIterDisplay(int, int) override {}
  void ShowIterText(int, std::string_view) override {}
  void DestroyIterDisplay(bool) override {}
  /// A message means that the benchmark is wrong.
  qrvml::BoxButton DspMessageBox(qrvml::BoxType, int number, std::string_view text) override {
    std::fprintf(stderr, "message %d: %.*s\n", number, static_cast<int>(text.size()), text.data());
    std::exit(1);
  }
  int WorkerThreads() const override { return threads; }

 private:
  qrvml::HostMemory memory_;
  qrvml::RandomStreams random_;
  qrvml::MachineLearning analysis_;
};

}  // namespace bench
