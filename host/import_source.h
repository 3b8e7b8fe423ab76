#pragma once

#include "host/property_table.h"

/// What an import reads, as far as the host can judge it before the provider reads anything.
namespace TALVEK::HOST {

/// True when the history comes from a saved log instead of the repository.
bool ReadsSavedLog(const CPropertyTable& oTable);

/// EHostError (STATUS_WRONG_USE) when the administrator didn't say what to import. `bNeedsFiles`: files will
/// be retrieved, so the repository is needed even with a saved log.
void RequireSource(const CPropertyTable& oTable, bool bNeedsFiles);

}  // namespace TALVEK::HOST
