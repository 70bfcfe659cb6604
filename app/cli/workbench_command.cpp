#include "cli/workbench_command.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "cli/command_line.h"
#include "cli/exit_code.h"
#include "cli/open_analysis.h"
#include "host/module_library.h"
#include "server/workbench_server.h"

extern char** environ;

namespace qrvml {
namespace {

namespace fs = std::filesystem;

struct WorkbenchOptions {
  OpenOptions open;
  int port = 0;
  bool noOpen = false;
};

void Complain(const std::string& text) { std::fprintf(stderr, "qrvml: %s\n", text.c_str()); }

/// Hands an address to the desktop's browser, if there is one.
void OpenBrowser(std::string address) {
  char program[] = "xdg-open";
  char* words[] = {program, address.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  if (posix_spawnp(&child, program, &actions, &attributes, words, environ) != 0)
    Complain("no browser can be started from here; open the address above");
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
}

/// Interrupts are held back from here on, in all threads, until they are waited for.
sigset_t HoldInterrupts() {
  sigset_t interrupts;
  sigemptyset(&interrupts);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&interrupts, number);
  pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);
  return interrupts;
}

int Run(const WorkbenchOptions& options, const std::string& version) {
  WorkbenchSettings settings;
  settings.version = version;
  settings.threads = options.open.threads;
  settings.memory = options.open.memory;
  for (const AnalysisCommand& kind : AnalysisCommands())
    settings.kinds.push_back({kind.command, kind.title, kind.position, kind.specificationStep});
  std::string error;
  settings.factory = ModuleLibrary::Load(error);
  if (settings.factory == nullptr) {
    Complain(error);
    return kExitFailed;
  }
  const fs::path data = options.open.path;
  settings.folders = {data.empty() ? fs::current_path() : fs::absolute(data).parent_path()};
  std::error_code code;
  if (!data.empty() && !fs::is_regular_file(data, code)) {
    Complain(options.open.path + ": the file cannot be opened: there is no such file");
    return kExitFailed;
  }

  const sigset_t interrupts = HoldInterrupts();
  WorkbenchServer server(settings, ProgramFolder() / "page");
  if (!data.empty() && !server.api().OpenNamedFile(options.open, error)) {
    Complain(error);
    return kExitFailed;
  }
  if (!server.Start(options.port, error)) {
    Complain(error);
    return kExitFailed;
  }
  std::cout << server.Address() << std::endl;
  if (!server.HasPage()) Complain("this program was built without the page: build web/ first");
  if (!options.noOpen) OpenBrowser(server.Address());
  int number = 0;
  sigwait(&interrupts, &number);
  // A second one ends the program at once.
  pthread_sigmask(SIG_UNBLOCK, &interrupts, nullptr);
  server.Stop();
  return kExitDone;
}

}  // namespace

int RunWorkbenchCommand(std::span<const std::string> arguments, const std::string& version) {
  WorkbenchOptions options;
  CommandLine line("The whole analysis in a browser on this machine", "qrvml workbench");
  line.AddFileOptions(options.open);
  line.Add("--port", options.port, "Port of the loopback interface (default: 0, any free one)")
      .Range(0, 65535);
  line.AddFlag("--no-open", options.noOpen, "Prints the address without opening a browser");
  line.Add("--threads", options.open.threads, "Threads (default: all cores)").Range(1, 4096);
  std::string text;
  const ParseOutcome outcome = line.Parse(arguments, text);
  if (outcome == ParseOutcome::help) {
    std::cout << text;
    return kExitDone;
  }
  if (outcome == ParseOutcome::wrong) {
    Complain(text + " (qrvml workbench --help lists the options)");
    return kExitWrongUsage;
  }
  return Run(options, version);
}

}  // namespace qrvml
