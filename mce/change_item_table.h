#pragma once

#include <array>
#include <cstdint>

#include "core/path.h"
#include "core/properties.h"
#include "core/timestamp.h"
#include "mce/table_base.h"

namespace TALVEK::MCE {

/// Properties of a change item.
enum TChangeItemProperty : std::uint16_t {
  ITEM_FOREIGN_REVISION = 1,  ///< the foreign revision number as text, for CVS in dotted form
};

/// Number of the change item field by which items are looked for.
enum TChangeItemField : unsigned { ITEM_FIELD_PATH = 3 };

/// A change item, as it is in the import database: one file of one changeset.
struct TChangeItemRecord : TTableRecord<TChangeItemRecord> {
  static constexpr int FIELD_COUNT = 7;

  std::array<void*, FIELD_COUNT> GetFieldAddresses();

  std::uint32_t nID = 0;       ///< number of the change it belongs to
  std::uint32_t nItem = 0;     ///< number within the change, from 1
  std::uint32_t nType = 0;     ///< TChangeItemType
  VCM::CFilePath oFilePath;    ///< path within the stream
  std::int32_t nRevision = 0;  ///< rank among the file's revisions; 0 for CVS
  VCM::CProperties oProps;     ///< TChangeItemProperty
  VCM::CTimestamp oTimestamp;  ///< its revision's time; or its change's, if it opened one beside another
};

/// "citems": index 0 by ("ID", "Item").
class CChangeItemTable : public CTableBase<CChangeItemTable> {
 public:
  static const VDB::TFileDef s_tFileDef;
  static const VDB::TFieldDef s_atFieldDefs[];
  static const VDB::TIndexDef s_atIndexDefs[];
};

}  // namespace TALVEK::MCE
