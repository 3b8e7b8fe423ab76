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
/// single file revisions into changesets, the walks over all of it, and the import log. A concrete provider
/// adds the four pure operations and those that this class leaves abstract, and feeds AddChange or
/// AddChangeItem.
///
/// Times    Seconds since 1970 UTC; in the database and in every comparison of the grouping unsigned 32-bit.
///
/// Files    The import database "/tmp/talvek-em-PID.tdf" and ".tlf", deleted with the provider; the import
///          log, kept for the host. One import per process at a time: the database's path hangs on the
///          process only.
///
/// Errors   Result codes and false; the reasons go to the import log. No exception but for allocation.
/// Threads  One.
class CProviderBase : public CProvider {
 public:
  /// The provider constructed last. Nothing clears it: it dangles once that provider has ended.
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

  // Only the concrete provider fills these; they follow the interface's slots in this order.

  /// Called once per changeset before its items.
  virtual int RetrieveChangeFiles(const TChangeRecord& tChange) = 0;
  /// Sees to it that the item's file is at the path.
  virtual int RetrieveChangeItemFile(const TChangeItemRecord& tItem, const VCM::CString& strTargetPath) = 0;
  /// Fills the stream list.
  virtual bool SearchForStreams() = 0;
  /// Adds the changes that SearchForStreams hasn't added yet.
  virtual bool EnumerateChanges() = 0;

  /// Empty when the key was never set.
  VCM::CString GetStringProperty(const VCM::CString& strKey) const;
  /// True when the value begins with a number whose low 32 bits aren't 0: "1", "-1", "3abc"; not "true" or
  /// "on".
  bool GetBooleanProperty(const VCM::CString& strKey) const;

  // The import database.

  /// Makes sure that the database exists and that a transaction with both tables and both iterators is open.
  /// `bReset` discards what has been added since the last commit. False when there is no database.
  bool PrepareForChanges(bool bReset);
  /// Commits the open transaction, if there is one, and closes it and both iterators.
  void CommitChanges();
  /// Sets "NextItem" of one change. False when there is no such change, or no transaction is open.
  bool UpdateChangeItemCount(unsigned int nChangeID, unsigned int nCount);
  /// Says once in the log that the database can't take what was found. From then on EstablishChangesets
  /// fails: a history with a gap must not pass for the whole one.
  void ReportLostChanges();

  // Changes.

  /// Adds one change as it is, without items; returns its ID.
  unsigned int AddChange(unsigned int nProviderID, unsigned int nStreamID, const VCM::CString& strUser,
                         const VCM::CString& strComment, long nTime);

  /// Adds one file revision to the stream: into a change of the same author (and, with `bMatchComment`, the
  /// same comment) whose first item is at most 300 seconds away, else into a new change. A file never occurs
  /// twice in a change, and no item is put into a change that lies beyond the time until which an item of it,
  /// or this one (`nEndTime`; -1: for ever), stays current. False when the item couldn't be stored.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment, int nRevision,
                     TCVSRevision oCVSRevision, bool bMatchComment, long nEndTime);
  /// For CVS: rank 0, comments must match.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment,
                     TCVSRevision oCVSRevision, long nEndTime);
  /// For systems that number a file's revisions: comments need not match and are merged, no end time.
  bool AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
                     const VCM::CFilePath& oPath, long nTime, const VCM::CString& strComment, int nRevision);
  /// Stores one item under a change and item number as given, without grouping.
  bool AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                     const VCM::CFilePath& oPath, unsigned int nRevision);
  /// For a plan that is complete: stores one item as given, with the revision's number, and its time in
  /// seconds since 1970 UTC. The grouping isn't told, as it has nothing to find: a provider that calls this
  /// calls no other form, and not CheckForExistingItem.
  bool AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                     const VCM::CFilePath& oPath, const TCVSRevision& oCVSRevision, long nTime);

  /// Looks for the file among the items of a change; `nRevision` becomes the rank of the first one found.
  /// Moves the item walk.
  bool CheckForExistingItem(const TChangeRecord& tChange, const VCM::CFilePath& oPath, int& nRevision);
  /// ID of the stream's last change at or before the time; 0 when there is none.
  unsigned int FindNearestChange(const TStreamInfo& tStream, long nTime);
  /// Makes the folders of a file's path (relative to the work folder).
  bool EnsureFolderExists(const VCM::CFilePath& oPath);
  /// Appends those sentences of `strAddition` that don't occur in `strComment` yet, a line each.
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
  TChangeRecord m_tChange;          // search key and result of the change iterator
  TChangeItemRecord m_tChangeItem;  // of the item iterator
  CChangeGrouping m_oGrouping;
  std::uint32_t m_nChangesAdded = 0;
  bool m_bStreamsEstablished = false;
  bool m_bChangesetsEstablished = false;

 private:
  bool CreateDatabase();
  /// Keeps the first failure; gives the status back.
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
  bool m_bReloadsGrouping = false;  // the database has lost rows that the grouping knows
  VCM::CStatus m_oFailure;          // the database's first one
  bool m_bChangesLost = false;

  CImportLog m_oLog{m_oReposView};
};

}  // namespace TALVEK::MCE
