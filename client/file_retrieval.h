#pragma once

#include "client/client_folder.h"
#include "client/command_line.h"
#include "client/cvs_client.h"
#include "core/path.h"
#include "core/string.h"
#include "core/timestamp.h"
#include "mce/import_log.h"

namespace TALVEK::CLIENT {

/// One revision of one file of a module.
struct TWantedFile {
  TModule tModule;           ///< the module's name is empty: all of the repository
  VCM::CString strStream;    ///< the stream's folder below the client folder
  VCM::CFilePath oPath;      ///< in the module
  VCM::CString strRevision;  ///< as it goes behind "-r": "1.4"
};

/// Retrieves single files by their revision.
///
/// Errors   A file that can't be retrieved is not there afterwards; the import log tells why.
class CFileRetrieval {
 public:
  /// All are lent.
  CFileRetrieval(const CCvsClient& oClient, CClientFolder& oFolder, const MCE::CLogSink& oLog)
      : m_oClient(oClient), m_oFolder(oFolder), m_oLog(oLog) {}

  /// Checks the revision out. `strTargetPath` must be where the client puts it: {client
  /// folder}/{stream}/{path in the module}. What is there before is removed, so that the client writes a
  /// fresh file.
  void CheckOut(const TWantedFile& tFile, const VCM::CString& strTargetPath);

  /// Removes what a client that failed has left at this place, and logs it: half a file must not pass for the
  /// whole one. Does nothing when there is no file.
  void RemoveUnfinished(const VCM::CString& strTargetPath) const;

  /// Gives a file its time of last change. One that is read-only stays so; one that isn't there isn't made.
  static void Stamp(const VCM::CString& strTargetPath, const VCM::CTimestamp& oTime);

 private:
  const CCvsClient& m_oClient;
  CClientFolder& m_oFolder;
  const MCE::CLogSink& m_oLog;
};

}  // namespace TALVEK::CLIENT
