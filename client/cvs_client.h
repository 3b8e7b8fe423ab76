#pragma once

#include <cstdint>

#include <wx/stream.h>

#include "core/process_capture.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// Reads the setting "CmdRepeatCount": the number that the text begins with (its low 16 bits), at least 1.
std::uint16_t ParseRepeatCount(const VCM::CString& strText);

/// Runs commands of the `cvs` client, one at a time, and tries a failing one again.
///
/// Shape    SetCommand first. The command line comes from CCommandLine.
/// Errors   A command fails when all attempts fail; the import log has the error output of each.
/// Owns     The outputs of the last attempt, until the next Execute. The log sink is lent.
/// Threads  One.
class CCvsClient {
 public:
  explicit CCvsClient(const MCE::CLogSink& oLog) : m_oLog(oLog) {}

  /// Sets the executable (without a "/" it is searched for on the PATH), and how many times a failing command
  /// is run in all; 0: no command runs.
  void SetCommand(const VCM::CString& strExecutable, std::uint16_t nRepeatCount);
  /// The executable in quotes, as every command line begins with it. Empty before SetCommand.
  const VCM::CString& GetCommand() const { return m_strCvsCommand; }
  std::uint16_t GetRepeatCount() const { return m_nCmdRepeatCount; }

  /// Runs a command line until an attempt ends with status 0, at most as often as set; true if one did. Logs
  /// the command once, and after each attempt the lines of its standard error.
  bool Execute(const VCM::CString& strCommandLine);
  /// Standard output of the last attempt, from its beginning. Null before the first one, and when the disk
  /// was full.
  wxInputStream* GetOutput() const { return m_oProcess.GetStdOutputStream(); }

 private:
  void LogErrorOutput();

  const MCE::CLogSink& m_oLog;
  VCM::CProcessCapture m_oProcess;
  VCM::CString m_strCvsCommand;
  std::uint16_t m_nCmdRepeatCount = 5;
};

}  // namespace TALVEK::CLIENT
