#pragma once

#include <filesystem>
#include <string>

#include "core/string.h"
#include "host/console.h"
#include "host/property_table.h"

/// The programs that an import runs, and where they are.
namespace TALVEK::HOST {

/// The folder of this program's file; empty when it can't be found out.
std::filesystem::path ProgramFolder();

/// The file of a program: the path itself if it has a "/", else searched for on the PATH. Empty when there is
/// no such executable.
std::string FindProgram(const VCM::CString& strProgram);

/// The client `cvs-session` in a folder; empty when it isn't there, or can't be named in a command line.
std::string BundledClient(const std::filesystem::path& oProgramFolder);

/// If `cvs-session` is in `oProgramFolder` and the provider has the property "CVSPath", makes it the default
/// of that, and "ForceFileByFile" (each file by its revision) on by default. After each file the plain client
/// sleeps until the next full second; `cvs-session` doesn't, and keeps its connection.
void PreferBundledClient(CPropertyTable& oTable, const std::filesystem::path& oProgramFolder);

/// True when the plain client is used only because `cvs-session` wasn't found.
bool LacksBundledClient(const CPropertyTable& oTable);

/// The client that the bundled one runs for what it doesn't do itself; empty when the import doesn't use the
/// bundled one.
VCM::CString ClientBehindBundled(const CPropertyTable& oTable);

/// How to name that client; continues "install it or".
inline constexpr const char* PLACE_OF_CLIENT_HINT =
    "say where it is with the environment variable CVS_SESSION_CVS";

/// EHostError (STATUS_FAILED) when a program that the provider or the bundled client needs can't be found.
/// `strEnvironment` is the warning of CheckEnvironment; empty: none, and the provider's programs aren't
/// looked for. A provider warns also about a program that is on the PATH, so the warning is passed on only if
/// the provider has no program among its properties.
void RequirePrograms(const CPropertyTable& oTable, const VCM::CString& strEnvironment, CReport& oReport);

}  // namespace TALVEK::HOST
