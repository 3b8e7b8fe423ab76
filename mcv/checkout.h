#pragma once

#include <cstdint>

#include "client/client_folder.h"
#include "client/command_line.h"
#include "client/cvs_client.h"
#include "client/file_retrieval.h"
#include "core/string.h"
#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/import_log.h"
#include "mce/provider.h"

namespace TALVEK::MCV {

/// Retrieves the files of a change into the client folder: for a large change by one checkout of the whole
/// module as of the change's time, for a small one file by file, each by its revision.
///
/// Shape    Initialise once. Then for each change: if WantsModule, CheckOutModule and BeginChange(false, ..),
///          else BeginChange(true, ..); then RetrieveItem for each of its items.
/// Errors   A file that can't be retrieved is not there afterwards; the import log tells why.
/// Owns     Nothing. Client and log sink are lent.
/// Threads  One. The process's working directory changes while a checkout runs.
class CCheckout {
 public:
  using TStreamInfo = MCE::CProvider::TStreamInfo;

  CCheckout(CLIENT::CCvsClient& oClient, const MCE::CLogSink& oLog);

  /// Sets the client folder, and whether every change is retrieved file by file. False when the folder's text
  /// is no path.
  bool Initialise(const VCM::CString& strClientFolder, bool bForceFileByFile);
  const VCM::CFilePath& GetClientPath() const { return m_oFolder.GetPath(); }
  bool IsForcedFileByFile() const { return m_bForceFileByFile; }

  /// True for a change that is to be checked out as the whole module.
  bool WantsModule(const MCE::TChangeRecord& tChange) const;
  /// Checks out the stream's module as of a time, seconds since 1970 UTC.
  void CheckOutModule(const CLIENT::TModule& tModule, const TStreamInfo& tStream, long long nTime);
  /// Begins a change. `nTime` is kept only with `bFileByFile`.
  void BeginChange(bool bFileByFile, std::uint32_t nTime);
  bool IsFileByFile() const { return m_bFileByFile; }
  std::uint32_t GetChangeTime() const { return m_nChangeTime; }

  /// Retrieves the item's file, unless the module's checkout brought it, and gives it the item's time. A file
  /// that a failed checkout left unfinished is removed.
  void RetrieveItem(const CLIENT::TModule& tModule, const TStreamInfo& tStream,
                    const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath);

 private:
  VCM::CString GetRevisionArgument(const MCE::TChangeItemRecord& tItem) const;

  const CLIENT::CCvsClient& m_oClient;
  CLIENT::CClientFolder m_oFolder;
  CLIENT::CFileRetrieval m_oFiles;
  std::uint32_t m_nChangeTime = 0;
  bool m_bFileByFile = false;
  bool m_bForceFileByFile = false;
  bool m_bModuleFailed = false;  // the last checkout of the whole module
};

/// After a failed checkout of the whole module: true when the client didn't finish the item's file. Its entry
/// in CVS/Entries is then missing, or of an earlier revision.
bool IsUnfinished(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath);

}  // namespace TALVEK::MCV
