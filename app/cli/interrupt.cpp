#include "cli/interrupt.h"

#include <signal.h>

namespace qrvml {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

const std::atomic<bool>& CatchInterrupts() {
  struct sigaction action {};
  action.sa_handler = [](int) { interrupted.store(true, std::memory_order_relaxed); };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  return interrupted;
}

}  // namespace qrvml
