#pragma once

#include <optional>
#include <string>

#include "core/string.h"
#include "host/property_table.h"

/// Checks of what is to be imported that the host can make before the provider reads anything.
namespace TALVEK::HOST {

/// True when the history comes from a saved log instead of the repository.
bool ReadsSavedLog(const CPropertyTable& oTable);

/// True for a provider that reads CVS, so that there is a program to verify what it imports. `strProvider` is
/// the name that it gives itself.
bool IsVerifiable(const VCM::CString& strProvider);

/// Why an import by such a provider can't be held against the repository that it comes from; empty when it
/// can.
std::string WhyNotVerifiable(const CPropertyTable& oTable);

/// EHostError (STATUS_WRONG_USE) when no module or no repository is named. With a saved log the repository is
/// needed only if files will be retrieved (`bNeedsFiles`).
void RequireSource(const CPropertyTable& oTable, bool bNeedsFiles);

/// A module whose history the provider can read, but whose files it can't fetch.
struct TModuleProblem {
  std::string strWhat;
  std::string strRemedy;  ///< what to import instead
};

/// None when the files can be fetched, and for any provider but cvs, of which nothing is known. `strProvider`
/// is the provider's GetName().
std::optional<TModuleProblem> FindModuleProblem(const CPropertyTable& oTable,
                                                const VCM::CString& strProvider);

/// EHostError (STATUS_WRONG_USE) when there is such a problem.
void RequireFetchableModule(const CPropertyTable& oTable, const VCM::CString& strProvider);

}  // namespace TALVEK::HOST
