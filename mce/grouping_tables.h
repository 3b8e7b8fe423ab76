#pragma once

#include <array>
#include <cstdint>

#include "core/database.h"

namespace TALVEK::MCE {

// Two tables of the import database that only the grouping looks at. They hold nothing that isn't in the
// changes and change items, but in an order in which a change and an item are found without a search.

/// Where a change is found by what an item must have in common with it.
struct TChangeKeyRecord {
  static constexpr int FIELD_COUNT = 5;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() {
    return {&nStreamID, &nHashHigh, &nHashLow, &nPeriod, &nChangeID};
  }

  std::uint32_t nStreamID = 0;
  std::uint32_t nHashHigh = 0;  ///< of user and comment, without regard to case
  std::uint32_t nHashLow = 0;
  std::uint32_t nPeriod = 0;  ///< CHANGE_BASE_TIME in units of TChangeGroupNumbers::PERIOD_SECONDS
  std::uint32_t nChangeID = 0;
};

/// "chkeys": index 0 by all fields.
class CChangeKeyTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override;
  const VDB::TFieldDef* GetFieldDefs() const override;
  const VDB::TIndexDef* GetIndexDefs() const override;
};

/// Where an item of a large change is found by its path. A row whose hash is 0 tells up to which number the
/// change's items are here.
struct TItemPathRecord {
  static constexpr int FIELD_COUNT = 4;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() { return {&nChangeID, &nHashHigh, &nHashLow, &nItem}; }

  std::uint32_t nChangeID = 0;
  std::uint32_t nHashHigh = 0;  ///< of the path, never 0 with the other
  std::uint32_t nHashLow = 0;
  std::uint32_t nItem = 0;
};

/// "cipaths": index 0 by all fields.
class CItemPathTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override;
  const VDB::TFieldDef* GetFieldDefs() const override;
  const VDB::TIndexDef* GetIndexDefs() const override;
};

}  // namespace TALVEK::MCE
