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
/// Shape    Whoever stores or alters a change or an item tells it here. Walks give candidates: the caller
///          looks at the rows themselves, as different texts can have one hash.
/// Errors   False when the database refuses a write; that spoils its transaction.
class CGroupingIndex {
 public:
  /// Items of a change that are found by looking at one after the other; a table knows those with a higher
  /// number. Most changes have no more, and their few rows lie together.
  static constexpr std::uint32_t FEW_ITEMS = 8;
  /// No shorter than what one search spans (300 seconds either way), so that it looks into two periods at
  /// most.
  static constexpr std::uint32_t PERIOD_SECONDS = 601;

  /// Opens both tables in the transaction, and makes iterators.
  void Open(VDB::CDatabase& oDatabase, VDB::CTransaction& oTransaction);
  void CloseIterators();
  void CloseTables();

  bool AddChange(const TChangeRecord& tChange);
  /// To be called before the change gets another comment or CHANGE_MAX_TIME, or another time when it has no
  /// CHANGE_BASE_TIME; AddChange adds it again.
  bool RemoveChange(const TChangeRecord& tChange);
  bool AddItem(const TChangeItemRecord& tItem);

  /// The changes of a stream with this user and comment whose base time is in the range and to which an item
  /// of the time `nTime` can still be added. (Items that are replaced at once make crowds of changes that
  /// nothing can be added to; those of the past are never looked at.)
  bool FirstChange(std::uint32_t nStreamID, const VCM::CString& strUser, const VCM::CString& strComment,
                   std::uint32_t nTime, std::uint32_t nLowBase, std::uint32_t nHighBase,
                   std::uint32_t& nChangeID);
  bool NextChange(std::uint32_t& nChangeID);

  /// The items of a change, beyond the first FEW_ITEMS, that have this path, in ascending number.
  bool FirstItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::uint32_t& nItem);
  bool NextItem(std::uint32_t& nItem);

 private:
  bool TakeChange(bool bFound, std::uint32_t& nChangeID);
  bool IsOfWantedPeriod() const;
  bool TakeItem(bool bFound, std::uint32_t& nItem) const;

  CChangeKeyTable m_oChangeKeyTable;
  CItemPathTable m_oItemPathTable;
  std::unique_ptr<VDB::CIterator<TChangeKeyRecord>> m_poChangeKeys;
  std::unique_ptr<VDB::CIterator<TItemPathRecord>> m_poItemPaths;
  TChangeKeyRecord m_tChangeKey;
  TChangeKeyRecord m_tWantedKey;  // of the walk over changes, with the lowest maximum and base time
  std::uint32_t m_nHighBase = 0;
  TItemPathRecord m_tItemPath;
  TItemPathRecord m_tWantedPath;  // of the walk over items
};

}  // namespace TALVEK::MCE
