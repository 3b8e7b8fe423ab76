#pragma once

#include <memory>
#include <string>

#include "core/database.h"
#include "core/database_schema.h"
#include "core/database_store.h"

namespace TALVEK::VDB {

/// An open table. It stays open when its transaction ends: the trees belong to the transaction (TOpenTable).
class CTable::CImpl {
 public:
  std::shared_ptr<const CSchema> poSchema;
  const CDatabase* poDatabase;
  std::string strName;
  bool bReadOnly;
};

}  // namespace TALVEK::VDB
