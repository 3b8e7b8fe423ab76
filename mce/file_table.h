#pragma once

#include <array>
#include <cstdint>

#include "core/path.h"
#include "core/properties.h"
#include "mce/table_base.h"

namespace TALVEK::MCE {

/// A file known to a provider that keeps a list of them. A plain value.
struct TFileRecord {
  static constexpr int FIELD_COUNT = 3;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() { return {&nID, &oPath, &oProps}; }

  std::uint32_t nID = 0;  ///< assigned by the database, from 1
  VCM::CFilePath oPath;
  VCM::CProperties oProps;
};

/// "file": index 0 by "ID". Two of its fields are called "Path": the schema is the server's, don't mend it.
class CFileTable : public CTableBase<CFileTable> {
 public:
  static const VDB::TFileDef s_tFileDef;
  static const VDB::TFieldDef s_atFieldDefs[];
  static const VDB::TIndexDef s_atIndexDefs[];
};

}  // namespace TALVEK::MCE
