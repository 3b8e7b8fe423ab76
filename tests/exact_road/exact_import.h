#pragma once

#include <filesystem>
#include <string>

#include "tests/exact_road/client_tree.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {

/// The provider whose imports equal the repository.
inline constexpr const char* EXACT_PROVIDER = "cvsexact";

/// Imports the module into a new bare Git repository by the built talvek-import, and returns its exit status
/// and all that it said.
TShellResult ImportModule(const TCvsModule& tModule, const std::string& strProvider,
                          const std::filesystem::path& oGit);

}  // namespace TALVEK::TEST
