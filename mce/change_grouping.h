#pragma once

#include <cstdint>

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

/// The import database's rows, as the open transaction lends them. The records receive what is read and
/// written: the one that was added or joined last stays in them.
struct TImportRows {
  VDB::CIterator<TChangeRecord>& oChangesByTime;  ///< "change" index 1
  VDB::CIterator<TChangeRecord>& oChangesById;    ///< "change" index 0
  VDB::CIterator<TChangeItemRecord>& oItems;      ///< "citems" index 0
  TChangeRecord& tChange;
  TChangeItemRecord& tItem;
  std::uint32_t& nChangesAdded;
};

/// One revision of one file, on its way into a change.
struct TFileRevision {
  std::uint32_t nStreamID;
  const VCM::CString& strUser;
  std::uint32_t nType;  ///< TChangeItemType
  const VCM::CFilePath& oPath;
  std::uint32_t nTime;  ///< seconds since 1970 UTC
  const VCM::CString& strComment;
  std::int32_t nRevision;  ///< rank among the file's revisions
  const TCVSRevision& oCVSRevision;
  bool bMatchComment;      ///< only a change with the same comment will do
  std::uint32_t nEndTime;  ///< until when the revision stays current
};

/// Puts single file revisions into changesets.
///
/// An item joins the first change (by time, then ID) of its stream and author, and of its comment if that has
/// to match, whose first item is at most 300 seconds away and that TGroupingWindow admits. Without such a
/// change it opens one. A change never holds a file twice: the second revision of a file opens a change of
/// its own, just beside the one that it couldn't join.
///
/// Shape    The rows in the database are the whole truth, and up to date after each call. What is kept in
///          memory only finds a row: for each change its three times (CChangeGroups), for each file the
///          changes that hold it (CChangesByFile). Load makes both from the rows.
/// Errors   Failed when the database refuses a read or a write: then the item isn't stored.
///          Absent for an item whose number is taken.
/// Cost     Logarithmic for an item whose comment must match. Without that, and for the one second whose
///          window ends at the last second of 32 bits, the changes within the window are read row by row.
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
  /// Reads the first item with this path in a change into the item record; when there is none, the record may
  /// hold another item.
  VCM::CStatus FindItem(const TImportRows& tRows, std::uint32_t nChange, const VCM::CFilePath& oPath);
  /// Forgets all, and reads what the database has.
  VCM::CStatus Load(const TImportRows& tRows);

  /// For tests only, with nothing added yet: a hash that many texts share.
  void SetHash(CChangeGroups::THash fnHash) {
    m_oGroups.SetHash(fnHash);
    m_oFiles.SetHash(fnHash);
  }

  /// Appends those sentences of `strAddition` that don't occur in `strComment` yet, a line each.
  static void AddToComment(VCM::CString& strComment, const VCM::CString& strAddition);

 private:
  VCM::CStatus FindChange(const TImportRows& tRows, const TFileRevision& tRevision,
                          const TGroupingWindow& tWindow);
  static VCM::CStatus FindChangeByTime(const TImportRows& tRows, const TFileRevision& tRevision,
                                       const TGroupingWindow& tWindow);
  static VCM::CStatus FindItemByWalk(const TImportRows& tRows, std::uint32_t nChange,
                                     const VCM::CFilePath& oPath);
  VCM::CStatus JoinChange(const TImportRows& tRows, const TFileRevision& tRevision);
  VCM::CStatus OpenChange(const TImportRows& tRows, const TFileRevision& tRevision, std::uint32_t nTime);
  VCM::CStatus AddRow(const TImportRows& tRows);
  void AddToGroup(const TChangeRecord& tChange);

  CChangeGroups m_oGroups;
  CChangesByFile m_oFiles;
};

}  // namespace TALVEK::MCE
