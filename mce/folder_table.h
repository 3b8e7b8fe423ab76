#pragma once

#include <array>
#include <cstdint>

#include "core/directory_data.h"
#include "mce/table_base.h"

namespace TALVEK::MCE {

/// A folder known to a provider that keeps a list of them. A plain value; only the ID is stored.
struct TFolderRecord {
  static constexpr int FIELD_COUNT = 1;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() { return {&nID}; }

  std::uint32_t nID = 0;  ///< assigned by the database, from 1
  VCM::CDirectoryData oFolders;
  VCM::CDirectoryData oFiles;
};

/// "folder": index 0 by "ID".
class CFolderTable : public CTableBase<CFolderTable> {
 public:
  static const VDB::TFileDef s_tFileDef;
  static const VDB::TFieldDef s_atFieldDefs[];
  static const VDB::TIndexDef s_atIndexDefs[];
};

}  // namespace TALVEK::MCE
