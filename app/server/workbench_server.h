// The workbench's web server: on this machine only, for whoever has the token of this start.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "server/workbench_api.h"

namespace qrvml {

class WorkbenchServer {
 public:
  /// `page`: the folder with the page's files.
  WorkbenchServer(const WorkbenchSettings& settings, const std::filesystem::path& page);
  ~WorkbenchServer();

  /// Begins to serve on a port of the loopback interface, 0: any free one. False: `error` says why
  /// not.
  bool Start(int port, std::string& error);
  /// Ends every answer that is under way.
  void Stop();

  /// Of the page, with the token.
  std::string Address() const;
  /// Whether the program was built with the page.
  bool HasPage() const;
  WorkbenchApi& api();

 private:
  class Web;
  std::unique_ptr<Web> web_;
};

}  // namespace qrvml
