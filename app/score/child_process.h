// A program that is run beside this one: started, spoken to with a time limit, and ended by its
// own number with all that it has started.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

/// How long a step may take, and the flag that ends it before.
struct Patience {
  std::chrono::milliseconds limit{300000};
  const std::atomic<bool>* cancel = nullptr;  // null: nothing does
};

class ChildProcess {
 public:
  /// What became of a step.
  enum class Outcome { done, ended, late, cancelled };

  explicit ChildProcess(Patience patience) : patience_(patience) {}
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  /// Ends the program where it still runs.
  ~ChildProcess() { End(); }

  /// Starts a program, looked for where programs are, in a folder. With `talks`, Write goes to its
  /// standard input and Read comes from its standard output; without, it has no input and its
  /// output goes to `messages`, a file of the folder, as the standard error does always. False:
  /// `error` says why.
  bool Start(std::vector<std::string> words, const std::filesystem::path& folder, bool talks,
             const char* messages, std::string& error);
  /// Waits until the program has ended; done: with exit status 0, ended: otherwise.
  Outcome Wait();
  /// done: everything was taken.
  Outcome Write(std::string_view text);
  /// Adds what has come to `text`; done: at least a byte. ended: nothing will come any more.
  Outcome Read(std::string& text);
  void End();

 private:
  using Clock = std::chrono::steady_clock;
  /// Waits until `file` can be read or written.
  Outcome WaitFor(int file, short events, Clock::time_point until) const;

  Patience patience_;
  pid_t pid_ = 0;  // 0: none runs
  int input_ = -1, output_ = -1;
};

}  // namespace qrvml
