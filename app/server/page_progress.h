// Progress that pages show, and cancel by a flag that another thread sets.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

#include "host/services.h"
#include "server/analysis_publisher.h"

namespace qrvml {

class PageProgress final : public ProgressServices {
 public:
  PageProgress(AnalysisPublisher& publisher, const std::atomic<bool>& cancel)
      : publisher_(publisher), cancel_(cancel) {}

  void dstart(int count) override;
  void d_pbar(std::string_view text) override;
  void dstop() override;
  int pcancel() override;
  bool IsExternallyCancelled() override { return cancel_.load(std::memory_order_relaxed); }
  void CreateIterDisplay(int firstValue, int lines) override;
  void ShowIterText(int line, std::string_view text) override;
  void DestroyIterDisplay(bool cancelled) override;

  /// A macro runs, silently as far as the module goes: that is shown until it is through.
  void ShowMacro(bool runs);

  /// How many cases of a pass have been read.
  std::function<int()> casesRead;
  /// Called when a pass or a training begins.
  std::function<void()> onBegin;

 private:
  using Clock = std::chrono::steady_clock;
  /// Publishes what has changed; unless `now`, not more often than pages can show.
  void Show(bool now);

  AnalysisPublisher& publisher_;
  const std::atomic<bool>& cancel_;
  int count_ = 0, readBefore_ = 0;  // of the pass; count 0: none runs
  bool training_ = false, macro_ = false;
  std::string passText_, lines_[2];
  Json shown_ = nullptr;
  Clock::time_point lastShown_{};
  unsigned polls_ = 0;
};

}  // namespace qrvml
