#include "mce/change_table.h"

namespace TALVEK::MCE {

const VDB::TFileDef CChangeTable::s_tFileDef = {L"change", 1};

const VDB::TFieldDef CChangeTable::s_atFieldDefs[] = {
    {L"ID", VDB::FIELD_UINT32},       {L"ProviderID", VDB::FIELD_UINT32}, {L"StreamID", VDB::FIELD_UINT32},
    {L"User", VDB::FIELD_STRING},     {L"Time", VDB::FIELD_UINT32},       {L"Comment", VDB::FIELD_LONG_TEXT},
    {L"NextItem", VDB::FIELD_UINT32}, {L"Props", VDB::FIELD_PROPERTIES},  {nullptr, VDB::FIELD_NONE}};

const VDB::TIndexDef CChangeTable::s_atIndexDefs[] = {{0, 1, {0}}, {1, 2, {2, 4}}, {}};

std::array<void*, TChangeRecord::FIELD_COUNT> TChangeRecord::GetFieldAddresses() {
  return {&nID, &nProviderID, &nStreamID, &strUser, &nTime, &strComment, &nNextItem, &oProps};
}

}  // namespace TALVEK::MCE
