#pragma once

#include "core/database.h"

namespace TALVEK::MCE {

/// Base of a table class that keeps its definitions in static members: s_tFileDef, s_atFieldDefs,
/// s_atIndexDefs.
template <class TTable>
class CTableBase : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override { return &TTable::s_tFileDef; }
  const VDB::TFieldDef* GetFieldDefs() const override { return TTable::s_atFieldDefs; }
  const VDB::TIndexDef* GetIndexDefs() const override { return TTable::s_atIndexDefs; }
};

/// Base of the record class TRecord: implements VDB::TRecordBase's operations for it.
template <class TRecord>
struct TTableRecord : VDB::TRecordBase {
  VDB::TRecordBase* Clone() const override { return new TRecord(static_cast<const TRecord&>(*this)); }
  void Delete() override {
    // `this` may be null: callers delete records that they may not have. The volatile copy keeps the compiler
    // from removing the test.
    TTableRecord* volatile poRecord = this;
    if (poRecord) delete poRecord;
  }
  VDB::TRecordBase& CopyFrom(const VDB::TRecordBase* poOther) override {
    return static_cast<TRecord&>(*this) = *static_cast<const TRecord*>(poOther);
  }
};

}  // namespace TALVEK::MCE
