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
  TModule tModule;           ///< an empty module name means the whole repository
  VCM::CString strStream;    ///< the stream's folder below the client folder
  VCM::CFilePath oPath;      ///< in the module
  VCM::CString strRevision;  ///< the argument of "-r", unquoted: "1.4"
  /// Where the repository has it, if that isn't the path below the module's name: then the name is empty.
  VCM::CFilePath oPathInRepository{};
};

/// Retrieves single files by their revision.
///
/// Errors   A file that can't be retrieved is not there afterwards; the import log tells why.
class CFileRetrieval {
 public:
  /// The arguments are lent.
  CFileRetrieval(const CCvsClient& oClient, CClientFolder& oFolder, const MCE::CLogSink& oLog)
      : m_oClient(oClient), m_oFolder(oFolder), m_oLog(oLog) {}

  /// Checks the revision out. `strTargetPath` must be where the client puts it: below the client folder, in
  /// the stream's folder, at the path in the module. An old file there is removed first.
  void CheckOut(const TWantedFile& tFile, const VCM::CString& strTargetPath);

  /// Whether the client takes the file's path for that of a folder of the repository. Costs a checkout of
  /// that folder's own files, or of the file.
  bool IsFolder(const TWantedFile& tFile);

  /// Brings a file whose path is that of a folder, too. The client takes such a path for the folder, whatever
  /// the revision. So the revision is checked out of all files in the folder above, without the folders in
  /// it, and the file taken from there. Costs a checkout of a folder.
  void CheckOutFromFolder(const TWantedFile& tFile, const VCM::CString& strTargetPath);

  /// Removes the file that a failed client left at this path, and logs it, so that a half-written file isn't
  /// taken for the complete one. Does nothing when there is no file.
  void RemoveUnfinished(const VCM::CString& strTargetPath) const;

  /// Sets a file's modification time. A read-only file stays read-only; a missing one isn't made.
  static void Stamp(const VCM::CString& strTargetPath, const VCM::CTimestamp& oTime);

 private:
  void CheckOutByRepositoryPath(const TWantedFile& tFile, const VCM::CString& strTargetPath);
  bool Allows(const VCM::CString& strOutputFolder, const VCM::CString& strPathInModule) const;
  VCM::CString CommandFor(const TWantedFile& tFile, const VCM::CString& strOutputFolder,
                          const VCM::CString& strPathInModule) const;

  bool CheckOutFilesOf(const TWantedFile& tFile, const VCM::CString& strOptions, const VCM::CFilePath& oPath);
  const CCvsClient& m_oClient;
  CClientFolder& m_oFolder;
  const MCE::CLogSink& m_oLog;
};

}  // namespace TALVEK::CLIENT
