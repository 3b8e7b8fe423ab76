#pragma once

#include <optional>
#include <string>

#include "core/string.h"
#include "host/property_table.h"

/// What an import reads, as far as the host can judge it before the provider reads anything.
namespace TALVEK::HOST {

/// True when the history comes from a saved log instead of the repository.
bool ReadsSavedLog(const CPropertyTable& oTable);

/// EHostError (STATUS_WRONG_USE) when the administrator didn't say what to import. `bNeedsFiles`: files will
/// be retrieved, so the repository is needed even with a saved log.
void RequireSource(const CPropertyTable& oTable, bool bNeedsFiles);

/// A module whose history the provider can read, but whose files it can't fetch.
struct TModuleProblem {
  std::string strWhat;
  std::string strRemedy;  ///< what to import instead
};

/// None when the files can be fetched, or when nothing is known of the provider. `strProvider` is the name
/// that the provider gives itself: other providers for the same foreign system may fetch in other ways.
std::optional<TModuleProblem> FindModuleProblem(const CPropertyTable& oTable,
                                                const VCM::CString& strProvider);

/// EHostError (STATUS_WRONG_USE) when there is such a problem.
void RequireFetchableModule(const CPropertyTable& oTable, const VCM::CString& strProvider);

}  // namespace TALVEK::HOST
