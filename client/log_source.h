#pragma once

#include <wx/stream.h>

#include "client/command_line.h"
#include "client/cvs_client.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// Which log is wanted.
struct TLogRequest {
  VCM::CString strLogFile;  ///< a saved output of `cvs rlog`; not empty: nothing else counts, no command runs
  TModule tModule;
  VCM::CString strStartDate;  ///< revisions later than this; any form that the client takes. Empty: all
  VCM::CString strEndDate;    ///< and earlier than this; ignored without a start
};

/// Where the history comes from: what `cvs rlog` prints, or a log saved earlier.
///
/// Errors   A saved log that can't be opened leaves no stream. A command that fails every time leaves what
/// its
///          last attempt printed. Both are in the import log.
/// Owns     The stream over a saved log, until Clear: the destructor leaves it alone. The stream over a
///          command's output is the client's, and good until its next command.
class CLogSource {
 public:
  CLogSource(CCvsClient& oClient, const MCE::CLogSink& oLog) : m_oClient(oClient), m_oLog(oLog) {}

  /// Makes a new stream over the log. False when that isn't the whole log.
  bool Generate(const TLogRequest& tRequest);
  /// Null when there is none.
  wxInputStream* GetInput() const { return m_poInputStream; }
  bool OwnsInput() const { return m_bOwnInputStream; }
  /// Reads from this stream from now on. Lets go of none: Clear first.
  void SetInput(wxInputStream* poInputStream, bool bOwn);
  /// Lets go of the stream, and deletes it when it is an own one.
  void Clear();

 private:
  bool OpenSavedLog(const VCM::CString& strLogFile);

  CCvsClient& m_oClient;
  const MCE::CLogSink& m_oLog;
  wxInputStream* m_poInputStream = nullptr;  // the client's output, or a saved log
  bool m_bOwnInputStream = false;
};

/// Lets go of the log at the end of a scope, also when the host's connection ends the search by an exception.
class CLogScope {
 public:
  explicit CLogScope(CLogSource& oSource) : m_oSource(oSource) {}
  ~CLogScope() { m_oSource.Clear(); }
  CLogScope(const CLogScope&) = delete;
  CLogScope& operator=(const CLogScope&) = delete;

 private:
  CLogSource& m_oSource;
};

/// The command line for the log.
VCM::CString MakeLogCommand(const VCM::CString& strCvsCommand, const TLogRequest& tRequest);

}  // namespace TALVEK::CLIENT
