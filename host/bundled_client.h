#pragma once

#include <filesystem>

#include "core/string.h"
#include "host/property_table.h"

namespace TALVEK::HOST {

/// Makes `cvs-session`, when it lies in `oProgramFolder`, the default client of a provider that asks for the
/// path of `cvs`, and exact revisions the default way to fetch files. The plain client rests until the next
/// full second after each file; this one keeps its connection and doesn't.
void PreferBundledClient(CPropertyTable& oTable, const std::filesystem::path& oProgramFolder);

/// True when the plain client is used only because no other was found.
bool LacksBundledClient(const CPropertyTable& oTable);

/// The client to which the bundled one hands on what it doesn't do itself; empty when the import uses
/// another.
VCM::CString ClientBehindBundled(const CPropertyTable& oTable);

/// How to say where that client is; goes on after "install it or".
inline constexpr const char* PLACE_OF_CLIENT_HINT =
    "say where it is with the environment variable CVS_SESSION_CVS";

}  // namespace TALVEK::HOST
