// What the program's exit status says.
#pragma once

namespace qrvml {

enum ExitCode : int {
  kExitDone = 0,
  kExitFailed = 1,      // refused or failed; standard error says what was wrong
  kExitWrongUsage = 2,  // nothing was done
  kExitCancelled = 3,
};

}  // namespace qrvml
