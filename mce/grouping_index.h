#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/database.h"
#include "core/path.h"
#include "mce/change_group.h"
#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/grouping_tables.h"
#include "mce/seen_hashes.h"

namespace TALVEK::MCE {

/// Finds changes and change items for the grouping, in the import database, so that memory doesn't grow with
/// the history.
///
/// Shape    Whoever stores a change tells it here before it is looked for, and whoever gives one another
///          comment. Walks give candidates: the
///          caller looks at the rows themselves, as different texts can have one hash.
/// Errors   False when the database refuses a write; that spoils its transaction.
class CGroupingIndex {
 public:
  /// Items of a change that are found by looking at one after the other; those with a higher number can be
  /// found here. Most changes have no more, and their few rows lie together.
  static constexpr std::uint32_t FEW_ITEMS = 8;

  /// Opens both tables in the transaction, and makes iterators.
  void Open(VDB::CDatabase& oDatabase, VDB::CTransaction& oTransaction);
  void CloseIterators();
  void CloseTables();

  bool AddChange(const TChangeGroupNumbers& tGroup, std::uint32_t nChangeID);
  /// Changes without CHANGE_BASE_TIME are left out.
  bool AddChange(const TChangeRecord& tChange);
  /// To be called before the change gets another comment; AddChange adds it again.
  bool RemoveChange(const TChangeRecord& tChange);

  /// The changes of a group, in ascending ID.
  bool FirstChange(const TChangeGroupNumbers& tGroup, std::uint32_t& nChangeID);
  bool NextChange(std::uint32_t& nChangeID);

  /// Number up to which the items of a change can be found here, at least FEW_ITEMS. Nobody looks for most of
  /// them ever: so they are added when they are.
  std::uint32_t GetLastItem(std::uint32_t nChangeID);
  bool SetLastItem(std::uint32_t nChangeID, std::uint32_t nItem);
  bool AddItem(const TChangeItemRecord& tItem);

  /// The added items of a change that have this path, in ascending number.
  bool FirstItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::uint32_t& nItem);
  bool NextItem(std::uint32_t& nItem);

 private:
  bool TakeChange(bool bFound, std::uint32_t& nChangeID) const;
  bool TakeItem(bool bFound, std::uint32_t& nItem) const;

  CChangeKeyTable m_oChangeKeyTable;
  CItemPathTable m_oItemPathTable;
  std::unique_ptr<VDB::CIterator<TChangeKeyRecord>> m_poChangeKeys;
  std::unique_ptr<VDB::CIterator<TItemPathRecord>> m_poItemPaths;
  // Most groups that are looked for aren't there: the first item of each change's.
  CSeenHashes m_oSeenGroups{std::size_t{8} << 20};
  TChangeKeyRecord m_tChangeKey;
  TChangeKeyRecord m_tWantedKey;  // of the walk over changes
  TItemPathRecord m_tItemPath;
  TItemPathRecord m_tWantedPath;  // of the walk over items
};

}  // namespace TALVEK::MCE
