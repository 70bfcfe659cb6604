#include "documents/png_file.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>

#include "documents/display_width.h"

extern char** environ;

namespace qrvml {
namespace {

constexpr std::size_t kMostWords = 400;  // of what the program said

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, CloseFile>;

/// The streams of the child: input and errors are unnamed temporary files, so that neither side
/// ever waits for the other.
class Redirection {
 public:
  Redirection(std::FILE* input, const char* output, std::FILE* errors) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, fileno(input), STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC,
                                     0666);
    posix_spawn_file_actions_adddup2(&actions_, fileno(errors), STDERR_FILENO);
  }
  ~Redirection() { posix_spawn_file_actions_destroy(&actions_); }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

/// The child's status; false when it ran longer than `limit` and was ended.
bool WaitFor(pid_t child, std::chrono::milliseconds limit, int& status) {
  const auto end = std::chrono::steady_clock::now() + limit;
  auto pause = std::chrono::milliseconds(1);
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= end) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return false;
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(20));
  }
  return true;
}

std::string WordsOf(std::FILE* file) {
  std::string words(kMostWords, '\0');
  std::rewind(file);
  words.resize(std::fread(words.data(), 1, words.size(), file));
  while (!words.empty() && words.back() == '\n') words.pop_back();
  return PrintableText(words);
}

std::string MissingText(const PngConverter& converter) {
  return "PNG needs the program " + converter.program +
         ", which is not installed (Debian package librsvg2-bin)";
}

bool Convert(std::string_view svg, const std::filesystem::path& target, std::string& error,
             const PngConverter& converter) {
  const TemporaryFile input(std::tmpfile()), errors(std::tmpfile());
  if (!input || !errors || std::fwrite(svg.data(), 1, svg.size(), input.get()) != svg.size() ||
      std::fflush(input.get()) != 0) {
    error = std::string("cannot write a temporary file: ") + std::strerror(errno);
    return false;
  }
  std::rewind(input.get());

  const Redirection streams(input.get(), target.c_str(), errors.get());
  std::string words[] = {converter.program, "--format=png",
                         "--zoom=" + std::to_string(converter.zoom)};
  char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t child = 0;
  const int failure =
      posix_spawnp(&child, arguments[0], streams.get(), nullptr, arguments, environ);
  if (failure == ENOENT) {
    error = MissingText(converter);
    return false;
  }
  if (failure != 0) {
    error = "cannot start " + converter.program + ": " + std::strerror(failure);
    return false;
  }
  int status = 0;
  if (!WaitFor(child, converter.limit, status)) {
    error = converter.program + " took longer than " + std::to_string(converter.limit.count()) +
            " ms and was ended";
    return false;
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  error = converter.program + " failed";
  if (const std::string said = WordsOf(errors.get()); !said.empty()) error += ": " + said;
  return false;
}

}  // namespace

bool FindPngConverter(std::string& error, const PngConverter& converter) {
  const char* path = std::getenv("PATH");
  std::string_view folders = path == nullptr ? std::string_view() : path;
  while (!folders.empty()) {
    const std::size_t colon = std::min(folders.find(':'), folders.size());
    const auto program = std::filesystem::path(folders.substr(0, colon)) / converter.program;
    if (access(program.c_str(), X_OK) == 0) return true;
    folders.remove_prefix(std::min(colon + 1, folders.size()));
  }
  error = MissingText(converter);
  return false;
}

bool WritePng(std::string_view svg, const std::filesystem::path& target, std::string& error,
              const PngConverter& converter) {
  if (Convert(svg, target, error, converter)) return true;
  std::error_code ignored;
  std::filesystem::remove(target, ignored);
  return false;
}

}  // namespace qrvml
