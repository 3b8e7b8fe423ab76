#pragma once

#include <cstdarg>
#include <functional>
#include <memory>

#include <wx/wfstream.h>

#include "core/connection.h"
#include "core/string.h"

namespace TALVEK::MCE {

/// One line of the import log: the second of the hour (0 to 3599), ": ", the text, and a line feed unless the
/// text ends with one. `nNow` is the time in seconds since 1970 UTC.
VCM::CString MakeLogLine(VCM::CString strText, long long nNow);

/// The import log: a temporary file, the host's connection, or both.
///
/// Shape    Closed at first; a closed log drops lines. For a log that goes to both, call Open before
///          LogToConnection: once the log is open, Open makes no file.
/// Errors   None: lines for a file that can't be written are lost without a message. What the connection
///          throws passes through.
/// Owns     The file's stream, not the file: that stays for the host.
class CImportLog {
 public:
  using TReposView = VRW::TObjectInvokeRef<VRO::CReposView>;

  /// The view is lent. It may still be empty: lines for the connection are dropped until the host sets it.
  explicit CImportLog(const TReposView& oReposView);
  ~CImportLog();
  CImportLog(const CImportLog&) = delete;
  CImportLog& operator=(const CImportLog&) = delete;

  /// Sends lines to the connection from now on, and opens the log.
  void LogToConnection();
  /// Opens the log with a new temporary file. False when the log is open already: nothing changes then.
  bool Open();
  /// Drops lines from now on. The file stays as it is.
  void Pause() { m_bOpen = false; }
  bool IsOpen() const { return m_bOpen; }
  /// Closes log and file; returns the file's path, empty when there was none.
  VCM::CString Close();

  /// Writes one line, printf style; "%s" takes wide text.
  void WriteV(const wchar_t* pszFormat, std::va_list args);

 private:
  class CLineStream;

  void CloseFile();

  const TReposView& m_oReposView;
  std::unique_ptr<wxFFileOutputStream> m_poFile;
  std::unique_ptr<CLineStream> m_poLines;
  VCM::CString m_strPath;
  VCM::CString m_strLastLine;
  bool m_bOpen = false;
  bool m_bToConnection = false;
};

/// Through this the parts of a provider write to the import log without knowing the provider.
class CLogSink {
 public:
  /// `fnWrite` takes each line's text, without a line end; `fnIsOpen` tells whether lines are wanted.
  CLogSink(std::function<void(const VCM::CString& strText)> fnWrite, std::function<bool()> fnIsOpen);

  /// One line, printf style; "%s" takes wide text.
  void WriteLog(const wchar_t* pszFormat, ...) const;
  /// False while lines are dropped: check it before building a line that costs much.
  bool IsLogOpen() const { return m_fnIsOpen(); }

 private:
  std::function<void(const VCM::CString&)> m_fnWrite;
  std::function<bool()> m_fnIsOpen;
};

}  // namespace TALVEK::MCE
