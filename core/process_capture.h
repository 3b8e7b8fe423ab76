#pragma once

#include <memory>
#include <string>
#include <vector>

#include <wx/stream.h>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Splits a command line into program and arguments, as CProcessCapture does: at blanks and tabs outside
/// double quotes. Between quotes \" is a quote and \\ a backslash; any other backslash stands for itself.
/// Quotes may begin and end within a word; "" alone is an empty argument. An open quote runs to the end. No
/// other character is special.
TALVEK_CORE_API std::vector<CString> SplitCommandLine(const CString& strCommandLine);

/// Escapes `strText` for a place between double quotes; SplitCommandLine gives the same text back.
TALVEK_CORE_API CString EscapeQuoted(const CString& strText);

/// Runs a program to its end and keeps what it wrote.
///
/// Shape    The program is started directly, without a shell, found on the PATH when its name has no '/'.
///          Standard input is empty. Both outputs go to unnamed temporary files (in TMPDIR, else /tmp), so a
///          gigabyte of output takes no memory.
/// Owns     The outputs and their streams, which are valid until the next Execute or destruction.
/// Threads  One at a time. The child ends when the thread that started it does.
class TALVEK_CORE_API CProcessCapture {
 public:
  CProcessCapture();
  ~CProcessCapture();
  CProcessCapture(const CProcessCapture&) = delete;
  CProcessCapture& operator=(const CProcessCapture&) = delete;

  /// The program's exit status; 128 + the signal's number when a signal ended it; 127, with a line on the
  /// captured standard error that says why, when it can't be started or there is no room for what it writes.
  int Execute(const CString& strCommandLine);

  /// The last run's outputs, from their beginning. Null before the first run, or when no temporary file could
  /// be made. Standard output is also null when a full disk may have cut it off, whatever the exit status
  /// was.
  wxInputStream* GetStdOutputStream() const { return m_poStdOutput.get(); }
  wxInputStream* GetStdErrorStream() const { return m_poStdError.get(); }

 private:
  std::unique_ptr<wxInputStream> m_poStdOutput;
  std::unique_ptr<wxInputStream> m_poStdError;
};

}  // namespace TALVEK::VCM
