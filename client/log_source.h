#pragma once

#include <wx/stream.h>

#include "client/command_line.h"
#include "client/cvs_client.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// Which log is wanted.
struct TLogRequest {
  VCM::CString strLogFile;  ///< a saved output of `cvs rlog`; if given, nothing else counts and nothing runs
  TModule tModule;
  VCM::CString strStartDate;  ///< revisions later than this; any form that the client takes. Empty: all
  VCM::CString strEndDate;    ///< and earlier than this. Ignored without a start
};

/// Gives the log of a module as a stream: the output of `cvs rlog`, or a log saved earlier. The provider's
/// parser reads it next (for provider cvs, CLogParser by way of CFileEnum).
///
/// Errors   If a saved log can't be opened there is no stream. If the command fails in all attempts, the
///          stream has the output of the last one. Both are logged.
/// Owns     The stream over a saved log, until Clear; the destructor does NOT delete it. The stream over a
///          command's output is the client's, valid until its next command.
class CLogSource {
 public:
  CLogSource(CCvsClient& oClient, const MCE::CLogSink& oLog) : m_oClient(oClient), m_oLog(oLog) {}

  /// Opens a new stream over the log. False when the log is missing or incomplete.
  bool Generate(const TLogRequest& tRequest);
  /// Null when there is none.
  wxInputStream* GetInput() const { return m_poInputStream; }
  bool OwnsInput() const { return m_bOwnInputStream; }
  /// Makes this the stream; with `bOwn`, Clear deletes it. The stream before isn't deleted: call Clear first.
  void SetInput(wxInputStream* poInputStream, bool bOwn);
  /// Forgets the stream, and deletes it if it is owned.
  void Clear();

 private:
  bool OpenSavedLog(const VCM::CString& strLogFile);

  CCvsClient& m_oClient;
  const MCE::CLogSink& m_oLog;
  wxInputStream* m_poInputStream = nullptr;  // the client's output, or a saved log
  bool m_bOwnInputStream = false;
};

/// Calls Clear at the end of a scope, also when the host's connection ends the search by an exception.
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
