#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <wx/stream.h>

namespace TALVEK::VERIFY {

/// The revision that a name gives of each file, by the file's path in the module. Bytes.
using TRevisionList = std::map<std::string, std::string>;

/// The path below a folder of the repository (".": all of it) of a path in the repository; nothing for one
/// that lies elsewhere.
std::optional<std::string> PathInFolder(const std::string& strFolder, const std::string& strPath);

/// Reads what `cvs rls -e -R` prints: a line with a folder's path and a colon, then a line for each entry of
/// the folder. Nothing when a folder lies outside the module, as it does where CVSROOT/modules gives the
/// module's name to another folder: then nobody can tell where the client would put the files.
std::optional<TRevisionList> ReadListing(wxInputStream& oInput, const std::string& strModule);

/// Reads what `cvs rdiff -s` prints between a time before all revisions and the wanted state: a line for each
/// file, "File mod/a.c is new; TAG revision 1.4". Nothing as above, or when there are lines of other kinds.
std::optional<TRevisionList> ReadDifferences(wxInputStream& oInput, const std::string& strModule);

}  // namespace TALVEK::VERIFY
