#pragma once

#include <cstdint>
#include <memory>

#include "core/database.h"
#include "core/path.h"
#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/grouping_tables.h"

namespace TALVEK::MCE {

/// Finds changes and change items for the grouping, in the import database, so that memory doesn't grow with
/// the history.
///
/// Shape    Whoever stores a change or an item tells it here. Walks give candidates: the caller looks at the
///          rows themselves, as different texts can have one hash.
/// Errors   False when the database refuses a write; that spoils its transaction.
class CGroupingIndex {
 public:
  /// Items of a change that are found by looking at one after the other; a table knows those with a higher
  /// number. Most changes have no more, and their few rows lie together.
  static constexpr std::uint32_t FEW_ITEMS = 8;

  /// Opens both tables in the transaction, and makes iterators.
  void Open(VDB::CDatabase& oDatabase, VDB::CTransaction& oTransaction);
  void CloseIterators();
  void CloseTables();

  bool AddChange(const TChangeRecord& tChange);
  bool AddItem(const TChangeItemRecord& tItem);

  /// The changes of a stream with this user and comment whose base time is in a range, in ascending base
  /// time.
  bool FirstChange(std::uint32_t nStreamID, const VCM::CString& strUser, const VCM::CString& strComment,
                   std::uint32_t nLowTime, std::uint32_t nHighTime, std::uint32_t& nChangeID);
  bool NextChange(std::uint32_t& nChangeID);

  /// The items of a change, beyond the first FEW_ITEMS, that have this path, in ascending number.
  bool FirstItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::uint32_t& nItem);
  bool NextItem(std::uint32_t& nItem);

 private:
  bool TakeChange(bool bFound, std::uint32_t& nChangeID) const;
  bool TakeItem(bool bFound, std::uint32_t& nItem) const;

  CChangeKeyTable m_oChangeKeyTable;
  CItemPathTable m_oItemPathTable;
  std::unique_ptr<VDB::CIterator<TChangeKeyRecord>> m_poChangeKeys;
  std::unique_ptr<VDB::CIterator<TItemPathRecord>> m_poItemPaths;
  TChangeKeyRecord m_tChangeKey;
  TChangeKeyRecord m_tLastKey;  // of the walk over changes
  TItemPathRecord m_tItemPath;
  TItemPathRecord m_tLastPath;  // of the walk over items
};

}  // namespace TALVEK::MCE
