#include "mce/grouping_tables.h"

namespace TALVEK::MCE {

namespace {

constexpr VDB::TFileDef CHANGE_KEY_FILE = {L"chkeys", 0};
constexpr VDB::TFieldDef CHANGE_KEY_FIELDS[] = {
    {L"StreamID", VDB::FIELD_UINT32}, {L"HashHigh", VDB::FIELD_UINT32}, {L"HashLow", VDB::FIELD_UINT32},
    {L"Period", VDB::FIELD_UINT32},   {L"ChangeID", VDB::FIELD_UINT32}, {nullptr, VDB::FIELD_NONE}};
constexpr VDB::TIndexDef CHANGE_KEY_INDEXES[] = {{0, 5, {0, 1, 2, 3, 4}}, {}};

constexpr VDB::TFileDef ITEM_PATH_FILE = {L"cipaths", 0};
constexpr VDB::TFieldDef ITEM_PATH_FIELDS[] = {{L"ChangeID", VDB::FIELD_UINT32},
                                               {L"HashHigh", VDB::FIELD_UINT32},
                                               {L"HashLow", VDB::FIELD_UINT32},
                                               {L"Item", VDB::FIELD_UINT32},
                                               {nullptr, VDB::FIELD_NONE}};
constexpr VDB::TIndexDef ITEM_PATH_INDEXES[] = {{0, 4, {0, 1, 2, 3}}, {}};

}  // namespace

const VDB::TFileDef* CChangeKeyTable::GetFileDef() const {
  return &CHANGE_KEY_FILE;
}
const VDB::TFieldDef* CChangeKeyTable::GetFieldDefs() const {
  return CHANGE_KEY_FIELDS;
}
const VDB::TIndexDef* CChangeKeyTable::GetIndexDefs() const {
  return CHANGE_KEY_INDEXES;
}

const VDB::TFileDef* CItemPathTable::GetFileDef() const {
  return &ITEM_PATH_FILE;
}
const VDB::TFieldDef* CItemPathTable::GetFieldDefs() const {
  return ITEM_PATH_FIELDS;
}
const VDB::TIndexDef* CItemPathTable::GetIndexDefs() const {
  return ITEM_PATH_INDEXES;
}

}  // namespace TALVEK::MCE
