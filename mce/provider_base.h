#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/array.h"
#include "core/database.h"
#include "core/map.h"
#include "core/path.h"
#include "core/status.h"
#include "core/string.h"
#include "mce/change_grouping.h"
#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/cvs_revision.h"
#include "mce/import_log.h"
#include "mce/provider.h"
#include "mce/stream_list.h"

namespace TALVEK::MCE {

/// What every provider needs: the property store, the stream list, the import database with the grouping of
/// single file revisions into changesets, the walks over all of it, and the import log.
///
/// Use      A concrete provider implements ResolveStreamLinkage, GetPropertyInfo, InitialiseClients and
///          RemoveClients of CProvider, and the four pure operations below. In SearchForStreams and
///          EnumerateChanges it fills m_oStreams and calls AddChangeItem, or AddChange.
///
/// Times    Seconds since 1970 UTC; in the database and in every comparison of the grouping unsigned 32-bit.
///
/// Files    The import database "/tmp/talvek-em-PID.tdf" and ".tlf", deleted with the provider; the import
///          log, kept for the host. One import per process at a time, because the database's path is made of
///          the process number only.
///
/// Errors   Result codes and false; the reasons go to the import log. Exceptions as for CProvider.
/// Threads  One.
class CProviderBase : public CProvider {
 public:
  /// The provider constructed last. It dangles once that provider is destroyed.
  static CProviderBase* s_poInstance;

  CProviderBase(const VCM::CString& strName, const VCM::CString& strDisplayName,
                const VCM::CString& strDescription, bool bFirstCapability, bool bSecondCapability);

  void Destroy() override;
  void ResetStreams() override;
  int GetNextStream(POSITION*& poPosition, TStreamInfo& tStream, unsigned int nParentID) override;
  int CheckEnvironment(VCM::CString& strMessage) override;
  int EstablishStreams(unsigned int& nCount) override;
  int OnBeginStream(unsigned int nStreamID, const wchar_t* pszFolder) override;
  int OnFirstChangeset(TChangeInfo& tChange) override;
  int OnNextChangeset(TChangeInfo& tChange) override;
  int OnProcessChange(TChangeInfo& tChange) override;
  int OnFirstChangeItem(TChangeItemInfo& tItem) override;
  int OnNextChangeItem(TChangeItemInfo& tItem) override;
  int EstablishChangesets(unsigned int& nCount) override;
  void SetProperty(const VCM::CString& strKey, const VCM::CString& strValue) override;
  void LogToConnection() override;
  void OpenLog(bool bOpen) override;
  bool IsLogOpen() const override { return m_oLog.IsOpen(); }
  VCM::CString GetLogPath() override;
  void WriteLog(const wchar_t* pszFormat, ...) override;
  void LogStreamsAndChanges() override;

  ~CProviderBase() override;

  // For the concrete provider to implement. In the virtual table they follow CProvider's slots in this order.

  /// Called by OnProcessChange, before the changeset's items are walked: retrieve its files, or get ready to.
  virtual int RetrieveChangeFiles(const TChangeRecord& tChange) = 0;
  /// Called for each item of the walk, also without OnProcessChange: puts the item's file at the path if it
  /// is wanted.
  virtual int RetrieveChangeItemFile(const TChangeItemRecord& tItem, const VCM::CString& strTargetPath) = 0;
  /// Fills the stream list.
  virtual bool SearchForStreams() = 0;
  /// Adds the changes that SearchForStreams hasn't added yet. False: EstablishChangesets fails.
  virtual bool EnumerateChanges() = 0;

  /// Empty when the key was never set.
  VCM::CString GetStringProperty(const VCM::CString& strKey) const;
  /// True when the value begins with a number whose low 32 bits aren't 0: "1", "-1", "3abc". "true" and "on"
  /// are false.
  bool GetBooleanProperty(const VCM::CString& strKey) const;

  // The import database.

  /// Creates the database if there is none, and opens a transaction with tables and iterators if none is
  /// open. If one is open, brings the rows of changes up to date, so call it before reading them. `bReset`
  /// first discards what has been added since the last commit. False when the database can't be made.
  bool PrepareForChanges(bool bReset);
  /// Commits the open transaction, if there is one, and closes it and its iterators.
  void CommitChanges();
  /// Sets "NextItem" of one change. False when there is no such change, or no transaction is open.
  bool UpdateChangeItemCount(unsigned int nChangeID, unsigned int nCount);
  /// Writes to the log, once, that changes couldn't be stored. From then on EstablishChangesets fails, so
  /// that an incomplete history isn't imported as a complete one.
  void ReportLostChanges();

  // Changes.

  /// Adds one change as given, without items. Returns its ID, 0 when there is no database.
  unsigned int AddChange(unsigned int nProviderID, unsigned int nStreamID, const VCM::CString& strUser,
                         const VCM::CString& strComment, long nTime);

  /// Adds one file revision to the stream: to a change of the same author (and, with `bMatchComment`, the
  /// same comment) whose first item is at most 300 seconds away, else to a new change. A change has at most
  /// one item per file. `nEndTime` is when the file's next revision replaces this one, -1: never. A revision
  /// joins no change that is later than that, and no change of which a revision has been replaced by `nTime`.
  /// False when the item couldn't be stored. CChangeGrouping has the exact rule.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment, int nRevision,
                     TCVSRevision oCVSRevision, bool bMatchComment, long nEndTime);
  /// The form for CVS: rank 0, comments must match.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment,
                     TCVSRevision oCVSRevision, long nEndTime);
  /// The form for systems that number a file's revisions: `nRevision` is that rank. Comments need not match:
  /// the change gets the sentences of all (AddToComment). No end time.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment, int nRevision);
  /// Stores one item under a change and item number as given, without grouping. Its time is left as it was in
  /// the item added before.
  bool AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                     const VCM::CFilePath& oPath, unsigned int nRevision);
  /// The form for a provider that has grouped its changes itself: stores one item as given, with its revision
  /// number and its time in seconds since 1970 UTC. It doesn't update the grouping's indexes, so don't mix it
  /// with the other forms or CheckForExistingItem.
  bool AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                     const VCM::CFilePath& oPath, const TCVSRevision& oCVSRevision, long nTime);

  /// True when the change has an item of the file; `nRevision` becomes its rank, that of the first if there
  /// are several. Moves the item walk.
  bool CheckForExistingItem(const TChangeRecord& tChange, const VCM::CFilePath& oPath, int& nRevision);
  /// ID of the stream's last change at or before the time; 0 when there is none.
  unsigned int FindNearestChange(const TStreamInfo& tStream, long nTime);
  /// Makes the folders of a file's path (relative to the work folder).
  bool EnsureFolderExists(const VCM::CFilePath& oPath);
  /// See CChangeGrouping::AddToComment.
  static void AddToComment(VCM::CString& strComment, const VCM::CString& strAddition);

 protected:
  CStreamList m_oStreams;
  TStreamInfo m_tCurrentStream;
  VCM::CFilePath m_oWorkFolder;
  VCM::CMap<VCM::CString, VCM::CString> m_oProperties;

  VCM::CString m_strDatabasePath;
  std::unique_ptr<VDB::CDatabase> m_poDatabase;
  CChangeTable m_oChangeTable;
  CChangeItemTable m_oChangeItemTable;
  std::unique_ptr<VDB::CTransaction> m_poTransaction;
  std::unique_ptr<VDB::CIterator<TChangeRecord>> m_poChangeIterator;          // "change" index 1
  std::unique_ptr<VDB::CIterator<TChangeItemRecord>> m_poChangeItemIterator;  // "citems" index 0
  TChangeRecord m_tChange;          // search key and result of the change iterators
  TChangeItemRecord m_tChangeItem;  // the same for the item iterator
  CChangeGrouping m_oGrouping;
  std::uint32_t m_nChangesAdded = 0;
  bool m_bStreamsEstablished = false;
  bool m_bChangesetsEstablished = false;

 private:
  bool CreateDatabase();
  /// Stores the first failure in m_oFailure. Returns `oStatus`.
  VCM::CStatus NoteFailure(VCM::CStatus oStatus);
  void OpenIterators();
  void CloseIterators();
  void CloseTables();

  int FillChangeInfo(const VCM::CStatus& oFound, TChangeInfo& tChange);
  int FillChangeItemInfo(const VCM::CStatus& oFound, TChangeItemInfo& tItem);
  int RetrieveCurrentItem();

  TImportRows Rows();
  void LogChangesOfStream(const TStreamInfo& tStream);

  std::unique_ptr<VDB::CIterator<TChangeRecord>> m_poChangeByIdIterator;  // "change" index 0
  bool m_bReloadsGrouping = false;  // rows were discarded: the grouping's indexes must be built again
  VCM::CStatus m_oFailure;          // the database's first failure
  bool m_bChangesLost = false;

  CImportLog m_oLog{m_oReposView};
};

}  // namespace TALVEK::MCE
