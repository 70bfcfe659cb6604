#include "score/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

extern char** environ;

namespace qrvml {
namespace {

constexpr int kSlice = 100;  // milliseconds between looks at the cancel flag

void Close(int& file) {
  if (file >= 0) close(file);
  file = -1;
}

/// The file actions and attributes of a start; freed in any case.
struct SpawnSettings {
  posix_spawn_file_actions_t files{};
  posix_spawnattr_t attributes{};

  SpawnSettings() {
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    // A group of its own, which can be ended as a whole and gets no interrupt of the terminal.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
};

}  // namespace

bool ChildProcess::Start(std::vector<std::string> words, const std::filesystem::path& folder,
                         bool talks, const char* messages, std::string& error) {
  // A socket as the program's input: writing to a program that has ended is then an error of the
  // call, not a signal.
  int input[2] = {-1, -1}, output[2] = {-1, -1};
  if (talks && (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input) != 0 ||
                pipe2(output, O_CLOEXEC) != 0)) {
    error = std::strerror(errno);
    Close(input[0]);
    Close(input[1]);
    return false;
  }
  SpawnSettings settings;
  posix_spawn_file_actions_addchdir_np(&settings.files, folder.c_str());
  if (talks) {
    posix_spawn_file_actions_adddup2(&settings.files, input[1], 0);
    posix_spawn_file_actions_adddup2(&settings.files, output[1], 1);
  } else {
    posix_spawn_file_actions_addopen(&settings.files, 0, "/dev/null", O_RDONLY, 0);
  }
  posix_spawn_file_actions_addopen(&settings.files, 2, messages, O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  if (!talks) posix_spawn_file_actions_adddup2(&settings.files, 2, 1);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int failed = posix_spawnp(&pid_, arguments[0], &settings.files, &settings.attributes,
                                  arguments.data(), environ);
  Close(input[1]);
  Close(output[1]);
  input_ = input[0];
  output_ = output[0];
  if (failed == 0) return true;
  pid_ = 0;
  End();
  error = words[0] + ": " + std::strerror(failed);
  return false;
}

ChildProcess::Outcome ChildProcess::Wait() {
  const auto until = Clock::now() + patience_.limit;
  while (true) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = 0;
      return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? Outcome::done : Outcome::ended;
    }
    if (patience_.cancel != nullptr && *patience_.cancel) return Outcome::cancelled;
    if (Clock::now() >= until) return Outcome::late;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

ChildProcess::Outcome ChildProcess::WaitFor(int file, short events, Clock::time_point until) const {
  while (true) {
    if (patience_.cancel != nullptr && *patience_.cancel) return Outcome::cancelled;
    pollfd waited{file, events, 0};
    const int ready = poll(&waited, 1, kSlice);
    if (ready > 0) return Outcome::done;
    if (ready < 0 && errno != EINTR) return Outcome::ended;
    if (Clock::now() >= until) return Outcome::late;
  }
}

ChildProcess::Outcome ChildProcess::Write(std::string_view text) {
  const auto until = Clock::now() + patience_.limit;
  while (!text.empty()) {
    const Outcome ready = WaitFor(input_, POLLOUT, until);
    if (ready != Outcome::done) return ready;
    const ssize_t taken = send(input_, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (taken < 0 && errno != EAGAIN && errno != EINTR) return Outcome::ended;
    if (taken > 0) text.remove_prefix(static_cast<std::size_t>(taken));
  }
  return Outcome::done;
}

ChildProcess::Outcome ChildProcess::Read(std::string& text) {
  const Outcome ready = WaitFor(output_, POLLIN, Clock::now() + patience_.limit);
  if (ready != Outcome::done) return ready;
  char bytes[4096];
  const ssize_t count = read(output_, bytes, sizeof bytes);
  if (count <= 0) return Outcome::ended;
  text.append(bytes, static_cast<std::size_t>(count));
  return Outcome::done;
}

void ChildProcess::End() {
  Close(input_);
  Close(output_);
  if (pid_ == 0) return;
  kill(-pid_, SIGKILL);
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = 0;
}

}  // namespace qrvml
