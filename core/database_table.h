#pragma once

#include <memory>
#include <string>

#include "core/database.h"
#include "core/database_schema.h"
#include "core/database_store.h"

namespace TALVEK::VDB {

/// An open table. Its trees belong to a transaction (TOpenTable); so it stays open when that ends.
class CTable::CImpl {
 public:
  std::shared_ptr<const CSchema> poSchema;
  const CDatabase* poDatabase;
  std::string strName;
  bool bReadOnly;
};

}  // namespace TALVEK::VDB
