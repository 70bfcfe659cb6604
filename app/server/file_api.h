// The page's requests about data files: folders, uploads, reading, what is in a file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "datafile/open_options.h"
#include "server/api_request.h"
#include "server/file_shelf.h"
#include "server/named_folders.h"
#include "server/upload_folder.h"
#include "server/workbench_settings.h"

namespace qrvml {

/// Used by several threads at once.
class FileApi {
 public:
  FileApi(const WorkbenchSettings& settings, NamedFolders& folders, PublishedState& state)
      : settings_(settings), folders_(folders), shelf_(state) {}

  std::vector<ApiRoute> Routes();
  UploadFolder& uploads() { return uploads_; }
  FileShelf& shelf() { return shelf_; }
  /// Opens the file that the person named. False: `error` says why it cannot be read.
  bool OpenNamedFile(const OpenOptions& options, std::string& error);

  /// Does something with a file that no analysis uses, and lets none begin meanwhile; false: one
  /// does use it.
  std::function<bool(int file, const std::function<void()>& act)> ifUnused;

 private:
  ApiReply List(const ApiRequest& request);
  ApiReply OpenFile(const ApiRequest& request);
  ApiReply CancelReading(const ApiRequest& request);
  ApiReply CloseFile(const ApiRequest& request);
  ApiReply ChangeFile(const ApiRequest& request);
  ApiReply CheckFile(const ApiRequest& request);
  ApiReply Variables(const ApiRequest& request);
  ApiReply OneVariable(const ApiRequest& request);
  ApiReply Rows(const ApiRequest& request);

  FileShelf::Ref FileOf(const ApiRequest& request) const;

  const WorkbenchSettings& settings_;
  NamedFolders& folders_;
  UploadFolder uploads_;
  FileShelf shelf_;
};

}  // namespace qrvml
