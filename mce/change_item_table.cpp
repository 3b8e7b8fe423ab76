#include "mce/change_item_table.h"

namespace TALVEK::MCE {

const VDB::TFileDef CChangeItemTable::s_tFileDef = {L"citems", 0};

const VDB::TFieldDef CChangeItemTable::s_atFieldDefs[] = {
    {L"ID", VDB::FIELD_UINT32},           {L"Item", VDB::FIELD_UINT32},     {L"Type", VDB::FIELD_UINT32},
    {L"FilePath", VDB::FIELD_FILE_PATH},  {L"Revision", VDB::FIELD_UINT32}, {L"Props", VDB::FIELD_PROPERTIES},
    {L"Timestamp", VDB::FIELD_TIMESTAMP}, {nullptr, VDB::FIELD_NONE}};

const VDB::TIndexDef CChangeItemTable::s_atIndexDefs[] = {{0, 2, {0, 1}}, {}};

std::array<void*, TChangeItemRecord::FIELD_COUNT> TChangeItemRecord::GetFieldAddresses() {
  return {&nID, &nItem, &nType, &oFilePath, &nRevision, &oProps, &oTimestamp};
}

}  // namespace TALVEK::MCE
