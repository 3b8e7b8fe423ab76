#include "mce/file_table.h"

namespace TALVEK::MCE {

const VDB::TFileDef CFileTable::s_tFileDef = {L"file", 1};

const VDB::TFieldDef CFileTable::s_atFieldDefs[] = {{L"ID", VDB::FIELD_UINT32},
                                                    {L"Path", VDB::FIELD_FILE_PATH},
                                                    {L"Path", VDB::FIELD_PROPERTIES},
                                                    {nullptr, VDB::FIELD_NONE}};

const VDB::TIndexDef CFileTable::s_atIndexDefs[] = {{0, 1, {0}}, {}};

}  // namespace TALVEK::MCE
