#include "host/terminal_progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "documents/display_width.h"

namespace qrvml {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);  // between two looks of the line
constexpr std::uint32_t kPollsBetweenLooks = 64;            // of the clock

}  // namespace

void TerminalProgress::dstart(int count) {
  count_ = count;
  readBefore_ = casesRead ? casesRead() : 0;
  passText_.clear();
  Show(true);
}

void TerminalProgress::d_pbar(std::string_view text) {
  passText_ = text;
  Show(true);
}

void TerminalProgress::dstop() {
  count_ = 0;
  passText_.clear();
  Show(true);
}

int TerminalProgress::pcancel() {
  if (write_ && ++polls_ % kPollsBetweenLooks == 0) Show(false);
  return cancel_.load(std::memory_order_relaxed) ? 1 : 0;
}

void TerminalProgress::CreateIterDisplay(int, int) {
  iterating_ = true;
  Show(true);
}

void TerminalProgress::ShowIterText(int line, std::string_view text) {
  if (line < 0 || line > 1) return;
  iterText_[line] = text;
  Show(false);
}

void TerminalProgress::DestroyIterDisplay(bool) {
  iterating_ = false;
  iterText_[0].clear();
  iterText_[1].clear();
  Show(true);
}

std::string TerminalProgress::Line() const {
  std::string line;
  const auto add = [&line](const std::string& text) {
    if (text.empty()) return;
    if (!line.empty()) line += "  ";
    line += text;
  };
  if (iterating_) {
    add(iterText_[0]);
    add(iterText_[1]);
  }
  if (count_ > 0) {
    add(passText_);
    const int read = casesRead ? std::clamp(casesRead(), 0, count_) : 0;
    if (read > 0 && read != readBefore_)
      add(std::to_string(static_cast<std::int64_t>(read) * 100 / count_) + " %");
  }
  return line;
}

void TerminalProgress::Show(bool now) {
  if (!write_) return;
  const auto time = Clock::now();
  if (!now && time - lastShown_ < kInterval) return;
  lastShown_ = time;
  std::string line = CutToWidth(PrintableText(Line()), static_cast<std::size_t>(width_ - 1));
  if (line == shown_) return;
  write_("\r" + line + "\x1b[K");
  shown_ = std::move(line);
}

void TerminalProgress::ClearLine() {
  if (!write_ || shown_.empty()) return;
  write_("\r\x1b[K");
  shown_.clear();
}

std::function<void(std::string_view)> TerminalWriter() {
  if (isatty(STDERR_FILENO) == 0) return {};
  return [](std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
      if (written <= 0) return;
      text.remove_prefix(static_cast<std::size_t>(written));
    }
  };
}

int TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 20) return 80;
  return size.ws_col;
}

}  // namespace qrvml
