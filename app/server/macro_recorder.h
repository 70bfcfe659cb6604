// The macro of an analysis as it grows: what was done, unless recording was off meanwhile.
#pragma once

#include <cstddef>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "datafile/open_options.h"
#include "host/automation_host.h"

namespace qrvml {

/// The analysis's thread takes changes, every thread reads and switches.
///
/// While recording is off the text stands still. Settings and steps of that time enter it when it
/// is on again, since no macro could be replayed without them; outputs that were made do not.
class MacroRecorder {
 public:
  /// Takes what is new in the analysis's `changes`; fewer than before: it has started over. True:
  /// the text is another one now.
  bool Take(const OpenOptions& file, std::span<const RecordedChange> changes);
  /// True: the text is another one now.
  bool Switch(bool on);

  bool IsOn() const;
  std::string Text() const;
  std::ptrdiff_t Lines() const;
  /// The text without the names of files that were written, which stand for one data file.
  std::string TextForAnotherFile() const;

 private:
  void Catch(std::span<const RecordedChange> changes);

  mutable std::mutex mutex_;
  OpenOptions file_;
  std::vector<RecordedChange> recorded_, waiting_;
  std::size_t taken_ = 0;  // of the analysis's changes
  bool on_ = true;
  std::string text_;
};

}  // namespace qrvml
