#pragma once

#include <cstdint>
#include <vector>

#include "core/database.h"
#include "core/path.h"
#include "core/status.h"
#include "core/string.h"
#include "mce/change_groups.h"
#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/changes_by_file.h"
#include "mce/cvs_revision.h"

namespace TALVEK::MCE {

/// Access to the import database's rows in the open transaction; all is lent. Each call overwrites the two
/// records: they hold the rows that it read or wrote last.
struct TImportRows {
  VDB::CIterator<TChangeRecord>& oChangesByTime;  ///< "change" index 1
  VDB::CIterator<TChangeRecord>& oChangesById;    ///< "change" index 0
  VDB::CIterator<TChangeItemRecord>& oItems;      ///< "citems" index 0
  TChangeRecord& tChange;
  TChangeItemRecord& tItem;
  std::uint32_t& nChangesAdded;
};

/// One revision of one file, to be put into a change. The texts are lent for the call.
struct TFileRevision {
  std::uint32_t nStreamID;
  const VCM::CString& strUser;
  std::uint32_t nType;  ///< TChangeItemType
  const VCM::CFilePath& oPath;
  std::uint32_t nTime;  ///< seconds since 1970 UTC
  const VCM::CString& strComment;
  std::int32_t nRevision;  ///< rank among the file's revisions
  const TCVSRevision& oCVSRevision;
  bool bMatchComment;      ///< true: joins only a change with the same comment
  std::uint32_t nEndTime;  ///< when the next revision replaces it; 0xFFFFFFFF: never
};

/// Puts single file revisions into changesets.
///
/// A revision becomes an item of the first change (by time, then ID) that has the same stream and author, the
/// same comment if that must match, and that TGroupingWindow admits. If there is none, it opens a new change.
/// A change has at most one item per file: if the change found has one already, the revision opens a change
/// of its own, at its own time or one second before or after that change (TimeBesideChange).
///
/// Shape    The database has all the data, except what joining alters in a change (its time, maximum time and
///          next item): that stays in memory until WriteAltered. To read and write the row at each join took
///          20 % of an import of 1.6 million revisions. In memory there are two indexes: the changes with
///          their three times and next item (CChangeGroups), and the changes that have an item of a file
///          (CChangesByFile). Load builds both from the rows. The walks (mce/provider_walks.cpp) read the
///          rows next.
/// Errors   Failed when the database refuses a read or a write: then the item isn't stored.
///          Absent for an item whose number is taken.
/// Cost     Logarithmic for an item whose comment must match. Otherwise, and for the time 2^32 - 301, the
///          changes within the window are read row by row.
class CChangeGrouping {
 public:
  /// Adds a change without items and without a base time.
  VCM::CStatus AddChange(const TImportRows& tRows, std::uint32_t nProviderID, std::uint32_t nStreamID,
                         const VCM::CString& strUser, const VCM::CString& strComment, std::uint32_t nTime);
  /// Adds an item to the change that takes it, or to a new one.
  VCM::CStatus AddItem(const TImportRows& tRows, const TFileRevision& tRevision);
  /// Adds an item under the numbers that it is given.
  VCM::CStatus AddItem(const TImportRows& tRows, std::uint32_t nChange, std::uint32_t nItem,
                       std::uint32_t nType, const VCM::CFilePath& oPath, std::int32_t nRevision);
  /// Reads the change's item of this path, the first if there are several, into the item record. Absent when
  /// there is none; the record may then hold another item.
  VCM::CStatus FindItem(const TImportRows& tRows, std::uint32_t nChange, const VCM::CFilePath& oPath);
  /// Sets "NextItem" of a change, whose row is then in the change record.
  VCM::CStatus SetNextItem(const TImportRows& tRows, std::uint32_t nChange, std::uint32_t nNextItem);
  /// Brings the rows of changes up to date: needed before anyone else reads them, and before a commit.
  VCM::CStatus WriteAltered(const TImportRows& tRows);
  /// Builds the indexes in memory from the database. Call it when rows were discarded.
  VCM::CStatus Load(const TImportRows& tRows);

  /// For tests only, before anything is added: replaces the hash of paths, by one that gives many collisions.
  void SetHash(CChangesByFile::THash fnHash) { m_oFiles.SetHash(fnHash); }

  /// Appends to `strComment`, one per line, the sentences of `strAddition` that don't occur in it yet. A
  /// sentence ends at a full stop; case doesn't count.
  static void AddToComment(VCM::CString& strComment, const VCM::CString& strAddition);

 private:
  VCM::CStatus FindChange(const TImportRows& tRows, const TFileRevision& tRevision,
                          const TGroupingWindow& tWindow);
  VCM::CStatus FindChangeByTime(const TImportRows& tRows, const TFileRevision& tRevision,
                                const TGroupingWindow& tWindow);
  static VCM::CStatus FindItemByWalk(const TImportRows& tRows, std::uint32_t nChange,
                                     const VCM::CFilePath& oPath);
  void JoinChange(const TImportRows& tRows, const TFileRevision& tRevision);
  VCM::CStatus JoinChangeByRow(const TImportRows& tRows, const TFileRevision& tRevision);
  VCM::CStatus OpenChange(const TImportRows& tRows, const TFileRevision& tRevision, std::uint32_t nTime);
  VCM::CStatus AddRow(const TImportRows& tRows);
  void AddToGroup(const TChangeRecord& tChange);

  CChangeGroups m_oGroups;
  CChangesByFile m_oFiles;
  std::vector<std::uint32_t> m_anAltered;  // changes of groups whose rows aren't up to date
  std::vector<bool> m_abAltered;           // the same, by ID of the change
};

}  // namespace TALVEK::MCE
