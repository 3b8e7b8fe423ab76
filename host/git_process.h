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

/// A `git` that is asked and answers, one question after the other: `cat-file --batch`.
///
/// Errors   EHostError (STATUS_FAILED) when it can't be started, or ends before it has answered.
/// Owns     The child, as CPipedGit does.
class CAnsweringGit {
 public:
  explicit CAnsweringGit(const std::vector<std::string>& astrArguments);
  ~CAnsweringGit();
  CAnsweringGit(const CAnsweringGit&) = delete;
  CAnsweringGit& operator=(const CAnsweringGit&) = delete;

  /// Sends the text and a line end.
  void Ask(const std::string& strLine);
  /// The next line of the answer, without its end.
  std::string ReadLine();
  /// The next `nCount` bytes of the answer.
  std::string ReadBytes(std::size_t nCount);

 private:
  void Fill();

  VCM::CDescriptor m_oInput;
  VCM::CDescriptor m_oOutput;
  VCM::CDescriptor m_oError;
  std::string m_strAhead;  // read, not yet returned
  pid_t m_nProcess = -1;
};

/// The line of git's standard error that says why it failed: the first with "fatal: " or "error: ", else the
/// last one.
std::string BestErrorLine(const std::string& strError);

}  // namespace TALVEK::HOST
