#pragma once

#include <stdexcept>
#include <string>

namespace TALVEK::HOST {

/// The program's exit status. After a stop signal it is 128 + the signal's number instead.
enum TExitStatus : int {
  STATUS_IMPORTED = 0,
  STATUS_FAILED = 1,
  STATUS_WRONG_USE = 2,
  STATUS_LOSSES = 3,  ///< imported, but something of the history is missing
};

/// Ends the run; main() prints what() as one line: what is wrong and, after a semicolon, what to do about it.
class EHostError : public std::runtime_error {
 public:
  EHostError(TExitStatus eStatus, const std::string& strWhat, const std::string& strRemedy)
      : std::runtime_error(strRemedy.empty() ? strWhat : strWhat + "; " + strRemedy), m_eStatus(eStatus) {}
  TExitStatus GetStatus() const { return m_eStatus; }

 private:
  TExitStatus m_eStatus;
};

/// Writing to a descriptor failed. If a program was reading (git), its error message says more than ours:
/// catch this and print that instead.
class EWriteError : public EHostError {
 public:
  EWriteError(const std::string& strName, const std::string& strReason)
      : EHostError(STATUS_FAILED, "can't write to " + strName + ": " + strReason, "") {}
};

/// Ends the run because a signal asked for it.
class EStopped : public std::runtime_error {
 public:
  explicit EStopped(int nSignal) : std::runtime_error("stopped by a signal"), m_nSignal(nSignal) {}
  int GetSignal() const { return m_nSignal; }

 private:
  int m_nSignal;
};

}  // namespace TALVEK::HOST
