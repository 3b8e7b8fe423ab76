#pragma once

#include <cstdint>

#include <wx/stream.h>

#include "core/process_capture.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// The number that a setting for the repeat count begins with (its low 16 bits); 1 where that is 0 or none.
std::uint16_t ParseRepeatCount(const VCM::CString& strText);

/// Runs commands of the `cvs` client, one at a time, and tries a failing one again.
///
/// Shape    SetCommand first. The command line comes from CCommandLine.
/// Errors   A command has failed when its last attempt has; the import log tells what the client said.
/// Owns     The outputs of the last attempt, until the next one. The log sink is lent.
/// Threads  One.
class CCvsClient {
 public:
  explicit CCvsClient(const MCE::CLogSink& oLog) : m_oLog(oLog) {}

  /// Names the executable (without a "/" it is searched for on the PATH), and how often a command that fails
  /// is run in all.
  void SetCommand(const VCM::CString& strExecutable, std::uint16_t nRepeatCount);
  /// The executable as it stands at the head of every command line: in quotes. Empty before SetCommand.
  const VCM::CString& GetCommand() const { return m_strCvsCommand; }
  std::uint16_t GetRepeatCount() const { return m_nCmdRepeatCount; }

  /// Runs a command line. Logs it once, and after each attempt the lines of its standard error. True when an
  /// attempt ended with status 0.
  bool Execute(const VCM::CString& strCommandLine);
  /// Standard output of the last attempt, from its beginning. Null before the first one, and when there was
  /// no room for it.
  wxInputStream* GetOutput() const { return m_oProcess.GetStdOutputStream(); }

 private:
  void LogErrorOutput();

  const MCE::CLogSink& m_oLog;
  VCM::CProcessCapture m_oProcess;
  VCM::CString m_strCvsCommand;
  std::uint16_t m_nCmdRepeatCount = 5;
};

}  // namespace TALVEK::CLIENT
