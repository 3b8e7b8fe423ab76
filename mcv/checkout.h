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

/// How the files of a change get into the client folder: a large change as one checkout of the whole module
/// at the change's time, a small one file by file, each by its revision.
///
/// Shape    Initialise once; then for each change BeginChange, behind a CheckOutModule when it is a large
/// one,
///          and for each of its items RetrieveItem. What belongs to a change holds until the next one begins.
/// Errors   A file that can't be retrieved is not there afterwards; the import log tells why.
/// Owns     Nothing. Client and log sink are lent.
/// Threads  One. The process's working directory changes while a checkout runs.
class CCheckout {
 public:
  using TStreamInfo = MCE::CProvider::TStreamInfo;

  CCheckout(CLIENT::CCvsClient& oClient, const MCE::CLogSink& oLog);

  /// Takes the client folder, and whether every change is retrieved file by file. False when the folder is no
  /// path.
  bool Initialise(const VCM::CString& strClientFolder, bool bForceFileByFile);
  const VCM::CFilePath& GetClientPath() const { return m_oFolder.GetPath(); }
  bool IsForcedFileByFile() const { return m_bForceFileByFile; }

  /// True for a change that is to be checked out as the whole module.
  bool WantsModule(const MCE::TChangeRecord& tChange) const;
  /// Checks out the stream's module as of a time, seconds since 1970 UTC.
  void CheckOutModule(const CLIENT::TModule& tModule, const TStreamInfo& tStream, long long nTime);
  /// Begins a change; its time is taken only when it is retrieved file by file.
  void BeginChange(bool bFileByFile, std::uint32_t nTime);
  bool IsFileByFile() const { return m_bFileByFile; }
  std::uint32_t GetChangeTime() const { return m_nChangeTime; }

  /// Sees to it that the item's file is at its place, with the item's time.
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

/// True when the client, in a checkout of the whole module that failed, didn't get to the item's file, or
/// broke off while it wrote it.
bool IsUnfinished(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath);

}  // namespace TALVEK::MCV
