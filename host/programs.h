#pragma once

#include <filesystem>
#include <string>

#include "core/string.h"
#include "host/console.h"
#include "host/property_table.h"

/// Where the programs are that an import runs.
namespace TALVEK::HOST {

/// The folder that this program's file lies in; empty when that can't be told.
std::filesystem::path ProgramFolder();

/// Where a program is: the path itself if it has a "/", else its place on the PATH; empty when nowhere.
std::string FindProgram(const VCM::CString& strProgram);

/// Makes `cvs-session`, when it lies in `oProgramFolder`, the default client of a provider that asks for the
/// path of `cvs`, and fetching by exact revision the default. After each file the plain client sleeps until
/// the next full second; `cvs-session` doesn't, and keeps its connection.
void PreferBundledClient(CPropertyTable& oTable, const std::filesystem::path& oProgramFolder);

/// True when the plain client is used only because no other was found.
bool LacksBundledClient(const CPropertyTable& oTable);

/// The client to which the bundled one hands on what it doesn't do itself; empty when the import uses
/// another.
VCM::CString ClientBehindBundled(const CPropertyTable& oTable);

/// How the administrator can say where that client is; continues "install it or".
inline constexpr const char* PLACE_OF_CLIENT_HINT =
    "say where it is with the environment variable CVS_SESSION_CVS";

/// Checks the programs that the provider and the bundled client need. `strEnvironment` is what the provider
/// says of its environment; empty: nothing. EHostError (STATUS_FAILED) when one of them can't be found. A
/// provider may warn although the program is on the PATH, so its warning is shown only when it needs none.
void RequirePrograms(const CPropertyTable& oTable, const VCM::CString& strEnvironment, CReport& oReport);

}  // namespace TALVEK::HOST
