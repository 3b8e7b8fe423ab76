#pragma once

#include <array>
#include <cstdint>

#include "core/properties.h"
#include "core/string.h"
#include "mce/table_base.h"

namespace TALVEK::MCE {

/// Properties of a change.
enum TChangeProperty : std::uint16_t {
  CHANGE_BASE_TIME = 0,  ///< time of the item that opened the change, seconds since 1970 UTC
  CHANGE_MAX_TIME = 1,   ///< when the first of its items' revisions is replaced; 0xFFFFFFFF: never
};

/// Numbers of the fields that are read or updated one by one.
enum TChangeField : unsigned {
  CHANGE_FIELD_USER = 3,
  CHANGE_FIELD_TIME = 4,
  CHANGE_FIELD_COMMENT = 5,
  CHANGE_FIELD_NEXT_ITEM = 6,
  CHANGE_FIELD_PROPS = 7
};

/// A changeset, as it is in the import database.
struct TChangeRecord : TTableRecord<TChangeRecord> {
  static constexpr int FIELD_COUNT = 8;

  std::array<void*, FIELD_COUNT> GetFieldAddresses();

  std::uint32_t nID = 0;          ///< assigned by the database, from 1
  std::uint32_t nProviderID = 0;  ///< the foreign system's own number
  std::uint32_t nStreamID = 0;
  VCM::CString strUser;
  std::uint32_t nTime = 0;  ///< of its latest item; seconds since 1970 UTC, low 32 bits
  VCM::CString strComment;
  std::uint32_t nNextItem = 0;  ///< items + 1; 0 from AddChange until UpdateChangeItemCount sets it
  VCM::CProperties oProps;      ///< TChangeProperty
};

/// "change": index 0 by "ID", index 1 by ("StreamID", "Time"), equal keys allowed.
class CChangeTable : public CTableBase<CChangeTable> {
 public:
  static const VDB::TFileDef s_tFileDef;
  static const VDB::TFieldDef s_atFieldDefs[];
  static const VDB::TIndexDef s_atIndexDefs[];
};

}  // namespace TALVEK::MCE
