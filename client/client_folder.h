#pragma once

#include "client/cvs_client.h"
#include "core/path.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// The folder below which the client puts files, a folder for each stream.
///
/// Errors   What is refused shows in the import log.
/// Threads  One. The process's working directory changes while a command runs.
class CClientFolder {
 public:
  CClientFolder(CCvsClient& oClient, const MCE::CLogSink& oLog) : m_oClient(oClient), m_oLog(oLog) {}

  /// False when the text is no path. Until a path is set no command runs.
  bool SetPath(const VCM::CString& strClientFolder) { return m_oClientPath.Parse(strClientFolder); }
  const VCM::CFilePath& GetPath() const { return m_oClientPath; }

  /// True when a checkout may go to this folder (the argument of the client's "-d"): it lies below the client
  /// folder, and its name comes out of a command line as it went in. Names of streams and files come from the
  /// log; one with ".." would have the client write elsewhere.
  bool Allows(const VCM::CString& strOutputFolder) const;

  /// Runs a command with the client folder as working directory. False when it fails, or the folder can't be
  /// entered: in a folder of the server's the client would overwrite what isn't the import's.
  bool Execute(const VCM::CString& strCommandLine);

 private:
  CCvsClient& m_oClient;
  const MCE::CLogSink& m_oLog;
  VCM::CFilePath m_oClientPath;
};

/// True for a name that a command line would cut short: a command line ends at a NUL.
inline bool HasNul(const VCM::CString& strText) {
  return strText.Find(L'\0') >= 0;
}

}  // namespace TALVEK::CLIENT
