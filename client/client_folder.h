#pragma once

#include "client/cvs_client.h"
#include "core/path.h"
#include "core/string.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// The folder below which the client puts files, in a folder for each stream.
///
/// Errors   A refused folder or command is a line in the import log.
/// Threads  One. The process's working directory changes while a command runs.
class CClientFolder {
 public:
  CClientFolder(CCvsClient& oClient, const MCE::CLogSink& oLog) : m_oClient(oClient), m_oLog(oLog) {}

  /// False when the text is no path. Before the first SetPath no command runs.
  bool SetPath(const VCM::CString& strClientFolder) { return m_oClientPath.Parse(strClientFolder); }
  const VCM::CFilePath& GetPath() const { return m_oClientPath; }

  /// True when a checkout may go to this folder (the argument of the client's "-d"): it is below the client
  /// folder, and its name has no NUL, at which a command line would end. The names come from the log, so one
  /// with ".." could make the client write anywhere.
  bool Allows(const VCM::CString& strOutputFolder) const;

  /// The folder as the argument of "-d": the client can't make one whose path has an empty item ("a//b").
  static VCM::CString AsArgument(const VCM::CString& strOutputFolder);

  /// Runs a command with the client folder as working directory. False when it fails. When the folder can't
  /// be entered nothing is run: in another folder the client could overwrite files that aren't the import's.
  bool Execute(const VCM::CString& strCommandLine);

 private:
  CCvsClient& m_oClient;
  const MCE::CLogSink& m_oLog;
  VCM::CFilePath m_oClientPath;
};

/// True for a name with a NUL: a command line would end there.
inline bool HasNul(const VCM::CString& strText) {
  return strText.Find(L'\0') >= 0;
}

}  // namespace TALVEK::CLIENT
