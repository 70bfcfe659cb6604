#include "server/page_progress.h"

#include <algorithm>

namespace qrvml {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);  // between two looks of the page
constexpr unsigned kPollsBetweenLooks = 16;                 // of the clock

}  // namespace

void PageProgress::dstart(int count) {
  if (onBegin) onBegin();
  count_ = count;
  readBefore_ = casesRead ? casesRead() : 0;
  passText_.clear();
  Show(false);
}

void PageProgress::d_pbar(std::string_view text) {
  passText_ = text;
  Show(false);
}

void PageProgress::dstop() {
  count_ = 0;
  passText_.clear();
  Show(!training_);
}

int PageProgress::pcancel() {
  if (++polls_ % kPollsBetweenLooks == 0) Show(false);
  return cancel_.load(std::memory_order_relaxed) ? 1 : 0;
}

void PageProgress::CreateIterDisplay(int, int) {
  if (onBegin) onBegin();
  training_ = true;
  Show(true);
}

void PageProgress::ShowIterText(int line, std::string_view text) {
  if (line < 0 || line > 1) return;
  lines_[line] = text;
  Show(false);
}

void PageProgress::DestroyIterDisplay(bool) {
  training_ = false;
  lines_[0].clear();
  lines_[1].clear();
  Show(true);
}

void PageProgress::ShowMacro(bool runs) {
  macro_ = runs;
  Show(true);
}

void PageProgress::Show(bool now) {
  const auto time = Clock::now();
  if (!now && time - lastShown_ < kInterval) return;
  Json progress = nullptr;
  if (training_ || macro_ || count_ > 0) {
    const int read = casesRead ? std::clamp(casesRead(), 0, count_) : 0;
    progress = {{"title", training_ ? "Apprentissage en cours..."
                          : macro_  ? "Exécution de la macro..."
                                    : ""},
                {"lines", Json::array({lines_[0], lines_[1]})},
                {"pass", passText_},
                {"percent", nullptr},
                {"training", training_}};
    if (count_ > 0 && read > 0 && read != readBefore_)
      progress["percent"] = std::int64_t{read} * 100 / count_;
  }
  if (progress == shown_) return;
  lastShown_ = time;
  publisher_.Tell("progress", {{"progress", progress}});
  shown_ = std::move(progress);
}

}  // namespace qrvml
