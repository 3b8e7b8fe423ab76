#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::HOST {

struct TProcessResult {
  int nStatus = 0;        ///< exit status; 128 + signal; 127 when the program can't be started
  std::string strOutput;  ///< standard output; empty for CPipedGit
  std::string strError;   ///< standard error, or why the program can't be started
};

/// Runs `git` to its end, with empty standard input. It gets our environment without the variables that would
/// make it work on another repository than the one in its arguments.
TProcessResult RunGit(const std::vector<std::string>& astrArguments);

/// A running `git` that reads from us through a pipe.
///
/// Errors   EHostError (STATUS_FAILED) when it can't be started.
/// Owns     The child: the destructor closes the pipe and waits for its end.
class CPipedGit {
 public:
  explicit CPipedGit(const std::vector<std::string>& astrArguments);
  ~CPipedGit();
  CPipedGit(const CPipedGit&) = delete;
  CPipedGit& operator=(const CPipedGit&) = delete;

  int GetInput() const { return m_oInput.Get(); }
  /// Closes the pipe and waits for its end.
  TProcessResult Finish();

 private:
  VCM::CDescriptor m_oInput;
  VCM::CDescriptor m_oError;
  pid_t m_nProcess = -1;
};

/// The line of git's standard error that says why it failed: the first with "fatal: " or "error: ", else the
/// last one.
std::string BestErrorLine(const std::string& strError);

}  // namespace TALVEK::HOST
