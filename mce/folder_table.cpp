#include "mce/folder_table.h"

namespace TALVEK::MCE {

const VDB::TFileDef CFolderTable::s_tFileDef = {L"folder", 1};

const VDB::TFieldDef CFolderTable::s_atFieldDefs[] = {{L"ID", VDB::FIELD_UINT32}, {nullptr, VDB::FIELD_NONE}};

const VDB::TIndexDef CFolderTable::s_atIndexDefs[] = {{0, 1, {0}}, {}};

}  // namespace TALVEK::MCE
